// Bracket walking, operator finding and the syntax rules of expression text.
// Every walk treats "(" ")", ":" ";" and "[" "]" alike, paired by position.
#include "grammar/scan.hpp"

#include "numtext/numtext_adapter.hpp"

namespace ostr::lang::scan {
namespace {

using ops::in;

int opener_kind(char c) noexcept {
    auto k = ops::openers.find(c);
    return k == std::string_view::npos ? -1 : static_cast<int>(k);
}
int closer_kind(char c) noexcept {
    auto k = ops::closers.find(c);
    return k == std::string_view::npos ? -1 : static_cast<int>(k);
}

// A bracket stack that lives on the C++ stack until the nesting is deep.
class KindStack {
public:
    void push(int k) {
        if (n_ < sizeof small_) small_[n_] = static_cast<char>(k);
        else big_.push_back(static_cast<char>(k));
        ++n_;
    }
    // Pops when the top is of kind k; false on a mismatch or an empty stack.
    bool pop(int k) {
        if (n_ == 0 || top() != k) return false;
        if (n_ > sizeof small_) big_.pop_back();
        --n_;
        return true;
    }
    bool empty() const noexcept { return n_ == 0; }

private:
    int top() const { return n_ > sizeof small_ ? big_.back() : small_[n_ - 1]; }
    char small_[64]{};
    std::size_t n_ = 0;
    std::vector<char> big_;
};

// Calls visit(i) for every character at depth zero, left to right, until it
// answers true. Answers the stopping position, npos at the end, or marks a
// mismatch.
template <class Visit>
Found walk_forward(std::string_view t, Jumps jumps, Visit visit) {
    Found f;
    if (!jumps.empty()) {
        for (std::size_t i = 0; i < t.size(); ++i) {
            if (opener_kind(t[i]) >= 0) { i += jumps[i]; continue; }
            if (visit(i)) return {Found::Kind::at, i};
        }
        return f;
    }
    KindStack stack;
    for (std::size_t i = 0; i < t.size(); ++i) {
        char c = t[i];
        if (int k = opener_kind(c); k >= 0) { stack.push(k); continue; }
        if (int k = closer_kind(c); k >= 0) {
            if (!stack.pop(k)) return {Found::Kind::mismatch, npos};
            continue;
        }
        if (stack.empty() && visit(i)) return {Found::Kind::at, i};
    }
    return f;
}

// The mirror image: right to left, closers pushed, openers popped.
template <class Visit>
Found walk_backward(std::string_view t, Jumps jumps, Visit visit) {
    Found f;
    if (!jumps.empty()) {
        for (std::size_t i = t.size(); i-- > 0;) {
            if (closer_kind(t[i]) >= 0) { i -= jumps[i]; continue; }
            if (visit(i)) return {Found::Kind::at, i};
        }
        return f;
    }
    KindStack stack;
    for (std::size_t i = t.size(); i-- > 0;) {
        char c = t[i];
        if (int k = closer_kind(c); k >= 0) { stack.push(k); continue; }
        if (int k = opener_kind(c); k >= 0) {
            if (!stack.pop(k)) return {Found::Kind::mismatch, npos};
            continue;
        }
        if (stack.empty() && visit(i)) return {Found::Kind::at, i};
    }
    return f;
}

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

bool name_byte(char c) noexcept {
    auto u = static_cast<unsigned char>(c);
    return u > ' ' && u != 0x7f && !in(ops::delimiters, c);
}

}  // namespace

std::vector<std::uint32_t> bracket_jumps(std::string_view t) {
    std::vector<std::uint32_t> jumps(t.size(), 0);
    std::vector<std::uint32_t> open;
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (opener_kind(t[i]) >= 0) {
            open.push_back(static_cast<std::uint32_t>(i));
        } else if (int k = closer_kind(t[i]); k >= 0) {
            if (open.empty() || opener_kind(t[open.back()]) != k) return {};
            auto d = static_cast<std::uint32_t>(i - open.back());
            jumps[open.back()] = jumps[i] = d;
            open.pop_back();
        }
    }
    if (!open.empty()) return {};
    return jumps;
}

bool balanced(std::string_view t) {
    KindStack stack;
    for (char c : t) {
        if (int k = opener_kind(c); k >= 0) stack.push(k);
        else if (int k2 = closer_kind(c); k2 >= 0 && !stack.pop(k2)) return false;
    }
    return stack.empty();
}

std::size_t matching_closer(std::string_view t, std::size_t open) {
    if (open >= t.size() || opener_kind(t[open]) < 0) return npos;
    KindStack stack;
    for (std::size_t i = open; i < t.size(); ++i) {
        if (int k = opener_kind(t[i]); k >= 0) stack.push(k);
        else if (int k2 = closer_kind(t[i]); k2 >= 0) {
            if (!stack.pop(k2)) return npos;
            if (stack.empty()) return i;
        }
    }
    return npos;
}

Found find_first(std::string_view t, std::string_view token, Jumps jumps) {
    if (token.empty()) return {};
    return walk_forward(t, jumps, [&](std::size_t i) { return t.substr(i, token.size()) == token; });
}

Found find_last(std::string_view t, std::string_view token, Jumps jumps) {
    if (token.empty()) return {};
    // The token must end at the current character; its start is answered.
    Found f = walk_backward(t, jumps, [&](std::size_t i) {
        return i + 1 >= token.size() && t.substr(i + 1 - token.size(), token.size()) == token;
    });
    if (f.found()) f.pos = f.pos + 1 - token.size();
    return f;
}

bool is_sign(std::string_view t, std::size_t pos) {
    if (pos == 0) return true;
    return in(ops::sign_after, t[pos - 1]) || exponent_sign(t, pos);
}

