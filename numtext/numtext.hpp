// Numeric literals and number text, the C++ face used by the evaluator:
// views in, values or owned texts out, no C-string round trips.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/memory.hpp"
#include "ostravine/numeric.h"

namespace ostr::text {

inline constexpr std::string_view invalid_expression = ">invalid_expression<";

// Significant digits a double can meaningfully show; writers clamp to it.
inline constexpr int max_digits = 17;

// What kind of numeric literal a text is. AtoF needs the distinction: a
// binary literal passes the test but reads as 0 there.
enum class Literal : unsigned char { none, binary, decimal };

// Classifies the whole text and stores its value; on Literal::none the
// value is 0. Accepted: "0b" binary literals, and the decimal and "0x"
// hexadecimal numbers that strtod consumes completely with a finite value.
// No white space anywhere; the empty text is not a literal.
[[nodiscard]] Literal scan_number(std::string_view text, double& value) noexcept;

[[nodiscard]] inline bool read_number(std::string_view text, double& value) noexcept {
    return scan_number(text, value) != Literal::none;
}

// AtoF: the literal's value, 0 for a binary literal, a quiet NaN otherwise.
[[nodiscard]] double ato_f(std::string_view text) noexcept;

// AtoL: decimal integers exactly, otherwise ato_f truncated and clamped to
// the int64_t range; 0 for a text that is not a literal.
[[nodiscard]] std::int64_t ato_l(std::string_view text) noexcept;

// A number text held inline: every text of number_text and
// exponential_text fits, so the hot path never touches the heap.
struct NumberText {
    char data[32];
    unsigned char size;

    std::string_view view() const noexcept { return {data, size}; }
    const char* c_str() const noexcept { return data; }
};

// DoubleString and DoubleStringExponential (docs/numtext.md has the rules).
[[nodiscard]] NumberText number_text(double value, int digits) noexcept;
[[nodiscard]] NumberText exponential_text(double value, int digits) noexcept;

// DoubleStringDecimal, DoubleStringRound, DoubleStringCleanZeros,
// RoundDoubleString and RoundDoubleStringWithSpacePadding.
[[nodiscard]] Text decimal_text(double value, int digits);
[[nodiscard]] Text round_text(std::string_view text, int digits);
[[nodiscard]] Text clean_zeros(std::string_view text);
[[nodiscard]] Text fixed_text(double value, int decimals);
[[nodiscard]] Text padded_fixed_text(double value, int decimals, int width);

// ComplexString: a string vector {re text, im text, ""} from mem_alloc,
// digits capped at 15; nullptr when memory runs out.
[[nodiscard]] char** complex_strings(const Complex& z, int digits) noexcept;

}  // namespace ostr::text
