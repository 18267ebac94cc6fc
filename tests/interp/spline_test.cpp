// The splines against SciPy (CubicSpline natural and clamped,
// Akima1DInterpolator, linear interp1d; values made by make_reference.py)
// at the knots, between them and outside the table; the refusals; and the
// exported face with its Free... pair.
#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "interp/spline.hpp"
#include "ostravine/interp.h"
#include "support/counting_alloc.hpp"

namespace {

using ostr::interp::evaluate;
using ostr::interp::Kind;
using ostr::interp::kind_named;
using ostr::interp::make_spline;

std::vector<double> numbers(const std::string& s) {
    std::vector<double> out;
    std::istringstream in(s);
    for (double v; in >> v;) out.push_back(v);
    return out;
}

std::vector<std::string> cells(const std::string& line, char sep) {
    std::vector<std::string> out;
    std::istringstream in(line);
    for (std::string c; std::getline(in, c, sep);) out.push_back(c);
    return out;
}

TEST(Splines, AgreeWithScipy) {
    std::ifstream in(OSTR_TEST_DATA "/scipy_splines.txt");
    ASSERT_TRUE(in);
    int cases = 0;
    for (std::string line; std::getline(in, line); ++cases) {
        const auto c = cells(line, ';');
        ASSERT_EQ(c.size(), 5u) << line;
        const auto x = numbers(c[1]), y = numbers(c[2]), ends = numbers(c[3]);
        ostr::interp::Spline s;
        ASSERT_TRUE(make_spline(x, y, *kind_named(c[0]), ends[0], ends[1], s)) << line;
        double scale = 0;
        for (double v : y) scale = std::max(scale, std::fabs(v));
        for (const std::string& pair : cells(c[4], ' ')) {
            const auto colon = pair.find(':');
            const double t = std::stod(pair.substr(0, colon)), want = std::stod(pair.substr(colon + 1));
            EXPECT_NEAR(evaluate(s, t), want, 1e-13 * std::max(scale, std::fabs(want))) << c[0] << " t=" << t << " in " << c[1];
        }
    }
    EXPECT_EQ(cases, 19);
}

// Properties SciPy does not show: a clamped spline has the given end
// slopes, the natural one a zero second derivative at the ends, every
// cubic kind reproduces a straight line, and Akima does not overshoot a step.
TEST(Splines, EndConditionsAndShape) {
    const std::vector<double> x{0, 1, 3, 4, 7}, y{1, 3, 2, 5, 4};
    ostr::interp::Spline c, n;
    ASSERT_TRUE(make_spline(x, y, Kind::clamped, 2.5, -1.5, c));
    EXPECT_DOUBLE_EQ(c.b.front(), 2.5);
    const double h = x[4] - x[3];
    EXPECT_NEAR(c.b.back() + 2 * c.c.back() * h + 3 * c.d.back() * h * h, -1.5, 1e-13);
    ASSERT_TRUE(make_spline(x, y, Kind::natural, 0, 0, n));
    EXPECT_NEAR(n.c.front(), 0, 1e-15);
    EXPECT_NEAR(2 * n.c.back() + 6 * n.d.back() * h, 0, 1e-13);
    for (Kind k : {Kind::linear, Kind::natural, Kind::akima}) {
        ostr::interp::Spline line;
        ASSERT_TRUE(make_spline(x, std::vector<double>{1, 3, 7, 9, 15}, k, 0, 0, line));
        for (double t : {-1.0, 0.5, 2.0, 6.5, 9.0}) EXPECT_NEAR(evaluate(line, t), 1 + 2 * t, 1e-13) << t;
    }
    ostr::interp::Spline step;
    ASSERT_TRUE(make_spline(std::vector<double>{0, 1, 2, 3, 4, 5}, std::vector<double>{0, 0, 0, 1, 1, 1}, Kind::akima, 0,
                            0, step));
    for (double t = 0; t <= 5; t += 0.05) {
        EXPECT_GE(evaluate(step, t), -1e-15) << t;
        EXPECT_LE(evaluate(step, t), 1 + 1e-15) << t;
    }
}

// The interval search guesses from even spacing and gallops: on a table
// far from even (x = k³ and a cluster) every t must still find its own
// interval, checked against linear interpolation by plain binary search.
TEST(Splines, IntervalSearchOnUnevenTables) {
    std::vector<double> x, y;
    for (int k = 0; k < 300; ++k) x.push_back(double(k) * k * k), y.push_back(std::sin(k));
    for (int k = 1; k < 50; ++k) x.push_back(x.back() + 1e-3), y.push_back(std::cos(k));
    ostr::interp::Spline s;
    ASSERT_TRUE(make_spline(x, y, Kind::linear, 0, 0, s));
    std::mt19937_64 g(5);
    std::uniform_real_distribution<double> u(-10, x.back() + 10);
    for (int r = 0; r < 20000; ++r) {
        const double t = r < 349 ? x[r] : u(g);
        std::size_t k = static_cast<std::size_t>(std::upper_bound(x.begin() + 1, x.end() - 1, t) - x.begin()) - 1;
        const double want = y[k] + (t - x[k]) * ((y[k + 1] - y[k]) / (x[k + 1] - x[k]));
        ASSERT_NEAR(evaluate(s, t), want, 1e-12 * std::max(1.0, std::fabs(want))) << t;
    }
}

TEST(Splines, Refusals) {
    const double nan = std::nan("");
    struct Case {
        std::vector<double> x, y;
        Kind kind;
        double d1;
        const char* why;
    } cases[] = {
        {{1}, {1}, Kind::linear, 0, "one point"},
        {{1, 2}, {1}, Kind::natural, 0, "lengths differ"},
        {{1, 1, 2}, {1, 2, 3}, Kind::natural, 0, "repeated x"},
        {{2, 1, 3}, {1, 2, 3}, Kind::akima, 0, "x decreasing"},
        {{1, nan, 3}, {1, 2, 3}, Kind::linear, 0, "NaN x"},
        {{1, 2, 3}, {1, INFINITY, 3}, Kind::natural, 0, "infinite y"},
        {{1, 2, 3}, {1, 2, 3}, Kind::clamped, nan, "NaN end slope"},
        {{0, 1e-310, 1}, {0, 1e300, 0}, Kind::linear, 0, "slope overflows"},
    };
    for (const Case& c : cases) {
        ostr::interp::Spline s;
        EXPECT_FALSE(make_spline(c.x, c.y, c.kind, c.d1, 0, s)) << c.why;
    }
    EXPECT_FALSE(kind_named("cubic"));
    EXPECT_EQ(kind_named("spline"), Kind::natural);
}

double* vec(std::initializer_list<double> v) {
    double* out = Vector(static_cast<int32_t>(v.size()));
    int k = 1;
    for (double d : v) out[k++] = d;
    return out;
}

TEST(SplineFace, ValuesAndReleases) {
    ostr::test::CountingAlloc counting;
    double *x = vec({0, 1, 2}), *y = vec({0, 1, 4}), *t = vec({0.5, 1.5, 3});
    Interpolant* s = Spline(x, y, "natural", 0, 0);
    ASSERT_NE(s, nullptr);
    EXPECT_DOUBLE_EQ(SplineValue(s, 1.5), 2.3125);  // SciPy: 2.3125
    double* v = SplineValues(s, t);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v[0], 3);
    EXPECT_DOUBLE_EQ(v[1], 0.3125);
    EXPECT_DOUBLE_EQ(v[3], 7);
    double* w = Interpolate(x, y, t, "linear");
    ASSERT_NE(w, nullptr);
    EXPECT_DOUBLE_EQ(w[1], 0.5);
    EXPECT_DOUBLE_EQ(w[3], 7);  // the last segment continued
    EXPECT_EQ(Spline(x, y, "cubic", 0, 0), nullptr);
    double* two = vec({1, 2});
    EXPECT_EQ(Spline(x, two, "linear", 0, 0), nullptr);
    FreeVector(two);
    EXPECT_EQ(Spline(nullptr, y, "linear", 0, 0), nullptr);
    EXPECT_EQ(Interpolate(x, y, nullptr, "akima"), nullptr);
    EXPECT_TRUE(std::isnan(SplineValue(nullptr, 1)));
    FreeVector(v);
    FreeVector(w);
    FreeSpline(s);
    FreeVector(x);
    FreeVector(y);
    FreeVector(t);
    EXPECT_EQ(counting.live(), 0);
}

}  // namespace
