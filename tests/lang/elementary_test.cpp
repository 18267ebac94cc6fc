// The language's elementary functions and power against mpmath, in ulps,
// before the 15-digit text step: every row of data/elementary.txt (made by
// data/make_elementary.py) and the exact powers.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "lang/elementary.hpp"
#include "ostravine/special.h"
#include "special/scientific.hpp"
#include "special/special.hpp"

namespace ostr::test {
namespace {

namespace el = lang::elementary;

using Fn = Complex (*)(Complex) noexcept;

Complex modulus(Complex z) noexcept { return {el::modulus(z), 0}; }

const std::map<std::string, Fn> functions = {
    {"exp", el::exp},         {"ln", el::ln},           {"log10", el::log10},     {"sqrt", el::sqrt},
    {"sin", el::sin},         {"cos", el::cos},         {"tan", el::tan},         {"sinh", el::sinh},
    {"cosh", el::cosh},       {"tanh", el::tanh},       {"arcsin", el::arcsin},   {"arccos", el::arccos},
    {"arctan", el::arctan},   {"arcsinh", el::arcsinh}, {"arccosh", el::arccosh}, {"arctanh", el::arctanh},
    {"abs", modulus},
};

// Bounds in ulps of each part: a real argument in the real domain gets the
// C library's real function, held to one ulp of the true value; complex
// arguments to a few ulps of each part that is not itself the rounding of a
// cancellation (a part below 1e-8 of the other is measured in ulps of the
// larger part).
constexpr double real_bound = 1.0;
constexpr double complex_bound = 4.0;

// The error of a computed part in ulps of the true value; a true value past
// the largest double must come out infinite.
double ulps(double computed, long double truth, long double scale) {
    if (std::fabs(truth) > static_cast<long double>(DBL_MAX))
        return std::isinf(computed) && (computed > 0) == (truth > 0) ? 0 : INFINITY;
    if (!std::isfinite(computed)) return INFINITY;
    long double s = std::fabs(scale);
    if (s == 0) return computed == 0 ? 0 : INFINITY;
    int e = std::max(std::ilogb(static_cast<double>(s)), DBL_MIN_EXP - 1);
    return static_cast<double>(std::fabs(computed - truth) / std::ldexp(1.0L, e - 52));
}

struct Row {
    std::string cls, name, line;
    std::vector<double> args;
    long double re = 0, im = 0;
};

std::vector<Row> rows() {
    std::ifstream in(OSTR_TEST_DATA "/elementary.txt");
    std::vector<Row> out;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        Row r;
        r.line = line;
        std::vector<std::string> f;
        for (std::string s; std::getline(fields, s, '\t');) f.push_back(s);
        r.cls = f[0];
        r.name = f[1];
        for (std::size_t k = 2; k + 2 < f.size(); ++k) r.args.push_back(std::strtod(f[k].c_str(), nullptr));
        r.re = std::strtold(f[f.size() - 2].c_str(), nullptr);
        r.im = std::strtold(f[f.size() - 1].c_str(), nullptr);
        out.push_back(r);
    }
    return out;
}

TEST(Elementary, AgreesWithMpmathInUlps) {
    std::map<std::string, std::pair<double, std::string>> worst;
    std::vector<Row> table = rows();
    ASSERT_GT(table.size(), 700u);
    for (const Row& r : table) {
        Complex v;
        if (r.name == "pow") {
            ASSERT_EQ(r.args.size(), 4u) << r.line;
            v = el::power({r.args[0], r.args[1]}, {r.args[2], r.args[3]});
        } else {
            ASSERT_EQ(r.args.size(), 2u) << r.line;
            auto f = functions.find(r.name);
            ASSERT_NE(f, functions.end()) << r.line;
            v = f->second({r.args[0], r.args[1]});
        }
        const bool real = r.cls == "real";
        const long double big = std::max(std::fabs(r.re), std::fabs(r.im));
        auto scale = [&](long double part) { return real || std::fabs(part) >= 1e-8L * big ? part : big; };
        double e = std::max(ulps(v.re, r.re, scale(r.re)), ulps(v.im, r.im, scale(r.im)));
        if (real) {
            EXPECT_EQ(v.im, 0.0) << r.line;
        }
        EXPECT_LE(e, real ? real_bound : complex_bound)
            << r.line << "\n gives " << std::hexfloat << v.re << " " << v.im << std::defaultfloat;
        auto& w = worst[r.name + " " + r.cls];
        if (e >= w.first) w = {e, r.line.substr(0, 60)};
    }
    for (const auto& [name, w] : worst) std::printf("%-18s worst %.3f ulp at %s\n", name.c_str(), w.first, w.second.c_str());
}

// The other predefined functions of the language, as the evaluator calls
// them, against data/predefined.txt (made by data/make_predefined.py). Each
// bound is in ulps: of the value (class "real"), of the larger part
// ("complex", the normwise relative error), or of the local amplitude of an
// oscillating function next to its zeros ("wave").
namespace sp = special;
using Args = std::vector<double>;
using Kernel = Complex (*)(const Args&);
Complex re(double v) { return {v, 0}; }

struct Predefined {
    Kernel kernel;
    double bound;
};

const std::map<std::string, Predefined> predefined = {
    // Bessel, Airy and Legendre: the double-precision kernels of the C face
    // (J and I below x = 2: the extended-format series; Y and K of order >= 2:
    // the recurrence in the extended format), whose recurrences
    // and phases cost more than one ulp (docs/special.md).
    {"besselj", {[](const Args& a) { return re(sp::bessel_j_language(a[0], a[1])); }, 130}},
    {"bessely", {[](const Args& a) { return re(sp::bessel_y_language(a[0], a[1])); }, 25}},
    {"besseli", {[](const Args& a) { return re(sp::bessel_i_language(a[0], a[1])); }, 16}},
    {"besselk", {[](const Args& a) { return re(sp::bessel_k_language(a[0], a[1])); }, 10}},
    {"airya", {[](const Args& a) { return re(AiryAi(a[0])); }, 11}},
    {"airyb", {[](const Args& a) { return re(AiryBi(a[0])); }, 5}},
    {"legendre", {[](const Args& a) { return re(Legendre(a[0], a[1], a[2])); }, 40}},
    {"gcd", {[](const Args& a) { return re(Gcd(a[0], a[1])); }, 0}},
    // The gamma family and the further special functions: extended-format
    // kernels rounded once.
    {"gamma", {[](const Args& a) { return sp::gamma_full({a[0], a[1]}); }, 1}},
    {"lgamma", {[](const Args& a) { return sp::log_gamma_full({a[0], a[1]}); }, 1}},
    {"fact", {[](const Args& a) { return sp::factorial_full({a[0], a[1]}); }, 1}},
    {"comb", {[](const Args& a) { return re(sp::comb_real(a[0], a[1])); }, 1}},
    {"perm", {[](const Args& a) { return re(sp::perm_real(a[0], a[1])); }, 1}},
    {"digamma", {[](const Args& a) { return re(sp::digamma(a[0])); }, 1}},
    {"beta", {[](const Args& a) { return re(sp::beta(a[0], a[1])); }, 1}},
    {"gammainc", {[](const Args& a) { return re(sp::gamma_p(a[0], a[1])); }, 1}},
    {"gammaincc", {[](const Args& a) { return re(sp::gamma_q(a[0], a[1])); }, 1}},
    {"betainc", {[](const Args& a) { return re(sp::beta_inc(a[0], a[1], a[2])); }, 1.5}},
    {"erf", {[](const Args& a) { return re(sp::erf(a[0])); }, 1}},
    {"erfc", {[](const Args& a) { return re(sp::erfc(a[0])); }, 1}},
    {"erfinv", {[](const Args& a) { return re(sp::erf_inv(a[0])); }, 1}},
    {"zeta", {[](const Args& a) { return sp::zeta(Complex{a[0], a[1]}); }, 4}},
    {"li2", {[](const Args& a) { return sp::dilog(a[0]); }, 1}},
    {"lambertw", {[](const Args& a) { return re(sp::lambert_w(a[0], a[1])); }, 1}},
    {"ellipk", {[](const Args& a) { return re(sp::ellip_k(a[0])); }, 1}},
    {"ellipe", {[](const Args& a) { return re(sp::ellip_e(a[0])); }, 1}},
    {"sphbesselj", {[](const Args& a) { return re(sp::sph_bessel_j(a[0], a[1])); }, 1}},
    {"sphbessely", {[](const Args& a) { return re(sp::sph_bessel_y(a[0], a[1])); }, 1}},
    {"ei", {[](const Args& a) { return re(sp::exp_integral_ei(a[0])); }, 1}},
    {"expint", {[](const Args& a) { return re(sp::exp_integral_e1(a[0])); }, 1}},
};

TEST(Elementary, PredefinedAgreeWithMpmathInUlps) {
    std::ifstream in(OSTR_TEST_DATA "/predefined.txt");
    ASSERT_TRUE(in);
    std::map<std::string, std::pair<double, std::string>> worst;
    std::string line;
    int count = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> f;
        std::istringstream fields(line);
        for (std::string s; std::getline(fields, s, '\t');) f.push_back(s);
        ASSERT_GE(f.size(), 5u) << line;
        const std::string& cls = f[0];
        long double scale = 0;
        if (cls == "wave") {
            scale = std::strtold(f.back().c_str(), nullptr);
            f.pop_back();
        }
        Args args;
        for (std::size_t k = 2; k + 2 < f.size(); ++k) args.push_back(std::strtod(f[k].c_str(), nullptr));
        long double tre = std::strtold(f[f.size() - 2].c_str(), nullptr);
        long double tim = std::strtold(f[f.size() - 1].c_str(), nullptr);
        auto fn = predefined.find(f[1]);
        ASSERT_NE(fn, predefined.end()) << line;
        Complex v = fn->second.kernel(args);
        double e;
        if (cls == "wave") {
            e = std::max(ulps(v.re, tre, scale), ulps(v.im, tim, scale));
        } else if (cls == "complex") {
            long double big = std::max(std::fabs(tre), std::fabs(tim));
            long double d = std::hypot(static_cast<long double>(v.re) - tre, static_cast<long double>(v.im) - tim);
            e = std::isfinite(v.re) && std::isfinite(v.im) ? ulps(static_cast<double>(big + d), big, big) : INFINITY;
        } else {
            e = std::max(ulps(v.re, tre, tre), ulps(v.im, tim, tim));
        }
        EXPECT_LE(e, fn->second.bound) << line << "\n gives " << std::hexfloat << v.re << " " << v.im
                                       << std::defaultfloat << " (" << e << " ulp)";
        auto& w = worst[f[1] + " " + cls];
        if (e >= w.first) w = {e, line.substr(0, 70)};
        ++count;
    }
    EXPECT_GT(count, 1000);
    for (const auto& [name, w] : worst) std::printf("%-18s worst %.3f ulp at %s\n", name.c_str(), w.first, w.second.c_str());
}

