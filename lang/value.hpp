// The evaluator's side of values: a stored object's value, values stored
// as object records, and the text shown for a value.
#pragma once

#include <string_view>

#include "objects/value.hpp"

namespace ostr::lang {

// The value and its parts live beside the object record (objects/value.hpp)
// so that the type table can name them; the evaluator knows them by these
// names.
using obj::Error;
using obj::error_word;
using obj::ObjectDeleter;
using obj::ObjectPtr;
using obj::Value;

// The value of a stored object, as its type's record says: numbers and
// formulas as themselves, an algebraic text that is or holds an error word
// as that error, any other object as a copy.
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
