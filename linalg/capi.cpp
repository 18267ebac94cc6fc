// The exported linear algebra: each function converts the counted
// row-pointer matrices to dense storage once, runs the kernel and converts
// the result back. Nothing throws across the face: a failure is NULL.
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "linalg/dense.hpp"
#include "core/memory.hpp"
#include "numeric/containers.hpp"
#include "ostravine/linalg.h"

using namespace ostr;
using namespace ostr::la;

namespace {

template <class K, class T>
std::optional<Dense<T>> dense_of(num::Elem<K>* const* m) {
    if (!m) return std::nullopt;
    const std::int32_t r = num::matrix_rows<K>(m), c = num::matrix_cols<K>(m);
    if (r <= 0 || c <= 0) return std::nullopt;
    Dense<T> d(static_cast<std::size_t>(r), static_cast<std::size_t>(c));
    for (std::int32_t i = 0; i < r; ++i)
        for (std::int32_t j = 0; j < c; ++j) {
            if constexpr (std::is_same_v<T, cplx>)
                d(i, j) = cplx(m[i + 1][j + 1].re, m[i + 1][j + 1].im);
            else
                d(i, j) = m[i + 1][j + 1];
        }
    return d;
}
std::optional<RMat> real(double** m) { return dense_of<num::KindD, double>(m); }
std::optional<CMat> complex(Complex** m) { return dense_of<num::KindC, cplx>(m); }

double** out(const RMat& d) {
    double** m = num::matrix_raw<num::KindD>(static_cast<std::int32_t>(d.rows), static_cast<std::int32_t>(d.cols),
                                             num::Fill::none);
    if (!m) return nullptr;
    for (std::size_t i = 0; i < d.rows; ++i)
        for (std::size_t j = 0; j < d.cols; ++j) m[i + 1][j + 1] = d(i, j);
    return m;
}
Complex** out(const CMat& d) {
    Complex** m = num::matrix_raw<num::KindC>(static_cast<std::int32_t>(d.rows), static_cast<std::int32_t>(d.cols),
                                              num::Fill::none);
    if (!m) return nullptr;
    for (std::size_t i = 0; i < d.rows; ++i)
        for (std::size_t j = 0; j < d.cols; ++j) m[i + 1][j + 1] = {d(i, j).real(), d(i, j).imag()};
    return m;
}
double* out(const std::vector<double>& v) {
    double* o = num::vector_raw<num::KindD>(static_cast<std::int32_t>(v.size()), num::Fill::none);
    if (o) std::copy(v.begin(), v.end(), o + 1);
    return o;
}
Complex* out(const std::vector<cplx>& v) {
    Complex* o = num::vector_raw<num::KindC>(static_cast<std::int32_t>(v.size()), num::Fill::none);
    if (o)
        for (std::size_t k = 0; k < v.size(); ++k) o[k + 1] = {v[k].real(), v[k].imag()};
    return o;
}

// Runs f, turning an allocation failure inside into the failure value.
template <class F, class R = std::invoke_result_t<F>>
R guarded(F&& f, R failure) noexcept {
    try {
        return f();
    } catch (...) {
        return failure;
    }
}

template <class T>
Dense<T>* product(const std::optional<Dense<T>>& a, const std::optional<Dense<T>>& b, Dense<T>& c) {
    return a && b && multiply(*a, *b, c) == Status::ok ? &c : nullptr;
}

template <class T>
std::optional<Dense<T>> inverted(const std::optional<Dense<T>>& a) {
    Dense<T> inv;
    if (!a || inverse(*a, inv) != Status::ok) return std::nullopt;
    return inv;
}

std::optional<RMat> solved(const std::optional<RMat>& a, const std::optional<RMat>& b) {
    if (!a || !b || a->rows != b->rows) return std::nullopt;
    RMat x;
    if (a->square()) {
        LU<double> lu;
        if (lu_factor(*a, lu) != Status::ok || lu_solve(lu, *b, x) != Status::ok) return std::nullopt;
    } else if (a->rows > a->cols) {
        if (least_squares(*a, *b, x) != Status::ok) return std::nullopt;
    } else {
        RMat p;
        if (pseudo_inverse(*a, p) != Status::ok || multiply(p, *b, x) != Status::ok) return std::nullopt;
    }
    return x;
}

}  // namespace

