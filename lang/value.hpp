// The lightweight value of the evaluator: a complex number, a formula (a
// pair of expression texts), an error word or an object. Values become
// object records only when something stores them.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "formula/formula.hpp"
#include "objects/object.hpp"

namespace ostr::lang {

enum class Error : std::uint8_t { invalid_expression, invalid_object, invalid_assignment, evaluation_aborted };
std::string_view error_word(Error e) noexcept;

struct ObjectDeleter {
    void operator()(obj::Object* o) const noexcept { obj::free_object(o); }
};
using ObjectPtr = std::unique_ptr<obj::Object, ObjectDeleter>;

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
    // The type tag that indexes the binary operation table.
    std::uint32_t tag() const noexcept {
        switch (kind) {
        case Kind::number: return obj::numeric;
        case Kind::formula:
        case Kind::error: return obj::algebraic;
        case Kind::pair: return obj::internal;
        case Kind::object: return obj->tag;
        }
        return obj::algebraic;
    }
};

// The value of a stored object: numbers and formulas as themselves, an
// algebraic text that is or holds an error word as that error, any other
// object as a copy.
Value value_of(const obj::Object* o);

// The text pair of a number, written with 15 significant digits.
formula::TextPair number_pair(Complex c);
// One text for a pair: re, or re+im*i simplified.
Text joined(const formula::TextPair& p);

// An object record for the value, held by env, with the given name. Errors
// become algebraic objects holding the error word. Null when memory runs out.
[[nodiscard]] obj::Object* to_object(Value v, Arbenv* env, std::string_view name = {});

// The text shown for a value: numbers with `digits` significant digits
// (complex ones as "re+im*i"), formulas as their text, errors as their word.
Text display(const Value& v, int digits);

}  // namespace ostr::lang
