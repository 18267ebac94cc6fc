// The numeric methods of matrices, on the kernels of linalg/: inverse,
// determinant, rank, eigenvalues and vectors, solving, norms, the condition
// number, the LU, QR and singular value decompositions, the pseudo-inverse,
// the Kronecker product and the matrix exponential. A matrix with a formula
// among its elements is refused with ">invalid_expression<"; so is a result
// that would hold an infinity or NaN. Complex matrices get every method, their
// singular values alone (svd(), rank, norm(2), cond) through the real
// embedding.
#include <algorithm>
#include <cmath>

#include "lang/globals.hpp"
#include "script/matrices.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using la::CMat;
using la::cplx;
using la::RMat;
using lang::Elements;
using lang::Value;
using obj::MatrixValue;

Value fail() { return Value::failure(); }
Value number(double x) { return Value::number({x + 0.0, 0}); }
const MatrixValue& mat(const obj::Object* self) { return *obj::matrix_of(self); }
Elements kind(const obj::Object* self) { return lang::elements_of(mat(self)); }

Value failed(la::Status s, Arbenv* env) {
    return s == la::Status::stopped ? abort_value(env, "evaluation stopped") : fail();
}

template <class T>
Value result(la::Status s, const la::Dense<T>& d, Arbenv* env) {
    return s == la::Status::ok ? lang::matrix_value(lang::block_of(d)) : failed(s, env);
}

bool which(const Value& v, long long lo, long long hi, long long& k) {
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) || v.num.re < lo ||
        v.num.re > hi)
        return false;
    k = static_cast<long long>(v.num.re);
    return true;
}

// The determinant of an integer matrix by fraction-free (Bareiss)
// elimination in 128-bit integers: every intermediate is a minor of A, so
// the division is exact. Nothing when an element is no integer of at most
// 2^31 or an intermediate would overflow.
std::optional<double> integer_det(const MatrixValue& m) {
    const std::size_t n = m.rows;
    std::vector<__int128> a(n * n);
    for (std::size_t k = 0; k < n * n; ++k) {
        const Complex c = m.items[k].num;
        if (m.items[k].obj || c.im != 0 || c.re != std::floor(c.re) || std::abs(c.re) > 2147483648.0)
            return std::nullopt;
        a[k] = static_cast<__int128>(c.re);
    }
    __int128 prev = 1;
    int sign = 1;
    for (std::size_t k = 0; k + 1 < n; ++k) {
        if (a[k * n + k] == 0) {
            std::size_t p = k + 1;
            while (p < n && a[p * n + k] == 0) ++p;
            if (p == n) return 0.0;
            for (std::size_t j = 0; j < n; ++j) std::swap(a[k * n + j], a[p * n + j]);
            sign = -sign;
        }
        for (std::size_t i = k + 1; i < n; ++i)
            for (std::size_t j = k + 1; j < n; ++j) {
                __int128 x, y;
                if (__builtin_mul_overflow(a[i * n + j], a[k * n + k], &x) ||
                    __builtin_mul_overflow(a[i * n + k], a[k * n + j], &y) || __builtin_sub_overflow(x, y, &x))
                    return std::nullopt;
                a[i * n + j] = x / prev;
            }
        prev = a[k * n + k];
    }
    return sign * static_cast<double>(a[n * n - 1]);
}

bool symmetric(const RMat& a) {
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (a(i, j) != a(j, i)) return false;
    return true;
}

// Eigenvalues in a fixed order: by real part, then imaginary part.
la::Status sorted_eigenvalues(const RMat& a, std::vector<cplx>& w) {
    if (symmetric(a)) {
        std::vector<double> s;
        la::Status st = la::symmetric_eigen(a, s, nullptr);
        w.assign(s.begin(), s.end());
        return st;
    }
    la::Status st = la::eigenvalues(a, w);
    std::stable_sort(w.begin(), w.end(), [](const cplx& x, const cplx& y) {
        return x.real() < y.real() || (x.real() == y.real() && x.imag() < y.imag());
    });
    return st;
}

