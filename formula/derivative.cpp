// Symbolic differentiation on a small algebra of immutable shared nodes:
// numbers, names, sums, products, powers and calls. The constructors
// simplify as they build (numbers fold, like terms and like factors are
// collected, a quotient is a product with a power -1), so a derivative is
// simplified by being built; the writer turns negative powers back into
// quotients and negative coefficients into minus signs.
#include "formula/derivative.hpp"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "core/limits.hpp"
#include "core/runtime.hpp"
#include "formula/formula_number.hpp"
#include "grammar/tree.hpp"

namespace ostr::formula {
namespace {

enum class K : unsigned char { num, name, call, add, mul, pow };

struct Node;
using E = std::shared_ptr<const Node>;

struct Node {
    K k;
    double v = 0;
    Text s;  // name, or the function of a call
    std::vector<E> a;
};

struct Failure {
    DerivativeStatus status;
};

// Node budget of one call: the tenth derivative of x^x has some 10^5
// nodes; past a few million the answer would not be readable anyway.
constexpr std::size_t max_nodes = 3000000;

class Algebra {
public:
    E num(double v) {
        if (!std::isfinite(v)) throw Failure{DerivativeStatus::not_differentiable};
        return make(K::num, v + 0.0, {}, {});
    }
    E name(std::string_view n) { return make(K::name, 0, Text(n), {}); }
    E call(std::string_view f, std::vector<E> args) { return make(K::call, 0, Text(f), std::move(args)); }
    E neg(const E& e) { return mul({num(-1), e}); }
    E sub(const E& a, const E& b) { return add({a, neg(b)}); }
    E div(const E& a, const E& b) { return mul({a, pow(b, num(-1))}); }

