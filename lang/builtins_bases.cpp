// bin, hex and dec: a number as binary or hexadecimal text and back. The
// text is a formula value that is a numeric literal (or minus one), so it
// shows as written and computes as the number it stands for.
#include "lang/builtins.hpp"
#include "numtext/bases.hpp"

namespace ostr::lang::builtin {
namespace {

// Fraction digits asked for beyond this are more than any double has.
constexpr double max_fraction_digits = 1100;

template <int Bits>
Value base(const Call& call, std::span<Value>) {
    if (call.args.empty() || call.args.size() > 2 || malformed(call)) return Value::failure();
    Value v[2];
    Complex z[2];
    for (std::size_t k = 0; k < call.args.size(); ++k) {
        v[k] = evaluate(call.args[k], call.env);
        if (v[k].is_error()) return Value::failure(v[k].error);
        switch (as_number(v[k], &z[k])) {
        case Args::numbers: break;
        case Args::formula: return Value::formula_of(Text(call.text));
        case Args::invalid: return Value::failure();
        }
    }
    double x = 0, digits = -1;
    if (!as_real(z[0], &x)) return Value::failure();
    if (call.args.size() == 2 && (!as_real(z[1], &digits) || digits != static_cast<int>(digits) || digits < 0 ||
                                  digits > max_fraction_digits))
        return Value::failure();
    return Value::formula_of(text::base_text(x, Bits, static_cast<int>(digits)));
}

// dec(x): the number a text of bin or hex (or any number) stands for.
Value dec(const Call& call, std::span<Value> values) {
    Complex z;
    if (malformed(call)) return Value::failure();
    switch (as_number(values[0], &z)) {
    case Args::numbers: return Value::number(z);
    case Args::invalid: return Value::failure();
    case Args::formula: break;
    }
    Value again = evaluate(joined(values[0].text), call.env);
    if (as_number(again, &z) == Args::numbers) return Value::number(z);
    if (again.is_error()) return again;
    return Value::formula_of(Text(call.text));
}

}  // namespace

Value binary_text(const Call& call, std::span<Value> values) { return base<1>(call, values); }
Value hexadecimal_text(const Call& call, std::span<Value> values) { return base<4>(call, values); }
Value decimal_value(const Call& call, std::span<Value> values) { return dec(call, values); }

}  // namespace ostr::lang::builtin
