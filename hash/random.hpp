// Internal C++ face of the random generator Ran2 and the draws built on it.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/memory.hpp"

namespace ostr::rnd {

constexpr int table_size = 32;

// A draw in (0, 0.99999988]; a state <= 0 initialises the shared table.
double ran2(std::int32_t& state) noexcept;
std::int32_t random_integer(std::int32_t lo, std::int32_t hi, std::int32_t& state) noexcept;
double random_real(double lo, double hi, std::int32_t& state) noexcept;

enum class Chars { any, printable, alphanumeric };
// n characters of the kind; nullptr for n < 0 or when memory runs out.
[[nodiscard]] OwnedText random_text(std::int32_t n, Chars kind, std::int32_t& state) noexcept;

std::int32_t seed_from_string(std::string_view text) noexcept;
std::int32_t seed_from_text(const char* text) noexcept;  // nullptr reads as ""
void set_seed(std::int32_t* holder, std::int32_t n) noexcept;  // -|n|, INT32_MIN kept

double box_muller_cos(double u1, double u2) noexcept;
double box_muller_sin(double u1, double u2) noexcept;
void box_muller(std::int32_t& state, double& z1, double& z2) noexcept;
double random_normal(double mean, double sigma, std::int32_t& state) noexcept;

// The shuffle table, table_size entries; nullptr is ignored.
void get_table(std::int32_t* out) noexcept;
// False (table unchanged) for nullptr or unless every entry is in 0..2147483562.
bool set_table(const std::int32_t* in) noexcept;

}  // namespace ostr::rnd
