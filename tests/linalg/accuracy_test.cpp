// The kernels on random, Hilbert, Vandermonde and nearly singular matrices:
// residuals of the defining identities within a small multiple of n·ε·‖A‖,
// and values against the reference LAPACK (dgesv, dgetri, dsyev, dgeev,
// dgesvd), which only the tests link.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

extern "C" {
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork, int* info);
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
            const int* lwork, int* info);
void dgeev_(const char* jobvl, const char* jobvr, const int* n, double* a, const int* lda, double* wr, double* wi,
            double* vl, const int* ldvl, double* vr, const int* ldvr, double* work, const int* lwork, int* info);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info);
}

namespace {

using namespace ostr::la;
constexpr double eps = 2.220446049250313e-16;

RMat random_matrix(std::size_t m, std::size_t n, unsigned seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    RMat a(m, n);
    for (double& x : a.a) x = u(g);
    return a;
}

RMat hilbert(std::size_t n) {
    RMat a(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) a(i, j) = 1.0 / static_cast<double>(i + j + 1);
    return a;
}

RMat vandermonde(std::size_t n) {
    RMat a(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            a(i, j) = std::pow(1.0 + 0.5 * static_cast<double>(i), static_cast<double>(j));
    return a;
}

// A random matrix whose last row is the sum of the others plus 1e-10.
RMat nearly_singular(std::size_t n) {
    RMat a = random_matrix(n, n, 7);
    for (std::size_t j = 0; j < n; ++j) {
        double s = 0;
        for (std::size_t i = 0; i + 1 < n; ++i) s += a(i, j);
        a(n - 1, j) = s + (j == 0 ? 1e-10 : 0);
    }
    return a;
}

template <class T>
double norm_f(const Dense<T>& a) {
    double s = 0;
    for (const T& x : a.a) s += std::norm(x);
    return std::sqrt(s);
}

template <class T>
Dense<T> minus(const Dense<T>& a, const Dense<T>& b) {
    Dense<T> c = a;
    for (std::size_t k = 0; k < c.a.size(); ++k) c.a[k] -= b.a[k];
    return c;
}

RMat mul(const RMat& a, const RMat& b) {
    RMat c;
    EXPECT_EQ(multiply(a, b, c), Status::ok);
    return c;
}

// Column-major copy for LAPACK.
std::vector<double> col_major(const RMat& a) {
    std::vector<double> c(a.rows * a.cols);
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) c[j * a.rows + i] = a(i, j);
    return c;
}

struct Case {
    const char* name;
    RMat a;
};
std::vector<Case> square_cases() {
    return {{"random 7", random_matrix(7, 7, 1)},       {"random 60", random_matrix(60, 60, 2)},
            {"random 130", random_matrix(130, 130, 3)}, {"hilbert 8", hilbert(8)},
            {"vandermonde 9", vandermonde(9)},          {"nearly singular 20", nearly_singular(20)}};
}

TEST(Multiply, BlockedEqualsPlainAcrossPanelEdges) {
    for (auto [m, k, n] : {std::array<std::size_t, 3>{1, 1, 1}, {5, 129, 3}, {131, 257, 258}, {4, 300, 513}}) {
        RMat a = random_matrix(m, k, 11), b = random_matrix(k, n, 12), c = mul(a, b);
        double worst = 0;
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < n; ++j) {
                double s = 0, mag = 0;
                for (std::size_t l = 0; l < k; ++l) s += a(i, l) * b(l, j), mag += std::abs(a(i, l) * b(l, j));
                worst = std::max(worst, std::abs(c(i, j) - s) / (mag * static_cast<double>(k) * eps));
            }
        EXPECT_LE(worst, 2.0) << m << "x" << k << "x" << n;
    }
    RMat c;
    EXPECT_EQ(multiply(random_matrix(2, 3, 1), random_matrix(2, 3, 1), c), Status::size_mismatch);
}

