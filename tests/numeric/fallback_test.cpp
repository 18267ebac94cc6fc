// What the constructors hand back when memory runs out (or a size is
// impossible), string vectors with their wiping release, and vectors of
// matrices: one table row per constructor, sweeps over every allocation.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "numeric/memory.hpp"
#include "ostravine/core.h"
#include "ostravine/numeric.h"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

enum class Want { empty_vector, zero_matrix, null };

// Each constructor is called with its allocations failing from the first
// on; Want says what it must yield instead. `release` frees the result.
struct CtorCase {
    const char* name;
    std::function<void*()> make;
    std::function<bool(void*)> is_fallback;
    std::function<void(void*)> release;
};

template <class T>
bool empty_vector(void* p) {
    if (!p) return false;
    const T& s = *static_cast<T*>(p);
    if constexpr (std::is_same_v<T, Complex>) return s.re == 0 && s.im == 0;
    else return s == 0;
}

template <class T>
bool zero_matrix(void* p) {
    if (!p) return false;
    auto** m = static_cast<T**>(p);
    if constexpr (std::is_same_v<T, Complex>)
        return m[0]->re == 1 && m[1][0].re == 1 && m[1][1].re == 0 && m[1][1].im == 0;
    else return *m[0] == 1 && m[1][0] == 1 && m[1][1] == 0;
}

bool is_null(void* p) { return p == nullptr; }

template <class T>
CtorCase vector_case(const char* name, T* (*make)(int32_t), Want want) {
    return {name, [make] { return static_cast<void*>(make(5)); },
            want == Want::null ? is_null : empty_vector<T>, [](void* p) { FreeVector(p); }};
}

template <class T>
CtorCase matrix_case(const char* name, T** (*make)(int32_t, int32_t), void (*release)(T**), Want want) {
    return {name, [make] { return static_cast<void*>(make(3, 4)); },
            want == Want::null ? is_null : zero_matrix<T>, [release](void* p) { release(static_cast<T**>(p)); }};
}

// Fails exactly the countdown-th allocation and no other (CountingAlloc
// fails every one after the n-th, which would leave no memory for a
// fallback), and counts live blocks.
struct OneShot {
    static void* alloc(std::size_t n) {
        if (--countdown == 0) return nullptr;
        ++live;
        return std::malloc(n);
    }
    static void release(void* p) {
        if (p) --live;
        std::free(p);
    }
    static void arm(long k) {
        countdown = k, live = 0;
        set_alloc_hooks(&hooks);
    }
    static bool fired() { return countdown <= 0; }
    static void disarm() { set_alloc_hooks(nullptr); }
    static inline long countdown = 0, live = 0;
    static inline const AllocHooks hooks{alloc, std::realloc, release};
};

TEST(Fallback, ConstructorsDegradeAsTheirKindSays) {

    const CtorCase cases[] = {
        vector_case("Vector", Vector, Want::empty_vector),
        vector_case("VectorC", VectorC, Want::empty_vector),
        vector_case("VectorUInt32", VectorUInt32, Want::empty_vector),
        vector_case("Vector0", Vector0, Want::empty_vector),
        vector_case("Vector0C", Vector0C, Want::empty_vector),
        vector_case("Vector0L", Vector0L, Want::empty_vector),
        vector_case("Vector1L", Vector1L, Want::empty_vector),
        vector_case("VectorF", VectorF, Want::null),
        vector_case("VectorI", VectorI, Want::null),
        matrix_case("Matrix", Matrix, FreeMatrix, Want::zero_matrix),
        matrix_case("MatrixC", MatrixC, FreeMatrixC, Want::zero_matrix),
        matrix_case("MatrixL", MatrixL, FreeMatrixL, Want::zero_matrix),
        matrix_case("Matrix0", Matrix0, FreeMatrix, Want::zero_matrix),
        matrix_case("Matrix0C", Matrix0C, FreeMatrixC, Want::zero_matrix),
        matrix_case("MatrixI", MatrixI, FreeMatrixI, Want::null),
        matrix_case("MatrixF", MatrixF, FreeMatrixF, Want::null),
        matrix_case("MatrixUInt32", MatrixUInt32, FreeMatrixUInt32, Want::null),
    };
    for (const auto& c : cases) {
        // The k-th allocation alone fails, k = 1, 2, ... until the
        // constructor needs fewer than k: each failing attempt must yield the
        // kind's fallback (or NULL), and nothing may leak.
        for (long k = 1;; ++k) {
            OneShot::arm(k);
            void* p = c.make();
            const bool failed = OneShot::fired();
            EXPECT_EQ(failed, c.is_fallback(p)) << c.name << " k=" << k;
            if (p) c.release(p);
            OneShot::disarm();
            EXPECT_EQ(OneShot::live, 0) << c.name << " k=" << k;
            if (!failed) break;
        }
    }
    // With every allocation failing even the fallback cannot be had.
    for (const auto& c : cases) {
        CountingAlloc counter;
        counter.fail_after(0);
        EXPECT_EQ(c.make(), nullptr) << c.name;
    }
}


