// Helpers of the persist suite: hand-built byte sequences, values of every
// built-in type, encoding a tree in both stream modes and reading bytes back
// in either, and the red-black invariant checker.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "core/memory.hpp"
#include "ostravine/persist.h"

namespace persist_test {

using Bytes = std::vector<std::uint8_t>;

// The type map is built before any test installs a counting allocator, so
// that its blocks are not counted as live by the tests.
inline const bool type_map_ready = (initializeArbTreeTypeMap(), true);

// Little-endian fields, written out by hand from the encoding rules.
struct Enc {
    Bytes b;
    Enc& u32(std::uint32_t v) { return raw(&v, 4); }
    Enc& f64(double d) { return raw(&d, 8); }
    Enc& raw(const void* p, std::size_t n) {
        auto* c = static_cast<const std::uint8_t*>(p);
        b.insert(b.end(), c, c + n);
        return *this;
    }
    Enc& str(const std::string& s) { return u32(static_cast<std::uint32_t>(s.size())).raw(s.data(), s.size()); }
};

// "k12" and the like (not with std::string operator+, about which g++ 12
// warns falsely).
inline std::string numbered(const char* prefix, long n) {
    char b[32];
    std::snprintf(b, sizeof b, "%s%ld", prefix, n);
    return b;
}

template <class T>
T* boxed(T v) {
    return static_cast<T*>(std::memcpy(ostr::mem_alloc(sizeof(T)), &v, sizeof(T)));
}
inline double* vector_of(const std::vector<double>& d) {
    auto* v = static_cast<double*>(ostr::mem_alloc((d.size() + 1) * sizeof(double)));
    v[0] = static_cast<double>(d.size());
    std::copy(d.begin(), d.end(), v + 1);
    return v;
}
inline double** matrix_of(const std::vector<std::vector<double>>& rows) {
    auto** m = static_cast<double**>(ostr::mem_alloc((rows.size() + 1) * sizeof(double*)));
    m[0] = boxed(static_cast<double>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) m[i + 1] = vector_of(rows[i]);
    return m;
}
inline char** strings_of(const std::vector<std::string>& texts) {
    auto** a = static_cast<char**>(ostr::mem_alloc((texts.size() + 1) * sizeof(char*)));
    for (std::size_t i = 0; i <= texts.size(); ++i) a[i] = ostr::dup_text(i < texts.size() ? texts[i] : "");
    return a;
}
inline MemFile* bytes_value(const std::string& s) {
    MemFile* m = MemOpen(static_cast<std::int32_t>(s.size() + 1));
    MemWrite(s.data(), 1, s.size(), m);
    return m;
}
inline RBTree* string_tree_of(const std::vector<std::pair<std::string, std::string>>& kv) {
    RBTree* t = initializeRBTree(freeRBNodeValueString, writeRBNodeValueString, readRBNodeValueString,
                                 copyRBNodeValueString);
    for (const auto& [k, v] : kv) insertRBNode(t, k.c_str(), ostr::dup_text(v));
    return t;
}
inline void put(ArbTree* t, const std::string& key, void* value, const char* type) {
    insertArbNode(t, nullptr, key.c_str(), createArbValue(value, type));
}
inline ArbValue* int_entry(std::int32_t v) { return createArbValue(boxed(v), "integer"); }

// A test allocator that remembers the size of each block it hands out, so
// that a free hook can inspect a whole block before releasing it.
inline std::map<void*, std::size_t> block_sizes;
inline void* sized_alloc(std::size_t n) {
    void* p = std::malloc(n);
    block_sizes[p] = n;
    return p;
}
// The size sized_alloc gave p (0 for a block from elsewhere), forgotten.
inline std::size_t forget_size(void* p) {
    const auto it = block_sizes.find(p);
    if (it == block_sizes.end()) return 0;
    const std::size_t n = it->second;
    block_sizes.erase(it);
    return n;
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
    EXPECT_EQ(b.empty() ? 0 : std::fread(b.data(), 1, b.size(), f), b.size());
    return b;
}

// Writes with a writer (stream, mode) to a memory stream and to a file and
// checks both give the same bytes. In the file the writer's bytes sit
// between two written directly, which must stay in their places.
template <class W>
Bytes encode(W write) {
    MemFile* m = MemOpen(1);
    write(static_cast<void*>(m), 0);
    Bytes mem = bytes_of(m);
    MemClose(m);
    FILE* f = std::tmpfile();
    std::fputc('<', f);
    write(static_cast<void*>(f), 1);
    std::fputc('>', f);
    Bytes file = bytes_of(f);
    std::fclose(f);
    mem.insert(mem.begin(), '<');
    mem.push_back('>');
    EXPECT_EQ(mem, file) << "memory and file encodings differ";
    return Bytes(mem.begin() + 1, mem.end() - 1);
}
inline Bytes encode_tree(ArbTree* t) {
    return encode([&](void* s, std::int32_t mode) { writeArbTreeToStream(t, nullptr, s, mode); });
}

// Reads bytes with a reader in the given mode (0 memory, 1 file). When
// consumed is given it receives the number of bytes the reader took.
template <class R>
auto decode(const Bytes& b, int mode, R read, long* consumed = nullptr) {
    void* s = mode == 1 ? static_cast<void*>(file_of(b)) : static_cast<void*>(mem_of(b));
    auto r = read(s, mode);
    if (consumed) *consumed = mode == 1 ? std::ftell(static_cast<FILE*>(s)) : static_cast<MemFile*>(s)->position;
    if (mode == 1)
        std::fclose(static_cast<FILE*>(s));
    else
        MemClose(static_cast<MemFile*>(s));
    return r;
}
inline ArbTree* decode_tree(const Bytes& b, int mode, long* consumed = nullptr) {
    return decode(b, mode, [](void* s, std::int32_t md) { return readArbTreeFromStream(s, md); }, consumed);
}

inline void release(ArbTree* t) { freeRBNodeValueArbTree(t); }

inline const void* payload(const ArbNode* n) { return n->entry; }
inline const void* payload(const RBNode* n) { return n->value; }

// Root black, no red node with a red child, equal black height on every
// path, keys in order, parent links of real nodes right (a leaf's parent is
// scratch), count equal to the real nodes. The first violation, or "".
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
        const Item it = stack.back();
        stack.pop_back();
        const N* n = it.n;
        const int black = it.black + (n->color == 1);
        if (!n->left || !n->right) {
            if (n->left || n->right || n->color != 1 || n->key[0] || payload(n)) return "malformed leaf";
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
            if (c->left && c->parent != n) return "bad parent link";
        stack.push_back({n->left, black, it.lo, n->key});
        stack.push_back({n->right, black, n->key, it.hi});
    }
    return real == t->count ? "" : "count differs from nodes";
}

}  // namespace persist_test
