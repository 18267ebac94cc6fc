// String vectors: arrays of heap texts closed by an empty heap text. They are
// not counted, so they get their own small bodies instead of a kind trait.
#include <cstdint>

#include "numeric/memory.hpp"
#include "ostravine/numeric.h"

namespace ostr::num {
namespace {

std::int32_t string_vector_length(char* const* v) noexcept {
    std::int32_t n = 0;
    while (v[n][0] != '\0') ++n;
    return n;
}

// Wipes and releases entries 0..made-1 (made may include the closing text),
// then the array.
void release_texts(char** v, std::int32_t made) noexcept {
    for (std::int32_t i = 0; i < made; ++i) free_text(v[i]);
    mem_free(v);
}

// n entries from make(i), then the closing "". nullptr on any failure, with
// every entry made so far released.
template <class Make>
char** string_vector_raw(std::int32_t n, Make make) noexcept {
    if (n < 0) return nullptr;
    auto** v = static_cast<char**>(mem_alloc((static_cast<std::size_t>(n) + 1) * sizeof(char*)));
    if (!v) return nullptr;
    for (std::int32_t i = 0; i <= n; ++i) {
        v[i] = i < n ? make(i) : dup_text("");
        if (!v[i]) return release_texts(v, i), nullptr;
    }
    return v;
}

char** string_vector_or_empty(char** v) noexcept {
    return v ? v : string_vector_raw(0, [](std::int32_t) { return dup_text(""); });
}

}  // namespace

char** string_vector_new(std::int32_t n) noexcept {
    return string_vector_or_empty(string_vector_raw(n, [](std::int32_t) { return dup_text("0"); }));
}

char** string_vector_copy(char* const* src) noexcept {
    if (!src) return nullptr;
    return string_vector_or_empty(string_vector_raw(
        string_vector_length(src), [src](std::int32_t i) { return dup_text(src[i]); }));
}

void string_vector_free(char** v) noexcept {
    if (v) release_texts(v, string_vector_length(v) + 1);
}

}  // namespace ostr::num

extern "C" {

char **StringVector(int32_t n) noexcept { return ostr::num::string_vector_new(n); }
char **CopyStringVector(char *const *v) noexcept { return ostr::num::string_vector_copy(v); }
void FreeStringVector(char **v) noexcept { ostr::num::string_vector_free(v); }

}