extern "C" {

double** MulM(double** a, double** b) noexcept {
    return guarded(
        [&]() -> double** {
            RMat c;
            auto* p = product(real(a), real(b), c);
            return p ? out(*p) : nullptr;
        },
        static_cast<double**>(nullptr));
}

Complex** MulMC(Complex** a, Complex** b) noexcept {
    return guarded(
        [&]() -> Complex** {
            CMat c;
            auto* p = product(complex(a), complex(b), c);
            return p ? out(*p) : nullptr;
        },
        static_cast<Complex**>(nullptr));
}

double** InvertM(double** a) noexcept {
    return guarded(
        [&]() -> double** {
            auto i = inverted(real(a));
            return i ? out(*i) : nullptr;
        },
        static_cast<double**>(nullptr));
}

Complex** InvertMC(Complex** a) noexcept {
    return guarded(
        [&]() -> Complex** {
            auto i = inverted(complex(a));
            return i ? out(*i) : nullptr;
        },
        static_cast<Complex**>(nullptr));
}

double DetM(double** a) noexcept {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    return guarded(
        [&]() {
            auto d = real(a);
            double x = nan;
            return d && determinant(*d, x) == Status::ok ? x : nan;
        },
        nan);
}

Complex DetMC(Complex** a) noexcept {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const Complex fail{nan, nan};
    return guarded(
        [&]() {
            auto d = complex(a);
            cplx x;
            return d && determinant(*d, x) == Status::ok ? Complex{x.real(), x.imag()} : fail;
        },
        fail);
}

double** SolveM(double** a, double** b) noexcept {
    return guarded(
        [&]() -> double** {
            auto x = solved(real(a), real(b));
            return x ? out(*x) : nullptr;
        },
        static_cast<double**>(nullptr));
}

Complex** SolveMC(Complex** a, Complex** b) noexcept {
    return guarded(
        [&]() -> Complex** {
            auto da = complex(a), db = complex(b);
            LU<cplx> lu;
            CMat x;
            if (!da || !db || lu_factor(*da, lu) != Status::ok || lu_solve(lu, *db, x) != Status::ok) return nullptr;
            return out(x);
        },
        static_cast<Complex**>(nullptr));
}

double** LUDecomposeM(double** a, int32_t** perm) noexcept {
    return guarded(
        [&]() -> double** {
            auto d = real(a);
            LU<double> lu;
            if (!d || !perm || lu_factor(*d, lu) == Status::stopped || !lu.f.square() || lu.f.rows != d->rows)
                return nullptr;
            int32_t* p = num::vector_raw<num::KindL>(static_cast<std::int32_t>(lu.perm.size()), num::Fill::none);
            double** f = p ? out(lu.f) : nullptr;
            if (!f) return ostr::mem_free(p), nullptr;
            for (std::size_t k = 0; k < lu.perm.size(); ++k) p[k + 1] = static_cast<int32_t>(lu.perm[k] + 1);
            *perm = p;
            return f;
        },
        static_cast<double**>(nullptr));
}

double** QRDecomposeM(double** a, double*** r) noexcept {
    return guarded(
        [&]() -> double** {
            auto d = real(a);
            RMat q, rr;
            if (!d || !r || qr(*d, q, rr) != Status::ok) return nullptr;
            double** mq = out(q);
            double** mr = mq ? out(rr) : nullptr;
            if (!mr) return num::matrix_free<num::KindD>(mq), nullptr;
            *r = mr;
            return mq;
        },
        static_cast<double**>(nullptr));
}

double* EigenvaluesSymM(double** a) noexcept {
    return guarded(
        [&]() -> double* {
            auto d = real(a);
            std::vector<double> w;
            return d && symmetric_eigen(*d, w, nullptr) == Status::ok ? out(w) : nullptr;
        },
        static_cast<double*>(nullptr));
}

double** EigenvectorsSymM(double** a, double** w) noexcept {
    return guarded(
        [&]() -> double** {
            auto d = real(a);
            std::vector<double> vals;
            RMat v;
            if (!d || symmetric_eigen(*d, vals, &v) != Status::ok) return nullptr;
            double** mv = out(v);
            if (mv && w) {
                *w = out(vals);
                if (!*w) return num::matrix_free<num::KindD>(mv), nullptr;
            }
            return mv;
        },
        static_cast<double**>(nullptr));
}

Complex* EigenvaluesM(double** a) noexcept {
    return guarded(
        [&]() -> Complex* {
            auto d = real(a);
            std::vector<cplx> w;
            return d && eigenvalues(*d, w) == Status::ok ? out(w) : nullptr;
        },
        static_cast<Complex*>(nullptr));
}

Complex** EigenvectorsM(double** a) noexcept {
    return guarded(
        [&]() -> Complex** {
            auto d = real(a);
            std::vector<cplx> w;
            CMat v;
            if (!d || eigenvalues(*d, w) != Status::ok || eigenvectors(*d, w, v) != Status::ok) return nullptr;
            return out(v);
        },
        static_cast<Complex**>(nullptr));
}

Complex* EigenvaluesMC(Complex** a) noexcept {
    return guarded(
        [&]() -> Complex* {
            auto d = complex(a);
            std::vector<cplx> w;
            return d && eigenvalues(*d, w) == Status::ok ? out(w) : nullptr;
        },
        static_cast<Complex*>(nullptr));
}

Complex** EigenvectorsMC(Complex** a) noexcept {
    return guarded(
        [&]() -> Complex** {
            auto d = complex(a);
            std::vector<cplx> w;
            CMat v;
            if (!d || eigenvalues(*d, w) != Status::ok || eigenvectors(*d, w, v) != Status::ok) return nullptr;
            return out(v);
        },
        static_cast<Complex**>(nullptr));
}

double* SingularValuesM(double** a) noexcept {
    return guarded(
        [&]() -> double* {
            auto d = real(a);
            std::vector<double> s;
            return d && svd(*d, s, nullptr, nullptr) == Status::ok ? out(s) : nullptr;
        },
        static_cast<double*>(nullptr));
}

double** SVDM(double** a, double** s, double*** v) noexcept {
    return guarded(
        [&]() -> double** {
            auto d = real(a);
            std::vector<double> sv;
            RMat u, vv;
            if (!d || svd(*d, sv, &u, &vv) != Status::ok) return nullptr;
            double** mu = out(u);
            double* ms = mu && s ? out(sv) : nullptr;
            double** mv = mu && v ? out(vv) : nullptr;
            if (!mu || (s && !ms) || (v && !mv)) {
                num::matrix_free<num::KindD>(mu);
                num::matrix_free<num::KindD>(mv);
                ostr::mem_free(ms);
                return nullptr;
            }
            if (s) *s = ms;
            if (v) *v = mv;
            return mu;
        },
        static_cast<double**>(nullptr));
}

double** PseudoInverseM(double** a) noexcept {
    return guarded(
        [&]() -> double** {
            auto d = real(a);
            RMat p;
            return d && pseudo_inverse(*d, p) == Status::ok ? out(p) : nullptr;
        },
        static_cast<double**>(nullptr));
}

}  // extern "C"
