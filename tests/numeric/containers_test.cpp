// Counted vectors and matrices: one typed body over the five element kinds
// (each kind's C functions gathered in one record), checked against a plain
// model of rows of element codes, and under out-of-memory sweeps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "ostravine/numeric.h"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

#define OSTR_KIND_FAMILIES(S)                          \
    static constexpr auto copy_vector = CopyVector##S; \
    static constexpr auto copy_matrix = CopyMatrix##S; \
    static constexpr auto copy_vector_ip = CopyVectorIP##S; \
    static constexpr auto copy_matrix_ip = CopyMatrixIP##S; \
    static constexpr auto extend_vector = ExtendVector##S; \
    static constexpr auto extend_matrix = ExtendMatrix##S; \
    static constexpr auto crop_vector = CropVector##S; \
    static constexpr auto crop_vector_centered = CropVectorCentered##S; \
    static constexpr auto crop_matrix = CropMatrix##S; \
    static constexpr auto crop_matrix_centered = CropMatrixCentered##S; \
    static constexpr auto join_vector = JoinVector##S; \
    static constexpr auto augment_vector = AugmentVector##S; \
    static constexpr auto join_matrix_h = JoinMatrixH##S; \
    static constexpr auto join_matrix_v = JoinMatrixV##S; \
    static constexpr auto augment_matrix_h = AugmentMatrixH##S; \
    static constexpr auto augment_matrix_v = AugmentMatrixV##S; \
    static constexpr auto append_matrix = AppendMatrix##S; \
    static constexpr auto insert_row = InsertRow##S; \
    static constexpr auto insert_col = InsertCol##S; \
    static constexpr auto remove_row = RemoveRow##S; \
    static constexpr auto remove_col = RemoveCol##S; \
    static constexpr auto swap_rows = SwapRows##S; \
    static constexpr auto swap_cols = SwapCols##S; \
    static constexpr auto reorder = ReorderV##S;

struct DoubleKind {
    using T = double;
    static constexpr auto vector = Vector;
    static constexpr auto matrix = Matrix;
    static constexpr auto free_matrix = FreeMatrix;
    static T of(int v) { return v + 0.25; }
    static int count(T s) { return static_cast<int>(s); }
    OSTR_KIND_FAMILIES()
};
struct ComplexKind {
    using T = Complex;
    static constexpr auto vector = VectorC;
    static constexpr auto matrix = MatrixC;
    static constexpr auto free_matrix = FreeMatrixC;
    static T of(int v) { return {v + 0.5, -v - 0.75}; }
    static int count(T s) { return s.im == 0 ? static_cast<int>(s.re) : -999; }
    OSTR_KIND_FAMILIES(C)
};
struct IntKind {
    using T = std::int32_t;
    static constexpr auto vector = Vector0L;
    static constexpr auto matrix = MatrixL;
    static constexpr auto free_matrix = FreeMatrixL;
    static T of(int v) { return v * 3 + 1; }
    static int count(T s) { return s; }
    OSTR_KIND_FAMILIES(L)
};
struct FloatKind {
    using T = float;
    static constexpr auto vector = VectorF;
    static constexpr auto matrix = MatrixF;
    static constexpr auto free_matrix = FreeMatrixF;
    static T of(int v) { return v + 0.5f; }
    static int count(T s) { return static_cast<int>(s); }
    OSTR_KIND_FAMILIES(F)
};
struct UIntKind {
    using T = std::uint32_t;
    static constexpr auto vector = VectorUInt32;
    static constexpr auto matrix = MatrixUInt32;
    static constexpr auto free_matrix = FreeMatrixUInt32;
    static T of(int v) { return static_cast<T>(v) * 7u + 0x80000000u; }
    static int count(T s) { return static_cast<int>(s); }
    OSTR_KIND_FAMILIES(UInt32)
};

template <class T>
bool same(T a, T b) { return a == b; }
bool same(Complex a, Complex b) { return a.re == b.re && a.im == b.im; }

// A model of a matrix's data as plain rows of element codes (0 = zero).
using Model = std::vector<std::vector<int>>;

template <class K>
typename K::T elem(int code) {
    return code == 0 ? typename K::T{} : K::of(code);
}

