// The elementary complex functions. Each evaluates one fixed formula, in the
// written order of operations (built with -ffp-contract=off, so no product is
// fused into an FMA): results are reproducible to the bit across compilers,
// and the deliberate choices below (three-product multiplication, the modulus
// that squares before dividing, the polar rebuild in TanC) are part of the
// answers users see. Operands are taken by value, so a result record may
// alias any operand.
#include "numeric/complex.hpp"
#include "numeric/kinds.hpp"

#include <cmath>
#include <cstddef>

namespace ostr::num {
namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double ln10 = 2.302585092994046;

// +inf, -inf or NaN by the sign of v: what a nonzero part becomes when
// divided by an exact zero. A zero or NaN part has no sign to give.
double signed_infinity(double v) noexcept {
    if (v > 0) return HUGE_VAL;
    if (v < 0) return -HUGE_VAL;
    return NAN;
}

// The logarithm of a value that is already a modulus-argument pair.
Complex log_of(Complex u) noexcept { return {std::log(std::hypot(u.re, u.im)), std::atan2(u.im, u.re)}; }

}  // namespace

// Relative equality to 15 digits, measured against hypot(a, b) so that the
// test is symmetric and two zeros (of either sign) compare equal.
bool compare_floats(double a, double b) noexcept {
    const double h = std::hypot(a, b);
    return h == 0 || std::fabs(a - b) / h <= 1e-15;
}

Complex polar(double rho, double t) noexcept { return {rho * std::cos(t), rho * std::sin(t)}; }
Complex add(Complex a, Complex b) noexcept { return {a.re + b.re, a.im + b.im}; }
Complex sub(Complex a, Complex b) noexcept { return {a.re - b.re, a.im - b.im}; }

// Smith's scaling: divide through by the larger part of b so that no
// intermediate squares |b|. A zero divisor (or a scaled denominator that
// underflows to zero) sends each part to a signed infinity instead.
Complex div(Complex a, Complex b) noexcept {
    if (b.re == 0 && b.im == 0) return {signed_infinity(a.re), signed_infinity(a.im)};
    double p, q, d;
    if (std::fabs(b.re) >= std::fabs(b.im) && b.re != 0) {
        const double r = b.im / b.re;
        d = r * b.im + b.re;
        p = r * a.im + a.re;
        q = a.im - r * a.re;
    } else {
        // Reached with b.im == 0 only when b.re is NaN.
        if (b.im == 0) return {signed_infinity(a.re), signed_infinity(a.im)};
        const double r = b.re / b.im;
        d = r * b.re + b.im;
        p = r * a.re + a.im;
        q = r * a.im - a.re;
    }
    if (d == 0) return {signed_infinity(p), signed_infinity(q)};
    return {p / d, q / d};
}

// 1/z by the same scaling; no zero test, 1/0 follows IEEE rules (NaN).
Complex inv(Complex z) noexcept {
    if (std::fabs(z.re) >= std::fabs(z.im)) {
        const double r = z.im / z.re, d = r * z.im + z.re;
        return {1 / d, -r / d};
    }
    const double r = z.re / z.im, d = r * z.re + z.im;
    return {r / d, -1 / d};
}

// a * sqrt(1 + (b/a)^2) with the square formed first, (b*b/a)/a: keep this
// order, it differs in the last bit from squaring the ratio. (b*b can
// overflow above about 1.3e154 and vanish below about 1.5e-162; both are the
// formula's own range, not bugs to fix here.)
double abs(Complex z) noexcept {
    const double a = std::fabs(z.re), b = std::fabs(z.im);
    if (a == 0) return b;
    if (b == 0) return a;
    if (a >= b) return a * std::sqrt(1 + (b * b / a) / a);
    return b * std::sqrt(1 + (a * a / b) / b);
}

double phase(Complex z) noexcept { return std::atan2(z.im, z.re); }

Complex sqr(Complex z) noexcept { return {z.re * z.re - z.im * z.im, 2 * z.re * z.im}; }

