// The predefined functions through the evaluator: the table of names and
// help entries, the call mechanics (formula fallback, argument counts,
// malformed lists), the domain and edge decisions, and the random draws.
#include <cmath>
#include <set>
#include <string>

#include "lang/builtins.hpp"
#include "eval_support.hpp"
#include "lang/globals.hpp"
#include "ostravine/hash.h"

namespace ostr::test {
namespace {

class Builtins : public EvalTest {};

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
    EXPECT_EQ(names.size(), 100u);
    EXPECT_EQ(lang::find_help("nosuch"), nullptr);
}

TEST_F(Builtins, EveryHelpExampleGivesItsAnswer) {
    // Arrays and matrices are written by the statement layer:
    // tests/script/help_test.cpp checks the examples that answer one.
    for (const lang::HelpEntry& h : lang::help_entries())
        if (!h.answer.starts_with("[") && !h.answer.starts_with("matrix:")) {
            EXPECT_EQ(answer(h.example), std::string(h.answer)) << h.example;
        }
}

// Values are checked against mpmath in reference_test.cpp and the examples
// of docs/language.md are run by the language suite; these rows pin the call
// mechanics and the decisions at the edges.
TEST_F(Builtins, Table) {
    const char* bad = ">invalid_expression<";
    check({
        // statistics: real parts only, a formula where the real part is one
        {"median(5,1+i,3,2)", "2.5"}, {"min(1+5*i,2-9*i)", "1"}, {"max(1,y+2*i)", "max(1,y+2*i)"},
        {"-max(1,y)", "-max(1,y)"}, {"max(-1,-2)*2", "-2"},
        // argument counts and malformed lists
        {"sin()", bad}, {"besselj(1)", bad}, {"legendre(0.5,2)", bad}, {"variance()", bad}, {"max(1,,2)", bad},
        {"max(,)", bad}, {"sin((1,2))", bad}, {"sin(1", bad}, {"sin(1))", bad}, {"sum(n,n,1)", bad},
        {"int(x,x,0)", bad}, {"root(x,0)", bad}, {"rand(1)", bad}, {"deriv()", bad},
        {"sin(>invalid_object<)", bad}, {"sin(>invalid_assignment<)", bad},
        // a free name keeps the call as written
        {"2*besselj(x,(1))", "2*besselj(x,(1))"}, {"hypot(3,b)", "hypot(3,b)"}, {"sum(a*n,n,1,3)", "sum(a*n,n,1,3)"},
        {"sum(n,n,1,k)", "sum(n,n,1,k)"}, {"int(a*x,x,0,1)", "int(a*x,x,0,1)"}, {"root(x-a,0,2)", "root(x-a,0,2)"},
        {"rand(0,t)", "rand(0,t)"}, {"re(x)", "re(x)"},
        // a non-finite result is the call's own text
        {"log(0)", "log(0)"}, {"arctanh(1)", "arctanh(1)"}, {"sinh(800)", "sinh(800)"},
        {"besseli(1000,0)", "besseli(1000,0)"}, {"airyb(200)", "airyb(200)"}, {"comb(2000,1000)", "comb(2000,1000)"},
        // domains
        {"legendre(0.5,2,3)", bad}, {"legendre(0.5,2.5,1)", bad}, {"legendre(0.5,-1,0)", bad}, {"gcd(2^60,3)", bad},
        {"perm(5,-1)", bad}, {"comb(5+i,2)", bad}, {"besselk(-1,1)", bad}, {"bessely(-2,1)", bad},
        {"besselj(-2,0.5)", bad}, {"besselj(0,-0.5)", bad}, {"arctan2(1,i)", bad}, {"hypot(i,1)", bad},
        {"gcd(0,0)", "0"},
        // the rounding family part by part; noise of a real result is not shown
        {"ceil(-1.5)", "-1"}, {"round(-1.5)", "-2"}, {"round(0.5)", "1"}, {"ceil(0.1-0.1*i)", "1"},
        {"floor(i*0.5)", "0"}, {"sign(0)", "0"}, {"mod(5.5,2)", "1.5"}, {"mod(7+5*i,2+i)", "1+2*i"}, {"im(2)", "0"},
        {"exp(i*pi)", "-1"},
    });
    set("a", "2");
    check({{"sum(a*n,n,1,3)", "12"}, {"int(a*x,x,0,1)", "1"}, {"root(x-a,0,3)", "2"}});
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
    check({{"randint(0,2^31)", ">invalid_expression<"}, {"rand(1+i,1+i)", "1+i"}});
}

// The further special functions at the edges of their domains: an argument
// outside is an error word, a pole or an overflow keeps the call's text, and
// the identities that tie them together hold through the evaluator.
TEST_F(Builtins, SpecialFunctionDomainsAndEdges) {
    const char* bad = ">invalid_expression<";
    check({
        // outside the domain, or an imaginary part where the argument is real
        {"erfinv(2)", bad}, {"erfinv(-1.5)", bad}, {"gammainc(-1,2)", bad}, {"gammaincc(0,2)", bad},
        {"gammainc(2,-1)", bad}, {"betainc(0,1,0.5)", bad}, {"betainc(1,1,2)", bad}, {"digamma(-3)", bad},
        {"beta(-1,2)", bad}, {"lambertw(-1)", bad}, {"lambertw(1,-1)", bad}, {"lambertw(-0.1,1)", bad},
        {"lambertw()", bad}, {"lambertw(1,0,0)", bad}, {"li2(1+i)", bad}, {"ellipk(2)", bad}, {"ellipe(1.5)", bad},
        {"sphbesselj(1,0.5)", bad}, {"sphbesselj(1,-1)", bad}, {"sphbessely(0,1)", bad}, {"sphbessely(-1,1)", bad},
        {"expint(-1)", bad}, {"erf(i)", bad}, {"ellipk(1,2)", bad}, {"gammainc(1)", bad},
        // poles and overflow: the call's text
        {"gamma(0)", "gamma(0)"}, {"gamma(-2)", "gamma(-2)"}, {"lgamma(0)", "lgamma(0)"}, {"zeta(1)", "zeta(1)"},
        {"ellipk(1)", "ellipk(1)"}, {"ei(0)", "ei(0)"}, {"expint(0)", "expint(0)"}, {"gamma(172)", "gamma(172)"},
        {"erfinv(1)", "erfinv(1)"}, {"ei(1000)", "ei(1000)"},
        // a free name keeps the call
        {"gamma(q)", "gamma(q)"}, {"lambertw(q,-1)", "lambertw(q,-1)"}, {"li2(q)", "li2(q)"},
        // values at exact points and identities
        {"gamma(5)", "24"}, {"gamma(0.5)", "1.77245385090552"}, {"lgamma(1)", "0"}, {"lgamma(2)", "0"}, {"digamma(1)+digamma(2)",
        "-0.154431329803066"}, {"erf(0)", "0"}, {"erfc(0)", "1"}, {"erfinv(0)", "0"}, {"zeta(0)", "-0.5"},
        {"zeta(-1)", "-0.0833333333333333"}, {"li2(0)", "0"}, {"li2(1)", "1.64493406684823"},
        {"lambertw(0)", "0"}, {"lambertw(exp(1))", "1"}, {"lambertw(-0.1,-1)", "-3.5771520639573"},
        {"ellipk(0)", "1.5707963267949"}, {"ellipe(0)", "1.5707963267949"}, {"sphbesselj(0,0)", "1"}, {"sphbesselj(0,3)", "0"}, {"sphbesselj(-1,1)",
        "-0.301168678939757"}, {"gammainc(1,1)+exp(-1)", "1"}, {"betainc(1,1,0.3)", "0.3"}, {"beta(1,1)", "1"},
        {"5.5!", "287.885277815044"}, {"gamma(6.5)", "287.885277815044"}, {"(1+i)!", "0.652965496420167+0.343065839816545*i"},
        {"comb(1029,514)", "1.4298206864989E+308"}, {"perm(10.5,3.25)", "1420.5701114564"},
    });
}

}  // namespace
}  // namespace ostr::test
