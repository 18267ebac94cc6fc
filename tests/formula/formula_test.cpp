// Known answers of the formula module: one row per rule, per parenthesisation case
// and per deliberate quirk.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "core/runtime.hpp"
#include "formula/formula.hpp"

namespace {

using ostr::Text;
namespace formula = ostr::formula;

std::string str(const Text& t) { return std::string(t.data(), t.size()); }

struct Row {
    const char* a;
    char op;
    const char* b;
    const char* expected;
};

// The formula table of docs/language.md is run through the evaluator by the
// language suite; its rows are not repeated.
const Row combine_rows[] = {
    // numbers fold, also into the coefficient of a product and the constant of a sum
    {"0.1", '+', "0.2", "0.3"}, {"2", '^', "10", "1024"}, {"2*x", '/', "4", "x/2"}, {"x", '/', "3", "x/3"},
    {"x", '/', "0.5", "2*x"},
    // what must not fold: infinities, NaNs and non-real powers stay written
    {"1", '/', "0", "1/0"}, {"0", '/', "0", "0/0"}, {"-8", '^', "0.5", "(-8)^0.5"}, {"x", '*', "1/0", "x/0"},
    // neutral and absorbing elements
    {"0", '+', "x", "x"}, {"x", '-', "0", "x"}, {"1", '*', "x", "x"}, {"x", '/', "1", "x"}, {"x", '^', "1", "x"},
    {"0", '*', "x", "0"}, {"0", '/', "x", "0"}, {"1", '^', "x", "1"},
    {"x", '/', "x", "x/x"},  // not 1: x may be 0
    // like terms and like factors
    {"2*x", '-', "x", "x"}, {"x*y", '-', "y*x", "0"}, {"x^2", '*', "x", "x^3"}, {"a/x", '/', "x", "a/x^2"},
    {"(x^0.5)", '^', "2", "x"}, {"2*x", '^', "2", "4*x^2"}, {"x^y", '^', "2", "x^(2*y)"},
    // parentheses exactly where the split rules need them
    {"a", '-', "b-c", "a-b+c"}, {"a", '-', "b+c", "a-b-c"}, {"a", '/', "b*c", "a/b/c"},
    {"a", '/', "b/c", "a*c/b"}, {"a^b", '^', "c", "(a^b)^c"}, {"a", '^', "b^c", "a^b^c"},
    {"a+b", '*', "c", "c*(a+b)"}, {"a+b", '^', "2", "(a+b)^2"}, {"a*b", '^', "c", "(a*b)^c"},
    {"a", '^', "b*c", "a^(b*c)"}, {"a", '^', "b+c", "a^(b+c)"}, {"x", '^', "-2", "x^-2"},
    {"2", '^', "-x", "2^(-x)"}, {"-x", '^', "0.5", "(-x)^0.5"}, {"x", '*', "y+1", "x*(y+1)"},
    {"x", '*', "-2", "-2*x"}, {"x", '+', "-2", "x-2"}, {"x^2", '*', "-1", "-(x^2)"},
    {"x^2*y", '*', "-1", "-(x^2)*y"}, {"x-1", '*', "-1", "1-x"}, {"-x", '-', "1", "-(x+1)"},
    {"x", '*', "1-y", "x*(1-y)"},
    // number texts with exponents are numbers, not differences
    {"1.5E-7", '*', "x", "1.5E-7*x"}, {"x", '-', "1.5E-7", "x-1.5E-7"},
    {"2.5E+6", '^', "x", "2.5E+6^x"}, {"x", '*', "1E+4", "1E+4*x"}, {"1E-3+1", '*', "x", "1.001*x"},
    // operand texts are read as the evaluator reads them: a sign binds tighter than ^
    {"2*-3^2", '+', "x", "x+18"}, {"-2^2", '*', "x", "4*x"},
    {"(x)", '+', "(1)", "x+1"}, {"((x+1))", '*', "2", "2*(x+1)"}, {"a-b+c", '+', "0", "a-b+c"},
    {"", '+', "x", "x"},
    // conditions, postfix operands and calls are kept whole
    {"x<2", '+', "1", "(x<2)+1"}, {"x!", '*', "2", "2*(x!)"}, {"x!", '*', "-1", "-(x!)"},
    {"f(x+1)", '*', "2", "2*f(x+1)"}, {"[1,2]", '+', "x", "[1,2]+x"},
    // the postfix takes its operand with the sign, (-x)!, as the evaluator reads it
    {"-x!", '*', "2", "2*(-x!)"},
    // a name that ends like a mantissa is bracketed only where a sign would join it
    {"2e", '-', "1", "(2e)-1"}, {"x2e", '-', "1", "x2e-1"}, {"$2e", '-', "1", "$2e-1"},
};

TEST(Formula, CombineTable) {
    for (const Row& r : combine_rows)
        EXPECT_EQ(str(formula::combine(r.a, r.op, r.b)), r.expected) << r.a << ' ' << r.op << ' ' << r.b;
}

TEST(Formula, NegateTable) {
    const std::pair<const char*, const char*> rows[] = {
        {"x", "-x"},         {"-x", "x"},           {"x^2", "-(x^2)"}, {"x+1", "-(x+1)"},
        {"x-1", "1-x"},      {"2*x", "-2*x"},       {"0", "0"},        {"1.5E-7", "-1.5E-7"},
        {"-2^2", "-4"},      {"x^2*y", "-(x^2)*y"}, {"1/x", "-1/x"},   {"-(x+y)", "x+y"},
        // signs and brackets come off one layer at a time: -(-9+2) is 7
        {"-(-9+2)", "-7"},
        // one exponent rule with the evaluator: after "$" (not a delimiter) the "-" is
        // binary, so $2e-1 is the name $2e minus 1
        {"$2e-1", "1-$2e"},
    };
    for (auto [a, expected] : rows) EXPECT_EQ(str(formula::negate(a)), expected) << a;
}

struct PairRow {
    const char *ar, *ai;
    char op;
    const char *br, *bi;
    const char *re, *im;  // nullptr: no result
};

const PairRow pair_rows[] = {
    {"x", "0", '*', "2", "0", "2*x", "0"}, {"x", "0", '*', "0", "1", "0", "x"},
    {"x", "y", '*', "x", "-y", "x^2+y^2", "0"}, {"x", "y", '+', "1", "0", "x+1", "y"},
    {"x", "y", '-', "x", "1", "0", "y-1"}, {"x", "y", '/', "2", "0", "x/2", "y/2"},
    {"1", "0", '/', "0", "1", "0", "-1"}, {"x", "y", '^', "2", "0", "x^2-y^2", "2*x*y"},
    {"x", "y", '^', "-1", "0", "x/(x^2+y^2)", "-y/(x^2+y^2)"}, {"x", "0", '^', "y", "0", "x^y", "0"},
    {"0", "1", '^', "2", "0", "-1", "0"}, {"-1", "0", '^', "0.5", "0", "(-1)^0.5", "0"},
    {"x", "y", '^', "0.5", "0", nullptr, nullptr}, {"x", "y", '^', "z", "0", nullptr, nullptr},
    {"x", "0", '^', "0", "1", nullptr, nullptr}, {"x", "y", '%', "1", "0", nullptr, nullptr},
};

TEST(Formula, PairTable) {
    for (const PairRow& r : pair_rows) {
        auto got = formula::combine_pair({Text(r.ar), Text(r.ai)}, r.op, {Text(r.br), Text(r.bi)});
        std::string row = std::string(r.ar) + "," + r.ai + " " + r.op + " " + r.br + "," + r.bi;
        if (!r.re) {
            EXPECT_FALSE(got) << row;
            continue;
        }
        ASSERT_TRUE(got) << row;
        EXPECT_EQ(str(got->re), r.re) << row;
        EXPECT_EQ(str(got->im), r.im) << row;
    }
    auto c = formula::conjugate({Text("x"), Text("y-1")});
    EXPECT_EQ(str(c.re), "x");
    EXPECT_EQ(str(c.im), "1-y");
}

// Sums built one term at a time, as the evaluator builds them, and one long text read
// whole: each call is linear in the text.
TEST(Formula, LongSums) {
    Text s("0");
    for (int k = 1; k <= 300; ++k) s = formula::combine(s, '+', ("x^" + std::to_string(k)).c_str());
    EXPECT_EQ(str(s.substr(0, 12)), "x+x^2+x^3+x^");
    EXPECT_EQ(str(formula::combine(s, '*', "2").substr(0, 12)), "2*(x+x^2+x^3");
    std::string big = "y";
    for (int k = 1; k <= 20000; ++k) {
        std::string n = std::to_string(k);
        big.append("+").append(n).append("*x^").append(n);
    }
    EXPECT_EQ(str(formula::combine(big.c_str(), '-', big.c_str())), "0");
    Text minus = formula::negate(big.c_str());
    EXPECT_EQ(str(minus.substr(0, 10)), "-(y+x+2*x^");
    EXPECT_EQ(str(formula::negate(minus)), str(formula::combine(big.c_str(), '+', "0")));
}

TEST(Formula, MalformedTextsAreKeptWhole) {
    EXPECT_EQ(str(formula::combine("(x+1", '+', "1")), "((x+1)+1");
    EXPECT_EQ(str(formula::combine("x+1]", '*', "2")), "2*(x+1])");
    EXPECT_EQ(str(formula::combine("x", '?', "y")), ">invalid_expression<");
}

}  // namespace

