// The factorisations of complex matrices that the eigen kernels do not
// cover: Householder QR, the singular value decomposition with its factors,
// the pseudo-inverse, and the singular values alone.
//
// QR: step k reflects rows k..m-1 with the unitary, Hermitian
// H = I - 2·v·vᴴ/(vᴴv), v = x - α·e₁ and α = -(x₀/|x₀|)·‖x‖ so that no
// cancellation happens in v₀; R's diagonal is then complex. Cost 8mn² - 8n³/3
// real flops, backward stable as the real QR.
//
// SVD with factors: one-sided Jacobi (Hestenes) on the columns as in the
// real kernel. For a pair of columns p, q with γ = pᴴq = |γ|·e^{iφ}, the
// column q·e^{-iφ} makes the pair's Gram matrix real, and the real rotation
// that diagonalises it finishes the step; V accumulates the same unitary
// 2×2 transforms. Each sweep costs about 12mn² real flops for W and 8n³ for
// V; the residual ‖A - U·Σ·Vᴴ‖ stays within c·max(m, n)·ε·‖A‖.
//
// Values alone go through the real embedding [Re -Im; Im Re] (2m×2n), which
// has every singular value of A twice: about twice a native complex
// bidiagonalisation, with the absolute accuracy c·k·ε·‖A‖ of the real path.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;
constexpr int max_sweeps = 60;

// xᴴ·y over n elements.
cplx cdot(const cplx* x, const cplx* y, std::size_t n) {
    cplx s = 0;
    for (std::size_t k = 0; k < n; ++k) s += std::conj(x[k]) * y[k];
    return s;
}

double norm2(const cplx* x, std::size_t n) {
    double s = 0;
    for (std::size_t k = 0; k < n; ++k) s += std::norm(x[k]);
    return s;
}

struct CReflector {
    std::vector<cplx> v;  // over rows k..m-1
    double f = 0;         // 2 / vᴴv; zero for the identity
};

CReflector reflect_column(const CMat& a, std::size_t k) {
    const std::size_t m = a.rows;
    CReflector h;
    h.v.assign(m - k, cplx(0, 0));
    double scale = 0;
    for (std::size_t i = k; i < m; ++i) scale = std::max(scale, std::abs(a(i, k)));
    if (scale == 0) return h;
    double ss = 0;
    for (std::size_t i = k; i < m; ++i) ss += std::norm(a(i, k) / scale);
    const double xnorm = scale * std::sqrt(ss);
    const cplx x0 = a(k, k);
    const cplx phase = std::abs(x0) > 0 ? x0 / std::abs(x0) : cplx(1, 0);
    for (std::size_t i = k; i < m; ++i) h.v[i - k] = a(i, k);
    h.v[0] += phase * xnorm;
    const double vv = norm2(h.v.data(), h.v.size());
    h.f = vv > 0 ? 2 / vv : 0;
    return h;
}

// rows k.. of b (columns c0..) -= v·(2/vᴴv)·(vᴴ·b).
void apply(const CReflector& h, CMat& b, std::size_t k, std::size_t c0) {
    if (h.f == 0) return;
    std::vector<cplx> w(b.cols - c0, cplx(0, 0));
    for (std::size_t i = k; i < b.rows; ++i) {
        const cplx vi = std::conj(h.v[i - k]);
        const cplx* r = b.row(i) + c0;
        for (std::size_t j = 0; j < w.size(); ++j) w[j] += vi * r[j];
    }
    for (std::size_t i = k; i < b.rows; ++i) {
        const cplx g = h.f * h.v[i - k];
        cplx* r = b.row(i) + c0;
        for (std::size_t j = 0; j < w.size(); ++j) r[j] -= g * w[j];
    }
}

// x ← c·x - s·e^{-iφ}·y, y ← s·x + c·e^{-iφ}·y.
void rotate(cplx* x, cplx* y, std::size_t n, double c, double s, cplx phase) {
    for (std::size_t k = 0; k < n; ++k) {
        const cplx a = x[k], b = y[k] * phase;
        x[k] = c * a - s * b;
        y[k] = s * a + c * b;
    }
}

// Orthogonalises the rows of w (and transforms the rows of vt alongside).
Status jacobi(CMat& w, CMat* vt) {
    const std::size_t n = w.rows, m = w.cols;
    for (int sweep = 0; sweep < max_sweeps; ++sweep) {
        bool rotated = false;
        for (std::size_t p = 0; p + 1 < n; ++p) {
            if (core::should_stop()) return Status::stopped;
            for (std::size_t q = p + 1; q < n; ++q) {
                const double alpha = norm2(w.row(p), m), beta = norm2(w.row(q), m);
                const cplx gamma = cdot(w.row(p), w.row(q), m);
                const double g = std::abs(gamma);
                if (alpha == 0 || beta == 0 || g <= eps * std::sqrt(alpha * beta)) continue;
                rotated = true;
                const cplx phase = std::conj(gamma) / g;
                const double zeta = (beta - alpha) / (2 * g);
                const double t = std::copysign(1.0, zeta) / (std::abs(zeta) + std::hypot(1.0, zeta));
                const double c = 1 / std::sqrt(1 + t * t), s = c * t;
                rotate(w.row(p), w.row(q), m, c, s, phase);
                if (vt) rotate(vt->row(p), vt->row(q), vt->cols, c, s, phase);
            }
        }
        if (!rotated) return Status::ok;
    }
    return Status::not_converged;
}

