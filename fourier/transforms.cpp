// Real and 2-D transforms, power spectra, convolution, correlation and
// windows, all on the engine of fft.cpp.
#include "fourier/transforms.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/runtime.hpp"

namespace ostr::fourier {

bool dft(std::vector<cx>& x, Direction d) {
    Plan p(x.size());
    if (!p.run(x.data(), d)) return false;
    if (d == Direction::backward && !x.empty()) {
        const double s = 1.0 / static_cast<double>(x.size());
        for (cx& z : x) z = z * s;
    }
    return true;
}

// With z_j = x_2j + i·x_(2j+1) and Z its transform of h = n/2 points,
// E_k = (Z_k + conj Z_(h-k))/2 and O_k = (Z_k - conj Z_(h-k))/(2i) are the
// transforms of the even and the odd samples, and X_k = E_k + w^k·O_k.
std::optional<std::vector<cx>> real_dft(std::span<const double> x) {
    const std::size_t n = x.size();
    if (n % 2 == 1 || n < 4) {
        std::vector<cx> z(n);
        for (std::size_t j = 0; j < n; ++j) z[j] = {x[j], 0};
        if (!dft(z, Direction::forward)) return std::nullopt;
        z.resize(n / 2 + 1);
        return z;
    }
    const std::size_t h = n / 2;
    std::vector<cx> z(h);
    for (std::size_t j = 0; j < h; ++j) z[j] = {x[2 * j], x[2 * j + 1]};
    if (!dft(z, Direction::forward)) return std::nullopt;
    std::vector<cx> out(h + 1);
    for (std::size_t k = 0; k <= h; ++k) {
        const cx a = z[k % h], b = conj(z[(h - k) % h]);
        const cx e = (a + b) * 0.5, d = (a - b) * 0.5;
        const cx o{d.im, -d.re};  // d/i
        out[k] = e + unit_root(k, n) * o;
    }
    return out;
}

std::optional<std::vector<double>> inverse_real_dft(std::span<const cx> half, std::size_t n) {
    std::vector<cx> z(n);
    for (std::size_t k = 0; k <= n / 2 && k < half.size(); ++k) {
        z[k] = half[k];
        if (k != 0) z[n - k] = conj(half[k]);
    }
    if (n > 0) z[0].im = 0;
    if (n % 2 == 0 && n > 0) z[n / 2].im = 0;
    if (!dft(z, Direction::backward)) return std::nullopt;
    std::vector<double> out(n);
    for (std::size_t j = 0; j < n; ++j) out[j] = z[j].re;
    return out;
}

bool dft2(std::vector<cx>& a, std::size_t rows, std::size_t cols, Direction d) {
    Plan row(cols), col(rows);
    for (std::size_t i = 0; i < rows; ++i)
        if (!row.run(a.data() + i * cols, d)) return false;
    std::vector<cx> buf(rows);
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < rows; ++i) buf[i] = a[i * cols + j];
        if (!col.run(buf.data(), d)) return false;
        for (std::size_t i = 0; i < rows; ++i) a[i * cols + j] = buf[i];
    }
    if (d == Direction::backward && rows * cols > 0) {
        const double s = 1.0 / static_cast<double>(rows * cols);
        for (cx& z : a) z = z * s;
    }
    return true;
}

namespace {

std::vector<double> powers(std::span<const cx> x, std::size_t count, std::size_t n) {
    std::vector<double> out(count);
    const double s = n ? 1.0 / static_cast<double>(n) : 0;
    for (std::size_t k = 0; k < count; ++k) out[k] = (x[k].re * x[k].re + x[k].im * x[k].im) * s;
    return out;
}

std::optional<std::vector<cx>> direct_convolution(std::span<const cx> a, std::span<const cx> b) {
    std::vector<cx> c(a.size() + b.size() - 1, cx{0, 0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        if ((i & 1023) == 1023 && core::should_stop()) return std::nullopt;
        for (std::size_t j = 0; j < b.size(); ++j) c[i + j] = c[i + j] + a[i] * b[j];
    }
    return c;
}

}  // namespace

std::optional<std::vector<double>> power_spectrum(std::span<const double> x) {
    auto X = real_dft(x);
    if (!X) return std::nullopt;
    return powers(*X, X->size(), x.size());
}

std::optional<std::vector<double>> power_spectrum(std::span<const cx> x) {
    std::vector<cx> X(x.begin(), x.end());
    if (!dft(X, Direction::forward)) return std::nullopt;
    return powers(X, X.size(), X.size());
}

std::optional<std::vector<cx>> convolve(std::span<const cx> a, std::span<const cx> b) {
    if (a.empty() || b.empty()) return std::vector<cx>{};
    if (std::min(a.size(), b.size()) <= 64 || a.size() * b.size() <= 65536) return direct_convolution(a, b);
    const std::size_t length = a.size() + b.size() - 1, m = smooth_at_least(length);
    std::vector<cx> fa(m, cx{0, 0}), fb(m, cx{0, 0});
    std::copy(a.begin(), a.end(), fa.begin());
    std::copy(b.begin(), b.end(), fb.begin());
    Plan p(m);
    if (!p.run(fa.data(), Direction::forward) || !p.run(fb.data(), Direction::forward)) return std::nullopt;
    const double s = 1.0 / static_cast<double>(m);
    for (std::size_t k = 0; k < m; ++k) fa[k] = fa[k] * fb[k] * s;
    if (!p.run(fa.data(), Direction::backward)) return std::nullopt;
    fa.resize(length);
    return fa;
}

std::optional<std::vector<cx>> correlate(std::span<const cx> a, std::span<const cx> b) {
    std::vector<cx> r(b.rbegin(), b.rend());
    for (cx& z : r) z = conj(z);
    return convolve(a, r);
}

std::vector<double> window(std::string_view name, std::size_t n) {
    // Cosine sums Σ (-1)^k·a_k·cos(2πkj/(n-1)).
    double a[3];
    if (name == "hann") a[0] = 0.5, a[1] = 0.5, a[2] = 0;
    else if (name == "hamming") a[0] = 0.54, a[1] = 0.46, a[2] = 0;
    else if (name == "blackman") a[0] = 0.42, a[1] = 0.5, a[2] = 0.08;
    else return {};
    std::vector<double> w(n, 1.0);
    if (n < 2) return w;
    for (std::size_t j = 0; j < n; ++j) {
        const double t = 2 * std::numbers::pi * static_cast<double>(j) / static_cast<double>(n - 1);
        w[j] = a[0] - a[1] * std::cos(t) + a[2] * std::cos(2 * t);
    }
    return w;
}

}  // namespace ostr::fourier
