// Building values of every built-in type for the persist tests, in the
// containers' fixed layouts.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "numeric/memory.hpp"
#include "ostravine/persist.h"

namespace persist_test {

template <class T>
T* boxed(T v) {
    auto* p = static_cast<T*>(ostr::mem_alloc(sizeof(T)));
    std::memcpy(p, &v, sizeof(T));
    return p;
}

inline double* vector_of(const std::vector<double>& d) {
    auto* v = static_cast<double*>(ostr::mem_alloc((d.size() + 1) * sizeof(double)));
    v[0] = static_cast<double>(d.size());
    for (std::size_t i = 0; i < d.size(); ++i) v[i + 1] = d[i];
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
    for (std::size_t i = 0; i < texts.size(); ++i) a[i] = ostr::dup_text(texts[i]);
    a[texts.size()] = ostr::dup_text("");
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

}  // namespace persist_test
