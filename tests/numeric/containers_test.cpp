// Counted vectors and matrices: one typed body over the five element kinds
// (the templates behind the one-line C names), checked against a plain model
// of rows of element codes, and under out-of-memory sweeps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "numeric/containers.hpp"
#include "ostravine/numeric.h"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

using namespace ostr::num;

// The test's element codes per kind: code v as a distinct value (not a
// whole number, a negative imaginary part, the top bit set), and a size
// slot read back as a count (a Complex count must have no imaginary part).
template <class K>
Elem<K> of(int v) {
    using T = Elem<K>;
    if constexpr (std::is_same_v<T, double>) return v + 0.25;
    else if constexpr (std::is_same_v<T, Complex>) return {v + 0.5, -v - 0.75};
    else if constexpr (std::is_same_v<T, float>) return v + 0.5f;
    else if constexpr (std::is_same_v<T, std::int32_t>) return v * 3 + 1;
    else return static_cast<T>(v) * 7u + 0x80000000u;
}
template <class K>
int count(const Elem<K>& s) {
    if constexpr (std::is_same_v<Elem<K>, Complex>) return s.im == 0 ? static_cast<int>(s.re) : -999;
    else return static_cast<int>(s);
}

template <class T>
bool same(T a, T b) { return a == b; }
bool same(Complex a, Complex b) { return a.re == b.re && a.im == b.im; }

// A model of a matrix's data as plain rows of element codes (0 = zero).
using Model = std::vector<std::vector<int>>;

template <class K>
Elem<K> elem(int code) {
    return code == 0 ? Elem<K>{} : of<K>(code);
}

template <class K>
Elem<K>* make_vector(const std::vector<int>& codes) {
    auto* v = vector_raw<K>(static_cast<std::int32_t>(codes.size()), Fill::none);
    for (std::size_t i = 0; i < codes.size(); ++i) v[i + 1] = elem<K>(codes[i]);
    return v;
}

template <class K>
::testing::AssertionResult vector_is(const Elem<K>* v, const std::vector<int>& codes) {
    if (!v) return ::testing::AssertionFailure() << "null vector";
    if (count<K>(v[0]) != static_cast<int>(codes.size()))
        return ::testing::AssertionFailure() << "length " << count<K>(v[0]) << ", want " << codes.size();
    for (std::size_t i = 0; i < codes.size(); ++i)
        if (!same(v[i + 1], elem<K>(codes[i]))) return ::testing::AssertionFailure() << "slot " << i + 1;
    return ::testing::AssertionSuccess();
}

template <class K>
Elem<K>** make_matrix(const Model& rows, int cols) {
    auto** m = matrix_raw<K>(static_cast<std::int32_t>(rows.size()), cols, Fill::none);
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
::testing::AssertionResult matrix_is(Elem<K>** m, const Model& rows, int cols) {
    if (!m) return ::testing::AssertionFailure() << "null matrix";
    if (count<K>(*m[0]) != static_cast<int>(rows.size()))
        return ::testing::AssertionFailure() << "rows " << count<K>(*m[0]) << ", want " << rows.size();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (count<K>(m[i + 1][0]) != cols) return ::testing::AssertionFailure() << "row " << i + 1 << " length";
        for (int j = 0; j < cols; ++j)
            if (!same(m[i + 1][j + 1], elem<K>(rows[i][j])))
                return ::testing::AssertionFailure() << "element " << i + 1 << "," << j + 1;
    }
    return ::testing::AssertionSuccess();
}

template <class K>
class Containers : public ::testing::Test {};
using Kinds = ::testing::Types<KindD, KindC, KindL, KindF, KindU>;
TYPED_TEST_SUITE(Containers, Kinds);

