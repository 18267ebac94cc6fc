// The symmetric eigenproblem: Householder reduction to tridiagonal form and
// the implicit QL iteration with Wilkinson shifts, after the classic tred2 /
// tql2 pair.
//
// Cost 4n³/3 for the reduction (+4n³/3 to accumulate the transforms) and
// about 3n³ for the QL rotations applied to the vectors; values alone need
// O(n²) after the reduction. The computed pairs satisfy
// ‖A·V - V·Λ‖ <= c·n·ε·‖A‖ and ‖VᵀV - I‖ <= c·n·ε. The rotations act on the
// rows of Z = Vᵀ, which are contiguous here.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;

// On entry v holds A; on exit d the diagonal and e the subdiagonal (e[0] = 0),
// and v the orthogonal transform when `vectors`.
Status tridiagonalise(RMat& v, std::vector<double>& d, std::vector<double>& e, bool vectors) {
    const int n = static_cast<int>(v.rows);
    for (int j = 0; j < n; ++j) d[j] = v(n - 1, j);
    for (int i = n - 1; i > 0; --i) {
        if ((i & 15) == 0 && core::should_stop()) return Status::stopped;
        double scale = 0, h = 0;
        for (int k = 0; k < i; ++k) scale += std::abs(d[k]);
        if (scale == 0) {
            e[i] = d[i - 1];
            for (int j = 0; j < i; ++j) {
                d[j] = v(i - 1, j);
                v(i, j) = 0;
                v(j, i) = 0;
            }
            d[i] = h;
            continue;
        }
        for (int k = 0; k < i; ++k) {
            d[k] /= scale;
            h += d[k] * d[k];
        }
        double f = d[i - 1];
        double g = f > 0 ? -std::sqrt(h) : std::sqrt(h);
        e[i] = scale * g;
        h -= f * g;
        d[i - 1] = f - g;
        for (int j = 0; j < i; ++j) e[j] = 0;
        for (int j = 0; j < i; ++j) {
            f = d[j];
            v(j, i) = f;
            g = e[j] + v(j, j) * f;
            for (int k = j + 1; k <= i - 1; ++k) {
                g += v(k, j) * d[k];
                e[k] += v(k, j) * f;
            }
            e[j] = g;
        }
        f = 0;
        for (int j = 0; j < i; ++j) {
            e[j] /= h;
            f += e[j] * d[j];
        }
        const double hh = f / (h + h);
        for (int j = 0; j < i; ++j) e[j] -= hh * d[j];
        for (int j = 0; j < i; ++j) {
            f = d[j];
            g = e[j];
            for (int k = j; k <= i - 1; ++k) v(k, j) -= (f * e[k] + g * d[k]);
            d[j] = v(i - 1, j);
            v(i, j) = 0;
        }
        d[i] = h;
    }
    if (!vectors) {
        for (int j = 0; j < n; ++j) d[j] = v(j, j);
        e[0] = 0;
        return Status::ok;
    }
    for (int i = 0; i < n - 1; ++i) {
        v(n - 1, i) = v(i, i);
        v(i, i) = 1;
        const double h = d[i + 1];
        if (h != 0) {
            for (int k = 0; k <= i; ++k) d[k] = v(k, i + 1) / h;
            for (int j = 0; j <= i; ++j) {
                double g = 0;
                for (int k = 0; k <= i; ++k) g += v(k, i + 1) * v(k, j);
                for (int k = 0; k <= i; ++k) v(k, j) -= g * d[k];
            }
        }
        for (int k = 0; k <= i; ++k) v(k, i + 1) = 0;
    }
    for (int j = 0; j < n; ++j) {
        d[j] = v(n - 1, j);
        v(n - 1, j) = 0;
    }
    v(n - 1, n - 1) = 1;
    e[0] = 0;
    return Status::ok;
}

void rotate_rows(RMat& z, int i, double c, double s) {
    double* a = z.row(i);
    double* b = z.row(i + 1);
    for (std::size_t k = 0; k < z.cols; ++k) {
        const double h = b[k];
        b[k] = s * a[k] + c * h;
        a[k] = c * a[k] - s * h;
    }
}

