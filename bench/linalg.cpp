// The linear-algebra kernels against the reference LAPACK with the reference
// BLAS (Debian's netlib liblapack3/libblas3) in the same run, at n = 100,
// 500 and 1000: LU solve (dgesv), inverse (dgetrf + dgetri), determinant
// (dgetrf), symmetric eigenvalues (dsyev), general eigenvalues (dgeev),
// singular values (dgesvd) and the product (dgemm). Names are
// "operation/who/n" with who "ours" or "lapack"; the ratio is ours/lapack.
// bench/linalg_numpy.py times NumPy at the same sizes (with whatever BLAS
// the libblas.so.3 alternative names: OpenBLAS where installed).
#include <benchmark/benchmark.h>

#include <random>

#include "linalg/dense.hpp"

extern "C" {
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info);
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work, const int* lwork, int* info);
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
            const int* lwork, int* info);
void dgeev_(const char* jobvl, const char* jobvr, const int* n, double* a, const int* lda, double* wr, double* wi,
            double* vl, const int* ldvl, double* vr, const int* ldvr, double* work, const int* lwork, int* info);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info);
void dgemm_(const char* ta, const char* tb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc);
}

namespace {

using namespace ostr::la;

RMat random_matrix(std::size_t n, bool symmetric) {
    std::mt19937_64 g(n);
    std::uniform_real_distribution<double> u(-1, 1);
    RMat a(n, n);
    for (double& x : a.a) x = u(g);
    if (symmetric)
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < i; ++j) a(j, i) = a(i, j);
    return a;
}

// The same numbers for LAPACK; a square matrix read column-major is its
// transpose, which has the same determinant, eigenvalues and singular values.
std::vector<double> flat(const RMat& a) { return a.a; }

int size(benchmark::State& s) { return static_cast<int>(s.range(0)); }

void lu_solve_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false), b = random_matrix(s.range(0), false), x;
    b.cols = 1, b.a.resize(b.rows);
    for (auto _ : s) {
        LU<double> lu;
        lu_factor(a, lu);
        lu_solve(lu, b, x);
        benchmark::DoNotOptimize(x.a.data());
    }
}
void lu_solve_lapack(benchmark::State& s) {
    const int n = size(s), one = 1;
    RMat a0 = random_matrix(n, false);
    std::vector<int> piv(n);
    for (auto _ : s) {
        std::vector<double> a = flat(a0), b(n, 1.0);
        int info;
        dgesv_(&n, &one, a.data(), &n, piv.data(), b.data(), &n, &info);
        benchmark::DoNotOptimize(b.data());
    }
}

void inverse_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false), inv;
    for (auto _ : s) benchmark::DoNotOptimize(inverse(a, inv));
}
void inverse_lapack(benchmark::State& s) {
    const int n = size(s), lw = 64 * n;
    RMat a0 = random_matrix(n, false);
    std::vector<int> piv(n);
    std::vector<double> work(lw);
    for (auto _ : s) {
        std::vector<double> a = flat(a0);
        int info;
        dgetrf_(&n, &n, a.data(), &n, piv.data(), &info);
        dgetri_(&n, a.data(), &n, piv.data(), work.data(), &lw, &info);
        benchmark::DoNotOptimize(a.data());
    }
}

void det_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false);
    double d;
    for (auto _ : s) benchmark::DoNotOptimize(determinant(a, d));
}
void det_lapack(benchmark::State& s) {
    const int n = size(s);
    RMat a0 = random_matrix(n, false);
    std::vector<int> piv(n);
    for (auto _ : s) {
        std::vector<double> a = flat(a0);
        int info;
        dgetrf_(&n, &n, a.data(), &n, piv.data(), &info);
        benchmark::DoNotOptimize(a.data());
    }
}

void symeig_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), true);
    std::vector<double> w;
    for (auto _ : s) benchmark::DoNotOptimize(symmetric_eigen(a, w, nullptr));
}
void symeig_lapack(benchmark::State& s) {
    const int n = size(s), lw = 64 * n;
    RMat a0 = random_matrix(n, true);
    std::vector<double> w(n), work(lw);
    for (auto _ : s) {
        std::vector<double> a = flat(a0);
        int info;
        dsyev_("N", "L", &n, a.data(), &n, w.data(), work.data(), &lw, &info);
        benchmark::DoNotOptimize(w.data());
    }
}

void eig_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false);
    std::vector<cplx> w;
    for (auto _ : s) benchmark::DoNotOptimize(eigenvalues(a, w));
}
void eig_lapack(benchmark::State& s) {
    const int n = size(s), lw = 64 * n, one = 1;
    RMat a0 = random_matrix(n, false);
    std::vector<double> wr(n), wi(n), work(lw);
    double dummy;
    for (auto _ : s) {
        std::vector<double> a = flat(a0);
        int info;
        dgeev_("N", "N", &n, a.data(), &n, wr.data(), wi.data(), &dummy, &one, &dummy, &one, work.data(), &lw, &info);
        benchmark::DoNotOptimize(wr.data());
    }
}

void svd_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false);
    std::vector<double> sv;
    for (auto _ : s) benchmark::DoNotOptimize(svd(a, sv, nullptr, nullptr));
}
void svd_lapack(benchmark::State& s) {
    const int n = size(s), lw = 64 * n, one = 1;
    RMat a0 = random_matrix(n, false);
    std::vector<double> sv(n), work(lw);
    double dummy;
    for (auto _ : s) {
        std::vector<double> a = flat(a0);
        int info;
        dgesvd_("N", "N", &n, &n, a.data(), &n, sv.data(), &dummy, &one, &dummy, &one, work.data(), &lw, &info);
        benchmark::DoNotOptimize(sv.data());
    }
}

void gemm_ours(benchmark::State& s) {
    RMat a = random_matrix(s.range(0), false), b = random_matrix(s.range(0) + 1, false), c;
    b.rows = b.cols = a.rows, b.a.resize(a.a.size());
    for (auto _ : s) benchmark::DoNotOptimize(multiply(a, b, c));
}
void gemm_lapack(benchmark::State& s) {
    const int n = size(s);
    const double one = 1, zero = 0;
    RMat a = random_matrix(n, false), b = random_matrix(n + 1, false);
    std::vector<double> c(static_cast<std::size_t>(n) * n);
    for (auto _ : s) {
        dgemm_("N", "N", &n, &n, &n, &one, a.a.data(), &n, b.a.data(), &n, &zero, c.data(), &n);
        benchmark::DoNotOptimize(c.data());
    }
}

// Both sides of one operation at each size, one after the other.
void pair(const char* op, void (*ours)(benchmark::State&), void (*peer)(benchmark::State&)) {
    for (int n : {100, 500, 1000}) {
        const int iterations = n == 100 ? 0 : 1;
        for (auto [who, fn] : {std::pair{"ours", ours}, std::pair{"lapack", peer}}) {
            auto* b = benchmark::RegisterBenchmark((std::string(op) + "/" + who + "/" + std::to_string(n)).c_str(), fn)
                          ->Arg(n)
                          ->Unit(benchmark::kMillisecond);
            if (iterations) b->Iterations(iterations);
        }
    }
}

const int registered = [] {
    pair("lu_solve", lu_solve_ours, lu_solve_lapack);
    pair("inverse", inverse_ours, inverse_lapack);
    pair("det", det_ours, det_lapack);
    pair("symeig", symeig_ours, symeig_lapack);
    pair("eig", eig_ours, eig_lapack);
    pair("svd", svd_ours, svd_lapack);
    pair("gemm", gemm_ours, gemm_lapack);
    return 0;
}();

}  // namespace
