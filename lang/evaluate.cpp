// The evaluator. An expression text is analysed once into a small tree of
// nodes (what each sub-text is: number, name, condition, operator chain,
// sign, postfix, call, other atom) and the tree is evaluated; the analysis
// depends on the text alone and is kept in a cache keyed by the text, so a
// repeated expression is scanned once. The tree is exactly the cut-and-
// recurse reading of the text: a chain of one operator is cut at all its
// positions at once and folded in the order the recursive cuts would give.
#include "lang/evaluate.hpp"

#include <cmath>
#include <optional>

#include "lang/complex_adapter.hpp"
#include "lang/globals.hpp"
#include "numtext/numtext_adapter.hpp"
#include "grammar/scan.hpp"
#include "special/special.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {

enum class NodeKind : std::uint8_t { empty, number, failure, name, fold, condition, negate, postfix, call, atom };

struct Node {
    NodeKind kind;
    char op = 0;           // fold: the operator; postfix: '!' or '\''
    std::uint8_t invert = 0;  // condition: number of leading "~" (odd inverts)
    ops::Cond cond = ops::Cond::or_;
    std::uint32_t begin = 0, end = 0;  // the node's text
    std::uint32_t first = 0, count = 0;  // children in Compiled::kids
    std::uint32_t aux = 0;   // condition: operator position; call: end of the name
    Complex number{0, 0};
};

struct Compiled {
    Text text;
    std::vector<Node> nodes;
    std::vector<std::uint32_t> kids;
    std::uint32_t root = 0;
};

namespace {

// Depth of the analysis or evaluation under way, across re-entries through
// the hooks.
int depth_now = 0;
struct DepthGuard {
    DepthGuard() noexcept { ++depth_now; }
    ~DepthGuard() { --depth_now; }
    bool too_deep() const noexcept { return depth_now > max_depth; }
};

class Compiler {
public:
    Compiler(Compiled& out, scan::Jumps jumps) : c_(out), text_(out.text), jumps_(jumps) {}

    // Leading signs and enclosing parentheses come off one layer at a
    // time, and the inside is classified afresh after each layer: in
    // -(-9+2) the inner sign belongs to -9, because -9+2 has an operator.
    // The layers are a loop, not a recursion, so ((((1)))) nested a
    // hundred thousand deep costs no stack.
    std::uint32_t compile(std::size_t b, std::size_t e) {
        DepthGuard guard;
        if (guard.too_deep()) return leaf(NodeKind::failure, b, e);
        const std::size_t whole_b = b, whole_e = e;
        bool negative = false;
        auto sign = [&](std::uint32_t n) {
            return negative ? with_kids(node(NodeKind::negate, whole_b, whole_e), {n}) : n;
        };
        for (;;) {
            if (auto n = classify(b, e)) return sign(*n);
            std::size_t nb = b, ne = e;
            while (nb < ne && (text_[nb] == '-' || text_[nb] == '+')) negative ^= text_[nb++] == '-';
            if (scan::enclosed(text_.substr(nb, ne - nb), jumps_.subspan(nb, ne - nb))) ++nb, --ne;
            if (nb == b && ne == e) break;
            b = nb, e = ne;
        }
        std::string_view t = text_.substr(b, e - b);
        if (scan::find_first(t, ",", jumps_.subspan(b, e - b)).found()) return sign(leaf(NodeKind::failure, b, e));
        if (auto n = call(b, e)) return sign(*n);
        return sign(leaf(NodeKind::atom, b, e));
    }

private:
    // What the text is, before any sign or bracket comes off: nothing when
    // it is none of empty, number, "i", name, condition, operator chain or
    // postfix operand.
    std::optional<std::uint32_t> classify(std::size_t b, std::size_t e) {
        std::string_view t = text_.substr(b, e - b);
        scan::Jumps j = jumps_.subspan(b, e - b);
        if (t.empty()) return leaf(NodeKind::empty, b, e);
        double v;
        if (is_numeric_literal(t, &v)) return number(b, e, {v, 0});
        // "i" is looked up like a name: a variable i (a loop counter, say)
        // shadows the imaginary unit, which it is otherwise.
        if (t == "i") return leaf(NodeKind::name, b, e);
        if (scan::is_plain_name(t)) return leaf(NodeKind::name, b, e);
        if (t.front() == '~' || scan::has_condition_char(t, j)) {
            if (auto n = condition(b, e)) return n;
        }
        scan::Split split = scan::find_split(t, j);
        if (!split.at.empty()) return fold(b, e, split);
        if (t.back() == '!' || t.back() == '\'') {
            std::uint32_t n = node(NodeKind::postfix, b, e);
            c_.nodes[n].op = t.back();
            return with_kids(n, {compile(b, e - 1)});
        }
        return std::nullopt;
    }

