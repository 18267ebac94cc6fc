// Eigenvectors of repeated eigenvalues: inverse iteration gives every member
// of a cluster the same vector, so clusters are found and checked here.
//
// A Jordan block of size m moves under a perturbation of size ε·‖A‖ into m
// eigenvalues on a circle of radius about ‖A‖·ε^(1/m), so eigenvalues within
// 2·‖A‖·(8nε)^(1/m) of each other (radius capped at ‖A‖/100) form a
// candidate cluster of size m. When the cluster's vectors from inverse
// iteration are clearly independent (smallest singular value of the unit
// columns above 1/1000) they stay: the eigenvalues were merely close.
// Otherwise the eigenspace of the cluster's mean μ is the null space of
// A - μI, read from its SVD with the tolerance √ε·‖A‖: as many null vectors
// as members give an orthonormal basis of the eigenspace (a repeated,
// diagonalisable eigenvalue); fewer mean the matrix is defective, which no
// set of n independent eigenvectors can describe (Status::defective).
#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr double eps = 2.220446049250313e-16;

// The members of the cluster around w[i] among the unassigned eigenvalues:
// the largest m whose m-1 nearest lie within the radius for size m.
std::vector<std::size_t> cluster_of(const std::vector<cplx>& w, const std::vector<bool>& taken, std::size_t i,
                                    double scale) {
    std::vector<std::size_t> near;
    for (std::size_t j = 0; j < w.size(); ++j)
        if (!taken[j]) near.push_back(j);
    std::stable_sort(near.begin(), near.end(),
                     [&](std::size_t x, std::size_t y) { return std::abs(w[x] - w[i]) < std::abs(w[y] - w[i]); });
    const double base = 8 * static_cast<double>(w.size()) * eps;
    std::size_t size = 1;
    for (std::size_t m = 2; m <= near.size(); ++m) {
        const double radius = std::min(std::pow(base, 1.0 / static_cast<double>(m)), 0.01) * scale;
        if (std::abs(w[near[m - 1]] - w[i]) <= 2 * radius) size = m;
    }
    near.resize(size);
    return near;
}

// The smallest singular value of the chosen columns of v.
double independence(const CMat& v, const std::vector<std::size_t>& cols, Status& st) {
    CMat b(v.rows, cols.size());
    for (std::size_t i = 0; i < v.rows; ++i)
        for (std::size_t k = 0; k < cols.size(); ++k) b(i, k) = v(i, cols[k]);
    std::vector<double> s;
    st = singular_values(b, s);
    return s.empty() ? 0 : s.back();
}

// Unit 2-norm with the largest component real and positive, as inverse
// iteration leaves its vectors.
void normalise(CMat& v, std::size_t col) {
    std::size_t at = 0;
    for (std::size_t i = 0; i < v.rows; ++i)
        if (std::abs(v(i, col)) > std::abs(v(at, col))) at = i;
    const cplx phase = std::abs(v(at, col)) / v(at, col);
    for (std::size_t i = 0; i < v.rows; ++i) v(i, col) *= phase;
}

// The eigenspace of the cluster's mean into the cluster's columns of v.
Status eigenspace(const CMat& a, const std::vector<cplx>& w, const std::vector<std::size_t>& cols, double scale,
                  CMat& v) {
    cplx mu = 0;
    for (std::size_t k : cols) mu += w[k];
    mu /= static_cast<double>(cols.size());
    CMat b = a;
    for (std::size_t i = 0; i < a.rows; ++i) b(i, i) -= mu;
    std::vector<double> s;
    CMat u, right;
    if (Status st = svd(b, s, &u, &right); st != Status::ok) return st;
    const double tol = std::sqrt(eps) * scale;
    const std::size_t n = a.rows, m = cols.size();
    if (!(s[n - m] <= tol)) return Status::defective;
    for (std::size_t k = 0; k < m; ++k) {
        for (std::size_t i = 0; i < n; ++i) v(i, cols[k]) = right(i, n - m + k);
        normalise(v, cols[k]);
    }
    return Status::ok;
}

}  // namespace

Status settle_clusters(const CMat& a, const std::vector<cplx>& w, double scale, CMat& v) {
    std::vector<bool> taken(w.size(), false);
    for (std::size_t i = 0; i < w.size(); ++i) {
        if (taken[i]) continue;
        const std::vector<std::size_t> cols = cluster_of(w, taken, i, scale);
        for (std::size_t k : cols) taken[k] = true;
        if (cols.size() < 2) continue;
        if (core::should_stop()) return Status::stopped;
        Status st;
        if (independence(v, cols, st) > 1e-3 && st == Status::ok) continue;
        if (st != Status::ok) return st;
        if (Status e = eigenspace(a, w, cols, scale, v); e != Status::ok) return e;
    }
    return Status::ok;
}

}  // namespace ostr::la
