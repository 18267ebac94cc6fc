// Number text as the formula module uses it: the literal test with its value, and the
// 15-digit text of a double, both from the number-text component.
#pragma once

#include <string_view>

#include "numtext/numtext.hpp"
#include "core/memory.hpp"

namespace ostr::formula::detail {

// Whether t is a numeric literal; its value goes to *value.
inline bool read_number(std::string_view t, double* value) { return text::read_number(t, *value); }

// The number text of v at 15 significant digits.
inline Text number_text(double v) { return Text(text::number_text(v, 15).view()); }

}  // namespace ostr::formula::detail