namespace ostr::test {
namespace {

// Raised to the chain it wrote last, a base is written without reading the chain again;
// the answer must be the one a fresh reading gives (the remembered chain is dropped with
// the formula part of the runtime record). Bases that are no plain name, and exponents
// that only look like a chain, take the full reading.
TEST(Formula, ChainedPowersAnswerAsAFreshReading) {
    const char* bases[] = {"x", "(y)", "((z1))", "-x", "2", "1", "sin(x)", "x1e", "x+1", "x*y", "x^2", "a.b", "i"};
    const char* starts[][2] = {{"x", "y"}, {"y", "x^z"}, {"(x)", "y"}, {"x", "2"}, {"x", "y^2"}, {"2", "x"}};
    for (auto& start : starts) {
        for (const char* base : bases) {
            core::free_part(core::formula_slot);
            Text chain = formula::combine(start[0], '^', start[1]);
            Text remembered = formula::combine(base, '^', chain);
            Text again = formula::combine(base, '^', chain);
            core::free_part(core::formula_slot);
            Text fresh = formula::combine(base, '^', chain);
            EXPECT_EQ(str(remembered), str(fresh)) << base << " ^ " << str(chain);
            EXPECT_EQ(str(again), str(fresh)) << base << " ^ " << str(chain);
        }
    }
    Text chain("x");
    for (int k = 0; k < 5000; ++k) chain = formula::combine(k % 2 ? "y" : "x", '^', chain);
    EXPECT_EQ(chain.size(), 10001u);
    EXPECT_EQ(str(formula::combine("2", '*', chain)), "2*" + str(chain));
}

// Long sums and products of names grow by one term per step without reading the whole
// again; every step must answer what a fresh reading gives. The terms repeat, carry
// coefficients and signs, and include numbers, sums and opaque parts, which take the full
// reading and must leave the remembered text consistent.
TEST(Formula, GrownSumsAndProductsAnswerAsAFreshReading) {
    const char* terms[] = {"x1", "x2", "-x3", "2*x4", "x1^2", "sin(x2)", "3", "0.5", "x1*x2", "x2*x1", "-(x4)",
                           "a+b", "x0e", "(x7)", "x<1", "y!", "1/0", "-2*x9", "x2/x5", "zz"};
    std::uint32_t seed = 12345;
    auto next = [&](std::uint32_t n) { return (seed = seed * 1103515245u + 12345u) / 65536u % n; };
    auto fresh = [](const Text& a, char op, const std::string& b) {
        core::free_part(core::formula_slot);
        return formula::combine(a, op, b.c_str());
    };
    for (char ops : {'+', '*'}) {
        for (int round = 0; round < 3; ++round) {
            core::free_part(core::formula_slot);
            Text acc("w");
            std::vector<std::string> used;
            for (int step = 0; step < 200; ++step) {
                // A product meets a term or a divisor rarely: the first one ends the run
                // of distinct plain names that is grown without reading.
                const bool sum = ops == '+';
                std::string t = std::string("n").append(std::to_string(next(sum ? 1000 : 100000)));
                if (sum ? !next(3) : step % 50 == 49) t = terms[next(std::size(terms))];
                char op = sum ? (next(4) ? '+' : '-') : (step % 50 == 49 ? '/' : '*');
                Text grown = formula::combine(acc, op, t.c_str());
                Text read = fresh(acc, op, t);
                ASSERT_EQ(str(grown), str(read)) << str(acc) << ' ' << op << ' ' << t;
                // One term the text already holds, on the remembered text: like terms.
                if (!used.empty()) {
                    const std::string& u = used[next(static_cast<std::uint32_t>(used.size()))];
                    Text again = formula::combine(read, op, u.c_str());
                    ASSERT_EQ(str(again), str(fresh(read, op, u))) << str(read) << ' ' << op << ' ' << u;
                    fresh(acc, op, t);  // remembers `read` again
                }
                used.push_back(t);
                acc = read;
            }
        }
    }
}

bool expired() noexcept { return true; }

// Once the stop check fires, every operation answers the abort until it is cleared.
TEST(Formula, StopCheckAbortsEveryOperation) {
    formula::set_stop_check(&expired);
    EXPECT_EQ(str(formula::combine("x", '+', "1")), ">evaluation_aborted<");
    EXPECT_TRUE(formula::stopped());
    formula::set_stop_check(nullptr);
    EXPECT_EQ(str(formula::negate("x")), ">evaluation_aborted<");
    formula::clear_stop();
    EXPECT_FALSE(formula::stopped());
    EXPECT_EQ(str(formula::combine("x", '+', "1")), "x+1");
    EXPECT_EQ(str(formula::negate("x-1")), "1-x");
}

}  // namespace
}  // namespace ostr::test