// The same for a complex matrix; a Hermitian one has real eigenvalues, so
// the rounding noise in their imaginary parts is dropped.
la::Status sorted_eigenvalues(const CMat& a, std::vector<cplx>& w) {
    la::Status st = la::eigenvalues(a, w);
    bool hermitian = true;
    for (std::size_t i = 0; i < a.rows && hermitian; ++i)
        for (std::size_t j = 0; j <= i; ++j)
            if (a(i, j) != std::conj(a(j, i))) hermitian = false;
    if (hermitian)
        for (cplx& x : w) x = x.real();
    std::stable_sort(w.begin(), w.end(), [](const cplx& x, const cplx& y) {
        return x.real() < y.real() || (x.real() == y.real() && x.imag() < y.imag());
    });
    return st;
}

// The singular values of a real or complex matrix (no formula elements).
la::Status singular_values(const MatrixValue& m, std::vector<double>& s) {
    if (lang::elements_of(m) == Elements::complex) return la::singular_values(lang::complex_dense(m), s);
    return la::svd(lang::real_dense(m), s, nullptr, nullptr);
}

template <class T>
double norm_1(const la::Dense<T>& a, bool rows) {
    double best = 0;
    for (std::size_t p = 0; p < (rows ? a.rows : a.cols); ++p) {
        double s = 0;
        for (std::size_t q = 0; q < (rows ? a.cols : a.rows); ++q) s += std::abs(rows ? a(p, q) : a(q, p));
        best = std::max(best, s);
    }
    return best;
}

template <class T>
double norm_fro(const la::Dense<T>& a) {
    double scale = 0;
    for (const T& x : a.a) scale = std::max(scale, std::abs(x));
    if (scale == 0) return 0;
    double s = 0;
    for (const T& x : a.a) s += std::norm(x / scale);
    return scale * std::sqrt(s);
}

// exp(A) by scaling and squaring with the [6/6] Padé approximant: A is
// scaled by 2^-s until ‖A‖₁ <= 1/2, where the approximant's relative error
// is below 1e-16, and the result squared s times.
template <class T>
la::Status exponential(la::Dense<T> a, la::Dense<T>& out) {
    const std::size_t n = a.rows;
    const double nrm = norm_1(a, false);
    int s = nrm > 0.5 ? std::max(0, static_cast<int>(std::ceil(std::log2(nrm / 0.5)))) : 0;
    if (s > 1000) return la::Status::not_converged;
    for (T& x : a.a) x = std::ldexp(1.0, -s) * x;
    constexpr double c[] = {1.0, 0.5, 5.0 / 44, 1.0 / 66, 1.0 / 792, 1.0 / 15840, 1.0 / 665280};
    la::Dense<T> x = la::identity<T>(n), num = la::identity<T>(n), den = la::identity<T>(n), tmp;
    for (int k = 1; k <= 6; ++k) {
        if (la::Status st = la::multiply(x, a, tmp); st != la::Status::ok) return st;
        x = std::move(tmp);
        const double sign = (k % 2) ? -1.0 : 1.0;
        for (std::size_t e = 0; e < x.a.size(); ++e) {
            num.a[e] += c[k] * x.a[e];
            den.a[e] += sign * c[k] * x.a[e];
        }
    }
    la::LU<T> lu;
    if (la::Status st = la::lu_factor(den, lu); st != la::Status::ok) return st;
    if (la::Status st = la::lu_solve(lu, num, out); st != la::Status::ok) return st;
    for (int k = 0; k < s; ++k) {
        if (la::Status st = la::multiply(out, out, tmp); st != la::Status::ok) return st;
        out = std::move(tmp);
    }
    return la::Status::ok;
}

