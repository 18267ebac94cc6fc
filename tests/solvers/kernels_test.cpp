// Fits, minimisers and quadrature against known answers. The oracle values
// were made by /usr/bin/python3 with NumPy 1.x, SciPy (curve_fit, lstsq)
// and mpmath (quad at 30 digits) or are closed forms:
//   rng = np.random.default_rng(7); noise = rng.standard_normal(30)
//   x = np.linspace(0, 3, 30); y = 2.5*np.exp(-1.3*x) + 0.02*noise
//   curve_fit(lambda x,a,b: a*np.exp(b*x), x, y, p0=[1,-1]) -> p, sqrt(diag(cov))
//   y2 = 1 + 0.5*x + 2*np.sin(x) + 0.05*noise; lstsq on [1, x, sin x],
//   cov = r.r/(m-k)·inv(AᵀA)
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

const std::vector<double> noise = {
    0.0012301533574825742, 0.29874553750846988,  -0.27413785536221758, -0.89059183875727421, -0.45467078517172255,
    -0.99164655499646237,  0.060143602597438485, 1.3402152455545335,   -0.49220651855132963, -0.62047489981994042,
    0.48984205018519822,   0.35688700816006075,  0.10541424899789856,  -0.93046804470820466, -0.029251822463273489,
    0.69530319445828781,   -1.3442145472850819,  -0.45761576104021817, -1.9012227398008441,  -1.2895377397849761,
    -1.8417350377917323,   -0.23509113107468127, -1.2674464814437032,  0.27126435882170152,  0.15675108662422516,
    -0.18693094462995438,  -2.5167597108205131,  -0.5386928958466366,  -0.048500945401071985, 0.11330898600330756};

std::vector<double> grid() {
    std::vector<double> x(30);
    for (int i = 0; i < 30; ++i) x[i] = 3.0 * i / 29;
    return x;
}

TEST(Fit, LevenbergMarquardtMatchesCurveFitAndCoversTheTruth) {
    const std::vector<double> x = grid();
    std::vector<double> y(30);
    for (int i = 0; i < 30; ++i) y[i] = 2.5 * std::exp(-1.3 * x[i]) + 0.02 * noise[i];
    auto model = [](double t, std::span<const double> p) { return p[0] * std::exp(p[1] * t); };
    const std::vector<double> p0 = {1, -1};
    FitResult r = levenberg_marquardt(model, x, y, {}, p0);
    ASSERT_EQ(r.status, Status::ok);
    const double want[2] = {2.5054941279987615, -1.3163234969380952};
    const double err[2] = {0.011578102635228774, 0.009255208564184427};
    const double truth[2] = {2.5, -1.3};
    for (int j = 0; j < 2; ++j) {
        EXPECT_NEAR(r.p[j], want[j], 1e-7) << j;
        EXPECT_NEAR(r.error(j), err[j], 1e-4 * err[j]) << j;
        EXPECT_LT(std::fabs(r.p[j] - truth[j]), 3 * r.error(j)) << j;
    }
}

TEST(Fit, LinearBasisMatchesLstsqAndItsCovariance) {
    const std::vector<double> x = grid();
    std::vector<double> y(30);
    for (int i = 0; i < 30; ++i) y[i] = 1 + 0.5 * x[i] + 2 * std::sin(x[i]) + 0.05 * noise[i];
    auto basis = [](double t, std::size_t j) { return j == 0 ? 1.0 : j == 1 ? t : std::sin(t); };
    FitResult r = linear_least_squares(basis, 3, x, y, {});
    ASSERT_EQ(r.status, Status::ok);
    const double want[3] = {1.0031576331085703, 0.48958016014857275, 1.9871985074824958};
    const double err[3] = {0.020622855251254915, 0.00864703838837067, 0.025437237655623564};
    const double truth[3] = {1, 0.5, 2};
    for (int j = 0; j < 3; ++j) {
        EXPECT_NEAR(r.p[j], want[j], 1e-12) << j;
        EXPECT_NEAR(r.error(j), err[j], 1e-10) << j;
        EXPECT_LT(std::fabs(r.p[j] - truth[j]), 3 * r.error(j)) << j;
    }
}