// In-place copies write data slots only: a larger destination keeps its
// sizes and the slots beyond the source; src == dst is a no-op.
TYPED_TEST(Containers, InPlaceCopiesKeepTheDestinationsSizes) {
    using K = TypeParam;
    auto* src = make_vector<K>({1, 2, 3});
    auto* dst = make_vector<K>({9, 9, 9, 9, 9});
    vector_copy_into<K>(src, dst);
    EXPECT_TRUE(vector_is<K>(dst, {1, 2, 3, 9, 9}));
    vector_copy_into<K>(dst, dst);
    EXPECT_TRUE(vector_is<K>(dst, {1, 2, 3, 9, 9}));
    auto** ms = make_matrix<K>(grid(2, 2), 2);
    auto** md = make_matrix<K>(grid(3, 3, 50), 3);
    matrix_copy_into<K>(ms, md);
    EXPECT_TRUE(matrix_is<K>(md, {{1, 2, 52}, {3, 4, 55}, {56, 57, 58}}, 3));
    FreeVector(src), FreeVector(dst), matrix_free<K>(ms), matrix_free<K>(md);
}

TYPED_TEST(Containers, ExtendGrowsOnlyAndKeepsPositions) {
    using K = TypeParam;
    CountingAlloc counter;
    auto* v = make_vector<K>({1, 2, 3});
    auto* before = v;
    for (int n : {-4, 0, 2, 3}) {
        vector_extend<K>(&v, n);
        EXPECT_EQ(v, before) << n;
        EXPECT_TRUE(vector_is<K>(v, {1, 2, 3}));
    }
    vector_extend<K>(&v, 6);
    EXPECT_EQ(count<K>(v[0]), 6);
    for (int i = 1; i <= 3; ++i) EXPECT_TRUE(same(v[i], of<K>(i)));

    auto** m = make_matrix<K>(grid(2, 3), 3);
    auto** mbefore = m;
    matrix_extend<K>(&m, 2, 1);
    EXPECT_EQ(m, mbefore);
    matrix_extend<K>(&m, 4, 2);  // wider in rows only: columns stay 3
    EXPECT_EQ(count<K>(*m[0]), 4);
    EXPECT_EQ(count<K>(m[4][0]), 3);
    for (int i = 1; i <= 2; ++i)
        for (int j = 1; j <= 3; ++j) EXPECT_TRUE(same(m[i][j], of<K>((i - 1) * 3 + j)));
    FreeVector(v), matrix_free<K>(m);
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
        auto* r = vector_crop<K>(v, c.a, c.b);
        EXPECT_TRUE(vector_is<K>(r, c.want)) << c.a << ".." << c.b;
        FreeVector(r);
    }
    // Centred: n slots from (len - n)/2 + 1, n clamped to 0..len.
    const CropCase centred[] = {{2, 0, {3, 4}}, {3, 0, {2, 3, 4}}, {1, 0, {3}}, {0, 0, {}},
                                {6, 0, {1, 2, 3, 4, 5, 6}}, {9, 0, {1, 2, 3, 4, 5, 6}}, {-1, 0, {}}};
    for (const auto& c : centred) {
        auto* r = vector_crop_centered<K>(v, c.a);
        EXPECT_TRUE(vector_is<K>(r, c.want)) << "centred " << c.a;
        FreeVector(r);
    }
    FreeVector(v);
}

TYPED_TEST(Containers, MatrixCropsTakeInclusiveRanges) {
    using K = TypeParam;
    auto** m = make_matrix<K>(grid(4, 5), 5);
    auto** row2 = matrix_crop<K>(m, 2, 2, 1, 5);
    EXPECT_TRUE(matrix_is<K>(row2, {{6, 7, 8, 9, 10}}, 5));
    auto** block = matrix_crop<K>(m, 0, 2, 4, 9);
    EXPECT_TRUE(matrix_is<K>(block, {{4, 5}, {9, 10}}, 2));
    auto** centre = matrix_crop_centered<K>(m, 2, 3);
    EXPECT_TRUE(matrix_is<K>(centre, {{7, 8, 9}, {12, 13, 14}}, 3));
    for (auto** x : {row2, block, centre}) matrix_free<K>(x);
    matrix_free<K>(m);
}

