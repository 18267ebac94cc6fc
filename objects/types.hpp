// The type table: one record per type tag says everything the system does
// with a value of that type, so adding a type is adding one record.
//
// The records of the built-in types are constant data in types.cpp. What
// needs a higher layer (the arithmetic of the evaluator, the string printer
// of the statement layer, the methods of the containers) is filled into the
// table at start-up by that layer, through the same records.
#pragma once

#include <span>
#include <string_view>

#include "grammar/operators.hpp"
#include "objects/value.hpp"

namespace ostr::obj {

// A method called on an object ("a.size()"): the receiver and the
// evaluated arguments.
using MethodFn = Value (*)(Object& self, std::span<Value> args, Arbenv* env);

inline constexpr int any_arity = -1;

// One row of a type's method table. The function may stay null until the
// type's methods are implemented; the signature is still registered.
struct Method {
    std::string_view name;
    int arity;  // any_arity: any number of arguments
    MethodFn fn = nullptr;
};
// The signature text of a method: "size(0)", or "append()" for any count.
[[nodiscard]] Text signature(const Method& m);

struct TypeRecord {
    // The text type() reports; empty: the object's own name (tags 8, 11).
    std::string_view name{};
    // The value handlers objects of this type are made with (and that the
    // environment reader uses for a value it rebuilds from its bytes).
    ValueHandlers handlers{};
    // A copy held by env; null: a new object around the copy handler's
    // value (the record's handlers, or the source object's own).
    Object* (*copy)(const Object* source, Arbenv* env) = nullptr;
    // The evaluator's value of a stored object; null: a copy of the object.
    Value (*value_of)(const Object* o) = nullptr;
    // The text shown for an object; null: its type name.
    Text (*print)(const Object* o, int digits) = nullptr;
    // A comparison that the rule of numbers does not cover: 1 or 0, or -1
    // when this pair cannot be compared this way.
    int (*compare)(const Value& a, const Value& b, lang::ops::Cond c) = nullptr;
    // Runs before the value is freed (a node drops its edges).
    void (*release)(Object* o) = nullptr;
    // The row of the binary operation table: the handler for a value of
    // this type on the left and one of the column's type on the right.
    // Null cells answer ">invalid_expression<".
    BinaryHandler binary[tag_count]{};
    // Registered in this order on every object of the type; a later row of
    // the same name replaces the earlier one in its place.
    std::span<const Method> methods{};
};

struct TypeTable {
    TypeRecord types[tag_count];
};

namespace detail {
extern TypeTable the_type_table;
extern const TypeRecord no_type;
}  // namespace detail

// The table in use: the built-in records, completed at start-up by the
// layers above. A test may register a type of its own in a free tag. The
// lookups are inline: the evaluator asks the table at every operation.
inline TypeTable& type_table() noexcept { return detail::the_type_table; }
// The record of a tag; an empty record for a tag beyond the table.
inline const TypeRecord& type_of(std::uint32_t tag) noexcept {
    return tag < tag_count ? detail::the_type_table.types[tag] : detail::no_type;
}

// What every cell without a handler answers: ">invalid_expression<".
Value invalid_pair(Value& left, Value& right, char op, Arbenv* env, const OperandTexts& texts);
// The handler of the pair (left tag, right tag); never null.
inline BinaryHandler binary_handler(std::uint32_t left, std::uint32_t right) noexcept {
    BinaryHandler h = right < tag_count ? type_of(left).binary[right] : nullptr;
    return h ? h : invalid_pair;
}
// The text of an object through its type's printer.
Text print(const Object* o, int digits);
// The comparison of the left value's type, else of the right's: 1, 0, or
// -1 when neither type compares this pair.
int compare(const Value& a, const Value& b, lang::ops::Cond c);

}  // namespace ostr::obj
