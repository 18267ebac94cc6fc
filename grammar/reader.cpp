// The one reader of the grammar: an expression text to its tree, by the
// scanner's rules and the precedence table of operators.hpp.
#include <algorithm>
#include <optional>

#include "grammar/scan.hpp"
#include "grammar/tree.hpp"
#include "numtext/numtext_adapter.hpp"

namespace ostr::grammar {
namespace {

namespace scan = lang::scan;

// Whole numbers of up to 15 digits are most of the literals; they are exact
// in a double and need no trip through the number reader.
bool literal(std::string_view t, double* v) {
    if (!t.empty() && t.size() <= 15) {
        double x = 0;
        std::size_t k = 0;
        while (k < t.size() && t[k] >= '0' && t[k] <= '9') x = 10 * x + (t[k++] - '0');
        if (k == t.size()) {
            *v = x;
            return true;
        }
    }
    return lang::is_numeric_literal(t, v);
}

// One postfix access (index, member, method call) at the end of a text.
struct Access {
    Kind kind;
    std::size_t operand_end;  // the operand is [b, operand_end)
    std::size_t aux, aux2;
};

class Reader {
public:
    Reader(Tree& out, std::string_view text, scan::Jumps jumps, int limit)
        : t_(out), text_(text), jumps_(jumps), limit_(limit) {}

    // Leading signs and enclosing parentheses come off one layer at a
    // time, and the inside is classified afresh after each layer: in
    // -(-9+2) the inner sign belongs to -9, because -9+2 has an operator.
    // The layers are a loop, not a recursion, so ((((1)))) nested a
    // hundred thousand deep costs no stack.
    std::uint32_t read(std::size_t b, std::size_t e) {
        Level level(depth_);
        if (depth_ > limit_) return node(Kind::deep, b, e);
        const std::size_t whole_b = b, whole_e = e;
        bool negative = false;
        auto sign = [&](std::uint32_t n) {
            return negative ? with_kids(node(Kind::negate, whole_b, whole_e), {n}) : n;
        };
        for (;;) {
            if (auto n = classify(b, e)) return sign(*n);
            std::size_t nb = b, ne = e;
            while (nb < ne && (text_[nb] == '-' || text_[nb] == '+')) negative ^= text_[nb++] == '-';
            if (scan::enclosed(text_.substr(nb, ne - nb), jumps_.subspan(nb, ne - nb))) ++nb, --ne;
            if (nb == b && ne == e) break;
            b = nb, e = ne;
        }
        if (scan::find_first(text_.substr(b, e - b), ",", jumps_.subspan(b, e - b)).found())
            return sign(node(Kind::failure, b, e));
        if (auto n = call(b, e)) return sign(*n);
        return sign(accesses(b, e));
    }

private:
    struct Level {
        explicit Level(int& d) noexcept : d_(++d) {}
        ~Level() { --d_; }
        int& d_;
    };

    // What the text is before any sign or bracket comes off: nothing when
    // it is none of empty, number, "i", name, condition, operator chain or
    // postfix operand.
    std::optional<std::uint32_t> classify(std::size_t b, std::size_t e) {
        std::string_view t = text_.substr(b, e - b);
        scan::Jumps j = jumps_.subspan(b, e - b);
        if (t.empty()) return node(Kind::empty, b, e);
        if (double v; literal(t, &v)) {
            std::uint32_t n = node(Kind::number, b, e);
            t_.nodes[n].value = v;
            return n;
        }
        // "i" is a name: a variable i (a loop counter, say) shadows the
        // imaginary unit, which it is otherwise.
        if (t == "i" || scan::is_plain_name(t)) return node(Kind::name, b, e);
        if (t.front() == '~' || scan::has_condition_char(t, j)) {
            if (auto n = condition(b, e)) return n;
        }
        scan::Split split = scan::find_split(t, j);
        if (!split.at.empty()) return fold(b, e, split);
        if (t.back() == '!' || t.back() == '\'') {
            std::uint32_t n = node(Kind::postfix, b, e);
            t_.nodes[n].op = t.back();
            return with_kids(n, {read(b, e - 1)});
        }
        return std::nullopt;
    }