    E add(std::vector<E> terms);
    E mul(std::vector<E> factors);
    E pow(const E& b, const E& e);

private:
    E make(K k, double v, Text s, std::vector<E> a) {
        if (++made_ > max_nodes) throw Failure{DerivativeStatus::too_large};
        if ((made_ & 4095) == 0 && core::should_stop()) throw Failure{DerivativeStatus::stopped};
        return std::make_shared<const Node>(Node{k, v, std::move(s), std::move(a)});
    }
    std::size_t made_ = 0;
};

bool is_num(const E& e, double v) { return e->k == K::num && e->v == v; }

// A total order on nodes, so that equal parts are found and products have
// one canonical order of their factors.
int compare(const E& x, const E& y) {
    if (x == y) return 0;
    if (x->k != y->k) return x->k < y->k ? -1 : 1;
    if (x->k == K::num) return x->v < y->v ? -1 : (x->v > y->v ? 1 : 0);
    if (int c = x->s.compare(y->s)) return c < 0 ? -1 : 1;
    if (x->a.size() != y->a.size()) return x->a.size() < y->a.size() ? -1 : 1;
    for (std::size_t k = 0; k < x->a.size(); ++k)
        if (int c = compare(x->a[k], y->a[k])) return c;
    return 0;
}

// A product's factors sort by their base, so x^2*y stays in that order.
int factor_order(const E& x, const E& y) {
    const E& bx = x->k == K::pow ? x->a[0] : x;
    const E& by = y->k == K::pow ? y->a[0] : y;
    if (int c = compare(bx, by)) return c;
    return compare(x, y);
}

// A term as coefficient times the rest (null rest: a number).
struct Term {
    double coef;
    E rest;
};

Term split_term(Algebra& al, const E& t) {
    if (t->k == K::num) return {t->v, nullptr};
    if (t->k == K::mul && t->a[0]->k == K::num) {
        if (t->a.size() == 2) return {t->a[0]->v, t->a[1]};
        std::vector<E> rest(t->a.begin() + 1, t->a.end());
        return {t->a[0]->v, al.mul(std::move(rest))};
    }
    return {1, t};
}

// Terms keep the order in which they first appear, the constant last: a
// derivative then reads in the order of the formula it came from.
E Algebra::add(std::vector<E> terms) {
    std::vector<E> flat;
    for (E& t : terms) {
        if (t->k == K::add)
            flat.insert(flat.end(), t->a.begin(), t->a.end());
        else
            flat.push_back(std::move(t));
    }
    double constant = 0;
    std::vector<Term> collected;
    for (const E& t : flat) {
        Term s = split_term(*this, t);
        if (!s.rest) {
            constant += s.coef;
            continue;
        }
        auto same = std::find_if(collected.begin(), collected.end(),
                                 [&](const Term& c) { return compare(c.rest, s.rest) == 0; });
        if (same != collected.end())
            same->coef += s.coef;
        else
            collected.push_back(s);
    }
    std::vector<E> out;
    for (const Term& c : collected) {
        if (c.coef == 0) continue;
        out.push_back(c.coef == 1 ? c.rest : mul({num(c.coef), c.rest}));
    }
    if (constant != 0 || out.empty()) out.push_back(num(constant));
    if (out.size() == 1) return out[0];
    return make(K::add, 0, {}, std::move(out));
}

E Algebra::mul(std::vector<E> factors) {
    double coef = 1;
    std::vector<std::pair<E, std::vector<E>>> bases;  // base, exponents to add
    std::vector<E> pending(std::move(factors));
    for (std::size_t k = 0; k < pending.size(); ++k) {
        E f = pending[k];
        if (f->k == K::mul) {
            pending.insert(pending.end(), f->a.begin(), f->a.end());
            continue;
        }
        if (f->k == K::num) {
            coef *= f->v;
            continue;
        }
        E base = f->k == K::pow ? f->a[0] : f;
        E exponent = f->k == K::pow ? f->a[1] : num(1);
        auto same = std::find_if(bases.begin(), bases.end(), [&](const auto& b) { return compare(b.first, base) == 0; });
        if (same != bases.end())
            same->second.push_back(exponent);
        else
            bases.push_back({base, {exponent}});
    }
    if (coef == 0) return num(0);
    std::vector<E> out;
    for (auto& [base, exponents] : bases) {
        E p = exponents.size() == 1 ? pow(base, exponents[0]) : pow(base, add(std::move(exponents)));
        if (p->k == K::num)
            coef *= p->v;
        else if (p->k == K::mul)
            for (const E& q : p->a) {
                if (q->k == K::num) coef *= q->v;
                else out.push_back(q);
            }
        else
            out.push_back(p);
    }
    if (!std::isfinite(coef)) throw Failure{DerivativeStatus::not_differentiable};
    if (coef == 0) return num(0);
    std::sort(out.begin(), out.end(), [](const E& x, const E& y) { return factor_order(x, y) < 0; });
    if (coef != 1 || out.empty()) out.insert(out.begin(), num(coef));
    if (out.size() == 1) return out[0];
    return make(K::mul, 0, {}, std::move(out));
}

bool is_integer(double v) { return v == std::floor(v) && std::fabs(v) < 1e15; }

E Algebra::pow(const E& b, const E& e) {
    if (is_num(e, 0)) return num(1);
    if (is_num(e, 1)) return b;
    if (e->k == K::num) {
        const double n = e->v;
        if (b->k == K::num) {
            const double r = std::pow(b->v, n);
            if ((b->v >= 0 || is_integer(n)) && std::isfinite(r) && !(b->v == 0 && n < 0)) return num(r);
        }
        // (u^a)^n = u^(a*n) and (u*v)^n = u^n*v^n hold for an integer n.
        if (is_integer(n) && b->k == K::pow) return pow(b->a[0], mul({b->a[1], e}));
        if (is_integer(n) && b->k == K::mul) {
            std::vector<E> f;
            for (const E& q : b->a) f.push_back(pow(q, e));
            return mul(std::move(f));
        }
    }
    if (is_num(b, 1)) return num(1);
    return make(K::pow, 0, {}, {b, e});
}

// Reading: a grammar tree to nodes.
class Reader {
public:
    Reader(Algebra& al, std::string_view text) : al_(al), text_(text), tree_(grammar::read(text, limits::evaluation_depth)) {}
    E root() { return read(tree_.root); }

private:
    std::string_view text_of(const grammar::Node& n) const { return text_.substr(n.begin, n.end - n.begin); }
    E read(std::uint32_t id) {
        const grammar::Node& n = tree_[id];
        switch (n.kind) {
        case grammar::Kind::empty: return al_.num(0);
        case grammar::Kind::number: return al_.num(n.value);
        case grammar::Kind::name: return al_.name(text_of(n));
        case grammar::Kind::negate: return al_.neg(read(tree_.kid(n, 0)));
        case grammar::Kind::fold: return fold(n);
        case grammar::Kind::call: {
            std::vector<E> args;
            for (std::uint32_t k = 0; k < tree_.arguments(n); ++k) args.push_back(read(tree_.kid(n, k)));
            return al_.call(text_.substr(n.begin, n.aux - n.begin), std::move(args));
        }
        default: throw Failure{DerivativeStatus::not_differentiable};
        }
    }
    E fold(const grammar::Node& n) {
        std::vector<E> p;
        for (std::uint32_t k = 0; k < n.count; ++k) p.push_back(read(tree_.kid(n, k)));
        switch (n.op) {
        case '+': return al_.add(std::move(p));
        case '*': return al_.mul(std::move(p));
        case '-':
            for (std::size_t k = 1; k < p.size(); ++k) p[k] = al_.neg(p[k]);
            return al_.add(std::move(p));
        case '/':
            for (std::size_t k = 1; k < p.size(); ++k) p[k] = al_.pow(p[k], al_.num(-1));
            return al_.mul(std::move(p));
        case '^': {
            E r = p.back();
            for (std::size_t k = p.size() - 1; k-- > 0;) r = al_.pow(p[k], r);
            return r;
        }
        default: throw Failure{DerivativeStatus::not_differentiable};
        }
    }
    Algebra& al_;
    std::string_view text_;
    grammar::Tree tree_;
};

// Differentiation.
class Differentiator {
public:
    Differentiator(Algebra& al, std::string_view x) : al_(al), x_(x) {}
    bool estimated = false;

