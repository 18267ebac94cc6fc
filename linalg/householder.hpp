// Householder reflections on row-major storage, shared by QR and the
// bidiagonal reduction of the SVD.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "linalg/dense.hpp"

namespace ostr::la {

struct Reflector {
    std::vector<double> v;  // over rows k..m-1, v[0] = 1
    double tau = 0;
};

// The reflector that maps column k of a, rows k..m-1, onto a multiple of
// the first unit vector (a itself is not changed).
inline Reflector reflect_column(RMat& a, std::size_t k) {
    const std::size_t m = a.rows;
    Reflector h;
    h.v.assign(m - k, 0.0);
    double scale = 0;
    for (std::size_t i = k; i < m; ++i) scale = std::max(scale, std::abs(a(i, k)));
    if (scale == 0) return h;
    double ss = 0;
    for (std::size_t i = k; i < m; ++i) {
        const double x = a(i, k) / scale;
        ss += x * x;
    }
    const double norm = scale * std::sqrt(ss);
    const double alpha = a(k, k) > 0 ? -norm : norm;
    const double v0 = a(k, k) - alpha;
    h.v[0] = 1;
    for (std::size_t i = k + 1; i < m; ++i) h.v[i - k] = a(i, k) / v0;
    h.tau = -v0 / alpha;
    return h;
}

// rows k.. of b (columns c0..) -= τ·v·(vᵀ·b).
inline void apply(const Reflector& h, RMat& b, std::size_t k, std::size_t c0) {
    if (h.tau == 0) return;
    const std::size_t n = b.cols;
    std::vector<double> w(n - c0, 0.0);
    for (std::size_t i = k; i < b.rows; ++i) {
        const double vi = h.v[i - k];
        const double* r = b.row(i) + c0;
        for (std::size_t j = 0; j < w.size(); ++j) w[j] += vi * r[j];
    }
    for (std::size_t i = k; i < b.rows; ++i) {
        const double f = h.tau * h.v[i - k];
        double* r = b.row(i) + c0;
        for (std::size_t j = 0; j < w.size(); ++j) r[j] -= f * w[j];
    }
}

}  // namespace ostr::la
