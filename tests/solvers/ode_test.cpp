// Initial-value problems against closed forms and SciPy. The references
// were made by /usr/bin/python3 with scipy.integrate.solve_ivp:
//   Robertson, y0 = [1,0,0]: Radau, rtol=1e-12, atol=1e-16, t_eval below
//   Van der Pol (mu = 1), y0 = [2,0] to t = 10: DOP853 at rtol=1e-13,
//   atol=1e-14 -> [-2.008340782579706, 0.03290706586331515]; RK45 at
//   rtol = atol = 1e-4, 1e-6, 1e-8 misses it by 9.04e-4, 1.08e-5, 4.74e-8
//   with 284, 572 and 1106 evaluations.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

std::vector<double> linspace(double a, double b, int n) {
    std::vector<double> t(n);
    for (int i = 0; i < n; ++i) t[i] = a + (b - a) * i / (n - 1);
    return t;
}

struct ClosedForm {
    const char* name;
    std::vector<double> y0;
    double t0, t1;
    void (*f)(double t, std::span<const double> y, std::span<double> dy);
    double (*exact)(double t, int component);
};

const ClosedForm closed_forms[] = {
    {"decay", {1}, 0, 5, [](double, auto y, auto dy) { dy[0] = -y[0]; },
     [](double t, int) { return std::exp(-t); }},
    {"backward growth", {std::exp(1.0)}, 1, -2, [](double, auto y, auto dy) { dy[0] = y[0]; },
     [](double t, int) { return std::exp(t); }},
    {"oscillator", {1, 0}, 0, 20, [](double, auto y, auto dy) { dy[0] = y[1], dy[1] = -y[0]; },
     [](double t, int c) { return c == 0 ? std::cos(t) : -std::sin(t); }},
    {"logistic", {0.1}, 0, 10, [](double, auto y, auto dy) { dy[0] = y[0] * (1 - y[0]); },
     [](double t, int) { return 1 / (1 + 9 * std::exp(-t)); }},
    {"time dependent", {0}, 0, 3, [](double t, auto, auto dy) { dy[0] = std::cos(t) * t; },
     [](double t, int) { return std::cos(t) + t * std::sin(t) - 1; }},
    {"mildly stiff linear", {2, 1}, 0, 2,
     [](double, auto y, auto dy) { dy[0] = -50 * (y[0] - y[1]) - y[1], dy[1] = -y[1]; },
     [](double t, int c) { return c == 0 ? std::exp(-t) + std::exp(-50 * t) : std::exp(-t); }},
};

TEST(Ode, ClosedFormsWithEveryMethodAtDenseTimes) {
    struct Method {
        OdeMethod m;
        double rtol, bound;  // the error asked for and the error allowed
    };
    const Method methods[] = {{OdeMethod::dormand_prince, 1e-10, 1e-8},
                              {OdeMethod::automatic, 1e-10, 1e-8},
                              // 2nd order: the local errors of some 4000
                              // steps over three periods add up.
                              {OdeMethod::rosenbrock, 1e-7, 5e-4}};
    for (const ClosedForm& c : closed_forms)
        for (const Method& m : methods) {
            auto f = [&](double t, std::span<const double> y, std::span<double> dy) {
                c.f(t, y, dy);
                return true;
            };
            // 97 samples: most fall between steps, so they test the dense output.
            const std::vector<double> times = linspace(c.t0, c.t1, 97);
            OdeOptions o;
            o.method = m.m;
            o.rtol = m.rtol;
            o.atol = m.rtol;
            OdeResult r = solve_ode(f, c.y0, times, o);
            ASSERT_EQ(r.status, Status::ok) << c.name;
            const std::size_t n = c.y0.size();
            ASSERT_EQ(r.y.size(), times.size() * n);
            double worst = 0;
            for (std::size_t i = 0; i < times.size(); ++i)
                for (std::size_t j = 0; j < n; ++j)
                    worst = std::max(worst, std::fabs(r.y[i * n + j] - c.exact(times[i], static_cast<int>(j))));
            EXPECT_LT(worst, m.bound) << c.name << " method " << static_cast<int>(m.m);
        }
}

// Asking for more output times changes no step: the samples at the common
// times agree to rounding.
TEST(Ode, OutputTimesDoNotChangeTheSteps) {
    auto f = [](double, std::span<const double> y, std::span<double> dy) {
        dy[0] = y[1], dy[1] = (1 - y[0] * y[0]) * y[1] - y[0];
        return true;
    };
    const std::vector<double> y0 = {2, 0}, few = {0, 10}, many = linspace(0, 10, 1001);
    OdeResult a = solve_ode(f, y0, few), b = solve_ode(f, y0, many);
    ASSERT_EQ(a.status, Status::ok);
    EXPECT_EQ(a.steps, b.steps);
    EXPECT_EQ(a.y[2], b.y[2000]);
    EXPECT_EQ(a.y[3], b.y[2001]);
}