    bool depends(const E& e) const {
        if (e->k == K::name) return e->s == x_;
        return std::any_of(e->a.begin(), e->a.end(), [&](const E& c) { return depends(c); });
    }

    E d(const E& e) {
        if (!depends(e)) return al_.num(0);
        switch (e->k) {
        case K::num: return al_.num(0);
        case K::name: return al_.num(1);
        case K::add: {
            std::vector<E> t;
            for (const E& c : e->a) t.push_back(d(c));
            return al_.add(std::move(t));
        }
        case K::mul: return product(e);
        case K::pow: return power(e);
        case K::call: return call(e);
        }
        return al_.num(0);
    }

private:
    E product(const E& e) {
        std::vector<E> terms;
        for (std::size_t k = 0; k < e->a.size(); ++k) {
            if (!depends(e->a[k])) continue;
            std::vector<E> f(e->a);
            f[k] = d(e->a[k]);
            terms.push_back(al_.mul(std::move(f)));
        }
        return al_.add(std::move(terms));
    }

    // u^v: v*u^(v-1)*u' for a constant v, u^v*ln(u)*v' for a constant u,
    // and u^v*(v'*ln(u)+v*u'/u) when both vary.
    E power(const E& e) {
        const E &u = e->a[0], &v = e->a[1];
        if (!depends(v)) return al_.mul({v, al_.pow(u, al_.add({v, al_.num(-1)})), d(u)});
        E log_u = u->k == K::num && u->v > 0 ? al_.num(std::log(u->v)) : al_.call("ln", {u});
        if (!depends(u)) return al_.mul({e, log_u, d(v)});
        return al_.mul({e, al_.add({al_.mul({d(v), log_u}), al_.mul({v, d(u), al_.pow(u, al_.num(-1))})})});
    }

