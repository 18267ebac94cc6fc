// The scanner of expression text: pure functions over std::string_view that
// do all bracket walking of the evaluator (pairing over the three bracket
// pairs, first and last occurrence at depth zero, sign or operator, error
// words, operand normalisation). Nothing else in the evaluator walks brackets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "grammar/operators.hpp"

namespace ostr::lang::scan {

inline constexpr std::size_t npos = std::string_view::npos;

// Bracket jumps of a balanced text: for every opener the distance to its
// closer and for every closer the distance back to its opener, 0 elsewhere.
// A scanner given the jumps of its text (or the aligned part of a larger
// text's jumps) steps over a bracketed group in one move instead of walking
// it; without them it walks with a stack and reports mismatches.
using Jumps = std::span<const std::uint32_t>;
// Empty when the brackets do not pair.
std::vector<std::uint32_t> bracket_jumps(std::string_view text);

// Answer of the depth-zero finders: a position, none, or a bracket mismatch
// (a closer meeting the wrong opener, or a bracket left unpaired in the
// direction of the walk).
struct Found {
    enum class Kind : unsigned char { none, at, mismatch } kind = Kind::none;
    std::size_t pos = npos;
    bool found() const noexcept { return kind == Kind::at; }
};

// True when every bracket pairs with its own kind, with a stack, so that
// "(]" and "((" both fail.
bool balanced(std::string_view text);

// Index of the bracket that closes the opener at `open`, or npos.
std::size_t matching_closer(std::string_view text, std::size_t open);

// Leftmost / rightmost start of `token` at bracket depth zero.
Found find_first(std::string_view text, std::string_view token, Jumps jumps = {});
Found find_last(std::string_view text, std::string_view token, Jumps jumps = {});

// True when the "+" or "-" at `pos` is a sign rather than a binary
// operator: it stands at the start, after a character of ops::sign_after,
// or it is the sign of an exponent (1.5E-3, 2e+10).
bool is_sign(std::string_view text, std::size_t pos);
// True when the "+" or "-" at `pos` is the sign of an exponent: it follows
// an "E" or "e" after a mantissa (digits with at most one point) that starts
// the text or follows a delimiter. The one exponent rule of the grammar; a
// formula printer asks it too, so that a name such as 2e is bracketed
// before a sign exactly when the sign would otherwise join it.
bool exponent_sign(std::string_view text, std::size_t pos);

// Start of the run of name bytes (no delimiter, space or control byte)
// that ends at `end`.
std::size_t name_start(std::string_view text, std::size_t end);

// Where to cut an arithmetic expression: the operator and every position
// at which it stands as a binary operator at depth zero, ascending. Cutting
// at all of them at once and folding gives the same tree as cutting at one
// and recursing, without re-scanning the operand texts.
struct Split {
    char op = 0;
    std::vector<std::uint32_t> at;
};
Split find_split(std::string_view text, Jumps jumps = {});

// The first position at which the text would be cut by the split rules, or
// npos: the single-cut view of find_split used by tests and by callers
// that need one cut.
std::size_t split_position(std::string_view text, Jumps jumps = {});

// A condition operator at depth zero, sought in ops::condition_order.
struct CondFound {
    std::size_t pos = npos;
    std::size_t len = 0;
    ops::Cond cond = ops::Cond::or_;
    bool found() const noexcept { return pos != npos; }
};
CondFound find_condition(std::string_view text, Jumps jumps = {});

// True when one of ops::condition_chars stands at depth zero.
bool has_condition_char(std::string_view text, Jumps jumps = {});

// The syntax check that runs before any evaluation: no leading "=",
// balanced brackets, no "[]", no "...", and no operator next to a
// neighbour that cannot take it.
bool syntax_ok(std::string_view text);

// True when the text holds a segment from a ">" to the next "<" whose
// inside is a plain name, as an error word does (">invalid_expression<").
// The same rule rejects a chained comparison such as 1>a<2.
bool has_error_segment(std::string_view text);

// True when the text is an error word: ">" name "<" and nothing else.
bool is_error_word(std::string_view text);

// A plain name: not empty, not a numeric literal, not "i" or "this", and
// without delimiters, spaces or control bytes.
bool is_plain_name(std::string_view text);

// True when the text starts with "(" whose match is the last character.
bool enclosed(std::string_view text, Jumps jumps = {});

// Leading signs and enclosing parentheses peeled off from the left: each
// "-" flips the sign, each "+" is dropped, and "(" ... ")" around the whole
// rest is removed; stops at any other character.
struct Peeled {
    std::string_view rest;
    bool negative = false;
    bool changed = false;
};
Peeled peel(std::string_view text, Jumps jumps = {});

// Pieces of a comma list cut at depth-zero commas (one piece when there is
// no comma).
std::vector<std::string_view> split_commas(std::string_view text, Jumps jumps = {});

}  // namespace ostr::lang::scan
