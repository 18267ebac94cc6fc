// Reading a formula text into the working tree: the grammar's reader gives the
// expression tree, exactly as the evaluator cuts the text, and the working tree is
// built from it through the simplifying constructors.
#include <cstddef>
#include <string_view>
#include <vector>

#include "formula/formula_tree.hpp"
#include "grammar/scan.hpp"
#include "grammar/tree.hpp"

namespace ostr::formula::detail {
namespace {

using G = grammar::Kind;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Optional "-", digits with at most one point, optional exponent: a literal that can be
// written back as it stands.
bool plain_decimal(std::string_view t) {
    std::size_t k = t.size() > 0 && t[0] == '-' ? 1 : 0, digits = 0, points = 0;
    for (; k < t.size() && (is_digit(t[k]) || t[k] == '.'); ++k) (t[k] == '.' ? points : digits) += 1;
    if (digits == 0 || points > 1) return false;
    if (k < t.size() && (t[k] == 'e' || t[k] == 'E')) {
        if (++k < t.size() && (t[k] == '+' || t[k] == '-')) ++k;
        std::size_t exponent_digits = 0;
        for (; k < t.size() && is_digit(t[k]); ++k) ++exponent_digits;
        if (exponent_digits == 0) return false;
    }
    return k == t.size();
}

class Builder {
public:
    Builder(const grammar::Tree& tree, std::string_view text) : t_(tree), s_(text) {}

    Node build(std::uint32_t index) const {
        if (stopping()) return number(0);
        const grammar::Node& n = t_[index];
        switch (n.kind) {
            case G::empty:
                return number(0);
            case G::number: {
                Node x = number(n.value);
                if (plain_decimal(span(n))) x.text = span(n);
                return x;
            }
            case G::negate:
                return negated(build(t_.kid(n, 0)));
            case G::fold:
                return fold(n);
            // What the evaluator does not compute by arithmetic is kept whole, and
            // bracketed wherever it stands as an operand.
            case G::failure:
            case G::deep:
            case G::condition:
            case G::postfix:
                return atom(span(n), true);
            case G::name:
            case G::call:
            case G::index:
            case G::member:
            case G::method:
            case G::atom:
                return atom(span(n), false);
        }
        return atom(span(n), true);
    }

private:
    const grammar::Tree& t_;
    std::string_view s_;

    std::string_view span(const grammar::Node& n) const { return s_.substr(n.begin, n.end - n.begin); }

    // A name such as 2e would join a following sign into an exponent (2e-1).
    static Node atom(std::string_view t, bool opaque) {
        Node n;
        n.kind = Kind::atom;
        n.text = t;
        n.opaque = opaque || (!t.empty() && (t.back() == 'e' || t.back() == 'E') && lang::scan::exponent_sign(t, t.size()));
        return n;
    }

    // The pieces of a chain as items: a piece after `inverting` is subtracted or
    // divided. A piece that is itself the chain of the level's other operator (a-b
    // in a-b+c, a/b in a/b*c) is taken apart into the same list, so a sum or a
    // product is built from all its terms or factors at once.
    void items(const grammar::Node& n, char inverting, char nested, bool inverse, std::vector<Item>& out) const {
        for (std::uint32_t k = 0; k < n.count; ++k) {
            const grammar::Node& piece = t_[t_.kid(n, k)];
            std::uint32_t b = k == 0 ? n.begin : t_.cut(n, k) + 1;
            std::uint32_t e = k + 1 == n.count ? n.end : t_.cut(n, k + 1);
            bool inv = k == 0 ? inverse : s_[t_.cut(n, k)] == inverting;
            if (piece.kind == G::fold && piece.op == nested && piece.begin == b && piece.end == e)
                items(piece, inverting, 0, inv, out);
            else
                out.push_back({inv, build(t_.kid(n, k))});
        }
    }

    Node fold(const grammar::Node& n) const {
        std::vector<Item> list;
        list.reserve(n.count);
        switch (n.op) {
            case '+':
            case '-':
                items(n, '-', n.op == '+' ? '-' : 0, false, list);
                return make_sum(std::move(list));
            case '*':
            case '/':
                items(n, '/', n.op == '*' ? '/' : 0, false, list);
                return make_product(std::move(list));
            default: {
                // a^b^c is a^(b^c).
                Node acc = build(t_.kid(n, n.count - 1));
                for (std::uint32_t k = n.count - 1; k-- > 0;) acc = make_power(build(t_.kid(n, k)), std::move(acc));
                return acc;
            }
        }
    }
};

}  // namespace

Node parse(std::string_view text) {
    grammar::Tree tree = grammar::read(text, max_depth);
    return Builder(tree, text).build(tree.root);
}

}  // namespace ostr::formula::detail
