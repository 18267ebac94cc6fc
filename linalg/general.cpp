// Eigenvalues of a general real matrix: orthogonal reduction to upper
// Hessenberg form, then the Francis double-shift QR iteration (after the
// classic orthes / hqr pair), and eigenvectors by inverse iteration.
//
// The reduction costs 10n³/3; the iteration about 10n³ on average for the
// values alone (two sweeps per eigenvalue, each O(n·active)). Computed
// values are exact for A + ΔA with ‖ΔA‖ <= c·n·ε·‖A‖; an eigenvalue's own
// error is that bound times its condition number. A block that does not
// split within 30·n sweeps in all is reported as not converged.
#include <algorithm>
#include <cmath>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;

Status hessenberg(RMat& h) {
    const std::size_t n = h.rows;
    std::vector<double> ort(n, 0.0), w(n, 0.0);
    for (std::size_t m = 1; m + 1 < n; ++m) {
        if ((m & 15) == 0 && core::should_stop()) return Status::stopped;
        double scale = 0;
        for (std::size_t i = m; i < n; ++i) scale += std::abs(h(i, m - 1));
        if (scale == 0) continue;
        double hh = 0;
        for (std::size_t i = m; i < n; ++i) {
            ort[i] = h(i, m - 1) / scale;
            hh += ort[i] * ort[i];
        }
        const double g = ort[m] > 0 ? -std::sqrt(hh) : std::sqrt(hh);
        hh -= ort[m] * g;
        ort[m] -= g;
        // From the left, rows m.. : H -= u·(uᵀH)/hh, uᵀH gathered row by row.
        std::fill(w.begin() + static_cast<std::ptrdiff_t>(m - 1), w.end(), 0.0);
        for (std::size_t i = m; i < n; ++i) {
            const double* r = h.row(i);
            for (std::size_t j = m - 1; j < n; ++j) w[j] += ort[i] * r[j];
        }
        for (std::size_t i = m; i < n; ++i) {
            const double f = ort[i] / hh;
            double* r = h.row(i);
            for (std::size_t j = m - 1; j < n; ++j) r[j] -= f * w[j];
        }
        // From the right, every row: H -= (H·u)·uᵀ/hh.
        for (std::size_t i = 0; i < n; ++i) {
            double* r = h.row(i);
            double f = 0;
            for (std::size_t j = m; j < n; ++j) f += ort[j] * r[j];
            f /= hh;
            for (std::size_t j = m; j < n; ++j) r[j] -= f * ort[j];
        }
        h(m, m - 1) = scale * g;
        for (std::size_t i = m + 1; i < n; ++i) h(i, m - 1) = 0;
    }
    return Status::ok;
}

struct Shift {
    double x, y, w;
};

// One Francis double step on the active block l..n (inclusive).
void francis_step(RMat& h, int l, int n, Shift sh) {
    double p = 0, q = 0, r = 0, s, z;
    int m = n - 2;
    for (; m >= l; --m) {
        z = h(m, m);
        r = sh.x - z;
        s = sh.y - z;
        p = (r * s - sh.w) / h(m + 1, m) + h(m, m + 1);
        q = h(m + 1, m + 1) - z - r - s;
        r = h(m + 2, m + 1);
        s = std::abs(p) + std::abs(q) + std::abs(r);
        p /= s, q /= s, r /= s;
        if (m == l) break;
        if (std::abs(h(m, m - 1)) * (std::abs(q) + std::abs(r)) <
            eps * (std::abs(p) * (std::abs(h(m - 1, m - 1)) + std::abs(z) + std::abs(h(m + 1, m + 1)))))
            break;
    }
    for (int i = m + 2; i <= n; ++i) {
        h(i, i - 2) = 0;
        if (i > m + 2) h(i, i - 3) = 0;
    }
    for (int k = m; k <= n - 1; ++k) {
        const bool notlast = k != n - 1;
        double x = 0;
        if (k != m) {
            p = h(k, k - 1);
            q = h(k + 1, k - 1);
            r = notlast ? h(k + 2, k - 1) : 0.0;
            x = std::abs(p) + std::abs(q) + std::abs(r);
            if (x == 0) continue;
            p /= x, q /= x, r /= x;
        }
        s = std::sqrt(p * p + q * q + r * r);
        if (p < 0) s = -s;
        if (s == 0) continue;
        if (k != m) h(k, k - 1) = -s * x;
        else if (l != m) h(k, k - 1) = -h(k, k - 1);
        p += s;
        x = p / s;
        const double y = q / s;
        z = r / s;
        q /= p;
        r /= p;
        for (int j = k; j <= n; ++j) {
            p = h(k, j) + q * h(k + 1, j);
            if (notlast) {
                p += r * h(k + 2, j);
                h(k + 2, j) -= p * z;
            }
            h(k, j) -= p * x;
            h(k + 1, j) -= p * y;
        }
        for (int i = l; i <= std::min(n, k + 3); ++i) {
            p = x * h(i, k) + y * h(i, k + 1);
            if (notlast) {
                p += z * h(i, k + 2);
                h(i, k + 2) -= p * r;
            }
            h(i, k) -= p;
            h(i, k + 1) -= p * q;
        }
    }
}