// w = sqrt((|x| + |z|)/2) from the larger part without forming |z|; the other
// part of the root is y/(2w). For x < 0 the parts change places and the sign
// comes from y by the test y >= 0, so -0.0 lands on +i like +0.0: the cut
// along the negative real axis belongs to the upper half plane.
Complex sqrt(Complex z) noexcept {
    const double x = z.re, y = z.im;
    if (x == 0 && y == 0) return {0, 0};
    const double a = std::fabs(x), b = std::fabs(y);
    double w;
    if (a >= b) {
        const double t = (y * y / x) / x;
        w = std::sqrt(a) * std::sqrt(0.5 + 0.5 * std::sqrt(1 + t));
    } else {
        const double t = (x * x / y) / y;
        w = std::sqrt(b) * std::sqrt(0.5 * std::sqrt(1 + t) + 0.5 * a / b);
    }
    if (w == 0) return {0, 0};
    if (x >= 0) return {w, 0.5 * y / w};
    return {0.5 * b / w, y >= 0 ? w : -w};
}

Complex exp(Complex z) noexcept {
    const double e = std::exp(z.re);
    return {e * std::cos(z.im), e * std::sin(z.im)};
}

Complex log(Complex z) noexcept { return log_of(z); }

Complex log10(Complex z) noexcept {
    return {std::log10(std::hypot(z.re, z.im)), std::atan2(z.im, z.re) / ln10};
}

// a^w = exp(w ln a) with ln a = L + i theta:
// |a^w| = exp(L w.re - theta w.im), arg = L w.im + theta w.re.
// A zero exponent gives pow(|a|, 0) = 1 even for a = 0; any other power of
// zero is 0 (also where the limit would be infinite or undefined).
Complex pow(Complex a, Complex w) noexcept {
    if (w.re == 0 && w.im == 0) return {std::pow(abs(a), 0.0), 0};
    const double r = abs(a), theta = std::atan2(a.im, a.re);
    if (r <= 0) return {0, 0};
    const double L = std::log(r);
    return polar(std::exp(L * w.re - w.im * theta), L * w.im + w.re * theta);
}

// |z|^p from the unscaled x^2 + y^2, raised to p/2.
Complex pow(Complex z, double p) noexcept {
    const double theta = std::atan2(z.im, z.re);
    return polar(std::pow(z.re * z.re + z.im * z.im, p / 2), p * theta);
}

// s^w for real s; a base s <= 0 is |s| e^(i pi). s = 0 makes L = -inf, so a
// zero in either part of w meets it as 0 * -inf = NaN: 0^w is NaN for real w.
Complex pow(double s, Complex w) noexcept {
    if (s > 0) {
        const double L = std::log(s);
        return polar(std::exp(w.re * L), w.im * L);
    }
    const double L = std::log(std::fabs(s));
    return polar(std::exp(w.re * L - w.im * pi), w.im * L + w.re * pi);
}

Complex sin(Complex z) noexcept {
    return {std::sin(z.re) * std::cosh(z.im), std::cos(z.re) * std::sinh(z.im)};
}

Complex cos(Complex z) noexcept {
    return {std::cos(z.re) * std::cosh(z.im), -std::sin(z.re) * std::sinh(z.im)};
}

Complex sinh(Complex z) noexcept {
    return {std::sinh(z.re) * std::cos(z.im), std::cosh(z.re) * std::sin(z.im)};
}

Complex cosh(Complex z) noexcept {
    return {std::cosh(z.re) * std::cos(z.im), std::sinh(z.re) * std::sin(z.im)};
}

namespace {

// 2z rebuilt from the polar form, 2 rho {cos theta, sin theta}. This is not
// {2x, 2y}: the round trip through hypot and atan2 rounds, and TanC and TanhC
// are defined on the rebuilt value.
Complex doubled_via_polar(Complex z) noexcept {
    const double rho = std::hypot(z.re, z.im), theta = std::atan2(z.im, z.re);
    return {2 * rho * std::cos(theta), 2 * rho * std::sin(theta)};
}

double sign_of(double v) noexcept { return v == 0 ? 0 : v / std::fabs(v); }

}  // namespace

