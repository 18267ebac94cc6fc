// Eigenvalues and eigenvectors of a general complex matrix: unitary
// Householder reduction to upper Hessenberg form, then the single-shift QR
// iteration with Wilkinson shifts, and eigenvectors by inverse iteration.
//
// The reduction costs 16n³/3 real flops; the iteration about 12n³ for the
// values (one or two sweeps per eigenvalue over the active block). Values are
// exact for A + ΔA with ‖ΔA‖ <= c·n·ε·‖A‖, as in the real kernel. A block
// that does not split within 30·n sweeps in all is reported as not
// converged.
#include <algorithm>
#include <cmath>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;

// Column m-1, rows m.., becomes α·e₁ through H = I - 2·v·vᴴ/(vᴴv), applied
// from both sides so that the similarity keeps the spectrum.
void reduce_column(CMat& h, std::size_t m, std::vector<cplx>& v, std::vector<cplx>& w) {
    const std::size_t n = h.rows;
    double scale = 0;
    for (std::size_t i = m; i < n; ++i) scale = std::max(scale, std::abs(h(i, m - 1)));
    if (scale == 0) return;
    double ss = 0;
    for (std::size_t i = m; i < n; ++i) ss += std::norm(h(i, m - 1) / scale);
    const double xnorm = scale * std::sqrt(ss);
    const cplx x0 = h(m, m - 1);
    const cplx phase = std::abs(x0) > 0 ? x0 / std::abs(x0) : cplx(1, 0);
    const cplx alpha = -phase * xnorm;
    for (std::size_t i = m; i < n; ++i) v[i] = h(i, m - 1);
    v[m] -= alpha;
    double vv = 0;
    for (std::size_t i = m; i < n; ++i) vv += std::norm(v[i]);
    if (vv == 0) return;
    const double f2 = 2 / vv;
    // From the left, rows m.., columns m..: H -= v·(vᴴH)·2/vᴴv.
    std::fill(w.begin() + static_cast<std::ptrdiff_t>(m), w.end(), cplx(0, 0));
    for (std::size_t i = m; i < n; ++i) {
        const cplx vi = std::conj(v[i]);
        const cplx* r = h.row(i);
        for (std::size_t j = m; j < n; ++j) w[j] += vi * r[j];
    }
    for (std::size_t i = m; i < n; ++i) {
        const cplx f = f2 * v[i];
        cplx* r = h.row(i);
        for (std::size_t j = m; j < n; ++j) r[j] -= f * w[j];
    }
    // From the right, every row: H -= (H·v)·vᴴ·2/vᴴv.
    for (std::size_t i = 0; i < n; ++i) {
        cplx* r = h.row(i);
        cplx f = 0;
        for (std::size_t j = m; j < n; ++j) f += r[j] * v[j];
        f *= f2;
        for (std::size_t j = m; j < n; ++j) r[j] -= f * std::conj(v[j]);
    }
    h(m, m - 1) = alpha;
    for (std::size_t i = m + 1; i < n; ++i) h(i, m - 1) = 0;
}

Status hessenberg(CMat& h) {
    const std::size_t n = h.rows;
    std::vector<cplx> v(n), w(n);
    for (std::size_t m = 1; m + 1 < n; ++m) {
        if ((m & 15) == 0 && core::should_stop()) return Status::stopped;
        reduce_column(h, m, v, w);
    }
    return Status::ok;
}

// A plane rotation G = [c s; -s̄ c] with real c and G·(x, y)ᵀ = (r, 0)ᵀ.
struct Rotation {
    double c;
    cplx s;
};

Rotation rotation(cplx x, cplx y) {
    const double ax = std::abs(x), ay = std::abs(y);
    if (ay == 0) return {1, 0};
    if (ax == 0) return {0, 1};
    const double r = std::hypot(ax, ay);
    return {ax / r, (x / ax) * std::conj(y) / r};
}

// Rows k, k+1 of columns c0..c1 (inclusive) := G·rows.
void rotate_rows(CMat& h, std::size_t k, std::size_t c0, std::size_t c1, Rotation g) {
    for (std::size_t j = c0; j <= c1; ++j) {
        const cplx a = h(k, j), b = h(k + 1, j);
        h(k, j) = g.c * a + g.s * b;
        h(k + 1, j) = -std::conj(g.s) * a + g.c * b;
    }
}

