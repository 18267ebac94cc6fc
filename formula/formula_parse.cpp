// Reading a formula text into the working tree, cut exactly as the evaluator cuts it.
// One bracket-pairing pass first; every later scan jumps over bracketed groups.
#include <cstddef>
#include <string_view>
#include <vector>

#include "formula/formula_number.hpp"
#include "formula/formula_tree.hpp"

namespace ostr::formula::detail {
namespace {

constexpr std::string_view openers = "(:[";
constexpr std::string_view closers = ");]";
// A "+" or "-" right after one of these is a sign, not an operator.
constexpr std::string_view sign_makers = "+-*/^(=[:~&|<>@#,";
// Depth-zero characters that make a text a condition, a list or a string, which the
// evaluator reads before any arithmetic split.
constexpr std::string_view non_arithmetic = "<>=&|~,\"";
constexpr std::size_t none = static_cast<std::size_t>(-1);

bool has(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_name_char(char c) {
    return is_digit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

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

// Whole numbers of up to 15 digits are read here; they are most of the numbers in
// formulas and need no copy for strtod.
bool literal(std::string_view t, double* v) {
    if (!t.empty() && t.size() <= 15) {
        double x = 0;
        std::size_t k = 0;
        while (k < t.size() && is_digit(t[k])) x = 10 * x + (t[k++] - '0');
        if (k == t.size()) {
            *v = x;
            return true;
        }
    }
    return read_number(t, v);
}

class Reader {
public:
    explicit Reader(std::string_view s) : s_(s), match_(s.size(), none) { pair_brackets(); }

    Node read() {
        if (!balanced_) return atom(0, s_.size(), true);
        return read(0, s_.size(), 0);
    }

private:
    std::string_view s_;
    std::vector<std::size_t> match_;  // an opener's closer; none elsewhere
    bool balanced_ = true;

    void pair_brackets() {
        std::vector<std::size_t> open;
        for (std::size_t k = 0; k < s_.size(); ++k) {
            if (has(openers, s_[k])) {
                open.push_back(k);
            } else if (auto c = closers.find(s_[k]); c != std::string_view::npos) {
                if (open.empty() || s_[open.back()] != openers[c]) {
                    balanced_ = false;
                    return;
                }
                match_[open.back()] = k;
                open.pop_back();
            }
        }
        balanced_ = open.empty();
    }

    // Calls f(k) for every position in [b, e) at bracket depth zero, brackets excluded.
    template <class F>
    void scan(std::size_t b, std::size_t e, F f) const {
        for (std::size_t k = b; k < e; ++k) {
            if (match_[k] != none)
                k = match_[k];
            else
                f(k);
        }
    }

    // The E of a number's exponent: digits (with points) before it, not part of a name.
    bool mantissa_before(std::size_t epos) const {
        std::size_t q = epos;
        bool digits = false;
        while (q > 0 && (is_digit(s_[q - 1]) || s_[q - 1] == '.')) digits |= is_digit(s_[--q]);
        return digits && (q == 0 || !is_name_char(s_[q - 1]));
    }

    bool binary_sign(std::size_t k) const {
        char c = s_[k - 1];
        if (has(sign_makers, c)) return false;
        return !((c == 'e' || c == 'E') && mantissa_before(k - 1));
    }

    Node atom(std::size_t b, std::size_t e, bool opaque) const {
        Node n;
        n.kind = Kind::atom;
        n.text = s_.substr(b, e - b);
        char last = s_[e - 1];
        // A postfix operand or a dangling mantissa ("2e") would change meaning next to a sign.
        n.opaque = opaque || last == '!' || last == '\'' ||
                   ((last == 'e' || last == 'E') && mantissa_before(e - 1));
        return n;
    }

    // Pieces of [b, e) between the given cut positions; flag says which cuts invert.
    std::vector<Item> pieces(std::size_t b, std::size_t e, const std::vector<std::size_t>& cuts,
                             char inverting, int depth) const {
        std::vector<Item> items;
        items.reserve(cuts.size() + 1);
        std::size_t start = b;
        bool inverse = false;
        for (std::size_t k : cuts) {
            items.push_back({inverse, read(start, k, depth + 1)});
            inverse = s_[k] == inverting;
            start = k + 1;
        }
        items.push_back({inverse, read(start, e, depth + 1)});
        return items;
    }

    // The evaluator's order: number, then condition, then the split (after the leading
    // signs): every binary + and -, else every * and /, else the ^ chain from the right.
    // Cutting at all operators of a level at once gives the same grouping as its
    // repeated rightmost cuts, and keeps long sums and products off the stack.
    Node read(std::size_t b, std::size_t e, int depth) const {
        if (b >= e) return number(0);
        if (depth > max_depth) return atom(b, e, true);
        double v = 0;
        if (std::string_view t = s_.substr(b, e - b); literal(t, &v)) {
            Node n = number(v);
            if (plain_decimal(t)) n.text = t;
            return n;
        }
        bool condition = s_[b] == '~';
        scan(b, e, [&](std::size_t k) { condition |= has(non_arithmetic, s_[k]); });
        if (condition) return atom(b, e, true);

        std::size_t p = b;
        while (p < e && (s_[p] == '+' || s_[p] == '-')) ++p;
        std::vector<std::size_t> adds, muls, pows;
        scan(p, e, [&](std::size_t k) {
            char c = s_[k];
            if ((c == '+' || c == '-') && binary_sign(k)) adds.push_back(k);
            if (c == '*' || c == '/') muls.push_back(k);
            if (c == '^') pows.push_back(k);
        });
        if (!adds.empty()) return make_sum(pieces(b, e, adds, '-', depth));
        if (!muls.empty()) return make_product(pieces(b, e, muls, '/', depth));
        if (!pows.empty()) {
            std::vector<Item> chain = pieces(b, e, pows, 0, depth);
            Node acc = std::move(chain.back().node);
            for (std::size_t i = chain.size() - 1; i-- > 0;)
                acc = make_power(std::move(chain[i].node), std::move(acc));
            return acc;
        }
        return normalised(b, e, depth);
    }

    // Leading signs and enclosing parentheses come off; what remains is read again.
    Node normalised(std::size_t b, std::size_t e, int depth) const {
        bool negative = false;
        std::size_t q = b, f = e;
        for (;;) {
            if (q < f && s_[q] == '-') {
                negative = !negative;
                ++q;
            } else if (q < f && s_[q] == '+') {
                ++q;
            } else if (q < f && s_[q] == '(' && match_[q] == f - 1) {
                ++q;
                --f;
            } else {
                break;
            }
        }
        if (q == b && f == e) return atom(b, e, false);
        Node inner = read(q, f, depth + 1);
        return negative ? negated(std::move(inner)) : inner;
    }
};

}  // namespace

Node parse(std::string_view text) { return Reader(text).read(); }

}  // namespace ostr::formula::detail
