// Dense matrices and the linear-algebra kernels on them: row-major contiguous
// storage, multiply, LU, QR, the eigenproblems and the SVD.
//
// Every kernel works on a copy it owns and reports through Status; none
// throws except std::bad_alloc when storage cannot be had. Long loops poll
// core::should_stop() and give up with Status::stopped. The error bounds are
// the usual backward-stable ones: residuals within a small multiple of
// n·ε·‖A‖ (measured in tests/linalg against the reference LAPACK).
#pragma once

#include <complex>
#include <cstddef>
#include <utility>
#include <vector>

namespace ostr::la {

using cplx = std::complex<double>;

template <class T>
struct Dense {
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::vector<T> a;  // row-major: element (i, j) at i * cols + j

    Dense() = default;
    Dense(std::size_t r, std::size_t c) : rows(r), cols(c), a(r * c) {}
    // Row-major elements; r·c of them.
    Dense(std::size_t r, std::size_t c, std::vector<T> v) : rows(r), cols(c), a(std::move(v)) {}
    T& operator()(std::size_t i, std::size_t j) noexcept { return a[i * cols + j]; }
    const T& operator()(std::size_t i, std::size_t j) const noexcept { return a[i * cols + j]; }
    T* row(std::size_t i) noexcept { return a.data() + i * cols; }
    const T* row(std::size_t i) const noexcept { return a.data() + i * cols; }
    bool square() const noexcept { return rows == cols; }
};
using RMat = Dense<double>;
using CMat = Dense<cplx>;

// defective: a repeated eigenvalue has fewer independent eigenvectors than
// its multiplicity, so no eigenvector matrix exists.
enum class Status { ok, singular, not_square, size_mismatch, not_converged, stopped, defective };

template <class T>
Dense<T> identity(std::size_t n);
template <class T>
Dense<T> transpose(const Dense<T>& m);
// C = A·B; blocked so that a panel of B stays in cache while rows of A
// stream past it. Status::size_mismatch when the inner sizes differ.
template <class T>
Status multiply(const Dense<T>& a, const Dense<T>& b, Dense<T>& c);

// LU with partial pivoting of a square matrix, in place: P·A = L·U with unit
// L below the diagonal and U on and above it; perm[i] is the row of A that
// became row i; sign is the permutation's parity. Cost 2n³/3. Status::singular
// when a pivot column is exactly zero (the factors are still complete).
template <class T>
struct LU {
    Dense<T> f;
    std::vector<std::size_t> perm;
    int sign = 1;
    bool singular = false;
};
template <class T>
Status lu_factor(Dense<T> a, LU<T>& out);
// X with A·X = B from the factors (B has n rows).
template <class T>
Status lu_solve(const LU<T>& lu, const Dense<T>& b, Dense<T>& x);
template <class T>
Status determinant(const Dense<T>& a, T& det);
// The inverse; Status::singular for an exactly singular matrix and for one
// whose 1-norm condition number exceeds 1/ε, where the inverse would be
// noise.
template <class T>
Status inverse(const Dense<T>& a, Dense<T>& inv);

// Householder QR of an m×n matrix with m >= n: A = Q·R, Q m×m orthogonal
// (Q thin m×n when `thin`), R upper triangular. Cost 2mn² - 2n³/3 (+ Q).
Status qr(const RMat& a, RMat& q, RMat& r, bool thin = false);
// The least-squares solution of A·X ≈ B for m >= n through QR;
// Status::singular when A has dependent columns (|r_kk| <= m·ε·‖A‖_F).
Status least_squares(const RMat& a, const RMat& b, RMat& x);
// The same for a complex matrix: Q unitary, R upper triangular with a
// complex diagonal, A = Q·R.
Status qr(const CMat& a, CMat& q, CMat& r, bool thin = false);

// Symmetric eigenproblem (Householder tridiagonalisation, then implicit QL
// with Wilkinson shifts): ascending eigenvalues w, and when `vectors` the
// orthonormal eigenvectors as the columns of v, each signed so that its
// first largest component is positive. Uses the lower triangle.
Status symmetric_eigen(const RMat& a, std::vector<double>& w, RMat* v);
// Eigenvalues (unsorted, into d) of the symmetric tridiagonal matrix with
// diagonal d and subdiagonal e[1..n-1] (e[i] couples i-1 and i; e[0] unused).
Status tridiagonal_eigenvalues(std::vector<double>& d, std::vector<double>& e);
// Eigenvalues of a general real matrix: Householder reduction to Hessenberg
// form, then the Francis double-shift QR. Complex pairs come out adjacent,
// the one with positive imaginary part first; order otherwise as deflated.
Status eigenvalues(const RMat& a, std::vector<cplx>& w);
// Eigenvectors for the given eigenvalues by inverse iteration on A - λI
// (two steps from a fixed start), each column normalised to unit 2-norm with
// its largest component real and positive. A repeated eigenvalue gets an
// orthonormal basis of its eigenspace; Status::defective when that space is
// smaller than the eigenvalue's multiplicity (a Jordan block).
Status eigenvectors(const RMat& a, const std::vector<cplx>& w, CMat& v);
// The same for a general complex matrix: unitary Householder reduction to
// Hessenberg form, then the single-shift QR iteration with Wilkinson shifts;
// the eigenvectors by the same inverse iteration.
Status eigenvalues(const CMat& a, std::vector<cplx>& w);
Status eigenvectors(const CMat& a, const std::vector<cplx>& w, CMat& v);
// The cluster check behind eigenvectors(): v holds the inverse-iteration
// vectors for w; columns of repeated eigenvalues are replaced by a basis of
// the eigenspace, or Status::defective. scale is ‖A‖₁ (1 for zero).
Status settle_clusters(const CMat& a, const std::vector<cplx>& w, double scale, CMat& v);

// Singular value decomposition A = U·diag(s)·Vᵀ with s descending, U m×k,
// V n×k, k = min(m, n). With vectors: one-sided Jacobi rotations (Hestenes),
// whose small singular values keep a relative accuracy. Values alone (u and
// v null): Householder bidiagonalisation and the eigenvalues ±s of the
// 2k×2k Golub-Kahan tridiagonal, absolute accuracy c·k·ε·‖A‖, at a tenth of
// the cost.
Status svd(const RMat& a, std::vector<double>& s, RMat* u, RMat* v);
// The singular values alone of a complex matrix, descending, with the same
// absolute accuracy.
Status singular_values(const CMat& a, std::vector<double>& s);
// A = U·diag(s)·Vᴴ for a complex matrix (complex one-sided Jacobi); with u
// and v null, the values alone as singular_values.
Status svd(const CMat& a, std::vector<double>& s, CMat* u, CMat* v);
// The tolerance under which a singular value counts as zero: max(m, n)·ε·s₁.
double rank_tolerance(std::size_t m, std::size_t n, double s_max) noexcept;
// The pseudo-inverse V·diag(1/s)·Uᴴ over the singular values above the
// tolerance (Uᵀ for a real matrix).
template <class T>
Status pseudo_inverse(const Dense<T>& a, Dense<T>& p);

}  // namespace ostr::la
