// Spherical Bessel functions j_n(x) and y_n(x) of integer order, in the
// extended format.
//   y_n: the upward recurrence y_{k+1} = (2k+1)/x y_k - y_{k-1} from
//   y_0 = -cos x / x and y_1 = -cos x / x^2 - sin x / x; y grows with the order,
//   so the recurrence is stable.
//   j_n: for x^2 <= 4n + 6 the series
//   x^n / (2n+1)!! sum_k (-x^2/2)^k / (k! (2n+3)(2n+5)...(2n+2k+1)), whose terms
//   fall from the first; for x > n the upward recurrence from j_0 = sin x / x
//   and j_1, stable below the turning point; in between the ratio
//   j_n / j_{n-1} = 1/((2n+1)/x - 1/((2n+3)/x - ...)) by Lentz's method and the
//   downward recurrence (stable for j) to j_0 and j_1, whichever is larger
//   normalising it. Recurrences keep a binary exponent apart.
#include <cmath>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD eps = std::numeric_limits<LD>::epsilon();
constexpr double max_order = 100000;

bool valid_order(double n) { return n >= 0 && n <= max_order && n == std::nearbyint(n); }

LD j_series(long n, LD x) {
    LD lead = 1;
    int e = 0;
    for (long k = 1; k <= n; ++k) {
        lead *= x / (2 * k + 1);
        if (std::fabs(lead) < 0x1p-8000L) {
            lead = std::ldexp(lead, 8000);
            e -= 8000;
        }
    }
    LD q = -x * x / 2, term = 1, sum = 1;
    for (long k = 1; k < 1000; ++k) {
        term *= q / (k * (2.0L * n + 2 * k + 1));
        sum += term;
        if (std::fabs(term) < eps * std::fabs(sum)) break;
    }
    return std::ldexp(lead * sum, e);
}

LD j_upward(long n, LD x) {
    LD s = std::sin(x), c = std::cos(x);
    LD j0 = s / x, j1 = s / (x * x) - c / x;
    if (n == 0) return j0;
    for (long k = 1; k < n; ++k) {
        LD j2 = (2 * k + 1) / x * j1 - j0;
        j0 = j1;
        j1 = j2;
    }
    return j1;
}

LD j_downward(long n, LD x) {
    // g = j_{n-1} / j_n = b_n - 1/(b_{n+1} - 1/(b_{n+2} - ...)), b_k = (2k+1)/x,
    // by Lentz's method; it settles within a few dozen terms once k > x.
    constexpr LD tiny = 1e-4000L;
    LD g = (2 * n + 1) / x, c = g, d = 0;
    for (long k = n + 1; k < n + 10'000'000; ++k) {
        LD b = (2 * k + 1) / x;
        d = b - d;
        if (std::fabs(d) < tiny) d = tiny;
        c = b - 1 / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        LD del = c * d;
        g *= del;
        if (std::fabs(del - 1) < eps) break;
    }
    LD f = 1 / g;
    LD upper = 1, lower = 1 / f;  // u_n and u_{n-1}
    int e = 0;
    for (long k = n - 1; k >= 1; --k) {
        LD next = (2 * k + 1) / x * lower - upper;
        upper = lower;
        lower = next;
        if (std::fabs(lower) > 0x1p8000L) {
            lower = std::ldexp(lower, -8000);
            upper = std::ldexp(upper, -8000);
            e += 8000;
        }
    }
    // lower = u_0, upper = u_1, u_n = 2^-e.
    LD s = std::sin(x), co = std::cos(x);
    LD j0 = s / x, j1 = s / (x * x) - co / x;
    LD scale = std::fabs(j0) >= std::fabs(j1) ? j0 / lower : j1 / upper;
    return std::ldexp(scale, -e);
}

}  // namespace

double sph_bessel_j(double x, double n) noexcept {
    if (std::isnan(x) || !valid_order(n)) return nan;
    long k = static_cast<long>(n);
    if (x < 0) return (k % 2 ? -1 : 1) * sph_bessel_j(-x, n);
    if (x == 0) return k == 0 ? 1 : 0;
    if (std::isinf(x)) return 0;
    LD v = static_cast<LD>(x);
    if (v * v <= 4.0L * k + 6) return static_cast<double>(j_series(k, v));
    if (v > k) return static_cast<double>(j_upward(k, v));
    return static_cast<double>(j_downward(k, v));
}

double sph_bessel_y(double x, double n) noexcept {
    if (!(x > 0) || !valid_order(n)) return nan;
    if (std::isinf(x)) return 0;
    long k = static_cast<long>(n);
    LD v = x, s = std::sin(v), c = std::cos(v);
    LD y0 = -c / v, y1 = -c / (v * v) - s / v;
    if (k == 0) return static_cast<double>(y0);
    for (long i = 1; i < k && std::fabs(y1) < 1e4000L; ++i) {
        LD y2 = (2 * i + 1) / v * y1 - y0;
        y0 = y1;
        y1 = y2;
    }
    return static_cast<double>(y1);
}

}  // namespace ostr::special
