// Statistics over a counted vector (slot 0 holds the length): extremes,
// mean, median and sample variance. Sums are compensated (Neumaier), and the
// variance is the corrected two-pass form
//   (sum (x - m)^2 - (sum (x - m))^2 / n) / (n - 1),
// whose second term removes the rounding error of the mean m.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "core/memory.hpp"
#include "special/special.hpp"
#include "special/summation.hpp"

namespace ostr::special {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The length in slot 0, or 0 when the vector is absent or holds none.
long length(const double* v) {
    if (!v || !(v[0] >= 1)) return 0;
    return static_cast<long>(std::min(v[0], 2147483647.0));
}

bool any_nan(const double* v, long n) {
    return std::any_of(v + 1, v + 1 + n, [](double x) { return std::isnan(x); });
}

using num::Neumaier;

double mean_of(const double* v, long n) {
    Neumaier s;
    for (long i = 1; i <= n; ++i) s.add(v[i]);
    double m = s.value() / static_cast<double>(n);
    if (std::isfinite(m) || !std::all_of(v + 1, v + 1 + n, [](double x) { return std::isfinite(x); }))
        return m;
    // The sum overflowed although every value is finite: add the scaled values.
    Neumaier t;
    for (long i = 1; i <= n; ++i) t.add(v[i] / static_cast<double>(n));
    return t.value();
}

}  // namespace

double max(const double* v) noexcept {
    long n = length(v);
    if (n == 0 || any_nan(v, n)) return nan;
    return *std::max_element(v + 1, v + 1 + n);
}

double min(const double* v) noexcept {
    long n = length(v);
    if (n == 0 || any_nan(v, n)) return nan;
    return *std::min_element(v + 1, v + 1 + n);
}

double mean(const double* v) noexcept {
    long n = length(v);
    if (n == 0) return nan;
    return mean_of(v, n);
}

double median(const double* v) noexcept {
    long n = length(v);
    if (n == 0 || any_nan(v, n)) return nan;
    OwnedBlock<double> copy(static_cast<double*>(mem_alloc(sizeof(double) * n)));
    if (!copy) return nan;
    double* w = copy.get();
    std::copy(v + 1, v + 1 + n, w);
    long half = n / 2;
    std::nth_element(w, w + half, w + n);
    double upper = w[half];
    if (n % 2) return upper;
    double lower = *std::max_element(w, w + half);
    return std::midpoint(lower, upper);
}

double variance(const double* v) noexcept {
    long n = length(v);
    if (n < 2) return nan;
    double m = mean_of(v, n);
    if (!std::isfinite(m)) return nan;
    Neumaier sq, lin;
    for (long i = 1; i <= n; ++i) {
        double d = v[i] - m;
        sq.add(d * d);
        lin.add(d);
    }
    double l = lin.value();
    return (sq.value() - l * l / static_cast<double>(n)) / static_cast<double>(n - 1);
}

}  // namespace ostr::special
