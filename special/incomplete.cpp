// The regularised incomplete gamma functions P(a, x), Q(a, x) and the
// regularised incomplete beta function I_x(a, b), in the extended format.
//   P: the series D(a, x) sum x^n / ((a+1)...(a+n)) with
//   D = x^a e^-x / Gamma(a + 1), all terms positive, where x < a + 1 or x <= 1.5.
//   Q: Legendre's continued fraction for Gamma(a, x) where x >= a + 1, and for
//   x <= 1.5, a <= 1 (where P is next to 1) the form
//   Q = -expm1(a ln x - ln Gamma(1 + a)) - a x^a / Gamma(1 + a) sum_{n>=1} (-x)^n / (n! (a + n)),
//   whose two parts have one sign for x < 1. The other function is 1 minus
//   the one computed, which is then at most about 0.6.
//   D for a >= 10 is exp(-a (u - ln(1 + u))) / (sqrt(2 pi a) e^mu(a)),
//   u = (x - a)/a, so that no large logarithms cancel.
//   I_x(a, b): the continued fraction of the hypergeometric form (Lentz),
//   x^a (1-x)^b / (a B(a, b)) times it, on the side x < (a+1)/(a+b+2) where it
//   converges fast, else 1 - I_{1-x}(b, a). For a, b >= 10 the factor is
//   sqrt(ab / (2 pi (a+b))) e^{mu(a+b) - mu(a) - mu(b) - a g(d/a) - b g(-d/b)},
//   d = x(a+b) - a, g(u) = u - ln(1 + u).
// Both continued fractions and the series take O(sqrt(a) + sqrt(b)) terms
// near the transition; past 2e6 terms the answer is NaN.
#include <cmath>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD eps = std::numeric_limits<LD>::epsilon();
constexpr LD tiny = 1e-4000L;
constexpr LD two_pi = 6.283185307179586476925286766559005768L;
constexpr long max_terms = 2'000'000;

LD log_gamma_1p_any(LD a) { return a <= 0.5L ? detail::log_gamma_1p(a) : std::lgamma(1 + a); }

// D(a, x) = x^a e^-x / Gamma(a + 1).
LD prefactor(LD a, LD x) {
    if (a < 10) return std::exp(a * std::log(x) - x - log_gamma_1p_any(a));
    // -a (u - ln(1 + u)) with u = (x - a)/a; far from x = a as a ln(x/a) + a - x,
    // since 1 + u would round where x << a.
    LD u = (x - a) / a;
    LD e = std::fabs(u) < 0.5L ? -a * detail::log1p_gap(u) : a * std::log(x / a) + (a - x);
    return std::exp(e - detail::stirling_remainder(a)) / std::sqrt(two_pi * a);
}

// P by the series; NaN when it does not settle.
LD p_series(LD a, LD x) {
    LD term = 1, sum = 1;
    for (long n = 1; n < max_terms; ++n) {
        term *= x / (a + n);
        sum += term;
        if (term < eps * sum) return prefactor(a, x) * sum;
    }
    return nan;
}

// Q by Legendre's continued fraction x^a e^-x / Gamma(a) / (x + 1 - a - 1(1-a)/(x + 3 - a - ...)).
LD q_fraction(LD a, LD x) {
    LD b = x + 1 - a, c = 1 / tiny, d = 1 / b, h = d;
    for (long i = 1; i < max_terms; ++i) {
        LD an = -i * (i - a);
        b += 2;
        d = an * d + b;
        if (std::fabs(d) < tiny) d = tiny;
        c = b + an / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        LD del = d * c;
        h *= del;
        if (std::fabs(del - 1) < eps) return a * prefactor(a, x) * h;
    }
    return nan;
}