    E call(const E& e) {
        const Text& f = e->s;
        const std::vector<E>& a = e->a;
        // re, im and arg act on the derivative of their argument as a whole.
        if (a.size() == 1 && (f == "re" || f == "im")) return al_.call(f, {d(a[0])});
        if (a.size() == 1 && f == "arg") return al_.call("im", {al_.div(d(a[0]), a[0])});
        if (f == "rand" || f == "randint") throw Failure{DerivativeStatus::not_differentiable};
        std::vector<E> terms;
        for (std::size_t k = 0; k < a.size(); ++k) {
            if (!depends(a[k])) continue;
            E p = partial(f, a, k);
            if (!p) p = estimate(e, k);
            terms.push_back(al_.mul({p, d(a[k])}));
        }
        return al_.add(std::move(terms));
    }

    // The derivative of g at its k-th argument, with no closed form here:
    // deriv(g(..x..),x,u), which needs the other arguments free of x.
    E estimate(const E& g, std::size_t k) {
        for (std::size_t j = 0; j < g->a.size(); ++j)
            if (j != k && depends(g->a[j])) throw Failure{DerivativeStatus::not_differentiable};
        std::vector<E> args(g->a);
        E x = al_.name(x_);
        args[k] = x;
        estimated = true;
        return al_.call("deriv", {al_.call(g->s, std::move(args)), x, g->a[k]});
    }

    E c(std::string_view f, const E& u) { return al_.call(f, {u}); }
    E sq(const E& u) { return al_.pow(u, al_.num(2)); }
    E inv(const E& u) { return al_.pow(u, al_.num(-1)); }
    E one() { return al_.num(1); }

    // The partial derivative of f(a...) in its k-th argument; null when there
    // is no closed form.
    E partial(const Text& f, const std::vector<E>& a, std::size_t k) {
        const E& u = a[0];
        if (a.size() == 1) {
            if (f == "exp") return c("exp", u);
            if (f == "ln") return inv(u);
            if (f == "log") return inv(al_.mul({u, c("ln", al_.num(10))}));
            if (f == "sqrt") return inv(al_.mul({al_.num(2), c("sqrt", u)}));
            if (f == "sin") return c("cos", u);
            if (f == "cos") return al_.neg(c("sin", u));
            if (f == "tan") return inv(sq(c("cos", u)));
            if (f == "sinh") return c("cosh", u);
            if (f == "cosh") return c("sinh", u);
            if (f == "tanh") return inv(sq(c("cosh", u)));
            if (f == "arcsin") return inv(c("sqrt", al_.sub(one(), sq(u))));
            if (f == "arccos") return al_.neg(inv(c("sqrt", al_.sub(one(), sq(u)))));
            if (f == "arctan") return inv(al_.add({sq(u), one()}));
            if (f == "arcsinh") return inv(c("sqrt", al_.add({sq(u), one()})));
            // The product of two roots keeps the principal branch for u < -1.
            if (f == "arccosh")
                return inv(al_.mul({c("sqrt", al_.add({u, al_.num(-1)})), c("sqrt", al_.add({u, one()}))}));
            if (f == "arctanh") return inv(al_.sub(one(), sq(u)));
            if (f == "abs") return c("sign", u);
            if (f == "sign" || f == "floor" || f == "ceil" || f == "round") return al_.num(0);
            if (f == "mean") return one();
            return nullptr;
        }
        if (a.size() == 2) {
            const E& w = a[1];
            if (f == "hypot") return al_.div(a[k], al_.call("hypot", a));
            if (f == "arctan2")  // arctan2(y,x)
                return al_.div(k == 0 ? a[1] : al_.neg(a[0]), al_.add({sq(a[0]), sq(a[1])}));
            if (f == "mod") return k == 0 ? one() : al_.neg(c("floor", al_.div(u, w)));
            if (f == "gcd") return al_.num(0);
            if (k == 0 && (f == "besselj" || f == "bessely" || f == "besseli" || f == "besselk")) {
                E lower = al_.call(f, {u, al_.add({w, al_.num(-1)})});
                E upper = al_.call(f, {u, al_.add({w, one()})});
                if (f == "besseli") return al_.mul({al_.num(0.5), al_.add({lower, upper})});
                if (f == "besselk") return al_.mul({al_.num(-0.5), al_.add({lower, upper})});
                return al_.mul({al_.num(0.5), al_.sub(lower, upper)});
            }
        }
        if (a.size() == 3 && k == 0 && f == "legendre") return legendre(a);
        if (f == "mean") return al_.num(1.0 / static_cast<double>(a.size()));
        if (f == "variance" && a.size() > 1)
            return al_.mul({al_.num(2.0 / static_cast<double>(a.size() - 1)), al_.sub(a[k], al_.call("mean", a))});
        return nullptr;
    }