// The two eigenvalues of the trailing 2×2 block at n-1, n.
void pair(const RMat& h, int n, double exshift, std::vector<cplx>& w) {
    const double wv = h(n, n - 1) * h(n - 1, n);
    const double p = (h(n - 1, n - 1) - h(n, n)) / 2;
    const double q = p * p + wv;
    double z = std::sqrt(std::abs(q));
    const double x = h(n, n) + exshift;
    if (q >= 0) {
        z = p >= 0 ? p + z : p - z;
        w[n - 1] = x + z;
        w[n] = z != 0 ? x - wv / z : x + z;
    } else {
        w[n - 1] = {x + p, z};
        w[n] = {x + p, -z};
    }
}

Status hqr(RMat& h, std::vector<cplx>& w) {
    const int nn = static_cast<int>(h.rows);
    double norm = 0;
    for (int i = 0; i < nn; ++i)
        for (int j = std::max(i - 1, 0); j < nn; ++j) norm += std::abs(h(i, j));
    double exshift = 0;
    int n = nn - 1, iter = 0;
    long budget = 30L * nn + 30;
    while (n >= 0) {
        int l = n;
        for (; l > 0; --l) {
            double s = std::abs(h(l - 1, l - 1)) + std::abs(h(l, l));
            if (s == 0) s = norm;
            if (std::abs(h(l, l - 1)) < eps * s) break;
        }
        if (l == n) {
            w[n] = h(n, n) + exshift;
            --n, iter = 0;
            continue;
        }
        if (l == n - 1) {
            pair(h, n, exshift, w);
            n -= 2, iter = 0;
            continue;
        }
        if (--budget < 0) return Status::not_converged;
        if ((budget & 7) == 0 && core::should_stop()) return Status::stopped;
        Shift sh{h(n, n), h(n - 1, n - 1), h(n, n - 1) * h(n - 1, n)};
        if (iter == 10) {  // exceptional shift
            exshift += sh.x;
            for (int i = 0; i <= n; ++i) h(i, i) -= sh.x;
            const double s = std::abs(h(n, n - 1)) + std::abs(h(n - 1, n - 2));
            sh = {0.75 * s, 0.75 * s, -0.4375 * s * s};
        }
        if (iter == 30) {
            double s = (sh.y - sh.x) / 2;
            s = s * s + sh.w;
            if (s > 0) {
                s = std::sqrt(s);
                if (sh.y < sh.x) s = -s;
                s = sh.x - sh.w / ((sh.y - sh.x) / 2 + s);
                for (int i = 0; i <= n; ++i) h(i, i) -= s;
                exshift += s;
                sh = {0.964, 0.964, 0.964};
            }
        }
        ++iter;
        francis_step(h, l, n, sh);
    }
    return Status::ok;
}

}  // namespace

Status eigenvalues(const RMat& a, std::vector<cplx>& w) {
    if (!a.square()) return Status::not_square;
    w.assign(a.rows, cplx(0, 0));
    if (a.rows == 0) return Status::ok;
    RMat h = a;
    if (Status s = hessenberg(h); s != Status::ok) return s;
    return hqr(h, w);
}

Status eigenvectors(const RMat& a, const std::vector<cplx>& w, CMat& v) {
    if (!a.square() || w.size() != a.rows) return Status::size_mismatch;
    CMat c(a.rows, a.cols);
    std::copy(a.a.begin(), a.a.end(), c.a.begin());
    return eigenvectors(c, w, v);
}

}  // namespace ostr::la