// Columns k, k+1 of rows r0..r1 (inclusive) := columns·Gᴴ.
void rotate_columns(CMat& h, std::size_t k, std::size_t r0, std::size_t r1, Rotation g) {
    for (std::size_t i = r0; i <= r1; ++i) {
        const cplx a = h(i, k), b = h(i, k + 1);
        h(i, k) = a * g.c + b * std::conj(g.s);
        h(i, k + 1) = -a * g.s + b * g.c;
    }
}

// The eigenvalue of the trailing 2×2 block of l..n closer to h(n, n).
cplx wilkinson(const CMat& h, std::size_t n) {
    const cplx a = h(n - 1, n - 1), b = h(n - 1, n), c = h(n, n - 1), d = h(n, n);
    const cplx half = (a - d) / 2.0;
    const cplx root = std::sqrt(half * half + b * c);
    const cplx mu1 = d + half + root, mu2 = d + half - root;
    return std::abs(mu1 - d) <= std::abs(mu2 - d) ? mu1 : mu2;
}

// One implicit single-shift QR sweep on the active block l..n: the first
// rotation is that of H - μI, the rest chase the bulge down the subdiagonal.
// Only the active block is updated, since the values are all that is kept.
void qr_sweep(CMat& h, std::size_t l, std::size_t n, cplx mu) {
    cplx x = h(l, l) - mu, y = h(l + 1, l);
    for (std::size_t k = l; k < n; ++k) {
        if (k > l) x = h(k, k - 1), y = h(k + 1, k - 1);
        const Rotation g = rotation(x, y);
        rotate_rows(h, k, k > l ? k - 1 : l, n, g);
        rotate_columns(h, k, l, std::min(k + 2, n), g);
        if (k > l) h(k + 1, k - 1) = 0;
    }
}

Status single_shift_qr(CMat& h, std::vector<cplx>& w) {
    const std::size_t nn = h.rows;
    double norm = 0;
    for (const cplx& z : h.a) norm = std::max(norm, std::abs(z));
    long budget = 30L * static_cast<long>(nn) + 30;
    std::size_t n = nn - 1;
    int iter = 0;
    for (;;) {
        std::size_t l = n;
        for (; l > 0; --l) {
            double s = std::abs(h(l - 1, l - 1)) + std::abs(h(l, l));
            if (s == 0) s = norm;
            if (std::abs(h(l, l - 1)) <= eps * s) {
                h(l, l - 1) = 0;
                break;
            }
        }
        if (l == n) {
            w[n] = h(n, n);
            if (n == 0) return Status::ok;
            --n, iter = 0;
            continue;
        }
        if (--budget < 0) return Status::not_converged;
        if ((budget & 7) == 0 && core::should_stop()) return Status::stopped;
        cplx mu = wilkinson(h, n);
        // An exceptional shift now and then breaks the rare cycles of the
        // Wilkinson shift (on permutation-like blocks, for instance).
        // The second one points off the real axis, for blocks whose
        // spectrum is symmetric about a real line through h(n, n).
        if (iter == 10 || iter == 20) {
            const double off = 0.75 * (std::abs(h(n, n - 1)) + (n >= l + 2 ? std::abs(h(n - 1, n - 2)) : 0.0));
            mu = h(n, n) + (iter == 10 ? cplx(off, 0) : cplx(0.6 * off, 0.8 * off));
        }
        ++iter;
        qr_sweep(h, l, n, mu);
    }
}

double norm1(const CMat& a) {
    double m = 0;
    for (std::size_t j = 0; j < a.cols; ++j) {
        double s = 0;
        for (std::size_t i = 0; i < a.rows; ++i) s += std::abs(a(i, j));
        m = std::max(m, s);
    }
    return m;
}

// ‖(A - λI)·x‖₂/‖x‖∞ for the column x.
double residual(const CMat& a, cplx lambda, const CMat& x) {
    double r = 0, big = 0;
    for (std::size_t i = 0; i < a.rows; ++i) {
        cplx s = -lambda * x(i, 0);
        const cplx* row = a.row(i);
        for (std::size_t j = 0; j < a.cols; ++j) s += row[j] * x(j, 0);
        r += std::norm(s);
        big = std::max(big, std::abs(x(i, 0)));
    }
    return std::sqrt(r) / big;
}

