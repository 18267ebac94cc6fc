// Binary and hexadecimal number text: a double written with the prefix
// "0b" or "0x", integer and fraction digits, in a form the number reader
// reads back.
#pragma once

#include "core/memory.hpp"

namespace ostr::text {

// The text of a finite x in base 2 (bits = 1) or 16 (bits = 4). With
// fraction_digits < 0 the text is exact (as many fraction digits as x has,
// at most 1074 bits); otherwise the fraction is rounded, half up, to that
// many digits. Trailing zeros of the fraction and a bare point are left
// out; a negative x gets a "-" in front. A non-finite x gives "".
Text base_text(double x, int bits, int fraction_digits);

}  // namespace ostr::text