    std::uint32_t node(NodeKind k, std::size_t b, std::size_t e) {
        Node n{k};
        n.begin = static_cast<std::uint32_t>(b);
        n.end = static_cast<std::uint32_t>(e);
        c_.nodes.push_back(n);
        return static_cast<std::uint32_t>(c_.nodes.size() - 1);
    }
    std::uint32_t leaf(NodeKind k, std::size_t b, std::size_t e) { return node(k, b, e); }
    std::uint32_t number(std::size_t b, std::size_t e, Complex v) {
        std::uint32_t n = node(NodeKind::number, b, e);
        c_.nodes[n].number = v;
        return n;
    }
    std::uint32_t with_kids(std::uint32_t n, std::initializer_list<std::uint32_t> kids) {
        c_.nodes[n].first = static_cast<std::uint32_t>(c_.kids.size());
        c_.nodes[n].count = static_cast<std::uint32_t>(kids.size());
        c_.kids.insert(c_.kids.end(), kids);
        return n;
    }

    // A chain of one operator: the pieces between its positions, then the
    // positions themselves, in kids.
    std::uint32_t fold(std::size_t b, std::size_t e, const scan::Split& s) {
        std::vector<std::uint32_t> pieces;
        pieces.reserve(s.at.size() + 1);
        std::size_t start = b;
        for (std::uint32_t at : s.at) {
            pieces.push_back(compile(start, b + at));
            start = b + at + 1;
        }
        pieces.push_back(compile(start, e));
        std::uint32_t n = node(NodeKind::fold, b, e);
        Node& f = c_.nodes[n];
        f.op = s.op;
        f.first = static_cast<std::uint32_t>(c_.kids.size());
        f.count = static_cast<std::uint32_t>(pieces.size());
        c_.kids.insert(c_.kids.end(), pieces.begin(), pieces.end());
        for (std::uint32_t at : s.at) c_.kids.push_back(static_cast<std::uint32_t>(b + at));
        return n;
    }

    // Leading "~" and enclosing parentheses come off first, each "~"
    // inverting the result; so "~" applies to the whole condition after it
    // (~a&b is the negation of a&b). Not a condition: no node.
    std::optional<std::uint32_t> condition(std::size_t b, std::size_t e) {
        std::size_t rb = b, re = e;
        unsigned inverts = 0;
        while (rb < re) {
            std::string_view r = text_.substr(rb, re - rb);
            if (r.front() == '~') { ++inverts, ++rb; continue; }
            if (scan::enclosed(r, jumps_.subspan(rb, re - rb))) { ++rb, --re; continue; }
            break;
        }
        std::string_view r = text_.substr(rb, re - rb);
        scan::CondFound f = scan::find_condition(r, jumps_.subspan(rb, re - rb));
        if (!f.found() && inverts == 0) return std::nullopt;
        std::uint32_t n = node(NodeKind::condition, b, e);
        c_.nodes[n].invert = static_cast<std::uint8_t>(inverts & 1u) | (f.found() ? 0 : 2);
        if (!f.found()) return with_kids(n, {compile(rb, re)});
        c_.nodes[n].cond = f.cond;
        c_.nodes[n].aux = static_cast<std::uint32_t>(rb + f.pos);
        std::uint32_t left = compile(rb, rb + f.pos);
        std::uint32_t right = compile(rb + f.pos + f.len, re);
        return with_kids(n, {left, right});
    }

    // name(arguments): a plain name directly followed by one bracketed list.
    std::optional<std::uint32_t> call(std::size_t b, std::size_t e) {
        std::string_view t = text_.substr(b, e - b);
        std::size_t open = t.find('(');
        if (open == std::string_view::npos || open == 0 || t.back() != ')') return std::nullopt;
        if (jumps_[b + open] != t.size() - 1 - open || !scan::is_plain_name(t.substr(0, open)))
            return std::nullopt;
        std::size_t ab = b + open + 1, ae = e - 1;
        std::vector<std::uint32_t> args, piece_bounds;
        if (ae > ab) {
            std::size_t start = ab;
            for (std::string_view piece : scan::split_commas(text_.substr(ab, ae - ab), jumps_.subspan(ab, ae - ab))) {
                start = piece.data() - text_.data();
                args.push_back(compile(start, start + piece.size()));
                piece_bounds.push_back(static_cast<std::uint32_t>(start));
                piece_bounds.push_back(static_cast<std::uint32_t>(start + piece.size()));
            }
        }
        std::uint32_t n = node(NodeKind::call, b, e);
        c_.nodes[n].aux = static_cast<std::uint32_t>(b + open);
        c_.nodes[n].first = static_cast<std::uint32_t>(c_.kids.size());
        c_.nodes[n].count = static_cast<std::uint32_t>(args.size());
        c_.kids.insert(c_.kids.end(), args.begin(), args.end());
        // Then the start and end of each argument text as written, which
        // the argument's own node no longer holds once its brackets are off.
        c_.kids.insert(c_.kids.end(), piece_bounds.begin(), piece_bounds.end());
        return n;
    }