TEST(Fit, WeightsAndFailures) {
    const std::vector<double> x = {0, 1, 2, 3};
    // Exact data: any weights give the line itself, chi2 0.
    const std::vector<double> y = {1, 3, 5, 7}, sigma = {1, 10, 0.1, 2};
    auto line = [](double t, std::size_t j) { return j == 0 ? 1.0 : t; };
    FitResult r = linear_least_squares(line, 2, x, y, sigma);
    ASSERT_EQ(r.status, Status::ok);
    EXPECT_NEAR(r.p[0], 1, 1e-14);
    EXPECT_NEAR(r.p[1], 2, 1e-14);
    EXPECT_NEAR(r.chi2, 0, 1e-24);
    // A weighted mean: the basis {1} with weights 1/sigma² gives Σy/σ²/Σ1/σ².
    auto one = [](double, std::size_t) { return 1.0; };
    const std::vector<double> ym = {1, 2}, sm = {1, 2};
    FitResult m = linear_least_squares(one, 1, std::span<const double>(x).first(2), ym, sm);
    EXPECT_NEAR(m.p[0], (1 + 2 / 4.0) / (1 + 1 / 4.0), 1e-15);

    struct Case {
        const char* what;
        std::vector<double> x, y, sigma;
        std::size_t k;
        Status want;
    };
    auto dependent = [](double t, std::size_t j) { return j == 0 ? t : 2 * t; };
    const Case cases[] = {
        {"more parameters than points", {1}, {1}, {}, 2, Status::bad_argument},
        {"sizes differ", {1, 2, 3}, {1, 2}, {}, 2, Status::bad_argument},
        {"a zero sigma", {1, 2, 3}, {1, 2, 3}, {1, 0, 1}, 2, Status::bad_argument},
        {"a NaN datum", {1, NAN, 3}, {1, 2, 3}, {}, 2, Status::bad_argument},
        {"dependent columns", {1, 2, 3}, {1, 2, 3}, {}, 2, Status::singular},
    };
    for (const Case& c : cases)
        EXPECT_EQ(linear_least_squares(dependent, c.k, c.x, c.y, c.sigma).status, c.want) << c.what;
    // A parameter the model ignores cannot be determined.
    auto blind = [](double t, std::span<const double> p) { return p[0] * t; };
    const std::vector<double> p0 = {1, 1};
    EXPECT_EQ(levenberg_marquardt(blind, x, y, {}, p0).status, Status::singular);
    auto nan_model = [](double, std::span<const double>) { return NAN; };
    EXPECT_EQ(levenberg_marquardt(nan_model, x, y, {}, p0).status, Status::not_finite);
}

double rosenbrock(std::span<const double> v) {
    return 100 * std::pow(v[1] - v[0] * v[0], 2) + std::pow(1 - v[0], 2);
}
double beale(std::span<const double> v) {
    const double x = v[0], y = v[1];
    return std::pow(1.5 - x + x * y, 2) + std::pow(2.25 - x + x * y * y, 2) + std::pow(2.625 - x + x * y * y * y, 2);
}
double booth(std::span<const double> v) { return std::pow(v[0] + 2 * v[1] - 7, 2) + std::pow(2 * v[0] + v[1] - 5, 2); }
double sphere4(std::span<const double> v) {
    double s = 0;
    for (std::size_t j = 0; j < v.size(); ++j) s += (j + 1.0) * std::pow(v[j] - 1.0 * j, 2);
    return s;
}

