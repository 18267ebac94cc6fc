// What the constructors hand back when memory runs out (or a size is
// impossible), string vectors with their wiping release, and vectors of
// matrices: one table row per constructor, swept over every allocation.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/memory.hpp"
#include "ostravine/core.h"
#include "ostravine/numeric.h"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

// A constructor, the test of its fallback (what one failed allocation must
// yield instead of the result), and its release.
struct CtorCase {
    const char* name;
    std::function<void*()> make;
    std::function<bool(void*)> is_fallback;
    std::function<void(void*)> release;
};

template <class T>
double value(const T& s) {
    if constexpr (std::is_same_v<T, Complex>) return s.im == 0 ? s.re : NAN;
    else return static_cast<double>(s);
}
bool is_null(void* p) { return p == nullptr; }
// One slot holding 0.
template <class T>
bool empty_vector(void* p) {
    return p && value(*static_cast<T*>(p)) == 0;
}
// 1 x 1 holding 0.
template <class T>
bool zero_matrix(void* p) {
    auto** m = static_cast<T**>(p);
    return m && value(*m[0]) == 1 && value(m[1][0]) == 1 && value(m[1][1]) == 0;
}
bool empty_strings(void* p) { return p && static_cast<char**>(p)[0][0] == '\0'; }
bool empty_string_rows(void* p) { return p && static_cast<char***>(p)[0][0][0] == '\0'; }

template <class T>
CtorCase vector_case(const char* name, T* (*make)(int32_t), bool null) {
    return {name, [make] { return static_cast<void*>(make(5)); }, null ? is_null : empty_vector<T>,
            [](void* p) { FreeVector(p); }};
}

template <class T>
CtorCase matrix_case(const char* name, T** (*make)(int32_t, int32_t), void (*release)(T**), bool null) {
    return {name, [make] { return static_cast<void*>(make(3, 4)); }, null ? is_null : zero_matrix<T>,
            [release](void* p) { release(static_cast<T**>(p)); }};
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
    char* texts[] = {const_cast<char*>("a"), const_cast<char*>("bc"), const_cast<char*>("")};
    char*** string_rows = StringMatrix(2, 2);
    const CtorCase cases[] = {
        vector_case("Vector", Vector, false),
        vector_case("VectorC", VectorC, false),
        vector_case("VectorUInt32", VectorUInt32, false),
        vector_case("Vector0", Vector0, false),
        vector_case("Vector0C", Vector0C, false),
        vector_case("Vector0L", Vector0L, false),
        vector_case("Vector1L", Vector1L, false),
        vector_case("VectorF", VectorF, true),
        vector_case("VectorI", VectorI, true),
        matrix_case("Matrix", Matrix, FreeMatrix, false),
        matrix_case("MatrixC", MatrixC, FreeMatrixC, false),
        matrix_case("MatrixL", MatrixL, FreeMatrixL, false),
        matrix_case("Matrix0", Matrix0, FreeMatrix, false),
        matrix_case("Matrix0C", Matrix0C, FreeMatrixC, false),
        matrix_case("MatrixI", MatrixI, FreeMatrixI, true),
        matrix_case("MatrixF", MatrixF, FreeMatrixF, true),
        matrix_case("MatrixUInt32", MatrixUInt32, FreeMatrixUInt32, true),
        // The empty fallback has no slot 1 for x.
        {"VectorS", [] { return static_cast<void*>(VectorS(2.5)); }, empty_vector<double>, FreeVector},
        {"MatrixVector", [] { return static_cast<void*>(MatrixVector(3, 2, 5)); },
         [](void* p) { return p && *static_cast<double**>(p)[0] == 0; },
         [](void* p) { FreeMatrixVector(static_cast<double***>(p)); }},
        {"StringVector", [] { return static_cast<void*>(StringVector(4)); }, empty_strings,
         [](void* p) { FreeStringVector(static_cast<char**>(p)); }},
        {"CopyStringVector", [&] { return static_cast<void*>(CopyStringVector(texts)); }, empty_strings,
         [](void* p) { FreeStringVector(static_cast<char**>(p)); }},
        {"StringMatrix", [] { return static_cast<void*>(StringMatrix(2, 3)); }, empty_string_rows,
         [](void* p) { FreeStringMatrix(static_cast<char***>(p)); }},
        {"CopyStringMatrix", [&] { return static_cast<void*>(CopyStringMatrix(string_rows)); }, empty_string_rows,
         [](void* p) { FreeStringMatrix(static_cast<char***>(p)); }},
    };
    for (const auto& c : cases) {
        // The k-th allocation alone fails, k = 1, 2, ... until the
        // constructor needs fewer than k: each failing attempt must yield the
        // fallback, and nothing may leak.
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
        // Every allocation failing from the k-th on: not even the fallback
        // can be had, so the result is NULL or whole, and nothing leaks.
        for (long k = 0;; ++k) {
            CountingAlloc counter;
            counter.fail_after(k);
            void* p = c.make();
            counter.fail_after(-1);
            EXPECT_TRUE(!p || !c.is_fallback(p)) << c.name << " k=" << k;
            if (p) c.release(p);
            EXPECT_EQ(counter.live(), 0) << c.name << " k=" << k;
            if (p) break;
        }
    }
    FreeStringMatrix(string_rows);
}

