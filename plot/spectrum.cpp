// The discrete Fourier transform behind the Fourier plot: the magnitudes of
// the numeric library's transform (fourier/fft.hpp), any length.
#include "plot/spectrum.hpp"

#include <cmath>

#include "fourier/fft.hpp"

namespace ostr::plot {

std::optional<std::vector<double>> magnitude_spectrum(std::span<const double> re, std::span<const double> im) {
    const std::size_t n = re.size();
    std::vector<fourier::cx> x(n);
    for (std::size_t j = 0; j < n; ++j) x[j] = {re[j], j < im.size() ? im[j] : 0.0};
    fourier::Plan plan(n);
    if (!plan.run(x.data(), fourier::Direction::forward)) return std::nullopt;
    std::vector<double> out(n / 2 + 1);
    for (std::size_t k = 0; k < out.size(); ++k) out[k] = std::hypot(x[k].re, x[k].im);
    return out;
}

}  // namespace ostr::plot
