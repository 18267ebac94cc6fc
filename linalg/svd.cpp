// The singular value decomposition by one-sided Jacobi rotations, and what
// builds on it: the rank tolerance and the pseudo-inverse.
//
// With W holding the columns of A as its rows, each pair (p, q) of rows is
// rotated so that the two become orthogonal; a sweep visits every pair, and
// sweeps repeat until no pair is off by more than ε relative to its norms.
// Then the row norms are the singular values, the normalised rows the left
// singular vectors, and the accumulated rotations V. Convergence is
// quadratic (6-10 sweeps in practice), each sweep about 3mn² flops for W and
// 2n³ for V. Relative accuracy of every singular value is ε times the
// condition number of A with its columns scaled, often far better than ε·s₁.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <type_traits>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"
#include "linalg/householder.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;
constexpr int max_sweeps = 60;

double dot(const double* x, const double* y, std::size_t n) {
    double s = 0;
    for (std::size_t k = 0; k < n; ++k) s += x[k] * y[k];
    return s;
}

void rotate(double* x, double* y, std::size_t n, double c, double s) {
    for (std::size_t k = 0; k < n; ++k) {
        const double a = x[k], b = y[k];
        x[k] = c * a - s * b;
        y[k] = s * a + c * b;
    }
}

// Orthogonalises the rows of w (and rotates the rows of vt alongside).
Status jacobi(RMat& w, RMat* vt) {
    const std::size_t n = w.rows, m = w.cols;
    for (int sweep = 0; sweep < max_sweeps; ++sweep) {
        bool rotated = false;
        for (std::size_t p = 0; p + 1 < n; ++p) {
            if (core::should_stop()) return Status::stopped;
            for (std::size_t q = p + 1; q < n; ++q) {
                const double alpha = dot(w.row(p), w.row(p), m);
                const double beta = dot(w.row(q), w.row(q), m);
                const double gamma = dot(w.row(p), w.row(q), m);
                if (alpha == 0 || beta == 0 || std::abs(gamma) <= eps * std::sqrt(alpha * beta)) continue;
                rotated = true;
                const double zeta = (beta - alpha) / (2 * gamma);
                const double t = std::copysign(1.0, zeta) / (std::abs(zeta) + std::hypot(1.0, zeta));
                const double c = 1 / std::sqrt(1 + t * t);
                const double s = c * t;
                rotate(w.row(p), w.row(q), m, c, s);
                if (vt) rotate(vt->row(p), vt->row(q), vt->cols, c, s);
            }
        }
        if (!rotated) return Status::ok;
    }
    return Status::not_converged;
}

// Completes the rows of u whose singular value is zero to an orthonormal
// set: unit vectors orthogonalised (twice) against the rows before them.
void complete(RMat& u, const std::vector<bool>& zero) {
    std::size_t next = 0;
    for (std::size_t k = 0; k < u.rows; ++k) {
        if (!zero[k]) continue;
        for (; next < u.cols; ++next) {
            std::vector<double> x(u.cols, 0.0);
            x[next] = 1;
            for (int pass = 0; pass < 2; ++pass)
                for (std::size_t j = 0; j < u.rows; ++j) {
                    if (j == k || (zero[j] && j > k)) continue;
                    const double f = dot(x.data(), u.row(j), u.cols);
                    for (std::size_t i = 0; i < u.cols; ++i) x[i] -= f * u(j, i);
                }
            const double nrm = std::sqrt(dot(x.data(), x.data(), u.cols));
            if (nrm > 0.5) {
                for (std::size_t i = 0; i < u.cols; ++i) u(k, i) = x[i] / nrm;
                ++next;
                break;
            }
        }
    }
}

// Row k of a, columns k+1..n-1, reflected onto a multiple of the first unit
// vector from the right, in rows k..m-1; answers that multiple.
double reflect_row(RMat& a, std::size_t k) {
    const std::size_t n = a.cols, len = n - k - 1;
    const double* x = a.row(k) + k + 1;
    double scale = 0;
    for (std::size_t j = 0; j < len; ++j) scale = std::max(scale, std::abs(x[j]));
    if (scale == 0 || len == 1) return x[0];
    double ss = 0;
    for (std::size_t j = 0; j < len; ++j) ss += (x[j] / scale) * (x[j] / scale);
    const double norm = scale * std::sqrt(ss);
    const double alpha = x[0] > 0 ? -norm : norm;
    const double v0 = x[0] - alpha;
    std::vector<double> v(len);
    v[0] = 1;
    for (std::size_t j = 1; j < len; ++j) v[j] = x[j] / v0;
    const double tau = -v0 / alpha;
    for (std::size_t i = k; i < a.rows; ++i) {
        double* r = a.row(i) + k + 1;
        const double f = tau * dot(r, v.data(), len);
        for (std::size_t j = 0; j < len; ++j) r[j] -= f * v[j];
    }
    return alpha;
}

