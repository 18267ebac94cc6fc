// The numeric containers as the value handlers see them: double vectors
// (slot 0 holds the length as a double), double matrices (r + 1 row
// pointers, pointer 0 to one double holding r, rows are vectors of length c)
// and string vectors (text pointers closed by an empty text).
#pragma once

#include <cstdint>

namespace ostr::persist {

// A length slot as a 32-bit count, truncated; 0 when it is not a number in
// range (a damaged container never yields a huge count).
inline std::int32_t count_of(double slot) noexcept {
    return slot >= -2147483648.0 && slot < 2147483648.0 ? static_cast<std::int32_t>(slot) : 0;
}

// Constructors return nullptr when memory runs out (never a fallback shape).
[[nodiscard]] double* new_vector(std::int32_t n) noexcept;
void free_vector(double* v) noexcept;
[[nodiscard]] double* copy_vector(const double* v) noexcept;

[[nodiscard]] double** new_matrix(std::int32_t rows, std::int32_t cols) noexcept;
void free_matrix(double** m) noexcept;
[[nodiscard]] double** copy_matrix(double** m) noexcept;

// The number of texts before the closing empty one.
std::int32_t string_count(char* const* a) noexcept;
[[nodiscard]] char** copy_string_vector(char* const* a) noexcept;
void free_string_vector(char** a) noexcept;

}  // namespace ostr::persist
