// Counted vectors and matrices: one typed body over the five element kinds,
// checked against a plain model of rows of element codes; the fallback rules
// and every handle-taking function under out-of-memory sweeps.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "kinds_support.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

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

TYPED_TEST(Containers, SizeSlotsHoldCountsInTheElementsOwnForm) {
    using K = TypeParam;
    auto* empty = K::vector(0);
    EXPECT_TRUE(vector_is<K>(empty, {}));
    FreeVector(empty);
    auto** m = K::matrix(3, 4);
    EXPECT_EQ(K::count(*m[0]), 3);
    for (int i = 1; i <= 3; ++i) EXPECT_EQ(K::count(m[i][0]), 4);
    K::free_matrix(m);
}

TYPED_TEST(Containers, CopiesAreEqualAndSeparate) {
    using K = TypeParam;
    CountingAlloc counter;
    auto* v = make_vector<K>({1, 2, 3, 4, 5, 6, 7});
    auto* c = K::copy_vector(v);
    EXPECT_NE(c, v);
    EXPECT_TRUE(vector_is<K>(c, {1, 2, 3, 4, 5, 6, 7}));
    auto** m = make_matrix<K>(grid(3, 5), 5);
    auto** mc = K::copy_matrix(m);
    EXPECT_TRUE(matrix_is<K>(mc, grid(3, 5), 5));
    EXPECT_NE(mc[1], m[1]);
    FreeVector(v), FreeVector(c), K::free_matrix(m), K::free_matrix(mc);
    EXPECT_EQ(counter.live(), 0);
}

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

// Functions that build a new container, with each of their allocations
// failing in turn (and every one after it, so that no fallback can be had
// either): the result is complete or NULL, and nothing leaks.
TYPED_TEST(Containers, NewContainersAreCompleteOrNullUnderFailure) {
    using K = TypeParam;
    using T = typename K::T;
    CountingAlloc counter;
    T* v = make_vector<K>({1, 2, 3, 4});
    T** m = make_matrix<K>(grid(3, 2), 2);
    std::int32_t order[] = {2, 4, 1};
    const std::function<bool()> builds[] = {
        [&] { T* r = K::copy_vector(v); bool ok = !r || vector_is<K>(r, {1, 2, 3, 4}); FreeVector(r); return ok && r; },
        [&] { T* r = K::crop_vector(v, 2, 3); bool ok = !r || vector_is<K>(r, {2, 3}); FreeVector(r); return ok && r; },
        [&] { T* r = K::join_vector(v, v); bool ok = !r || vector_is<K>(r, {1, 2, 3, 4, 1, 2, 3, 4}); FreeVector(r); return ok && r; },
        [&] { T* r = K::reorder(v, order); bool ok = !r || vector_is<K>(r, {4, 1}); FreeVector(r); return ok && r; },
        [&] { T** r = K::copy_matrix(m); bool ok = !r || matrix_is<K>(r, grid(3, 2), 2); K::free_matrix(r); return ok && r; },
        [&] { T** r = K::crop_matrix_centered(m, 1, 2); bool ok = !r || matrix_is<K>(r, {{3, 4}}, 2); K::free_matrix(r); return ok && r; },
        [&] { T** r = K::join_matrix_v(m, m); bool ok = !r || matrix_is<K>(r, {{1, 2, 1, 2}, {3, 4, 3, 4}, {5, 6, 5, 6}}, 4); K::free_matrix(r); return ok && r; },
    };
    for (std::size_t b = 0; b < std::size(builds); ++b) {
        const long before = counter.live();
        for (long k = 0;; ++k) {
            counter.fail_after(k);
            const bool complete = builds[b]();
            counter.fail_after(-1);
            EXPECT_EQ(counter.live(), before) << b << " " << k;
            if (complete) break;
            ASSERT_LT(k, 20) << b;
        }
    }
    FreeVector(v), K::free_matrix(m);
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

// Every handle-taking function, with each of its allocations failing in
// turn: the argument stays as it was and nothing leaks.
TYPED_TEST(Containers, HandleFunctionsLeaveTheArgumentOnFailure) {
    using K = TypeParam;
    using T = typename K::T;
    using Step = std::function<void(T**&, T***&)>;
    const Step steps[] = {
        [](T**& v, T***&) { K::extend_vector(v, 9); },
        [](T**& v, T***&) { K::augment_vector(v, *v); },
        [](T**&, T***& m) { K::extend_matrix(m, 4, 4); },
        [](T**&, T***& m) { K::augment_matrix_h(m, *m); },
        [](T**&, T***& m) { K::augment_matrix_v(m, *m); },
        [](T**& v, T***& m) { K::insert_row(m, 2, *v); },
        [](T**& v, T***& m) { K::append_matrix(m, *v); },
        [](T**& v, T***& m) { K::insert_col(m, 1, *v); },
    };
    for (std::size_t s = 0; s < std::size(steps); ++s) {
        for (long k = 0;; ++k) {
            CountingAlloc counter;
            T* v = make_vector<K>({1, 2, 3});
            T** m = make_matrix<K>(grid(2, 3), 3);
            T* v0 = v;
            T** m0 = m;
            T** vh = &v;
            T*** mh = &m;
            counter.fail_after(k);
            steps[s](vh, mh);
            counter.fail_after(-1);
            const bool changed = v != v0 || m != m0;
            if (!changed) {
                EXPECT_TRUE(vector_is<K>(v, {1, 2, 3})) << s << " " << k;
                EXPECT_TRUE(matrix_is<K>(m, grid(2, 3), 3)) << s << " " << k;
            }
            FreeVector(v), K::free_matrix(m);
            EXPECT_EQ(counter.live(), 0) << s << " " << k;
            if (changed) break;
        }
    }
}

}  // namespace
}  // namespace ostr::test
