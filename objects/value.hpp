// The lightweight value of the evaluator: a complex number, a formula (a
// pair of expression texts), an error word or an object. It sits beside the
// object record because the type table's handlers take and return it.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "formula/formula.hpp"
#include "objects/object.hpp"

namespace ostr::obj {

// The file commands' words name why a file could not be used.
enum class Error : std::uint8_t {
    invalid_expression, invalid_object, invalid_assignment, evaluation_aborted,
    file_not_found, file_not_readable, is_a_directory, file_not_writable, malformed_csv, malformed_file
};
inline constexpr std::size_t error_count = 10;
inline std::string_view error_word(Error e) noexcept {
    constexpr std::string_view words[error_count] = {
        ">invalid_expression<", ">invalid_object<", ">invalid_assignment<", ">evaluation_aborted<",
        ">file_not_found<",     ">file_not_readable<", ">is_a_directory<",  ">file_not_writable<",
        ">malformed_csv<",      ">malformed_file<"};
    return words[static_cast<std::size_t>(e)];
}

using ObjectPtr = OwnedObject;

struct Value {
    enum class Kind : std::uint8_t {
        number,   // tag 12 "numeric"
        formula,  // tag 1 "algebraic": re + i*im as texts
        pair,     // tag 11: a text pair made by a higher layer
        error,    // an error word; an algebraic object once stored
        object,   // any other object, owned
    };
    Kind kind = Kind::number;
    Error error = Error::invalid_expression;
    Complex num{0.0, 0.0};
    formula::TextPair text;
    ObjectPtr obj;

    static Value number(Complex c) {
        Value v;
        v.num = c;
        return v;
    }
    static Value formula_of(Text re, Text im = Text("0")) {
        Value v;
        v.kind = Kind::formula;
        v.text = {std::move(re), std::move(im)};
        return v;
    }
    static Value failure(Error e = Error::invalid_expression) {
        Value v;
        v.kind = Kind::error;
        v.error = e;
        return v;
    }
    static Value object_of(ObjectPtr o) {
        if (!o) return failure(Error::invalid_object);
        Value v;
        v.kind = Kind::object;
        v.obj = std::move(o);
        return v;
    }

    bool is_error() const noexcept { return kind == Kind::error; }
    // The type tag that indexes the binary operation table: the unboxed
    // kinds stand for the tag they become when stored.
    std::uint32_t tag() const noexcept {
        static constexpr std::uint32_t unboxed[] = {numeric, algebraic, internal, algebraic};
        return kind == Kind::object ? obj->tag : unboxed[static_cast<std::size_t>(kind)];
    }
};

// The three texts a binary handler sees: left operand, right operand and
// the whole expression they came from.
struct OperandTexts {
    std::string_view left;
    std::string_view right;
    std::string_view whole;
};

using BinaryHandler = Value (*)(Value& left, Value& right, char op, Arbenv* env, const OperandTexts& texts);

}  // namespace ostr::obj
