// Associated Legendre functions P_l^m(x) on [-1, 1], with the
// Condon-Shortley phase: P_l^m = (-1)^m (1-x^2)^{m/2} d^m/dx^m P_l(x).
// For m >= 0 the recurrence in the degree starts from
//   P_m^m = (-1)^m (2m-1)!! (1-x^2)^{m/2},  P_{m+1}^m = (2m+1) x P_m^m
// and runs (l-m) P_l^m = (2l-1) x P_{l-1}^m - (l+m-1) P_{l-2}^m, which is
// stable upwards in l for |x| <= 1 (its two solutions P and Q are of like
// size there). Negative orders use P_l^{-m} = (-1)^m (l-m)!/(l+m)! P_l^m.
// Every product and recurrence keeps its binary exponent apart, so large
// degrees and orders give inf or 0 only when the value itself leaves the
// double range. The error grows like the number of steps times eps.
#include <cmath>
#include <limits>

#include "numeric/special.hpp"

namespace ostr::special {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
// The recurrence costs one step per degree; this bounds one call's work.
constexpr double max_degree = 1e7;

struct Scaled {
    double v = 1;
    int e = 0;
    void normalise() {
        int k;
        v = std::frexp(v, &k);
        e += k;
    }
};

// (-1)^m (2m-1)!! s^m with s = sqrt(1 - x^2).
Scaled sectoral(int m, double s) {
    Scaled p;
    for (int k = 1; k <= m; ++k) {
        p.v *= -(2.0 * k - 1) * s;
        if ((k & 31) == 0) p.normalise();
    }
    p.normalise();
    return p;
}

Scaled legendre_nonnegative(int l, int m, double x) {
    // (1 - x)(1 + x) is exact to rounding where 1 - x*x would cancel.
    double s = std::sqrt((1 - x) * (1 + x));
    Scaled pmm = sectoral(m, s);
    if (l == m) return pmm;
    double p0 = pmm.v, p1 = (2.0 * m + 1) * x * pmm.v;
    int e = pmm.e;
    for (int k = m + 2; k <= l; ++k) {
        double p2 = ((2.0 * k - 1) * x * p1 - (k + m - 1.0) * p0) / (k - m);
        p0 = p1;
        p1 = p2;
        if (std::fabs(p1) > 0x1p500 || (std::fabs(p1) < 0x1p-500 && std::fabs(p0) < 0x1p-500 && p1 != 0)) {
            int k2;
            std::frexp(p1, &k2);
            p0 = std::ldexp(p0, -k2);
            p1 = std::ldexp(p1, -k2);
            e += k2;
        }
    }
    return {p1, e};
}

// (l-m)!/(l+m)! = 1 / ((l-m+1)(l-m+2)...(l+m)) as a scaled number.
Scaled factorial_ratio(int l, int m) {
    Scaled r;
    for (int k = l - m + 1; k <= l + m; ++k) {
        r.v /= k;
        if ((k & 31) == 0) r.normalise();
    }
    r.normalise();
    return r;
}

}  // namespace

double legendre(double x, double l, double m) noexcept {
    if (!(std::fabs(x) <= 1) || !(l >= 0) || !(l <= max_degree) || l != std::nearbyint(l) ||
        !(std::fabs(m) <= l) || m != std::nearbyint(m))
        return nan;
    int li = static_cast<int>(l);
    int mi = static_cast<int>(std::fabs(m));
    Scaled p = legendre_nonnegative(li, mi, x);
    if (m < 0) {
        Scaled r = factorial_ratio(li, mi);
        p.v *= (mi % 2 ? -1 : 1) * r.v;
        p.e += r.e;
    }
    return std::ldexp(p.v, p.e);
}

}  // namespace ostr::special
