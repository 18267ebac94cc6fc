// Domains, special points and identities of the special functions, and the
// numerical methods, statistics and complex rounding on cases with known
// answers. The values in between are the mpmath table's (table_test.cpp).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "special/special.hpp"
#include "support/counting_alloc.hpp"

namespace {

namespace sp = ostr::special;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double pi = 3.14159265358979323846;
constexpr double dmax = std::numeric_limits<double>::max(), dmin = 4.9406564584124654e-324;

double rel(double got, double want) { return std::fabs(got - want) / std::fabs(want); }

// Complex or infinite results, arguments outside the domain, and work that
// would not be bounded give NaN.
TEST(SpecialRules, UndefinedValuesAreNaN) {
    const double values[] = {
        sp::bessel_j(-1.5, 0.5), sp::bessel_i(-1.5, 2.25),  // non-integer order, x < 0
        sp::bessel_y(0, 1), sp::bessel_y(-2, 1), sp::bessel_k(0, 0), sp::bessel_k(-1, 0),
        sp::bessel_j(0, -0.5),  // J_{-1/2}(0) is infinite
        sp::bessel_j(1, nan), sp::bessel_j(1, inf), sp::bessel_j(1, 2e7),  // order beyond the bounded work
        sp::airy_ai(nan), sp::airy_ai(-1e300),  // the phase is beyond the double range
        sp::legendre(1.5, 2, 1), sp::legendre(0.5, 2, 3), sp::legendre(0.5, 2.5, 1), sp::legendre(0.5, 2, 0.5),
        sp::legendre(0.5, -1, 0), sp::legendre(nan, 2, 0),
        sp::gamma(-3), sp::gamma(Complex{-2, 0}).re, sp::factorial(-1), sp::comb(-1, 0), sp::perm(3, -1),
        sp::gcd(1.5, 3), sp::gcd(1e300, 3), sp::mod(1, 0), sp::mod(Complex{1, 1}, Complex{0, 0}).re,
    };
    for (std::size_t i = 0; i < std::size(values); ++i) EXPECT_TRUE(std::isnan(values[i])) << "row " << i;
}

// Special points, parity, poles, overflow and underflow at the ends of the
// range, and integer results: exact to the bit. {got, want} per row.
TEST(SpecialRules, ExactValues) {
    const double rows[][2] = {
        {sp::bessel_j(0, 0), 1}, {sp::bessel_j(0, 3), 0}, {sp::bessel_j(0, -3), 0}, {sp::bessel_i(0, 0), 1},
        {sp::bessel_i(0, 2.5), 0},
        {sp::bessel_j(-2.5, 3), -sp::bessel_j(2.5, 3)}, {sp::bessel_j(-2.5, 4), sp::bessel_j(2.5, 4)},
        {sp::bessel_j(2.5, -3), -sp::bessel_j(2.5, 3)}, {sp::bessel_y(2.5, -3), -sp::bessel_y(2.5, 3)},
        {sp::bessel_i(-2.5, 3), -sp::bessel_i(2.5, 3)}, {sp::bessel_k(2.5, -1.5), sp::bessel_k(2.5, 1.5)},
        {sp::bessel_y(1e-130, -2.5), sp::bessel_j(1e-130, 2.5)},  // Y_{-2.5} = J_{2.5} where Y_{2.5} overflows
        {sp::bessel_j(inf, 2), 0}, {sp::bessel_i(inf, 2), inf},
        {sp::bessel_i(800, 1), inf}, {sp::bessel_k(800, 1), 0}, {sp::bessel_y(0.1, 300), -inf},
        {sp::bessel_k(0.1, 300), inf}, {sp::bessel_j(0.1, 300), 0},
        {sp::bessel_i(dmax, 0), inf}, {sp::bessel_k(dmax, 0), 0}, {sp::bessel_k(dmax, 100.5), 0},
        {sp::airy_ai(inf), 0}, {sp::airy_bi(inf), inf}, {sp::airy_ai(-inf), 0}, {sp::airy_ai(200), 0},
        {sp::airy_bi(200), inf}, {sp::airy_ai(1e300), 0}, {sp::airy_bi(1e300), inf},
        {sp::legendre(1, 7, 0), 1}, {sp::legendre(-1, 7, 0), -1}, {sp::legendre(1, 7, 3), 0},
        {sp::legendre(0.0, 1000, 1000), inf},
        {sp::gamma(0.0), inf}, {sp::gamma(-0.0), -inf}, {sp::log_gamma(-3), inf},
        {sp::factorial(20), 2432902008176640000.0}, {sp::factorial(171), inf},
        {sp::comb(52, 5), 2598960}, {sp::comb(60, 30), 118264581564861424.0},  // above 2^53, rounded once
        {sp::comb(5, 7), 0}, {sp::perm(10, 3), 720}, {sp::perm(3, 5), 0}, {sp::comb(2000, 1000), inf},
        {sp::gcd(12, 18), 6}, {sp::gcd(-12, 18), 6}, {sp::gcd(0, 0), 0}, {sp::gcd(0, -7), 7},
        {sp::gcd(9007199254740992.0, 6), 2},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i)
        EXPECT_EQ(rows[i][0], rows[i][1]) << "row " << i;
    // Large orders: (2m-1)!! overflows on its own, the product does not.
    EXPECT_TRUE(std::isfinite(sp::legendre(0.9999, 400, 400)));
}

// The ends of the double range against mpmath: subnormal x (where x/2 and
// ln(x/2) would round) and x = DBL_MAX (where pi x and 8x overflow).
TEST(SpecialRules, EndsOfTheRangeAgreeWithMpmath) {
    const double rows[][2] = {
        {sp::bessel_j(dmin, 0.5), 1.7735048886036273e-162}, {sp::bessel_y(dmin, 0.5), -3.5896138570490507e161},
        {sp::bessel_y(dmin, 0), -473.99907342300431},        {sp::bessel_k(dmin, 0), 744.55600343703967},
        {sp::bessel_y(1e-300, 0.3), -1.1723523233093104e90}, {sp::bessel_j(dmax, 0), -4.1869868495853732e-155},
        {sp::bessel_y(dmax, 0), 4.2287458488299952e-155},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_LE(rel(rows[i][0], rows[i][1]), 1e-15) << "row " << i;
    EXPECT_LE(rel(sp::airy_ai(0), 0.35502805388781723926), 1e-16);
    EXPECT_LE(rel(sp::airy_bi(0), 0.61492662744600073515), 1e-16);
}

// The Wronskians J_nu Y_{nu+1} - J_{nu+1} Y_nu = -2/(pi x) and
// I_nu K_{nu+1} + I_{nu+1} K_nu = 1/x tie the two kinds together at every
// order and argument, on both sides of each region boundary.
TEST(Bessel, WronskiansHoldAcrossRegions) {
    const double xs[] = {0.5, 1.999999, 2.0, 2.000001, 7.3, 19.99, 20.0, 24.9, 25.1, 60.0, 400.0};
    const double nus[] = {0, 0.3, 0.5, 1, 2.7, 9.5, 10, 10.1, 40.25};
    for (double x : xs) {
        for (double nu : nus) {
            double j0 = sp::bessel_j(x, nu), j1 = sp::bessel_j(x, nu + 1);
            double y0 = sp::bessel_y(x, nu), y1 = sp::bessel_y(x, nu + 1);
            double amp = std::fabs(j0 * y1) + std::fabs(j1 * y0);
            EXPECT_LE(std::fabs(j0 * y1 - j1 * y0 + 2 / (pi * x)), 1e-13 * amp) << "J/Y nu=" << nu << " x=" << x;
            if (x < 600) {
                double iw = sp::bessel_i(x, nu) * sp::bessel_k(x, nu + 1) +
                            sp::bessel_i(x, nu + 1) * sp::bessel_k(x, nu);
                EXPECT_LE(std::fabs(iw * x - 1), 1e-13) << "I/K nu=" << nu << " x=" << x;
            }
        }
    }
}

struct Calls {
    int n = 0;
};
double count_cos_minus_x(double x, void* d) {
    ++static_cast<Calls*>(d)->n;
    return std::cos(x) - x;
}
double cube_minus_two(double x, void*) { return x * x * x - 2; }
double inverse(double x, void*) { return 1 / x; }
double poly(double x, void* d) { return std::pow(x, *static_cast<int*>(d)); }
double sqrt_fn(double x, void*) { return std::sqrt(x); }
double inverse_sqrt(double x, void*) { return 1 / std::sqrt(x); }
double runge(double x, void*) { return 1 / (1 + 25 * x * x); }
double sin_fn(double x, void*) { return std::sin(x); }
double osc(double x, void*) { return std::cos(50 * x) * std::exp(-x); }
Complex phasor(double x, void*) { return {std::cos(x), std::sin(x)}; }

TEST(Integrate, SmoothAndSingularIntegrands) {
    int status = -1;
    for (int k = 0; k <= 22; ++k) {
        double want = k % 2 ? 0 : 2.0 / (k + 1);
        EXPECT_LE(std::fabs(sp::integrate(poly, &k, -1, 1, 1, &status) - want), 1e-15) << "x^" << k;
        EXPECT_EQ(status, OSTR_STATUS_OK);
    }
    EXPECT_LE(rel(sp::integrate(sqrt_fn, nullptr, 0, 1, 1, &status), 2.0 / 3), 1e-12);
    EXPECT_LE(rel(sp::integrate(inverse_sqrt, nullptr, 0, 1, 1, &status), 2), 1e-11);
    EXPECT_EQ(status, OSTR_STATUS_OK);
    EXPECT_LE(rel(sp::integrate(runge, nullptr, -1, 1, 2, &status), 0.4 * std::atan(5.0)), 1e-13);
    EXPECT_LE(std::fabs(sp::integrate(sin_fn, nullptr, 0, 2 * pi, 3, &status)), 1e-14);
    EXPECT_EQ(status, OSTR_STATUS_OK);
    EXPECT_LE(rel(sp::integrate(sin_fn, nullptr, pi, 0, 1, &status), -2), 1e-14);
    double want = (1 - std::exp(-3.0) * (std::cos(150.0) - 50 * std::sin(150.0))) / 2501;
    EXPECT_LE(rel(sp::integrate(osc, nullptr, 0, 3, 4, &status), want), 1e-11);
    EXPECT_EQ(status, OSTR_STATUS_OK);
    Complex c = sp::integrate_c(phasor, nullptr, 0, pi, 1, &status);
    EXPECT_LE(std::fabs(c.re) + std::fabs(c.im - 2), 1e-14);
}

TEST(Integrate, ReportsFailure) {
    int status = -1;
    EXPECT_TRUE(std::isnan(sp::integrate(inverse, nullptr, -1, 1, 1, &status)));  // 1/0 at the centre
    EXPECT_EQ(status, OSTR_STATUS_NOT_FINITE);
    // Divergent: the panels at 0 shrink until the store is full or a node
    // reaches 0 itself.
    sp::integrate(inverse, nullptr, 0, 1, 1, &status);
    EXPECT_TRUE(status == OSTR_STATUS_NOT_CONVERGED || status == OSTR_STATUS_NOT_FINITE);
    EXPECT_TRUE(std::isnan(sp::integrate(sin_fn, nullptr, 0, inf, 1, &status)));
    EXPECT_EQ(status, OSTR_STATUS_BAD_ARGUMENT);
    EXPECT_TRUE(std::isnan(sp::integrate(nullptr, nullptr, 0, 1, 1, &status)));
    EXPECT_EQ(sp::integrate(sin_fn, nullptr, 2, 2, 1, nullptr), 0);
    ostr::test::CountingAlloc alloc;
    alloc.fail_after(0);
    EXPECT_TRUE(std::isnan(sp::integrate(sin_fn, nullptr, 0, 1, 1, &status)));
    alloc.fail_after(-1);
    EXPECT_EQ(alloc.live(), 0);
}

TEST(FindRoot, ConvergesToMachinePrecision) {
    int status = -1;
    Calls calls;
    double r = sp::find_root(count_cos_minus_x, &calls, 0, 1, &status);
    EXPECT_EQ(status, OSTR_STATUS_OK);
    EXPECT_LE(rel(r, 0.73908513321516064166), 4e-16);
    EXPECT_LE(calls.n, 15);
    EXPECT_LE(rel(sp::find_root(cube_minus_two, nullptr, 3, -1, &status), std::cbrt(2.0)), 4e-16);
    EXPECT_EQ(sp::find_root(sin_fn, nullptr, 0, 1, &status), 0);  // root at an end
    EXPECT_TRUE(std::isnan(sp::find_root(cube_minus_two, nullptr, 2, 3, &status)));
    EXPECT_EQ(status, OSTR_STATUS_NO_BRACKET);
    EXPECT_TRUE(std::isnan(sp::find_root(inverse, nullptr, -1, 0, &status)));
    EXPECT_EQ(status, OSTR_STATUS_NOT_FINITE);
    // A pole inside the bracket is a sign change too: Brent ends at it.
    r = sp::find_root(inverse, nullptr, -1, 2, &status);
    EXPECT_TRUE(status == OSTR_STATUS_NOT_FINITE || std::fabs(r) < 1e-300) << r;
}

TEST(Statistics, VectorsWithCountInSlotZero) {
    std::vector<double> v = {5, 3, 9, -1, 9, 4};
    EXPECT_TRUE(sp::max(v.data()) == 9 && sp::min(v.data()) == -1 && sp::mean(v.data()) == 4.8);
    EXPECT_EQ(sp::median(v.data()), 4);
    EXPECT_EQ(v, (std::vector<double>{5, 3, 9, -1, 9, 4}));  // not reordered
    v[0] = 4;
    EXPECT_EQ(sp::median(v.data()), 6);  // mean of 3 and 9
    EXPECT_EQ(sp::variance(v.data()), 24);
    double one[] = {1, 7}, none[] = {0}, with_nan[] = {2, 1, nan}, big[] = {2, 1.5e308, 1.7e308};
    EXPECT_TRUE(sp::max(one) == 7 && sp::median(one) == 7 && std::isnan(sp::variance(one)));
    EXPECT_TRUE(std::isnan(sp::mean(none)) && std::isnan(sp::max(nullptr)));
    EXPECT_TRUE(std::isnan(sp::max(with_nan)) && std::isnan(sp::median(with_nan)));
    EXPECT_TRUE(sp::mean(big) == 1.6e308 && sp::median(big) == 1.6e308);
    // Compensated sums: a million values 0.1, and data on a large offset,
    // where a plain loop loses about 1e-11 and 1e-2 relative.
    std::vector<double> tenths(1'000'001, 0.1);
    tenths[0] = 1e6;
    EXPECT_LE(rel(sp::mean(tenths.data()), 0.1), 1e-16);
    std::vector<double> w = {4, 1e9 + 4, 1e9 + 7, 1e9 + 13, 1e9 + 16};
    EXPECT_EQ(sp::variance(w.data()), 30);
    EXPECT_EQ(sp::mean(w.data()), 1e9 + 10);
}

TEST(Rounding, PartByPartAndFlooredRemainder) {
    struct Row {
        Complex z, ceil, floor, round;
    };
    const Row rows[] = {
        {{1.5, -1.5}, {2, -1}, {1, -2}, {2, -2}},
        {{-0.5, 0.49}, {-0.0, 1}, {-1, 0}, {-1, 0}},
        {{3, -7}, {3, -7}, {3, -7}, {3, -7}},
    };
    auto same = [](Complex a, Complex b) { return a.re == b.re && a.im == b.im; };
    for (const Row& r : rows)
        EXPECT_TRUE(same(sp::ceil(r.z), r.ceil) && same(sp::floor(r.z), r.floor) && same(sp::round(r.z), r.round))
            << r.z.re << ", " << r.z.im;
    Complex s = sp::sign(Complex{3, -4});
    EXPECT_DOUBLE_EQ(s.re, 0.6);
    EXPECT_DOUBLE_EQ(s.im, -0.8);
    EXPECT_TRUE(same(sp::sign(Complex{0, 0}), {0, 0}) && same(sp::sign(Complex{-inf, 2}), {-1, 0}));
    const double mods[][3] = {{7, 3, 1}, {-7, 3, 2}, {7, -3, -2}, {-7, -3, -1}, {5.5, 2, 1.5}};
    for (const auto& m : mods) EXPECT_EQ(sp::mod(m[0], m[1]), m[2]) << m[0] << " mod " << m[1];
    EXPECT_TRUE(same(sp::mod(Complex{-7, 0}, Complex{3, 0}), {2, 0}));
    // (7 + 5i)/(2 + i) = 3.8 + 0.6i, floor 3 + 0i, remainder 7+5i - (6+3i).
    Complex r = sp::mod(Complex{7, 5}, Complex{2, 1});
    EXPECT_DOUBLE_EQ(r.re, 1);
    EXPECT_DOUBLE_EQ(r.im, 2);
}

}  // namespace
