// Test-side view of the element kinds: each kind's C functions gathered in
// one record, so that a typed suite runs one body over all five kinds.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "ostravine/numeric.h"

namespace ostr::test {

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

inline bool same(double a, double b) { return a == b; }
inline bool same(float a, float b) { return a == b; }
inline bool same(std::int32_t a, std::int32_t b) { return a == b; }
inline bool same(std::uint32_t a, std::uint32_t b) { return a == b; }
inline bool same(Complex a, Complex b) { return a.re == b.re && a.im == b.im; }

// A model of a matrix's data as plain rows of element codes (0 = zero).
using Model = std::vector<std::vector<int>>;

}  // namespace ostr::test
