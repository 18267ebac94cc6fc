// The evaluator's names for the numeric library's complex arithmetic: the
// three-product multiplication, the scaled quotient with its infinity rules,
// the language's power (real where base and exponent allow, else the polar
// power of the library; 0^0 is 1) and the relative float comparison of equality
// tests.
#pragma once

#include "lang/elementary.hpp"
#include "numeric/complex.hpp"

namespace ostr::lang::cx {

inline Complex mul(Complex a, Complex b) noexcept { return num::mul(a, b); }
inline Complex div(Complex a, Complex b) noexcept { return num::div(a, b); }
inline Complex pow(Complex a, Complex w) noexcept { return elementary::power(a, w); }
inline bool equal(double a, double b) noexcept { return num::compare_floats(a, b); }

}  // namespace ostr::lang::cx
