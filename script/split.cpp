// The statement scanners: wrapper removal, the depth-zero separator and
// assignment searches, the assignment-form test and the statement splitter.
// Bracket pairing comes from the evaluator's scanner (one set of rules for
// "(" ")", ":" ";" and "[" "]"); a group is stepped over by its jump, so
// every walk here is linear however deep the nesting.
#include <utility>

#include "grammar/scan.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using Jumps = std::vector<std::uint32_t>;

bool is_opener(char c) noexcept { return c == '(' || c == ':' || c == '['; }
bool is_closer(char c) noexcept { return c == ')' || c == ';' || c == ']'; }

// [b, e) of t with the wrapper pairs that enclose the whole range removed.
std::pair<std::size_t, std::size_t> stripped(std::string_view t, const Jumps& j, std::size_t b, std::size_t e,
                                             char open, char close) {
    while (e - b >= 2 && t[b] == open && t[e - 1] == close && j[b] == e - 1 - b) ++b, --e;
    return {b, e};
}

// Rightmost "=" at depth zero in [b, e) that is an assignment sign: not part
// of "==", "<=", ">=" or "~=".
std::size_t sign_in(std::string_view t, const Jumps& j, std::size_t b, std::size_t e) {
    for (std::size_t i = e; i-- > b;) {
        if (is_closer(t[i])) { i -= j[i]; continue; }
        if (t[i] != '=') continue;
        if (i + 1 < e && t[i + 1] == '=') continue;
        if (i > b && (t[i - 1] == '<' || t[i - 1] == '=' || t[i - 1] == '>' || t[i - 1] == '~')) continue;
        return i;
    }
    return std::string_view::npos;
}

bool comma_in(std::string_view t, const Jumps& j, std::size_t b, std::size_t e) {
    for (std::size_t i = b; i < e; ++i) {
        if (is_opener(t[i])) { i += j[i]; continue; }
        if (t[i] == ',') return true;
    }
    return false;
}

// Jumps of a text; empty when its brackets do not pair (an empty text has
// no brackets to pair and gets none either).
Jumps jumps_of(std::string_view t) { return lang::scan::bracket_jumps(t); }

}  // namespace

std::string_view strip_wrappers(std::string_view t, char open, char close) {
    if (t.size() < 2) return t;
    Jumps j = jumps_of(t);
    if (j.empty()) return t;
    auto [b, e] = stripped(t, j, 0, t.size(), open, close);
    return t.substr(b, e - b);
}

std::size_t assignment_sign(std::string_view t) {
    Jumps j = jumps_of(t);
    if (j.empty()) return std::string_view::npos;
    return sign_in(t, j, 0, t.size());
}

bool single_statement(std::string_view t) {
    if (t.empty()) return true;
    Jumps j = jumps_of(t);
    if (j.empty()) return false;  // malformed nesting never counts as single
    return !comma_in(t, j, 0, t.size());
}

bool assignment_form(std::string_view t) {
    if (t.empty() || t.front() == '=' || t.back() == '=') return false;
    Jumps j = jumps_of(t);
    if (j.empty() || comma_in(t, j, 0, t.size())) return false;
    std::size_t p = sign_in(t, j, 0, t.size());
    if (p == std::string_view::npos) return false;
    // a=b=c is not an assignment: neither side may hold a sign of its own.
    return sign_in(t, j, 0, p) == std::string_view::npos &&
           sign_in(t, j, p + 1, t.size()) == std::string_view::npos;
}

std::string_view block_keyword(std::string_view t) {
    std::size_t k = t.find(':');
    if (k == std::string_view::npos || k == 0 || t.back() != ';') return {};
    std::string_view kw = t.substr(0, k);
    if (!lang::scan::is_plain_name(kw)) return {};
    if (lang::scan::matching_closer(t, k) != t.size() - 1) return {};
    return kw;
}

std::vector<std::string_view> split_statements(std::string_view text) {
    std::vector<std::string_view> out;
    Jumps j = jumps_of(text);
    if (j.empty()) {
        if (!text.empty()) out.push_back(text);
        return out;
    }
    auto [b0, e0] = stripped(text, j, 0, text.size(), ':', ';');
    // An explicit stack of ranges still to split, the next one on top, so
    // that a group nested a hundred thousand deep costs no C++ stack.
    std::vector<std::pair<std::size_t, std::size_t>> todo{{b0, e0}};
    std::vector<std::pair<std::size_t, std::size_t>> pieces;
    if (b0 == e0) return out;
    while (!todo.empty()) {
        auto [b, e] = todo.back();
        todo.pop_back();
        std::tie(b, e) = stripped(text, j, b, e, '(', ')');
        if (!comma_in(text, j, b, e)) {
            out.push_back(text.substr(b, e - b));
            continue;
        }
        pieces.clear();
        std::size_t start = b;
        for (std::size_t i = b; i < e; ++i) {
            if (is_opener(text[i])) { i += j[i]; continue; }
            if (text[i] == ',') pieces.emplace_back(start, i), start = i + 1;
        }
        pieces.emplace_back(start, e);
        for (auto it = pieces.rbegin(); it != pieces.rend(); ++it) todo.push_back(*it);
    }
    return out;
}

}  // namespace ostr::script
