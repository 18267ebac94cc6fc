// Complex arithmetic on values, the C++ side of MulC, SqrtC, ArctanC and kin.
// Each function evaluates the library's own formula for it (complex.cpp says
// which and why); none of them allocates.
#pragma once

#include "ostravine/numeric.h"

namespace ostr::num {

bool compare_floats(double a, double b) noexcept;

Complex polar(double rho, double t) noexcept;
Complex add(Complex a, Complex b) noexcept;
Complex sub(Complex a, Complex b) noexcept;
// (a + ib)(c + id) with three real products: k3 = (a + b)(c + d) carries
// ad + bc + ac + bd, so ad + bc = k3 - k1 - k2. One product fewer than the
// schoolbook form; the imaginary part rounds differently (and loses digits
// when ad + bc is small against ac and bd), which is the answer users see.
// Inline, because the evaluator's numeric pair multiplies in its hot loop.
inline Complex mul(Complex a, Complex b) noexcept {
    const double k1 = a.re * b.re, k2 = a.im * b.im;
    const double k3 = (a.re + a.im) * (b.re + b.im);
    return {k1 - k2, k3 - k1 - k2};
}
Complex div(Complex a, Complex b) noexcept;
Complex inv(Complex z) noexcept;
double abs(Complex z) noexcept;
double phase(Complex z) noexcept;
Complex sqr(Complex z) noexcept;
Complex sqrt(Complex z) noexcept;
Complex exp(Complex z) noexcept;
Complex log(Complex z) noexcept;
Complex log10(Complex z) noexcept;
Complex pow(Complex a, Complex w) noexcept;
Complex pow(Complex z, double p) noexcept;
Complex pow(double s, Complex w) noexcept;
Complex sin(Complex z) noexcept;
Complex cos(Complex z) noexcept;
Complex tan(Complex z) noexcept;
Complex sinh(Complex z) noexcept;
Complex cosh(Complex z) noexcept;
Complex tanh(Complex z) noexcept;
Complex asin(Complex z) noexcept;
Complex acos(Complex z) noexcept;
Complex atan(Complex z) noexcept;
Complex asinh(Complex z) noexcept;
Complex acosh(Complex z) noexcept;
Complex atanh(Complex z) noexcept;
double norm(const Complex* v) noexcept;

}  // namespace ostr::num