    Compiled& c_;
    std::string_view text_;
    scan::Jumps jumps_;
};

// The whole-text checks run once per text: the syntax check, then the error
// word rule. Both hold for every operand text once they hold for the whole
// (an operand is a bracket-balanced part cut at depth zero, and an error
// segment inside a part is one of the whole), so the tree needs no more.
std::shared_ptr<const Compiled> analyse(std::string_view text) {
    auto c = std::make_shared<Compiled>();
    c->text = Text(text);
    if (text.size() >= UINT32_MAX || !scan::syntax_ok(text) || scan::has_error_segment(text)) {
        c->nodes.push_back(Node{NodeKind::failure});
        return c;
    }
    std::vector<std::uint32_t> jumps = scan::bracket_jumps(c->text);
    c->root = Compiler(*c, jumps).compile(0, text.size());
    return c;
}

class Evaluator {
public:
    Evaluator(const Compiled& c, Arbenv* env, Globals& g) : c_(c), env_(env), g_(g) {}

    Value eval(std::uint32_t index) {
        DepthGuard guard;
        if (guard.too_deep()) return Value::failure();
        const Node& n = c_.nodes[index];
        switch (n.kind) {
        case NodeKind::empty: return Value::number({0, 0});
        case NodeKind::number: return Value::number(n.number);
        case NodeKind::failure: return Value::failure();
        case NodeKind::name: return name(text(n));
        case NodeKind::fold: return fold(n);
        case NodeKind::condition: return condition(n);
        case NodeKind::negate: return negate(eval(kid(n, 0)));
        case NodeKind::postfix: return postfix(n, eval(kid(n, 0)));
        case NodeKind::call: return call(n);
        case NodeKind::atom: return atom(text(n));
        }
        return Value::failure();
    }

private:
    std::string_view text(const Node& n) const {
        return std::string_view(c_.text).substr(n.begin, n.end - n.begin);
    }
    std::string_view text(std::size_t b, std::size_t e) const { return std::string_view(c_.text).substr(b, e - b); }
    std::uint32_t kid(const Node& n, std::uint32_t k) const { return c_.kids[n.first + k]; }

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
        auto cut = [&](std::uint32_t k) { return c_.kids[n.first + n.count + k - 1]; };  // k >= 1
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
        case Value::Kind::object: return Value::failure();
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
            const Complex g = real ? Complex{special::factorial(v.num.re), 0}
                                   : special::gamma(Complex{v.num.re + 1, v.num.im});
            if (std::isfinite(g.re) && std::isfinite(g.im)) return Value::number(g);
            return Value::formula_of(Text(text(n)));
        }
        if (v.is_error()) return poisoned(v, v).value();
        if (v.kind != Value::Kind::formula && v.kind != Value::Kind::pair) return Value::failure();
        Text inner = joined(v.text);
        if (inner.size() > max_formula_text) return Value::failure();
        Text t = scan::is_plain_name(inner) ? inner : Text("(") + inner + Text(")");
        t += n.op;
        return Value::formula_of(std::move(t));
    }

    static int truth(const Value& v) {
        if (v.kind != Value::Kind::number || v.num.im != 0) return -1;
        if (v.num.re == 0) return 0;
        if (cx::equal(v.num.re, 1)) return 1;
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
            int x = truth(Value::number(a)), y = truth(Value::number(b));
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
        if (it == g_.builtins.end()) return atom(text(n));
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
            texts[k] = text(c_.kids[n.first + n.count + 2 * k], c_.kids[n.first + n.count + 2 * k + 1]);
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
    g.cache.put(text, c, text.size() * 2 + c->nodes.size() * sizeof(Node) + c->kids.size() * 4 + 64);
    return c;
}

}  // namespace

Hooks& hooks() noexcept {
    static Hooks h;
    return h;
}

Value evaluate(std::string_view text, Arbenv* env) {
    Globals* g = globals();
    if (!g || !env) return Value::failure();
    if (!env->abort_text.empty()) return Value::failure(Error::evaluation_aborted);
    DepthGuard guard;
    if (guard.too_deep()) return Value::failure();
    std::shared_ptr<const Compiled> c = analysed(*g, text);
    return Evaluator(*c, env, *g).eval(c->root);
}

Prepared prepare(std::string_view text) {
    Globals* g = globals();
    return g ? analysed(*g, text) : analyse(text);
}

Value evaluate(const Prepared& c, Arbenv* env) {
    Globals* g = globals();
    if (!g || !env || !c) return Value::failure();
    if (!env->abort_text.empty()) return Value::failure(Error::evaluation_aborted);
    DepthGuard guard;
    if (guard.too_deep()) return Value::failure();
    return Evaluator(*c, env, *g).eval(c->root);
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

}  // namespace ostr::lang
