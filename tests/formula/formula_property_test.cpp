// Property: a formula built through combine/negate/combine_pair, read back by the
// language's split rules, has the value of the expression it was built from.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "lang/formula.hpp"

namespace {

using cx = std::complex<double>;

// Negating a real number leaves a zero imaginary part with its sign bit set, and a
// power takes the other side of the branch cut for it. Texts carry no such zeros, so
// both evaluations here drop the sign of a zero imaginary part.
cx clean(cx v) { return v.imag() == 0 ? cx(v.real(), 0.0) : v; }

// Integer powers by multiplication, so that real values stay exactly real; others by
// the principal branch.
cx power(cx a, cx b) {
    double n = b.real();
    if (b.imag() != 0 || n != std::trunc(n) || std::fabs(n) > 64) return clean(std::pow(a, b));
    cx r = 1, s = a;
    for (auto k = static_cast<unsigned>(std::fabs(n)); k; k >>= 1) {
        if (k & 1) r *= s;
        s *= s;
    }
    return clean(n < 0 ? 1.0 / r : r);
}
using ostr::Text;
namespace formula = ostr::formula;

// ---- a small reader of expression texts, cut as the evaluator cuts them

// split_first: cut, then take leading signs and enclosing parentheses off the
// operands that have no operator left. normalise_first: take them off before cutting,
// as a reader might that applies that step to every operand; the formula texts must
// mean the same under both.
enum class Order { split_first, normalise_first };

struct Names {
    cx x, y, z, t2;
};

class Evaluator {
public:
    Evaluator(const Names& n, Order o) : names_(n), order_(o) {}
    std::optional<cx> operator()(std::string_view t) const { return eval(t); }

private:
    Names names_;
    Order order_;

    static bool literal(std::string_view t, double* v) {
        std::string s(t);
        if (s.empty() || s.find_first_of(" \t") != std::string::npos) return false;
        char* end = nullptr;
        *v = std::strtod(s.c_str(), &end);
        return end == s.c_str() + s.size() && std::isfinite(*v) && s.find_first_of("xXnN") == std::string::npos;
    }
    static int depth_change(char c) {
        if (c == '(' || c == '[' || c == ':') return 1;
        if (c == ')' || c == ']' || c == ';') return -1;
        return 0;
    }
    static bool mantissa_before(std::string_view t, std::size_t epos) {
        std::size_t q = epos;
        bool digit = false;
        while (q > 0 && (std::isdigit(static_cast<unsigned char>(t[q - 1])) || t[q - 1] == '.'))
            digit |= t[--q] != '.';
        return digit && (q == 0 || !(std::isalnum(static_cast<unsigned char>(t[q - 1])) || t[q - 1] == '_'));
    }
    // Rightmost depth-zero c at or after `from`; for + and - only binary occurrences.
    static std::size_t rightmost(std::string_view t, char c, std::size_t from) {
        int depth = 0;
        for (std::size_t k = t.size(); k-- > from;) {
            depth -= depth_change(t[k]);
            if (depth != 0 || t[k] != c) continue;
            if (c == '+' || c == '-') {
                char before = t[k - 1];
                if (std::string_view("+-*/^(=[:~&|<>@#,").find(before) != std::string_view::npos) continue;
                if ((before == 'e' || before == 'E') && mantissa_before(t, k - 1)) continue;
            }
            return k;
        }
        return std::string_view::npos;
    }
    static std::size_t leftmost(std::string_view t, char c, std::size_t from) {
        int depth = 0;
        for (std::size_t k = from; k < t.size(); ++k) {
            if (depth == 0 && t[k] == c) return k;
            depth += depth_change(t[k]);
        }
        return std::string_view::npos;
    }
    // Leading signs and enclosing parentheses off; false when nothing came off.
    static bool peel(std::string_view& t, bool& negative) {
        std::string_view start = t;
        for (;;) {
            if (!t.empty() && (t[0] == '-' || t[0] == '+')) {
                negative ^= t[0] == '-';
                t.remove_prefix(1);
            } else if (!t.empty() && t[0] == '(' && closes_whole(t)) {
                t = t.substr(1, t.size() - 2);
            } else {
                break;
            }
        }
        return t.size() != start.size();
    }
    static bool closes_whole(std::string_view t) {
        int depth = 0;
        for (std::size_t k = 0; k < t.size(); ++k) {
            depth += depth_change(t[k]);
            if (depth == 0) return k == t.size() - 1;
        }
        return false;
    }
    std::optional<cx> peeled(std::string_view t) const {
        bool negative = false;
        if (!peel(t, negative)) return std::nullopt;
        auto v = eval(t);
        if (v && negative) *v = clean(-*v);
        return v;
    }
    std::optional<cx> eval(std::string_view t) const {
        if (t.empty()) return cx(0);
        double v;
        if (literal(t, &v)) return cx(v);
        if (order_ == Order::normalise_first && t.size() >= 2)
            if (auto r = peeled(t)) return r;
        std::size_t lead = 0;
        while (lead < t.size() && (t[lead] == '+' || t[lead] == '-')) ++lead;
        std::size_t p = std::string_view::npos;
        for (char op : {'+', '-', '*', '/'})
            if (p == std::string_view::npos) p = rightmost(t, op, lead + 1);
        if (p == std::string_view::npos) p = leftmost(t, '^', lead);
        if (p != std::string_view::npos && p > 0) {
            auto a = eval(t.substr(0, p)), b = eval(t.substr(p + 1));
            if (!a || !b) return std::nullopt;
            switch (t[p]) {
                case '+': return clean(*a + *b);
                case '-': return clean(*a - *b);
                case '*': return clean(*a * *b);
                case '/': return clean(*a / *b);
                default: return power(*a, *b);
            }
        }
        if (auto r = peeled(t)) return r;
        if (t == "x") return names_.x;
        if (t == "y") return names_.y;
        if (t == "z") return names_.z;
        if (t == "t2") return names_.t2;
        return std::nullopt;
    }
};

// No bracket pair around a lone name or an unsigned number.
bool has_needless_parens(std::string_view t) {
    for (std::size_t k = 0; k < t.size(); ++k) {
        if (t[k] != '(') continue;
        std::size_t j = t.find(')', k);
        std::string_view inside = t.substr(k + 1, j - k - 1);
        if (!inside.empty() && inside.find_first_of("+-*/^()") == std::string_view::npos) return true;
    }
    return false;
}

// ---- random expressions, with a first-order bound on the rounding of their value

struct Expr {
    char op = 0;  // 0 leaf, 'n' negation, 'c' conjugate, else a binary operator
    std::string re, im = "0";
    std::unique_ptr<Expr> a, b;
};

const char* const leaf_names[] = {"x", "y", "z", "t2"};
const char* const leaf_numbers[] = {"0", "1", "2", "3", "-1", "-2", "0.5", "-0.25", "7",
                                    "1.5E-7", "-4E-5", "2.5E+6", "1E+4", "0.001", "12.75"};

class Generator {
public:
    explicit Generator(unsigned seed, bool pairs) : rng_(seed), pairs_(pairs) {}

