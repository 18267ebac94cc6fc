// Complex QR, SVD factors and pseudo-inverse against the reference LAPACK
// (zgeqrf, zgesvd) and their defining identities; eigenvectors of repeated
// eigenvalues: an eigenspace basis when the matrix is diagonalisable,
// Status::defective for Jordan blocks.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "linalg/dense.hpp"

extern "C" {
void zgeqrf_(const int* m, const int* n, std::complex<double>* a, const int* lda, std::complex<double>* tau,
             std::complex<double>* work, const int* lwork, int* info);
void zgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, std::complex<double>* a,
             const int* lda, double* s, std::complex<double>* u, const int* ldu, std::complex<double>* vt,
             const int* ldvt, std::complex<double>* work, const int* lwork, double* rwork, int* info);
}

namespace {

using namespace ostr::la;
constexpr double eps = 2.220446049250313e-16;

CMat random_complex(std::size_t m, std::size_t n, unsigned seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    CMat a(m, n);
    for (cplx& x : a.a) x = {u(g), u(g)};
    return a;
}

// Column 3 = i·column 1 + column 2: rank 2 of 3.
CMat deficient() {
    CMat a = random_complex(5, 3, 7);
    for (std::size_t i = 0; i < 5; ++i) a(i, 2) = cplx(0, 1) * a(i, 0) + a(i, 1);
    return a;
}

CMat adjoint(const CMat& a) {
    CMat t(a.cols, a.rows);
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) t(j, i) = std::conj(a(i, j));
    return t;
}

CMat product(const CMat& a, const CMat& b) {
    CMat c;
    EXPECT_EQ(multiply(a, b, c), Status::ok);
    return c;
}

double distance(const CMat& a, const CMat& b) {
    EXPECT_EQ(a.rows, b.rows);
    EXPECT_EQ(a.cols, b.cols);
    double s = 0;
    for (std::size_t k = 0; k < a.a.size(); ++k) s += std::norm(a.a[k] - b.a[k]);
    return std::sqrt(s);
}

double norm_f(const CMat& a) { return distance(a, CMat(a.rows, a.cols)); }

CMat scaled_columns(CMat u, const std::vector<double>& s) {
    for (std::size_t i = 0; i < u.rows; ++i)
        for (std::size_t j = 0; j < u.cols; ++j) u(i, j) *= s[j];
    return u;
}

std::vector<cplx> column_major(const CMat& a) {
    std::vector<cplx> c(a.a.size());
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) c[j * a.rows + i] = a(i, j);
    return c;
}

// zgesvd's thin factors: U (m×k), the values, and V (n×k).
void reference_svd(const CMat& a, CMat& u, std::vector<double>& s, CMat& v) {
    const int m = static_cast<int>(a.rows), n = static_cast<int>(a.cols), k = std::min(m, n);
    std::vector<cplx> cm = column_major(a), uc(static_cast<std::size_t>(m * k)), vt(static_cast<std::size_t>(k * n));
    std::vector<cplx> work(static_cast<std::size_t>(8 * (m + n) + 64));
    std::vector<double> rwork(static_cast<std::size_t>(5 * k + 8));
    s.assign(static_cast<std::size_t>(k), 0);
    int info = 0, lw = static_cast<int>(work.size());
    zgesvd_("S", "S", &m, &n, cm.data(), &m, s.data(), uc.data(), &m, vt.data(), &k, work.data(), &lw,
            rwork.data(), &info);
    ASSERT_EQ(info, 0);
    u = CMat(a.rows, static_cast<std::size_t>(k));
    v = CMat(a.cols, static_cast<std::size_t>(k));
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < k; ++j) u(i, j) = uc[j * m + i];
    for (int i = 0; i < k; ++i)
        for (int j = 0; j < n; ++j) v(j, i) = std::conj(vt[j * k + i]);
}

const std::vector<std::pair<const char*, CMat>>& shapes() {
    static const std::vector<std::pair<const char*, CMat>> all = {
        {"square 6", random_complex(6, 6, 1)},    {"tall 9x5", random_complex(9, 5, 2)},
        {"wide 4x7", random_complex(4, 7, 3)},    {"rank 2 of 5x3", deficient()},
        {"1x1", CMat{1, 1, {cplx(0, -2)}}},       {"square 40", random_complex(40, 40, 4)},
        {"zero 3x2", CMat(3, 2)},
    };
    return all;
}

