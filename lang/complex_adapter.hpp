// The evaluator's names for the numeric library's complex arithmetic: the
// three-product multiplication, the scaled quotient with its infinity rules,
// the polar power (0^0 is 1) and the relative float comparison of equality
// tests.
#pragma once

#include "numeric/complex.hpp"

namespace ostr::lang::cx {

inline Complex mul(Complex a, Complex b) noexcept { return num::mul(a, b); }
inline Complex div(Complex a, Complex b) noexcept { return num::div(a, b); }
inline Complex pow(Complex a, Complex w) noexcept { return num::pow(a, w); }
inline bool equal(double a, double b) noexcept { return num::compare_floats(a, b); }

}  // namespace ostr::lang::cx