LD q_small_x(LD a, LD x) {
    LD lead = a * std::log(x) - log_gamma_1p_any(a);
    LD term = 1, sum = 0;
    for (int n = 1; n < 200; ++n) {
        term *= -x / n;
        LD t = term / (a + n);
        sum += t;
        if (std::fabs(t) < eps * std::fabs(sum)) break;
    }
    return -std::expm1(lead) - a * std::exp(lead) * sum;
}

// {P, Q} for a > 0, x > 0.
struct PQ {
    LD p, q;
};
PQ incomplete_gamma(LD a, LD x) {
    if (x <= 1.5L) {
        LD p = p_series(a, x);
        return {p, a <= 1 ? q_small_x(a, x) : 1 - p};
    }
    if (x < a + 1) {
        LD p = p_series(a, x);
        return {p, 1 - p};
    }
    LD q = q_fraction(a, x);
    return {1 - q, q};
}

bool gamma_domain(double a, double x) { return a > 0 && std::isfinite(a) && x >= 0; }

// x^a y^b / B(a, b) with y = 1 - x given apart (exact where it matters).
LD beta_factor(LD a, LD b, LD x, LD y) {
    if (a < 10 || b < 10) return std::exp(a * std::log(x) + b * std::log(y) - detail::log_beta(a, b));
    LD s = a + b;
    LD d = x <= 0.5L ? std::fma(x, s, -a) : b - y * s;
    LD mu = detail::stirling_remainder(s) - detail::stirling_remainder(a) - detail::stirling_remainder(b);
    // a ln(x/x0) + b ln(y/y0), x0 = a/s, y0 = b/s: next to x0 with the linear
    // parts +-d cancelled analytically, elsewhere from the ratios themselves.
    LD e = std::fabs(d / a) < 0.5L && std::fabs(d / b) < 0.5L
               ? -a * detail::log1p_gap(d / a) - b * detail::log1p_gap(-d / b)
               : a * std::log(x * s / a) + b * std::log(y * s / b);
    e += mu;
    return std::sqrt(a * b / (two_pi * s)) * std::exp(e);
}

// The continued fraction of I_x(a, b) a B(a, b) / (x^a y^b), by Lentz's method.
LD beta_fraction(LD a, LD b, LD x) {
    LD c = 1, d = 1 - (a + b) * x / (a + 1);
    if (std::fabs(d) < tiny) d = tiny;
    d = 1 / d;
    LD h = d;
    for (long m = 1; m < max_terms; ++m) {
        LD m2 = 2.0L * m;
        LD aa = m * (b - m) * x / ((a - 1 + m2) * (a + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < tiny) d = tiny;
        c = 1 + aa / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        h *= d * c;
        aa = -(a + m) * (a + b + m) * x / ((a + m2) * (a + 1 + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < tiny) d = tiny;
        c = 1 + aa / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        LD del = d * c;
        h *= del;
        if (std::fabs(del - 1) < eps) return h;
    }
    return nan;
}

}  // namespace

double gamma_p(double a, double x) noexcept {
    if (!gamma_domain(a, x)) return nan;
    if (x == 0) return 0;
    if (std::isinf(x)) return 1;
    return static_cast<double>(incomplete_gamma(a, x).p);
}

double gamma_q(double a, double x) noexcept {
    if (!gamma_domain(a, x)) return nan;
    if (x == 0) return 1;
    if (std::isinf(x)) return 0;
    return static_cast<double>(incomplete_gamma(a, x).q);
}

double beta_inc(double a, double b, double x) noexcept {
    if (!(a > 0) || !(b > 0) || !std::isfinite(a) || !std::isfinite(b) || !(x >= 0 && x <= 1)) return nan;
    if (x == 0 || x == 1) return x;
    LD y = 1 - static_cast<LD>(x);
    if (x < (a + 1) / (a + b + 2))
        return static_cast<double>(beta_factor(a, b, x, y) * beta_fraction(a, b, x) / a);
    return static_cast<double>(1 - beta_factor(b, a, y, x) * beta_fraction(b, a, y) / b);
}

}  // namespace ostr::special