TEST(ComplexQR, FactorsAgainstZgeqrf) {
    for (const auto& [name, a] : shapes()) {
        CMat q, r;
        if (a.rows < a.cols) {
            EXPECT_EQ(qr(a, q, r), Status::size_mismatch) << name;
            continue;
        }
        ASSERT_EQ(qr(a, q, r), Status::ok) << name;
        const std::size_t m = a.rows, n = a.cols;
        const double unit = static_cast<double>(m) * eps;
        EXPECT_LE(distance(product(q, r), a), 10 * unit * std::max(norm_f(a), 1e-300)) << name;
        CMat qq = product(adjoint(q), q), id = identity<cplx>(m);
        EXPECT_LE(distance(qq, id), 10 * unit) << name;
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < std::min(i, n); ++j) EXPECT_EQ(r(i, j), cplx(0, 0)) << name;
        // zgeqrf's R has a real diagonal; ours differs from it by unit phases.
        const int mi = static_cast<int>(m), ni = static_cast<int>(n);
        std::vector<cplx> cm = column_major(a), tau(n + 1), work(64 * n + 64);
        int info = 0, lw = static_cast<int>(work.size());
        zgeqrf_(&mi, &ni, cm.data(), &mi, tau.data(), work.data(), &lw, &info);
        ASSERT_EQ(info, 0);
        for (std::size_t k = 0; k < n; ++k)
            EXPECT_NEAR(std::abs(r(k, k)), std::abs(cm[k * m + k]), 10 * unit * norm_f(a)) << name << " " << k;
    }
    CMat q, r;
    ASSERT_EQ(qr(random_complex(7, 3, 5), q, r, true), Status::ok);
    EXPECT_EQ(q.cols, 3u);
    EXPECT_EQ(r.rows, 3u);
    EXPECT_LE(distance(product(q, r), random_complex(7, 3, 5)), 100 * eps);
}

TEST(ComplexSVD, FactorsAgainstZgesvd) {
    for (const auto& [name, a] : shapes()) {
        std::vector<double> s, ref_s;
        CMat u, v, ref_u, ref_v;
        ASSERT_EQ(svd(a, s, &u, &v), Status::ok) << name;
        reference_svd(a, ref_u, ref_s, ref_v);
        const std::size_t k = std::min(a.rows, a.cols);
        ASSERT_EQ(s.size(), k) << name;
        const double unit = static_cast<double>(std::max(a.rows, a.cols)) * eps * std::max(norm_f(a), 1e-300);
        for (std::size_t j = 0; j < k; ++j) EXPECT_NEAR(s[j], ref_s[j], 20 * unit) << name << " " << j;
        EXPECT_LE(distance(product(scaled_columns(u, s), adjoint(v)), a), 20 * unit) << name;
        EXPECT_LE(distance(product(adjoint(u), u), identity<cplx>(k)), 20 * k * eps) << name;
        EXPECT_LE(distance(product(adjoint(v), v), identity<cplx>(k)), 20 * k * eps) << name;
        // Each factor alone is the one of the full call.
        std::vector<double> s1;
        CMat only_u, only_v;
        ASSERT_EQ(svd(a, s1, &only_u, nullptr), Status::ok);
        ASSERT_EQ(svd(a, s1, nullptr, &only_v), Status::ok);
        EXPECT_EQ(distance(only_u, u), 0) << name;
        EXPECT_EQ(distance(only_v, v), 0) << name;
    }
}

TEST(ComplexSVD, PseudoInverseAgainstZgesvd) {
    for (const auto& [name, a] : shapes()) {
        CMat p, u, v;
        std::vector<double> s;
        ASSERT_EQ(pseudo_inverse(a, p), Status::ok) << name;
        reference_svd(a, u, s, v);
        const double tol = s.empty() ? 0 : rank_tolerance(a.rows, a.cols, s[0]);
        for (double& x : s) x = x > tol ? 1 / x : 0;
        const CMat ref = product(scaled_columns(v, s), adjoint(u));
        const double size = std::max(norm_f(ref), 1.0);
        EXPECT_LE(distance(p, ref), 1e3 * static_cast<double>(a.rows + a.cols) * eps * size) << name;
        // The Penrose conditions A·P·A = A and P·A·P = P.
        EXPECT_LE(distance(product(product(a, p), a), a), 1e3 * eps * size * std::max(norm_f(a), 1.0)) << name;
        EXPECT_LE(distance(product(product(p, a), p), p), 1e3 * eps * size * size) << name;
    }
}

