// Arrays and maps in the evaluator: values to and from container items,
// element-wise arithmetic (the binary-table cells of tag 5), and calls of
// predefined functions with array arguments.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "lang/evaluate.hpp"
#include "lang/value.hpp"
#include "objects/containers.hpp"
#include "objects/types.hpp"

namespace ostr::lang {

struct Builtin;
struct Globals;

// The value of an item: a number as itself, an object as value_of gives it
// (a nested container shares its block).
Value item_value(const obj::Item& item);
// A value made into an item: numbers inline, formulas as algebraic objects,
// strings and containers as the object itself (held by no environment).
// False for an error or a kind an item cannot hold; `v` is then unchanged.
[[nodiscard]] bool to_item(Value& v, obj::Item& out);
// True when the value is an object of tag array / map.
bool is_array(const Value& v) noexcept;
bool is_map(const Value& v) noexcept;
// A value holding a new array object with these items (taken over); an error
// when memory runs out.
Value array_value(obj::ArrayValue* block);

// The binary-table cells of arrays: with a number or a formula on either
// side the operator acts on every element; two arrays of one size combine
// element by element. Other sizes or kinds are ">invalid_expression<".
void fill_array_pairs(obj::TypeTable& types);
// -a: every element negated; ">invalid_expression<" for a value that is no
// array.
Value negated_array(Value& v);

// A predefined function called with array arguments: a function of any
// number of arguments (the statistics) takes the elements of an array as its
// arguments; one of a fixed count is applied element by element, arrays of
// one size together and other arguments to every element. Nothing when no
// argument is an array or the function is not predefined.
std::optional<Value> array_call(const Builtin& b, std::string_view name, const Call& call, std::span<Value> args);

}  // namespace ostr::lang
