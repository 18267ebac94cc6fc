// The special functions against reference values from mpmath
// (data/special.txt, made by data/make_tables.py). Each function's worst
// error, relative or against the table's amplitude (docs/special.md), is
// printed with its case and must stay under the function's bound.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "special/special.hpp"

namespace {

namespace sp = ostr::special;

struct Case {
    std::string name;
    double a, b, c, re, im, scale;
};

struct Worst {
    double error = 0;
    int count = 0;
    std::string where;
};

double error_of(double got, double want, double scale) {
    if (std::isinf(want)) return got == want ? 0 : INFINITY;
    double den = std::max(std::fabs(want), scale);
    double e = den == 0 ? std::fabs(got) : std::fabs(got - want) / den;
    return std::isnan(e) ? INFINITY : e;
}

// Evaluates one case; false for an unknown name.
bool evaluate(const Case& k, double& err) {
    const std::string& n = k.name;
    double got;
    if (n == "besselj") got = sp::bessel_j(k.b, k.a);
    else if (n == "bessely") got = sp::bessel_y(k.b, k.a);
    else if (n == "besseli") got = sp::bessel_i(k.b, k.a);
    else if (n == "besselk") got = sp::bessel_k(k.b, k.a);
    else if (n == "airyai") got = sp::airy_ai(k.a);
    else if (n == "airybi") got = sp::airy_bi(k.a);
    else if (n == "legendre") got = sp::legendre(k.a, k.b, k.c);
    else if (n == "gamma") got = sp::gamma(k.a);
    else if (n == "lgamma") got = sp::log_gamma(k.a);
    else if (n == "factorial") got = sp::factorial(k.a);
    else if (n == "comb") got = sp::comb(k.a, k.b);
    else if (n == "perm") got = sp::perm(k.a, k.b);
    else if (n == "cgamma") {
        Complex z = sp::gamma(Complex{k.a, k.b});
        err = std::hypot(z.re - k.re, z.im - k.im) / k.scale;
        if (std::isnan(err)) err = INFINITY;
        return true;
    } else {
        return false;
    }
    err = error_of(got, k.re, k.scale);
    return true;
}

TEST(SpecialTable, AgreesWithMpmath) {
    std::ifstream in(OSTR_TEST_DATA "/special.txt");
    ASSERT_TRUE(in) << "missing " OSTR_TEST_DATA "/special.txt";
    std::map<std::string, Worst> worst;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream row(line);
        Case k;
        std::string v[6];
        row >> k.name >> v[0] >> v[1] >> v[2] >> v[3] >> v[4] >> v[5];
        ASSERT_FALSE(row.fail()) << line;
        double* slots[6] = {&k.a, &k.b, &k.c, &k.re, &k.im, &k.scale};
        for (int i = 0; i < 6; ++i) *slots[i] = std::strtod(v[i].c_str(), nullptr);
        double err;
        ASSERT_TRUE(evaluate(k, err)) << "unknown function in " << line;
        Worst& w = worst[k.name];
        ++w.count;
        if (err >= w.error) {
            w.error = err;
            w.where = line;
        }
    }
    // Bounds: about five times the worst error measured (docs/special.md),
    // so that a lost digit anywhere fails.
    const std::map<std::string, double> bound = {
        {"besselj", 1e-13}, {"bessely", 5e-14}, {"besseli", 3e-14},  {"besselk", 3e-14},
        {"airyai", 2e-14},  {"airybi", 2e-14},  {"legendre", 6e-14}, {"gamma", 3e-15},
        {"lgamma", 3e-15},  {"factorial", 3e-15}, {"comb", 1e-14},  {"perm", 3e-15},
        {"cgamma", 7e-13}};
    for (const auto& [name, limit] : bound) {
        const Worst& w = worst[name];
        std::printf("%-10s %5d cases, worst error %.3g at %s\n", name.c_str(), w.count, w.error,
                    w.where.c_str());
        EXPECT_GE(w.count, 50) << name;
        EXPECT_LE(w.error, limit) << name << " at " << w.where;
    }
}

}  // namespace
