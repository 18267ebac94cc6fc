// Internal C++ face of the salted password hashes.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/memory.hpp"

namespace ostr::hash {

// Salt lengths the two-digit tail (L - 33 in hex) can express.
constexpr std::size_t min_salt = 33, max_salt = 33 + 255;

[[nodiscard]] OwnedText hash_with_salt(std::string_view secret, std::string_view salt) noexcept;
[[nodiscard]] OwnedText salted_hash(std::string_view secret, std::int32_t& state) noexcept;
[[nodiscard]] OwnedText salt_from_hash(std::string_view stored) noexcept;
bool test_against_salted_hash(std::string_view secret, std::string_view stored) noexcept;
// True when equal; the time does not depend on where the texts first differ.
bool equal_in_fixed_time(std::string_view a, std::string_view b) noexcept;

}  // namespace ostr::hash

namespace ostr::hash {

// The C face's checks: a NULL text gives nullptr (false).
[[nodiscard]] OwnedText salted_hash_of(const char* secret, std::int32_t* state) noexcept;
[[nodiscard]] OwnedText hash_with_salt_of(const char* secret, const char* salt) noexcept;
[[nodiscard]] OwnedText salt_from(const char* stored) noexcept;
bool test_against(const char* secret, const char* stored) noexcept;

}  // namespace ostr::hash
