// Stand-ins for the numeric library's containers, written against their
// fixed layouts, until the library's own constructors are linked in.
#include "persist/containers.hpp"

#include <cstring>

#include "numeric/memory.hpp"

namespace ostr::persist {

double* new_vector(std::int32_t n) noexcept {
    if (n < 0) return nullptr;
    auto* v = static_cast<double*>(mem_alloc((static_cast<std::size_t>(n) + 1) * sizeof(double)));
    if (v) v[0] = n;
    return v;
}

void free_vector(double* v) noexcept { mem_free(v); }

double* copy_vector(const double* v) noexcept {
    if (!v) return nullptr;
    const std::int32_t n = count_of(v[0]) > 0 ? count_of(v[0]) : 0;
    double* c = new_vector(n);
    if (c && n) std::memcpy(c + 1, v + 1, static_cast<std::size_t>(n) * sizeof(double));
    return c;
}

double** new_matrix(std::int32_t rows, std::int32_t cols) noexcept {
    if (rows < 0 || cols < 0) return nullptr;
    auto** m = static_cast<double**>(mem_calloc(static_cast<std::size_t>(rows) + 1, sizeof(double*)));
    if (!m) return nullptr;
    m[0] = static_cast<double*>(mem_alloc(sizeof(double)));
    if (!m[0]) {
        mem_free(m);
        return nullptr;
    }
    m[0][0] = 0;
    for (std::int32_t i = 1; i <= rows; ++i) {
        if (!(m[i] = new_vector(cols))) {
            free_matrix(m);
            return nullptr;
        }
        m[0][0] = i;
    }
    return m;
}

void free_matrix(double** m) noexcept {
    if (!m) return;
    const std::int32_t rows = m[0] ? count_of(m[0][0]) : 0;
    for (std::int32_t i = 0; i <= rows; ++i) mem_free(m[i]);
    mem_free(m);
}

double** copy_matrix(double** m) noexcept {
    if (!m || !m[0]) return nullptr;
    const std::int32_t rows = count_of(m[0][0]);
    const std::int32_t cols = rows > 0 ? count_of(m[1][0]) : 0;
    double** c = new_matrix(rows, cols);
    for (std::int32_t i = 1; c && i <= rows; ++i)
        if (cols) std::memcpy(c[i] + 1, m[i] + 1, static_cast<std::size_t>(cols) * sizeof(double));
    return c;
}

std::int32_t string_count(char* const* a) noexcept {
    std::int32_t n = 0;
    while (a && a[n] && a[n][0] != '\0') ++n;
    return n;
}

char** copy_string_vector(char* const* a) noexcept {
    if (!a) return nullptr;
    const std::int32_t n = string_count(a);
    auto** c = static_cast<char**>(mem_calloc(static_cast<std::size_t>(n) + 1, sizeof(char*)));
    if (!c) return nullptr;
    for (std::int32_t i = 0; i <= n; ++i) {
        if (!(c[i] = dup_text(i < n ? a[i] : ""))) {
            free_string_vector(c);
            return nullptr;
        }
    }
    return c;
}

void free_string_vector(char** a) noexcept {
    if (!a) return;
    std::int32_t i = 0;
    for (; a[i] && a[i][0] != '\0'; ++i) free_text(a[i]);
    free_text(a[i]);
    mem_free(a);
}

}  // namespace ostr::persist
