// The symbolic derivative: the written form of results (what a person would
// write, and text that reads back as meant), the failures, and the size and
// stop bounds. Values are checked against mpmath and SymPy in
// tests/lang/derivative_test.cpp.
#include <gtest/gtest.h>

#include <string>

#include "formula/derivative.hpp"

namespace ostr::test {
namespace {

using formula::DerivativeStatus;

std::string d(std::string_view f, std::string_view x = "x") {
    formula::Derivative r = formula::derivative(f, x);
    if (r.status != DerivativeStatus::ok) return "failed";
    return std::string(r.text);
}

struct Case {
    const char* f;
    const char* expected;
};

TEST(Derivative, WritesResultsAsAPersonWould) {
    const Case cases[] = {
        {"x^3", "3*x^2"}, {"x", "1"}, {"y", "0"}, {"7", "0"}, {"", "0"},
        {"x^4-3*x^2+2", "4*x^3-6*x"}, {"1/x", "-1/x^2"}, {"sqrt(x)", "1/(2*sqrt(x))"},
        {"x*sin(x)", "sin(x)+x*cos(x)"}, {"x^2*cos(x)", "2*x*cos(x)-x^2*sin(x)"},
        {"-x^2", "2*x"}, {"-(x^2)", "-2*x"}, {"cos(x)", "-sin(x)"}, {"-cos(x)", "sin(x)"},
        {"arccos(x)", "-1/sqrt(1-x^2)"}, {"x^x", "x^x*(ln(x)+1)"}, {"2^x", "0.693147180559945*2^x"},
        {"ln(x^2+1)", "2*x/(x^2+1)"}, {"log(x)", "1/(x*ln(10))"}, {"x/(x+1)", "1/(x+1)-x/(x+1)^2"},
        {"(2*x)^3", "24*x^2"}, {"x^2*y^3", "2*x*y^3"}, {"x*x*x", "3*x^2"}, {"x+x+x", "3"},
        {"sin(x)^2", "2*cos(x)*sin(x)"}, {"tan(x)", "1/cos(x)^2"}, {"exp(-x)", "-exp(-x)"},
        {"x-x", "0"}, {"x^2/x", "1"}, {"-x^2*y", "2*x*y"}, {"-(x^2*y)+x", "1-2*x*y"},
        {"x^(1/2)", "1/(2*x^0.5)"}, {"abs(x)", "sign(x)"}, {"floor(x)", "0"},
        {"mod(x,3)", "1"}, {"hypot(x,3)", "x/hypot(x,3)"}, {"arctan2(x,1)", "1/(x^2+1)"},
        {"re(x^2)", "re(2*x)"}, {"mean(x,x^2)", "x+0.5"}, {"2*x*sin(x)+x^2*cos(x)", "2*sin(x)+4*x*cos(x)-x^2*sin(x)"}, {"besselj(x,1)", "(besselj(x,0)-besselj(x,2))/2"},
        {"airya(x^2)", "2*x*deriv(airya(x),x,x^2)"}, {"max(x,1)", "deriv(max(x,1),x,x)"},
        {"legendre(x,1,0)", "(x*legendre(x,1,0)-legendre(x,0,0))/(x^2-1)"}, {"1E+20*x", "1E+20"},
    };
    for (const Case& c : cases) EXPECT_EQ(d(c.f), c.expected) << c.f;
}

TEST(Derivative, PartialDerivativesTreatOtherNamesAsConstants) {
    EXPECT_EQ(d("x^2*y^3", "y"), "3*x^2*y^2");
    EXPECT_EQ(d("exp(x*y)", "y"), "x*exp(x*y)");
    EXPECT_EQ(d("sin(x)", "y"), "0");
    EXPECT_EQ(d("i*x", "x"), "i");
}

TEST(Derivative, FailsWhereThereIsNoDerivative) {
    for (const char* f : {"x<1", "x!", "a[x]", "rand(0,x)", "(x", "max(x,x^2)", "x.y", "\"s\""})
        EXPECT_EQ(d(f), "failed") << f;
    // The estimate needs the other arguments free of the variable.
    EXPECT_EQ(d("besselj(x,x)"), "failed");
}

TEST(Derivative, IsEstimatedOnlyWhereNoRuleExists) {
    EXPECT_TRUE(formula::derivative("sin(airyb(x))", "x").estimated);
    EXPECT_FALSE(formula::derivative("sin(besselk(x,2))", "x").estimated);
    EXPECT_TRUE(formula::derivative("besselk(2,x)", "x").estimated);
}

TEST(Derivative, BoundsTheSizeOfTheResult) {
    // Each derivative of x^x^x roughly doubles; a long chain of them must
    // stop at the bound, not exhaust memory.
    std::string f = "x^x^x^x^x";
    formula::Derivative r{DerivativeStatus::ok, Text(f), false};
    int steps = 0;
    while (r.status == DerivativeStatus::ok && steps < 40) {
        r = formula::derivative(std::string(r.text), "x");
        ++steps;
    }
    EXPECT_EQ(r.status, DerivativeStatus::too_large);
}

TEST(Derivative, SimplifiedFormsReadBack) {
    const Case cases[] = {
        {"x+1+2", "x+3"}, {"2*x*3", "6*x"}, {"x*x", "x^2"}, {"(x^2)^3", "x^6"}, {"x/2/y", "x/(2*y)"},
        {"-(x^2)+1", "1-x^2"}, {"(-2)^x", "(-2)^x"}, {"x^-1", "1/x"}, {"2^3^2", "512"},
    };
    for (const Case& c : cases) EXPECT_EQ(std::string(formula::simplified(c.f).text), c.expected) << c.f;
}

}  // namespace
}  // namespace ostr::test
