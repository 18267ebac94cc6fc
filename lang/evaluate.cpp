// The evaluator. An expression text is read once by the grammar's reader
// into its tree (grammar/tree.hpp: number, name, condition, operator chain,
// sign, postfix, call, access, other atom) and the tree is evaluated; the
// tree depends on the text alone and is kept in a cache keyed by the text,
// so a repeated expression is scanned once. A chain of one operator is one
// node, folded here in the order the one-cut-at-a-time reading gives.
#include "lang/evaluate.hpp"

#include <cmath>
#include <optional>

#include "lang/bignum.hpp"
#include "lang/complex_adapter.hpp"
#include "lang/containers.hpp"
#include "lang/matrices.hpp"
#include "lang/globals.hpp"
#include "numtext/numtext_adapter.hpp"
#include "grammar/scan.hpp"
#include "grammar/tree.hpp"
#include "special/scientific.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {

struct Compiled {
    Text text;
    grammar::Tree tree;
    // Per node: 0, or the height of its subtree when that subtree is plain
    // arithmetic (numbers, names, signs, operator chains, conditions), which
    // the evaluator first tries on doubles alone.
    std::vector<std::uint16_t> plain;
};

namespace {

using grammar::Kind;
using grammar::Node;

// Depth of the analysis or evaluation under way, across re-entries through
// the hooks.
struct DepthGuard {
    int& depth = state().depth;
    DepthGuard() { ++depth; }
    ~DepthGuard() { --depth; }
    bool too_deep() const noexcept { return depth > max_depth; }
};

// Fills Compiled::plain below node n and answers n's entry. The recursion
// is as deep as the tree, which the reader bounds by the evaluator's depth.
std::uint16_t mark_plain(Compiled& c, std::uint32_t n) {
    const Node& node = c.tree[n];
    std::uint16_t height = 0;
    switch (node.kind) {
    case Kind::empty:
    case Kind::number:
    case Kind::name: height = 1; break;
    case Kind::negate:
    case Kind::fold:
    case Kind::condition:
        height = 1;
        for (std::uint32_t k = 0; k < node.count; ++k) {
            std::uint16_t h = mark_plain(c, c.tree.kid(node, k));
            height = h == 0 || height == 0 ? 0 : std::max<std::uint16_t>(height, h + 1);
        }
        break;
    default:
        for (std::uint32_t k = 0; k < node.count; ++k) mark_plain(c, c.tree.kid(node, k));
        break;
    }
    return c.plain[n] = height;
}

// The whole-text checks run once per text: the syntax check, then the error
// word rule. Both hold for every operand text once they hold for the whole
// (an operand is a bracket-balanced part cut at depth zero, and an error
// segment inside a part is one of the whole), so the tree needs no more.
// The reader descends as far as the depth bound leaves room below the
// evaluation under way; a node past it answers ">invalid_expression<".
std::shared_ptr<const Compiled> analyse(std::string_view text) {
    auto c = std::make_shared<Compiled>();
    c->text = Text(text);
    if (text.size() >= UINT32_MAX || !scan::syntax_ok(text) || scan::has_error_segment(text)) {
        c->tree.nodes.push_back(Node{Kind::failure});
        c->plain.push_back(0);
        return c;
    }
    c->tree = grammar::read(c->text, max_depth - state().depth);
    c->plain.assign(c->tree.nodes.size(), 0);
    mark_plain(*c, c->tree.root);
    return c;
}

// Formula work that ran past the time of the line, or was interrupted, gave up halfway
// (formula.hpp): the line is aborted as the statement layer aborts it, so every
// statement after answers the same. The value is changed in place only then, so
// the common path costs one test.
void abort_if_formula_stopped(Value& v, Arbenv* env) {
    if (!formula::stopped()) [[likely]] return;
    Text reason(core::abort_requested() ? "interrupted" : "time limit");
    for (; env; env = env->parent)
        if (env->abort_text.empty()) env->abort_text = reason;
    v = Value::failure(Error::evaluation_aborted);
}

class Evaluator {
public:
    Evaluator(const Compiled& c, Arbenv* env, Globals& g)
        : c_(c), env_(env), g_(g),
          plain_ok_(g.plain_arithmetic && obj::binary_handler(obj::numeric, obj::numeric) == numeric_handler()) {}

    // The value of the whole tree. One named return, so the caller's
    // prvalue is built in place: this runs for every expression of a loop.
    Value run(std::uint32_t root) {
        Value v = eval(root);
        abort_if_formula_stopped(v, env_);
        return v;
    }