TEST(Fallback, ImpossibleSizesFail) {
    double* v1 = Vector(-1);
    double* v5 = Vector(-5);
    EXPECT_TRUE(empty_vector<double>(v1) && empty_vector<double>(v5));
    double** m = Matrix(-3, 2);
    EXPECT_TRUE(zero_matrix<double>(m));
    double** mc = Matrix(2, -1);
    EXPECT_TRUE(zero_matrix<double>(mc));
    // A float counts exactly only up to 2^24; a longer float vector could
    // not say its own length.
    EXPECT_EQ(VectorF((1 << 24) + 1), nullptr);
    double* empty = Vector(0);
    EXPECT_TRUE(empty_vector<double>(empty));
    FreeVector(v1), FreeVector(v5), FreeVector(empty), FreeMatrix(m), FreeMatrix(mc);
}

TEST(Fallback, ScalarsAndFillsHoldTheirValues) {
    CountingAlloc counter;
    double* s = VectorS(2.5);
    EXPECT_TRUE(s[0] == 1 && s[1] == 2.5);
    int32_t* ones = Vector1L(3);
    EXPECT_TRUE(ones[0] == 3 && ones[1] == 1 && ones[2] == 1 && ones[3] == 1);
    Complex** z = Matrix0C(2, 2);
    EXPECT_TRUE(z[2][2].re == 0 && z[2][2].im == 0 && z[0]->re == 2 && z[0]->im == 0);
    double* d = AllocDouble(-0.5);
    int32_t* i = AllocInt(-7);
    EXPECT_TRUE(*d == -0.5 && *i == -7);
    FreeVector(s), FreeVectorL(ones), FreeMatrixC(z), FreeBlock(d), FreeBlock(i);
    counter.fail_after(0);
    double* lost = VectorS(1.0);  // empty fallback cannot take x: NULL here
    EXPECT_EQ(AllocDouble(1), nullptr);
    counter.fail_after(-1);
    FreeVector(lost);
    EXPECT_EQ(counter.live(), 0);
}

// A vector of vectors with an int32 count in slot 0 (FreeVectorV reads it so).
TEST(Fallback, VectorOfVectorsAndMatrixVectorReleaseEverything) {
    CountingAlloc counter;
    auto** vv = static_cast<void**>(mem_alloc(3 * sizeof(void*)));
    vv[0] = AllocInt(2);
    vv[1] = Vector(4);
    vv[2] = VectorC(1);
    FreeVectorV(vv);
    double*** mv = MatrixVector(3, 2, 5);
    EXPECT_EQ(*reinterpret_cast<double*>(mv[0]), 3);
    EXPECT_TRUE(mv[3][0][0] == 2 && mv[3][2][0] == 5);
    FreeMatrixVector(mv);
    EXPECT_EQ(counter.live(), 0);
    for (long k = 0; k < 12; ++k) {
        counter.fail_after(k);
        double*** part = MatrixVector(3, 2, 5);
        counter.fail_after(-1);
        if (part) {
            const double n = *reinterpret_cast<double*>(part[0]);
            EXPECT_TRUE(n == 0 || n == 3) << k;
        }
        FreeMatrixVector(part);
        EXPECT_EQ(counter.live(), 0) << k;
    }
}

// ---- string vectors

// The texts of the vector under release, by address and length: when one of
// them reaches the allocator it must already be all zeros.
std::vector<std::pair<void*, std::size_t>> watched;
std::size_t nonzero_at_free = 0;
void inspecting_free(void* p) {
    for (const auto& [text, len] : watched)
        if (text == p)
            for (std::size_t i = 0; i < len; ++i) nonzero_at_free += static_cast<unsigned char*>(p)[i] != 0;
    std::free(p);
}

