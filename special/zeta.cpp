// The Riemann zeta function of real and complex argument and the real
// dilogarithm, in the extended format.
//   zeta, Re s >= 0: the Euler-Maclaurin sum
//     sum_{n<N} n^-s + N^(1-s)/(s-1) + N^-s/2 + sum_{k=1..20} B_2k/(2k)! (s)_(2k-1) N^(1-s-2k)
//   with N = 30 + 2|s|: term k+1 is at most |s + 2k|^2 / (2 pi N)^2 < 1/20 of
//   term k, so the twentieth lies below 1e-26 of the first.
//   Re s < 0: the functional equation
//     zeta(s) = 2^s pi^(s-1) sin(pi s/2) Gamma(1-s) zeta(1-s),
//   with sin(pi s/2) reduced exactly (the trivial zeros come out as 0).
//   |Im s| is limited to 5000, where the phases t ln n still carry about 15
//   digits and e^(pi |t|/2) stays inside the extended range.
//   Li2(x): sum x^k/k^2 for |x| <= 1/2; Landen's identity
//   Li2(x) = -Li2(x/(x-1)) - ln^2(1-x)/2 on [-1, -1/2), the reflection
//   Li2(x) = pi^2/6 - ln x ln(1-x) - Li2(1-x) on (1/2, 1], and the inversion
//   Li2(x) = -pi^2/6 - ln^2(-x)/2 - Li2(1/x) below -1, whose real form past 1
//   is pi^2/3 - ln^2 x / 2 - Li2(1/x), with the imaginary part -pi ln x.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
using CL = std::complex<LD>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD pi_l = 3.141592653589793238462643383279502884L;
constexpr LD two_pi = 6.283185307179586476925286766559005768L;
constexpr double max_imag = 5000;

// B_2k / (2k)!, k = 1..20.
constexpr LD bernoulli_ratio[] = {
    0.08333333333333333333333333L,     -0.001388888888888888888888889L,  3.306878306878306878306878e-5L,
    -8.267195767195767195767196e-7L,   2.087675698786809897921009e-8L,   -5.284190138687493184847682e-10L,
    1.338253653068467883282698e-11L,   -3.389680296322582866830195e-13L, 8.586062056277844564135905e-15L,
    -2.174868698558061873041516e-16L,  5.509002828360229515202653e-18L,  -1.395446468581252334070769e-19L,
    3.53470703962946747169323e-21L,    -8.953517427037546850402611e-23L, 2.267952452337683060310951e-24L,
    -5.744790668872202445263882e-26L,  1.455172475614864901866265e-27L,  -3.685994940665310178181782e-29L,
    9.336734257095044672032555e-31L,   -2.365022415700629934559635e-32L};

template <class T>
T euler_maclaurin(T s) {
    LD re = std::real(s), im = std::imag(s);
    long n_terms = 30 + static_cast<long>(2 * std::fabs(im) + 2 * std::min(std::fabs(re), LD(30)));
    T sum = 0;
    for (long n = n_terms - 1; n >= 1; --n) sum += std::pow(static_cast<LD>(n), -s);
    LD big_n = static_cast<LD>(n_terms);
    T power = std::pow(big_n, -s);  // N^-s
    sum += power * big_n / (s - LD(1)) + power / LD(2);
    T rising = s, tail = 0;
    T factor = power / big_n;  // N^(-s-1)
    for (int k = 0; k < 20; ++k) {
        T term = bernoulli_ratio[k] * rising * factor;
        tail += term;
        rising *= (s + LD(2 * k + 1)) * (s + LD(2 * k + 2));
        factor /= big_n * big_n;
    }
    return sum + tail;
}

LD zeta_real(LD s) {
    if (s > 100) return 1 + std::exp2(-s);
    if (s >= 0) return euler_maclaurin(s);
    LD sine = detail::sin_pi_extended(s / 2);
    if (sine == 0) return 0;
    if (s < -400) return std::copysign(std::numeric_limits<LD>::infinity(), sine);
    return std::pow(two_pi, s) / pi_l * sine * std::tgamma(1 - s) * euler_maclaurin(1 - s);
}

CL sin_half_pi(CL s) {
    LD x = s.real() / 2, y = pi_l * s.imag() / 2;
    LD sx = detail::sin_pi_extended(x), cx = detail::sin_pi_extended(std::fabs(x) + 0.5L);
    return {sx * std::cosh(y), cx * std::sinh(y)};
}

LD dilog_series(LD x) {
    LD power = x, sum = x;
    for (int k = 2; k < 200; ++k) {
        power *= x;
        LD term = power / (static_cast<LD>(k) * k);
        sum += term;
        if (std::fabs(term) < std::numeric_limits<LD>::epsilon() * std::fabs(sum)) break;
    }
    return sum;
}

// Li2 on [-1, 1].
LD dilog_unit(LD x) {
    constexpr LD pi2_6 = pi_l * pi_l / 6;
    if (x == 1) return pi2_6;
    if (x > 0.5L) return pi2_6 - std::log(x) * std::log1p(-x) - dilog_series(1 - x);
    if (x < -0.5L) {
        LD l = std::log1p(-x);
        return -dilog_series(x / (x - 1)) - l * l / 2;
    }
    return dilog_series(x);
}

}  // namespace

double zeta(double s) noexcept {
    if (std::isnan(s) || s == 1) return nan;
    if (s == std::numeric_limits<double>::infinity()) return 1;
    if (std::isinf(s)) return nan;
    return static_cast<double>(zeta_real(s));
}

Complex zeta(Complex s) noexcept {
    if (s.im == 0) return {zeta(s.re), 0};
    if (!std::isfinite(s.re) || !(std::fabs(s.im) <= max_imag) || std::fabs(s.re) > 1e4) return {nan, nan};
    CL z(s.re, s.im), r;
    if (s.re > 100) {
        r = LD(1) + std::pow(LD(2), -z) + std::pow(LD(3), -z);
    } else if (s.re >= 0) {
        r = euler_maclaurin(z);
    } else {
        CL one_minus = LD(1) - z;
        r = std::exp(z * std::log(two_pi)) / pi_l * sin_half_pi(z) * detail::gamma_extended(one_minus) *
            euler_maclaurin(one_minus);
    }
    return {static_cast<double>(r.real()), static_cast<double>(r.imag())};
}

Complex dilog(double x) noexcept {
    if (std::isnan(x)) return {nan, nan};
    if (std::isinf(x)) return x < 0 ? Complex{-std::numeric_limits<double>::infinity(), 0} : Complex{nan, nan};
    LD v = x;
    if (v >= -1 && v <= 1) return {static_cast<double>(dilog_unit(v)), 0};
    LD l = std::log(std::fabs(v));
    if (v < -1) return {static_cast<double>(-pi_l * pi_l / 6 - l * l / 2 - dilog_unit(1 / v)), 0};
    return {static_cast<double>(pi_l * pi_l / 3 - l * l / 2 - dilog_unit(1 / v)), static_cast<double>(-pi_l * l)};
}

}  // namespace ostr::special