// A real base with an integer exponent is exact whenever the exact power is
// a double, and real; a negative base with a non-integer exponent is not.
TEST(Elementary, PowersAreExactAndReal) {
    struct Case {
        double base, exponent, expected;
    };
    const Case exact[] = {
        {-3, 30, 205891132094649.0}, {-1, 100, 1}, {-1, 101, -1}, {10, 15, 1e15}, {2, 53, 9007199254740992.0},
        {3, 10, 59049}, {10, 22, 1e22}, {-2, 63, -9223372036854775808.0}, {0.5, 3, 0.125}, {2, -1074, 5e-324},
        {-10, 3, -1000}, {7, 0, 1}, {0, 0, 1}, {0, 5, 0}, {-0.5, -2, 4}, {1, 1e300, 1}, {-1, 1e300, 1},
    };
    for (const Case& c : exact) {
        Complex v = el::power({c.base, 0}, {c.exponent, 0});
        EXPECT_EQ(v.re, c.expected) << c.base << "^" << c.exponent;
        EXPECT_EQ(v.im, 0.0) << c.base << "^" << c.exponent;
    }
    EXPECT_EQ(el::power({10, 0}, {-10, 0}).re, 1e-10);  // correctly rounded, not exact
    EXPECT_TRUE(std::isinf(el::power({0, 0}, {-1, 0}).re));
    Complex root = el::power({-8, 0}, {1.0 / 3, 0});
    EXPECT_NEAR(root.re, 1, 1e-15);
    EXPECT_NEAR(root.im, std::sqrt(3.0), 1e-15);
}

}  // namespace
}  // namespace ostr::test
