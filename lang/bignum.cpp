// The "bignum" values in the evaluator. A value is a big binary float with
// two flags that matter here: inexact (rounded somewhere on its way) and the
// decimal digits it is shown with, kept in the high half of its 64-bit field.
// Exact values stay exact through + - * and integer powers; everything that
// rounds works at the precision of the variable bigdigits (30 digits when it
// is not set) and marks its result inexact.
#include "lang/bignum.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "bignum/float.hpp"
#include "core/runtime.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {
namespace {

using big::Float;

using Big = BigArg;

// The working precision, in decimal digits: the variable bigdigits where it
// is an integer in range, else 0 (a setting out of range is an error of the
// line, not a silent default).
int precision_of(Arbenv* env) {
    const obj::Object* o = env ? obj::resolve(env, precision_name) : nullptr;
    if (!o) return default_big_digits;
    if (o->tag != obj::numeric) return 0;
    const Complex c = obj::numeric_value(o);
    if (c.im != 0 || c.re != std::floor(c.re) || c.re < 1 || c.re > max_big_digits) return 0;
    return static_cast<int>(c.re);
}

bool stop_requested() noexcept { return core::should_stop(); }

big::Stop line_stop() { return big::Stop{nullptr, false, stop_requested}; }

const obj::BignumValue* big_value(const Value& v) noexcept {
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::bignum) return nullptr;
    return static_cast<const obj::BignumValue*>(v.obj->value);
}

Big from_object(const obj::BignumValue* b) {
    return {big::from_parts(static_cast<const BitArray*>(b->mantissa), static_cast<const BitArray*>(b->exponent),
                            b->field),
            (b->field & big::flag_inexact) != 0, static_cast<int>(b->field >> 32)};
}

// A double as a big value: integers exactly, other numbers through the
// shortest text that reads back as the same double (what was typed, as a
// rule: 0.1 gives the big value of "0.1", not of the double's binary value).
Big from_double(double d, std::uint64_t bits) {
    if (!std::isfinite(d)) throw big::Refused{};
    if (d == std::floor(d)) return {big::from_double(d), false};
    char text[40];
    const auto r = std::to_chars(text, text + sizeof text, d);
    big::Stop stop;
    Big out;
    bool exact = true;
    if (!big::from_text(std::string_view(text, static_cast<std::size_t>(r.ptr - text)), bits, out.x, stop, &exact))
        throw big::Refused{};
    out.inexact = !exact;
    return out;
}

std::optional<Big> operand(const Value& v, std::uint64_t bits) {
    if (const auto* b = big_value(v)) return from_object(b);
    if (v.kind == Value::Kind::number && v.num.im == 0) return from_double(v.num.re, bits);
    return std::nullopt;
}

Value make(const Float& x, bool inexact, int digits) {
    big::FloatParts p = big::to_parts(x, inexact);
    auto* b = static_cast<obj::BignumValue*>(mem_alloc(sizeof(obj::BignumValue)));
    if (!b || !p.mantissa || !p.exponent) {
        FreeBitArray(p.mantissa);
        FreeBitArray(p.exponent);
        mem_free(b);
        return Value::failure();
    }
    *b = {p.mantissa, p.exponent, p.field | (static_cast<std::int64_t>(digits) << 32)};
    return Value::object_of(
        ObjectPtr(obj::make_object(nullptr, obj::bignum, "", b, obj::type_of(obj::bignum).handlers)));
}

// Runs f(digits, bits) at the working precision of env; the engine's refusals
// become ">invalid_expression<", a stop ">evaluation_aborted<".
template <class F>
Value at_precision(Arbenv* env, F&& f) {
    const int digits = precision_of(env);
    if (digits == 0) return Value::failure();
    try {
        return f(digits, big::bits_for_digits(static_cast<std::uint64_t>(digits)));
    } catch (const big::Aborted&) {
        return Value::failure(Error::evaluation_aborted);
    } catch (const std::bad_alloc&) {
        return Value::failure();
    } catch (const big::Refused&) {
        return Value::failure();
    }
}

// An exact integer that fits an int64, for exponents and counts.
std::optional<std::int64_t> small_integer(const Big& b) {
    if (b.inexact || !big::is_integer(b.x) || big::top(b.x) > 62) return std::nullopt;
    const big::Nat n = big::integer_nat(b.x);
    const auto v = static_cast<std::int64_t>(n.empty() ? 0 : n[0]);
    return b.x.neg ? -v : v;
}

bool exact_integer(const Big& b) { return !b.inexact && big::is_integer(b.x); }

Float quotient(const Big& a, const Big& b, std::uint64_t bits, bool& inexact, big::Stop& stop) {
    if (big::is_zero(b.x)) throw big::Refused{};
    Float q = big::div(a.x, b.x, bits, stop);
    inexact = a.inexact || b.inexact || big::cmp(big::mul(q, b.x, 0, stop), a.x) != 0;
    return q;
}

// a^b: integer exponents by repeated squaring (exact for an exact base and
// b >= 0), others as exp(b·ln a) for a > 0.
Value power(const Big& a, const Big& b, int digits, std::uint64_t bits, big::Stop& stop) {
    if (auto n = small_integer(b)) {
        const bool exact = !a.inexact && *n >= 0;
        return make(big::pow_int(a.x, *n, exact ? 0 : bits, stop), !exact, digits);
    }
    if (a.x.neg || big::is_zero(a.x)) throw big::Refused{};
    const std::uint64_t w = bits + 64 + static_cast<std::uint64_t>(std::max<std::int64_t>(0, big::top(b.x)));
    const Float l = big::log(a.x, w, stop);
    return make(big::round_to(big::exp(big::mul(b.x, l, w, stop), w, stop), bits), true, digits);
}

