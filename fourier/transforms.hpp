// What the transform engine serves: transforms of real data and of
// matrices, spectra, convolution and correlation, windows, and the band
// filter read from a text file. Each works on contiguous samples; the C
// face and the language convert their containers once.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fourier/fft.hpp"

namespace ostr::fourier {

// Every function below answers nullopt (or false) when core::should_stop()
// answered true; sizes are the caller's to check (at most max_length).

// The transform of x in place; the backward one divided by n, so that it
// inverts the forward one.
[[nodiscard]] bool dft(std::vector<cx>& x, Direction d);

// X_0..X_(n/2) of real samples (the rest are their conjugates). An even n
// runs as one complex transform of n/2 points (even samples as real parts,
// odd ones as imaginary parts) and a split pass; an odd n as a complex
// transform of n points.
std::optional<std::vector<cx>> real_dft(std::span<const double> x);
// The n real samples whose transform starts with `half` (n/2 + 1 values;
// the imaginary parts of X_0, and of X_(n/2) for even n, are ignored).
std::optional<std::vector<double>> inverse_real_dft(std::span<const cx> half, std::size_t n);

// The 2-D transform of a rows × cols array held row by row: every row,
// then every column; the backward one divided by rows·cols.
[[nodiscard]] bool dft2(std::vector<cx>& a, std::size_t rows, std::size_t cols, Direction d);

// |X_k|²/n: k = 0..n/2 for real samples (the rest mirror them), all n for
// complex ones. Σ over all k of |X_k|²/n is Σ|x_j|² (Parseval).
std::optional<std::vector<double>> power_spectrum(std::span<const double> x);
std::optional<std::vector<double>> power_spectrum(std::span<const cx> x);

// The full linear convolution c_k = Σ_j a_j·b_(k-j), k = 0..na+nb-2, and
// the full correlation r = a ⋆ b with r_k = Σ_j a_(j+k-nb+1)·conj(b_j) (lag
// k - nb + 1 first at -(nb-1)). Short inputs (min(na, nb) <= 64 or
// na·nb <= 65536) take the direct sum, which is exact for small integers;
// longer ones a transform of a smooth length >= na + nb - 1.
std::optional<std::vector<cx>> convolve(std::span<const cx> a, std::span<const cx> b);
std::optional<std::vector<cx>> correlate(std::span<const cx> a, std::span<const cx> b);

// The symmetric window of n points: "hann" 0.5 - 0.5·cos(2πj/(n-1)),
// "hamming" 0.54 - 0.46·cos(2πj/(n-1)), "blackman"
// 0.42 - 0.5·cos(2πj/(n-1)) + 0.08·cos(4πj/(n-1)); one point is 1. Empty
// for another name.
std::vector<double> window(std::string_view name, std::size_t n);

// A band filter: a gain for every frequency, made from the directives of a
// filter file (docs/fourier.md gives the format).
struct Band {
    double low, high, gain;
};
struct Filter {
    double rate = 1;            // samples per unit of time
    std::vector<Band> pass;     // when any, frequencies outside all of them get gain 0
    std::vector<Band> stop;     // gain 0 inside
    std::vector<Band> scale;    // gain multiplied inside
    double gain(double frequency) const noexcept;
};

// The name a filter file has when none is given.
inline constexpr std::string_view default_filter_file = "fourier_filter_spec.txt";

// The filter a text describes (directives on lines or separated by ';'),
// or nullopt with `error` telling the first
// fault ("line 3: unknown directive lowpas").
std::optional<Filter> parse_filter(std::string_view text, std::string* error = nullptr);
// True when a text is a filter itself rather than the name of its file:
// it starts with a directive word and a blank.
bool is_filter_text(std::string_view s) noexcept;
// The filter of a file (at most 1 MiB), or nullopt when it cannot be read
// or parsed.
std::optional<Filter> read_filter(const std::string& path, std::string* error = nullptr);

// x with every frequency component scaled by the filter's gain at its
// frequency min(k, n-k)·rate/n, so real data stay real.
[[nodiscard]] bool apply_filter(const Filter& f, std::vector<cx>& x);

}  // namespace ostr::fourier