template <class K>
typename K::T* make_vector(const std::vector<int>& codes) {
    auto* v = K::vector(static_cast<std::int32_t>(codes.size()));
    for (std::size_t i = 0; i < codes.size(); ++i) v[i + 1] = elem<K>(codes[i]);
    return v;
}

template <class K>
::testing::AssertionResult vector_is(const typename K::T* v, const std::vector<int>& codes) {
    if (!v) return ::testing::AssertionFailure() << "null vector";
    if (K::count(v[0]) != static_cast<int>(codes.size()))
        return ::testing::AssertionFailure() << "length " << K::count(v[0]) << ", want " << codes.size();
    for (std::size_t i = 0; i < codes.size(); ++i)
        if (!same(v[i + 1], elem<K>(codes[i]))) return ::testing::AssertionFailure() << "slot " << i + 1;
    return ::testing::AssertionSuccess();
}

template <class K>
typename K::T** make_matrix(const Model& rows, int cols) {
    auto** m = K::matrix(static_cast<std::int32_t>(rows.size()), cols);
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (int j = 0; j < cols; ++j) m[i + 1][j + 1] = elem<K>(rows[i][j]);
    return m;
}

// A model r x c with distinct codes 1.. row by row.
Model grid(int r, int c, int base = 1) {
    Model m(r, std::vector<int>(c));
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j) m[i][j] = base + i * c + j;
    return m;
}

template <class K>
::testing::AssertionResult matrix_is(typename K::T** m, const Model& rows, int cols) {
    if (!m) return ::testing::AssertionFailure() << "null matrix";
    if (K::count(*m[0]) != static_cast<int>(rows.size()))
        return ::testing::AssertionFailure() << "rows " << K::count(*m[0]) << ", want " << rows.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (K::count(m[i + 1][0]) != cols) return ::testing::AssertionFailure() << "row " << i + 1 << " length";
        for (int j = 0; j < cols; ++j)
            if (!same(m[i + 1][j + 1], elem<K>(rows[i][j])))
                return ::testing::AssertionFailure() << "element " << i + 1 << "," << j + 1;
    }
    return ::testing::AssertionSuccess();
}

template <class K>
class Containers : public ::testing::Test {};
using Kinds = ::testing::Types<DoubleKind, ComplexKind, IntKind, FloatKind, UIntKind>;
TYPED_TEST_SUITE(Containers, Kinds);

// In-place copies write data slots only: a larger destination keeps its
// sizes and the slots beyond the source; src == dst is a no-op.
TYPED_TEST(Containers, InPlaceCopiesKeepTheDestinationsSizes) {
    using K = TypeParam;
    auto* src = make_vector<K>({1, 2, 3});
    auto* dst = make_vector<K>({9, 9, 9, 9, 9});
    K::copy_vector_ip(src, dst);
    EXPECT_TRUE(vector_is<K>(dst, {1, 2, 3, 9, 9}));
    K::copy_vector_ip(dst, dst);
    EXPECT_TRUE(vector_is<K>(dst, {1, 2, 3, 9, 9}));
    auto** ms = make_matrix<K>(grid(2, 2), 2);
    auto** md = make_matrix<K>(grid(3, 3, 50), 3);
    K::copy_matrix_ip(ms, md);
    EXPECT_TRUE(matrix_is<K>(md, {{1, 2, 52}, {3, 4, 55}, {56, 57, 58}}, 3));
    FreeVector(src), FreeVector(dst), K::free_matrix(ms), K::free_matrix(md);
}

TYPED_TEST(Containers, ExtendGrowsOnlyAndKeepsPositions) {
    using K = TypeParam;
    CountingAlloc counter;
    auto* v = make_vector<K>({1, 2, 3});
    auto* before = v;
    for (int n : {-4, 0, 2, 3}) {
        K::extend_vector(&v, n);
        EXPECT_EQ(v, before) << n;
        EXPECT_TRUE(vector_is<K>(v, {1, 2, 3}));
    }
    K::extend_vector(&v, 6);
    EXPECT_EQ(K::count(v[0]), 6);
    for (int i = 1; i <= 3; ++i) EXPECT_TRUE(same(v[i], K::of(i)));

    auto** m = make_matrix<K>(grid(2, 3), 3);
    auto** mbefore = m;
    K::extend_matrix(&m, 2, 1);
    EXPECT_EQ(m, mbefore);
    K::extend_matrix(&m, 4, 2);  // wider in rows only: columns stay 3
    EXPECT_EQ(K::count(*m[0]), 4);
    EXPECT_EQ(K::count(m[4][0]), 3);
    for (int i = 1; i <= 2; ++i)
        for (int j = 1; j <= 3; ++j) EXPECT_TRUE(same(m[i][j], K::of((i - 1) * 3 + j)));
    FreeVector(v), K::free_matrix(m);
    EXPECT_EQ(counter.live(), 0);
}

