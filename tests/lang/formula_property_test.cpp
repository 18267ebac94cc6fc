// Property: a formula built through combine/negate/combine_pair has the value of the
// expression it was built from: the evaluator reads both, with the same numbers bound
// to the names. Here, beside the evaluator, so that no second reader of the grammar
// is needed to check the first.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "formula/formula.hpp"
#include "eval_support.hpp"

namespace {

using cx = std::complex<double>;
using ostr::Text;
namespace formula = ostr::formula;
constexpr auto npos = std::string_view::npos;

// Negating a real number leaves a zero imaginary part with its sign bit set, and a
// power takes the other side of the branch cut for it. Texts carry no such zeros.
cx clean(cx v) { return v.imag() == 0 ? cx(v.real(), 0.0) : v; }

// Integer powers by multiplication, so that real values stay exactly real.
cx power(cx a, cx b) {
    double n = b.real();
    if (b.imag() != 0 || n != std::trunc(n) || std::fabs(n) > 64) return clean(std::pow(a, b));
    cx r = 1;
    for (auto k = static_cast<unsigned>(std::fabs(n)); k; k >>= 1, a *= a)
        if (k & 1) r *= a;
    return clean(n < 0 ? 1.0 / r : r);
}

using Names = std::array<cx, 4>;
constexpr const char* names[] = {"x", "y", "z", "t2"};

// No bracket pair around a lone name or an unsigned number.
bool has_needless_parens(std::string_view t) {
    for (std::size_t k = t.find('('); k != npos; k = t.find('(', k + 1)) {
        std::string_view inside = t.substr(k + 1, t.find(')', k) - k - 1);
        if (!inside.empty() && inside.find_first_of("+-*/^()") == npos) return true;
    }
    return false;
}

// ---- random expressions, and their values with a first-order bound on the rounding

struct Expr {
    char op = 0;  // 0 leaf, 'n' negation, 'c' conjugate, else a binary operator
    std::string re, im = "0";
    std::unique_ptr<Expr> a, b;
};

std::unique_ptr<Expr> make(std::mt19937& rng, int depth, bool pairs) {
    static const char* const leaves[] = {"x", "y", "z", "t2", "0", "1", "2", "3", "-1", "-2", "0.5", "-0.25",
                                         "7", "1.5E-7", "-4E-5", "2.5E+6", "1E+4", "0.001", "12.75"};
    // Pair parts stay real formulas only while negative bases get integer exponents;
    // conjugation relies on that, so pairs get only those and the real test the rest.
    static const char* const exponents[] = {"2", "3", "-1", "-2", "0", "1", "0.5", "1.5"};
    auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    auto e = std::make_unique<Expr>();
    int r = pick(10);
    if (depth == 0 || r < 3) {
        e->re = leaves[pick(2) ? pick(4) : pick(19)];
        if (pairs && pick(3) == 0) e->im = leaves[pick(19)];
    } else if (r == 3) {
        e->op = pairs && pick(2) ? 'c' : 'n';
        e->a = make(rng, depth - 1, pairs);
    } else {
        e->op = "+-*/^+-*"[pick(8)];
        e->a = make(rng, depth - 1, pairs);
        if (e->op != '^' || (!pairs && pick(4) == 0)) {
            e->b = make(rng, e->op == '^' ? 1 : depth - 1, pairs);
        } else {
            e->b = std::make_unique<Expr>();
            e->b->re = exponents[pick(pairs ? 6 : 8)];
        }
    }
    return e;
}

struct Bounded {
    cx v;
    double err;
};
constexpr double unit = 1e-15;  // 15-digit number texts dominate double rounding

// A leaf: one of the names or a number.
cx leaf(const std::string& t, const Names& n) {
    for (std::size_t i = 0; i < 4; ++i)
        if (t == names[i]) return n[i];
    double v = 0;
    formula::is_number(t, &v);
    return v;
}

// The expression's value in plain complex arithmetic, with a first-order bound on
// its rounding: it decides where the evaluator's two values must agree.
std::optional<Bounded> reference(const Expr& e, const Names& n) {
    if (!e.op) {
        cx v = clean(leaf(e.re, n) + cx(0, 1) * leaf(e.im, n));
        return Bounded{v, unit * std::abs(v)};
    }
    auto a = reference(*e.a, n);
    if (!a) return a;
    if (e.op == 'n') return Bounded{clean(-a->v), a->err};
    if (e.op == 'c') return Bounded{clean(std::conj(a->v)), a->err};
    auto b = reference(*e.b, n);
    if (!b) return std::nullopt;
    double A = std::abs(a->v), B = std::abs(b->v);
    switch (e.op) {
        case '+': return Bounded{clean(a->v + b->v), a->err + b->err + unit * (A + B)};
        case '-': return Bounded{clean(a->v - b->v), a->err + b->err + unit * (A + B)};
        case '*': return Bounded{clean(a->v * b->v), a->err * B + b->err * A + unit * A * B};
        case '/': {
            cx q = clean(a->v / b->v);
            return Bounded{q, (a->err + std::abs(q) * b->err) / B + unit * std::abs(q)};
        }
    }
    cx p = power(a->v, b->v);
    double P = std::abs(p), L = std::abs(std::log(a->v));
    // A base that rounding may have put on either side of the branch cut.
    bool near_cut = a->v.real() < 0 && a->v.imag() != 0 && std::fabs(a->v.imag()) <= 1e-9 * A + a->err;
    if (near_cut && b->v != cx(std::trunc(b->v.real()))) return Bounded{p, INFINITY};
    return Bounded{p, P * (B / A * a->err + L * b->err + 4 * unit * (1 + B * L))};
}

// The expression as a text of the language, every operand bracketed.
std::string text_of(const Expr& e) {
    if (!e.op) return e.im == "0" ? "(" + e.re + ")" : "(" + e.re + "+i*(" + e.im + "))";
    if (e.op == 'n') return "(-" + text_of(*e.a) + ")";
    if (e.op == 'c') return "(" + text_of(*e.a) + "')";
    return "(" + text_of(*e.a) + e.op + text_of(*e.b) + ")";
}

// The formula, built bottom-up as the evaluator builds it.
std::optional<formula::TextPair> build(const Expr& e, bool pairs) {
    if (!e.op) return formula::TextPair{Text(e.re.c_str()), Text(e.im.c_str())};
    auto a = build(*e.a, pairs);
    if (!a) return a;
    if (e.op == 'n') return formula::TextPair{formula::negate(a->re), formula::negate(a->im)};
    if (e.op == 'c') return formula::conjugate(*a);
    auto b = build(*e.b, pairs);
    if (!b || pairs) return b ? formula::combine_pair(*a, e.op, *b) : b;
    return formula::TextPair{formula::combine(a->re, e.op, b->re), Text("0")};
}

class FormulaProperty : public ostr::test::EvalTest {
protected:
    void bind(const Names& n) {
        for (std::size_t i = 0; i < 4; ++i)
            ostr::obj::store(env, ostr::lang::to_object(ostr::lang::Value::number({n[i].real(), n[i].imag()}), env, names[i]));
    }
    // The evaluator's value of a text, when it is a number.
    std::optional<cx> value(std::string_view t) {
        ostr::lang::Value v = ostr::lang::evaluate(t, env);
        if (v.kind != ostr::lang::Value::Kind::number) return std::nullopt;
        return clean(cx(v.num.re, v.num.im));
    }
    void run(unsigned seed, int count, bool pairs);
};

// Generates, builds and compares the value of re + i*im with the expression's at
// random points.
void FormulaProperty::run(unsigned seed, int count, bool pairs) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> mag(0.5, 2.5);
    int compared = 0, unexpressed = 0;
    for (int i = 0; i < count; ++i) {
        auto e = make(rng, 1 + i % 5, pairs);
        auto f = build(*e, pairs);
        if (!f) {
            ++unexpressed;
            continue;
        }
        for (const Text* part : {&f->re, &f->im}) {
            ASSERT_FALSE(has_needless_parens(*part)) << *part;
            // a formula read back is already as simple as this module makes it
            ASSERT_EQ(std::string(formula::combine(*part, '*', "1").c_str()), part->c_str());
        }
        std::string expression = text_of(*e);
        for (int point = 0; point < 4; ++point) {
            Names n;
            for (cx& v : n) v = rng() % 2 ? mag(rng) : -mag(rng);
            auto ref = reference(*e, n);
            if (!ref || !std::isfinite(std::abs(ref->v)) || !(ref->err <= 1e-9 * std::abs(ref->v))) continue;
            bind(n);
            auto want = value(expression);
            if (!want) continue;  // an infinity or NaN on the way is kept as text
            auto re = value(f->re), im = value(f->im);
            ASSERT_TRUE(re && im) << "unreadable: " << f->re << " | " << f->im;
            cx got = clean(*re + cx(0, 1) * *im);
            ASSERT_LE(std::abs(got - *want), 100 * ref->err + 1e-13 * std::abs(*want))
                << f->re << " | " << f->im << " gives " << got << ", " << expression << " gives " << *want;
            ++compared;
        }
    }
    EXPECT_GT(compared, 2 * count) << unexpressed << " without a result";
}