// At one tolerance, our Dormand-Prince is as accurate as SciPy's RK45 (same
// pair, same norm) within a factor 3, with no more evaluations than 1.5×.
TEST(Ode, MatchesScipyAtEqualTolerance) {
    auto f = [](double, std::span<const double> y, std::span<double> dy) {
        dy[0] = y[1], dy[1] = (1 - y[0] * y[0]) * y[1] - y[0];
        return true;
    };
    const double ref[2] = {-2.008340782579706, 0.03290706586331515};
    struct Row {
        double tol, scipy_error, scipy_evaluations;
    };
    const Row rows[] = {{1e-4, 9.038717752971118e-4, 284}, {1e-6, 1.076562475713777e-5, 572},
                        {1e-8, 4.743751998853574e-8, 1106}};
    for (const Row& row : rows) {
        OdeOptions o;
        o.rtol = o.atol = row.tol;
        o.method = OdeMethod::dormand_prince;
        const std::vector<double> y0 = {2, 0}, times = {0, 10};
        OdeResult r = solve_ode(f, y0, times, o);
        ASSERT_EQ(r.status, Status::ok);
        const double error = std::max(std::fabs(r.y[2] - ref[0]), std::fabs(r.y[3] - ref[1]));
        EXPECT_LT(error, 3 * row.scipy_error) << row.tol;
        EXPECT_LT(static_cast<double>(r.evaluations), 1.5 * row.scipy_evaluations) << row.tol;
    }
}

TEST(Ode, RobertsonIsDetectedStiffAndSolved) {
    auto f = [](double, std::span<const double> y, std::span<double> dy) {
        dy[0] = -0.04 * y[0] + 1e4 * y[1] * y[2];
        dy[1] = 0.04 * y[0] - 1e4 * y[1] * y[2] - 3e7 * y[1] * y[1];
        dy[2] = 3e7 * y[1] * y[1];
        return true;
    };
    const std::vector<double> times = {0, 0.4, 4, 40, 400, 4000, 40000};
    const double ref[7][3] = {{1, 0, 0},
                              {0.98517211386099135, 3.3863953789748784e-05, 0.014794022185221514},
                              {0.90551867858425494, 2.2404756875602714e-05, 0.094458916658872003},
                              {0.7158270687194167, 9.1855347645583132e-06, 0.28416374574582037},
                              {0.4505186684711987, 3.2229014416761357e-06, 0.54947810862736168},
                              {0.18320225777695578, 8.9423712527812003e-07, 0.81679684798592034},
                              {0.038983377085647357, 1.621768315916796e-07, 0.96101646073752334}};
    const std::vector<double> y0 = {1, 0, 0};
    for (OdeMethod m : {OdeMethod::automatic, OdeMethod::rosenbrock}) {
        OdeOptions o;
        o.method = m;
        o.rtol = 1e-6;
        o.atol = 1e-12;
        OdeResult r = solve_ode(f, y0, times, o);
        ASSERT_EQ(r.status, Status::ok);
        EXPECT_EQ(r.switched_to_stiff, m == OdeMethod::automatic);
        EXPECT_LT(r.steps, 5000);
        for (int i = 0; i < 7; ++i)
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(r.y[i * 3 + j], ref[i][j], 2e-5 * std::fabs(ref[i][j]) + 1e-11) << i << "," << j;
    }
    // The explicit method alone needs a step count that grows with the
    // range; a bound of 20000 steps does not reach 40000.
    OdeOptions o;
    o.method = OdeMethod::dormand_prince;
    o.rtol = 1e-6;
    o.atol = 1e-12;
    o.max_steps = 20000;
    EXPECT_EQ(solve_ode(f, y0, times, o).status, Status::not_converged);
}

TEST(Ode, FailuresAreReported) {
    auto ok = [](double, std::span<const double> y, std::span<double> dy) {
        dy[0] = y[0];
        return true;
    };
    const std::vector<double> y0 = {1};
    struct Case {
        const char* what;
        std::vector<double> y0, times;
        double rtol;
        Status want;
    };
    const Case cases[] = {
        {"no unknowns", {}, {0, 1}, 1e-8, Status::bad_argument},
        {"no times", {1}, {}, 1e-8, Status::bad_argument},
        {"times not monotone", {1}, {0, 2, 1}, 1e-8, Status::bad_argument},
        {"a NaN start", {NAN}, {0, 1}, 1e-8, Status::bad_argument},
        {"zero tolerance", {1}, {0, 1}, 0, Status::bad_argument},
        {"one time only", {1}, {3}, 1e-8, Status::ok},
    };
    for (const Case& c : cases) {
        OdeOptions o;
        o.rtol = c.rtol;
        EXPECT_EQ(solve_ode(ok, c.y0, c.times, o).status, c.want) << c.what;
    }
    // y' = y² from 1 blows up at t = 1.
    auto blowup = [](double, std::span<const double> y, std::span<double> dy) {
        dy[0] = y[0] * y[0];
        return true;
    };
    const std::vector<double> times = {0, 2};
    EXPECT_NE(solve_ode(blowup, y0, times).status, Status::ok);
    int calls = 0;
    auto stops = [&](double, std::span<const double>, std::span<double> dy) {
        dy[0] = 1;
        return ++calls < 10;
    };
    EXPECT_EQ(solve_ode(stops, y0, times).status, Status::stopped);
}

}  // namespace
}  // namespace ostr::solve