// Singular values alone: A (m >= n) = Q·B·Pᵀ with B upper bidiagonal
// (diagonal d, superdiagonal e), whose singular values are the positive
// eigenvalues of the tridiagonal with zero diagonal and off-diagonal
// d0, e0, d1, e1, ..., d_{n-1}. Cost 4mn² - 4n³/3 for the reduction, O(n²)
// after it.
Status values_only(RMat a, std::vector<double>& s) {
    const std::size_t n = a.cols;
    std::vector<double> off(2 * n, 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        if ((k & 15) == 0 && core::should_stop()) return Status::stopped;
        Reflector h = reflect_column(a, k);
        apply(h, a, k, k);
        off[2 * k + 1] = a(k, k);
        if (k + 1 < n) off[2 * k + 2] = reflect_row(a, k);
    }
    std::vector<double> diag(2 * n, 0.0);
    if (Status st = tridiagonal_eigenvalues(diag, off); st != Status::ok) return st;
    std::sort(diag.begin(), diag.end(), [](double x, double y) { return x > y; });
    s.resize(n);
    for (std::size_t k = 0; k < n; ++k) s[k] = std::abs(diag[k]);
    std::sort(s.begin(), s.end(), [](double x, double y) { return x > y; });
    return Status::ok;
}

}  // namespace

double rank_tolerance(std::size_t m, std::size_t n, double s_max) noexcept {
    return static_cast<double>(std::max(m, n)) * eps * s_max;
}

Status svd(const RMat& a, std::vector<double>& s, RMat* u, RMat* v) {
    // Rotating the rows of W = Bᵀ with B = A (m >= n) or B = Aᵀ (m < n)
    // keeps the rotated vectors the short side; A = V·Σ·Uᵀ in the second case.
    const bool flip = a.rows < a.cols;
    if (!u && !v) return a.rows == 0 || a.cols == 0 ? (s.clear(), Status::ok) : values_only(flip ? transpose(a) : a, s);
    if (flip) std::swap(u, v);
    RMat w = flip ? a : transpose(a);
    const std::size_t k = w.rows;
    RMat vt;
    if (v) vt = identity<double>(k);
    if (Status st = jacobi(w, v ? &vt : nullptr); st != Status::ok) return st;
    std::vector<double> norms(k);
    for (std::size_t j = 0; j < k; ++j) norms[j] = std::sqrt(dot(w.row(j), w.row(j), w.cols));
    std::vector<std::size_t> order(k);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t x, std::size_t y) { return norms[x] > norms[y]; });
    s.resize(k);
    for (std::size_t j = 0; j < k; ++j) s[j] = norms[order[j]];
    const double tiny = k ? rank_tolerance(w.rows, w.cols, s[0]) * eps : 0;
    if (u) {
        RMat ut(k, w.cols);
        std::vector<bool> zero(k, false);
        for (std::size_t j = 0; j < k; ++j) {
            const double sj = s[j];
            zero[j] = !(sj > tiny);
            if (!zero[j])
                for (std::size_t i = 0; i < w.cols; ++i) ut(j, i) = w(order[j], i) / sj;
        }
        complete(ut, zero);
        *u = transpose(ut);
    }
    if (v) {
        *v = RMat(k, k);
        for (std::size_t j = 0; j < k; ++j)
            for (std::size_t i = 0; i < k; ++i) (*v)(i, j) = vt(order[j], i);
    }
    return Status::ok;
}

template <class T>
Status pseudo_inverse(const Dense<T>& a, Dense<T>& p) {
    std::vector<double> s;
    Dense<T> u, v;
    if (Status st = svd(a, s, &u, &v); st != Status::ok) return st;
    const double tol = s.empty() ? 0 : rank_tolerance(a.rows, a.cols, s[0]);
    // A⁺ = V·Σ⁺·Uᴴ.
    p = Dense<T>(a.cols, a.rows);
    for (std::size_t k = 0; k < s.size(); ++k) {
        if (!(s[k] > tol)) break;
        for (std::size_t i = 0; i < a.cols; ++i) {
            const T f = v(i, k) / s[k];
            T* pr = p.row(i);
            for (std::size_t j = 0; j < a.rows; ++j) {
                if constexpr (std::is_same_v<T, cplx>) pr[j] += f * std::conj(u(j, k));
                else pr[j] += f * u(j, k);
            }
        }
    }
    return Status::ok;
}

template Status pseudo_inverse<double>(const Dense<double>&, Dense<double>&);
template Status pseudo_inverse<cplx>(const Dense<cplx>&, Dense<cplx>&);

}  // namespace ostr::la
