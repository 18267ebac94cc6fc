// The evaluator's view of number text: is a text a numeric literal, and the
// text of a double. One place to point at the number-text component.
#pragma once

#include <string_view>

#include "core/memory.hpp"

namespace ostr::lang {

// True for a numeric literal (decimal, hexadecimal or "0b" binary, finite);
// the value is stored when `value` is given.
bool is_numeric_literal(std::string_view text, double* value = nullptr);

// The number text of a finite double with `digits` significant digits:
// plain decimal for magnitudes in [1e-3, 1e4), else mantissa "E" exponent.
Text number_text(double value, int digits);

}  // namespace ostr::lang