    // (x^2-1)*P'(l,m) = l*x*P(l,m) - (l+m)*P(l-1,m), for integer l and m;
    // P(l-1,m) is 0 when |m| > l-1.
    E legendre(const std::vector<E>& a) {
        const E &x = a[0], &l = a[1], &m = a[2];
        if (l->k != K::num || m->k != K::num) return nullptr;
        std::vector<E> top{al_.mul({l, x, al_.call("legendre", a)})};
        if (std::fabs(m->v) <= l->v - 1)
            top.push_back(al_.mul({al_.num(-(l->v + m->v)), al_.call("legendre", {x, al_.num(l->v - 1), m})}));
        return al_.div(al_.add(std::move(top)), al_.add({sq(x), al_.num(-1)}));
    }

    Algebra& al_;
    std::string_view x_;
};

// Writing.
class Writer {
public:
    explicit Writer(Algebra& al) : al_(al) {}

    Text text(const E& e) {
        switch (e->k) {
        case K::num: return detail::number_text(e->v);
        case K::name: return e->s;
        case K::call: {
            Text t = e->s + Text("(");
            for (std::size_t k = 0; k < e->a.size(); ++k) {
                if (k) t += ',';
                t += text(e->a[k]);
            }
            return t + Text(")");
        }
        case K::add: return sum(e);
        case K::mul:
        case K::pow: return product(e, true);
        }
        return {};
    }

private:
    static bool negative(const E& t) {
        return (t->k == K::num && t->v < 0) || (t->k == K::mul && t->a[0]->k == K::num && t->a[0]->v < 0);
    }
    // A sum opens with its first term that has no minus sign: 1-x^2, not
    // -x^2+1; the other terms keep their order.
    Text sum(const E& e) {
        std::size_t first = 0;
        while (first < e->a.size() && negative(e->a[first])) ++first;
        if (first == e->a.size()) first = 0;
        Text t = text(e->a[first]);
        for (std::size_t k = 0; k < e->a.size(); ++k) {
            if (k == first) continue;
            const E& term = e->a[k];
            t += negative(term) ? product(term, false) : Text("+") + text(term);
        }
        return t;
    }

    static bool atomic(const E& e) { return e->k == K::name || e->k == K::call || (e->k == K::num && e->v >= 0); }
    Text wrapped(const E& e) { return atomic(e) ? text(e) : Text("(") + text(e) + Text(")"); }
    Text power(const E& b, const E& x) { return wrapped(b) + Text("^") + wrapped(x); }
    // A factor of a product or a quotient: only a sum needs brackets.
    Text factor(const E& f) {
        if (f->k == K::pow) return power(f->a[0], f->a[1]);
        return f->k == K::add ? Text("(") + text(f) + Text(")") : text(f);
    }

