// Building the splines (the slopes at the points, then one polynomial per
// interval) and evaluating them by binary search for the interval.
#include "interp/spline.hpp"

#include <algorithm>
#include <cmath>

#include "core/runtime.hpp"

namespace ostr::interp {
namespace {

// Slopes of the natural (or clamped) cubic spline: forward elimination of
// the tridiagonal system row by row, then back substitution.
std::vector<double> spline_slopes(const std::vector<double>& h, const std::vector<double>& m, bool clamped, double d1,
                                  double dn) {
    const std::size_t n = m.size() + 1;
    std::vector<double> diag(n), upper(n), rhs(n);
    // Row 0: 2·s_0 + s_1 = 3·m_0 (natural) or s_0 = d1.
    if (clamped) diag[0] = 1, upper[0] = 0, rhs[0] = d1;
    else diag[0] = 2, upper[0] = 1, rhs[0] = 3 * m[0];
    for (std::size_t k = 1; k < n; ++k) {
        double lower, dk, uk, rk;
        if (k + 1 < n) {
            lower = h[k], dk = 2 * (h[k - 1] + h[k]), uk = h[k - 1];
            rk = 3 * (h[k] * m[k - 1] + h[k - 1] * m[k]);
        } else if (clamped) {
            lower = 0, dk = 1, uk = 0, rk = dn;
        } else {
            lower = 1, dk = 2, uk = 0, rk = 3 * m[k - 1];
        }
        const double f = lower / diag[k - 1];
        diag[k] = dk - f * upper[k - 1];
        upper[k] = uk;
        rhs[k] = rk - f * rhs[k - 1];
    }
    std::vector<double> s(n);
    s[n - 1] = rhs[n - 1] / diag[n - 1];
    for (std::size_t k = n - 1; k-- > 0;) s[k] = (rhs[k] - upper[k] * s[k + 1]) / diag[k];
    return s;
}

std::vector<double> akima_slopes(const std::vector<double>& m) {
    const std::size_t n = m.size() + 1;
    if (n == 2) return {m[0], m[0]};
    // e[k + 2] = m[k], with two extrapolated segment slopes at each end.
    std::vector<double> e(m.size() + 4);
    std::copy(m.begin(), m.end(), e.begin() + 2);
    e[1] = 2 * e[2] - e[3], e[0] = 2 * e[1] - e[2];
    const std::size_t last = m.size() + 1;
    e[last + 1] = 2 * e[last] - e[last - 1], e[last + 2] = 2 * e[last + 1] - e[last];
    std::vector<double> w1(n), w2(n);
    double largest = 0;
    for (std::size_t k = 0; k < n; ++k) {
        w1[k] = std::fabs(e[k + 3] - e[k + 2]), w2[k] = std::fabs(e[k + 1] - e[k]);
        largest = std::max(largest, w1[k] + w2[k]);
    }
    std::vector<double> s(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double sum = w1[k] + w2[k];
        s[k] = sum > 1e-9 * largest ? (w1[k] * e[k + 1] + w2[k] * e[k + 2]) / sum : 0.5 * (e[k + 1] + e[k + 2]);
    }
    return s;
}

}  // namespace

std::optional<Kind> kind_named(std::string_view name) noexcept {
    if (name == "linear") return Kind::linear;
    if (name == "natural" || name == "spline") return Kind::natural;
    if (name == "clamped") return Kind::clamped;
    if (name == "akima") return Kind::akima;
    return std::nullopt;
}

bool make_spline(std::span<const double> x, std::span<const double> y, Kind kind, double d1, double dn, Spline& out) {
    const std::size_t n = x.size();
    if (n < 2 || y.size() != n) return false;
    if (kind == Kind::clamped && !(std::isfinite(d1) && std::isfinite(dn))) return false;
    std::vector<double> h(n - 1), m(n - 1);
    for (std::size_t k = 0; k < n; ++k)
        if (!std::isfinite(x[k]) || !std::isfinite(y[k])) return false;
    for (std::size_t k = 0; k + 1 < n; ++k) {
        h[k] = x[k + 1] - x[k];
        if (!(h[k] > 0)) return false;
        m[k] = (y[k + 1] - y[k]) / h[k];
        if (!std::isfinite(m[k])) return false;
    }
    out.x.assign(x.begin(), x.end());
    out.a.assign(y.begin(), y.end() - 1);
    out.c.assign(n - 1, 0.0);
    out.d.assign(n - 1, 0.0);
    if (kind == Kind::linear) {
        out.b = m;
        return true;
    }
    const std::vector<double> s = kind == Kind::akima ? akima_slopes(m) : spline_slopes(h, m, kind == Kind::clamped, d1, dn);
    out.b.assign(s.begin(), s.end() - 1);
    for (std::size_t k = 0; k + 1 < n; ++k) {
        out.c[k] = (3 * m[k] - 2 * s[k] - s[k + 1]) / h[k];
        out.d[k] = (s[k] + s[k + 1] - 2 * m[k]) / (h[k] * h[k]);
    }
    return true;
}

namespace {

// The interval whose left end is the last x at or below t, clamped to the
// first and the last interval. The search starts where t would sit on an
// evenly spaced table and gallops out from there, so on a table near even
// spacing it touches a few neighbouring points (one cache line) instead of
// the log2 n scattered ones of a plain binary search; on any table it costs
// at most about 2·log2 of the distance from the guess.
std::size_t locate(const std::vector<double>& x, double t) noexcept {
    const std::size_t n = x.size();
    if (n == 2 || t < x[1]) return 0;
    if (t >= x[n - 2]) return n - 2;
    // Here x[1] <= t < x[n-2], so every index below stays in [1, n-2].
    const double f = (t - x[0]) / (x[n - 1] - x[0]) * static_cast<double>(n - 1);
    std::size_t lo = std::clamp<std::size_t>(static_cast<std::size_t>(f), 1, n - 2), hi = lo;
    std::size_t step = 1;
    if (x[lo] <= t) {
        for (hi = lo + 1; x[hi] <= t; hi = std::min(lo + step, n - 2)) lo = hi, step *= 2;
    } else {
        for (lo = hi - 1; x[lo] > t; lo = hi > step ? std::max<std::size_t>(hi - step, 1) : 1) hi = lo, step *= 2;
    }
    // x[lo] <= t < x[hi]
    return static_cast<std::size_t>(std::upper_bound(x.begin() + static_cast<std::ptrdiff_t>(lo) + 1,
                                                     x.begin() + static_cast<std::ptrdiff_t>(hi) + 1, t) -
                                    x.begin()) - 1;
}

}  // namespace

double evaluate(const Spline& s, double t) noexcept {
    if (std::isnan(t)) return t;
    const std::size_t k = locate(s.x, t);
    const double h = t - s.x[k];
    return s.a[k] + h * (s.b[k] + h * (s.c[k] + h * s.d[k]));
}

bool evaluate(const Spline& s, std::span<const double> t, double* out) noexcept {
    for (std::size_t k = 0; k < t.size(); ++k) {
        if ((k & 65535) == 65535 && core::should_stop()) return false;
        out[k] = evaluate(s, t[k]);
    }
    return true;
}

}  // namespace ostr::interp
