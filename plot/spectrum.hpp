// Magnitude spectra for the Fourier plot: |X_k| of the discrete Fourier
// transform X_k = Σ x_j·e^(−2πi·jk/n), k = 0..n/2.
#pragma once

#include <optional>
#include <span>
#include <vector>

namespace ostr::plot {

// Largest sample count the Fourier plot takes.
inline constexpr std::size_t max_spectrum_samples = std::size_t{1} << 20;

// |X_k| for k = 0..n/2 (im empty for real samples), by the numeric
// library's transform: O(n log n) for every n, with an error near
// ε·log2 n relative to the data. nullopt when core::should_stop() answers
// true.
std::optional<std::vector<double>> magnitude_spectrum(std::span<const double> re, std::span<const double> im);

}  // namespace ostr::plot

namespace ostr::plot {
// Largest length that is no power of two the Fourier plot takes (once the
// bound of a direct sum; kept so that plotfft answers as before).
inline constexpr std::size_t max_direct_samples = 16384;
}  // namespace ostr::plot
