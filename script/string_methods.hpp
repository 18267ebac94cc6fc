// The string type's own methods ("abc".upper(), s.find("b")) as a table of
// {name, arity, function}, the call syntax that reaches them, and the
// predefined functions on strings (digests, Base64, text and number).
#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "lang/value.hpp"
#include "objects/environment.hpp"

namespace ostr::script {

// A method takes the string it is called on and its evaluated arguments and
// answers a value; it never parses. The dispatcher has checked the count.
using StringMethodFn = lang::Value (*)(std::string_view self, std::span<lang::Value> args, Arbenv* env);

struct StringMethod {
    std::string_view name;
    int arity;
    StringMethodFn fn;
};

// Every row of the table; a name may have one row per argument count.
std::span<const StringMethod> string_methods() noexcept;
// The row of that name and argument count, or null.
const StringMethod* find_string_method(std::string_view name, std::size_t arity) noexcept;

// A text of the form receiver.name(arguments): the receiver is evaluated,
// and when it is a string the method of the table runs. False when the text
// does not have that form (the caller tries its other atoms).
bool string_method_call(std::string_view text, Arbenv* env, lang::Value* out);

// Registers sha512, sha256, saltedhash, testsaltedhash, base64, unbase64,
// text and number as predefined functions.
void install_string_functions();

// The bytes of a string value; false for any other value.
bool string_arg(const lang::Value& v, std::string_view& out) noexcept;
// A new string value; past the length bound the line is aborted instead.
lang::Value string_result(std::string_view text, Arbenv* env);

// A number text as the language reads it (decimal, 0x, 0b) with one
// optional sign and white space around it; nothing for any other text.
std::optional<double> number_of_text(std::string_view s);

// ---- UTF-8 text, shared by the methods and their tests ----

// The end of the character that starts at byte i: one well-formed UTF-8
// sequence, or one byte when the bytes there are not one. Every byte text
// is thus cut into characters in exactly one way.
std::size_t next_char(std::string_view s, std::size_t i) noexcept;
std::size_t char_count(std::string_view s) noexcept;

// The byte offsets of the non-overlapping occurrences of `part` in `s`, from
// the left, that begin and end on character boundaries; `part` not empty.
// At most `limit` of them.
std::vector<std::size_t> occurrences(std::string_view s, std::string_view part,
                                     std::size_t limit = static_cast<std::size_t>(-1));
// The pieces of s between the occurrences of sep (sep not empty): one more
// piece than occurrences. The core of split, ready for arrays.
std::vector<std::string_view> split_pieces(std::string_view s, std::string_view sep);

}  // namespace ostr::script
