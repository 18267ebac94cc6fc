// The complex eigenproblem against the reference LAPACK's zgeev on random,
// Hermitian, nearly defective, rotation and permutation matrices: the same
// spectrum, and eigenvector residuals within a small multiple of n·ε·‖A‖;
// complex singular values against zgesvd.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"
#include "ostravine/linalg.h"
#include "support/counting_alloc.hpp"

extern "C" {
void zgeev_(const char* jobvl, const char* jobvr, const int* n, std::complex<double>* a, const int* lda,
            std::complex<double>* w, std::complex<double>* vl, const int* ldvl, std::complex<double>* vr,
            const int* ldvr, std::complex<double>* work, const int* lwork, double* rwork, int* info);
void zgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, std::complex<double>* a,
             const int* lda, double* s, std::complex<double>* u, const int* ldu, std::complex<double>* vt,
             const int* ldvt, std::complex<double>* work, const int* lwork, double* rwork, int* info);
}

namespace {

using namespace ostr::la;
constexpr double eps = 2.220446049250313e-16;

CMat random_complex(std::size_t n, unsigned seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    CMat a(n, n);
    for (cplx& x : a.a) x = {u(g), u(g)};
    return a;
}

CMat hermitian(std::size_t n, unsigned seed) {
    CMat r = random_complex(n, seed), a(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) a(i, j) = r(i, j) + std::conj(r(j, i));
    return a;
}

// A Jordan block of λ = 1+2i with a tiny corner: its eigenvalues are
// λ + 1e-12^(1/n)·(roots of unity), a cluster whose condition is huge.
CMat nearly_defective(std::size_t n) {
    CMat a(n, n);
    for (std::size_t i = 0; i < n; ++i) a(i, i) = {1, 2};
    for (std::size_t i = 0; i + 1 < n; ++i) a(i, i + 1) = 1;
    a(n - 1, 0) = 1e-12;
    return a;
}

CMat scaled(CMat a, double f) {
    for (cplx& x : a.a) x *= f;
    return a;
}

CMat rotation(double t) { return CMat{2, 2, {std::cos(t), -std::sin(t), std::sin(t), std::cos(t)}}; }

// The cyclic shift: unitary and already Hessenberg, a case where the plain
// Wilkinson shift stalls and only the exceptional shifts make progress.
CMat cyclic(std::size_t n, cplx unit) {
    CMat a(n, n);
    for (std::size_t i = 0; i + 1 < n; ++i) a(i + 1, i) = unit;
    a(0, n - 1) = unit;
    return a;
}

// Scaled, so that matrices near the ends of the range have a norm.
double norm_f(const CMat& a) {
    double big = 0, s = 0;
    for (const cplx& x : a.a) big = std::max(big, std::abs(x));
    if (big == 0) return 0;
    for (const cplx& x : a.a) s += std::norm(x / big);
    return big * std::sqrt(s);
}

std::vector<cplx> zgeev_values(const CMat& a) {
    const int n = static_cast<int>(a.rows);
    std::vector<cplx> cm(a.a.size()), w(a.rows), work(4 * a.rows + 64);
    std::vector<double> rwork(2 * a.rows);
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) cm[j * a.rows + i] = a(i, j);
    int one = 1, info = 0, lw = static_cast<int>(work.size());
    cplx dummy;
    zgeev_("N", "N", &n, cm.data(), &n, w.data(), &dummy, &one, &dummy, &one, work.data(), &lw, rwork.data(),
           &info);
    EXPECT_EQ(info, 0);
    return w;
}

// Every computed value matched to a distinct reference value within tol.
void expect_same_spectrum(std::vector<cplx> w, std::vector<cplx> ref, double tol, const char* name) {
    ASSERT_EQ(w.size(), ref.size()) << name;
    for (const cplx& x : w) {
        auto best = std::min_element(ref.begin(), ref.end(),
                                     [&](const cplx& p, const cplx& q) { return std::abs(p - x) < std::abs(q - x); });
        EXPECT_LE(std::abs(*best - x), tol) << name << " value " << x.real() << "+" << x.imag() << "i";
        ref.erase(best);
    }
}

