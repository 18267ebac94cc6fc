// Matrices in the evaluator: matrix values to dense kernel storage and back,
// and the arithmetic of the binary-table cells of tag 2 (with matrices,
// numbers, formulas and arrays as vectors).
#pragma once

#include <optional>

#include "lang/value.hpp"
#include "linalg/dense.hpp"
#include "objects/matrix.hpp"
#include "objects/types.hpp"

namespace ostr::lang {

bool is_matrix(const Value& v) noexcept;
// A value holding a new matrix object with this block (taken over); an
// error when the block is null.
Value matrix_value(obj::MatrixValue* block);

// What the elements of a matrix are: all real numbers, numbers some of
// them complex, or some formula among them.
enum class Elements { real, complex, symbolic };
Elements elements_of(const obj::MatrixValue& m) noexcept;
// Dense copies; the complex one takes real blocks too. Both expect numbers
// only (elements_of says).
la::RMat real_dense(const obj::MatrixValue& m);
la::CMat complex_dense(const obj::MatrixValue& m);
// Blocks from dense results; null when an element is not finite, the size
// is zero or past the bound, or memory runs out. Imaginary parts that are
// exactly 0 leave a real number.
[[nodiscard]] obj::MatrixValue* block_of(const la::RMat& d);
[[nodiscard]] obj::MatrixValue* block_of(const la::CMat& d);

// The matrix product, any element kinds (formulas through the evaluator's
// own arithmetic); an error word for sizes that do not fit.
Value matrix_product(const obj::MatrixValue& a, const obj::MatrixValue& b, Arbenv* env);
// m^k for an integer k: repeated squaring, negative k through the inverse.
Value matrix_power(const obj::MatrixValue& m, long long k, Arbenv* env);

// l op r element by element: two matrices of one size, or a matrix and a
// number or formula on either side.
Value elementwise(const Value& l, const Value& r, char op, Arbenv* env);

// An element value as an item a matrix may hold (a number, or a formula:
// an algebraic object; arrays, strings and maps may not), put into `slot`
// in place of what it held; false, with `slot` untouched, otherwise.
bool put_element(Value&& v, obj::Item& slot);

void fill_matrix_pairs(obj::TypeTable& types);
// -m: every element negated.
Value negated_matrix(Value& v);

}  // namespace ostr::lang