template <class T>
Value lu_part(la::Dense<T> a, long long part, Arbenv* env) {
    const std::size_t n = a.rows;
    la::LU<T> lu;
    la::Status st = la::lu_factor(std::move(a), lu);
    if (st != la::Status::ok && st != la::Status::singular) return failed(st, env);
    la::Dense<T> out(n, n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            if (part == 1)
                out(i, j) = i == j ? T(1) : i > j ? lu.f(i, j) : T(0);
            else if (part == 2)
                out(i, j) = i <= j ? lu.f(i, j) : T(0);
            else
                out(i, j) = lu.perm[i] == j ? T(1) : T(0);
        }
    return lang::matrix_value(lang::block_of(out));
}

}  // namespace

Value matrix_invert(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols) return fail();
    switch (kind(self)) {
        case Elements::real: {
            RMat inv;
            return result(la::inverse(lang::real_dense(m), inv), inv, env);
        }
        case Elements::complex: {
            CMat inv;
            return result(la::inverse(lang::complex_dense(m), inv), inv, env);
        }
        case Elements::symbolic: break;
    }
    return fail();
}

Value matrix_det(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols) return fail();
    switch (kind(self)) {
        case Elements::real: {
            if (auto exact = integer_det(m)) return number(*exact);
            double d;
            la::Status st = la::determinant(lang::real_dense(m), d);
            return st == la::Status::ok && std::isfinite(d) ? number(d) : failed(st, env);
        }
        case Elements::complex: {
            cplx d;
            la::Status st = la::determinant(lang::complex_dense(m), d);
            if (st != la::Status::ok || !std::isfinite(d.real()) || !std::isfinite(d.imag())) return failed(st, env);
            return Value::number({d.real() + 0.0, d.imag() + 0.0});
        }
        case Elements::symbolic: break;
    }
    return fail();
}

// rank(): the singular values above max(m, n)·ε·s₁.
Value matrix_rank(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (kind(self) == Elements::symbolic) return fail();
    std::vector<double> s;
    if (la::Status st = singular_values(m, s); st != la::Status::ok) return failed(st, env);
    const double tol = la::rank_tolerance(m.rows, m.cols, s.empty() ? 0 : s[0]);
    return number(static_cast<double>(std::count_if(s.begin(), s.end(), [&](double x) { return x > tol; })));
}

Value matrix_eigvals(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols || kind(self) == Elements::symbolic) return fail();
    std::vector<cplx> w;
    if (kind(self) == Elements::complex) {
        if (la::Status st = sorted_eigenvalues(lang::complex_dense(m), w); st != la::Status::ok)
            return failed(st, env);
        return number_array(w);
    }
    if (la::Status st = sorted_eigenvalues(lang::real_dense(m), w); st != la::Status::ok) return failed(st, env);
    return number_array(w);
}

// eigvecs(): unit eigenvectors as columns, in the order of eigvals();
// orthonormal for a symmetric matrix.
Value matrix_eigvecs(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols || kind(self) == Elements::symbolic) return fail();
    if (kind(self) == Elements::complex) {
        const CMat a = lang::complex_dense(m);
        std::vector<cplx> w;
        CMat v;
        if (la::Status st = sorted_eigenvalues(a, w); st != la::Status::ok) return failed(st, env);
        return result(la::eigenvectors(a, w, v), v, env);
    }
    RMat a = lang::real_dense(m);
    if (symmetric(a)) {
        std::vector<double> w;
        RMat v;
        return result(la::symmetric_eigen(a, w, &v), v, env);
    }
    std::vector<cplx> w;
    CMat v;
    if (la::Status st = sorted_eigenvalues(a, w); st != la::Status::ok) return failed(st, env);
    return result(la::eigenvectors(a, w, v), v, env);
}

