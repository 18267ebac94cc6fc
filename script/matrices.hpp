// Matrices in the statement layer: the literal "matrix:[1,2],[3,4];", access
// chains (m[i][j], m[i], m.det()), element assignment, methods, printing,
// comparison and the constructors zeros(r,c) and identity(n). The value
// block is the object layer's (objects/matrix.hpp), the arithmetic the
// evaluator's (lang/matrices.hpp).
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "lang/matrices.hpp"
#include "script/containers.hpp"

namespace ostr::script {

// "matrix:row,row,...;" where each row is an expression giving an array;
// all rows of one length, elements numbers or formulas.
lang::Value matrix_literal(std::string_view inside, Arbenv* env);
// An array of arrays of one length as a matrix (a.matrix()); an array of
// numbers is one row.
lang::Value matrix_from_array(const obj::ArrayValue& a);

// The steps of an access chain on a matrix: the variable `root` (changing
// methods change it) or a value (they change a copy).
lang::Value matrix_chain(const Access& a, obj::Object* root, Arbenv* env);
lang::Value matrix_chain(const Access& a, lang::Value base, Arbenv* env);
// The same with every step's index or arguments evaluated already.
lang::Value matrix_steps(const Access& a, std::vector<std::vector<lang::Value>>& args, lang::Value base, Arbenv* env);

// m[i][j]=x and m[i]=[...] on a matrix variable: nothing when `left` is no
// such element, else the answer of the assignment (empty on success).
std::optional<Text> assign_matrix_element(std::string_view left, std::string_view right, Arbenv* env);

// "matrix:[1,2],[3,4];": typed back in, the same matrix.
Text print_matrix(const obj::Object* o, int digits);
int matrix_compare(const lang::Value& a, const lang::Value& b, lang::ops::Cond c);

// The methods of matrices, looked up by name; null for an unknown name.
const MethodRow* matrix_method(std::string_view name) noexcept;
std::span<const MethodRow> matrix_methods() noexcept;

// An array of the numbers xs (real, or complex as la::cplx).
template <class T>
lang::Value number_array(const std::vector<T>& xs) {
    obj::ArrayValue* a = obj::new_array();
    lang::Value out = lang::array_value(a);
    if (out.is_error()) return out;
    for (const T& x : xs) {
        obj::Item it;
        if constexpr (std::is_same_v<T, la::cplx>)
            it.num = {x.real() + 0.0, x.imag() + 0.0};
        else
            it.num = {x + 0.0, 0};
        a->items.push_back(it);
    }
    return out;
}

// The printer, comparison and constructors, at start-up.
void install_matrices();

}  // namespace ostr::script
