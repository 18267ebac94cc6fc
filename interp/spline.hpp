// Interpolation of a table of points: piecewise linear, natural and
// clamped cubic splines, and Akima's spline, each held as one polynomial
// per interval and evaluated at single points or arrays.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace ostr::interp {

enum class Kind : std::uint8_t {
    linear,   // straight segments
    natural,  // cubic, C², second derivative 0 at both ends
    clamped,  // cubic, C², given first derivatives at both ends
    akima,    // cubic, C¹, slopes from Akima's weighted mean of neighbouring segments
};

// The kind a name stands for ("linear", "natural" or "spline", "clamped",
// "akima"), or nullopt.
std::optional<Kind> kind_named(std::string_view name) noexcept;

// On interval i, x[i] <= t <= x[i+1], with h = t - x[i]:
// p(t) = a[i] + h·(b[i] + h·(c[i] + h·d[i])). Points left of x[0] and right
// of the last x continue the first and the last polynomial.
struct Spline {
    std::vector<double> x, a, b, c, d;
};

// The spline of kind `kind` through (x[k], y[k]); d1 and dn are the end
// slopes of a clamped spline and are ignored otherwise. False when there are
// fewer than 2 points, the lengths differ, some value is not finite or x
// does not strictly increase.
//
// The cubic kinds solve for the slopes s_k at the points and make each
// interval's cubic Hermite polynomial from them. For the natural and the
// clamped spline, continuity of the second derivative gives the tridiagonal
// system h_k·s_(k-1) + 2(h_(k-1) + h_k)·s_k + h_(k-1)·s_(k+1) =
// 3(h_k·m_(k-1) + h_(k-1)·m_k) (h the widths, m the slopes of the segments),
// diagonally dominant, solved by elimination without pivoting in O(n).
// Akima takes s_k = (|m_(k+1) - m_k|·m_(k-1) + |m_(k-1) - m_(k-2)|·m_k) /
// (sum of the two weights), with two segments added at each end by linear
// extrapolation of the slopes, and the mean of m_(k-1) and m_k where both
// weights vanish (below 1e-9 of the largest sum).
[[nodiscard]] bool make_spline(std::span<const double> x, std::span<const double> y, Kind kind, double d1, double dn,
                               Spline& out);

// The spline's value at t (NaN at NaN).
double evaluate(const Spline& s, double t) noexcept;
// Its values at every t; false when core::should_stop() answered true.
[[nodiscard]] bool evaluate(const Spline& s, std::span<const double> t, double* out) noexcept;

}  // namespace ostr::interp
