// The exported Fourier family: each function reads the counted vector or
// row-pointer matrix into contiguous samples once, runs the C++ routine and
// writes a new container. Nothing throws across the face: failure is NULL.
#include <optional>
#include <string>

#include "core/memory.hpp"
#include "fourier/transforms.hpp"
#include "numeric/containers.hpp"
#include "ostravine/fourier.h"

using namespace ostr;
using namespace ostr::fourier;

static_assert(sizeof(cx) == sizeof(Complex) && alignof(cx) == alignof(Complex));

namespace {

template <class K>
std::size_t length_of(const num::Elem<K>* v) {
    const std::int32_t n = v ? num::vector_length<K>(v) : 0;
    return n > 0 && static_cast<std::size_t>(n) <= max_length ? static_cast<std::size_t>(n) : 0;
}

// The samples of a vector; nullopt for NULL, empty or too long.
std::optional<std::vector<double>> reals(const double* v) {
    const std::size_t n = length_of<num::KindD>(v);
    if (n == 0) return std::nullopt;
    return std::vector<double>(v + 1, v + 1 + n);
}
std::optional<std::vector<cx>> complexes(const Complex* v) {
    const std::size_t n = length_of<num::KindC>(v);
    if (n == 0) return std::nullopt;
    std::vector<cx> out(n);
    for (std::size_t k = 0; k < n; ++k) out[k] = {v[k + 1].re, v[k + 1].im};
    return out;
}
std::vector<cx> as_complex(const std::vector<double>& x) {
    std::vector<cx> out(x.size());
    for (std::size_t k = 0; k < x.size(); ++k) out[k] = {x[k], 0};
    return out;
}

double* out_real(const std::vector<double>& x) {
    double* v = num::vector_raw<num::KindD>(static_cast<std::int32_t>(x.size()), num::Fill::none);
    if (v) std::copy(x.begin(), x.end(), v + 1);
    return v;
}
double* out_real_parts(const std::vector<cx>& x) {
    double* v = num::vector_raw<num::KindD>(static_cast<std::int32_t>(x.size()), num::Fill::none);
    if (v)
        for (std::size_t k = 0; k < x.size(); ++k) v[k + 1] = x[k].re;
    return v;
}
Complex* out_complex(const std::vector<cx>& x) {
    Complex* v = num::vector_raw<num::KindC>(static_cast<std::int32_t>(x.size()), num::Fill::none);
    if (v)
        for (std::size_t k = 0; k < x.size(); ++k) v[k + 1] = {x[k].re, x[k].im};
    return v;
}

template <class T, class F>
T* guarded(F&& f) noexcept {
    return or_failure(static_cast<T*>(nullptr), std::forward<F>(f));
}

Complex* transformed(const Complex* v, Direction d) {
    auto x = complexes(v);
    return x && dft(*x, d) ? out_complex(*x) : nullptr;
}

Complex** transformed2(Complex** m, Direction d) {
    const std::int32_t r = m ? num::matrix_rows<num::KindC>(m) : 0, c = m ? num::matrix_cols<num::KindC>(m) : 0;
    if (r <= 0 || c <= 0 || static_cast<std::size_t>(r) * static_cast<std::size_t>(c) > max_length) return nullptr;
    const std::size_t rows = static_cast<std::size_t>(r), cols = static_cast<std::size_t>(c);
    std::vector<cx> a(rows * cols);
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j) a[i * cols + j] = {m[i + 1][j + 1].re, m[i + 1][j + 1].im};
    if (!dft2(a, rows, cols, d)) return nullptr;
    Complex** out = num::matrix_raw<num::KindC>(r, c, num::Fill::none);
    if (!out) return nullptr;
    for (std::size_t i = 0; i < rows; ++i)
        for (std::size_t j = 0; j < cols; ++j) out[i + 1][j + 1] = {a[i * cols + j].re, a[i * cols + j].im};
    return out;
}

template <class Combine>
double* combined_real(const double* a, const double* b, Combine f) {
    auto x = reals(a), y = reals(b);
    if (!x || !y) return nullptr;
    auto r = f(as_complex(*x), as_complex(*y));
    return r ? out_real_parts(*r) : nullptr;
}
template <class Combine>
Complex* combined(const Complex* a, const Complex* b, Combine f) {
    auto x = complexes(a), y = complexes(b);
    if (!x || !y) return nullptr;
    auto r = f(*x, *y);
    return r ? out_complex(*r) : nullptr;
}

auto convolution = [](std::span<const cx> a, std::span<const cx> b) { return convolve(a, b); };
auto correlation = [](std::span<const cx> a, std::span<const cx> b) { return correlate(a, b); };

std::optional<Filter> filter_at(const char* path) {
    return read_filter(path ? std::string(path) : std::string(default_filter_file));
}

std::vector<cx> filtered(const Filter& f, std::vector<cx> x, bool& ok) {
    ok = apply_filter(f, x);
    return x;
}

}  // namespace