TEST_F(FormulaProperty, RealFormulasKeepTheirValue) { run(20261122, 4000, false); }
TEST_F(FormulaProperty, ComplexPairsKeepTheirValue) { run(13, 2000, true); }

// Nesting beyond what the module descends into is kept as written, so the value holds;
// far deeper nesting must not exhaust the stack.
TEST_F(FormulaProperty, DeepNesting) {
    std::string s = "x";
    for (int k = 0; k < 300; ++k) s = "(" + s + (k % 2 ? "+1)*y" : "-z)^2");
    Text f = formula::combine(s.c_str(), '+', "1");
    bind(Names{cx(1.0000001), cx(1), cx(1), cx(1)});
    auto want = value(s), got = value(f);
    ASSERT_TRUE(want && got);
    EXPECT_LE(std::abs(*got - (*want + 1.0)), 1e-9 * std::abs(*want));

    std::string deep(100000, '(');
    deep += "x+1";
    for (int k = 0; k < 100000; ++k) deep += k % 2 ? ")*2" : ")";
    EXPECT_FALSE(formula::combine(deep.c_str(), '*', "x").empty());
    std::string parens = std::string(100000, '(') + "x" + std::string(100000, ')');
    EXPECT_EQ(std::string(formula::combine(parens.c_str(), '+', "1").c_str()), "x+1");
}

}  // namespace