TEST(Fallback, ImpossibleSizesFillsAndReleases) {
    CountingAlloc counter;
    double* v = Vector(-1);
    double** m = Matrix(-3, 2);
    double** mc = Matrix(2, -1);
    EXPECT_TRUE(empty_vector<double>(v) && zero_matrix<double>(m) && zero_matrix<double>(mc));
    // A float counts exactly only up to 2^24; a longer float vector could
    // not say its own length.
    EXPECT_EQ(VectorF((1 << 24) + 1), nullptr);
    double* s = VectorS(2.5);
    int32_t* ones = Vector1L(3);
    Complex** z = Matrix0C(2, 2);
    double* d = AllocDouble(-0.5);
    int32_t* i = AllocInt(-7);
    EXPECT_TRUE(s[0] == 1 && s[1] == 2.5);
    EXPECT_TRUE(ones[0] == 3 && ones[1] == 1 && ones[2] == 1 && ones[3] == 1);
    EXPECT_TRUE(z[2][2].re == 0 && z[2][2].im == 0 && z[0]->re == 2 && z[0]->im == 0);
    EXPECT_TRUE(*d == -0.5 && *i == -7);
    // A vector of vectors with an int32 count in slot 0 (FreeVectorV reads
    // it so), and a vector of matrices.
    auto** vv = static_cast<void**>(mem_alloc(3 * sizeof(void*)));
    vv[0] = AllocInt(2);
    vv[1] = Vector(4);
    vv[2] = VectorC(1);
    double*** mv = MatrixVector(3, 2, 5);
    EXPECT_EQ(*reinterpret_cast<double*>(mv[0]), 3);
    EXPECT_TRUE(mv[3][0][0] == 2 && mv[3][2][0] == 5);
    FreeVector(v), FreeMatrix(m), FreeMatrix(mc), FreeVector(s), FreeVectorL(ones), FreeMatrixC(z);
    FreeBlock(d), FreeBlock(i), FreeVectorV(vv), FreeMatrixVector(mv);
    EXPECT_EQ(counter.live(), 0);
}

TEST(StringVectors, ZerosClosedByAnEmptyTextOrRow) {
    CountingAlloc counter;
    char** none = StringVector(0);
    char** negative = StringVector(-2);
    char** three = StringVector(3);
    EXPECT_TRUE(none[0][0] == '\0' && negative[0][0] == '\0' && three[3][0] == '\0');
    for (int i = 0; i < 3; ++i) EXPECT_STREQ(three[i], "0");
    three[1][0] = 'x';
    char** copy = CopyStringVector(three);
    EXPECT_TRUE(std::string(copy[1]) == "x" && copy[1] != three[1] && copy[3][0] == '\0');
    char*** m = StringMatrix(2, 3);
    EXPECT_TRUE(std::string(m[1][2]) == "0" && m[1][3][0] == '\0' && m[2][0][0] == '\0');
    m[0][1][0] = 'q';
    char*** c = CopyStringMatrix(m);
    EXPECT_TRUE(c != m && std::string(c[0][1]) == "q" && c[2][0][0] == '\0');
    char*** no_columns = StringMatrix(4, 0);
    EXPECT_EQ(no_columns[0][0][0], '\0');
    FreeStringVector(none), FreeStringVector(negative), FreeStringVector(three), FreeStringVector(copy);
    FreeStringMatrix(m), FreeStringMatrix(c), FreeStringMatrix(no_columns);
    EXPECT_EQ(counter.live(), 0);
}

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

}  // namespace
}  // namespace ostr::test