struct CropCase {
    int a, b;
    std::vector<int> want;
};

TYPED_TEST(Containers, CropsClampToTheVector) {
    using K = TypeParam;
    const CropCase cases[] = {
        {2, 4, {2, 3, 4}},  {1, 6, {1, 2, 3, 4, 5, 6}}, {-3, 2, {1, 2}}, {5, 99, {5, 6}},
        {4, 3, {}},         {7, 9, {}},                  {3, 3, {3}},     {INT32_MIN, INT32_MAX, {1, 2, 3, 4, 5, 6}},
    };
    auto* v = make_vector<K>({1, 2, 3, 4, 5, 6});
    for (const auto& c : cases) {
        auto* r = K::crop_vector(v, c.a, c.b);
        EXPECT_TRUE(vector_is<K>(r, c.want)) << c.a << ".." << c.b;
        FreeVector(r);
    }
    // Centred: n slots from (len - n)/2 + 1, n clamped to 0..len.
    const CropCase centred[] = {{2, 0, {3, 4}}, {3, 0, {2, 3, 4}}, {1, 0, {3}}, {0, 0, {}},
                                {6, 0, {1, 2, 3, 4, 5, 6}}, {9, 0, {1, 2, 3, 4, 5, 6}}, {-1, 0, {}}};
    for (const auto& c : centred) {
        auto* r = K::crop_vector_centered(v, c.a);
        EXPECT_TRUE(vector_is<K>(r, c.want)) << "centred " << c.a;
        FreeVector(r);
    }
    FreeVector(v);
}

TYPED_TEST(Containers, MatrixCropsTakeInclusiveRanges) {
    using K = TypeParam;
    auto** m = make_matrix<K>(grid(4, 5), 5);
    auto** row2 = K::crop_matrix(m, 2, 2, 1, 5);
    EXPECT_TRUE(matrix_is<K>(row2, {{6, 7, 8, 9, 10}}, 5));
    auto** block = K::crop_matrix(m, 0, 2, 4, 9);
    EXPECT_TRUE(matrix_is<K>(block, {{4, 5}, {9, 10}}, 2));
    auto** centre = K::crop_matrix_centered(m, 2, 3);
    EXPECT_TRUE(matrix_is<K>(centre, {{7, 8, 9}, {12, 13, 14}}, 3));
    for (auto** x : {row2, block, centre}) K::free_matrix(x);
    K::free_matrix(m);
}

TYPED_TEST(Containers, JoinsPadTheShorterSideWithZeros) {
    using K = TypeParam;
    CountingAlloc counter;
    auto* a = make_vector<K>({1, 2});
    auto* b = make_vector<K>({3});
    auto* j = K::join_vector(a, b);
    EXPECT_TRUE(vector_is<K>(j, {1, 2, 3}));
    K::augment_vector(&a, a);  // aliasing: b is the old a
    EXPECT_TRUE(vector_is<K>(a, {1, 2, 1, 2}));

    auto** ma = make_matrix<K>(grid(2, 2), 2);
    auto** mb = make_matrix<K>(grid(1, 3, 10), 3);
    auto** h = K::join_matrix_h(ma, mb);
    EXPECT_TRUE(matrix_is<K>(h, {{1, 2, 0}, {3, 4, 0}, {10, 11, 12}}, 3));
    auto** v = K::join_matrix_v(ma, mb);
    EXPECT_TRUE(matrix_is<K>(v, {{1, 2, 10, 11, 12}, {3, 4, 0, 0, 0}}, 5));
    K::augment_matrix_v(&ma, ma);
    EXPECT_TRUE(matrix_is<K>(ma, {{1, 2, 1, 2}, {3, 4, 3, 4}}, 4));
    K::augment_matrix_h(&ma, mb);
    EXPECT_TRUE(matrix_is<K>(ma, {{1, 2, 1, 2}, {3, 4, 3, 4}, {10, 11, 12, 0}}, 4));
    FreeVector(a), FreeVector(b), FreeVector(j);
    for (auto** x : {ma, mb, h, v}) K::free_matrix(x);
    EXPECT_EQ(counter.live(), 0);
}

