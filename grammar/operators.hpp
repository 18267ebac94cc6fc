// The operator vocabulary of the expression language as constant data: the
// bracket pairs, the character sets that decide where an operand begins and
// ends, the arithmetic search order and the condition search order.
#pragma once

#include <array>
#include <string_view>

namespace ostr::lang::ops {

// Brackets pair by position: "(" with ")", ":" with ";", "[" with "]".
inline constexpr std::string_view openers = "(:[";
inline constexpr std::string_view closers = ");]";

// After one of these a "+" or "-" is a sign, not a binary operator
// (2*-3, (-1), x=-2, 1<-2, ~-1).
inline constexpr std::string_view sign_after = "+-*/^(=[:~&|<>@#,";

// Characters that can only follow a complete operand: a binary-only operator,
// a postfix, a separator or a closer right after sign_after is an error
// ("1+*2", "(*3", "1+)", "2^!"). Two-character comparisons are the exception
// handled in the syntax check ("<=", ">=", "==", "~=").
inline constexpr std::string_view needs_operand_before = "*/^&|<>=!',)];";

// A text may not begin with these (closers are caught by the bracket check).
inline constexpr std::string_view bad_first = "*/^&|<>=!',";
// A text may not end with these: every binary or prefix operator needs an
// operand after it ("1+", "2*", "~", "a&").
inline constexpr std::string_view bad_last = "+-*/^&|<>=~,@#";

// The characters with a syntactic role; a plain name contains none of them.
inline constexpr std::string_view delimiters = ",+-*/^!'()=[]:;~&|<>.@#\"";

// Characters that make a text a condition when they stand at depth zero.
inline constexpr std::string_view condition_chars = "|&<>=~";

// Arithmetic split order: the first operator that occurs (as a binary
// operator at depth zero) is the cut. "+" is sought before "-" and "*"
// before "/" on purpose: a-b+c is cut at "+" as (a-b)+c and a*b/c at "*" as
// a*(b/c). For numbers this equals left-to-right grouping; formula texts are
// built from the cut as it is, so the order is part of the language.
// "^" is the only operator taken leftmost, which makes it group from the
// right: 2^3^2 is 2^(3^2).
struct SplitRule {
    char op;
    bool rightmost;
};
inline constexpr std::array<SplitRule, 5> split_order{{
    {'+', true}, {'-', true}, {'*', true}, {'/', true}, {'^', false}}};

// Condition operators in search order with their scan direction. "|" is
// found before "&", so it binds more loosely; both bind more loosely than
// the comparisons. "<=" and ">=" come before "<" and ">" so that 1<=2 is
// one comparison.
enum class Cond : unsigned char { or_, and_, le, ge, eq, ne, lt, gt };
struct CondRule {
    std::string_view token;
    bool rightmost;
    Cond cond;
};
inline constexpr std::array<CondRule, 8> condition_order{{
    {"|", false, Cond::or_},
    {"&", false, Cond::and_},
    {"<=", true, Cond::le},
    {">=", false, Cond::ge},
    {"==", false, Cond::eq},
    {"~=", false, Cond::ne},
    {"<", true, Cond::lt},
    {">", false, Cond::gt},
}};

constexpr bool in(std::string_view set, char c) noexcept {
    return set.find(c) != std::string_view::npos;
}

}  // namespace ostr::lang::ops
