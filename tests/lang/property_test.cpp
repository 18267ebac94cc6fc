// Numeric answers against values made with mpmath (tests/lang/data/
// make_differential.py made the cases), and the formula round trip: the
// formula an expression with free names evaluates to gives, once the names
// have values, the number the expression itself gives.
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "eval_support.hpp"

namespace ostr::test {
namespace {

class Property : public EvalTest {};

TEST_F(Property, DifferentialAgainstMpmath) {
    std::ifstream in(OSTR_TEST_DATA "/differential.txt");
    ASSERT_TRUE(in) << "missing " OSTR_TEST_DATA "/differential.txt";
    std::string line;
    int cases = 0;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string text, re, im, scale;
        std::getline(fields, text, '\t');
        std::getline(fields, re, '\t');
        std::getline(fields, im, '\t');
        std::getline(fields, scale, '\t');
        lang::Value v = lang::evaluate(text, env);
        ASSERT_EQ(v.kind, lang::Value::Kind::number) << text << " gave " << answer(text);
        // The double evaluation may lose what cancellation removes from the
        // largest intermediate magnitude; a wrong cut is off by far more.
        double tol = 1e-10 * std::max(1.0, std::stod(scale));
        EXPECT_NEAR(v.num.re, std::stod(re), tol) << text;
        EXPECT_NEAR(v.num.im, std::stod(im), tol) << text;
        ++cases;
    }
    EXPECT_EQ(cases, 1500);
}

// Random expressions over x, y and small numbers, printed with the fewest
// parentheses the language's grouping needs. (Texts are joined by cat(), not
// "literal" + string: g++ 12 warns wrongly (-Wrestrict) on the latter.)
std::string cat(std::string_view a, std::string_view b, std::string_view c) {
    std::string s;
    s.reserve(a.size() + b.size() + c.size());
    s.append(a).append(b).append(c);
    return s;
}

class Generator {
public:
    explicit Generator(unsigned seed) : rng_(seed) {}
    struct Expr {
        std::string text;
        char kind;  // 'a' atom, 'n' negative literal, or the operator
    };
    Expr make(int depth) {
        if (depth == 0 || pick(4) == 0) return atom();
        int k = pick(20);
        if (k == 0) return {cat("-(", make(depth - 1).text, ")"), 'a'};
        if (k == 1) return {cat("(", make(depth - 1).text, ")'"), 'a'};
        if (k == 2) return {cat("(", make(depth - 1).text, ")!"), 'a'};
        char op = "+-*/^"[pick(5)];
        Expr l = make(depth - 1), r = make(depth - 1);
        auto par = [](Expr& e, std::string_view kinds) {
            if (kinds.find(e.kind) != std::string_view::npos) e.text = cat("(", e.text, ")");
        };
        switch (op) {
        case '+': par(r, "+-"); break;
        case '-': par(l, "+"), par(r, "+-"); break;
        case '*': par(l, "+-"), par(r, "+-*"); break;
        case '/': par(l, "+-*"), par(r, "+-*/"); break;
        case '^': par(l, "+-*/^n"), par(r, "+-*/"); break;
        }
        return {cat(l.text, std::string(1, op), r.text), op};
    }

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
    Expr atom() {
        switch (pick(7)) {
        case 0:
        case 1: return {"x", 'a'};
        case 2: return {"y", 'a'};
        case 3: return {"i", 'a'};
        case 4: return {cat("-", std::to_string(1 + pick(5)), ""), 'n'};
        default: return {cat(std::to_string(pick(6)), pick(3) == 0 ? ".5" : "", ""), 'a'};
        }
    }
    std::mt19937 rng_;
};

bool close(Complex a, Complex b) {
    double scale = std::max({1.0, std::hypot(a.re, a.im), std::hypot(b.re, b.im)});
    return std::hypot(a.re - b.re, a.im - b.im) <= 1e-9 * scale;
}

TEST_F(Property, FormulaRoundTrip) {
    Generator gen(7);
    int checked = 0, formulas = 0;
    for (int n = 0; n < 3000; ++n) {
        std::string text = gen.make(1 + n % 5).text;
        obj::remove(env, "x");
        obj::remove(env, "y");
        lang::Value free = lang::evaluate(text, env);
        if (free.is_error()) continue;  // a formula the text arithmetic cannot express
        Text formula = lang::display(free, 17);
        if (free.kind == lang::Value::Kind::formula) ++formulas;
        set("x", "1.5");
        set("y", "-0.75");
        lang::Value direct = lang::evaluate(text, env);
        lang::Value again = lang::evaluate(formula, env);
        // A division by zero is kept as text, and a formula may fold 0 times
        // it away on one side only: such cases have no value to compare.
        if (direct.kind != lang::Value::Kind::number || std::string_view(formula).find("/0") != std::string_view::npos)
            continue;
        ASSERT_EQ(again.kind, lang::Value::Kind::number) << text << "  ->  " << formula;
        EXPECT_TRUE(close(direct.num, again.num))
            << text << "  ->  " << formula << ": " << answer(text) << " vs " << answer(formula);
        ++checked;
    }
    EXPECT_GT(checked, 2000);
    EXPECT_GT(formulas, 1500);
}

}  // namespace
}  // namespace ostr::test
