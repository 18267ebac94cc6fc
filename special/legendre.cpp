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

#include "special/special.hpp"

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

// Next to x = +-1, where l^2 (1 - |x|) is small, the recurrence loses about
// l eps (7e-13 at l = 500, x = 0.999999); there the hypergeometric form
//   P_l^m(x) = (-1)^m (l+m)!/((l-m)! m! 2^m) (1-x^2)^{m/2}
//              2F1(m-l, m+l+1; m+1; (1-x)/2)
// is used instead, for x >= 0 (P_l^m(-x) = (-1)^{l+m} P_l^m(x)). It applies when
// the first term ratio (l-m)(l+m+1) t/(m+1), t = (1-|x|)/2, is at most 1/2, so
// the terms alternate and fall at least geometrically.
bool endpoint_series_applies(int l, int m, double x) {
    double t = 0.5 * (1 - std::fabs(x));
    return l > m && (l - m) * (l + m + 1.0) * t <= 0.5 * (m + 1.0);
}

Scaled legendre_endpoint(int l, int m, double x) {
    double ax = std::fabs(x), t = 0.5 * (1 - ax);
    double s = std::sqrt((1 - ax) * (1 + ax));
    Scaled p;
    for (int j = 1; j <= m; ++j) {
        p.v *= -(l - m + j) * (l + 1.0 * j) * s / (2.0 * j);
        if ((j & 15) == 0) p.normalise();
    }
    double term = 1, sum = 1;
    for (int k = 0; k < l - m; ++k) {
        term *= (m - l + k) * (m + l + 1.0 + k) / ((m + 1.0 + k) * (k + 1)) * t;
        sum += term;
        if (std::fabs(term) < 0x1p-54 * std::fabs(sum)) break;
    }
    p.v *= (x < 0 && (l + m) % 2) ? -sum : sum;
    p.normalise();
    return p;
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
    Scaled p = endpoint_series_applies(li, mi, x) ? legendre_endpoint(li, mi, x)
                                                  : legendre_nonnegative(li, mi, x);
    if (m < 0) {
        Scaled r = factorial_ratio(li, mi);
        p.v *= (mi % 2 ? -1 : 1) * r.v;
        p.e += r.e;
    }
    return std::ldexp(p.v, p.e);
}

}  // namespace ostr::special