// One unit eigenvector for λ: up to three inverse-iteration steps on A - λI
// from a fixed start, normalised with its largest component real and
// positive.
Status inverse_iteration(const CMat& a, cplx lambda, double scale, std::vector<cplx>& out) {
    const std::size_t n = a.rows;
    // A shift a few ulps of ‖A‖ away from λ keeps A - λI invertible while
    // the solve still amplifies the eigenvector by about 1/shift.
    LU<cplx> lu;
    double delta = 4 * eps * scale;
    for (int attempt = 0; attempt < 4; ++attempt, delta *= 1024) {
        CMat b = a;
        for (std::size_t i = 0; i < n; ++i) b(i, i) -= lambda + cplx(delta, 0);
        if (lu_factor(std::move(b), lu) == Status::ok) break;
    }
    if (lu.singular) return Status::singular;
    CMat x(n, 1), y, best;
    for (std::size_t i = 0; i < n; ++i) x(i, 0) = 1.0 + 1.0 / static_cast<double>(i + 2);
    double best_residual = 0;
    for (int step = 0; step < 3; ++step) {
        if (Status s = lu_solve(lu, x, y); s != Status::ok) return s;
        double big = 0;
        for (const cplx& c : y.a) big = std::max(big, std::abs(c));
        if (!(big > 0) || !std::isfinite(big)) return Status::not_converged;
        for (cplx& c : y.a) c /= big;
        x = std::move(y);
        // For an ill-conditioned λ further steps drift from the vector that
        // A - λI nearly annihilates toward the eigenvector of the exact
        // eigenvalue nearby, whose residual is |λ - λ_exact|; a later step
        // is kept unless it is clearly worse.
        const double r = residual(a, lambda, x);
        if (step == 0 || r <= 2 * best_residual) {
            best = x;
            best_residual = step == 0 ? r : std::min(r, best_residual);
        }
    }
    x = std::move(best);
    std::size_t at = 0;
    double nrm = 0;
    for (std::size_t i = 0; i < n; ++i) {
        nrm += std::norm(x(i, 0));
        if (std::abs(x(i, 0)) > std::abs(x(at, 0))) at = i;
    }
    const cplx phase = std::abs(x(at, 0)) / x(at, 0) / std::sqrt(nrm);
    out.resize(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = x(i, 0) * phase;
    return Status::ok;
}

}  // namespace

Status eigenvalues(const CMat& a, std::vector<cplx>& w) {
    if (!a.square()) return Status::not_square;
    w.assign(a.rows, cplx(0, 0));
    if (a.rows == 0) return Status::ok;
    // Squares of elements near the ends of the range would overflow or
    // underflow in the reflectors and the shifts: such a matrix is scaled
    // by its largest element, and its eigenvalues back.
    double big = 0;
    for (const cplx& z : a.a) big = std::max(big, std::abs(z));
    if (!std::isfinite(big)) return Status::not_converged;
    const double scale = big > 1e100 || (big > 0 && big < 1e-100) ? big : 1.0;
    CMat h = a;
    if (scale != 1.0)
        for (cplx& z : h.a) z /= scale;
    if (Status s = hessenberg(h); s != Status::ok) return s;
    const Status st = single_shift_qr(h, w);
    for (cplx& z : w) z *= scale;
    return st;
}

Status eigenvectors(const CMat& a, const std::vector<cplx>& w, CMat& v) {
    const std::size_t n = a.rows;
    if (!a.square() || w.size() != n) return Status::size_mismatch;
    v = CMat(n, n);
    // A zero matrix still needs a shift the solve can divide by.
    const double scale = norm1(a) > 0 ? norm1(a) : 1.0;
    std::vector<cplx> x;
    for (std::size_t k = 0; k < n; ++k) {
        if (core::should_stop()) return Status::stopped;
        if (Status s = inverse_iteration(a, w[k], scale, x); s != Status::ok) return s;
        for (std::size_t i = 0; i < n; ++i) v(i, k) = x[i];
    }
    return settle_clusters(a, w, scale, v);
}

}  // namespace ostr::la