    std::unique_ptr<Expr> make(int depth) {
        auto e = std::make_unique<Expr>();
        int r = pick(10);
        if (depth == 0 || r < 3) {
            e->re = leaf();
            if (pairs_ && pick(3) == 0) e->im = leaf();
            return e;
        }
        if (r == 3) {
            e->op = pairs_ && pick(2) ? 'c' : 'n';
            e->a = make(depth - 1);
            return e;
        }
        e->op = "+-*/^+-*"[pick(8)];
        e->a = make(depth - 1);
        if (e->op == '^') {
            e->b = std::make_unique<Expr>();
            // Pair parts are real formulas only while every power of a possibly negative
            // base has an integer exponent; conjugation relies on that, so pairs get only
            // integer exponents and the real test takes the rest.
            static const char* const exponents[] = {"2", "3", "-1", "-2", "0", "1", "0.5", "1.5"};
            if (!pairs_ && pick(4) == 0) {
                e->b = make(1);
            } else {
                e->b->re = exponents[pick(pairs_ ? 6 : 8)];
            }
        } else {
            e->b = make(depth - 1);
        }
        return e;
    }

private:
    std::mt19937 rng_;
    bool pairs_;
    int pick(int n) { return static_cast<int>(rng_() % static_cast<unsigned>(n)); }
    std::string leaf() { return pick(2) ? leaf_names[pick(4)] : leaf_numbers[pick(15)]; }
};

struct Value {
    cx v;
    double err;  // bound on the rounding error, in units of the value's own scale
};

constexpr double unit = 1e-15;  // 15-digit number texts dominate double rounding

std::optional<Value> reference(const Expr& e, const Names& n) {
    if (!e.op) {
        Evaluator ev(n, Order::split_first);
        auto re = ev(e.re), im = ev(e.im);
        if (!re || !im) return std::nullopt;
        cx v = clean(*re + cx(0, 1) * *im);
        return Value{v, unit * std::abs(v)};
    }
    auto a = reference(*e.a, n);
    if (!a) return std::nullopt;
    if (e.op == 'n') return Value{clean(-a->v), a->err};
    if (e.op == 'c') return Value{clean(std::conj(a->v)), a->err};
    auto b = reference(*e.b, n);
    if (!b) return std::nullopt;
    double A = std::abs(a->v), B = std::abs(b->v);
    switch (e.op) {
        case '+': return Value{clean(a->v + b->v), a->err + b->err + unit * (A + B)};
        case '-': return Value{clean(a->v - b->v), a->err + b->err + unit * (A + B)};
        case '*': return Value{clean(a->v * b->v), a->err * B + b->err * A + unit * A * B};
        case '/': {
            cx q = clean(a->v / b->v);
            return Value{q, (a->err + std::abs(q) * b->err) / B + unit * std::abs(q)};
        }
        default: {
            cx p = power(a->v, b->v);
            double P = std::abs(p), L = std::abs(std::log(a->v));
            // A base that rounding may have put on either side of the branch cut.
            bool near_cut = a->v.real() < 0 && a->v.imag() != 0 && std::fabs(a->v.imag()) <= 1e-9 * A + a->err;
            if (near_cut && b->v != cx(std::trunc(b->v.real()))) return Value{p, INFINITY};
            return Value{p, P * (std::abs(b->v) / A * a->err + L * b->err + unit * (1 + B * L) * 4)};
        }
    }
}

// The formula of a real expression, built bottom-up as the evaluator builds it.
Text build(const Expr& e) {
    if (!e.op) return Text(e.re.c_str());
    if (e.op == 'n') return formula::negate(build(*e.a));
    return formula::combine(build(*e.a), e.op, build(*e.b));
}

std::optional<formula::TextPair> build_pair(const Expr& e) {
    if (!e.op) return formula::TextPair{Text(e.re.c_str()), Text(e.im.c_str())};
    auto a = build_pair(*e.a);
    if (!a) return std::nullopt;
    if (e.op == 'n') return formula::TextPair{formula::negate(a->re), formula::negate(a->im)};
    if (e.op == 'c') return formula::conjugate(*a);
    auto b = build_pair(*e.b);
    if (!b) return std::nullopt;
    return formula::combine_pair(*a, e.op, *b);
}

Names random_names(std::mt19937& rng) {
    std::uniform_real_distribution<double> mag(0.5, 2.5);
    auto one = [&] { return cx(rng() % 2 ? mag(rng) : -mag(rng)); };
    return {one(), one(), one(), one()};
}

struct Tally {
    int compared = 0, skipped = 0;
};

// Compares the value of the pair texts (re + i*im) with the reference at a few points.
void check(const Expr& e, std::string_view re, std::string_view im, std::mt19937& rng, Tally& tally) {
    for (int point = 0; point < 4; ++point) {
        Names n = random_names(rng);
        auto ref = reference(e, n);
        bool usable = ref && std::isfinite(ref->v.real()) && std::isfinite(ref->v.imag()) &&
                      ref->err <= 1e-9 * std::abs(ref->v) && std::abs(ref->v) < 1e200;
        if (!usable) {
            ++tally.skipped;
            continue;
        }
        for (Order order : {Order::split_first, Order::normalise_first}) {
            Evaluator ev(n, order);
            auto fr = ev(re), fi = ev(im);
            ASSERT_TRUE(fr && fi) << "unreadable: " << re << " | " << im;
            cx got = clean(*fr + cx(0, 1) * *fi);
            double tolerance = 100 * ref->err + 1e-13 * std::abs(ref->v);
            ASSERT_LE(std::abs(got - ref->v), tolerance)
                << "formula " << re << " | " << im << " gives " << got << ", expected " << ref->v
                << (order == Order::split_first ? " (split first)" : " (normalise first)");
        }
        ++tally.compared;
    }
}

TEST(FormulaProperty, RealFormulasKeepTheirValue) {
    std::mt19937 rng(20261122);
    Generator gen(7, false);
    Tally tally;
    for (int i = 0; i < 4000; ++i) {
        auto e = gen.make(1 + i % 5);
        Text f = build(*e);
        if (std::getenv("FORMULA_DUMP") && i < 60) std::printf("%s\n", f.c_str());
        ASSERT_FALSE(has_needless_parens(f)) << f;
        check(*e, f, "0", rng, tally);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(tally.compared, 8000) << "skipped " << tally.skipped;
}

TEST(FormulaProperty, ComplexPairsKeepTheirValue) {
    std::mt19937 rng(11);
    Generator gen(13, true);
    Tally tally;
    int unexpressed = 0;
    for (int i = 0; i < 2000; ++i) {
        auto e = gen.make(1 + i % 4);
        auto f = build_pair(*e);
        if (!f) {
            ++unexpressed;
            continue;
        }
        ASSERT_FALSE(has_needless_parens(f->re) || has_needless_parens(f->im)) << f->re << " | " << f->im;
        check(*e, f->re, f->im, rng, tally);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(tally.compared, 3000) << "skipped " << tally.skipped << ", unexpressed " << unexpressed;
}

// Nesting beyond what the module descends into is kept as written, so the value holds;
// far deeper nesting must not exhaust the stack.
TEST(FormulaProperty, DeepNesting) {
    std::string s = "x";
    for (int k = 0; k < 600; ++k) s = "(" + s + (k % 2 ? "+1)*y" : "-z)^2");
    Text f = formula::combine(s.c_str(), '+', "1");
    std::mt19937 rng(5);
    Names n{cx(1.0000001), cx(1), cx(1), cx(1)};
    Evaluator ev(n, Order::split_first);
    auto want = ev(s), got = ev(f);
    ASSERT_TRUE(want && got);
    EXPECT_NEAR(std::abs(*got - (*want + 1.0)), 0, 1e-9 * std::abs(*want));

    std::string deep(100000, '(');
    deep += "x+1";
    for (int k = 0; k < 100000; ++k) deep += k % 2 ? ")*2" : ")";
    EXPECT_FALSE(formula::combine(deep.c_str(), '*', "x").empty());
    std::string parens = std::string(100000, '(') + "x" + std::string(100000, ')');
    EXPECT_EQ(std::string(formula::combine(parens.c_str(), '+', "1").c_str()), "x+1");
}

}  // namespace