TEST(LU, SolveAndInverseResidualsAndLapackInverse) {
    for (const Case& c : square_cases()) {
        const std::size_t n = c.a.rows;
        const double bound = 20 * static_cast<double>(n) * eps * norm_f(c.a);
        RMat b = random_matrix(n, 2, 5), x;
        LU<double> lu;
        ASSERT_EQ(lu_factor(c.a, lu), Status::ok) << c.name;
        ASSERT_EQ(lu_solve(lu, b, x), Status::ok) << c.name;
        // ‖A·x - b‖ relative to ‖A‖·‖x‖ (backward error).
        EXPECT_LE(norm_f(minus(mul(c.a, x), b)), bound * norm_f(x)) << c.name;
        RMat inv;
        if (c.a.rows == 20) {  // cond ~1e11: still invertible
            ASSERT_EQ(inverse(c.a, inv), Status::ok);
        } else if (inverse(c.a, inv) != Status::ok) {
            ADD_FAILURE() << c.name;
            continue;
        }
        EXPECT_LE(norm_f(minus(mul(c.a, inv), identity<double>(n))), bound * norm_f(inv)) << c.name;
        // Against dgetrf + dgetri, relative to the conditioning.
        std::vector<double> la = col_major(c.a), work(n * 64);
        std::vector<int> piv(n);
        int nn = static_cast<int>(n), info = 0, lw = static_cast<int>(work.size());
        dgetrf_(&nn, &nn, la.data(), &nn, piv.data(), &info);
        dgetri_(&nn, la.data(), &nn, piv.data(), work.data(), &lw, &info);
        ASSERT_EQ(info, 0);
        double diff = 0, mag = 0;
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < n; ++j)
                diff = std::max(diff, std::abs(inv(i, j) - la[j * n + i])), mag = std::max(mag, std::abs(inv(i, j)));
        const double cond = norm_f(c.a) * norm_f(inv);
        EXPECT_LE(diff, 100 * static_cast<double>(n) * eps * cond * mag) << c.name;
    }
}

TEST(LU, DeterminantsAndSingularity) {
    double d;
    ASSERT_EQ(determinant(RMat{3, 3, {2, 0, 1, 1, 3, 2, 1, 1, 2}}, d), Status::ok);
    EXPECT_NEAR(d, 6.0, 1e-14);
    ASSERT_EQ(determinant(RMat{2, 2, {1, 2, 2, 4}}, d), Status::ok);
    EXPECT_EQ(d, 0.0);
    cplx z;
    ASSERT_EQ(determinant(CMat{2, 2, {cplx(0, 1), 2, 3, 4}}, z), Status::ok);
    EXPECT_NEAR(std::abs(z - cplx(-6, 4)), 0, 1e-14);
    RMat inv;
    EXPECT_EQ(inverse(RMat{2, 2, {1, 2, 2, 4}}, inv), Status::singular);
    EXPECT_EQ(inverse(RMat{3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}}, inv), Status::singular);
    EXPECT_EQ(inverse(hilbert(14), inv), Status::singular);  // cond ~ 1e18
    EXPECT_EQ(inverse(RMat(2, 3), inv), Status::not_square);
}

// The complex instantiation: residuals of the inverse and of a solve, and
// the blocked product against the plain sum.
TEST(LU, ComplexInverseSolveAndProduct) {
    const std::size_t n = 70;
    RMat re = random_matrix(n, n, 71), im = random_matrix(n, n, 72);
    CMat a(n, n);
    for (std::size_t k = 0; k < n * n; ++k) a.a[k] = {re.a[k], im.a[k]};
    CMat inv, prod, x;
    ASSERT_EQ(inverse(a, inv), Status::ok);
    ASSERT_EQ(multiply(a, inv, prod), Status::ok);
    const double bound = 20 * static_cast<double>(n) * eps * norm_f(a) * norm_f(inv);
    EXPECT_LE(norm_f(minus(prod, identity<cplx>(n))), bound);
    for (std::size_t i = 0; i < n; i += 17)
        for (std::size_t j = 0; j < n; j += 13) {
            cplx s = 0;
            for (std::size_t l = 0; l < n; ++l) s += a(i, l) * inv(l, j);
            EXPECT_LE(std::abs(prod(i, j) - s), 4 * static_cast<double>(n) * eps * norm_f(a) * norm_f(inv) / n);
        }
    CMat b(n, 1);
    for (std::size_t i = 0; i < n; ++i) b(i, 0) = {1.0, static_cast<double>(i)};
    LU<cplx> lu;
    ASSERT_EQ(lu_factor(a, lu), Status::ok);
    ASSERT_EQ(lu_solve(lu, b, x), Status::ok);
    ASSERT_EQ(multiply(a, x, prod), Status::ok);
    EXPECT_LE(norm_f(minus(prod, b)), 20 * static_cast<double>(n) * eps * norm_f(a) * norm_f(x));
}

