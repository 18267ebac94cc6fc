// The complex functions against std::complex<long double> (an independent
// implementation with 11 more bits) on a grid of signed zeros, tiny, unit,
// branch-point and huge parts. Each function is checked where its formula
// is accurate; where the formula itself overflows or cancels, the quirk
// tables of complex_test.cpp pin what it does instead.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <complex>
#include <functional>
#include <string>
#include <vector>

#include "ostravine/numeric.h"

namespace {

using LC = std::complex<long double>;

// Parts of the grid: zeros of both signs, the branch points 0 and 1,
// neighbours of 1, and magnitudes from 1e-300 to 1e300.
std::vector<double> grid_parts() {
    const double mags[] = {1e-300, 1e-160, 1e-20, 1e-8, 0.3, 0.5, 0.999, 1, 1.001, 1.5, 2, 3, 10,
                           1e8, 1e20, 1e150, 1e300};
    std::vector<double> parts{0.0, -0.0};
    for (double m : mags) parts.push_back(m), parts.push_back(-m);
    return parts;
}

// The error of one part in units of the last place of the reference part,
// or of |reference| where the formula is accurate only normwise (products
// and quotients whose parts can cancel, logarithms of values near 1).
double ulps(double got, long double want, long double scale) {
    const double w = static_cast<double>(want);
    if (std::isnan(w) || std::isinf(w)) return (got == w || (std::isnan(got) && std::isnan(w))) ? 0 : INFINITY;
    const long double mag = std::max(std::fabs(want), scale);
    if (mag == 0) return got == 0 ? 0 : INFINITY;
    int e;
    std::frexp(static_cast<double>(mag), &e);
    const long double ulp = std::ldexp(1.0L, e - 53);
    return static_cast<double>(std::fabs(got - want) / std::max(ulp, static_cast<long double>(DBL_TRUE_MIN)));
}

// parts: each part to its own last place; norm: to the last place of |f|;
// unit: to the last place of max(|f|, 1), for logarithms whose real part is
// ln|z| and so only absolutely accurate near |z| = 1.
enum class Measure { parts, norm, unit };

struct Oracle {
    const char* name;
    std::function<Complex(Complex)> f;
    std::function<LC(LC)> ref;
    std::function<bool(double, double)> domain;
    Measure measure;
    double tolerance;  // ulps
    // How much the formula amplifies the rounding of its inputs at z (1 where
    // it does not): the tolerance is scaled by it.
    double (*amplification)(double x, double y) = [](double, double) { return 1.0; };
};

bool within(double v, double lo, double hi) { return v == 0 || (std::fabs(v) >= lo && std::fabs(v) <= hi); }
bool parts_within(double x, double y, double lo, double hi) { return within(x, lo, hi) && within(y, lo, hi); }
bool anywhere(double, double) { return true; }
// cosh, sinh and exp of a part beyond ~709 overflow; 0 * inf then makes NaN
// where the true part is 0 (see the quirk tables).
bool no_overflow(double x, double y) { return std::fabs(x) < 700 && std::fabs(y) < 700; }
// The scaled modulus and the root square the smaller part first.
bool squares_fit(double x, double y) { return parts_within(x, y, 1e-150, 1e150); }
bool nonzero_squares_fit(double x, double y) { return squares_fit(x, y) && (x != 0 || y != 0); }

// a^w = exp(w ln a): the rounding of ln|a| and arg a is multiplied by |w|
// (2.5 for PowCR, |0.75 - 1.25i| for PowC) inside exp.
double pow_amplification(double x, double y) {
    return 1 + 2.5 * (std::fabs(std::log(std::hypot(x, y))) + M_PI);
}

// The logarithmic inverses form u = (z or iz) + w and take its logarithm,
// w itself the root of a bracket built from z. Each step's rounding, carried
// to the result, is an absolute error of about eps times the step's
// magnitude over |u| (or over the bracket's size for the root). These
// products are the formulas' own condition, computed here in long double;
// the check is in absolute units (Measure::unit) scaled by them. Where the
// condition is catastrophic (u cancels to 0, as ArcsinC at 1e8 i), the grid
// leaves the point to the quirk tables.
long double root_form(LC z, LC q, LC u) {
    const LC w = std::sqrt(q);
    return 1 + (std::abs(z) + std::abs(w)) / std::abs(u) + (1 + std::norm(z)) / (std::abs(w) * std::abs(u));
}
long double asin_condition(LC z) {
    const LC q = 1.0L - z * z;
    return root_form(z, q, LC(0, 1) * z + std::sqrt(q));
}
long double acos_condition(LC z) {
    const LC q = 1.0L - z * z;
    return root_form(z, q, z + LC(0, 1) * std::sqrt(q));
}
long double asinh_condition(LC z) {
    const LC q = z * z + 1.0L;
    return root_form(z, q, z + std::sqrt(q));
}
long double acosh_condition(LC z) {
    const LC p = std::sqrt(z + 1.0L), q = std::sqrt(z - 1.0L), u = z + p * q;
    const long double pq = std::abs(p * q), s = std::abs(z) + 1;
    return 1 + (std::abs(z) + pq) / std::abs(u) + pq / std::abs(u) * (s / std::abs(z + 1.0L) + s / std::abs(z - 1.0L));
}
// tan z = (sin 2x + i sinh 2y)/(cos 2x + cosh 2y): the denominator cancels
// near 2x = pi (mod 2 pi) for small y, and 2z rebuilt from the polar form
// carries an absolute error of eps |2z| into sin, cos and sinh.
long double tan_condition(LC z) {
    const long double X = 2 * z.real(), Y = 2 * z.imag(), ch = std::cosh(Y);
    return 1 + std::fabs(X) + std::fabs(Y) + (1 + ch) / std::fabs(std::cos(X) + ch);
}
long double tanh_condition(LC z) { return tan_condition(LC(z.imag(), z.real())); }

// atan: y +- 1 rounds by eps (|y| + 1) before it is squared or handed to
// atan2 against x.
long double atan_condition(LC z) {
    const long double x = z.real(), y = z.imag();
    return 1 + (std::fabs(y) + 1) * (1 / std::hypot(x, y + 1) + 1 / std::hypot(x, y - 1));
}

template <long double (*Condition)(LC)>
double condition(double x, double y) {
    return static_cast<double>(Condition(LC(x, y)));
}
template <long double (*Condition)(LC)>
double swapped_condition(double x, double y) {
    return static_cast<double>(Condition(LC(y, x)));
}

// Points off the cut of the function: Cut 1 is y = 0, |x| > 1 (asin, acos,
// atanh); Cut 2 is y = 0, x < 1 (acosh). On the cut the formulas take one
// side's value for both signs of zero; the quirk tables pin it.
// The brackets hold parts up to |z|^2, whose own squares inside SqrtC must
// fit: parts of z up to 1e75.
template <double (*Condition)(double, double)>
bool conditioned(double x, double y) {
    return parts_within(x, y, 1e-150, 1e75) && Condition(x, y) < 1e6;
}
template <int Cut, double (*Condition)(double, double)>
bool off_real_cut(double x, double y) {
    if (!conditioned<Condition>(x, y)) return false;
    return y != 0 || (Cut == 1 ? std::fabs(x) <= 1 : x >= 1);
}
template <double (*Condition)(double, double)>
bool off_imag_cut(double x, double y) {
    return conditioned<Condition>(x, y) && (x != 0 || std::fabs(y) <= 1);
}

template <Complex* (*F)(Complex*, const Complex*)>
Complex unary(Complex z) {
    Complex r;
    return *F(&r, &z);
}

const Complex w_fixed{0.75, -1.25};

std::vector<Oracle> oracles() {
    return {
        {"AbsC", [](Complex z) { return Complex{AbsC(&z), 0}; }, [](LC z) { return LC(std::abs(z), 0); },
         squares_fit, Measure::parts, 2},
        {"PhaC", [](Complex z) { return Complex{PhaC(&z), 0}; }, [](LC z) { return LC(std::arg(z), 0); },
         squares_fit, Measure::parts, 1},
        {"SqrtC", unary<SqrtC>, [](LC z) { return std::sqrt(LC(z.real(), z.imag() == 0 ? 0.0L : z.imag())); },
         squares_fit, Measure::parts, 2},
        {"ExpCC", unary<ExpCC>, [](LC z) { return std::exp(z); }, no_overflow, Measure::parts, 2},
        {"LogC", unary<LogC>, [](LC z) { return std::log(z); }, anywhere, Measure::unit, 2},
        {"Log10C", unary<Log10C>, [](LC z) { return std::log10(z); }, anywhere, Measure::unit, 3},
        {"SinC", unary<SinC>, [](LC z) { return std::sin(z); }, no_overflow, Measure::parts, 3},
        {"CosC", unary<CosC>, [](LC z) { return std::cos(z); }, no_overflow, Measure::parts, 3},
        {"SinhC", unary<SinhC>, [](LC z) { return std::sinh(z); }, no_overflow, Measure::parts, 3},
        {"CoshC", unary<CoshC>, [](LC z) { return std::cosh(z); }, no_overflow, Measure::parts, 3},
        {"TanC", unary<TanC>, [](LC z) { return std::tan(z); }, no_overflow, Measure::norm, 4,
         condition<tan_condition>},
        {"TanhC", unary<TanhC>, [](LC z) { return std::tanh(z); }, no_overflow, Measure::norm, 4,
         condition<tanh_condition>},
        {"InvC", unary<InvC>, [](LC z) { return 1.0L / z; }, nonzero_squares_fit, Measure::norm, 2},
        {"SqrC", unary<SqrC>, [](LC z) { return z * z; }, squares_fit, Measure::norm, 2},
        {"PowC", [](Complex a) { Complex r; return *PowC(&r, &a, &w_fixed); },
         [](LC a) { return std::exp(LC(0.75L, -1.25L) * std::log(a)); },
         nonzero_squares_fit, Measure::norm, 4, pow_amplification},
        {"PowCR", [](Complex z) { Complex r; return *PowCR(&r, &z, 2.5); },
         [](LC z) { return std::pow(z, 2.5L); }, [](double x, double y) { return parts_within(x, y, 1e-60, 1e60); },
         Measure::norm, 4, pow_amplification},
        {"ArcsinC", unary<ArcsinC>, [](LC z) { return std::asin(z); }, off_real_cut<1, condition<asin_condition>>,
         Measure::unit, 4, condition<asin_condition>},
        {"ArccosC", unary<ArccosC>, [](LC z) { return std::acos(z); }, off_real_cut<1, condition<acos_condition>>,
         Measure::unit, 4, condition<acos_condition>},
        {"ArcsinhC", unary<ArcsinhC>, [](LC z) { return std::asinh(z); }, off_imag_cut<condition<asinh_condition>>,
         Measure::unit, 4, condition<asinh_condition>},
        {"ArccoshC", unary<ArccoshC>, [](LC z) { return std::acosh(z); }, off_real_cut<2, condition<acosh_condition>>,
         Measure::unit, 4, condition<acosh_condition>},
        {"ArctanC", unary<ArctanC>, [](LC z) { return std::atan(z); }, off_imag_cut<condition<atan_condition>>,
         Measure::unit, 4, condition<atan_condition>},
        {"ArctanhC", unary<ArctanhC>, [](LC z) { return std::atanh(z); },
         off_real_cut<1, swapped_condition<atan_condition>>, Measure::unit, 4, swapped_condition<atan_condition>},
    };
}

TEST(ComplexOracle, AgreesWithLongDoubleWhereTheFormulaIsAccurate) {
    const auto parts = grid_parts();
    for (const auto& o : oracles()) {
        double worst = 0;
        std::string where;
        int checked = 0;
        for (double x : parts)
            for (double y : parts) {
                if (!o.domain(x, y)) continue;
                const Complex got = o.f({x, y});
                const LC want = o.ref(LC(x, y));
                const long double scale = o.measure == Measure::parts  ? 0.0L
                                         : o.measure == Measure::norm ? std::abs(want)
                                                                      : std::max(std::abs(want), 1.0L);
                const double e = std::max(ulps(got.re, want.real(), scale), ulps(got.im, want.imag(), scale)) /
                                 o.amplification(x, y);
                ++checked;
                if (e > worst) {
                    char buf[64];
                    std::snprintf(buf, sizeof buf, "%g, %g", x, y);
                    worst = e, where = buf;
                }
            }
        EXPECT_LE(worst, o.tolerance) << o.name << " at (" << where << ")";
        EXPECT_GT(checked, 200) << o.name;
        std::printf("%-8s worst %.2f ulp over %d points\n", o.name, worst, checked);
    }
}

// Binary operations over pairs of grid points. The three-product MulC and
// the scaled DivC are accurate normwise: to the last place of |a||b| and
// |a|/|b| (a part of the result that cancels is accurate only so far).
TEST(ComplexOracle, ProductsAndQuotientsAgreeNormwise) {
    const double mags[] = {0.0, -0.0, 1e-100, 1e-5, 0.7, -1, 1.25, -3, 1e5, -1e100};
    double worst_mul = 0, worst_div = 0;
    for (double a : mags)
        for (double b : mags)
            for (double c : mags)
                for (double d : mags) {
                    const Complex x{a, b}, y{c, d};
                    const LC lx(a, b), ly(c, d);
                    Complex r;
                    const LC p = lx * ly;
                    MulC(&r, &x, &y);
                    const long double pscale = std::abs(lx) * std::abs(ly);
                    worst_mul = std::max({worst_mul, ulps(r.re, p.real(), pscale), ulps(r.im, p.imag(), pscale)});
                    if (c == 0 && d == 0) continue;
                    const LC q = lx / ly;
                    DivC(&r, &x, &y);
                    const long double qscale = std::abs(lx) / std::abs(ly);
                    worst_div = std::max({worst_div, ulps(r.re, q.real(), qscale), ulps(r.im, q.imag(), qscale)});
                }
    EXPECT_LE(worst_mul, 3);
    EXPECT_LE(worst_div, 3);
    std::printf("MulC     worst %.2f ulp of |a||b|\nDivC     worst %.2f ulp of |a|/|b|\n", worst_mul, worst_div);
}

TEST(ComplexOracle, RealPowersOfRealBases) {
    double worst = 0;
    const Complex ws[] = {{0.5, 0}, {2, -1}, {-1.5, 0.25}};
    for (double x : grid_parts()) {
        if (x == 0 || std::fabs(x) > 1e150 || std::fabs(x) < 1e-150) continue;
        for (const Complex& w : ws) {
            Complex r;
            PowRC(&r, x, &w);
            const LC want = std::exp(LC(w.re, w.im) * std::log(LC(x, 0.0L)));
            const double amp = pow_amplification(x, 0);
            const long double scale = std::abs(want);
            worst = std::max({worst, ulps(r.re, want.real(), scale) / amp, ulps(r.im, want.imag(), scale) / amp});
        }
    }
    EXPECT_LE(worst, 4);
    std::printf("PowRC    worst %.2f ulp (scaled)\n", worst);
}

}  // namespace
