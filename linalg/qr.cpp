// Householder QR and least squares.
//
// Step k reflects rows k..m-1 with H = I - τ·v·vᵀ (v₀ = 1 implied by the
// scaling below), chosen so that column k becomes (α, 0, ..., 0) with
// α = -sign(a_kk)·‖a_k:m,k‖: the sign avoids cancellation. A reflection is
// applied as w = vᵀ·A (accumulated row by row, contiguous) and A -= τ·v·w.
// Cost 2mn² - 2n³/3; backward stable: Q·R = A + ΔA with ‖ΔA‖ <= c·mn·ε·‖A‖.
#include <cmath>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"
#include "linalg/householder.hpp"

namespace ostr::la {
namespace {

Status factor(RMat& a, std::vector<Reflector>& hs) {
    const std::size_t n = std::min(a.rows, a.cols);
    hs.clear();
    for (std::size_t k = 0; k < n; ++k) {
        if ((k & 15) == 0 && core::should_stop()) return Status::stopped;
        hs.push_back(reflect_column(a, k));
        apply(hs.back(), a, k, k);
        for (std::size_t i = k + 1; i < a.rows; ++i) a(i, k) = 0;
    }
    return Status::ok;
}

}  // namespace

Status qr(const RMat& a, RMat& q, RMat& r, bool thin) {
    if (a.rows < a.cols) return Status::size_mismatch;
    r = a;
    std::vector<Reflector> hs;
    if (Status s = factor(r, hs); s != Status::ok) return s;
    const std::size_t m = a.rows, qc = thin ? a.cols : m;
    q = RMat(m, qc);
    for (std::size_t k = 0; k < qc; ++k) q(k, k) = 1;
    for (std::size_t k = hs.size(); k-- > 0;) apply(hs[k], q, k, 0);
    if (thin) r.rows = a.cols, r.a.resize(a.cols * a.cols);
    return Status::ok;
}

Status least_squares(const RMat& a, const RMat& b, RMat& x) {
    if (a.rows < a.cols) return Status::size_mismatch;
    if (b.rows != a.rows) return Status::size_mismatch;
    RMat r = a, y = b;
    std::vector<Reflector> hs;
    if (Status s = factor(r, hs); s != Status::ok) return s;
    for (std::size_t k = 0; k < hs.size(); ++k) apply(hs[k], y, k, 0);
    const std::size_t n = a.cols, m = b.cols;
    double ss = 0;
    for (double v : a.a) ss += v * v;
    const double tol = static_cast<double>(a.rows) * 2.220446049250313e-16 * std::sqrt(ss);
    x = RMat(n, m);
    for (std::size_t i = n; i-- > 0;) {
        if (!(std::abs(r(i, i)) > tol)) return Status::singular;
        double* xi = x.row(i);
        std::copy(y.row(i), y.row(i) + m, xi);
        for (std::size_t k = i + 1; k < n; ++k)
            for (std::size_t j = 0; j < m; ++j) xi[j] -= r(i, k) * x(k, j);
        for (std::size_t j = 0; j < m; ++j) xi[j] /= r(i, i);
    }
    return Status::ok;
}

}  // namespace ostr::la
