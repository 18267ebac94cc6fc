// The matrix product, the identity and the transpose, for real and complex
// elements.
//
// The product walks A in panels of kb columns and B in panels of kb rows by
// jb columns, so the B panel (kb·jb elements) stays in the second-level cache
// while four rows of C take rank-kb updates from it; the innermost loop runs
// along contiguous rows of B and C and vectorises. Cost 2mnk flops; each
// element of C is the same sum as the plain triple loop in a different
// association, within k·ε·Σ|a_il·b_lj|.
#include <algorithm>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"

namespace ostr::la {
namespace {

constexpr std::size_t kb = 128;
constexpr std::size_t jb = 256;

// Four rows of C (i..i+3) += A(i.., l0..l1) · B(l0..l1, j0..j1).
template <class T>
void four_rows(const Dense<T>& a, const Dense<T>& b, Dense<T>& c, std::size_t i, std::size_t l0, std::size_t l1,
               std::size_t j0, std::size_t j1) {
    T* c0 = c.row(i) + j0;
    T* c1 = c.row(i + 1) + j0;
    T* c2 = c.row(i + 2) + j0;
    T* c3 = c.row(i + 3) + j0;
    const std::size_t w = j1 - j0;
    for (std::size_t l = l0; l < l1; ++l) {
        const T a0 = a(i, l), a1 = a(i + 1, l), a2 = a(i + 2, l), a3 = a(i + 3, l);
        const T* br = b.row(l) + j0;
        for (std::size_t j = 0; j < w; ++j) {
            const T x = br[j];
            c0[j] += a0 * x;
            c1[j] += a1 * x;
            c2[j] += a2 * x;
            c3[j] += a3 * x;
        }
    }
}

template <class T>
void one_row(const Dense<T>& a, const Dense<T>& b, Dense<T>& c, std::size_t i, std::size_t l0, std::size_t l1,
             std::size_t j0, std::size_t j1) {
    T* cr = c.row(i) + j0;
    const std::size_t w = j1 - j0;
    for (std::size_t l = l0; l < l1; ++l) {
        const T x = a(i, l);
        const T* br = b.row(l) + j0;
        for (std::size_t j = 0; j < w; ++j) cr[j] += x * br[j];
    }
}

}  // namespace

template <class T>
Dense<T> identity(std::size_t n) {
    Dense<T> m(n, n);
    for (std::size_t k = 0; k < n; ++k) m(k, k) = T(1);
    return m;
}

template <class T>
Dense<T> transpose(const Dense<T>& m) {
    Dense<T> t(m.cols, m.rows);
    for (std::size_t i = 0; i < m.rows; ++i)
        for (std::size_t j = 0; j < m.cols; ++j) t(j, i) = m(i, j);
    return t;
}

template <class T>
Status multiply(const Dense<T>& a, const Dense<T>& b, Dense<T>& c) {
    if (a.cols != b.rows) return Status::size_mismatch;
    c = Dense<T>(a.rows, b.cols);
    const std::size_t m = a.rows, n = b.cols, k = a.cols;
    for (std::size_t j0 = 0; j0 < n; j0 += jb) {
        const std::size_t j1 = std::min(n, j0 + jb);
        for (std::size_t l0 = 0; l0 < k; l0 += kb) {
            const std::size_t l1 = std::min(k, l0 + kb);
            if (core::should_stop()) return Status::stopped;
            std::size_t i = 0;
            for (; i + 4 <= m; i += 4) four_rows(a, b, c, i, l0, l1, j0, j1);
            for (; i < m; ++i) one_row(a, b, c, i, l0, l1, j0, j1);
        }
    }
    return Status::ok;
}

template Dense<double> identity<double>(std::size_t);
template Dense<cplx> identity<cplx>(std::size_t);
template Dense<double> transpose<double>(const Dense<double>&);
template Dense<cplx> transpose<cplx>(const Dense<cplx>&);
template Status multiply<double>(const Dense<double>&, const Dense<double>&, Dense<double>&);
template Status multiply<cplx>(const Dense<cplx>&, const Dense<cplx>&, Dense<cplx>&);

}  // namespace ostr::la
