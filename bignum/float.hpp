// Big binary floats: ±m·2^e with a word-array mantissa, the arithmetic at a
// precision in bits, decimal text both ways and the elementary functions.
// The C face (BitArrayFloat records) converts to and from these in float_api.cpp.
#pragma once

#include <cstdint>
#include <string_view>

#include "bignum/nat.hpp"
#include "core/memory.hpp"
#include "ostravine/bignum.h"

namespace ostr::big {

// value = (neg ? -1 : 1) · m · 2^e. Kept normalised: m odd, or m empty and
// e = 0, neg = false for zero. One value has one representation, so equal
// values compare equal field by field.
struct Float {
    bool neg = false;
    Nat m;
    std::int64_t e = 0;
};

// Thrown inside the float layer and caught at its faces: the abort byte (or
// poll) fired, or a result would leave the bounds below.
struct Aborted {};
struct Refused {};

// Binary exponents beyond ±2^48 are refused: every mantissa stays below
// max_bits (2^32) bits, so no sane computation comes near them, and the
// bound keeps exponent sums far from int64 overflow.
inline constexpr std::int64_t max_exponent = std::int64_t{1} << 48;
// Precisions (bits) beyond this are refused; 10^7 decimal digits.
inline constexpr std::uint64_t max_precision = 33'300'000;

// Throws Aborted when the stop fired.
inline void check(Stop& stop) {
    if (stop.check()) throw Aborted{};
}

// ---- exact values and rounding ----
Float normalised(bool neg, Nat m, std::int64_t e);
Float from_u64(std::uint64_t x, bool neg = false);
Float from_double(double x);  // exact; NaN and infinities are refused
double to_double(const Float& x) noexcept;  // nearest double, ±inf beyond range
// ±m·2^e rounded to nearest (ties to even) at `bits` significant bits; a set
// sticky flag says the true value lies strictly beyond m·2^e in magnitude
// (below its last bit). bits = 0 keeps the value exact.
Float rounded(bool neg, Nat m, std::int64_t e, std::uint64_t bits, bool sticky = false);
Float round_to(const Float& x, std::uint64_t bits);

bool is_zero(const Float& x) noexcept;
bool is_integer(const Float& x) noexcept;
// floor(log2 |x|) + 1: the position just above the top bit; 0 for zero.
std::int64_t top(const Float& x) noexcept;
// Comparisons of values: -1, 0, 1.
int cmp(const Float& a, const Float& b) noexcept;
int cmp_abs(const Float& a, const Float& b) noexcept;
Float neg(Float x);
Float abs(Float x);
Float ldexp(Float x, std::int64_t k);

// ---- arithmetic; bits = 0 means exact (not for div, sqrt) ----
Float add(const Float& a, const Float& b, std::uint64_t bits, Stop& stop);
Float sub(const Float& a, const Float& b, std::uint64_t bits, Stop& stop);
Float mul(const Float& a, const Float& b, std::uint64_t bits, Stop& stop);
Float div(const Float& a, const Float& b, std::uint64_t bits, Stop& stop);  // b != 0
Float div_u64(const Float& a, std::uint64_t d, std::uint64_t bits, Stop& stop);
Float sqrt(const Float& a, std::uint64_t bits, Stop& stop);  // a >= 0
// Integer parts: rounding toward -inf, +inf, zero, and to nearest (halves
// away from zero).
enum class Round { floor, ceil, trunc, nearest };
Float to_integer(const Float& x, Round r);
// The integer a as a Nat (x must be a non-negative integer).
Nat integer_nat(const Float& x);

// ---- decimal text ----
// Reads [-+]digits[.digits][(e|E)[-+]digits]; a value that is not exact in
// binary is rounded at `bits`. False for malformed text.
// `exact` (when given) tells whether no rounding took place.
bool from_text(std::string_view text, std::uint64_t bits, Float& out, Stop& stop, bool* exact = nullptr);
// Exact decimal digits of an integer, with its sign.
Text integer_text(const Float& x, Stop& stop);
// x rounded to `digits` significant decimal digits, trailing zeros dropped:
// plain notation for 1e-6 <= |x| < 10^digits, else d.ddd...e±k.
Text decimal_text(const Float& x, std::uint64_t digits, Stop& stop);

// ---- elementary functions at `bits` (float_functions.cpp) ----
// Results are faithfully rounded: within one unit of the last bit of the
// true value (each works at bits + guard and rounds once).
Float pi(std::uint64_t bits, Stop& stop);
// Drops this thread's kept π and ln 2 (for benchmarks that time them).
void clear_constants() noexcept;
Float ln2(std::uint64_t bits, Stop& stop);
Float exp(const Float& x, std::uint64_t bits, Stop& stop);
Float log(const Float& x, std::uint64_t bits, Stop& stop);  // x > 0
Float sin(const Float& x, std::uint64_t bits, Stop& stop);
Float cos(const Float& x, std::uint64_t bits, Stop& stop);
Float tan(const Float& x, std::uint64_t bits, Stop& stop);
Float atan(const Float& x, std::uint64_t bits, Stop& stop);
Float asin(const Float& x, std::uint64_t bits, Stop& stop);  // |x| <= 1
Float acos(const Float& x, std::uint64_t bits, Stop& stop);  // |x| <= 1
Float sinh(const Float& x, std::uint64_t bits, Stop& stop);
Float cosh(const Float& x, std::uint64_t bits, Stop& stop);
Float tanh(const Float& x, std::uint64_t bits, Stop& stop);
// x^n exactly (n >= 0), or at `bits` for n < 0.
Float pow_int(const Float& x, std::int64_t n, std::uint64_t bits, Stop& stop);

// ---- exact integers (arith.cpp) ----
// n!, and lo·(lo+1)·…·hi (one when lo > hi; lo >= 1); the caller bounds n.
Nat factorial_nat(std::uint64_t n, Stop& stop);
Nat range_product_nat(std::uint64_t lo, std::uint64_t hi, Stop& stop);

// ---- records (float_api.cpp) ----
// The parts of a BitArrayFloat as the C face and the bignum values hold
// them. The field's flags: 1 negative, 2 negative exponent, 4 inexact.
struct FloatParts {
    BitArray* mantissa = nullptr;
    BitArray* exponent = nullptr;
    std::int64_t field = 0;
};
inline constexpr std::int64_t flag_negative = 1, flag_negative_exponent = 2, flag_inexact = 4;
// The value of the parts (normalised whatever their form); throws Refused
// for missing parts or an exponent beyond the bounds.
Float from_parts(const BitArray* mantissa, const BitArray* exponent, std::int64_t field);
// New reduced records of x; null parts when memory runs out.
FloatParts to_parts(const Float& x, bool inexact) noexcept;
// The most decimal digits a holder may keep in the high half of the field.
inline constexpr std::int64_t max_shown_digits = 10'000'000;
// True when the parts are in the one form to_parts makes (the high half of
// the field a digit count up to max_shown_digits).
bool canonical(const BitArray* mantissa, const BitArray* exponent, std::int64_t field) noexcept;

// Decimal digits to bits: enough bits for `digits` decimal digits, plus 64
// guard bits.
std::uint64_t bits_for_digits(std::uint64_t digits) noexcept;

}  // namespace ostr::big