double worst_residual(const CMat& a, const std::vector<cplx>& w, const CMat& v) {
    const std::size_t n = a.rows;
    double worst = 0;
    for (std::size_t k = 0; k < n; ++k) {
        CMat r(n, 1);
        double len = 0;
        for (std::size_t i = 0; i < n; ++i) {
            r(i, 0) = -w[k] * v(i, k);
            for (std::size_t j = 0; j < n; ++j) r(i, 0) += a(i, j) * v(j, k);
            len += std::norm(v(i, k));
        }
        EXPECT_NEAR(len, 1, 1e-12);
        worst = std::max(worst, norm_f(r));
    }
    return worst;
}

TEST(ComplexEigen, AgainstZgeevAndResiduals) {
    struct Case {
        const char* name;
        CMat a;
        double spectrum_tol;  // in units of n·ε·‖A‖_F, from each case's conditioning
    };
    const std::vector<Case> cases = {
        {"1x1", CMat{1, 1, {cplx(3, -4)}}, 4},
        {"random 6", random_complex(6, 11), 100},
        {"random 45", random_complex(45, 12), 100},
        {"random 120", random_complex(120, 13), 100},
        {"hermitian 30", hermitian(30, 14), 10},
        {"nearly defective 4", nearly_defective(4), 1e8},
        {"rotation 0.3", rotation(0.3), 10},
        {"rotation pi/2", rotation(std::numbers::pi / 2), 10},
        {"cyclic 7", cyclic(7, 1), 10},
        {"cyclic 6 times i", cyclic(6, cplx(0, 1)), 10},
        {"cyclic 5 times e^0.4i", cyclic(5, std::polar(1.0, 0.4)), 10},
        {"triangular", CMat{3, 3, {cplx(1, 1), 2, 3, 0, cplx(0, -2), 4, 0, 0, 5}}, 10},
        {"zero", CMat(3, 3), 1},
        {"random 20 times 1e200", scaled(random_complex(20, 15), 1e200), 100},
        {"random 20 times 1e-200", scaled(random_complex(20, 15), 1e-200), 100},
    };
    for (const Case& c : cases) {
        const std::size_t n = c.a.rows;
        const double unit = static_cast<double>(n) * eps * (norm_f(c.a) > 0 ? norm_f(c.a) : 1.0);
        std::vector<cplx> w;
        ASSERT_EQ(eigenvalues(c.a, w), Status::ok) << c.name;
        expect_same_spectrum(w, zgeev_values(c.a), c.spectrum_tol * unit, c.name);
        CMat v;
        ASSERT_EQ(eigenvectors(c.a, w, v), Status::ok) << c.name;
        EXPECT_LE(worst_residual(c.a, w, v), 100 * unit) << c.name;
    }
}

TEST(ComplexEigen, HermitianValuesAreRealAndRealMatricesAgreeWithTheRealKernel) {
    const CMat h = hermitian(25, 21);
    std::vector<cplx> w;
    ASSERT_EQ(eigenvalues(h, w), Status::ok);
    for (const cplx& x : w) EXPECT_LE(std::abs(x.imag()), 100 * 25 * eps * norm_f(h));

    RMat r(9, 9);
    std::mt19937_64 g(22);
    std::uniform_real_distribution<double> u(-1, 1);
    for (double& x : r.a) x = u(g);
    CMat c(9, 9);
    std::copy(r.a.begin(), r.a.end(), c.a.begin());
    std::vector<cplx> wr, wc;
    ASSERT_EQ(eigenvalues(r, wr), Status::ok);
    ASSERT_EQ(eigenvalues(c, wc), Status::ok);
    expect_same_spectrum(wc, wr, 1e3 * 9 * eps * norm_f(c), "real as complex");
}

