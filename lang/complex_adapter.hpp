// The evaluator's view of the numeric library's complex arithmetic: quotient,
// power and the float comparison, written to the library's rules so that
// switching to the library's exported routines changes no result. Only this
// file changes when the library's complex arithmetic is part of the build.
#pragma once

#include <cmath>
#include <limits>

#include "ostravine/numeric.h"

namespace ostr::lang::cx {

// Signed infinity of v, or NaN when v is zero or NaN.
inline double infinity_of(double v) noexcept {
    if (v > 0) return std::numeric_limits<double>::infinity();
    if (v < 0) return -std::numeric_limits<double>::infinity();
    return std::numeric_limits<double>::quiet_NaN();
}

// Scaled quotient; division by zero gives the signed infinities or NaN.
inline Complex div(Complex a, Complex b) noexcept {
    if (b.re == 0 && b.im == 0) return {infinity_of(a.re), infinity_of(a.im)};
    if (std::fabs(b.re) >= std::fabs(b.im) && b.re != 0) {
        double r = b.im / b.re, d = r * b.im + b.re;
        double p = r * a.im + a.re, q = a.im - r * a.re;
        if (d == 0) return {infinity_of(p), infinity_of(q)};
        return {p / d, q / d};
    }
    if (b.im == 0) return {infinity_of(a.re), infinity_of(a.im)};
    double r = b.re / b.im, d = r * b.re + b.im;
    double p = r * a.re + a.im, q = r * a.im - a.re;
    if (d == 0) return {infinity_of(p), infinity_of(q)};
    return {p / d, q / d};
}

// Modulus with the square formed first and divided twice.
inline double modulus(Complex z) noexcept {
    double a = std::fabs(z.re), b = std::fabs(z.im);
    if (a == 0) return b;
    if (b == 0) return a;
    if (a >= b) return a * std::sqrt(1 + (b * b / a) / a);
    return b * std::sqrt(1 + (a * a / b) / b);
}

// a to the power w through the polar form; 0^0 is 1.
inline Complex pow(Complex a, Complex w) noexcept {
    if (w.re == 0 && w.im == 0) return {std::pow(modulus(a), 0.0), 0};
    double r = modulus(a), theta = std::atan2(a.im, a.re);
    if (r <= 0) return {0, 0};
    double l = std::log(r);
    double rho = std::exp(l * w.re - w.im * theta), phi = l * w.im + w.re * theta;
    return {rho * std::cos(phi), rho * std::sin(phi)};
}

// Equal when both are zero or their difference is at most 1e-15 of hypot.
inline bool equal(double a, double b) noexcept {
    double h = std::hypot(a, b);
    if (h == 0) return true;
    if (std::isnan(h)) return false;
    return std::fabs(a - b) / h <= 1e-15;
}

}  // namespace ostr::lang::cx