Value big_pair(Value& l, Value& r, char op, Arbenv* env, const OperandTexts&) {
    return at_precision(env, [&](int digits, std::uint64_t bits) {
        const auto a = operand(l, bits), b = operand(r, bits);
        if (!a || !b) return Value::failure();
        big::Stop stop = line_stop();
        digits = shown_digits(digits, *a, &*b);
        const bool inexact = a->inexact || b->inexact;
        const std::uint64_t p = inexact ? bits : 0;
        switch (op) {
        case '+': return make(big::add(a->x, b->x, p, stop), inexact, digits);
        case '-': return make(big::sub(a->x, b->x, p, stop), inexact, digits);
        case '*': return make(big::mul(a->x, b->x, p, stop), inexact, digits);
        case '/': {
            bool rounded = false;
            const Float q = quotient(*a, *b, bits, rounded, stop);
            return make(q, rounded, digits);
        }
        case '^': return power(*a, *b, digits, bits, stop);
        default: return Value::failure();
        }
    });
}

// -1, 0, 1. Inexact values count as equal when they differ only in the
// guard bits below their shown digits (the noise of the rounding on their
// way): big("0.1")+big("0.2") equals big("0.3"). Exact values compare exactly.
int order(const Big& a, const Big& b) {
    const int k = big::cmp(a.x, b.x);
    if (k == 0 || (!a.inexact && !b.inexact)) return k;
    big::Stop stop;
    const int digits = shown_digits(max_big_digits, a, &b);
    const auto tolerance = static_cast<std::int64_t>(big::bits_for_digits(static_cast<std::uint64_t>(digits))) - 48;
    const Float d = big::sub(a.x, b.x, 64, stop);
    const std::int64_t scale = std::max(big::top(a.x), big::top(b.x));
    return big::top(d) <= scale - tolerance ? 0 : k;
}

int big_compare(const Value& l, const Value& r, ops::Cond c) {
    if (!big_value(l) && !big_value(r)) return -1;
    try {
        // A number beside a big value is read at that value's precision.
        int digits = max_big_digits;
        for (const Value* v : {&l, &r})
            if (const auto* b = big_value(*v); b && (b->field >> 32) > 0)
                digits = std::min(digits, static_cast<int>(b->field >> 32));
        if (digits == max_big_digits) digits = default_big_digits;
        const std::uint64_t bits = big::bits_for_digits(static_cast<std::uint64_t>(digits));
        const auto a = operand(l, bits), b = operand(r, bits);
        if (!a || !b) return -1;
        const int k = order(*a, *b);
        switch (c) {
        case ops::Cond::eq: return k == 0;
        case ops::Cond::ne: return k != 0;
        case ops::Cond::lt: return k < 0;
        case ops::Cond::gt: return k > 0;
        case ops::Cond::le: return k <= 0;
        case ops::Cond::ge: return k >= 0;
        default: return -1;
        }
    } catch (...) {
        return -1;
    }
}

// An exact integer in full; anything else with the digits it was made at.
Text print_big(const obj::Object* o, int) {
    try {
        const auto* b = static_cast<const obj::BignumValue*>(o->value);
        const Big v = from_object(b);
        big::Stop stop = line_stop();
        if (exact_integer(v)) return big::integer_text(v.x, stop);
        const auto digits = static_cast<std::uint64_t>(b->field >> 32);
        return big::decimal_text(v.x, digits ? digits : default_big_digits, stop);
    } catch (const big::Aborted&) {
        return Text(error_word(Error::evaluation_aborted));
    } catch (...) {
        return Text(error_word(Error::invalid_expression));
    }
}

}  // namespace

bool is_big(const Value& v) noexcept { return big_value(v) != nullptr; }
int big_precision(Arbenv* env) { return precision_of(env); }

int shown_digits(int working, const BigArg& a, const BigArg* b) {
    for (const BigArg* x : {&a, b})
        if (x && x->inexact && x->digits > 0) working = std::min(working, x->digits);
    return working;
}
std::optional<BigArg> big_operand(const Value& v, std::uint64_t bits) { return operand(v, bits); }
Value make_big(const big::Float& x, bool inexact, int digits) { return make(x, inexact, digits); }

void fill_big_pairs(obj::TypeTable& t) {
    obj::TypeRecord& r = t.types[obj::bignum];
    r.print = print_big;
    r.compare = big_compare;
    r.binary[obj::bignum] = big_pair;
    r.binary[obj::numeric] = big_pair;
    t.types[obj::numeric].binary[obj::bignum] = big_pair;
}

std::optional<Value> negated_big(const Value& v) {
    const auto* b = big_value(v);
    if (!b) return std::nullopt;
    try {
        const Big x = from_object(b);
        return make(big::neg(x.x), x.inexact, static_cast<int>(b->field >> 32));
    } catch (...) {
        return Value::failure();
    }
}

Value big_factorial(const Value& v) {
    const auto* b = big_value(v);
    if (!b) return Value::failure();
    return at_precision(nullptr, [&](int digits, std::uint64_t) {
        const Big x = from_object(b);
        const auto n = small_integer(x);
        // 10^8! has 2.66·10^9 bits, near the bound of one record.
        if (!n || *n < 0 || *n > 100'000'000) return Value::failure();
        big::Stop stop = line_stop();
        big::Nat f = big::factorial_nat(static_cast<std::uint64_t>(*n), stop);
        big::check(stop);
        return make(big::normalised(false, std::move(f), 0), false, digits);
    });
}

}  // namespace ostr::lang