// Completes the rows of u whose singular value is zero to an orthonormal
// set: unit vectors orthogonalised (twice) against the rows kept so far.
void complete(CMat& u, const std::vector<bool>& zero) {
    std::size_t next = 0;
    for (std::size_t k = 0; k < u.rows; ++k) {
        if (!zero[k]) continue;
        for (; next < u.cols; ++next) {
            std::vector<cplx> x(u.cols, cplx(0, 0));
            x[next] = 1;
            for (int pass = 0; pass < 2; ++pass)
                for (std::size_t j = 0; j < u.rows; ++j) {
                    if (j == k || (zero[j] && j > k)) continue;
                    const cplx f = cdot(u.row(j), x.data(), u.cols);
                    for (std::size_t i = 0; i < u.cols; ++i) x[i] -= f * u(j, i);
                }
            const double nrm = std::sqrt(norm2(x.data(), u.cols));
            if (nrm > 0.5) {
                for (std::size_t i = 0; i < u.cols; ++i) u(k, i) = x[i] / nrm;
                ++next;
                break;
            }
        }
    }
}

CMat conjugate(CMat m) {
    for (cplx& z : m.a) z = std::conj(z);
    return m;
}

}  // namespace

Status qr(const CMat& a, CMat& q, CMat& r, bool thin) {
    if (a.rows < a.cols) return Status::size_mismatch;
    const std::size_t m = a.rows, n = a.cols, qc = thin ? n : m;
    r = a;
    std::vector<CReflector> hs;
    for (std::size_t k = 0; k < n; ++k) {
        if ((k & 15) == 0 && core::should_stop()) return Status::stopped;
        hs.push_back(reflect_column(r, k));
        apply(hs.back(), r, k, k);
        for (std::size_t i = k + 1; i < m; ++i) r(i, k) = 0;
    }
    // Q = H₀·H₁·…, each H its own inverse: applied to I from the last.
    q = CMat(m, qc);
    for (std::size_t k = 0; k < qc; ++k) q(k, k) = 1;
    for (std::size_t k = hs.size(); k-- > 0;) apply(hs[k], q, k, 0);
    if (thin) r.rows = n, r.a.resize(n * n);
    return Status::ok;
}

Status svd(const CMat& a, std::vector<double>& s, CMat* u, CMat* v) {
    // The rows of W are the columns of B = A (m >= n: W = Aᵀ), or of
    // B = Aᴴ (W = conj(A)); in the second case A = V·Σ·Uᴴ with B's factors
    // swapped.
    const bool flip = a.rows < a.cols;
    if (!u && !v) return singular_values(a, s);
    if (flip) std::swap(u, v);
    CMat w = flip ? conjugate(a) : transpose(a);
    const std::size_t k = w.rows;
    CMat vt;
    if (v) vt = identity<cplx>(k);
    if (Status st = jacobi(w, v ? &vt : nullptr); st != Status::ok) return st;
    std::vector<double> norms(k);
    for (std::size_t j = 0; j < k; ++j) norms[j] = std::sqrt(norm2(w.row(j), w.cols));
    std::vector<std::size_t> order(k);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t x, std::size_t y) { return norms[x] > norms[y]; });
    s.resize(k);
    for (std::size_t j = 0; j < k; ++j) s[j] = norms[order[j]];
    const double tiny = k ? rank_tolerance(w.rows, w.cols, s[0]) * eps : 0;
    if (u) {
        // Row j of W is now B·v_j = s_j·u_j.
        CMat ut(k, w.cols);
        std::vector<bool> zero(k, false);
        for (std::size_t j = 0; j < k; ++j) {
            zero[j] = !(s[j] > tiny);
            if (!zero[j])
                for (std::size_t i = 0; i < w.cols; ++i) ut(j, i) = w(order[j], i) / s[j];
        }
        complete(ut, zero);
        *u = transpose(ut);
    }
    if (v) {
        *v = CMat(k, k);
        for (std::size_t j = 0; j < k; ++j)
            for (std::size_t i = 0; i < k; ++i) (*v)(i, j) = vt(order[j], i);
    }
    return Status::ok;
}

Status singular_values(const CMat& a, std::vector<double>& s) {
    const std::size_t m = a.rows, n = a.cols;
    RMat e(2 * m, 2 * n);
    for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            const cplx z = a(i, j);
            e(i, j) = z.real();
            e(i, j + n) = -z.imag();
            e(i + m, j) = z.imag();
            e(i + m, j + n) = z.real();
        }
    std::vector<double> twice;
    if (Status st = svd(e, twice, nullptr, nullptr); st != Status::ok) return st;
    // Descending, so each value's two copies are neighbours.
    s.resize(twice.size() / 2);
    for (std::size_t k = 0; k < s.size(); ++k) s[k] = twice[2 * k];
    return Status::ok;
}

}  // namespace ostr::la