    std::uint32_t node(Kind k, std::size_t b, std::size_t e) {
        Node n;
        n.kind = k;
        n.begin = static_cast<std::uint32_t>(b);
        n.end = static_cast<std::uint32_t>(e);
        t_.nodes.push_back(n);
        return static_cast<std::uint32_t>(t_.nodes.size() - 1);
    }
    std::uint32_t with_kids(std::uint32_t n, std::initializer_list<std::uint32_t> kids) {
        t_.nodes[n].first = static_cast<std::uint32_t>(t_.kids.size());
        t_.nodes[n].count = static_cast<std::uint32_t>(kids.size());
        t_.kids.insert(t_.kids.end(), kids);
        return n;
    }
    // Kids first, then the trailing positions (cuts or argument bounds).
    std::uint32_t with_kids(std::uint32_t n, const std::vector<std::uint32_t>& kids,
                            const std::vector<std::uint32_t>& positions) {
        t_.nodes[n].first = static_cast<std::uint32_t>(t_.kids.size());
        t_.nodes[n].count = static_cast<std::uint32_t>(kids.size());
        t_.kids.insert(t_.kids.end(), kids.begin(), kids.end());
        t_.kids.insert(t_.kids.end(), positions.begin(), positions.end());
        return n;
    }

    // A chain of one operator: the pieces between its positions.
    std::uint32_t fold(std::size_t b, std::size_t e, const scan::Split& s) {
        std::vector<std::uint32_t> pieces, cuts;
        pieces.reserve(s.at.size() + 1);
        cuts.reserve(s.at.size());
        std::size_t start = b;
        for (std::uint32_t at : s.at) {
            pieces.push_back(read(start, b + at));
            cuts.push_back(static_cast<std::uint32_t>(b + at));
            start = b + at + 1;
        }
        pieces.push_back(read(start, e));
        std::uint32_t n = node(Kind::fold, b, e);
        t_.nodes[n].op = s.op;
        return with_kids(n, pieces, cuts);
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
        scan::CondFound f = scan::find_condition(text_.substr(rb, re - rb), jumps_.subspan(rb, re - rb));
        if (!f.found() && inverts == 0) return std::nullopt;
        std::uint32_t n = node(Kind::condition, b, e);
        t_.nodes[n].invert = static_cast<std::uint8_t>((inverts & 1u) | (f.found() ? 0u : 2u));
        if (!f.found()) return with_kids(n, {read(rb, re)});
        t_.nodes[n].cond = f.cond;
        t_.nodes[n].aux = static_cast<std::uint32_t>(rb + f.pos);
        std::uint32_t left = read(rb, rb + f.pos);
        std::uint32_t right = read(rb + f.pos + f.len, re);
        return with_kids(n, {left, right});
    }

    // The comma pieces of [ab, ae), each read, with their bounds as written.
    void arguments(std::size_t ab, std::size_t ae, std::vector<std::uint32_t>& args,
                   std::vector<std::uint32_t>& bounds) {
        if (ae <= ab) return;
        for (std::string_view piece : scan::split_commas(text_.substr(ab, ae - ab), jumps_.subspan(ab, ae - ab))) {
            std::size_t start = static_cast<std::size_t>(piece.data() - text_.data());
            args.push_back(read(start, start + piece.size()));
            bounds.push_back(static_cast<std::uint32_t>(start));
            bounds.push_back(static_cast<std::uint32_t>(start + piece.size()));
        }
    }