extern "C" {

Complex* FFTC(const Complex* v) noexcept {
    return guarded<Complex>([&] { return transformed(v, Direction::forward); });
}

Complex* InverseFFTC(const Complex* v) noexcept {
    return guarded<Complex>([&] { return transformed(v, Direction::backward); });
}

Complex* RealFFT(const double* v) noexcept {
    return guarded<Complex>([&]() -> Complex* {
        auto x = reals(v);
        auto X = x ? real_dft(*x) : std::nullopt;
        return X ? out_complex(*X) : nullptr;
    });
}

double* InverseRealFFT(const Complex* half, int32_t n) noexcept {
    return guarded<double>([&]() -> double* {
        auto h = complexes(half);
        if (!h || n < 1 || static_cast<std::size_t>(n) > max_length) return nullptr;
        auto x = inverse_real_dft(*h, static_cast<std::size_t>(n));
        return x ? out_real(*x) : nullptr;
    });
}

Complex** FFT2MC(Complex** m) noexcept {
    return or_failure(static_cast<Complex**>(nullptr), [&] { return transformed2(m, Direction::forward); });
}

Complex** InverseFFT2MC(Complex** m) noexcept {
    return or_failure(static_cast<Complex**>(nullptr), [&] { return transformed2(m, Direction::backward); });
}

double* PowerSpectrum(const double* v) noexcept {
    return guarded<double>([&]() -> double* {
        auto x = reals(v);
        auto p = x ? power_spectrum(std::span<const double>(*x)) : std::nullopt;
        return p ? out_real(*p) : nullptr;
    });
}

double* PowerSpectrumC(const Complex* v) noexcept {
    return guarded<double>([&]() -> double* {
        auto x = complexes(v);
        auto p = x ? power_spectrum(std::span<const cx>(*x)) : std::nullopt;
        return p ? out_real(*p) : nullptr;
    });
}

double* Convolve(const double* a, const double* b) noexcept {
    return guarded<double>([&] { return combined_real(a, b, convolution); });
}

Complex* ConvolveC(const Complex* a, const Complex* b) noexcept {
    return guarded<Complex>([&] { return combined(a, b, convolution); });
}

double* Correlate(const double* a, const double* b) noexcept {
    return guarded<double>([&] { return combined_real(a, b, correlation); });
}

Complex* CorrelateC(const Complex* a, const Complex* b) noexcept {
    return guarded<Complex>([&] { return combined(a, b, correlation); });
}

double* WindowWeights(int32_t n, const char* name) noexcept {
    return guarded<double>([&]() -> double* {
        if (!name || n < 1 || static_cast<std::size_t>(n) > max_length) return nullptr;
        std::vector<double> w = window(name, static_cast<std::size_t>(n));
        return w.empty() ? nullptr : out_real(w);
    });
}

double* Window(const double* v, const char* name) noexcept {
    return guarded<double>([&]() -> double* {
        auto x = reals(v);
        std::vector<double> w = x && name ? window(name, x->size()) : std::vector<double>{};
        if (w.empty()) return nullptr;
        for (std::size_t k = 0; k < w.size(); ++k) w[k] *= (*x)[k];
        return out_real(w);
    });
}

Complex* WindowC(const Complex* v, const char* name) noexcept {
    return guarded<Complex>([&]() -> Complex* {
        auto x = complexes(v);
        std::vector<double> w = x && name ? window(name, x->size()) : std::vector<double>{};
        if (w.empty()) return nullptr;
        for (std::size_t k = 0; k < w.size(); ++k) (*x)[k] = (*x)[k] * w[k];
        return out_complex(*x);
    });
}

double* FourierFilter(const double* v, const char* path) noexcept {
    return guarded<double>([&]() -> double* {
        auto x = reals(v);
        auto f = x ? filter_at(path) : std::nullopt;
        bool ok = false;
        auto y = f ? filtered(*f, as_complex(*x), ok) : std::vector<cx>{};
        return ok ? out_real_parts(y) : nullptr;
    });
}

Complex* FourierFilterC(const Complex* v, const char* path) noexcept {
    return guarded<Complex>([&]() -> Complex* {
        auto x = complexes(v);
        auto f = x ? filter_at(path) : std::nullopt;
        bool ok = false;
        auto y = f ? filtered(*f, std::move(*x), ok) : std::vector<cx>{};
        return ok ? out_complex(y) : nullptr;
    });
}

double* FourierFilterText(const double* v, const char* text) noexcept {
    return guarded<double>([&]() -> double* {
        auto x = reals(v);
        auto f = x && text ? parse_filter(text) : std::nullopt;
        bool ok = false;
        auto y = f ? filtered(*f, as_complex(*x), ok) : std::vector<cx>{};
        return ok ? out_real_parts(y) : nullptr;
    });
}

}  // extern "C"
