// The predefined functions through the evaluator: the table of names and
// help entries, the call mechanics (formula fallback, argument counts,
// malformed lists), the domain and edge decisions, and the random draws.
#include <cmath>
#include <set>
#include <string>

#include "lang/builtins.hpp"
#include "lang/eval_support.hpp"
#include "lang/globals.hpp"
#include "ostravine/hash.h"

namespace ostr::test {
namespace {

struct Row {
    const char* expression;
    const char* expected;
};

class Builtins : public EvalTest {
protected:
    void check(std::initializer_list<Row> rows) {
        for (const Row& r : rows) EXPECT_EQ(answer(r.expression), r.expected) << "expression: " << r.expression;
    }
};

TEST_F(Builtins, EveryNameIsRegisteredWithItsArityAndHelp) {
    const lang::Globals* g = lang::globals();
    std::set<std::string> names;
    for (const lang::HelpEntry& h : lang::help_entries()) {
        std::string sig(h.signature), name = sig.substr(0, sig.find('('));
        std::string count = sig.substr(sig.find('(') + 1);
        count.pop_back();
        auto it = g->builtins.find(name);
        ASSERT_NE(it, g->builtins.end()) << name;
        EXPECT_EQ(it->second.arity, count.empty() ? -1 : std::stoi(count)) << name;
        EXPECT_EQ(lang::find_help(name), &h);
        EXPECT_TRUE(names.insert(name).second) << "twice: " << name;
        EXPECT_FALSE(h.form.empty() || h.meaning.empty()) << name;
        EXPECT_EQ(h.form.substr(0, name.size() + 1), name + "(") << name;
    }
    EXPECT_EQ(names.size(), g->builtins.size());
    EXPECT_EQ(names.size(), 49u);
    EXPECT_EQ(lang::find_help("nosuch"), nullptr);
}

TEST_F(Builtins, EveryHelpExampleGivesItsAnswer) {
    for (const lang::HelpEntry& h : lang::help_entries())
        EXPECT_EQ(answer(h.example), std::string(h.answer)) << h.example;
}

TEST_F(Builtins, StatisticsOverRealParts) {
    check({
        {"max(3,7,5)", "7"}, {"max(3)", "3"}, {"min(3,7,5)", "3"}, {"max(1,y)", "max(1,y)"},
        {"max(1+5*i,2)", "2"}, {"min(1+5*i,2-9*i)", "1"}, {"mean(1+100*i,3)", "2"},
        {"median(5,1+i,3,2)", "2.5"}, {"variance(2,4,4,4,5,5,7,9)", "4.57142857142857"},
        // Only the real text must be a number: the imaginary part is not used.
        {"max(1,2+y*i)", "2"}, {"max(1,y+2*i)", "max(1,y+2*i)"},
        {"max(-1,-2)*2", "-2"}, {"1+max(1,2)", "3"}, {"-max(1,y)", "-max(1,y)"},
        {"max(max(1,5),min(2,8))", "5"}, {"max(sin(0),cos(0))", "1"},
    });
    set("y", "9");
    check({{"max(1,y)", "9"}, {"mean(y,1)", "5"}});
}

TEST_F(Builtins, ArgumentCountsAndMalformedLists) {
    check({
        {"sin()", ">invalid_expression<"}, {"sin(1,2)", ">invalid_expression<"},
        {"besselj(1)", ">invalid_expression<"}, {"legendre(0.5,2)", ">invalid_expression<"},
        {"max()", ">invalid_expression<"}, {"variance()", ">invalid_expression<"},
        {"hypot(1,)", ">invalid_expression<"}, {"max(1,,2)", ">invalid_expression<"},
        {"max(,)", ">invalid_expression<"}, {"sin((1,2))", ">invalid_expression<"},
        {"sin(1", ">invalid_expression<"}, {"sin(1))", ">invalid_expression<"},
        {"sum(n,n,1)", ">invalid_expression<"}, {"int(x,x,0)", ">invalid_expression<"},
        {"root(x,0)", ">invalid_expression<"}, {"rand(1)", ">invalid_expression<"},
        {"deriv()", ">invalid_expression<"}, {"sin(>invalid_object<)", ">invalid_expression<"},
        {"sin(>invalid_assignment<)", ">invalid_expression<"},
    });
}

TEST_F(Builtins, FormulaFallbackKeepsTheCallAsWritten) {
    check({
        {"sin(x)", "sin(x)"}, {"sin(x)+1", "sin(x)+1"}, {"2*besselj(x,(1))", "2*besselj(x,(1))"},
        {"hypot(3,b)", "hypot(3,b)"}, {"sum(a*n,n,1,3)", "sum(a*n,n,1,3)"}, {"sum(n,n,1,k)", "sum(n,n,1,k)"},
        {"int(a*x,x,0,1)", "int(a*x,x,0,1)"}, {"root(x-a,0,2)", "root(x-a,0,2)"},
        {"rand(0,t)", "rand(0,t)"}, {"deriv(x^2,x,3)", "deriv(x^2,x,3)"},
    });
    set("a", "2");
    check({{"sum(a*n,n,1,3)", "12"}, {"int(a*x,x,0,1)", "1"}, {"root(x-a,0,3)", "2"}});
}

// Non-finite results follow the evaluator's rule: the call's own text.
// Arguments outside a function's domain are errors.
TEST_F(Builtins, DomainsAndOverflow) {
    check({
        {"exp(1000)", "exp(1000)"}, {"ln(0)", "ln(0)"}, {"log(0)", "log(0)"}, {"arctanh(1)", "arctanh(1)"},
        {"sinh(800)", "sinh(800)"}, {"mod(5,0)", "mod(5,0)"}, {"besseli(1000,0)", "besseli(1000,0)"},
        {"airyb(200)", "airyb(200)"}, {"comb(2000,1000)", "comb(2000,1000)"},
        {"legendre(1.5,2,1)", ">invalid_expression<"}, {"legendre(0.5,2,3)", ">invalid_expression<"},
        {"legendre(0.5,2.5,1)", ">invalid_expression<"}, {"legendre(0.5,-1,0)", ">invalid_expression<"},
        {"gcd(1.5,3)", ">invalid_expression<"}, {"gcd(2^60,3)", ">invalid_expression<"},
        {"comb(-1,2)", ">invalid_expression<"}, {"perm(5,-1)", ">invalid_expression<"},
        {"comb(5+i,2)", ">invalid_expression<"}, {"besselj(1+i,0)", ">invalid_expression<"},
        {"bessely(0,1)", ">invalid_expression<"}, {"besselk(-1,1)", ">invalid_expression<"},
        {"bessely(-2,1)", ">invalid_expression<"}, {"besselj(-2,0.5)", ">invalid_expression<"},
        {"besselj(0,-0.5)", ">invalid_expression<"}, {"variance(3)", ">invalid_expression<"},
        {"arctan2(1,i)", ">invalid_expression<"}, {"hypot(i,1)", ">invalid_expression<"},
        {"comb(5,7)", "0"}, {"gcd(0,0)", "0"}, {"gcd(-12,18)", "6"}, {"perm(5,0)", "1"},
        {"besselj(1,-2)", "0.1149034849319"}, {"besseli(1,-2)", "0.135747669767038"}, {"besselj(-2,1)", "-0.576724807756873"},
        {"legendre(1,3,0)", "1"}, {"legendre(-1,3,0)", "-1"}, {"legendre(0.5,1,1)", "-0.866025403784439"},
        {"legendre(0.5,1,-1)", "0.433012701892219"}, {"comb(4.5,2)", "7.875"},
    });
}

TEST_F(Builtins, RoundingFamilyOnComplexNumbers) {
    check({
        {"ceil(-1.5)", "-1"}, {"floor(-1.5)", "-2"}, {"round(-1.5)", "-2"}, {"round(0.5)", "1"},
        {"round(2.4+2.6*i)", "2+3*i"}, {"ceil(0.1-0.1*i)", "1"}, {"floor(i*0.5)", "0"},
        {"sign(0)", "0"}, {"sign(3+4*i)", "0.6+0.8*i"}, {"sign(-2*i)", "-i"},
        {"mod(7,3)", "1"}, {"mod(-7,3)", "2"}, {"mod(7,-3)", "-2"}, {"mod(5.5,2)", "1.5"},
        {"mod(5+3*i,2)", "1+i"}, {"mod(7+5*i,2+i)", "1+2*i"},
        {"abs(-3)", "3"}, {"arg(-i)", "-1.5707963267949"}, {"re(x)", "re(x)"}, {"im(2)", "0"},
    });
}

TEST_F(Builtins, ComplexArgumentsAndBranchCuts) {
    check({
        {"sqrt(-4)", "2*i"}, {"sqrt(i)", "0.707106781186548+0.707106781186547*i"}, {"ln(-1)", "3.14159265358979*i"},
        {"exp(i*pi)", "-1"}, {"sin(i)", "1.1752011936438*i"}, {"cosh(i)", "0.54030230586814"},
        {"arcsin(2)", "1.5707963267949-1.31695789692482*i"}, {"arcsin(-2)", "-1.5707963267949+1.31695789692482*i"},
        {"arccos(2)", "1.31695789692482*i"}, {"arccosh(0.5)", "1.0471975511966*i"},
        {"arctan(2*i)", "1.5707963267949+0.549306144334055*i"},
        {"arctan(-2*i)", "1.5707963267949-0.549306144334055*i"},
        {"arctanh(2)", "0.549306144334055+1.5707963267949*i"},
        {"arcsinh(-2*i)", "-1.31695789692482-1.5707963267949*i"}, {"log(-10)", "1+1.36437635384184*i"},
    });
}

// Results carry 15 significant digits, the digits of the number text.
TEST_F(Builtins, ResultsAreWrittenWithFifteenDigits) {
    EXPECT_EQ(answer("exp(1)", 17), "2.71828182845905");
    EXPECT_EQ(answer("sin(1)", 17), answer("0.841470984807897", 17));
    EXPECT_EQ(answer("e", 17), "2.7182818284590451");
    EXPECT_EQ(answer("sin(0)-0", 17), "0");
}

TEST_F(Builtins, RandomDrawsComeFromTheSessionSeed) {
    std::int32_t state = -12345;
    double u = RandomReal(0, 1, &state);
    env->random_seed = -12345;
    lang::Value v = lang::evaluate("rand(0,1)", env);
    EXPECT_NEAR(v.num.re, u, 1e-15);
    EXPECT_EQ(env->random_seed, state);  // the session's seed is the generator's state
    std::string next = answer("rand(0,1)");
    env->random_seed = -12345;
    (void)answer("rand(0,1)");
    EXPECT_EQ(answer("rand(0,1)"), next);
    env->random_seed = -99;
    for (int k = 0; k < 200; ++k) {
        lang::Value v = lang::evaluate("randint(-3,4+2*i)", env);
        ASSERT_EQ(v.kind, lang::Value::Kind::number);
        EXPECT_TRUE(v.num.re >= -3 && v.num.re <= 4 && v.num.re == std::floor(v.num.re)) << v.num.re;
        EXPECT_TRUE(v.num.im >= 0 && v.num.im <= 2 && v.num.im == std::floor(v.num.im)) << v.num.im;
        lang::Value r = lang::evaluate("rand(5,2+i)", env);
        EXPECT_TRUE(r.num.re >= 2 && r.num.re <= 5 && r.num.im >= 0 && r.num.im <= 1);
    }
    check({{"randint(0.5,3)", ">invalid_expression<"}, {"randint(0,2^31)", ">invalid_expression<"},
           {"randint(5,5)", "5"}, {"rand(1+i,1+i)", "1+i"}});
}

TEST_F(Builtins, NamesCanBeArgumentsOfEachOther) {
    set("x", "0.5");
    check({{"sin(x)^2+cos(x)^2", "1"}, {"arcsin(sin(x))", "0.5"}, {"sqrt(abs(-16))", "4"},
           {"besselj(x,0)+besselj(x,2)", "0.969073830699496"}});
}

}  // namespace
}  // namespace ostr::test
