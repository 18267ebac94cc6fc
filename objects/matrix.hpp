// Matrix values: a reference-counted block of rows × columns items, shared
// by every holder and copied only when a holder that shares it changes it
// (copy on write), as arrays are. An item is a number held inline or an
// owned formula (an algebraic object); the numeric methods refuse a matrix
// that holds a formula, the structural ones (transpose, append, ...) keep it.
#pragma once

#include <cstdint>
#include <vector>

#include "objects/containers.hpp"

namespace ostr::obj {

// Elements of one matrix: 2^22 (a 2048 × 2048 matrix) keeps every copy the
// kernels make well inside the memory of a small machine.
inline constexpr std::size_t max_matrix_elements = std::size_t{1} << 22;

struct MatrixValue {
    std::uint32_t refs = 1;
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::vector<Item, WipingAllocator<Item>> items;  // row-major, rows·cols

    Item& at(std::size_t i, std::size_t j) noexcept { return items[i * cols + j]; }
    const Item& at(std::size_t i, std::size_t j) const noexcept { return items[i * cols + j]; }
};

// A new r × c block of zeros, held once; null when memory runs out or the
// size is zero or past the bound.
[[nodiscard]] MatrixValue* new_matrix(std::size_t rows, std::size_t cols);
void release_matrix(void* v) noexcept;
[[nodiscard]] void* share_matrix(void* v) noexcept;
const ValueHandlers& matrix_handlers() noexcept;

// An object of tag matrix holding the block (whose reference passes to the
// object); null when memory runs out (the reference is then dropped).
[[nodiscard]] Object* make_matrix(MatrixValue* value, Arbenv* env, std::string_view name = {});
inline MatrixValue* matrix_of(const Object* o) noexcept { return static_cast<MatrixValue*>(o->value); }
// The holder's block, made its own first when it is shared.
[[nodiscard]] MatrixValue* writable_matrix(Object* holder);
// A deep copy of a block (formulas copied), held once.
[[nodiscard]] MatrixValue* clone_matrix(const MatrixValue& m);

}  // namespace ostr::obj
