// LU with partial pivoting and what it gives: solutions, the inverse and the
// determinant, for real and complex elements.
//
// Right-looking elimination on row-major storage: at step k the pivot is the
// largest |a_ik| of column k at or below the diagonal, the rows swap, and
// each row below takes a multiple of row k across its contiguous tail (the
// inner loop vectorises). Cost 2n³/3; backward error |ΔA| <= γ_n·|L|·|U|,
// which partial pivoting keeps near n·ε·‖A‖ in practice.
#include <cmath>
#include <utility>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

template <class T>
std::size_t pivot_row(const Dense<T>& a, std::size_t k) {
    std::size_t p = k;
    double best = std::abs(a(k, k));
    for (std::size_t i = k + 1; i < a.rows; ++i)
        if (const double v = std::abs(a(i, k)); v > best) best = v, p = i;
    return p;
}

template <class T>
void eliminate(Dense<T>& a, std::size_t k) {
    const std::size_t n = a.cols;
    const T* pr = a.row(k);
    const T inv = T(1) / pr[k];
    for (std::size_t i = k + 1; i < a.rows; ++i) {
        T* r = a.row(i);
        const T f = r[k] * inv;
        r[k] = f;
        if (f == T(0)) continue;
        for (std::size_t j = k + 1; j < n; ++j) r[j] -= f * pr[j];
    }
}

// Column-sum norm.
template <class T>
double norm1(const Dense<T>& a) {
    std::vector<double> s(a.cols, 0.0);
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j) s[j] += std::abs(a(i, j));
    double m = 0;
    for (double v : s) m = std::max(m, v);
    return m;
}

}  // namespace

template <class T>
Status lu_factor(Dense<T> a, LU<T>& out) {
    if (!a.square()) return Status::not_square;
    const std::size_t n = a.rows;
    out.perm.resize(n);
    for (std::size_t i = 0; i < n; ++i) out.perm[i] = i;
    out.sign = 1;
    out.singular = false;
    for (std::size_t k = 0; k < n; ++k) {
        if ((k & 15) == 0 && core::should_stop()) return Status::stopped;
        const std::size_t p = pivot_row(a, k);
        if (p != k) {
            std::swap_ranges(a.row(k), a.row(k) + n, a.row(p));
            std::swap(out.perm[k], out.perm[p]);
            out.sign = -out.sign;
        }
        if (a(k, k) == T(0)) {
            out.singular = true;
            continue;
        }
        eliminate(a, k);
    }
    out.f = std::move(a);
    return out.singular ? Status::singular : Status::ok;
}

template <class T>
Status lu_solve(const LU<T>& lu, const Dense<T>& b, Dense<T>& x) {
    const std::size_t n = lu.f.rows, m = b.cols;
    if (b.rows != n) return Status::size_mismatch;
    if (lu.singular) return Status::singular;
    x = Dense<T>(n, m);
    for (std::size_t i = 0; i < n; ++i) std::copy(b.row(lu.perm[i]), b.row(lu.perm[i]) + m, x.row(i));
    // Forward with unit L, then back with U, a whole row of X at a time.
    for (std::size_t i = 0; i < n; ++i) {
        T* xi = x.row(i);
        for (std::size_t k = 0; k < i; ++k) {
            const T f = lu.f(i, k);
            if (f == T(0)) continue;
            const T* xk = x.row(k);
            for (std::size_t j = 0; j < m; ++j) xi[j] -= f * xk[j];
        }
    }
    for (std::size_t i = n; i-- > 0;) {
        if ((i & 63) == 0 && core::should_stop()) return Status::stopped;
        T* xi = x.row(i);
        for (std::size_t k = i + 1; k < n; ++k) {
            const T f = lu.f(i, k);
            if (f == T(0)) continue;
            const T* xk = x.row(k);
            for (std::size_t j = 0; j < m; ++j) xi[j] -= f * xk[j];
        }
        const T inv = T(1) / lu.f(i, i);
        for (std::size_t j = 0; j < m; ++j) xi[j] *= inv;
    }
    return Status::ok;
}

template <class T>
Status determinant(const Dense<T>& a, T& det) {
    LU<T> lu;
    const Status s = lu_factor(a, lu);
    if (s == Status::singular) {
        det = T(0);
        return Status::ok;
    }
    if (s != Status::ok) return s;
    T d = T(lu.sign);
    for (std::size_t k = 0; k < a.rows; ++k) d *= lu.f(k, k);
    det = d;
    return Status::ok;
}

template <class T>
Status inverse(const Dense<T>& a, Dense<T>& inv) {
    LU<T> lu;
    if (Status s = lu_factor(a, lu); s != Status::ok) return s;
    if (Status s = lu_solve(lu, identity<T>(a.rows), inv); s != Status::ok) return s;
    const double cond = norm1(a) * norm1(inv);
    if (!(cond * 2.220446049250313e-16 < 1.0)) return Status::singular;
    return Status::ok;
}

template Status lu_factor<double>(Dense<double>, LU<double>&);
template Status lu_factor<cplx>(Dense<cplx>, LU<cplx>&);
template Status lu_solve<double>(const LU<double>&, const Dense<double>&, Dense<double>&);
template Status lu_solve<cplx>(const LU<cplx>&, const Dense<cplx>&, Dense<cplx>&);
template Status determinant<double>(const Dense<double>&, double&);
template Status determinant<cplx>(const Dense<cplx>&, cplx&);
template Status inverse<double>(const Dense<double>&, Dense<double>&);
template Status inverse<cplx>(const Dense<cplx>&, Dense<cplx>&);

}  // namespace ostr::la