// Implicit QL on (d, e); z holds Vᵀ (rows rotated) or is empty.
Status ql(std::vector<double>& d, std::vector<double>& e, RMat* z) {
    const int n = static_cast<int>(d.size());
    for (int i = 1; i < n; ++i) e[i - 1] = e[i];
    e[n - 1] = 0;
    double f = 0, tst1 = 0;
    long budget = 30L * n + 30;
    for (int l = 0; l < n; ++l) {
        tst1 = std::max(tst1, std::abs(d[l]) + std::abs(e[l]));
        int m = l;
        while (m < n - 1 && std::abs(e[m]) > eps * tst1) ++m;
        if (m > l) {
            do {
                if (--budget < 0) return Status::not_converged;
                if (z && core::should_stop()) return Status::stopped;
                double g = d[l];
                double p = (d[l + 1] - g) / (2 * e[l]);
                double r = std::hypot(p, 1.0);
                if (p < 0) r = -r;
                d[l] = e[l] / (p + r);
                d[l + 1] = e[l] * (p + r);
                const double dl1 = d[l + 1];
                double h = g - d[l];
                for (int i = l + 2; i < n; ++i) d[i] -= h;
                f += h;
                p = d[m];
                double c = 1, c2 = 1, c3 = 1, s = 0, s2 = 0;
                const double el1 = e[l + 1];
                for (int i = m - 1; i >= l; --i) {
                    c3 = c2;
                    c2 = c;
                    s2 = s;
                    g = c * e[i];
                    h = c * p;
                    r = std::hypot(p, e[i]);
                    e[i + 1] = s * r;
                    s = e[i] / r;
                    c = p / r;
                    p = c * d[i] - s * g;
                    d[i + 1] = h + s * (c * g + s * d[i]);
                    if (z) rotate_rows(*z, i, c, s);
                }
                p = -s * s2 * c3 * el1 * e[l] / dl1;
                e[l] = s * p;
                d[l] = c * p;
            } while (std::abs(e[l]) > eps * tst1);
        }
        d[l] += f;
        e[l] = 0;
    }
    return Status::ok;
}

}  // namespace

Status tridiagonal_eigenvalues(std::vector<double>& d, std::vector<double>& e) { return ql(d, e, nullptr); }

Status symmetric_eigen(const RMat& a, std::vector<double>& w, RMat* v) {
    if (!a.square()) return Status::not_square;
    const std::size_t n = a.rows;
    w.assign(n, 0.0);
    if (n == 0) return Status::ok;
    RMat t(n, n);
    // Symmetric from the lower triangle.
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j <= i; ++j) t(i, j) = t(j, i) = a(i, j);
    std::vector<double> e(n, 0.0);
    if (Status s = tridiagonalise(t, w, e, v != nullptr); s != Status::ok) return s;
    RMat z;
    if (v) z = transpose(t);
    if (Status s = ql(w, e, v ? &z : nullptr); s != Status::ok) return s;
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t x, std::size_t y) { return w[x] < w[y]; });
    std::vector<double> sorted(n);
    for (std::size_t k = 0; k < n; ++k) sorted[k] = w[order[k]];
    w = std::move(sorted);
    if (v) {
        *v = RMat(n, n);
        for (std::size_t k = 0; k < n; ++k) {
            // The sign that makes the first of the largest components
            // positive, so the answer does not depend on rounding.
            const double* zk = z.row(order[k]);
            double big = 0;
            for (std::size_t i = 0; i < n; ++i) big = std::max(big, std::abs(zk[i]));
            std::size_t at = 0;
            while (at + 1 < n && std::abs(zk[at]) < (1 - 1e-8) * big) ++at;
            const double sign = zk[at] < 0 ? -1.0 : 1.0;
            for (std::size_t i = 0; i < n; ++i) (*v)(i, k) = sign * zk[i];
        }
    }
    return Status::ok;
}

}  // namespace ostr::la