TEST(Minimize, SeveralVariables) {
    struct Case {
        const char* name;
        double (*f)(std::span<const double>);
        std::vector<double> start, at;
    };
    const Case cases[] = {
        {"rosenbrock", rosenbrock, {-1.2, 1}, {1, 1}},
        {"beale", beale, {1, 1}, {3, 0.5}},
        {"booth", booth, {0, 0}, {1, 3}},
        {"weighted sphere in 4", sphere4, {3, -2, 0.5, 7}, {0, 1, 2, 3}},
    };
    for (const Case& c : cases) {
        auto f = [&](std::span<const double> v) { return c.f(v); };
        for (int method = 0; method < 2; ++method) {
            Minimum m = method == 0 ? nelder_mead(f, c.start) : bfgs(f, c.start);
            ASSERT_EQ(m.status, Status::ok) << c.name << method;
            for (std::size_t j = 0; j < c.at.size(); ++j)
                EXPECT_NEAR(m.x[j], c.at[j], 2e-5) << c.name << " method " << method << " x" << j;
            EXPECT_LT(m.f, 1e-9) << c.name << method;
        }
    }
    auto rough = [](std::span<const double> v) { return std::fabs(v[0] - 2) + std::fabs(v[1] + 1); };
    Minimum m = nelder_mead(rough, std::vector<double>{0, 0});
    EXPECT_NEAR(m.x[0], 2, 1e-6);
    EXPECT_NEAR(m.x[1], -1, 1e-6);
    auto broken = [](std::span<const double>) { return NAN; };
    EXPECT_EQ(bfgs(broken, std::vector<double>{1}).status, Status::not_finite);
    EXPECT_EQ(nelder_mead(broken, std::vector<double>{1}).status, Status::not_finite);
    EXPECT_EQ(bfgs(broken, std::vector<double>{}).status, Status::bad_argument);
}

TEST(Minimize, BrentInOneVariable) {
    struct Case {
        const char* name;
        double (*f)(double);
        double a, b, at;
    };
    const Case cases[] = {
        {"cos", [](double x) { return std::cos(x); }, 3, 4, std::numbers::pi},
        {"parabola", [](double x) { return (x - 2) * (x - 2) + 1; }, 0, 5, 2},
        {"quartic", [](double x) { return x * x * x * x - 3 * x; }, 0, 2, std::cbrt(0.75)},
        {"at an end", [](double x) { return x; }, 1, 2, 1},
        {"reversed ends", [](double x) { return std::exp(x) - 2 * x; }, 3, -1, std::log(2.0)},
        {"kink", [](double x) { return std::fabs(x - 0.3); }, -1, 1, 0.3},
    };
    for (const Case& c : cases) {
        auto f = [&](double x) { return c.f(x); };
        Minimum m = brent_minimum(f, c.a, c.b);
        ASSERT_EQ(m.status, Status::ok) << c.name;
        EXPECT_NEAR(m.x[0], c.at, 3e-8 * std::max(1.0, std::fabs(c.at))) << c.name;
        EXPECT_LT(m.evaluations, 100) << c.name;
    }
    auto f = [](double x) { return x; };
    EXPECT_EQ(brent_minimum(f, 1, 1).status, Status::bad_argument);
    EXPECT_EQ(brent_minimum(f, 0, INFINITY).status, Status::bad_argument);
}