TYPED_TEST(Containers, JoinsPadTheShorterSideWithZeros) {
    using K = TypeParam;
    CountingAlloc counter;
    auto* a = make_vector<K>({1, 2});
    auto* b = make_vector<K>({3});
    auto* j = vector_join<K>(a, b);
    EXPECT_TRUE(vector_is<K>(j, {1, 2, 3}));
    vector_augment<K>(&a, a);  // aliasing: b is the old a
    EXPECT_TRUE(vector_is<K>(a, {1, 2, 1, 2}));

    auto** ma = make_matrix<K>(grid(2, 2), 2);
    auto** mb = make_matrix<K>(grid(1, 3, 10), 3);
    auto** h = matrix_join_h<K>(ma, mb);
    EXPECT_TRUE(matrix_is<K>(h, {{1, 2, 0}, {3, 4, 0}, {10, 11, 12}}, 3));
    auto** v = matrix_join_v<K>(ma, mb);
    EXPECT_TRUE(matrix_is<K>(v, {{1, 2, 10, 11, 12}, {3, 4, 0, 0, 0}}, 5));
    matrix_augment_v<K>(&ma, ma);
    EXPECT_TRUE(matrix_is<K>(ma, {{1, 2, 1, 2}, {3, 4, 3, 4}}, 4));
    matrix_augment_h<K>(&ma, mb);
    EXPECT_TRUE(matrix_is<K>(ma, {{1, 2, 1, 2}, {3, 4, 3, 4}, {10, 11, 12, 0}}, 4));
    FreeVector(a), FreeVector(b), FreeVector(j);
    for (auto** x : {ma, mb, h, v}) matrix_free<K>(x);
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
        if (op == 0 || op == 1) {  // insert a row of random length, or append one (clamped)
            const int len = std::uniform_int_distribution<int>(0, cols + 2)(rng);
            std::vector<int> codes(len);
            for (auto& c : codes) c = next++;
            auto* row = make_vector<K>(codes);
            const int at = std::clamp(op == 0 ? pick(rows) : INT32_MAX, 1, rows + 1);
            matrix_insert_row<K>(&m, op == 0 ? at : INT32_MAX, row);
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
            matrix_insert_col<K>(&m, at, col);
            for (int i = 0; i < rows; ++i) model[i].insert(model[i].begin() + at - 1, i < len ? codes[i] : 0);
            ++cols;
            FreeVector(col);
        } else if (op == 3) {
            const int i = pick(rows);
            matrix_remove_row<K>(m, i);
            if (i >= 1 && i <= rows) model.erase(model.begin() + i - 1);
        } else if (op == 4 && rows > 0) {
            const int j = pick(cols);
            matrix_remove_col<K>(m, j);
            if (j >= 1 && j <= cols) {
                for (auto& r : model) r.erase(r.begin() + j - 1);
                --cols;
            }
        } else if (op == 5) {
            const int i = pick(rows), j = pick(rows);
            matrix_swap_rows<K>(m, i, j);
            if (i >= 1 && i <= rows && j >= 1 && j <= rows) std::swap(model[i - 1], model[j - 1]);
        } else if (op == 6) {
            const int i = pick(cols), j = pick(cols);
            matrix_swap_cols<K>(m, i, j);
            if (i >= 1 && i <= cols && j >= 1 && j <= cols && rows > 0)
                for (auto& r : model) std::swap(r[i - 1], r[j - 1]);
        }
        ASSERT_TRUE(matrix_is<K>(m, model, cols)) << "step " << step << " op " << op;
    }
    matrix_free<K>(m);
    EXPECT_EQ(counter.live(), 0);
}

TYPED_TEST(Containers, ReorderPicksSlotsAndZeroesStrayIndices) {
    using K = TypeParam;
    auto* v = make_vector<K>({1, 2, 3, 4});
    std::int32_t order[] = {6, 4, 1, 0, 5, -2, 4};
    auto* r = vector_reorder<K>(v, order);
    EXPECT_TRUE(vector_is<K>(r, {4, 1, 0, 0, 0, 4}));
    FreeVector(v), FreeVector(r);
}

