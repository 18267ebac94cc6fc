// Reads arbitrary bytes as a typed tree, from a memory stream and from a
// file, then exercises what a program does next with a loaded tree: look
// keys up, copy it, write it again (to memory and to a FILE, which must give
// the same bytes), change it, free part of it and free it. Any crash, leak,
// out-of-bounds read or hang is a finding.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/memory.hpp"
#include "ostravine/persist.h"

namespace {

// Writes the tree to memory and to a FILE (in memory too); the two
// encodings must be the same bytes.
void write_both(ArbTree* t) {
    MemFile* out = MemOpen(64);
    writeArbTreeToStream(t, nullptr, out, 0);
    char* file_bytes = nullptr;
    std::size_t file_size = 0;
    if (std::FILE* f = open_memstream(&file_bytes, &file_size)) {
        writeArbTreeToStream(t, nullptr, f, 1);
        std::fclose(f);
        if (file_size != out->position || (file_size && std::memcmp(file_bytes, out->data, file_size) != 0))
            __builtin_trap();
    }
    std::free(file_bytes);
    MemClose(out);
}

void exercise(ArbTree* t) {
    if (!t) return;
    for (const char* k : {"", "k", "mathAE", "a"}) (void)getVal(k, t, "string");
    ArbTree* c = copyArbTree(t);
    write_both(c);
    if (c && c->root && c->root->key) {
        insertArbNode(c, nullptr, "fuzz", createArbValue(nullptr, "null"));
        deleteArbNode(c, c->root->key);
        if (c->root && c->root->left && c->root->left->left) freeArbTree(c, c->root->left, 1);
        insertArbNode(c, nullptr, "again", createArbValue(nullptr, "null"));
        write_both(c);
    }
    freeRBNodeValueArbTree(c);
    freeRBNodeValueArbTree(t);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > INT32_MAX) return 0;
    if (size > 0) {
        void* copy = ostr::mem_alloc(size);
        std::memcpy(copy, data, size);
        MemFile* m = MemWrapperOpen(copy, static_cast<std::int32_t>(size));
        exercise(readArbTreeFromStream(m, 0));
        MemClose(m);
    }
    // A FILE over the same bytes, without touching the disk.
    if (std::FILE* f = size ? fmemopen(const_cast<std::uint8_t*>(data), size, "rb") : nullptr) {
        exercise(readArbTreeFromStream(f, 1));
        std::fclose(f);
    }
    return 0;
}