// tan z = (sin 2x + i sinh 2y) / (cos 2x + cosh 2y). Once cosh 2y overflows
// the quotient is taken at its limit: imaginary part sign(y), real part 0.
Complex tan(Complex z) noexcept {
    const Complex d = doubled_via_polar(z);
    const double sh = std::sinh(d.im), ch = std::cosh(d.im), den = std::cos(d.re) + ch;
    const double im = !std::isinf(sh) && !std::isinf(ch) ? sh / den : sign_of(d.im);
    const double re = std::isfinite(ch) ? std::sin(d.re) / den : 0;
    return {re, im};
}

// tanh z = (sinh 2x + i sin 2y) / (cos 2y + cosh 2x), with the same limits.
Complex tanh(Complex z) noexcept {
    const Complex d = doubled_via_polar(z);
    const double sh = std::sinh(d.re), ch = std::cosh(d.re), den = std::cos(d.im) + ch;
    const double re = std::isfinite(sh) && std::isfinite(ch) ? sh / den : sign_of(d.re);
    const double im = std::isfinite(ch) ? std::sin(d.im) / den : 0;
    return {re, im};
}

// The inverses are the logarithmic forms, each bracket built from the parts
// (1 - z^2 = {1 - x^2 + y^2, -2xy}) and rooted by sqrt() above, so their
// branch cuts follow its sign rule. Near the branch points and for tiny z the
// logarithm of a value close to 1 cancels; that loss is the formula's own.

// asin z = -i ln(iz + sqrt(1 - z^2)).
Complex asin(Complex z) noexcept {
    const double x = z.re, y = z.im;
    const Complex w = sqrt(Complex{1 - x * x + y * y, -2 * x * y});
    const Complex u{w.re - y, x + w.im};
    return {std::atan2(u.im, u.re), -std::log(std::hypot(u.re, u.im))};
}

// acos z = -i ln(z + i sqrt(1 - z^2)).
Complex acos(Complex z) noexcept {
    const double x = z.re, y = z.im;
    const Complex w = sqrt(Complex{1 - x * x + y * y, -2 * x * y});
    const Complex u{x - w.im, y + w.re};
    return {std::atan2(u.im, u.re), -std::log(std::hypot(u.re, u.im))};
}

// asinh z = ln(z + sqrt(z^2 + 1)).
Complex asinh(Complex z) noexcept {
    const double x = z.re, y = z.im;
    const Complex w = sqrt(Complex{x * x + 1 - y * y, 2 * x * y});
    return log_of({x + w.re, y + w.im});
}

// acosh z = ln(z + sqrt(z + 1) sqrt(z - 1)); the two roots are taken apart
// (not sqrt(z^2 - 1)) so that the cut stays on the real axis left of 1.
Complex acosh(Complex z) noexcept {
    const Complex p = sqrt(Complex{z.re + 1, z.im}), q = sqrt(Complex{z.re - 1, z.im});
    return log_of(add(z, mul(p, q)));
}

// atan z = (A - B)/2 + i/4 ln(((y + 1)^2 + x^2) / ((y - 1)^2 + x^2)),
// A = atan2(x, 1 - y), B = atan2(-x, y + 1). A real part equal to zero in the
// sense of compare_floats (which for x against 0 means x is +0 or -0) is
// taken as +0, so both sides of the cut x = 0, |y| > 1 meet atan2(+0, .) and
// give +pi/2 for y > 1. At z = +-i the logarithm divides by zero and the
// imaginary part is infinite.
Complex atan(Complex z) noexcept {
    const double x = z.re, y = z.im;
    const double xs = compare_floats(x, 0) ? 0.0 : x;
    const double A = std::atan2(xs, 1 - y), B = std::atan2(-xs, y + 1);
    const double ratio = (std::pow(y + 1, 2) + std::pow(x, 2)) / (std::pow(y - 1, 2) + std::pow(x, 2));
    return {0.5 * A - 0.5 * B, 0.25 * std::log(ratio)};
}

// atanh z: atan with the parts exchanged (cut x = 0 becomes y = 0, |x| > 1).
Complex atanh(Complex z) noexcept {
    const double x = z.re, y = z.im;
    const double ys = compare_floats(y, 0) ? 0.0 : y;
    const double A = std::atan2(ys, x + 1), B = std::atan2(-ys, 1 - x);
    const double ratio = (std::pow(x + 1, 2) + std::pow(y, 2)) / (std::pow(x - 1, 2) + std::pow(y, 2));
    return {0.25 * std::log(ratio), 0.5 * A - 0.5 * B};
}

