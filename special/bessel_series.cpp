// The language's Bessel functions J, I, Y and K. J and I below x = 2: the power series
// (x/2)^nu / Gamma(nu + 1) sum_k (-+x^2/4)^k / (k! (nu+1)_k) in the extended
// format, whose leading power the double kernel forms through logarithms
// where it leaves the double range (up to 474 ulp at x = 1e-300); elsewhere,
// and for negative non-integer orders (which need Y or K), the double kernels
// of the C face. The terms fall from the first for x < 2; an alternating sum
// loses at most a factor e of relative accuracy, far below 2^-64 * e.
// Y and K of order nu >= 2: the double kernels at the two lowest orders
// mu = frac(nu) and mu + 1, then the upward recurrence (stable for both) in
// the extended format, which the double kernel runs in double and so adds
// about one rounding per step (36 ulp after 100 steps).
#include <cmath>
#include <limits>

#include "special/scientific.hpp"
#include "special/special.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr LD eps = std::numeric_limits<LD>::epsilon();
// tgamma of the extended format stays finite below this order.
constexpr double max_series_order = 1700;

bool is_integer(double v) { return std::isfinite(v) && v == std::nearbyint(v); }

// The series at |x| < 2 for order a >= 0; sign -1 for J, +1 for I.
LD series(double a, double x, LD sign) {
    LD h = static_cast<LD>(x) / 2, q = sign * h * h;
    LD term = 1, sum = 1;
    for (int k = 1; k < 200; ++k) {
        term *= q / (k * (a + k));
        sum += term;
        if (std::fabs(term) < eps * std::fabs(sum)) break;
    }
    return std::pow(h, static_cast<LD>(a)) / std::tgamma(static_cast<LD>(a) + 1) * sum;
}

// The order as a series order (>= 0) and the sign of the reflection, or
// false when the series does not apply.
bool series_applies(double x, double nu, double& a, double& sign) {
    if (!(std::fabs(x) < 2) || x == 0 || !std::isfinite(nu)) return false;
    bool integer = is_integer(nu);
    if (nu < 0 && !integer) return false;
    a = std::fabs(nu);
    if (a > max_series_order || (x < 0 && !integer)) return false;
    // J_-n = (-1)^n J_n, I_-n = I_n; J_n(-x) = (-1)^n J_n(x), likewise I.
    bool odd = integer && std::fmod(a, 2.0) != 0;
    sign = odd && (x < 0) ? -1 : 1;
    return true;
}

// Y (sign -1) or K (sign +1) of order nu >= 2 at x > 0 from the two lowest
// orders of the double kernel.
double recur_up(double x, double nu, double sign, double (*kernel)(double, double)) {
    double mu = nu - std::floor(nu);
    LD y0 = kernel(x, mu), y1 = kernel(x, mu + 1);
    // Start values past the double range (K far out, where the kernel scales
    // by exponents of its own) leave the order to the kernel.
    if (!(std::fabs(y0) > 1e-290L && std::fabs(y1) > 1e-290L && std::fabs(y1) < 1e290L)) return kernel(x, nu);
    LD two_over_x = 2 / static_cast<LD>(x);
    long steps = static_cast<long>(nu - mu) - 1;
    for (long k = 0; k < steps && std::fabs(y1) < 1e4000L; ++k) {
        LD y2 = (mu + 1 + k) * two_over_x * y1 + sign * y0;
        y0 = y1;
        y1 = y2;
    }
    return static_cast<double>(y1);
}

bool recurrence_applies(double x, double nu) {
    return x > 0 && std::isfinite(x) && nu >= 2 && nu <= 1e5;
}

}  // namespace

double bessel_y_language(double x, double nu) noexcept {
    return recurrence_applies(x, nu) ? recur_up(x, nu, -1, bessel_y) : bessel_y(x, nu);
}

double bessel_k_language(double x, double nu) noexcept {
    return recurrence_applies(x, std::fabs(nu)) ? recur_up(x, std::fabs(nu), 1, bessel_k) : bessel_k(x, nu);
}

double bessel_j_language(double x, double nu) noexcept {
    double a, sign;
    if (!series_applies(x, nu, a, sign)) return bessel_j(x, nu);
    if (nu < 0 && std::fmod(a, 2.0) != 0) sign = -sign;
    return static_cast<double>(sign * series(a, std::fabs(x), -1));
}

double bessel_i_language(double x, double nu) noexcept {
    double a, sign;
    if (!series_applies(x, nu, a, sign)) return bessel_i(x, nu);
    return static_cast<double>(sign * series(a, std::fabs(x), 1));
}

}  // namespace ostr::special