TEST(ComplexSingularValues, AgainstZgesvd) {
    CMat wide = random_complex(12, 41);
    wide.rows = 5;  // the first 5 of 12 rows
    wide.a.resize(5 * 12);
    CMat deficient(4, 3);  // third column = i·first + second
    for (std::size_t i = 0; i < 4; ++i) {
        deficient(i, 0) = {1.0 + static_cast<double>(i), 0.5};
        deficient(i, 1) = {0, 2.0 - static_cast<double>(i * i)};
        deficient(i, 2) = cplx(0, 1) * deficient(i, 0) + deficient(i, 1);
    }
    for (const CMat& a : {random_complex(30, 42), wide, deficient, hermitian(9, 43)}) {
        std::vector<double> s;
        ASSERT_EQ(singular_values(a, s), Status::ok);
        const int m = static_cast<int>(a.rows), n = static_cast<int>(a.cols), k = std::min(m, n);
        std::vector<cplx> cm(a.a.size()), work(4 * (m + n) + 64);
        std::vector<double> ref(static_cast<std::size_t>(k)), rwork(5 * static_cast<std::size_t>(k));
        for (std::size_t i = 0; i < a.rows; ++i)
            for (std::size_t j = 0; j < a.cols; ++j) cm[j * a.rows + i] = a(i, j);
        int one = 1, info = 0, lw = static_cast<int>(work.size());
        cplx dummy;
        zgesvd_("N", "N", &m, &n, cm.data(), &m, ref.data(), &dummy, &one, &dummy, &one, work.data(), &lw,
                rwork.data(), &info);
        ASSERT_EQ(info, 0);
        ASSERT_EQ(s.size(), ref.size());
        for (std::size_t i = 0; i < s.size(); ++i)
            EXPECT_NEAR(s[i], ref[i], 20 * static_cast<double>(k) * eps * norm_f(a)) << m << "x" << n << " " << i;
    }
}

TEST(ComplexEigen, RefusalsAndStop) {
    std::vector<cplx> w;
    CMat v;
    EXPECT_EQ(eigenvalues(CMat(2, 3), w), Status::not_square);
    EXPECT_EQ(eigenvectors(CMat(2, 2), std::vector<cplx>(3), v), Status::size_mismatch);
    const CMat a = random_complex(40, 31);
    ostr::core::request_abort();
    EXPECT_EQ(eigenvalues(a, w), Status::stopped);
    EXPECT_EQ(eigenvectors(a, std::vector<cplx>(40), v), Status::stopped);
    ostr::core::clear_abort_request();
    EXPECT_EQ(eigenvalues(a, w), Status::ok);
}

TEST(ComplexEigen, ExportedFaceReleasesEverything) {
    ostr::test::CountingAlloc counting;
    Complex** a = MatrixC(2, 2);
    a[1][1] = {0, 0}, a[1][2] = {0, -1}, a[2][1] = {0, 1}, a[2][2] = {0, 0};  // eigenvalues ±1
    Complex* w = EigenvaluesMC(a);
    Complex** v = EigenvectorsMC(a);
    ASSERT_NE(w, nullptr);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(w[0].re, 2);  // the counted vector's length
    EXPECT_NEAR(w[1].re * w[2].re, -1, 1e-14);
    EXPECT_NEAR(std::abs(w[1].im) + std::abs(w[2].im), 0, 1e-14);
    // A·v₁ = λ₁·v₁ through the face's 1-based storage.
    const cplx l(w[1].re, w[1].im), v1(v[1][1].re, v[1][1].im), v2(v[2][1].re, v[2][1].im);
    EXPECT_NEAR(std::abs(cplx(0, -1) * v2 - l * v1), 0, 1e-14);
    Complex** wide = MatrixC(2, 3);
    EXPECT_EQ(EigenvaluesMC(wide), nullptr);
    EXPECT_EQ(EigenvectorsMC(nullptr), nullptr);
    FreeVectorC(w);
    for (Complex** m : {a, v, wide}) FreeMatrixC(m);
    EXPECT_EQ(counting.live(), 0);
}

}  // namespace
