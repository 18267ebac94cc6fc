// The methods of numbers and formulas: f.eval(), and the bit operations on
// integers x.shift(n), x.and(y), x.or(y), x.xor(y), x.not(). A receiver or
// argument that is still a formula keeps the call as a formula, which
// eval() computes once its names have values.
#include <cmath>
#include <cstdint>
#include <vector>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "numtext/numtext_adapter.hpp"
#include "script/session_notes.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;

enum class Op : std::uint8_t { eval, shift, and_, or_, xor_, not_ };
struct AlgebraMethod {
    std::string_view name;
    std::string_view call;  // ".name(", as it stands in a call
    Op op;
    int arity;
};
// The rows of the algebraic type (objects/types.cpp), with what each does.
constexpr AlgebraMethod methods[] = {
    {"eval", ".eval(", Op::eval, 0}, {"shift", ".shift(", Op::shift, 1}, {"and", ".and(", Op::and_, 1},
    {"or", ".or(", Op::or_, 1},      {"xor", ".xor(", Op::xor_, 1},      {"not", ".not(", Op::not_, 0}};

// Integers the bit operations take: exact doubles, |x| <= 2^53, in two's
// complement as 64-bit words.
constexpr double max_exact = 9007199254740992.0;

bool exact_integer(const Value& v, std::int64_t* out) {
    if (v.kind != Value::Kind::number || v.num.im != 0) return false;
    const double x = v.num.re;
    if (x != std::floor(x) || std::fabs(x) > max_exact) return false;
    *out = static_cast<std::int64_t>(x);
    return true;
}

Value integer(std::int64_t r) {
    if (r > static_cast<std::int64_t>(max_exact) || r < -static_cast<std::int64_t>(max_exact)) return Value::failure();
    return Value::number({static_cast<double>(r), 0});
}

// x*2^n for n >= 0, floor(x/2^-n) for n < 0: the arithmetic shift.
Value shifted(std::int64_t x, std::int64_t n) {
    if (n < -63) return integer(x < 0 ? -1 : 0);
    if (n < 0) return integer(x >> -n);
    if (x == 0) return integer(0);
    if (n > 53) return Value::failure();
    const std::int64_t limit = static_cast<std::int64_t>(max_exact) >> n;
    if (x > limit || x < -limit) return Value::failure();
    return integer(x * (std::int64_t{1} << n));
}

Value bitwise(Op op, const Value& x, std::span<Value> args) {
    std::int64_t a = 0, b = 0;
    if (!exact_integer(x, &a)) return Value::failure();
    if (op == Op::not_) return integer(~a);
    if (!exact_integer(args[0], &b)) return Value::failure();
    switch (op) {
    case Op::shift: return shifted(a, b);
    case Op::and_: return integer(a & b);
    case Op::or_: return integer(a | b);
    case Op::xor_: return integer(a ^ b);
    default: return Value::failure();
    }
}

// "receiver.name(args)" as a formula text: a receiver that is no plain
// name is bracketed, so that the text reads back as the same call.
Value kept_as_formula(const Value& x, std::string_view name, std::span<Value> args, Arbenv* env) {
    Text r = print_value(x, env);
    Text t = lang::scan::is_plain_name(r) ? r : Text("(") + r + Text(")");
    t += '.';
    t += name;
    t += '(';
    for (std::size_t k = 0; k < args.size(); ++k) {
        if (k) t += ',';
        t += print_value(args[k], env);
    }
    t += ')';
    return Value::formula_of(std::move(t));
}

Value apply(const AlgebraMethod& m, Value x, std::span<Value> args, Arbenv* env) {
    if (static_cast<int>(args.size()) != m.arity) return Value::failure();
    if (x.is_error()) return x;
    for (Value& a : args)
        if (a.is_error()) return Value::failure();
    if (m.op == Op::eval) return evaluate_again(std::move(x), env);
    bool formula = x.kind == Value::Kind::formula;
    for (const Value& a : args) formula = formula || a.kind == Value::Kind::formula;
    if (formula) return kept_as_formula(x, m.name, args, env);
    return bitwise(m.op, x, args);
}

// Receivers these methods take: a stored number or formula, a free name,
// a number, or a bracketed expression. False when the text's receiver is
// another object (an array's methods are its own).
bool receiver_value(std::string_view base, Arbenv* env, Value* out) {
    if (base.empty()) return false;
    if (lang::scan::is_plain_name(base)) {
        if (is_placeholder(base)) return false;
        const obj::Object* o = lang::hooks().lookup(env, base);
        if (o && o->tag != obj::numeric && o->tag != obj::algebraic) return false;
        *out = lang::evaluate(base, env);
        return true;
    }
    const bool bracketed = base.front() == '(' && lang::scan::matching_closer(base, 0) == base.size() - 1;
    if (!bracketed && !lang::is_numeric_literal(base)) return false;
    *out = lang::evaluate(base, env);
    return true;
}

}  // namespace

bool algebraic_method_atom(std::string_view text, Arbenv* env, Value* out) {
    if (text.size() < 4 || text.back() != ')') return false;
    // Most atoms that reach here are other methods' calls: a search for
    // ".name(" turns them away before the brackets are read.
    bool named = false;
    for (const AlgebraMethod& m : methods) named = named || text.find(m.call) != std::string_view::npos;
    if (!named) return false;
    // The method's own brackets: the "(" that pairs with the last ")".
    std::vector<std::uint32_t> jumps = lang::scan::bracket_jumps(text);
    if (jumps.empty()) return false;
    const std::size_t own = text.size() - 1 - jumps.back();
    for (const AlgebraMethod& m : methods) {
        if (own < m.name.size() + 1) continue;
        const std::size_t at = own - m.name.size();
        if (text.substr(at, m.name.size()) != m.name || text[at - 1] != '.') continue;
        Value x;
        if (!receiver_value(text.substr(0, at - 1), env, &x)) return false;
        std::vector<Value> args = lang::evaluate_list(text.substr(own + 1, text.size() - own - 2), env);
        *out = apply(m, std::move(x), args, env);
        return true;
    }
    return false;
}

}  // namespace ostr::script
