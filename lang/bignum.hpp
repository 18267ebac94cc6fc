// Big numbers in the evaluator: the "bignum" values (tag 13) made by big(),
// their arithmetic through the binary table, comparison and printing through
// the type record, and the predefined functions that have a big version.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "bignum/float.hpp"
#include "lang/evaluate.hpp"
#include "objects/types.hpp"

namespace ostr::lang {

// The variable that holds the working precision in decimal digits.
inline constexpr std::string_view precision_name = "bigdigits";
inline constexpr int default_big_digits = 30;
inline constexpr int max_big_digits = static_cast<int>(big::max_shown_digits);

bool is_big(const Value& v) noexcept;

// What the functions share with the binary cells: a value as a big float
// with its inexact flag, the working precision and the making of a value.
struct BigArg {
    big::Float x;
    bool inexact = false;
    int digits = 0;  // the digits it is shown with (a big value's own)
};
// The digits a result made from these operands is shown with: the working
// precision, or fewer when an inexact operand was made with fewer (its
// further digits would not be right).
int shown_digits(int working, const BigArg& a, const BigArg* b = nullptr);
// The digits of bigdigits (30 when unset); 0 for a setting that is no
// integer from 1 to max_big_digits.
int big_precision(Arbenv* env);
// A big value, or a real number (integers exactly, others through their
// shortest text, rounded at `bits`); nothing for other values.
std::optional<BigArg> big_operand(const Value& v, std::uint64_t bits);
// A new big value shown with `digits` digits; an error when memory runs out.
Value make_big(const big::Float& x, bool inexact, int digits);

// The binary-table cells of tag 13 (with itself and with numbers), its
// printer and its comparison.
void fill_big_pairs(obj::TypeTable& types);

// -x for a big value; nothing for any other value.
std::optional<Value> negated_big(const Value& v);
// x! exact for a big integer x >= 0; ">invalid_expression<" otherwise.
Value big_factorial(const Value& v);

// A predefined function called with a big argument: the big version when
// the function has one. A function without one gets its big arguments as
// the nearest doubles (in place in `args`) and nothing is returned, so the
// plain function runs.
std::optional<Value> big_call(std::string_view name, const Call& call, std::span<Value> args);

namespace builtin {
// big(x): a number, a big value or a string of decimal text ("pi", "e").
Value big(const Call& call, std::span<Value> values);
// idiv(a,n): floor(a/n), exact for integers.
Value idiv(const Call& call, std::span<Value> values);
}  // namespace builtin

}  // namespace ostr::lang
