// The container templates of containers.hpp and their instantiation for the
// element kinds. Every block comes from mem_alloc; every builder holds its
// partial result in a guard so that a failed allocation leaks nothing.
#include "numeric/containers.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/memory.hpp"

namespace ostr::num {
namespace {

// Copies n elements; a block copy where the ranges are disjoint, an
// overlapping move otherwise (in-place copies may be handed src == dst).
// The addresses are compared as integers: the two ranges may lie in
// unrelated blocks.
template <class T>
void copy_slots(T* dst, const T* src, std::int32_t n) noexcept {
    if (n <= 0 || dst == src) return;
    const auto bytes = static_cast<std::size_t>(n) * sizeof(T);
    const auto d = reinterpret_cast<std::uintptr_t>(dst), s = reinterpret_cast<std::uintptr_t>(src);
    if (d + bytes <= s || s + bytes <= d)
        std::memcpy(dst, src, bytes);
    else
        std::memmove(dst, src, bytes);
}

template <class K>
void fill_slots(Elem<K>* p, std::int32_t n, int value) noexcept {
    std::fill(p, p + std::max(n, 0), K::value(value));
}

// A matrix under construction: pointers 0..r of a zeroed pointer array,
// released together unless the builder lets go. mem_free ignores the rows
// not yet made.
template <class T>
class MatrixGuard {
public:
    MatrixGuard(T** m, std::int32_t r) noexcept : m_(m), r_(r) {}
    ~MatrixGuard() {
        if (!m_) return;
        for (std::int32_t i = 0; i <= r_; ++i) mem_free(m_[i]);
        mem_free(m_);
    }
    MatrixGuard(const MatrixGuard&) = delete;
    MatrixGuard& operator=(const MatrixGuard&) = delete;
    T** release() noexcept { return std::exchange(m_, nullptr); }

private:
    T** m_;
    std::int32_t r_;
};

template <class K>
Elem<K>* vector_fallback(Fallback fb) noexcept {
    return fb == Fallback::empty ? vector_raw<K>(0, Fill::none) : nullptr;
}

template <class K>
Elem<K>** matrix_fallback(Fallback fb) noexcept {
    return fb == Fallback::empty ? matrix_raw<K>(1, 1, Fill::zero) : nullptr;
}

template <class K>
Elem<K>* vector_or_fallback(Elem<K>* v) noexcept {
    return v ? v : vector_fallback<K>(K::vector_fallback);
}

template <class K>
Elem<K>** matrix_or_fallback(Elem<K>** m) noexcept {
    return m ? m : matrix_fallback<K>(K::matrix_fallback);
}

// Fills dst[0..width) from slots 1..count of row i of m and zeros after
// them; all zeros when m has no row i (the shorter side of a join).
template <class K>
void copy_row_padded(Elem<K>* dst, std::int32_t width, Elem<K>* const* m, std::int32_t i,
                     std::int32_t count) noexcept {
    const bool has_row = i >= 1 && i <= matrix_rows<K>(m);
    const std::int32_t n = has_row ? std::clamp(count, 0, width) : 0;
    if (has_row) copy_slots(dst, m[i] + 1, n);
    fill_slots<K>(dst + n, width - n, 0);
}

// Moves a freshly built matrix in through a handle, releasing the old one.
template <class K>
void replace_matrix(Elem<K>*** h, Elem<K>** fresh) noexcept {
    if (!fresh) return;
    matrix_free<K>(*h);
    *h = fresh;
}

}  // namespace

template <class K>
std::int32_t vector_length(const Elem<K>* v) noexcept {
    return K::length(v[0]);
}

template <class K>
std::int32_t matrix_rows(Elem<K>* const* m) noexcept {
    return K::length(*m[0]);
}

template <class K>
std::int32_t matrix_cols(Elem<K>* const* m) noexcept {
    return matrix_rows<K>(m) > 0 ? vector_length<K>(m[1]) : 0;
}

// The byte size (n + 1) * sizeof(T) is formed in 64 bits and cannot
// overflow for an int32 count. A negative count is a failed request: even
// n = -1 would leave no room for the size slot.
template <class K>
Elem<K>* vector_raw(std::int32_t n, Fill fill) noexcept {
    using T = Elem<K>;
    if (n < 0 || n > K::max_count) return nullptr;
    const std::uint64_t bytes = (static_cast<std::uint64_t>(n) + 1) * sizeof(T);
    auto* v = static_cast<T*>(mem_alloc(static_cast<std::size_t>(bytes)));
    if (!v) return nullptr;
    v[0] = K::count(n);
    if (fill != Fill::none) fill_slots<K>(v + 1, n, fill == Fill::one ? 1 : 0);
    return v;
}

template <class K>
Elem<K>* vector_new(std::int32_t n, Fill fill, Fallback fb) noexcept {
    Elem<K>* v = vector_raw<K>(n, fill);
    return v ? v : vector_fallback<K>(fb);
}

template <class K>
Elem<K>** matrix_raw(std::int32_t r, std::int32_t c, Fill fill) noexcept {
    using T = Elem<K>;
    if (r < 0 || r > K::max_count || c < 0 || c > K::max_count) return nullptr;
    auto** m = static_cast<T**>(mem_calloc(static_cast<std::size_t>(r) + 1, sizeof(T*)));
    if (!m) return nullptr;
    MatrixGuard<T> guard(m, r);
    m[0] = static_cast<T*>(mem_alloc(sizeof(T)));
    if (!m[0]) return nullptr;
    *m[0] = K::count(r);
    for (std::int32_t i = 1; i <= r; ++i)
        if (!(m[i] = vector_raw<K>(c, fill))) return nullptr;
    return guard.release();
}

// A failed row and a failed pointer array end the same way: everything made
// so far is released and the fallback is returned, which is what replacing
// the row by an empty one and then finding its count wrong comes to.
template <class K>
Elem<K>** matrix_new(std::int32_t r, std::int32_t c, Fill fill, Fallback fb) noexcept {
    Elem<K>** m = matrix_raw<K>(r, c, fill);
    return m ? m : matrix_fallback<K>(fb);
}

// Releases pointers 0..r, r read from row 0; a negative count (a damaged
// matrix) releases only the pointer array.
template <class K>
void matrix_free(Elem<K>** m) noexcept {
    if (!m) return;
    const std::int32_t r = matrix_rows<K>(m);
    for (std::int32_t i = 0; i <= r; ++i) mem_free(m[i]);
    mem_free(m);
}

template <class K>
Elem<K>* vector_copy(const Elem<K>* v) noexcept {
    if (!v) return nullptr;
    const std::int32_t n = vector_length<K>(v);
    Elem<K>* out = vector_raw<K>(n, Fill::none);
    if (!out) return vector_fallback<K>(K::vector_fallback);
    copy_slots(out + 1, v + 1, n);
    return out;
}

template <class K>
void vector_copy_into(const Elem<K>* src, Elem<K>* dst) noexcept {
    if (src && dst) copy_slots(dst + 1, src + 1, vector_length<K>(src));
}

template <class K>
Elem<K>** matrix_copy(Elem<K>* const* m) noexcept {
    if (!m) return nullptr;
    const std::int32_t r = matrix_rows<K>(m), c = matrix_cols<K>(m);
    Elem<K>** out = matrix_raw<K>(r, c, Fill::none);
    if (!out) return matrix_fallback<K>(K::matrix_fallback);
    for (std::int32_t i = 1; i <= r; ++i) copy_slots(out[i] + 1, m[i] + 1, c);
    return out;
}

template <class K>
void matrix_copy_into(Elem<K>* const* src, Elem<K>** dst) noexcept {
    if (!src || !dst) return;
    const std::int32_t r = matrix_rows<K>(src);
    for (std::int32_t i = 1; i <= r; ++i) vector_copy_into<K>(src[i], dst[i]);
}

template <class K>
void vector_extend(Elem<K>** h, std::int32_t n) noexcept {
    if (!h || !*h) return;
    const std::int32_t old = vector_length<K>(*h);
    if (n <= old) return;
    Elem<K>* out = vector_raw<K>(n, Fill::none);
    if (!out) return;
    copy_slots(out + 1, *h + 1, old);
    mem_free(*h);
    *h = out;
}

// Never shrinks: the new size is the larger of old and asked in each
// direction, so every old element keeps its position.
template <class K>
void matrix_extend(Elem<K>*** h, std::int32_t r, std::int32_t c) noexcept {
    if (!h || !*h) return;
    Elem<K>** m = *h;
    const std::int32_t rows = matrix_rows<K>(m), cols = matrix_cols<K>(m);
    if (r <= rows && c <= cols) return;
    Elem<K>** out = matrix_raw<K>(std::max(r, rows), std::max(c, cols), Fill::none);
    if (!out) return;
    for (std::int32_t i = 1; i <= rows; ++i) copy_slots(out[i] + 1, m[i] + 1, cols);
    replace_matrix<K>(h, out);
}

template <class K>
Elem<K>* vector_crop(const Elem<K>* v, std::int32_t a, std::int32_t b) noexcept {
    if (!v) return nullptr;
    const std::int64_t lo = std::max(a, 1), hi = std::min(b, vector_length<K>(v));
    const auto n = static_cast<std::int32_t>(std::max<std::int64_t>(hi - lo + 1, 0));
    Elem<K>* out = vector_raw<K>(n, Fill::none);
    if (!out) return vector_fallback<K>(K::vector_fallback);
    if (n > 0) copy_slots(out + 1, v + lo, n);
    return out;
}

// The n slots from (len - n)/2 + 1 on, the division truncating; n is clamped
// to 0..len, so a window wider than the vector is the whole vector.
template <class K>
Elem<K>* vector_crop_centered(const Elem<K>* v, std::int32_t n) noexcept {
    if (!v) return nullptr;
    const std::int32_t len = vector_length<K>(v);
    n = std::clamp(n, 0, std::max(len, 0));
    const std::int32_t a = (len - n) / 2 + 1;
    return vector_crop<K>(v, a, a + n - 1);
}

template <class K>
Elem<K>** matrix_crop(Elem<K>* const* m, std::int32_t r1, std::int32_t r2, std::int32_t c1,
                      std::int32_t c2) noexcept {
    if (!m) return nullptr;
    const std::int64_t rlo = std::max(r1, 1), rhi = std::min(r2, matrix_rows<K>(m));
    const std::int64_t clo = std::max(c1, 1), chi = std::min(c2, matrix_cols<K>(m));
    const auto r = static_cast<std::int32_t>(std::max<std::int64_t>(rhi - rlo + 1, 0));
    const auto c = static_cast<std::int32_t>(std::max<std::int64_t>(chi - clo + 1, 0));
    Elem<K>** out = matrix_raw<K>(r, c, Fill::none);
    if (!out) return matrix_fallback<K>(K::matrix_fallback);
    if (c > 0)
        for (std::int32_t i = 1; i <= r; ++i) copy_slots(out[i] + 1, m[rlo + i - 1] + clo, c);
    return out;
}

template <class K>
Elem<K>** matrix_crop_centered(Elem<K>* const* m, std::int32_t r, std::int32_t c) noexcept {
    if (!m) return nullptr;
    const std::int32_t rows = matrix_rows<K>(m), cols = matrix_cols<K>(m);
    r = std::clamp(r, 0, std::max(rows, 0));
    c = std::clamp(c, 0, std::max(cols, 0));
    const std::int32_t r1 = (rows - r) / 2 + 1, c1 = (cols - c) / 2 + 1;
    return matrix_crop<K>(m, r1, r1 + r - 1, c1, c1 + c - 1);
}

namespace {

template <class K>
Elem<K>* vector_join_raw(const Elem<K>* a, const Elem<K>* b) noexcept {
    if (!a || !b) return nullptr;
    const std::int32_t na = vector_length<K>(a), nb = vector_length<K>(b);
    if (static_cast<std::int64_t>(na) + nb > INT32_MAX) return nullptr;
    Elem<K>* out = vector_raw<K>(na + nb, Fill::none);
    if (!out) return nullptr;
    copy_slots(out + 1, a + 1, na);
    copy_slots(out + 1 + na, b + 1, nb);
    return out;
}

template <class K>
Elem<K>** matrix_join_h_raw(Elem<K>* const* a, Elem<K>* const* b) noexcept {
    if (!a || !b) return nullptr;
    const std::int32_t ra = matrix_rows<K>(a), rb = matrix_rows<K>(b);
    const std::int32_t ca = matrix_cols<K>(a), cb = matrix_cols<K>(b), c = std::max(ca, cb);
    if (static_cast<std::int64_t>(ra) + rb > INT32_MAX) return nullptr;
    Elem<K>** out = matrix_raw<K>(ra + rb, c, Fill::none);
    if (!out) return nullptr;
    for (std::int32_t i = 1; i <= ra; ++i) copy_row_padded<K>(out[i] + 1, c, a, i, ca);
    for (std::int32_t i = 1; i <= rb; ++i) copy_row_padded<K>(out[ra + i] + 1, c, b, i, cb);
    return out;
}

template <class K>
Elem<K>** matrix_join_v_raw(Elem<K>* const* a, Elem<K>* const* b) noexcept {
    if (!a || !b) return nullptr;
    const std::int32_t ra = matrix_rows<K>(a), rb = matrix_rows<K>(b), r = std::max(ra, rb);
    const std::int32_t ca = matrix_cols<K>(a), cb = matrix_cols<K>(b);
    if (static_cast<std::int64_t>(ca) + cb > INT32_MAX) return nullptr;
    Elem<K>** out = matrix_raw<K>(r, ca + cb, Fill::none);
    if (!out) return nullptr;
    for (std::int32_t i = 1; i <= r; ++i) {
        copy_row_padded<K>(out[i] + 1, ca, a, i, ca);
        copy_row_padded<K>(out[i] + 1 + ca, cb, b, i, cb);
    }
    return out;
}

}  // namespace

template <class K>
Elem<K>* vector_join(const Elem<K>* a, const Elem<K>* b) noexcept {
    return vector_or_fallback<K>(vector_join_raw<K>(a, b));
}

// b may be *a itself: the join reads both before the old block goes.
template <class K>
void vector_augment(Elem<K>** a, const Elem<K>* b) noexcept {
    if (!a) return;
    Elem<K>* out = vector_join_raw<K>(*a, b);
    if (!out) return;
    mem_free(*a);
    *a = out;
}

template <class K>
Elem<K>** matrix_join_h(Elem<K>* const* a, Elem<K>* const* b) noexcept {
    return matrix_or_fallback<K>(matrix_join_h_raw<K>(a, b));
}

template <class K>
Elem<K>** matrix_join_v(Elem<K>* const* a, Elem<K>* const* b) noexcept {
    return matrix_or_fallback<K>(matrix_join_v_raw<K>(a, b));
}

template <class K>
void matrix_augment_h(Elem<K>*** a, Elem<K>* const* b) noexcept {
    if (a) replace_matrix<K>(a, matrix_join_h_raw<K>(*a, b));
}

template <class K>
void matrix_augment_v(Elem<K>*** a, Elem<K>* const* b) noexcept {
    if (a) replace_matrix<K>(a, matrix_join_v_raw<K>(*a, b));
}

// The rows are kept and rewired: only a longer pointer array and the new
// row are allocated. A matrix without rows takes its width from the row.
template <class K>
void matrix_insert_row(Elem<K>*** h, std::int32_t i, const Elem<K>* row) noexcept {
    using T = Elem<K>;
    if (!h || !*h || !row) return;
    T** m = *h;
    const std::int32_t r = matrix_rows<K>(m);
    if (r >= K::max_count) return;
    const std::int32_t c = r > 0 ? matrix_cols<K>(m) : vector_length<K>(row);
    i = std::clamp(i, 1, r + 1);
    T* line = vector_raw<K>(c, Fill::none);
    if (!line) return;
    const std::int32_t given = std::min(c, vector_length<K>(row));
    copy_slots(line + 1, row + 1, given);
    fill_slots<K>(line + 1 + given, c - given, 0);
    auto** out = static_cast<T**>(mem_alloc((static_cast<std::size_t>(r) + 2) * sizeof(T*)));
    if (!out) return mem_free(line);
    std::copy(m, m + i, out);
    out[i] = line;
    std::copy(m + i, m + r + 1, out + i + 1);
    *out[0] = K::count(r + 1);
    mem_free(m);
    *h = out;
}

template <class K>
void matrix_insert_col(Elem<K>*** h, std::int32_t j, const Elem<K>* col) noexcept {
    if (!h || !*h || !col) return;
    Elem<K>** m = *h;
    const std::int32_t r = matrix_rows<K>(m), c = matrix_cols<K>(m);
    if (r == 0 || c >= K::max_count) return;
    j = std::clamp(j, 1, c + 1);
    Elem<K>** out = matrix_raw<K>(r, c + 1, Fill::none);
    if (!out) return;
    const std::int32_t given = vector_length<K>(col);
    for (std::int32_t i = 1; i <= r; ++i) {
        copy_slots(out[i] + 1, m[i] + 1, j - 1);
        out[i][j] = i <= given ? col[i] : K::value(0);
        copy_slots(out[i] + j + 1, m[i] + j, c - j + 1);
    }
    replace_matrix<K>(h, out);
}

// Removing needs no memory: the pointer array and the rows keep their
// blocks, only the counts shrink (the release functions go by the counts).
template <class K>
void matrix_remove_row(Elem<K>** m, std::int32_t i) noexcept {
    if (!m) return;
    const std::int32_t r = matrix_rows<K>(m);
    if (i < 1 || i > r) return;
    mem_free(m[i]);
    std::copy(m + i + 1, m + r + 1, m + i);
    *m[0] = K::count(r - 1);
}

template <class K>
void matrix_remove_col(Elem<K>** m, std::int32_t j) noexcept {
    if (!m) return;
    const std::int32_t r = matrix_rows<K>(m), c = matrix_cols<K>(m);
    if (j < 1 || j > c) return;
    for (std::int32_t i = 1; i <= r; ++i) {
        std::copy(m[i] + j + 1, m[i] + c + 1, m[i] + j);
        m[i][0] = K::count(c - 1);
    }
}

template <class K>
void matrix_swap_rows(Elem<K>** m, std::int32_t i, std::int32_t j) noexcept {
    if (!m) return;
    const std::int32_t r = matrix_rows<K>(m);
    if (i >= 1 && i <= r && j >= 1 && j <= r) std::swap(m[i], m[j]);
}

template <class K>
void matrix_swap_cols(Elem<K>** m, std::int32_t i, std::int32_t j) noexcept {
    if (!m) return;
    const std::int32_t r = matrix_rows<K>(m), c = matrix_cols<K>(m);
    if (i < 1 || i > c || j < 1 || j > c) return;
    for (std::int32_t k = 1; k <= r; ++k) std::swap(m[k][i], m[k][j]);
}

template <class K>
Elem<K>* vector_reorder(const Elem<K>* v, const std::int32_t* order) noexcept {
    if (!v || !order) return nullptr;
    const std::int32_t n = vector_length<KindL>(order), len = vector_length<K>(v);
    Elem<K>* out = vector_raw<K>(n, Fill::none);
    if (!out) return vector_fallback<K>(K::vector_fallback);
    for (std::int32_t k = 1; k <= n; ++k) {
        const std::int32_t at = order[k];
        out[k] = at >= 1 && at <= len ? v[at] : K::value(0);
    }
    return out;
}

namespace {

void matrix_vector_release(double*** mv, std::int32_t made) noexcept {
    for (std::int32_t i = 1; i <= made; ++i) matrix_free<KindD>(mv[i]);
    mem_free(mv[0]);
    mem_free(mv);
}

double*** matrix_vector_raw(std::int32_t n, std::int32_t r, std::int32_t c) noexcept {
    if (n < 0) return nullptr;
    auto*** mv = static_cast<double***>(mem_calloc(static_cast<std::size_t>(n) + 1, sizeof(double**)));
    if (!mv) return nullptr;
    auto* count = static_cast<double*>(mem_alloc(sizeof(double)));
    if (!count) return mem_free(mv), nullptr;
    *count = n;
    // Slot 0 leads to one double, not to a matrix; the layout says so.
    mv[0] = reinterpret_cast<double**>(count);
    for (std::int32_t i = 1; i <= n; ++i) {
        if (!(mv[i] = matrix_raw<KindD>(r, c, Fill::none))) {
            matrix_vector_release(mv, i - 1);
            return nullptr;
        }
    }
    return mv;
}

}  // namespace

double*** matrix_vector_new(std::int32_t n, std::int32_t r, std::int32_t c) noexcept {
    double*** mv = matrix_vector_raw(n, r, c);
    return mv ? mv : matrix_vector_raw(0, 0, 0);
}

void matrix_vector_free(double*** mv) noexcept {
    if (!mv) return;
    matrix_vector_release(mv, KindD::length(*reinterpret_cast<double*>(mv[0])));
}

#define OSTR_INSTANTIATE_BUILD(K)                                                               \
    template Elem<K>* vector_raw<K>(std::int32_t, Fill) noexcept;                               \
    template Elem<K>* vector_new<K>(std::int32_t, Fill, Fallback) noexcept;                     \
    template Elem<K>** matrix_raw<K>(std::int32_t, std::int32_t, Fill) noexcept;                \
    template Elem<K>** matrix_new<K>(std::int32_t, std::int32_t, Fill, Fallback) noexcept;      \
    template std::int32_t vector_length<K>(const Elem<K>*) noexcept;                           \
    template std::int32_t matrix_rows<K>(Elem<K>* const*) noexcept;                            \
    template std::int32_t matrix_cols<K>(Elem<K>* const*) noexcept;                            \
    template void matrix_free<K>(Elem<K>**) noexcept;

#define OSTR_INSTANTIATE_FAMILIES(S, K)                                                         \
    OSTR_INSTANTIATE_BUILD(K)                                                                   \
    template Elem<K>* vector_copy<K>(const Elem<K>*) noexcept;                                 \
    template void vector_copy_into<K>(const Elem<K>*, Elem<K>*) noexcept;                      \
    template Elem<K>** matrix_copy<K>(Elem<K>* const*) noexcept;                               \
    template void matrix_copy_into<K>(Elem<K>* const*, Elem<K>**) noexcept;                    \
    template void vector_extend<K>(Elem<K>**, std::int32_t) noexcept;                          \
    template void matrix_extend<K>(Elem<K>***, std::int32_t, std::int32_t) noexcept;           \
    template Elem<K>* vector_crop<K>(const Elem<K>*, std::int32_t, std::int32_t) noexcept;     \
    template Elem<K>* vector_crop_centered<K>(const Elem<K>*, std::int32_t) noexcept;          \
    template Elem<K>** matrix_crop<K>(Elem<K>* const*, std::int32_t, std::int32_t,             \
                                      std::int32_t, std::int32_t) noexcept;                    \
    template Elem<K>** matrix_crop_centered<K>(Elem<K>* const*, std::int32_t,                  \
                                               std::int32_t) noexcept;                         \
    template Elem<K>* vector_join<K>(const Elem<K>*, const Elem<K>*) noexcept;                 \
    template void vector_augment<K>(Elem<K>**, const Elem<K>*) noexcept;                       \
    template Elem<K>** matrix_join_h<K>(Elem<K>* const*, Elem<K>* const*) noexcept;            \
    template Elem<K>** matrix_join_v<K>(Elem<K>* const*, Elem<K>* const*) noexcept;            \
    template void matrix_augment_h<K>(Elem<K>***, Elem<K>* const*) noexcept;                   \
    template void matrix_augment_v<K>(Elem<K>***, Elem<K>* const*) noexcept;                   \
    template void matrix_insert_row<K>(Elem<K>***, std::int32_t, const Elem<K>*) noexcept;     \
    template void matrix_insert_col<K>(Elem<K>***, std::int32_t, const Elem<K>*) noexcept;     \
    template void matrix_remove_row<K>(Elem<K>**, std::int32_t) noexcept;                      \
    template void matrix_remove_col<K>(Elem<K>**, std::int32_t) noexcept;                      \
    template void matrix_swap_rows<K>(Elem<K>**, std::int32_t, std::int32_t) noexcept;         \
    template void matrix_swap_cols<K>(Elem<K>**, std::int32_t, std::int32_t) noexcept;         \
    template Elem<K>* vector_reorder<K>(const Elem<K>*, const std::int32_t*) noexcept;

OSTR_CONTAINER_KINDS(OSTR_INSTANTIATE_FAMILIES)
OSTR_INSTANTIATE_BUILD(KindI)

}  // namespace ostr::num
