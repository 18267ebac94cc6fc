// The discrete Fourier transform behind the Fourier plot: a radix-2 FFT
// for powers of two, the direct sum for other lengths.
#include "plot/spectrum.hpp"

#include <cmath>
#include <complex>
#include <numbers>

#include "core/runtime.hpp"

namespace ostr::plot {
namespace {

using C = std::complex<double>;

// Twiddles w[j] = e^(−2πi·j/n), each from its own sin and cos (no
// recurrence, so no error builds up along the table).
std::vector<C> twiddles(std::size_t n) {
    std::vector<C> w(n);
    for (std::size_t j = 0; j < n; ++j) {
        const double a = -2 * std::numbers::pi * static_cast<double>(j) / static_cast<double>(n);
        w[j] = {std::cos(a), std::sin(a)};
    }
    return w;
}

// In place, bit-reversed order first, then log2 n butterfly passes.
bool fft(std::vector<C>& a) {
    const std::size_t n = a.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) {
        std::size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(a[i], a[j]);
    }
    const std::vector<C> w = twiddles(n);
    for (std::size_t len = 2; len <= n; len <<= 1) {
        if (core::should_stop()) return false;
        const std::size_t stride = n / len;
        for (std::size_t i = 0; i < n; i += len)
            for (std::size_t k = 0; k < len / 2; ++k) {
                const C u = a[i + k], v = a[i + k + len / 2] * w[k * stride];
                a[i + k] = u + v;
                a[i + k + len / 2] = u - v;
            }
    }
    return true;
}

}  // namespace

std::optional<std::vector<double>> magnitude_spectrum(std::span<const double> re, std::span<const double> im) {
    const std::size_t n = re.size();
    std::vector<C> x(n);
    for (std::size_t j = 0; j < n; ++j) x[j] = {re[j], j < im.size() ? im[j] : 0.0};
    std::vector<double> out(n / 2 + 1);
    if ((n & (n - 1)) == 0) {
        if (!fft(x)) return std::nullopt;
        for (std::size_t k = 0; k < out.size(); ++k) out[k] = std::abs(x[k]);
        return out;
    }
    const std::vector<C> w = twiddles(n);
    for (std::size_t k = 0; k < out.size(); ++k) {
        if (core::should_stop()) return std::nullopt;
        C sum = 0;
        for (std::size_t j = 0, idx = 0; j < n; ++j, idx = (idx + k) % n) sum += x[j] * w[idx];
        out[k] = std::abs(sum);
    }
    return out;
}

}  // namespace ostr::plot