// solve(b): x with A·x = b for b a matrix or an array (a column); square A
// through LU, a tall one in the least-squares sense, a wide one the
// minimum-norm solution.
Value matrix_solve(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    Value b = std::move(args[0]);
    const bool vector = lang::is_array(b);
    if (vector) {
        const auto& items = obj::array_of(b.obj.get())->items;
        for (const obj::Item& it : items)
            if (it.obj) return fail();
        obj::MatrixValue* col = obj::new_matrix(items.size(), 1);
        if (col)
            for (std::size_t k = 0; k < items.size(); ++k) col->items[k].num = items[k].num;
        b = lang::matrix_value(col);
    }
    if (!lang::is_matrix(b)) return fail();
    const MatrixValue& rhs = *obj::matrix_of(b.obj.get());
    const Elements ka = kind(self), kb = lang::elements_of(rhs);
    if (ka == Elements::symbolic || kb == Elements::symbolic || rhs.rows != m.rows) return fail();
    Value x;
    if (ka == Elements::real && kb == Elements::real) {
        RMat xs, a = lang::real_dense(m), r = lang::real_dense(rhs);
        la::Status st;
        if (a.square()) {
            la::LU<double> lu;
            st = la::lu_factor(a, lu);
            if (st == la::Status::ok) st = la::lu_solve(lu, r, xs);
        } else if (a.rows > a.cols) {
            st = la::least_squares(a, r, xs);
        } else {
            RMat p;
            st = la::pseudo_inverse(a, p);
            if (st == la::Status::ok) st = la::multiply(p, r, xs);
        }
        x = result(st, xs, env);
    } else {
        if (m.rows != m.cols) return fail();
        CMat xs;
        la::LU<cplx> lu;
        la::Status st = la::lu_factor(lang::complex_dense(m), lu);
        if (st == la::Status::ok) st = la::lu_solve(lu, lang::complex_dense(rhs), xs);
        x = result(st, xs, env);
    }
    if (!vector || !lang::is_matrix(x)) return x;
    std::vector<cplx> col;
    for (const obj::Item& it : obj::matrix_of(x.obj.get())->items) col.emplace_back(it.num.re, it.num.im);
    return number_array(col);
}

// norm(): the 2-norm (largest singular value); norm(1) the largest column
// sum, norm("inf") the largest row sum, norm("fro") the Frobenius norm.
Value matrix_norm(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    const Elements k = kind(self);
    if (k == Elements::symbolic) return fail();
    std::string_view which_text;
    if (!args.empty() && args[0].kind == Value::Kind::object && args[0].obj->tag == obj::string)
        which_text = obj::text_value(args[0].obj.get());
    const bool two =
        args.empty() || (args[0].kind == Value::Kind::number && args[0].num.re == 2 && args[0].num.im == 0);
    const bool one = !args.empty() && args[0].kind == Value::Kind::number && args[0].num.re == 1 && args[0].num.im == 0;
    const CMat a = lang::complex_dense(m);
    if (one) return number(norm_1(a, false));
    if (which_text == "inf") return number(norm_1(a, true));
    if (which_text == "fro") return number(norm_fro(a));
    if (!two) return fail();
    std::vector<double> s;
    if (la::Status st = singular_values(m, s); st != la::Status::ok) return failed(st, env);
    return number(s[0]);
}

// cond(): s_max / s_min in the 2-norm; a matrix that rank() finds
// deficient has none.
Value matrix_cond(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (kind(self) == Elements::symbolic) return fail();
    std::vector<double> s;
    if (la::Status st = singular_values(m, s); st != la::Status::ok) return failed(st, env);
    if (!(s.back() > la::rank_tolerance(m.rows, m.cols, s.front()))) return fail();
    const double c = s.front() / s.back();
    return std::isfinite(c) ? number(c) : fail();
}

// lu(1) L, lu(2) U, lu(3) P, with P·A = L·U.
Value matrix_lu(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    long long part;
    if (m.rows != m.cols || !which(args[0], 1, 3, part)) return fail();
    switch (kind(self)) {
        case Elements::real: return lu_part(lang::real_dense(m), part, env);
        case Elements::complex: return lu_part(lang::complex_dense(m), part, env);
        case Elements::symbolic: break;
    }
    return fail();
}

// qr(1) Q (m × m, orthogonal or unitary), qr(2) R (m × n, upper
// triangular); A = Q·R for at least as many rows as columns.
Value matrix_qr(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    long long part;
    if (kind(self) == Elements::symbolic || !which(args[0], 1, 2, part)) return fail();
    if (kind(self) == Elements::complex) {
        CMat q, r;
        la::Status st = la::qr(lang::complex_dense(m), q, r);
        return result(st, part == 1 ? q : r, env);
    }
    RMat q, r;
    la::Status st = la::qr(lang::real_dense(m), q, r);
    return result(st, part == 1 ? q : r, env);
}

