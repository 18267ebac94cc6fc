// Airy functions Ai and Bi of real argument.
// |x| <= 1: the Maclaurin series Ai = c1 f - c2 g, Bi = sqrt(3) (c1 f + c2 g),
// where f and g are the two power series solutions of w'' = x w. Elsewhere
// through Bessel functions of order 1/3 at zeta = (2/3)|x|^(3/2):
//   x > 1:   Ai = sqrt(x/3)/pi K(zeta),  Bi = sqrt(x/3) (2 I(zeta) + sqrt(3)/pi K(zeta)),
//   x < -1:  Ai = sqrt|x|/2 (J - Y/sqrt(3)),  Bi = -sqrt|x|/2 (J/sqrt(3) + Y),
// (from I_{-1/3} = I_{1/3} + (sqrt 3/pi) K_{1/3} and the reflection of J_{-1/3}),
// so both sides are free of cancellation except at the zeros themselves.
// zeta is formed to twice double precision. On the oscillatory side its low
// part goes into the phase of the Bessel expansion (one ulp of zeta would
// cost 4e-12 of the amplitude near x = -1000); for x > 1 it scales the result
// by exp(-+low), since K and I there behave like exp(-+zeta) (one ulp of
// zeta costs 7e-14 at x = 99).
#include <cmath>
#include <limits>

#include "special/special.hpp"

namespace ostr::special {
namespace {

constexpr double c1 = 0.35502805388781723926;  // Ai(0)
constexpr double c2 = 0.25881940379280679840;  // -Ai'(0)
constexpr double sqrt3 = 1.7320508075688772935;

// f = sum 3^k (1/3)_k x^{3k}/(3k)!, g = sum 3^k (2/3)_k x^{3k+1}/(3k+1)!,
// with term ratios x^3/((3k+2)(3k+3)) and x^3/((3k+3)(3k+4)).
Pair maclaurin(double x) {
    double x3 = x * x * x;
    double tf = 1, tg = x, f = 1, g = x;
    for (int k = 0; k < 60; ++k) {
        tf *= x3 / ((3.0 * k + 2) * (3.0 * k + 3));
        tg *= x3 / ((3.0 * k + 3) * (3.0 * k + 4));
        f += tf;
        g += tg;
        if (std::fabs(tf) < 1e-17 * std::fabs(f) && std::fabs(tg) < 1e-17 * std::fabs(g) + 1e-300)
            break;
    }
    return {c1 * f, c2 * g};
}

// zeta = (2/3) t sqrt(t) as hi + lo, with the rounding errors of the square
// root, the product and the division recovered exactly by fma.
Pair zeta_split(double t) {
    double s = std::sqrt(t);
    double s_lo = std::fma(-s, s, t) / (2 * s);
    double p = t * s;
    double p_lo = std::fma(t, s, -p) + t * s_lo;
    double z = 2 * p / 3;
    double z_lo = std::fma(-3.0, z, 2 * p) / 3 + 2 * p_lo / 3;
    return {z, z_lo};
}

Pair airy_negative(double x) {
    double t = -x;
    Pair z = zeta_split(t);
    Pair jy = bessel_jy(1.0 / 3, z.first, z.second);
    double h = 0.5 * std::sqrt(t);
    return {h * (jy.first - jy.second / sqrt3), -h * (jy.first / sqrt3 + jy.second)};
}

}  // namespace

// Past |x| = 1e200, zeta = (2/3)|x|^(3/2) leaves the double range: Ai and Bi
// are 0 and +inf on the right; on the left the phase cannot be formed and the
// result is NaN (the limit at -inf is 0).
constexpr double huge = 1e200;

double airy_ai(double x) noexcept {
    if (std::isnan(x)) return x;
    if (std::isinf(x)) return 0;
    if (x > huge) return 0;
    if (x < -huge) return std::numeric_limits<double>::quiet_NaN();
    if (std::fabs(x) <= 1) {
        Pair s = maclaurin(x);
        return s.first - s.second;
    }
    if (x < 0) return airy_negative(x).first;
    Pair z = zeta_split(x);
    return std::sqrt(x / 3) / pi * bessel_ik(1.0 / 3, z.first).second * std::exp(-z.second);
}

double airy_bi(double x) noexcept {
    if (std::isnan(x)) return x;
    if (std::isinf(x)) return x > 0 ? x : 0;
    if (x > huge) return std::numeric_limits<double>::infinity();
    if (x < -huge) return std::numeric_limits<double>::quiet_NaN();
    if (std::fabs(x) <= 1) {
        Pair s = maclaurin(x);
        return sqrt3 * (s.first + s.second);
    }
    if (x < 0) return airy_negative(x).second;
    Pair z = zeta_split(x);
    Pair ik = bessel_ik(1.0 / 3, z.first);
    return std::sqrt(x / 3) * (2 * ik.first + sqrt3 / pi * ik.second) * std::exp(z.second);
}

}  // namespace ostr::special