TEST(QR, FactorsAndLeastSquares) {
    for (auto [m, n] : {std::pair<std::size_t, std::size_t>{6, 4}, {40, 40}, {90, 17}}) {
        RMat a = random_matrix(m, n, 21), q, r;
        ASSERT_EQ(qr(a, q, r), Status::ok);
        EXPECT_LE(norm_f(minus(mul(q, r), a)), 10 * static_cast<double>(m) * eps * norm_f(a));
        EXPECT_LE(norm_f(minus(mul(transpose(q), q), identity<double>(m))), 10 * static_cast<double>(m) * eps);
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < std::min(i, n); ++j) EXPECT_EQ(r(i, j), 0.0);
        // The least-squares residual is orthogonal to the columns of A.
        RMat b = random_matrix(m, 1, 22), x;
        ASSERT_EQ(least_squares(a, b, x), Status::ok);
        RMat res = minus(mul(a, x), b);
        EXPECT_LE(norm_f(mul(transpose(a), res)), 50 * static_cast<double>(m) * eps * norm_f(a) * norm_f(b));
    }
    RMat x;
    EXPECT_EQ(least_squares(RMat{3, 2, {1, 2, 2, 4, 3, 6}}, RMat{3, 1, {1, 2, 3}}, x), Status::singular);
}

TEST(Eigen, SymmetricAgainstDsyev) {
    for (std::size_t n : {1u, 2u, 9u, 80u}) {
        RMat a = random_matrix(n, n, 31);
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < i; ++j) a(j, i) = a(i, j);
        for (const RMat& m : {a, hilbert(n)}) {
            std::vector<double> w, w_only;
            RMat v;
            ASSERT_EQ(symmetric_eigen(m, w, &v), Status::ok);
            ASSERT_EQ(symmetric_eigen(m, w_only, nullptr), Status::ok);
            const double bound = 20 * static_cast<double>(n) * eps * norm_f(m);
            RMat av = mul(m, v), vl = v;
            for (std::size_t i = 0; i < n; ++i)
                for (std::size_t j = 0; j < n; ++j) vl(i, j) *= w[j];
            EXPECT_LE(norm_f(minus(av, vl)), bound) << n;
            EXPECT_LE(norm_f(minus(mul(transpose(v), v), identity<double>(n))), 20 * static_cast<double>(n) * eps);
            std::vector<double> la = col_major(m), lw(n), work(3 * n + 64);
            int nn = static_cast<int>(n), info = 0, wl = static_cast<int>(work.size());
            dsyev_("N", "L", &nn, la.data(), &nn, lw.data(), work.data(), &wl, &info);
            ASSERT_EQ(info, 0);
            for (std::size_t k = 0; k < n; ++k) {
                EXPECT_NEAR(w[k], lw[k], bound) << n << " " << k;
                EXPECT_NEAR(w_only[k], lw[k], bound) << n << " " << k;
            }
        }
    }
}

// Every value of ours has a partner in LAPACK's list, and the lists match
// up one to one (greedy nearest match on sorted copies).
void expect_same_spectrum(std::vector<cplx> ours, std::vector<cplx> ref, double tol, const char* name) {
    ASSERT_EQ(ours.size(), ref.size());
    for (const cplx& z : ours) {
        auto it = std::min_element(ref.begin(), ref.end(),
                                   [&](const cplx& p, const cplx& q) { return std::abs(p - z) < std::abs(q - z); });
        EXPECT_LE(std::abs(*it - z), tol) << name << " " << z;
        ref.erase(it);
    }
}

TEST(Eigen, GeneralAgainstDgeevAndResiduals) {
    RMat rot{2, 2, {0, -1, 1, 0}};
    std::vector<Case> cases = square_cases();
    cases.push_back({"rotation", rot});
    cases.push_back({"companion", RMat{3, 3, {0, 0, 6, 1, 0, -11, 0, 1, 6}}});  // roots 1, 2, 3
    for (const Case& c : cases) {
        const std::size_t n = c.a.rows;
        std::vector<cplx> w;
        ASSERT_EQ(eigenvalues(c.a, w), Status::ok) << c.name;
        std::vector<double> la = col_major(c.a), wr(n), wi(n), work(8 * n + 64);
        int nn = static_cast<int>(n), one = 1, info = 0, wl = static_cast<int>(work.size());
        double dummy = 0;
        dgeev_("N", "N", &nn, la.data(), &nn, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &wl,
               &info);
        ASSERT_EQ(info, 0);
        std::vector<cplx> ref(n);
        for (std::size_t k = 0; k < n; ++k) ref[k] = {wr[k], wi[k]};
        // Vandermonde and Hilbert eigenvalues are well conditioned enough
        // for a bound of this size; random ones are near normal.
        expect_same_spectrum(w, ref, 1e3 * static_cast<double>(n) * eps * norm_f(c.a), c.name);
        if (n > 60) continue;
        CMat v;
        ASSERT_EQ(eigenvectors(c.a, w, v), Status::ok) << c.name;
        double worst = 0;
        for (std::size_t k = 0; k < n; ++k) {
            double r = 0;
            for (std::size_t i = 0; i < n; ++i) {
                cplx s = -w[k] * v(i, k);
                for (std::size_t j = 0; j < n; ++j) s += c.a(i, j) * v(j, k);
                r += std::norm(s);
            }
            worst = std::max(worst, std::sqrt(r));
        }
        EXPECT_LE(worst, 1e3 * static_cast<double>(n) * eps * norm_f(c.a)) << c.name;
    }
}

