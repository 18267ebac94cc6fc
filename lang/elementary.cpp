// The language's elementary functions: the real function of the C library
// inside the real domain, the C library's complex functions elsewhere. The
// complex kernels are Kahan's formulations as the C99 library carries them
// (scaled so that |z| near the overflow threshold stays finite, with
// log1p and expm1 where z near 0 or near a branch point would cancel);
// tests/lang/elementary_test.cpp measures both against mpmath in ulps.
#include "lang/elementary.hpp"

#include <cmath>
#include <complex>

namespace ostr::lang::elementary {
namespace {

using C = std::complex<double>;

C to_std(Complex z) noexcept { return {z.re, z.im}; }
Complex from_std(C z) noexcept { return {z.real(), z.imag()}; }
Complex real(double x) noexcept { return {x, 0}; }

// A real argument on the cut along the real axis, placed on the side that
// the language has always taken there: the lower side where `below`.
C on_real_cut(double x, bool below) noexcept { return {x, below ? -0.0 : 0.0}; }

constexpr double ln10 = 2.302585092994045684017991454684364208;

}  // namespace

Complex power(Complex a, Complex w) noexcept {
    if (a.im == 0 && w.im == 0 && (a.re >= 0 || w.re == std::nearbyint(w.re))) return real(std::pow(a.re, w.re));
    return num::pow(a, w);
}

double modulus(Complex z) noexcept { return z.im == 0 ? std::fabs(z.re) : std::hypot(z.re, z.im); }

Complex exp(Complex z) noexcept { return z.im == 0 ? real(std::exp(z.re)) : from_std(std::exp(to_std(z))); }

Complex ln(Complex z) noexcept {
    if (z.im == 0 && z.re > 0) return real(std::log(z.re));
    return from_std(std::log(to_std(z)));
}

// The complex case divides both parts of ln by ln 10: one more rounding.
Complex log10(Complex z) noexcept {
    if (z.im == 0 && z.re > 0) return real(std::log10(z.re));
    C l = std::log(to_std(z));
    return {l.real() / ln10, l.imag() / ln10};
}

Complex sqrt(Complex z) noexcept {
    if (z.im == 0 && z.re >= 0) return real(std::sqrt(z.re));
    return from_std(std::sqrt(to_std(z)));
}

Complex sin(Complex z) noexcept { return z.im == 0 ? real(std::sin(z.re)) : from_std(std::sin(to_std(z))); }
Complex cos(Complex z) noexcept { return z.im == 0 ? real(std::cos(z.re)) : from_std(std::cos(to_std(z))); }
Complex tan(Complex z) noexcept { return z.im == 0 ? real(std::tan(z.re)) : from_std(std::tan(to_std(z))); }

// Past |x| = 22, e^-|x| is below half an ulp of e^|x| and sinh and cosh are
// e^|x|/2. The C library forms that near the overflow threshold as a product
// of two roundings (up to 1.03 ulp at 710.4); the exponential in the wider
// format rounds once.
double half_exp(double x) noexcept { return static_cast<double>(std::exp(static_cast<long double>(x)) / 2); }

Complex sinh(Complex z) noexcept {
    if (z.im != 0) return from_std(std::sinh(to_std(z)));
    if (std::fabs(z.re) > 22) return real(std::copysign(half_exp(std::fabs(z.re)), z.re));
    return real(std::sinh(z.re));
}

Complex cosh(Complex z) noexcept {
    if (z.im != 0) return from_std(std::cosh(to_std(z)));
    if (std::fabs(z.re) > 22) return real(half_exp(std::fabs(z.re)));
    return real(std::cosh(z.re));
}
Complex tanh(Complex z) noexcept { return z.im == 0 ? real(std::tanh(z.re)) : from_std(std::tanh(to_std(z))); }

// Past 1 on the real axis the value continues from below the axis, before
// -1 from above: arcsin(-x) = -arcsin(x) holds on the cut too.
Complex arcsin(Complex z) noexcept {
    if (z.im != 0) return from_std(std::asin(to_std(z)));
    if (std::fabs(z.re) <= 1) return real(std::asin(z.re));
    return from_std(std::asin(on_real_cut(z.re, z.re > 0)));
}

// arccos = pi/2 - arcsin, on the cut as well.
Complex arccos(Complex z) noexcept {
    if (z.im != 0) return from_std(std::acos(to_std(z)));
    if (std::fabs(z.re) <= 1) return real(std::acos(z.re));
    return from_std(std::acos(on_real_cut(z.re, z.re > 0)));
}

// The cuts run along the imaginary axis beyond +-i; a point on them has
// the real part +0 and takes the right side, as z = i*y always did.
Complex arctan(Complex z) noexcept { return z.im == 0 ? real(std::atan(z.re)) : from_std(std::atan(to_std(z))); }

// arcsinh(i*y) = i*arcsin(y): beyond -i the left side, beyond +i the right.
Complex arcsinh(Complex z) noexcept {
    if (z.im == 0) return real(std::asinh(z.re));
    if (z.re == 0 && z.im < -1) return from_std(std::asinh(C(-0.0, z.im)));
    return from_std(std::asinh(to_std(z)));
}

Complex arccosh(Complex z) noexcept {
    if (z.im == 0 && z.re >= 1) return real(std::acosh(z.re));
    return from_std(std::acosh(to_std(z)));
}

// At +-1 the value is infinite (the caller keeps the call's text); beyond,
// the upper side of the cut.
Complex arctanh(Complex z) noexcept {
    if (z.im == 0 && std::fabs(z.re) <= 1) return real(std::atanh(z.re));
    return from_std(std::atanh(to_std(z)));
}

}  // namespace ostr::lang::elementary