    // Factors with a negative number as exponent go below the line; a
    // coefficient 1/n with a whole n does too, so 1/(2*sqrt(x)) is not
    // written 0.5/sqrt(x).
    Text product(const E& e, bool leading) {
        std::vector<E> factors = e->k == K::mul ? e->a : std::vector<E>{e};
        double coef = 1;
        if (factors[0]->k == K::num) {
            coef = factors[0]->v;
            factors.erase(factors.begin());
        }
        std::vector<E> top, bottom;
        const double r = 1 / std::fabs(coef);
        if (std::fabs(coef) < 1 && r == std::floor(r) && r < 1e9)
            bottom.push_back(al_.num(r));
        else if (std::fabs(coef) != 1)
            top.push_back(al_.num(std::fabs(coef)));
        for (const E& f : factors) {
            if (f->k == K::pow && f->a[1]->k == K::num && f->a[1]->v < 0)
                bottom.push_back(al_.pow(f->a[0], al_.num(-f->a[1]->v)));
            else
                top.push_back(f);
        }
        Text t;
        for (std::size_t k = 0; k < top.size(); ++k) t += (k ? Text("*") : Text()) + factor(top[k]);
        if (top.empty()) t = Text("1");
        if (bottom.size() == 1) t += Text("/") + factor(bottom[0]);
        if (bottom.size() > 1) {
            t += Text("/(");
            for (std::size_t k = 0; k < bottom.size(); ++k) t += (k ? Text("*") : Text()) + factor(bottom[k]);
            t += Text(")");
        }
        if (coef > 0) return t;
        // A sign in front binds tighter than "^": -x^2 reads as (-x)^2, so
        // a product that opens with a power is negated as a whole, unless
        // the minus is the operator of a sum (1-x^2).
        if (leading && !top.empty() && top[0]->k == K::pow) return Text("-(") + t + Text(")");
        return Text("-") + t;
    }

    Algebra& al_;
};

template <class F>
Derivative run(F&& f) {
    Derivative out;
    try {
        Algebra al;
        Writer w(al);
        out.text = w.text(f(al, out));
        if (out.text.size() > limits::formula_text_bytes) return {DerivativeStatus::too_large, {}, false};
    } catch (const Failure& e) {
        return {e.status, {}, false};
    }
    return out;
}

}  // namespace

Derivative derivative(std::string_view expression, std::string_view variable) {
    return run([&](Algebra& al, Derivative& out) {
        E e = Reader(al, expression).root();
        Differentiator d(al, variable);
        E r = d.d(e);
        out.estimated = d.estimated;
        return r;
    });
}

namespace {

// The value of e at variable = 0; NaN when e holds another name or a call.
double at_zero(const E& e, std::string_view x) {
    switch (e->k) {
    case K::num: return e->v;
    case K::name: return e->s == x ? 0 : NAN;
    case K::call: return NAN;
    case K::add: {
        double r = 0;
        for (const E& c : e->a) r += at_zero(c, x);
        return r;
    }
    case K::mul: {
        double r = 1;
        for (const E& c : e->a) r *= at_zero(c, x);
        return r;
    }
    case K::pow: return std::pow(at_zero(e->a[0], x), at_zero(e->a[1], x));
    }
    return NAN;
}

}  // namespace

// c_k = p^(k)(0)/k!: each round takes one derivative divided by k+1, so no
// factorial is formed.
std::vector<double> polynomial(std::string_view expression, std::string_view variable, int max_degree) {
    std::vector<double> c;
    try {
        Algebra al;
        E e = Reader(al, expression).root();
        Differentiator d(al, variable);
        for (int k = 0; k <= max_degree + 1; ++k) {
            if (is_num(e, 0)) return c;
            if (k > max_degree) return {};
            const double v = at_zero(e, variable);
            if (!std::isfinite(v)) return {};
            c.push_back(v);
            e = al.mul({al.num(1.0 / (k + 1)), d.d(e)});
            if (d.estimated) return {};
        }
    } catch (const Failure&) {
    }
    return {};
}

Derivative simplified(std::string_view expression) {
    return run([&](Algebra& al, Derivative&) { return Reader(al, expression).root(); });
}

}  // namespace ostr::formula