    Value eval(std::uint32_t index) {
        DepthGuard guard;
        if (guard.too_deep()) return Value::failure();
        const Node& n = c_.tree[index];
        // Plain arithmetic runs on doubles first; where it meets anything
        // else (a name without a number, a result past the doubles) the
        // subtree is evaluated below as any other, without trying again.
        const std::uint16_t height = c_.plain[index];
        std::optional<Unplain> unplain;
        if (height > 1 && !unplain_ && plain_ok_ && guard.depth + height - 1 <= max_depth) {
            if (Complex c; plain(index, c)) return Value::number(c);
            unplain.emplace(unplain_);
        }
        switch (n.kind) {
        case Kind::empty: return Value::number({0, 0});
        case Kind::number: return Value::number({n.value, 0});
        case Kind::failure:
        case Kind::deep: return Value::failure();
        case Kind::name: return name(text(n));
        case Kind::fold: return fold(n);
        case Kind::condition: return condition(n);
        case Kind::negate: return negate(eval(kid(n, 0)));
        case Kind::postfix: return postfix(n, eval(kid(n, 0)));
        case Kind::call: return call(n);
        // Indexing, members and method calls are the layers' above, as any
        // other atom.
        case Kind::index:
        case Kind::member:
        case Kind::method:
        case Kind::atom: return atom(text(n));
        }
        return Value::failure();
    }

private:
    // While a subtree whose plain evaluation failed is evaluated the
    // general way, its parts do not try again.
    struct Unplain {
        explicit Unplain(bool& flag) noexcept : flag_(flag) { flag_ = true; }
        ~Unplain() { flag_ = false; }
        Unplain(const Unplain&) = delete;
        Unplain& operator=(const Unplain&) = delete;
        bool& flag_;
    };

    // The value of a plain subtree when every name in it holds a number and
    // every step stays finite: the same operations on the same doubles as
    // the general path (the numeric cell of the table, negate, compare).
    bool plain(std::uint32_t index, Complex& out) {
        const Node& n = c_.tree[index];
        switch (n.kind) {
        case Kind::empty: out = {0, 0}; return true;
        case Kind::number: out = {n.value, 0}; return true;
        case Kind::name: return plain_name(text(n), out);
        case Kind::negate:
            if (!plain(kid(n, 0), out)) return false;
            out = {0.0 - out.re, 0.0 - out.im};
            return true;
        case Kind::fold: return plain_fold(n, out);
        case Kind::condition: return plain_condition(n, out);
        default: return false;
        }
    }

    bool plain_name(std::string_view t, Complex& out) {
        const obj::Object* o = hooks().lookup ? hooks().lookup(env_, t) : obj::resolve(env_, t);
        if (!o) {
            out = {0, 1};
            return t == "i";
        }
        if (o->tag != obj::numeric || !o->value) return false;
        out = obj::numeric_value(o);
        return true;
    }

    bool plain_fold(const Node& n, Complex& out) {
        if (n.op != '^') {
            if (!plain(kid(n, 0), out)) return false;
            for (std::uint32_t k = 1; k < n.count; ++k) {
                Complex right;
                if (!plain(kid(n, k), right) || !numeric_operation(n.op, out, right, &out)) return false;
            }
            return true;
        }
        // Right to left, as the general path combines them (each operand is
        // pure, so the order of reading them does not matter).
        if (!plain(kid(n, n.count - 1), out)) return false;
        for (std::uint32_t k = n.count - 1; k-- > 0;) {
            Complex left;
            if (!plain(kid(n, k), left) || !numeric_operation('^', left, out, &out)) return false;
        }
        return true;
    }

    bool plain_condition(const Node& n, Complex& out) {
        const bool invert = n.invert & 1;
        int r;
        if (n.invert & 2) {
            if (!plain(kid(n, 0), out)) return false;
            r = truth(out);
            if (r < 0) return false;
            if (invert) r = 1 - r;
        } else {
            Complex a, b;
            if (!plain(kid(n, 0), a) || !plain(kid(n, 1), b)) return false;
            r = compare(n.cond, a, b);
            if (r < 0) return false;
            if (invert) r = 1 - r;
        }
        out = {static_cast<double>(r), 0};
        return true;
    }

