// The error function, its complement and its inverse, and the exponential
// integrals Ei and E1, in the extended format.
//   erf, erfc: the C library's extended-format functions, rounded once.
//   erfinv: Halley's iteration x -= r / (1 + x r), r = f / f', on
//   f = erf(x) - y for |y| <= 1/2 and on f = erfc(x) - (1 - |y|) beyond (1 - |y|
//   is exact there), from x0 = sqrt(-ln(q sqrt(pi) t)), t = sqrt(-ln q), the
//   leading term of erfc(x) ~ e^{-x^2} / (x sqrt pi); it converges cubically,
//   in four or five steps.
//   E1: the series -gamma - ln x - sum (-x)^k / (k k!) for x <= 1, else the
//   continued fraction e^-x / (x + 1 - 1/(x + 3 - 4/(x + 5 - ...))).
//   Ei: within 0.05 of its zero x0 = 0.3725... a Taylor series in x - x0 (x0 in
//   two parts, so that the difference is exact), else gamma + ln x + sum x^k / (k k!)
//   up to x = 50 and the asymptotic series e^x / x sum k! / x^k beyond (its
//   smallest term is below 2e-21 there); Ei(-x) = -E1(x).
#include <cmath>
#include <limits>

#include "special/scientific.hpp"

namespace ostr::special {
namespace {

using LD = long double;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr LD eps = std::numeric_limits<LD>::epsilon();
constexpr LD sqrt_pi = 1.772453850905516027298167483341145183L;
constexpr LD euler = 0.577215664901532860606512090082L;

// Halley's iteration on erf (complement = false) or erfc.
LD invert(LD target, LD x, bool complement) {
    for (int k = 0; k < 100; ++k) {
        LD f = complement ? std::erfc(x) - target : std::erf(x) - target;
        LD slope = 2 / sqrt_pi * std::exp(-x * x) * (complement ? -1 : 1);
        if (slope == 0) break;
        LD r = f / slope;
        LD step = r / (1 + x * r);
        x -= step;
        if (std::fabs(step) <= 4 * eps * std::fabs(x)) break;
    }
    return x;
}

LD e1_series(LD x) {
    LD term = 1, sum = 0;
    for (int k = 1; k < 200; ++k) {
        term *= -x / k;
        sum += term / k;
        if (std::fabs(term) < eps * std::fabs(sum) * k) break;
    }
    return -euler - std::log(x) - sum;
}

LD e1_fraction(LD x) {
    constexpr LD tiny = 1e-4000L;
    LD b = x + 1, c = 1 / tiny, d = 1 / b, h = d;
    for (int i = 1; i < 100000; ++i) {
        LD an = -static_cast<LD>(i) * i;
        b += 2;
        d = 1 / (an * d + b);
        c = b + an / c;
        LD del = c * d;
        h *= del;
        if (std::fabs(del - 1) < eps) break;
    }
    return h * std::exp(-x);
}

LD e1_extended(LD x) { return x <= 1 ? e1_series(x) : e1_fraction(x); }

LD ei_near_root(LD d) {
    static constexpr LD taylor[] = {
        3.896215733907167310156503L,  -3.281607866398561670879044L, 6.522376145438925697728353L,
        -12.96969738353651703636357L, 27.88629796294204997855361L,  -62.37880152891541873078527L,
        143.5349488096750987841266L,  -337.1558271787468916821364L, 804.5318399821382506595322L,
        -1943.796645723498840655452L, 4743.765650402430835228269L,  -11673.46399116716364394669L,
        28926.9553054354508744516L,   -72107.94586837158996878002L, 180669.5585893919626172098L,
        -454696.2188544665746524573L, 1148834.546817744310374557L,  -2912721.663850837498392235L,
        7407692.958000587759747954L,  -18891727.0003815312728885L,  48300034.93086024720868271L,
        -123768219.0024917092137405L, 317811105.6663621852260468L,  -817618569.3184928170769596L};
    LD sum = 0;
    for (int k = static_cast<int>(std::size(taylor)) - 1; k >= 0; --k) sum = (sum + taylor[k]) * d;
    return sum;
}

LD ei_positive(LD x) {
    static constexpr LD root_hi = 0.3725074107813666, root_lo = 1.314018341438602820092804e-17L;
    LD d = (x - root_hi) - root_lo;
    if (std::fabs(d) < 0.05L) return ei_near_root(d);
    if (x <= 50) {
        LD term = 1, sum = 0;
        for (int k = 1; k < 400; ++k) {
            term *= x / k;
            sum += term / k;
            if (term < eps * sum * k) break;
        }
        return euler + std::log(x) + sum;
    }
    LD term = 1, sum = 1;
    for (int k = 1; k < 100; ++k) {
        LD next = term * k / x;
        if (next > term) break;
        term = next;
        sum += term;
        if (term < eps * sum) break;
    }
    return std::exp(x) / x * sum;
}

}  // namespace

double erf(double x) noexcept { return static_cast<double>(std::erf(static_cast<LD>(x))); }
double erfc(double x) noexcept { return static_cast<double>(std::erfc(static_cast<LD>(x))); }

double erf_inv(double y) noexcept {
    if (!(std::fabs(y) <= 1)) return nan;
    if (std::fabs(y) == 1) return y * inf;
    if (y == 0) return y;
    LD a = std::fabs(y);
    LD x;
    if (a <= 0.5L) {
        x = invert(a, a * sqrt_pi / 2 * (1 + a * a * 0.2617993877991494L), false);
    } else {
        LD q = 1 - a;
        LD t = std::sqrt(-std::log(q));
        x = invert(q, std::sqrt(-std::log(q * sqrt_pi * t)), true);
    }
    return static_cast<double>(std::copysign(x, static_cast<LD>(y)));
}

double exp_integral_e1(double x) noexcept {
    if (!(x > 0)) return x == 0 ? inf : nan;
    if (std::isinf(x)) return 0;
    return static_cast<double>(e1_extended(x));
}

double exp_integral_ei(double x) noexcept {
    if (std::isnan(x) || x == 0) return x == 0 ? -inf : nan;
    if (x < 0) return std::isinf(x) ? 0 : static_cast<double>(-e1_extended(-static_cast<LD>(x)));
    if (std::isinf(x)) return inf;
    return static_cast<double>(ei_positive(x));
}

}  // namespace ostr::special