TEST(Quadrature, AgainstMpmathAndClosedForms) {
    const double inf = INFINITY, pi = std::numbers::pi;
    struct Case {
        const char* name;
        double (*f)(double);
        double a, b, want;
        bool singular;  // an end where f is infinite or not smooth
        double tol = 1e-11;
    };
    const Case cases[] = {
        {"sin", [](double x) { return std::sin(x); }, 0, pi, 2, false},
        {"1/sqrt(x)", [](double x) { return 1 / std::sqrt(x); }, 0, 1, 2, true},
        {"ln x", [](double x) { return std::log(x); }, 0, 1, -1, true},
        {"sqrt(x) ln x", [](double x) { return std::sqrt(x) * std::log(x); }, 0, 1, -4.0 / 9, true},
        {"x^-0.75", [](double x) { return std::pow(x, -0.75); }, 0, 1, 4, true},
        // x is a double: 1 - x cannot come within an ulp of 1, and the
        // mass of the singularity there, about √(2ε) ≈ 2e-8, is lost.
        {"1/sqrt(1-x^2)", [](double x) { return 1 / std::sqrt((1 - x) * (1 + x)); }, -1, 1, pi, true, 2e-8},
        {"cos(x) ln(x) = -Si(1)", [](double x) { return std::cos(x) * std::log(x); }, 0, 1, -0.94608307036718301494, true},
        {"exp(-x^2) to inf", [](double x) { return std::exp(-x * x); }, 0, inf, std::sqrt(pi) / 2, false},
        {"1/(1+x^2) both inf", [](double x) { return 1 / (1 + x * x); }, -inf, inf, pi, false},
        {"1/x^2 from 1", [](double x) { return 1 / (x * x); }, 1, inf, 1, false},
        {"x^3/(e^x-1)", [](double x) { return x * x * x / std::expm1(x); }, 0, inf, std::pow(pi, 4) / 15, false},
        {"exp from -inf", [](double x) { return std::exp(x); }, -inf, 0, 1, false},
        {"exp(-x) cos x", [](double x) { return std::exp(-x) * std::cos(x); }, 0, inf, 0.5, false},
        {"reversed", [](double x) { return x * x; }, 3, 0, -9, false},
    };
    for (const Case& c : cases) {
        auto f = [&](double x) { return c.f(x); };
        Quadrature q = integrate(f, c.a, c.b, 1e-12);
        EXPECT_EQ(q.status, Status::ok) << c.name;
        EXPECT_NEAR(q.value, c.want, c.tol * std::fabs(c.want)) << c.name;
        // The error estimate is honest: the true error lies within it (or
        // within rounding).
        if (c.tol < 1e-10) {
            EXPECT_LE(std::fabs(q.value - c.want), std::max(q.error, 8e-16 * std::fabs(c.want))) << c.name;
        }
        Quadrature t = tanh_sinh(f, c.a, c.b, 1e-12);
        EXPECT_NEAR(t.value, c.want, 10 * c.tol * std::fabs(c.want)) << "tanh-sinh " << c.name;
        if (!c.singular) {
            Quadrature g = gauss_kronrod(f, c.a, c.b, 1e-12);
            EXPECT_EQ(g.status, Status::ok) << "Gauss-Kronrod " << c.name;
            EXPECT_NEAR(g.value, c.want, 1e-11 * std::fabs(c.want)) << "Gauss-Kronrod " << c.name;
        }
    }
}

TEST(Quadrature, FailuresAreReported) {
    auto one = [](double) { return 1.0; };
    EXPECT_EQ(integrate(one, NAN, 1).status, Status::bad_argument);
    EXPECT_EQ(integrate(one, INFINITY, INFINITY).status, Status::bad_argument);
    Quadrature z = integrate(one, 2, 2);
    EXPECT_EQ(z.status, Status::ok);
    EXPECT_EQ(z.value, 0);
    // Not integrable: 1/x on [0, 1] diverges; neither rule may claim success.
    auto pole = [](double x) { return 1 / x; };
    EXPECT_NE(integrate(pole, 0, 1).status, Status::ok);
    // Divergent on an infinite range: the integrand outgrows the map.
    auto grows = [](double x) { return x; };
    EXPECT_NE(integrate(grows, 0, INFINITY).status, Status::ok);
    EXPECT_NE(integrate(grows, -INFINITY, INFINITY).status, Status::ok);
    auto nan_inside = [](double x) { return x > 0.5 ? NAN : 1.0; };
    EXPECT_EQ(integrate(nan_inside, 0, 1).status, Status::not_finite);
    // A budget of one panel cannot reach 1e-12 on a wiggly integrand.
    auto wiggly = [](double x) { return std::sin(50 * x); };
    EXPECT_EQ(gauss_kronrod(wiggly, 0, 3, 1e-12, 0, 1).status, Status::not_converged);
}

}  // namespace
}  // namespace ostr::solve
