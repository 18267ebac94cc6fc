// Helpers of the persist suite: hand-built byte sequences, encoding a tree
// into bytes and reading bytes back in either stream mode, and the
// red-black invariant checker.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ostravine/persist.h"

namespace persist_test {

using Bytes = std::vector<std::uint8_t>;

// The type map is built before any test installs a counting allocator, so
// that its blocks are not counted as live by the tests.
inline const bool type_map_ready = (initializeArbTreeTypeMap(), true);

// Little-endian fields, written out by hand from the encoding rules.
struct Enc {
    Bytes b;
    Enc& u32(std::uint32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
        return *this;
    }
    Enc& f64(double d) {
        std::uint64_t v;
        std::memcpy(&v, &d, 8);
        for (int i = 0; i < 8; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
        return *this;
    }
    Enc& raw(const void* p, std::size_t n) {
        auto* c = static_cast<const std::uint8_t*>(p);
        b.insert(b.end(), c, c + n);
        return *this;
    }
    Enc& str(const std::string& s) { return u32(static_cast<std::uint32_t>(s.size())).raw(s.data(), s.size()); }
};

// "k12" and the like (built without std::string operator+, about which
// g++ 12 warns falsely).
inline std::string numbered(const char* prefix, long n) {
    char b[32];
    std::snprintf(b, sizeof b, "%s%ld", prefix, n);
    return b;
}

inline MemFile* mem_of(const Bytes& b) {
    MemFile* m = MemOpen(static_cast<std::int32_t>(b.size() ? b.size() : 1));
    if (!b.empty()) std::memcpy(m->data, b.data(), b.size());
    m->size = static_cast<std::int32_t>(b.size());
    return m;
}

inline Bytes bytes_of(const MemFile* m) { return Bytes(m->data, m->data + m->position); }

inline FILE* file_of(const Bytes& b) {
    FILE* f = std::tmpfile();
    if (!b.empty()) std::fwrite(b.data(), 1, b.size(), f);
    std::rewind(f);
    return f;
}

inline Bytes bytes_of(FILE* f) {
    Bytes b(static_cast<std::size_t>(std::ftell(f)));
    std::rewind(f);
    if (!b.empty()) {
        EXPECT_EQ(std::fread(b.data(), 1, b.size(), f), b.size());
    }
    return b;
}

// Writes with a writer (stream, mode) to a memory stream and to a file and
// checks both give the same bytes.
template <class W>
Bytes encode(W write) {
    MemFile* m = MemOpen(1);
    write(static_cast<void*>(m), 0);
    Bytes mem = bytes_of(m);
    MemClose(m);
    FILE* f = std::tmpfile();
    write(static_cast<void*>(f), 1);
    Bytes file = bytes_of(f);
    std::fclose(f);
    EXPECT_EQ(mem, file) << "memory and file encodings differ";
    return mem;
}

inline Bytes encode_tree(ArbTree* t) {
    return encode([&](void* s, std::int32_t mode) { writeArbTreeToStream(t, nullptr, s, mode); });
}

// Reads bytes with a reader in the given mode (0 memory, 1 file).
template <class R>
auto decode(const Bytes& b, int mode, R read) {
    if (mode == 1) {
        FILE* f = file_of(b);
        auto r = read(static_cast<void*>(f), 1);
        std::fclose(f);
        return r;
    }
    MemFile* m = mem_of(b);
    auto r = read(static_cast<void*>(m), 0);
    MemClose(m);
    return r;
}

inline ArbTree* decode_tree(const Bytes& b, int mode) {
    return decode(b, mode, [](void* s, std::int32_t md) { return readArbTreeFromStream(s, md); });
}

inline void release(ArbTree* t) { freeRBNodeValueArbTree(t); }

// Root black, no red node with a red child, equal black height on every
// path, keys in order, parent links right, count equal to the real nodes.
// Returns the first violation or an empty text.
template <class T>
std::string rb_violation(const T* t) {
    using N = std::remove_pointer_t<decltype(t->root)>;
    if (!t->root) return "no root";
    if (t->root->color != 1) return "red root";
    struct Item {
        const N* n;
        int black;
        const char* lo;
        const char* hi;
    };
    std::vector<Item> stack{{t->root, 0, nullptr, nullptr}};
    int leaf_black = -1;
    long real = 0;
    while (!stack.empty()) {
        Item it = stack.back();
        stack.pop_back();
        const N* n = it.n;
        const int black = it.black + (n->color == 1);
        if (!n->left || !n->right) {
            if (n->left || n->right || n->color != 1 || n->key[0]) return "malformed leaf";
            if (leaf_black < 0) leaf_black = black;
            if (black != leaf_black) return "unequal black height";
            continue;
        }
        ++real;
        if (n->color != 0 && n->color != 1) return "bad colour";
        if (n->color == 0 && (n->left->color == 0 || n->right->color == 0)) return "red node with red child";
        if ((it.lo && std::strcmp(n->key, it.lo) <= 0) || (it.hi && std::strcmp(n->key, it.hi) >= 0))
            return std::string("key out of order: ") + n->key;
        for (const N* c : {n->left, n->right})
            if (c->left && c->right && c->parent != n) return "bad parent link";  // a leaf's parent is scratch
        stack.push_back({n->left, black, it.lo, n->key});
        stack.push_back({n->right, black, n->key, it.hi});
    }
    return real == t->count ? "" : "count differs from nodes";
}

}  // namespace persist_test
