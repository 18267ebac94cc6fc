// Arithmetic on formula texts: the parts of algebraic values, combined and simplified.
// The evaluator's algebraic handlers call these; every text they return reads back,
// under the evaluator's own split rules, as the value that was meant.
#pragma once

#include <optional>
#include <string_view>

#include "core/memory.hpp"

namespace ostr::formula {

// One part of an algebraic value: a number text or an expression text with free names.
// combine: the simplified text of `a op b`, op one of + - * / ^ ; both inputs are
// texts as the evaluator carries them (number texts at 15 digits, or expression
// texts produced by this module or typed by the user). Two numbers fold to the number
// text of the result unless the result would be infinite or not a number (1/0 stays
// "1/0"). Another operator character yields ">invalid_expression<".
[[nodiscard]] Text combine(std::string_view a, char op, std::string_view b);

// The text of -(a), simplified.
[[nodiscard]] Text negate(std::string_view a);

// A complex algebraic quantity: real and imaginary part texts ("0" when absent).
struct TextPair {
    Text re;
    Text im;
};

// + and - act partwise; * is complex multiplication, / complex division and ^ complex
// power, all on texts with simplification, so that zero imaginary parts vanish and real
// formulas stay real. A real base with a real exponent gives (a^c, 0) whatever the
// sign of a: the part text a^c then stands for the principal value, as the evaluator
// computes it. nullopt when the result cannot be written with the five operators:
//   - ^ with a non-real base or exponent, unless the exponent is an integer number in
//     [-64, 64] (square and multiply) or all four parts are numbers (computed here);
//   - an operator character other than the five.
[[nodiscard]] std::optional<TextPair> combine_pair(const TextPair& a, char op, const TextPair& b);

// re - i*im. Exact while the part texts are real-valued for the values their names
// take; a part such as (-2)^x is not, and its conjugate is not taken.
[[nodiscard]] TextPair conjugate(const TextPair& a);

// Whether t is a numeric literal of the language; its value goes to *value when asked.
bool is_number(std::string_view t, double* value = nullptr);

// The bound on the work of a line. A layer above that bounds the time of a line sets
// `expired`; the operations above ask it on entry and every few thousand nodes they
// read or write, and once it answers true they stop: they answer the text
// ">evaluation_aborted<", and so does every operation after, until clear_stop.
// `stopped` tells the caller that a result is such an answer.
void set_stop_check(bool (*expired)() noexcept) noexcept;
bool stopped() noexcept;
void clear_stop() noexcept;

}  // namespace ostr::formula