// Random sequences of row and column edits against the model, including
// out-of-range indices (removes and swaps ignore them, inserts clamp).
TYPED_TEST(Containers, RowAndColumnEditsFollowTheModel) {
    using K = TypeParam;
    CountingAlloc counter;
    std::mt19937 rng(7);
    int cols = 3, next = 100;
    Model model = grid(3, cols);
    auto** m = make_matrix<K>(model, cols);
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(-1, n + 2)(rng); };
    for (int step = 0; step < 400; ++step) {
        const int rows = static_cast<int>(model.size());
        const int op = std::uniform_int_distribution<int>(0, 6)(rng);
        if (op == 0 || op == 1) {  // insert or append a row of random length
            const int len = std::uniform_int_distribution<int>(0, cols + 2)(rng);
            std::vector<int> codes(len);
            for (auto& c : codes) c = next++;
            auto* row = make_vector<K>(codes);
            int at = op == 0 ? pick(rows) : rows + 1;
            op == 0 ? K::insert_row(&m, at, row) : K::append_matrix(&m, row);
            at = std::clamp(at, 1, rows + 1);
            if (rows == 0) cols = len;
            codes.resize(cols, 0);
            model.insert(model.begin() + at - 1, codes);
            FreeVector(row);
        } else if (op == 2 && rows > 0) {
            const int len = std::uniform_int_distribution<int>(0, rows + 1)(rng);
            std::vector<int> codes(len);
            for (auto& c : codes) c = next++;
            auto* col = make_vector<K>(codes);
            const int at = std::clamp(pick(cols), 1, cols + 1);
            K::insert_col(&m, at, col);
            for (int i = 0; i < rows; ++i) model[i].insert(model[i].begin() + at - 1, i < len ? codes[i] : 0);
            ++cols;
            FreeVector(col);
        } else if (op == 3) {
            const int i = pick(rows);
            K::remove_row(m, i);
            if (i >= 1 && i <= rows) model.erase(model.begin() + i - 1);
        } else if (op == 4 && rows > 0) {
            const int j = pick(cols);
            K::remove_col(m, j);
            if (j >= 1 && j <= cols) {
                for (auto& r : model) r.erase(r.begin() + j - 1);
                --cols;
            }
        } else if (op == 5) {
            const int i = pick(rows), j = pick(rows);
            K::swap_rows(m, i, j);
            if (i >= 1 && i <= rows && j >= 1 && j <= rows) std::swap(model[i - 1], model[j - 1]);
        } else if (op == 6) {
            const int i = pick(cols), j = pick(cols);
            K::swap_cols(m, i, j);
            if (i >= 1 && i <= cols && j >= 1 && j <= cols && rows > 0)
                for (auto& r : model) std::swap(r[i - 1], r[j - 1]);
        }
        ASSERT_TRUE(matrix_is<K>(m, model, cols)) << "step " << step << " op " << op;
    }
    K::free_matrix(m);
    EXPECT_EQ(counter.live(), 0);
}

TYPED_TEST(Containers, ReorderPicksSlotsAndZeroesStrayIndices) {
    using K = TypeParam;
    auto* v = make_vector<K>({1, 2, 3, 4});
    std::int32_t order[] = {6, 4, 1, 0, 5, -2, 4};
    auto* r = K::reorder(v, order);
    EXPECT_TRUE(vector_is<K>(r, {4, 1, 0, 0, 0, 4}));
    FreeVector(v), FreeVector(r);
}