    // name(arguments): a plain name directly followed by one bracketed list.
    std::optional<std::uint32_t> call(std::size_t b, std::size_t e) {
        std::string_view t = text_.substr(b, e - b);
        std::size_t open = t.find('(');
        if (open == std::string_view::npos || open == 0 || t.back() != ')') return std::nullopt;
        if (jumps_[b + open] != t.size() - 1 - open || !scan::is_plain_name(t.substr(0, open)))
            return std::nullopt;
        std::vector<std::uint32_t> args, bounds;
        arguments(b + open + 1, e - 1, args, bounds);
        std::uint32_t n = node(Kind::call, b, e);
        t_.nodes[n].aux = static_cast<std::uint32_t>(b + open);
        return with_kids(n, args, bounds);
    }

    // The access that ends [b, e), if any: operand.name(args), operand[args]
    // or operand.name, with a non-empty operand.
    std::optional<Access> access(std::size_t b, std::size_t e) const {
        char last = text_[e - 1];
        if (last == ')' || last == ']') {
            std::size_t open = e - 1 - jumps_[e - 1];
            if (last == ']') {
                if (open > b) return Access{Kind::index, open, open, 0};
                return std::nullopt;
            }
            std::size_t name = scan::name_start(text_, open);
            if (name > b + 1 && name < open && text_[name - 1] == '.' &&
                scan::is_plain_name(text_.substr(name, open - name)))
                return Access{Kind::method, name - 1, name - 1, open};
            return std::nullopt;
        }
        std::size_t name = scan::name_start(text_, e);
        if (name > b + 1 && name < e && text_[name - 1] == '.' && scan::is_plain_name(text_.substr(name, e - name)))
            return Access{Kind::member, name - 1, name - 1, 0};
        return std::nullopt;
    }

    // A chain of accesses, a.b[1].c(2), is taken apart from the right in a
    // loop, so a long chain costs one pass and no recursion; its operand is
    // read as any text is. None of the operands of the chain could be read
    // otherwise: the whole text has no operator, condition or postfix at
    // depth zero, so neither has any of its leading parts.
    std::uint32_t accesses(std::size_t b, std::size_t e) {
        std::vector<Access> chain;
        for (std::size_t ce = e; ce > b;) {
            std::optional<Access> a = access(b, ce);
            if (!a) break;
            chain.push_back(*a);
            ce = a->operand_end;
        }
        if (chain.empty()) return node(Kind::atom, b, e);
        std::uint32_t operand = read(b, chain.back().operand_end);
        for (std::size_t k = chain.size(); k-- > 0;) {
            const Access& a = chain[k];
            std::size_t end = k == 0 ? e : chain[k - 1].operand_end;
            std::vector<std::uint32_t> kids{operand}, bounds;
            if (a.kind == Kind::index) arguments(a.aux + 1, end - 1, kids, bounds);
            if (a.kind == Kind::method) arguments(a.aux2 + 1, end - 1, kids, bounds);
            std::uint32_t n = node(a.kind, b, end);
            t_.nodes[n].aux = static_cast<std::uint32_t>(a.aux);
            t_.nodes[n].aux2 = static_cast<std::uint32_t>(a.aux2);
            operand = with_kids(n, kids, bounds);
        }
        return operand;
    }

    Tree& t_;
    std::string_view text_;
    scan::Jumps jumps_;
    int limit_;
    int depth_ = 0;
};

}  // namespace

Tree read(std::string_view text, int depth_limit) {
    Tree tree;
    std::vector<std::uint32_t> jumps;
    if (text.size() < UINT32_MAX) jumps = scan::bracket_jumps(text);
    if (jumps.empty() && !text.empty()) {
        Node n;
        n.kind = Kind::failure;
        n.end = static_cast<std::uint32_t>(std::min<std::size_t>(text.size(), UINT32_MAX));
        tree.nodes.push_back(n);
        return tree;
    }
    tree.root = Reader(tree, text, jumps, depth_limit).read(0, text.size());
    return tree;
}

}  // namespace ostr::grammar