// The sum runs over slots 1..n in order; a compiler may not reorder the
// additions, so an unrolled loop gives the same bits and is left to it.
double norm(const Complex* v) noexcept {
    const std::ptrdiff_t n = KindC::length(v[0]);
    double s = 0;
    for (std::ptrdiff_t i = 1; i <= n; ++i) s += v[i].re * v[i].re + v[i].im * v[i].im;
    return std::sqrt(s);
}

}  // namespace ostr::num

namespace {

Complex* put(Complex* r, Complex v) noexcept {
    *r = v;
    return r;
}

}  // namespace

using namespace ostr::num;

extern "C" {

int CompareFloats(double a, double b) noexcept { return compare_floats(a, b); }

Complex *ComplexR(Complex *r, double re, double im) noexcept { return put(r, {re, im}); }
Complex *ComplexP(Complex *r, double rho, double t) noexcept { return put(r, polar(rho, t)); }
Complex *CopyC(Complex *r, const Complex *z) noexcept { return put(r, *z); }
Complex *ConjC(Complex *r, const Complex *z) noexcept { return put(r, {z->re, -z->im}); }
double RealC(const Complex *z) noexcept { return z->re; }
double ImagC(const Complex *z) noexcept { return z->im; }
Complex *AddC(Complex *r, const Complex *a, const Complex *b) noexcept { return put(r, add(*a, *b)); }
Complex *SubC(Complex *r, const Complex *a, const Complex *b) noexcept { return put(r, sub(*a, *b)); }
Complex *Add3C(Complex *r, const Complex *a, const Complex *b, const Complex *c) noexcept { return put(r, add(add(*a, *b), *c)); }
Complex *MulC(Complex *r, const Complex *a, const Complex *b) noexcept { return put(r, mul(*a, *b)); }
Complex *MulCR(Complex *r, const Complex *z, double s) noexcept { return put(r, {z->re * s, z->im * s}); }
Complex *DivCR(Complex *r, const Complex *z, double s) noexcept { return put(r, {z->re / s, z->im / s}); }
Complex *DivC(Complex *r, const Complex *a, const Complex *b) noexcept { return put(r, div(*a, *b)); }
Complex *InvC(Complex *r, const Complex *z) noexcept { return put(r, inv(*z)); }
double AbsC(const Complex *z) noexcept { return ostr::num::abs(*z); }
double PhaC(const Complex *z) noexcept { return phase(*z); }
Complex *SqrC(Complex *r, const Complex *z) noexcept { return put(r, sqr(*z)); }
Complex *SqrtC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::sqrt(*z)); }
Complex *ExpC(Complex *r, double t) noexcept { return put(r, polar(1, t)); }
Complex *ExpCC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::exp(*z)); }
Complex *LogC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::log(*z)); }
Complex *Log10C(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::log10(*z)); }
Complex *PowC(Complex *r, const Complex *a, const Complex *w) noexcept { return put(r, ostr::num::pow(*a, *w)); }
Complex *PowCR(Complex *r, const Complex *z, double p) noexcept { return put(r, ostr::num::pow(*z, p)); }
Complex *PowRC(Complex *r, double s, const Complex *w) noexcept { return put(r, ostr::num::pow(s, *w)); }
Complex *SinC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::sin(*z)); }
Complex *CosC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::cos(*z)); }
Complex *TanC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::tan(*z)); }
Complex *SinhC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::sinh(*z)); }
Complex *CoshC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::cosh(*z)); }
Complex *TanhC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::tanh(*z)); }
Complex *ArcsinC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::asin(*z)); }
Complex *ArccosC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::acos(*z)); }
Complex *ArctanC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::atan(*z)); }
Complex *ArcsinhC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::asinh(*z)); }
Complex *ArccoshC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::acosh(*z)); }
Complex *ArctanhC(Complex *r, const Complex *z) noexcept { return put(r, ostr::num::atanh(*z)); }
double NormC(const Complex *v) noexcept { return norm(v); }

}