// The kinds without fallbacks hand out NULL; passing it on must be harmless.
TYPED_TEST(Containers, NullContainersYieldNullOrNothing) {
    using K = TypeParam;
    using T = Elem<K>;
    T* v = nullptr;
    T** m = nullptr;
    std::int32_t order[] = {0};
    EXPECT_EQ(vector_copy<K>(nullptr), nullptr);
    EXPECT_EQ(vector_crop<K>(nullptr, 1, 2), nullptr);
    EXPECT_EQ(matrix_crop<K>(nullptr, 1, 1, 1, 1), nullptr);
    EXPECT_EQ(vector_reorder<K>(nullptr, order), nullptr);
    vector_extend<K>(&v, 3), vector_augment<K>(&v, nullptr), matrix_extend<K>(&m, 2, 2);
    matrix_insert_row<K>(&m, 1, nullptr), matrix_remove_row<K>(nullptr, 1), matrix_swap_cols<K>(nullptr, 1, 2);
    EXPECT_TRUE(v == nullptr && m == nullptr);
}

// Every function that allocates, with each of its allocations failing in
// turn (and every one after it, so that no fallback can be had either): a
// new container is whole or NULL, a handle's container is replaced whole or
// left as it was, and nothing leaks. A builder step returns whether it
// built; a handle step, by changing the handle.
TYPED_TEST(Containers, AllocationFailureLeavesWholeResultsOrNothing) {
    using K = TypeParam;
    using T = Elem<K>;
    auto built = [](T* r, const std::vector<int>& want) {
        EXPECT_TRUE(!r || vector_is<K>(r, want));
        FreeVector(r);
        return r != nullptr;
    };
    auto built_matrix = [](T** r, const Model& want, int cols) {
        EXPECT_TRUE(!r || matrix_is<K>(r, want, cols));
        matrix_free<K>(r);
        return r != nullptr;
    };
    std::int32_t order[] = {2, 3, 1};
    const std::function<bool(T*&, T**&)> steps[] = {
        [&](T*& v, T**&) { return built(vector_copy<K>(v), {1, 2, 3}); },
        [&](T*& v, T**&) { return built(vector_crop<K>(v, 2, 3), {2, 3}); },
        [&](T*& v, T**&) { return built(vector_join<K>(v, v), {1, 2, 3, 1, 2, 3}); },
        [&](T*& v, T**&) { return built(vector_reorder<K>(v, order), {3, 1}); },
        [&](T*&, T**& m) { return built_matrix(matrix_copy<K>(m), grid(2, 3), 3); },
        [&](T*&, T**& m) { return built_matrix(matrix_crop_centered<K>(m, 1, 2), {{1, 2}}, 2); },
        [&](T*&, T**& m) { return built_matrix(matrix_join_v<K>(m, m), {{1, 2, 3, 1, 2, 3}, {4, 5, 6, 4, 5, 6}}, 6); },
        [](T*& v, T**&) { return vector_extend<K>(&v, 9), false; },
        [](T*& v, T**&) { return vector_augment<K>(&v, v), false; },
        [](T*&, T**& m) { return matrix_extend<K>(&m, 4, 4), false; },
        [](T*&, T**& m) { return matrix_augment_h<K>(&m, m), false; },
        [](T*&, T**& m) { return matrix_augment_v<K>(&m, m), false; },
        [](T*& v, T**& m) { return matrix_insert_row<K>(&m, 2, v), false; },
        [](T*& v, T**& m) { return matrix_insert_col<K>(&m, 1, v), false; },
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
            FreeVector(v), matrix_free<K>(m);
            EXPECT_EQ(counter.live(), 0) << s << " " << k;
            if (done) break;
            ASSERT_LT(k, 20) << s;
        }
    }
}

}  // namespace
}  // namespace ostr::test
