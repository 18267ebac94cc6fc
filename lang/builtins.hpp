// The predefined functions of the language: the table of names with their
// arities and help entries, and the helpers their adapters share
// (builtins.cpp holds the table and the adapters of the numeric shapes,
// builtins_numeric.cpp the numerical ones that take expression texts).
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "lang/evaluate.hpp"

namespace ostr::lang {

// One row of the help table: the registration text ("besselj(2)"), the call
// form, one line of meaning, and an example with the answer it gives.
struct HelpEntry {
    std::string_view signature;
    std::string_view form;
    std::string_view meaning;
    std::string_view example;
    std::string_view answer;
};

// Every predefined function, in alphabetical order of its name.
std::span<const HelpEntry> help_entries() noexcept;
// The help entry of a predefined name, or null.
const HelpEntry* find_help(std::string_view name) noexcept;

namespace builtin {

// The value of a computed result: each part written with 15 significant
// digits (the number text of the language) and read back; a result with an
// infinite or undefined part is the call's own text, as 1/0 is.
Value written(Complex c, const Call& call);

// How the arguments of a call turned out: all numbers, some formula (the
// call is kept as its text) or something that is no number at all.
enum class Args : unsigned char { numbers, formula, invalid };

// A value as a number: a number, or a formula whose two texts are numbers.
Args as_number(const Value& v, Complex* out);

// True when an argument text is empty: a malformed argument list.
bool malformed(const Call& call);

// The arguments of a call as numbers. When they are not all numbers, the
// value of the call instead: its own text if some argument is a formula, the
// error of an argument that is one, else ">invalid_expression<" (also for an
// empty argument text, as in "hypot(1,)").
std::optional<Value> numbers(const Call& call, std::span<Value> values, Complex* out);

// A complex number that is meant as real: an imaginary part at most 1e-15
// of the real part is rounding noise and is dropped, as in the factorial.
bool as_real(Complex z, double* out);

// The numerical ones (builtins_numeric.cpp).
Value sum(const Call& call, std::span<Value> values);
Value prod(const Call& call, std::span<Value> values);
Value integral(const Call& call, std::span<Value> values);
Value root(const Call& call, std::span<Value> values);
Value deriv(const Call& call, std::span<Value> values);

// The ones that answer lists, as arrays (builtins_lists.cpp).
Value primes_list(const Call& call, std::span<Value> values);
Value divisors_list(const Call& call, std::span<Value> values);
Value prime_factors_list(const Call& call, std::span<Value> values);
Value combine(const Call& call, std::span<Value> values);
Value permute(const Call& call, std::span<Value> values);

// Roots, peaks, fits and times (builtins_roots.cpp).
Value find_roots(const Call& call, std::span<Value> values);
Value find_peaks(const Call& call, std::span<Value> values);
Value complex_roots(const Call& call, std::span<Value> values);
Value polynomial_fit(const Call& call, std::span<Value> values);
Value hms_time(const Call& call, std::span<Value> values);

// Solvers over formulas and arrays (builtins_solvers.cpp).
Value odesolve(const Call& call, std::span<Value> values);
Value integrate(const Call& call, std::span<Value> values);
Value minimize(const Call& call, std::span<Value> values);
Value fit(const Call& call, std::span<Value> values);
Value linfit(const Call& call, std::span<Value> values);
// Fourier transforms, convolution, windows, the band filter and
// interpolation over arrays (builtins_fourier.cpp).
Value fft(const Call& call, std::span<Value> values);
Value ifft(const Call& call, std::span<Value> values);
Value fft2(const Call& call, std::span<Value> values);
Value ifft2(const Call& call, std::span<Value> values);
Value rfft(const Call& call, std::span<Value> values);
Value irfft(const Call& call, std::span<Value> values);
Value power_spectrum(const Call& call, std::span<Value> values);
Value convolution(const Call& call, std::span<Value> values);
Value correlation(const Call& call, std::span<Value> values);
Value window(const Call& call, std::span<Value> values);
Value filter(const Call& call, std::span<Value> values);
Value interpolate(const Call& call, std::span<Value> values);
// Special functions with their own argument shapes (builtins_special.cpp).
Value dilogarithm(const Call& call, std::span<Value> values);
Value lambert_w(const Call& call, std::span<Value> values);

// Number bases (builtins_bases.cpp).
Value binary_text(const Call& call, std::span<Value> values);
Value hexadecimal_text(const Call& call, std::span<Value> values);
Value decimal_value(const Call& call, std::span<Value> values);

}  // namespace builtin
}  // namespace ostr::lang