// Eigenvectors of repeated eigenvalues, from the real and the complex
// kernels: diagonalisable matrices get independent unit columns with small
// residuals; Jordan blocks are refused.
TEST(RepeatedEigenvalues, EigenspaceOrDefective) {
    const CMat s{3, 3, {1, 2, 0, 0, 1, 3, 1, 0, 1}};  // invertible, far from orthogonal
    CMat s_inv;
    ASSERT_EQ(inverse(s, s_inv), Status::ok);
    auto similar = [&](std::vector<cplx> d) {
        CMat dm(3, 3);
        for (std::size_t k = 0; k < 3; ++k) dm(k, k) = d[k];
        return product(product(s, dm), s_inv);
    };
    const double c = std::cos(0.3), n = std::sin(0.3);
    struct Case {
        const char* name;
        CMat a;
        Status want;
    };
    const std::vector<Case> cases = {
        {"jordan 2", CMat{2, 2, {2, 1, 0, 2}}, Status::defective},
        {"jordan 3", CMat{3, 3, {1, 1, 0, 0, 1, 1, 0, 0, 1}}, Status::defective},
        {"jordan 2 and 1 of 3", CMat{3, 3, {3, 1, 0, 0, 3, 0, 0, 0, 3}}, Status::defective},
        {"jordan 2 times i beside 5", CMat{3, 3, {cplx(0, 1), 1, 0, 0, cplx(0, 1), 0, 0, 0, 5}}, Status::defective},
        {"scaled jordan 2", CMat{2, 2, {1e-3, 1e3, 0, 1e-3}}, Status::defective},
        {"similar to diag(2,2,5)", similar({2, 2, 5}), Status::ok},
        {"similar to diag(i,i,i)", similar({cplx(0, 1), cplx(0, 1), cplx(0, 1)}), Status::ok},
        {"identity 3", identity<cplx>(3), Status::ok},
        {"zero 2", CMat(2, 2), Status::ok},
        {"hermitian 1,1,3", CMat{3, 3, {2, cplx(0, 1), 0, cplx(0, -1), 2, 0, 0, 0, 1}}, Status::ok},
        {"two rotations", CMat{4, 4, {c, -n, 0, 0, n, c, 0, 0, 0, 0, c, -n, 0, 0, n, c}}, Status::ok},
        // Eigenvalues 1e-6 apart are no cluster: the nearly parallel
        // vectors are the true ones, and stay.
        {"close but distinct", CMat{2, 2, {1, 1, 0, 1 + 1e-6}}, Status::ok},
    };
    for (const Case& k : cases) {
        std::vector<cplx> w;
        ASSERT_EQ(eigenvalues(k.a, w), Status::ok) << k.name;
        CMat v;
        ASSERT_EQ(eigenvectors(k.a, w, v), k.want) << k.name;
        if (k.want != Status::ok) continue;
        const double scale = std::max(norm_f(k.a), 1.0);
        for (std::size_t j = 0; j < w.size(); ++j) {
            double r = 0, len = 0;
            for (std::size_t i = 0; i < w.size(); ++i) {
                cplx x = -w[j] * v(i, j);
                for (std::size_t l = 0; l < w.size(); ++l) x += k.a(i, l) * v(l, j);
                r += std::norm(x), len += std::norm(v(i, j));
            }
            EXPECT_NEAR(len, 1, 1e-12) << k.name;
            EXPECT_LE(std::sqrt(r), 1e-7 * scale) << k.name << " column " << j;
        }
        std::vector<double> sv;
        ASSERT_EQ(singular_values(v, sv), Status::ok);
        if (std::string(k.name) != "close but distinct")
            EXPECT_GT(sv.back(), 1e-3) << k.name << ": the columns must be independent";
        else
            EXPECT_LT(sv.back(), 1e-5) << k.name;
    }
    // The real kernel takes the same road.
    std::vector<cplx> w;
    CMat v;
    const RMat jordan{2, 2, {5, 1, 0, 5}};
    ASSERT_EQ(eigenvalues(jordan, w), Status::ok);
    EXPECT_EQ(eigenvectors(jordan, w, v), Status::defective);
}

}  // namespace
