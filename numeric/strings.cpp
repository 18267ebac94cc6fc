// String vectors and string matrices: arrays closed by an empty entry, not
// counted, so they get their own small bodies instead of a kind trait. A
// string vector is heap texts closed by an empty heap text; a string matrix
// is string vectors closed by an empty string vector (one holding only its
// closing text).
#include <cstdint>

#include "core/memory.hpp"
#include "ostravine/numeric.h"

namespace ostr::num {
namespace {

bool empty_text(const char* t) noexcept { return t[0] == '\0'; }
bool empty_row(char* const* v) noexcept { return empty_text(v[0]); }

template <class P, class Empty>
std::int32_t closed_length(P const* v, Empty is_empty) noexcept {
    std::int32_t n = 0;
    while (!is_empty(v[n])) ++n;
    return n;
}

// Releases entries 0..made-1 (made may include the closing one), then the
// array.
template <class P>
void release_entries(P* v, std::int32_t made, void (*release)(P)) noexcept {
    for (std::int32_t i = 0; i < made; ++i) release(v[i]);
    mem_free(v);
}

// Entries make(0..n-1), then make_closing(): nullptr on any failure, with
// every entry made so far released.
template <class P, class Make, class Closing>
P* closed_raw(std::int32_t n, Make make, Closing make_closing, void (*release)(P)) noexcept {
    if (n < 0) return nullptr;
    auto* v = static_cast<P*>(mem_alloc((static_cast<std::size_t>(n) + 1) * sizeof(P)));
    if (!v) return nullptr;
    for (std::int32_t i = 0; i <= n; ++i) {
        v[i] = i < n ? make(i) : make_closing();
        if (!v[i]) return release_entries(v, i, release), nullptr;
    }
    return v;
}

char* closing_text() noexcept { return dup_text(""); }

template <class Make>
char** string_vector_raw(std::int32_t n, Make make) noexcept {
    return closed_raw<char*>(n, make, closing_text, free_text);
}

char** string_vector_or_empty(char** v) noexcept {
    return v ? v : string_vector_raw(0, [](std::int32_t) { return closing_text(); });
}

}  // namespace

char** string_vector_new(std::int32_t n) noexcept {
    return string_vector_or_empty(string_vector_raw(n, [](std::int32_t) { return dup_text("0"); }));
}

char** string_vector_copy(char* const* src) noexcept {
    if (!src) return nullptr;
    return string_vector_or_empty(string_vector_raw(closed_length(src, empty_text),
                                                    [src](std::int32_t i) { return dup_text(src[i]); }));
}

void string_vector_free(char** v) noexcept {
    if (v) release_entries(v, closed_length(v, empty_text) + 1, free_text);
}

namespace {

char** empty_string_vector() noexcept { return string_vector_raw(0, [](std::int32_t) { return closing_text(); }); }

template <class Make>
char*** string_matrix_raw(std::int32_t r, Make make) noexcept {
    return closed_raw<char**>(r, make, empty_string_vector, string_vector_free);
}

char*** string_matrix_or_empty(char*** m) noexcept {
    return m ? m : string_matrix_raw(0, [](std::int32_t) { return empty_string_vector(); });
}

}  // namespace

// A row of no texts would read as the closing row, so r x 0 is the empty
// string matrix.
char*** string_matrix_new(std::int32_t r, std::int32_t c) noexcept {
    if (c <= 0) r = 0;
    return string_matrix_or_empty(string_matrix_raw(r, [c](std::int32_t) {
        return string_vector_raw(c, [](std::int32_t) { return dup_text("0"); });
    }));
}

char*** string_matrix_copy(char** const* src) noexcept {
    if (!src) return nullptr;
    return string_matrix_or_empty(string_matrix_raw(
        closed_length(src, empty_row), [src](std::int32_t i) {
            return string_vector_raw(closed_length(src[i], empty_text), [row = src[i]](std::int32_t j) {
                return dup_text(row[j]);
            });
        }));
}

void string_matrix_free(char*** m) noexcept {
    if (m) release_entries(m, closed_length(m, empty_row) + 1, string_vector_free);
}

}  // namespace ostr::num

extern "C" {

char **StringVector(int32_t n) noexcept { return ostr::num::string_vector_new(n); }
char **CopyStringVector(char *const *v) noexcept { return ostr::num::string_vector_copy(v); }
void FreeStringVector(char **v) noexcept { ostr::num::string_vector_free(v); }
char ***StringMatrix(int32_t r, int32_t c) noexcept { return ostr::num::string_matrix_new(r, c); }
char ***CopyStringMatrix(char **const *m) noexcept { return ostr::num::string_matrix_copy(m); }
void FreeStringMatrix(char ***m) noexcept { ostr::num::string_matrix_free(m); }

}
