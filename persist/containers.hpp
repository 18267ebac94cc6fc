// Reading the numeric containers' size slots as the value handlers need
// them: double vectors keep their length as a double in slot 0, matrices
// their row count in the one double behind pointer 0, string vectors end at
// their first empty text.
#pragma once

#include <cstdint>

namespace ostr::persist {

// A size slot as a 32-bit count, truncated; 0 when it is not a number in
// range (a damaged container never yields a huge count).
inline std::int32_t count_of(double slot) noexcept {
    return slot >= -2147483648.0 && slot < 2147483648.0 ? static_cast<std::int32_t>(slot) : 0;
}

// The number of texts before the closing empty one.
inline std::int32_t string_count(char* const* a) noexcept {
    std::int32_t n = 0;
    while (a && a[n] && a[n][0] != '\0') ++n;
    return n;
}

}  // namespace ostr::persist