bool exponent_sign(std::string_view t, std::size_t pos) {
    if (pos < 2 || pos > t.size() || (t[pos - 1] != 'E' && t[pos - 1] != 'e')) return false;
    // An exponent sign follows a mantissa: digits with at most one point,
    // standing at the start or after a delimiter (so x2e-1 is a name minus 1).
    std::size_t j = pos - 1, digits = 0, points = 0;
    while (j > 0 && (is_digit(t[j - 1]) || t[j - 1] == '.')) {
        --j;
        if (t[j] == '.') ++points; else ++digits;
    }
    if (digits == 0 || points > 1) return false;
    return j == 0 || in(ops::delimiters, t[j - 1]);
}

std::size_t name_start(std::string_view t, std::size_t end) {
    while (end > 0 && name_byte(t[end - 1])) --end;
    return end;
}

Split find_split(std::string_view t, Jumps jumps) {
    // One pass collects every binary operator at depth zero; the split rule
    // then takes the first operator of ops::split_order that occurs.
    std::vector<std::uint32_t> at[5];
    walk_forward(t, jumps, [&](std::size_t i) {
        for (std::size_t r = 0; r < ops::split_order.size(); ++r) {
            if (t[i] != ops::split_order[r].op) continue;
            if (r < 2 && is_sign(t, i)) break;
            at[r].push_back(static_cast<std::uint32_t>(i));
            break;
        }
        return false;
    });
    for (std::size_t r = 0; r < ops::split_order.size(); ++r)
        if (!at[r].empty()) return {ops::split_order[r].op, std::move(at[r])};
    return {};
}

std::size_t split_position(std::string_view t, Jumps jumps) {
    Split s = find_split(t, jumps);
    if (s.at.empty()) return npos;
    return s.op == '^' ? s.at.front() : s.at.back();
}

CondFound find_condition(std::string_view t, Jumps jumps) {
    for (const auto& rule : ops::condition_order) {
        Found f = rule.rightmost ? find_last(t, rule.token, jumps) : find_first(t, rule.token, jumps);
        if (f.found()) return {f.pos, rule.token.size(), rule.cond};
    }
    return {};
}

bool has_condition_char(std::string_view t, Jumps jumps) {
    return walk_forward(t, jumps, [&](std::size_t i) { return in(ops::condition_chars, t[i]); }).found();
}

bool syntax_ok(std::string_view t) {
    if (t.empty()) return true;
    if (t.front() == '=' || !balanced(t)) return false;
    if (t.find("[]") != npos || t.find("...") != npos) return false;
    if (in(ops::bad_first, t.front()) || in(ops::bad_last, t.back())) return false;
    for (std::size_t i = 1; i < t.size(); ++i) {
        char x = t[i - 1], y = t[i];
        if (!in(ops::sign_after, x) || !in(ops::needs_operand_before, y)) continue;
        if (y == '=' && in("<>=~", x)) continue;          // <= >= == ~=
        if (opener_kind(x) >= 0 && opener_kind(x) == closer_kind(y)) continue;  // () and :;
        if (x == ',' && (y == ',' || y == ';')) continue;  // an empty block element runs as return=0
        return false;
    }
    return true;
}

bool is_plain_name(std::string_view t) {
    if (t.empty() || t == "i" || t == "this") return false;
    for (char c : t)
        if (!name_byte(c)) return false;
    if (is_digit(t.front()) || t.front() == '.') return !is_numeric_literal(t);
    return true;
}

bool has_error_segment(std::string_view t) {
    // Each ">" is tried against the next "<"; the inside is rejected at its
    // first delimiter, so every byte is looked at a bounded number of times.
    std::size_t close = npos;
    for (std::size_t i = t.size(); i-- > 0;) {
        if (t[i] == '<') { close = i; continue; }
        if (t[i] != '>' || close == npos) continue;
        std::string_view inside = t.substr(i + 1, close - i - 1);
        std::size_t k = 0;
        while (k < inside.size() && name_byte(inside[k])) ++k;
        if (k == inside.size() && is_plain_name(inside)) return true;
    }
    return false;
}

bool is_error_word(std::string_view t) {
    return t.size() >= 3 && t.front() == '>' && t.back() == '<' &&
           is_plain_name(t.substr(1, t.size() - 2));
}

bool enclosed(std::string_view t, Jumps jumps) {
    if (t.size() < 2 || t.front() != '(' || t.back() != ')') return false;
    if (!jumps.empty()) return jumps[0] == t.size() - 1;
    return matching_closer(t, 0) == t.size() - 1;
}

Peeled peel(std::string_view t, Jumps jumps) {
    Peeled p{t, false, false};
    while (!p.rest.empty()) {
        Jumps j = jumps.empty() ? jumps : jumps.subspan(p.rest.data() - t.data(), p.rest.size());
        char c = p.rest.front();
        if (c == '-' || c == '+') {
            if (c == '-') p.negative = !p.negative;
            p.rest.remove_prefix(1);
        } else if (enclosed(p.rest, j)) {
            p.rest = p.rest.substr(1, p.rest.size() - 2);
        } else {
            break;
        }
        p.changed = true;
    }
    return p;
}

std::vector<std::string_view> split_commas(std::string_view t, Jumps jumps) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    walk_forward(t, jumps, [&](std::size_t i) {
        if (t[i] == ',') {
            pieces.push_back(t.substr(start, i - start));
            start = i + 1;
        }
        return false;
    });
    pieces.push_back(t.substr(start));
    return pieces;
}

}  // namespace ostr::lang::scan
