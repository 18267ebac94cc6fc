// Reads arbitrary bytes as a typed tree, from a memory stream and from a
// file, then exercises what a program does next with a loaded tree: look
// keys up, copy it, write it again, change it and free it. Any crash, leak,
// out-of-bounds read or hang is a finding.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "numeric/memory.hpp"
#include "ostravine/persist.h"

namespace {

void exercise(ArbTree* t) {
    if (!t) return;
    for (const char* k : {"", "k", "mathAE", "a"}) (void)getVal(k, t, "string");
    ArbTree* c = copyArbTree(t);
    MemFile* out = MemOpen(64);
    writeArbTreeToStream(c, nullptr, out, 0);
    if (c && c->root && c->root->key) {
        insertArbNode(c, nullptr, "fuzz", createArbValue(nullptr, "null"));
        deleteArbNode(c, c->root->key);
    }
    MemClose(out);
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