TEST(SVD, AgainstDgesvdAndReconstruction) {
    std::vector<Case> cases = square_cases();
    cases.push_back({"tall", random_matrix(50, 12, 41)});
    cases.push_back({"wide", random_matrix(9, 33, 42)});
    cases.push_back({"rank one", RMat{3, 3, {1, 2, 3, 2, 4, 6, 3, 6, 9}}});
    for (const Case& c : cases) {
        const std::size_t m = c.a.rows, n = c.a.cols, k = std::min(m, n);
        std::vector<double> s;
        RMat u, v;
        ASSERT_EQ(svd(c.a, s, &u, &v), Status::ok) << c.name;
        RMat us = u;
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < k; ++j) us(i, j) *= s[j];
        const double bound = 20 * static_cast<double>(std::max(m, n)) * eps * norm_f(c.a);
        EXPECT_LE(norm_f(minus(mul(us, transpose(v)), c.a)), bound) << c.name;
        EXPECT_LE(norm_f(minus(mul(transpose(u), u), identity<double>(k))), 1e-12) << c.name;
        EXPECT_LE(norm_f(minus(mul(transpose(v), v), identity<double>(k))), 1e-12) << c.name;
        std::vector<double> la = col_major(c.a), ls(k), work(5 * (m + n) + 64);
        int mm = static_cast<int>(m), nn = static_cast<int>(n), one = 1, info = 0, wl = static_cast<int>(work.size());
        double dummy = 0;
        dgesvd_("N", "N", &mm, &nn, la.data(), &mm, ls.data(), &dummy, &one, &dummy, &one, work.data(), &wl, &info);
        ASSERT_EQ(info, 0);
        // Values alone take the bidiagonal route, vectors the Jacobi one.
        std::vector<double> s_only;
        ASSERT_EQ(svd(c.a, s_only, nullptr, nullptr), Status::ok) << c.name;
        for (std::size_t j = 0; j < k; ++j) {
            EXPECT_NEAR(s[j], ls[j], bound) << c.name << " " << j;
            EXPECT_NEAR(s_only[j], ls[j], bound) << c.name << " " << j;
        }
    }
}

TEST(SVD, RankToleranceAndPseudoInverse) {
    std::vector<double> s;
    ASSERT_EQ(svd(RMat{3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}}, s, nullptr, nullptr), Status::ok);
    const double tol = rank_tolerance(3, 3, s[0]);
    EXPECT_GT(s[1], tol);
    EXPECT_LE(s[2], tol);
    // pinv of a tall full-rank A is its left inverse; of a rank-one matrix
    // it satisfies A·P·A = A.
    RMat a = random_matrix(7, 3, 51), p;
    ASSERT_EQ(pseudo_inverse(a, p), Status::ok);
    EXPECT_LE(norm_f(minus(mul(p, a), identity<double>(3))), 1e-13);
    RMat r1{2, 3, {1, 2, 3, 2, 4, 6}};
    ASSERT_EQ(pseudo_inverse(r1, p), Status::ok);
    EXPECT_LE(norm_f(minus(mul(mul(r1, p), r1), r1)), 1e-13);
}

// A stop request (Ctrl-C, or the line's time bound) ends every long kernel.
TEST(Stop, LongKernelsGiveUpWhenAsked) {
    RMat a = random_matrix(40, 40, 61), out;
    ostr::core::request_abort();
    LU<double> lu;
    std::vector<double> s;
    std::vector<cplx> w;
    RMat q, r;
    EXPECT_EQ(multiply(a, a, out), Status::stopped);
    EXPECT_EQ(lu_factor(a, lu), Status::stopped);
    EXPECT_EQ(qr(a, q, r), Status::stopped);
    EXPECT_EQ(symmetric_eigen(a, s, &q), Status::stopped);
    EXPECT_EQ(eigenvalues(a, w), Status::stopped);
    EXPECT_EQ(svd(a, s, nullptr, nullptr), Status::stopped);
    ostr::core::clear_abort_request();
    EXPECT_EQ(svd(a, s, nullptr, nullptr), Status::ok);
}

}  // namespace
