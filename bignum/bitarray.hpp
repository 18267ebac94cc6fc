// Internal C++ face of the bit arrays.
#pragma once

#include <cstdint>

#include "ostravine/bignum.h"

namespace ostr::big {

[[nodiscard]] BitArray* make(std::uint64_t bits) noexcept;
void release(BitArray* a) noexcept;

}  // namespace ostr::big