    std::string_view text(const Node& n) const {
        return std::string_view(c_.text).substr(n.begin, n.end - n.begin);
    }
    std::string_view text(std::size_t b, std::size_t e) const { return std::string_view(c_.text).substr(b, e - b); }
    std::uint32_t kid(const Node& n, std::uint32_t k) const { return c_.tree.kid(n, k); }

    Value name(std::string_view t) {
        const obj::Object* o = hooks().lookup ? hooks().lookup(env_, t) : obj::resolve(env_, t);
        if (!o) return t == "i" ? Value::number({0, 1}) : Value::formula_of(Text(t));
        return value_of(o);
    }

    // An error in either operand poisons the result; an abort stays visible.
    static std::optional<Value> poisoned(const Value& a, const Value& b) {
        for (const Value* v : {&a, &b})
            if (v->is_error() && v->error == Error::evaluation_aborted) return Value::failure(v->error);
        if (a.is_error() || b.is_error()) return Value::failure();
        return std::nullopt;
    }

    Value apply(Value& l, Value& r, char op, const OperandTexts& texts) {
        if (auto p = poisoned(l, r)) return std::move(*p);
        return obj::binary_handler(l.tag(), r.tag())(l, r, op, env_, texts);
    }

    // A chain a op b op c ...: "+", "-", "*" and "/" fold from the left,
    // "^" from the right, as the one-cut-at-a-time reading groups them.
    Value fold(const Node& n) {
        auto cut = [&](std::uint32_t k) { return c_.tree.cut(n, k); };  // k >= 1
        if (n.op != '^') {
            Value acc = eval(kid(n, 0));
            for (std::uint32_t k = 1; k < n.count; ++k) {
                Value right = eval(kid(n, k));
                std::size_t end = k + 1 < n.count ? cut(k + 1) : n.end;
                OperandTexts t{text(n.begin, cut(k)), text(cut(k) + 1, end), text(n.begin, end)};
                acc = apply(acc, right, n.op, t);
            }
            return acc;
        }
        // Operands are evaluated left to right, as the recursive reading
        // does, and combined from the right.
        std::vector<Value> v;
        v.reserve(n.count);
        for (std::uint32_t k = 0; k < n.count; ++k) v.push_back(eval(kid(n, k)));
        Value acc = std::move(v[n.count - 1]);
        for (std::uint32_t k = n.count - 1; k-- > 0;) {
            std::size_t begin = k == 0 ? n.begin : cut(k) + 1;
            OperandTexts t{text(begin, cut(k + 1)), text(cut(k + 1) + 1, n.end), text(begin, n.end)};
            acc = apply(v[k], acc, '^', t);
        }
        return acc;
    }

    static Value negate(Value v) {
        switch (v.kind) {
        // 0 - x rather than -x: a negated real keeps the imaginary part +0,
        // so (-1)^0.5 is i and not -i.
        case Value::Kind::number: return Value::number({0.0 - v.num.re, 0.0 - v.num.im});
        case Value::Kind::formula:
        case Value::Kind::pair:
            v.text = {formula::negate(v.text.re), formula::negate(v.text.im)};
            if (double re, im; formula::is_number(v.text.re, &re) && formula::is_number(v.text.im, &im))
                return Value::number({re, im});
            return v;
        case Value::Kind::error: return poisoned(v, v).value();
        case Value::Kind::object:
            if (auto b = negated_big(v)) return std::move(*b);
            return is_matrix(v) ? negated_matrix(v) : negated_array(v);
        }
        return Value::failure();
    }

    // "!" is the gamma function shifted by one (the factorial on the
    // integers), for real and complex numbers; "'" the complex conjugate. On a formula
    // the postfix stays in the text, which keeps its meaning for any value
    // the names take later.
    Value postfix(const Node& n, Value v) {
        if (v.kind == Value::Kind::number) {
            if (n.op == '\'') return Value::number({v.num.re, 0.0 - v.num.im});
            // An imaginary part below 1e-15 of the real part is rounding
            // noise (it is not shown either); the argument counts as real,
            // and the integers get their correctly rounded factorials.
            const bool real = std::fabs(v.num.im) <= 1e-15 * std::fabs(v.num.re);
            const Complex g = special::factorial_full(real ? Complex{v.num.re, 0} : v.num);
            if (std::isfinite(g.re) && std::isfinite(g.im)) return Value::number(g);
            return Value::formula_of(Text(text(n)));
        }
        if (v.is_error()) return poisoned(v, v).value();
        if (n.op == '!' && is_big(v)) return big_factorial(v);
        if (v.kind != Value::Kind::formula && v.kind != Value::Kind::pair) return Value::failure();
        Text inner = joined(v.text);
        if (inner.size() > max_formula_text) return Value::failure();
        Text t = scan::is_plain_name(inner) ? inner : Text("(") + inner + Text(")");
        t += n.op;
        return Value::formula_of(std::move(t));
    }

