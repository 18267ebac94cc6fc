// Element kinds of the counted containers: what differs between a double, a
// Complex, an integer and a float vector is only how slot 0 holds the length
// and what a failed allocation yields. Every container template takes a kind.
#pragma once

#include <cmath>
#include <cstdint>

#include "ostravine/numeric.h"

namespace ostr::num {

// What a constructor hands back when its blocks cannot be had. `empty`: an
// empty vector (one slot holding 0) or a 1x1 matrix holding 0; `null`: NULL
// (these kinds do not test their allocations, and NULL is the only answer
// that writes nothing).
enum class Fallback { empty, null };

// A stored count read back as a length: truncated toward zero, saturated to
// the int32 range, NaN as 0. The saturation keeps a damaged slot 0 from being
// undefined behaviour; it cannot make it a correct length.
inline std::int32_t truncate_count(double s) noexcept {
    if (!(s == s)) return 0;
    if (s >= 2147483647.0) return INT32_MAX;
    if (s <= -2147483648.0) return INT32_MIN;
    return static_cast<std::int32_t>(s);
}

struct KindD {
    using T = double;
    static constexpr Fallback vector_fallback = Fallback::empty;
    static constexpr Fallback matrix_fallback = Fallback::empty;
    static constexpr std::int32_t max_count = INT32_MAX;
    static T count(std::int32_t n) noexcept { return n; }
    static std::int32_t length(const T& s) noexcept { return truncate_count(s); }
    static T value(int v) noexcept { return v; }
};

struct KindC {
    using T = Complex;
    static constexpr Fallback vector_fallback = Fallback::empty;
    static constexpr Fallback matrix_fallback = Fallback::empty;
    static constexpr std::int32_t max_count = INT32_MAX;
    static T count(std::int32_t n) noexcept { return {static_cast<double>(n), 0.0}; }
    static std::int32_t length(const T& s) noexcept { return truncate_count(s.re); }
    static T value(int v) noexcept { return {static_cast<double>(v), 0.0}; }
};

// L and I are the same 32-bit signed layout; they differ only in whether
// their constructors test allocations (MatrixL does, MatrixI and VectorI do
// not). Every L family function therefore serves I containers as well.
struct KindL {
    using T = std::int32_t;
    static constexpr Fallback vector_fallback = Fallback::empty;
    static constexpr Fallback matrix_fallback = Fallback::empty;
    static constexpr std::int32_t max_count = INT32_MAX;
    static T count(std::int32_t n) noexcept { return n; }
    static std::int32_t length(const T& s) noexcept { return s; }
    static T value(int v) noexcept { return v; }
};

struct KindI : KindL {
    static constexpr Fallback vector_fallback = Fallback::null;
    static constexpr Fallback matrix_fallback = Fallback::null;
};

struct KindU {
    using T = std::uint32_t;
    static constexpr Fallback vector_fallback = Fallback::empty;
    static constexpr Fallback matrix_fallback = Fallback::null;
    static constexpr std::int32_t max_count = INT32_MAX;
    static T count(std::int32_t n) noexcept { return static_cast<T>(n); }
    static std::int32_t length(const T& s) noexcept {
        return s > static_cast<T>(INT32_MAX) ? INT32_MAX : static_cast<std::int32_t>(s);
    }
    static T value(int v) noexcept { return static_cast<T>(v); }
};

// A float holds every integer only up to 2^24; a longer float vector would
// read back a rounded (possibly larger) length and be walked past its end.
// Float containers therefore refuse counts above 2^24.
struct KindF {
    using T = float;
    static constexpr Fallback vector_fallback = Fallback::null;
    static constexpr Fallback matrix_fallback = Fallback::null;
    static constexpr std::int32_t max_count = 1 << 24;
    static T count(std::int32_t n) noexcept { return static_cast<T>(n); }
    static std::int32_t length(const T& s) noexcept { return truncate_count(s); }
    static T value(int v) noexcept { return static_cast<T>(v); }
};

}  // namespace ostr::num

// The kinds that have a full set of copy, crop, join and rearrange families:
// X(suffix, kind). I containers use the L members.
#define OSTR_CONTAINER_KINDS(X) \
    X(, KindD)                  \
    X(C, KindC)                 \
    X(L, KindL)                 \
    X(F, KindF)                 \
    X(UInt32, KindU)