// The kinds without fallbacks hand out NULL; passing it on must be harmless.
TYPED_TEST(Containers, NullContainersYieldNullOrNothing) {
    using K = TypeParam;
    using T = typename K::T;
    T* v = nullptr;
    T** m = nullptr;
    std::int32_t order[] = {0};
    EXPECT_EQ(K::copy_vector(nullptr), nullptr);
    EXPECT_EQ(K::crop_vector(nullptr, 1, 2), nullptr);
    EXPECT_EQ(K::crop_matrix(nullptr, 1, 1, 1, 1), nullptr);
    EXPECT_EQ(K::reorder(nullptr, order), nullptr);
    K::extend_vector(&v, 3), K::augment_vector(&v, nullptr), K::extend_matrix(&m, 2, 2);
    K::insert_row(&m, 1, nullptr), K::remove_row(nullptr, 1), K::swap_cols(nullptr, 1, 2);
    EXPECT_TRUE(v == nullptr && m == nullptr);
}

// Every function that allocates, with each of its allocations failing in
// turn (and every one after it, so that no fallback can be had either): a
// new container is whole or NULL, a handle's container is replaced whole or
// left as it was, and nothing leaks. A builder step returns whether it
// built; a handle step, by changing the handle.
TYPED_TEST(Containers, AllocationFailureLeavesWholeResultsOrNothing) {
    using K = TypeParam;
    using T = typename K::T;
    auto built = [](T* r, const std::vector<int>& want) {
        if (r) EXPECT_TRUE(vector_is<K>(r, want));
        FreeVector(r);
        return r != nullptr;
    };
    auto built_matrix = [](T** r, const Model& want, int cols) {
        if (r) EXPECT_TRUE(matrix_is<K>(r, want, cols));
        K::free_matrix(r);
        return r != nullptr;
    };
    std::int32_t order[] = {2, 3, 1};
    const std::function<bool(T*&, T**&)> steps[] = {
        [&](T*& v, T**&) { return built(K::copy_vector(v), {1, 2, 3}); },
        [&](T*& v, T**&) { return built(K::crop_vector(v, 2, 3), {2, 3}); },
        [&](T*& v, T**&) { return built(K::join_vector(v, v), {1, 2, 3, 1, 2, 3}); },
        [&](T*& v, T**&) { return built(K::reorder(v, order), {3, 1}); },
        [&](T*&, T**& m) { return built_matrix(K::copy_matrix(m), grid(2, 3), 3); },
        [&](T*&, T**& m) { return built_matrix(K::crop_matrix_centered(m, 1, 2), {{1, 2}}, 2); },
        [&](T*&, T**& m) { return built_matrix(K::join_matrix_v(m, m), {{1, 2, 3, 1, 2, 3}, {4, 5, 6, 4, 5, 6}}, 6); },
        [](T*& v, T**&) { return K::extend_vector(&v, 9), false; },
        [](T*& v, T**&) { return K::augment_vector(&v, v), false; },
        [](T*&, T**& m) { return K::extend_matrix(&m, 4, 4), false; },
        [](T*&, T**& m) { return K::augment_matrix_h(&m, m), false; },
        [](T*&, T**& m) { return K::augment_matrix_v(&m, m), false; },
        [](T*& v, T**& m) { return K::insert_row(&m, 2, v), false; },
        [](T*& v, T**& m) { return K::append_matrix(&m, v), false; },
        [](T*& v, T**& m) { return K::insert_col(&m, 1, v), false; },
    };
    for (std::size_t s = 0; s < std::size(steps); ++s) {
        for (long k = 0;; ++k) {
            CountingAlloc counter;
            T* v = make_vector<K>({1, 2, 3});
            T** m = make_matrix<K>(grid(2, 3), 3);
            T* const v0 = v;
            T** const m0 = m;
            counter.fail_after(k);
            bool done = steps[s](v, m);
            counter.fail_after(-1);
            done = done || v != v0 || m != m0;
            if (!done) {
                EXPECT_TRUE(vector_is<K>(v, {1, 2, 3})) << s << " " << k;
                EXPECT_TRUE(matrix_is<K>(m, grid(2, 3), 3)) << s << " " << k;
            }
            FreeVector(v), K::free_matrix(m);
            EXPECT_EQ(counter.live(), 0) << s << " " << k;
            if (done) break;
            ASSERT_LT(k, 20) << s;
        }
    }
}

}  // namespace
}  // namespace ostr::test
