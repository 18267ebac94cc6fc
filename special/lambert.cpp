// Lambert W on its two real branches, in the extended format.
// With t = 1 + e x (formed exactly: e in two parts, the product's error
// recovered by fma) and p = sqrt(2t), W = -1 +- p - p^2/3 +- 11p^3/72 - ... near
// the branch point x = -1/e (the series alone where p < 0.01, where its tenth
// term is below 1e-20); elsewhere Halley's iteration on w e^w - x from
// log1p(x), from ln|x| - ln|ln|x|| + ln|ln|x||/ln|x| or from the series, which
// converges cubically. Next to the branch point W is ill-conditioned in
// x (dW/dx = W/(x(1 + W)) ~ 1/p), but x is exact and the residual is formed
// to 2^-64, so the error stays about eps_extended/p.
#include <cmath>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD eps = std::numeric_limits<LD>::epsilon();
constexpr LD e_hi = 2.718281828459045235360287471352662498L;
constexpr LD e_lo = -6.788063664127784117170386e-20L;

// 1 + e x to about 2^-120 absolute.
LD branch_distance(LD x) {
    LD h = x * e_hi;
    LD err = std::fma(x, e_hi, -h);
    return (1 + h) + (err + x * e_lo);
}

// The series at the branch point in q = +-p.
LD branch_series(LD q) {
    static constexpr LD c[] = {-1.0L,         1.0L,           -1.0L / 3,          11.0L / 72,
                               -43.0L / 540,  769.0L / 17280, -221.0L / 8505,     680863.0L / 43545600,
                               -1963.0L / 204120, 226287557.0L / 37623398400};
    LD sum = 0;
    for (int k = static_cast<int>(std::size(c)) - 1; k >= 0; --k) sum = sum * q + c[k];
    return sum;
}

LD halley(LD x, LD w) {
    for (int k = 0; k < 60; ++k) {
        LD ew = std::exp(w);
        LD f = w * ew - x;
        if (f == 0) break;
        LD w1 = w + 1;
        LD step = f / (ew * w1 - (w + 2) * f / (2 * w1));
        w -= step;
        if (!(std::fabs(step) > 4 * eps * std::fabs(w))) break;
    }
    return w;
}

LD asymptotic_start(LD x) {
    LD l1 = std::log(std::fabs(x)), l2 = std::log(std::fabs(l1));
    return l1 - l2 + l2 / l1;
}

}  // namespace

double lambert_w(double x, double branch) noexcept {
    if (std::isnan(x) || (branch != 0 && branch != -1)) return nan;
    LD t = branch_distance(x);
    if (t < 0) return nan;
    if (t == 0) return -1;
    LD p = std::sqrt(2 * t);
    if (branch == 0) {
        if (std::isinf(x)) return x;
        if (x == 0) return x;
        if (p < 0.01L) return static_cast<double>(branch_series(p));
        LD start = p < 0.5L ? branch_series(p) : x < 3 ? std::log1p(static_cast<LD>(x)) : asymptotic_start(x);
        return static_cast<double>(halley(x, start));
    }
    if (x >= 0) return x == 0 ? -std::numeric_limits<double>::infinity() : nan;
    if (p < 0.01L) return static_cast<double>(branch_series(-p));
    LD start = p < 1 ? branch_series(-p) : asymptotic_start(x);
    return static_cast<double>(halley(x, start));
}

}  // namespace ostr::special
