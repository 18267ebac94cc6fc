// Number text as the formula module uses it: the literal test with its value, and the
// 15-digit text of a double. Both forward to the language's number-text component.
#pragma once

#include <string_view>

#include "numeric/memory.hpp"

namespace ostr::formula::detail {

// Whether t is a numeric literal; its value goes to *value.
bool read_number(std::string_view t, double* value);

// The number text of v at 15 significant digits.
Text number_text(double v);

}  // namespace ostr::formula::detail
