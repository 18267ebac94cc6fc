// Rounding, sign and remainder for complex numbers. Ceiling, floor and
// nearest integer act on the real and imaginary parts separately; the sign is
// the point on the unit circle in the direction of z; the remainder is
// a - n floor(a/n) with the floor taken part by part on the complex
// quotient, which for real operands is the floored modulo (the result takes
// the sign of the divisor).
#include <cmath>
#include <limits>

#include "special/special.hpp"

namespace ostr::special {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// a / b by Smith's method, which keeps the intermediate products in range.
Complex divide(Complex a, Complex b) {
    if (std::fabs(b.re) >= std::fabs(b.im)) {
        double r = b.im / b.re, d = b.re + b.im * r;
        return {(a.re + a.im * r) / d, (a.im - a.re * r) / d};
    }
    double r = b.re / b.im, d = b.re * r + b.im;
    return {(a.re * r + a.im) / d, (a.im * r - a.re) / d};
}

}  // namespace

Complex ceil(Complex z) noexcept { return {std::ceil(z.re), std::ceil(z.im)}; }
Complex floor(Complex z) noexcept { return {std::floor(z.re), std::floor(z.im)}; }
Complex round(Complex z) noexcept { return {std::round(z.re), std::round(z.im)}; }

Complex sign(Complex z) noexcept {
    if (std::isnan(z.re) || std::isnan(z.im)) return {nan, nan};
    if (std::isinf(z.re) || std::isinf(z.im)) {
        // The direction of an infinite value: its infinite parts as +-1.
        z = {std::isinf(z.re) ? std::copysign(1.0, z.re) : 0, std::isinf(z.im) ? std::copysign(1.0, z.im) : 0};
    }
    double r = std::hypot(z.re, z.im);
    if (r == 0) return {0, 0};
    return {z.re / r, z.im / r};
}

double mod(double a, double n) noexcept {
    if (n == 0 || std::isnan(a) || std::isnan(n) || std::isinf(a)) return nan;
    double r = std::fmod(a, n);  // exact, with the sign of a
    if (r != 0 && (r < 0) != (n < 0)) r += n;
    return r;
}

Complex mod(Complex a, Complex n) noexcept {
    if (a.im == 0 && n.im == 0) return {mod(a.re, n.re), 0};
    if ((n.re == 0 && n.im == 0) || !std::isfinite(a.re) || !std::isfinite(a.im)) return {nan, nan};
    Complex q = floor(divide(a, n));
    return {a.re - (n.re * q.re - n.im * q.im), a.im - (n.re * q.im + n.im * q.re)};
}

}  // namespace ostr::special