TEST(StringVectors, HoldZerosAndCloseWithAnEmptyText) {
    CountingAlloc counter;
    char** none = StringVector(0);
    EXPECT_STREQ(none[0], "");
    char** three = StringVector(3);
    for (int i = 0; i < 3; ++i) EXPECT_STREQ(three[i], "0");
    EXPECT_STREQ(three[3], "");
    three[1][0] = 'x';
    char** copy = CopyStringVector(three);
    EXPECT_STREQ(copy[1], "x");
    EXPECT_NE(copy[1], three[1]);
    EXPECT_STREQ(copy[3], "");
    FreeStringVector(none), FreeStringVector(three), FreeStringVector(copy);
    EXPECT_EQ(counter.live(), 0);
    char** negative = StringVector(-2);
    EXPECT_STREQ(negative[0], "");
    FreeStringVector(negative);
}

TEST(StringVectors, ReleaseWipesEveryText) {
    char* texts[] = {const_cast<char*>("secret"), const_cast<char*>("more"), const_cast<char*>("")};
    char** v = CopyStringVector(texts);
    watched = {{v[0], 6}, {v[1], 4}};
    const AllocHooks hooks{std::malloc, std::realloc, inspecting_free};
    set_alloc_hooks(&hooks);
    nonzero_at_free = 0;
    FreeStringVector(v);
    set_alloc_hooks(nullptr);
    EXPECT_EQ(nonzero_at_free, 0u);
}

// One failed text: the empty string vector. Every allocation failing from
// the k-th on: NULL or a whole vector, nothing leaked.
TEST(StringVectors, FailuresFallBackToTheEmptyVector) {
    char* texts[] = {const_cast<char*>("a"), const_cast<char*>("bc"), const_cast<char*>("")};
    for (long k = 0; k < 6; ++k) {
        CountingAlloc counter;
        counter.fail_after(k);
        char** s = StringVector(4);
        counter.fail_after(-1);
        EXPECT_TRUE(!s || (std::string(s[3]) == "0" && s[4][0] == '\0')) << k;
        FreeStringVector(s);
        EXPECT_EQ(counter.live(), 0) << k;
    }
    for (long k = 1; k <= 4; ++k) {  // array, three texts
        OneShot::arm(k);
        char** s = StringVector(2);
        OneShot::disarm();
        EXPECT_TRUE(s && s[0][0] == '\0') << k;
        OneShot::arm(k);
        char** c = CopyStringVector(texts);
        OneShot::disarm();
        EXPECT_TRUE(c && c[0][0] == '\0') << k;
        FreeStringVector(s), FreeStringVector(c);
    }
}

TEST(StringMatrices, RowsOfZerosClosedByAnEmptyRow) {
    CountingAlloc counter;
    char*** m = StringMatrix(2, 3);
    EXPECT_TRUE(std::string(m[1][2]) == "0" && m[1][3][0] == '\0' && m[2][0][0] == '\0');
    m[0][1][0] = 'q';
    char*** c = CopyStringMatrix(m);
    EXPECT_TRUE(c != m && std::string(c[0][1]) == "q" && c[2][0][0] == '\0');
    char*** none = StringMatrix(4, 0);
    EXPECT_EQ(none[0][0][0], '\0');
    FreeStringMatrix(m), FreeStringMatrix(c), FreeStringMatrix(none);
    EXPECT_EQ(counter.live(), 0);
    for (long k = 1;; ++k) {  // one failure: the empty string matrix
        OneShot::arm(k);
        char*** f = StringMatrix(2, 2);
        const bool failed = OneShot::fired();
        OneShot::disarm();
        EXPECT_TRUE(f && (failed ? f[0][0][0] == '\0' : f[2][0][0] == '\0')) << k;
        FreeStringMatrix(f);
        if (!failed) break;
    }
    for (long k = 0; k < 12; ++k) {  // all failing from the k-th: NULL or whole
        counter.fail_after(k);
        char*** f = StringMatrix(2, 2);
        counter.fail_after(-1);
        FreeStringMatrix(f);
        EXPECT_EQ(counter.live(), 0) << k;
    }
}

}  // namespace
}  // namespace ostr::test