    static int truth(const Value& v) { return v.kind == Value::Kind::number ? truth(v.num) : -1; }
    static int truth(Complex c) {
        if (c.im != 0) return -1;
        if (c.re == 0) return 0;
        if (cx::equal(c.re, 1)) return 1;
        return -1;
    }

    Value condition(const Node& n) {
        bool has_op = !(n.invert & 2);
        bool invert = n.invert & 1;
        if (!has_op) {
            Value x = eval(kid(n, 0));
            if (x.is_error()) return poisoned(x, x).value();
            if (x.kind == Value::Kind::formula) return Value::formula_of(Text(text(n)));
            int t = truth(x);
            if (t < 0) return Value::failure();
            return Value::number({static_cast<double>(invert ? 1 - t : t), 0});
        }
        Value a = eval(kid(n, 0)), b = eval(kid(n, 1));
        if (auto p = poisoned(a, b)) return std::move(*p);
        bool numbers = a.kind == Value::Kind::number && b.kind == Value::Kind::number;
        if (!numbers) {
            if (int r = obj::compare(a, b, n.cond); r >= 0)
                return Value::number({static_cast<double>(invert ? 1 - r : r), 0});
        }
        if (!numbers) {
            auto usable = [](const Value& v) { return v.kind == Value::Kind::number || v.kind == Value::Kind::formula; };
            if (usable(a) && usable(b)) return Value::formula_of(Text(text(n)));
            return Value::failure();
        }
        int r = compare(n.cond, a.num, b.num);
        if (r < 0) return Value::failure();
        return Value::number({static_cast<double>(invert ? 1 - r : r), 0});
    }

    // 1 or 0, or -1 when "|" or "&" meet an operand that is not a truth value.
    static int compare(ops::Cond c, Complex a, Complex b) {
        using ops::Cond;
        switch (c) {
        case Cond::or_:
        case Cond::and_: {
            int x = truth(a), y = truth(b);
            if (x < 0 || y < 0) return -1;
            return c == Cond::or_ ? (x | y) : (x & y);
        }
        case Cond::eq: return cx::equal(a.re, b.re) && cx::equal(a.im, b.im);
        case Cond::ne: return !(cx::equal(a.re, b.re) && cx::equal(a.im, b.im));
        case Cond::lt: return a.re < b.re;
        case Cond::gt: return a.re > b.re;
        case Cond::le: return !(a.re > b.re);
        case Cond::ge: return !(a.re < b.re);
        }
        return -1;
    }

    Value call(const Node& n) {
        std::string_view fname = text(n.begin, n.aux);
        auto it = g_.builtins.find(fname);
        if (it == g_.builtins.end()) {
            Value out;
            if (hooks().call && hooks().call(text(n), n.aux - n.begin, env_, &out)) return out;
            return atom(text(n));
        }
        const Builtin& b = it->second;
        if (b.arity >= 0 && static_cast<std::uint32_t>(b.arity) != n.count) return Value::failure();
        std::vector<Value> args;
        if (b.evaluate_arguments) {
            args.reserve(n.count);
            for (std::uint32_t k = 0; k < n.count; ++k) {
                args.push_back(eval(kid(n, k)));
                if (args.back().is_error()) return std::move(args.back());
            }
        }
        if (b.fn) return b.fn(args, env_);
        std::string_view pieces[8];
        std::vector<std::string_view> many;
        std::span<std::string_view> texts(pieces, n.count <= 8 ? n.count : 0);
        if (n.count > 8) {
            many.resize(n.count);
            texts = many;
        }
        for (std::uint32_t k = 0; k < n.count; ++k)
            texts[k] = text(c_.tree.argument_begin(n, k), c_.tree.argument_end(n, k));
        if (auto v = array_call(b, fname, Call{text(n), texts, env_}, args)) return std::move(*v);
        if (auto v = big_call(fname, Call{text(n), texts, env_}, args)) return std::move(*v);
        return b.call_fn(Call{text(n), texts, env_}, args);
    }

    Value atom(std::string_view t) {
        Value out;
        if (hooks().atom && hooks().atom(t, env_, &out)) return out;
        return Value::failure();
    }