// One factor of the SVD (1 U, 2 the diagonal of the values, 3 V) of a real
// or complex matrix.
template <class T>
Value svd_part(const la::Dense<T>& a, long long part, Arbenv* env) {
    std::vector<double> s;
    la::Dense<T> u, v;
    la::Status st = la::svd(a, s, part == 1 ? &u : nullptr, part == 3 ? &v : nullptr);
    if (st != la::Status::ok) return failed(st, env);
    if (part == 1) return result(st, u, env);
    if (part == 3) return result(st, v, env);
    RMat d(s.size(), s.size());
    for (std::size_t k = 0; k < s.size(); ++k) d(k, k) = s[k];
    return result(st, d, env);
}

// svd(): the singular values, descending; svd(1) U, svd(2) the diagonal
// matrix of the values, svd(3) V, with A = U·S·Vᵀ (A = U·S·Vᴴ for a
// complex matrix; k = min(m, n) columns).
Value matrix_svd(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    long long part = 0;
    if (kind(self) == Elements::symbolic || (!args.empty() && !which(args[0], 1, 3, part))) return fail();
    if (part != 0) {
        if (kind(self) == Elements::complex) return svd_part(lang::complex_dense(m), part, env);
        return svd_part(lang::real_dense(m), part, env);
    }
    std::vector<double> s;
    if (la::Status st = singular_values(m, s); st != la::Status::ok) return failed(st, env);
    return number_array(s);
}

Value matrix_pinv(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    if (kind(self) == Elements::symbolic) return fail();
    if (kind(self) == Elements::complex) {
        CMat p;
        return result(la::pseudo_inverse(lang::complex_dense(mat(self)), p), p, env);
    }
    RMat p;
    return result(la::pseudo_inverse(lang::real_dense(mat(self)), p), p, env);
}

// kron(b): the Kronecker product, block (i, j) = a_ij·B; any elements.
Value matrix_kron(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    if (!lang::is_matrix(args[0])) return fail();
    const MatrixValue &a = mat(self), &b = *obj::matrix_of(args[0].obj.get());
    const double size = static_cast<double>(a.items.size()) * static_cast<double>(b.items.size());
    if (size > static_cast<double>(obj::max_matrix_elements)) return too_large(env);
    std::unique_ptr<MatrixValue, void (*)(void*)> out(obj::new_matrix(a.rows * b.rows, a.cols * b.cols),
                                                      obj::release_matrix);
    if (!out) return fail();
    for (std::size_t i = 0; i < a.rows; ++i)
        for (std::size_t j = 0; j < a.cols; ++j)
            for (std::size_t p = 0; p < b.rows; ++p)
                for (std::size_t q = 0; q < b.cols; ++q) {
                    Value x = lang::item_value(a.at(i, j)), y = lang::item_value(b.at(p, q));
                    Value r = obj::binary_handler(x.tag(), y.tag())(x, y, '*', env, lang::OperandTexts{});
                    obj::Item it;
                    if (r.is_error() ||
                        (x.kind == Value::Kind::number && y.kind == Value::Kind::number &&
                         r.kind != Value::Kind::number) ||
                        !lang::to_item(r, it))
                        return fail();
                    out->at(i * b.rows + p, j * b.cols + q) = it;
                }
    return lang::matrix_value(out.release());
}

Value matrix_expm(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const MatrixValue& m = mat(self);
    if (m.rows != m.cols) return fail();
    switch (kind(self)) {
        case Elements::real: {
            RMat e;
            return result(exponential(lang::real_dense(m), e), e, env);
        }
        case Elements::complex: {
            CMat e;
            return result(exponential(lang::complex_dense(m), e), e, env);
        }
        case Elements::symbolic: break;
    }
    return fail();
}

}  // namespace ostr::script
