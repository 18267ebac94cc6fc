// Counted vectors and row-pointer matrices over the element kinds of
// kinds.hpp: one template per operation, instantiated in containers.cpp for
// the kinds of OSTR_CONTAINER_KINDS (and the I kind's constructors).
//
// Vector of length n: one block of n+1 elements, slot 0 holds n in the
// element's own form, data in slots 1..n. Matrix r x c: r+1 row pointers,
// pointer 0 -> one element holding r, pointers 1..r -> vectors of length c.
#pragma once

#include <cstdint>

#include "numeric/kinds.hpp"

namespace ostr::num {

enum class Fill { none, zero, one };

template <class K>
using Elem = typename K::T;

// Constructors. `raw` forms return nullptr on any failure with nothing
// leaked; the plain forms apply the kind's fallback (or the one asked for).
template <class K> [[nodiscard]] Elem<K>* vector_raw(std::int32_t n, Fill fill) noexcept;
template <class K> [[nodiscard]] Elem<K>* vector_new(std::int32_t n, Fill fill, Fallback fb) noexcept;
template <class K> [[nodiscard]] Elem<K>** matrix_raw(std::int32_t r, std::int32_t c, Fill fill) noexcept;
template <class K> [[nodiscard]] Elem<K>** matrix_new(std::int32_t r, std::int32_t c, Fill fill,
                                                      Fallback fb) noexcept;

template <class K> std::int32_t vector_length(const Elem<K>* v) noexcept;
template <class K> std::int32_t matrix_rows(Elem<K>* const* m) noexcept;
// Read from row 1; a matrix without rows has no column count and reports 0.
template <class K> std::int32_t matrix_cols(Elem<K>* const* m) noexcept;

template <class K> void matrix_free(Elem<K>** m) noexcept;

// Copies and in-place copies (the in-place forms write data slots only:
// dst keeps its own sizes and whatever lies beyond src's extent).
template <class K> [[nodiscard]] Elem<K>* vector_copy(const Elem<K>* v) noexcept;
template <class K> void vector_copy_into(const Elem<K>* src, Elem<K>* dst) noexcept;
template <class K> [[nodiscard]] Elem<K>** matrix_copy(Elem<K>* const* m) noexcept;
template <class K> void matrix_copy_into(Elem<K>* const* src, Elem<K>** dst) noexcept;

// Growing through a handle: on allocation failure the handle is untouched.
template <class K> void vector_extend(Elem<K>** v, std::int32_t n) noexcept;
template <class K> void matrix_extend(Elem<K>*** m, std::int32_t r, std::int32_t c) noexcept;

// Crops clamp their ranges to the container; an empty range gives an empty
// container.
template <class K>
[[nodiscard]] Elem<K>* vector_crop(const Elem<K>* v, std::int32_t a, std::int32_t b) noexcept;
template <class K>
[[nodiscard]] Elem<K>* vector_crop_centered(const Elem<K>* v, std::int32_t n) noexcept;
template <class K>
[[nodiscard]] Elem<K>** matrix_crop(Elem<K>* const* m, std::int32_t r1, std::int32_t r2,
                                    std::int32_t c1, std::int32_t c2) noexcept;
template <class K>
[[nodiscard]] Elem<K>** matrix_crop_centered(Elem<K>* const* m, std::int32_t r,
                                             std::int32_t c) noexcept;

// Joins. "H" stacks b's rows under a's (rows add up, columns are the wider
// of the two); "V" sets b's columns beside a's (columns add up, rows are the
// taller). Missing slots are zero.
template <class K> [[nodiscard]] Elem<K>* vector_join(const Elem<K>* a, const Elem<K>* b) noexcept;
template <class K> void vector_augment(Elem<K>** a, const Elem<K>* b) noexcept;
template <class K> [[nodiscard]] Elem<K>** matrix_join_h(Elem<K>* const* a, Elem<K>* const* b) noexcept;
template <class K> [[nodiscard]] Elem<K>** matrix_join_v(Elem<K>* const* a, Elem<K>* const* b) noexcept;
template <class K> void matrix_augment_h(Elem<K>*** a, Elem<K>* const* b) noexcept;
template <class K> void matrix_augment_v(Elem<K>*** a, Elem<K>* const* b) noexcept;

// Rows and columns. Inserts clamp the position to 1..size+1 and fit the new
// line to the matrix (cropped or zero-padded); removes and swaps ignore an
// index outside 1..size.
template <class K> void matrix_insert_row(Elem<K>*** m, std::int32_t i, const Elem<K>* row) noexcept;
template <class K> void matrix_insert_col(Elem<K>*** m, std::int32_t j, const Elem<K>* col) noexcept;
template <class K> void matrix_remove_row(Elem<K>** m, std::int32_t i) noexcept;
template <class K> void matrix_remove_col(Elem<K>** m, std::int32_t j) noexcept;
template <class K> void matrix_swap_rows(Elem<K>** m, std::int32_t i, std::int32_t j) noexcept;
template <class K> void matrix_swap_cols(Elem<K>** m, std::int32_t i, std::int32_t j) noexcept;
// out[k] = v[order[k]]; an index outside 1..len(v) yields zero.
template <class K>
[[nodiscard]] Elem<K>* vector_reorder(const Elem<K>* v, const std::int32_t* order) noexcept;

// A vector of n double matrices r x c; slot 0 leads to one double holding n.
[[nodiscard]] double*** matrix_vector_new(std::int32_t n, std::int32_t r, std::int32_t c) noexcept;
void matrix_vector_free(double*** mv) noexcept;

}  // namespace ostr::num