    const Compiled& c_;
    Arbenv* env_;
    Globals& g_;
    bool plain_ok_;
    bool unplain_ = false;
};

constexpr std::size_t max_cached_text = std::size_t{64} << 10;

// The analysis of a text, from the cache when it is there. The caller holds
// its own reference, since a nested evaluation through a hook may clear the
// cache meanwhile.
std::shared_ptr<const Compiled> analysed(Globals& g, std::string_view text) {
    if (!g.cache_enabled || text.size() > max_cached_text) return analyse(text);
    if (auto found = g.cache.find(text)) {
        ++g.stats.hits;
        return found;
    }
    ++g.stats.misses;
    auto c = analyse(text);
    g.cache.put(text, c, text.size() * 2 + c->tree.bytes() + 64);
    return c;
}

// True when the line is to stop: its abort text is set, or a stop was
// requested from outside (RequestAbort), which becomes the abort text of env
// and its parents here, as the statement layer's bounds do.
bool stopped(Arbenv* env) {
    if (!env->abort_text.empty()) return true;
    if (!core::abort_requested()) return false;
    for (; env; env = env->parent)
        if (env->abort_text.empty()) env->abort_text = Text("interrupted");
    return true;
}


}  // namespace

Hooks& hooks() { return state().hooks; }

Value evaluate(std::string_view text, Arbenv* env) {
    Globals* g = globals();
    if (!g || !env) return Value::failure();
    if (stopped(env)) return Value::failure(Error::evaluation_aborted);
    DepthGuard guard;
    if (guard.too_deep()) return Value::failure();
    std::shared_ptr<const Compiled> c = analysed(*g, text);
    return Evaluator(*c, env, *g).run(c->tree.root);
}

Prepared prepare(std::string_view text) {
    Globals* g = globals();
    return g ? analysed(*g, text) : analyse(text);
}

Value evaluate(const Prepared& c, Arbenv* env) {
    Globals* g = globals();
    if (!g || !env || !c) return Value::failure();
    if (stopped(env)) return Value::failure(Error::evaluation_aborted);
    DepthGuard guard;
    if (guard.too_deep()) return Value::failure();
    return Evaluator(*c, env, *g).run(c->tree.root);
}

std::vector<Value> evaluate_list(std::string_view text, Arbenv* env) {
    std::vector<Value> out;
    if (text.empty()) return out;
    std::vector<std::uint32_t> jumps = scan::bracket_jumps(text);
    if (jumps.empty() && !text.empty() && !scan::balanced(text)) {
        out.push_back(Value::failure());
        return out;
    }
    for (std::string_view piece : scan::split_commas(text, jumps)) out.push_back(evaluate(piece, env));
    return out;
}

namespace {

// The arity of the signature goes into the entry.
bool register_entry(std::string_view signature, Builtin entry) {
    Globals* g = globals();
    std::size_t open = signature.find('(');
    if (!g || open == std::string_view::npos || signature.back() != ')') return false;
    std::string_view name = signature.substr(0, open), count = signature.substr(open + 1, signature.size() - open - 2);
    if (!scan::is_plain_name(name)) return false;
    int arity = -1;
    if (!count.empty()) {
        arity = 0;
        for (char c : count) {
            if (c < '0' || c > '9' || arity > 1000) return false;
            arity = arity * 10 + (c - '0');
        }
    }
    entry.arity = arity;
    g->builtins.insert_or_assign(Text(name), std::move(entry));
    return true;
}

}  // namespace

bool register_builtin(std::string_view signature, BuiltinFn fn) {
    if (!fn) return false;
    return register_entry(signature, Builtin{-1, fn, nullptr, true});
}

bool register_builtin(std::string_view signature, CallFn fn, bool evaluate_arguments) {
    if (!fn) return false;
    return register_entry(signature, Builtin{-1, nullptr, fn, evaluate_arguments});
}

CacheStats cache_stats() noexcept {
    Globals* g = globals();
    if (!g) return {};
    CacheStats s = g->stats;
    s.entries = g->cache.size();
    return s;
}

void clear_cache() noexcept {
    if (Globals* g = globals()) {
        g->cache.clear();
    }
}

void set_cache_enabled(bool on) noexcept {
    if (Globals* g = globals()) g->cache_enabled = on;
}

void set_plain_arithmetic(bool on) noexcept {
    if (Globals* g = globals()) g->plain_arithmetic = on;
}

}  // namespace ostr::lang
