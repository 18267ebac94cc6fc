// The predefined functions with a big version: big(), idiv(), the integer
// functions (exact on exact integers) and the elementary functions at the
// working precision. A predefined function without a big version sees its
// big arguments as the nearest doubles.
#include <algorithm>
#include <cmath>

#include "bignum/float.hpp"
#include "core/runtime.hpp"
#include "lang/bignum.hpp"
#include "lang/builtins.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {
namespace {

using big::Float;
using big::Stop;

using Arg = BigArg;

bool poll() noexcept { return core::should_stop(); }

Value make(const Float& x, bool inexact, int digits) { return make_big(x, inexact, digits); }

struct Ctx {
    int digits;
    std::uint64_t bits;
    Stop stop;
};

template <class F>
Value guarded(Arbenv* env, F&& f) {
    const int digits = big_precision(env);
    if (digits == 0) return Value::failure();
    Ctx c{digits, big::bits_for_digits(static_cast<std::uint64_t>(digits)), Stop{nullptr, false, poll}};
    try {
        return f(c);
    } catch (const big::Aborted&) {
        return Value::failure(Error::evaluation_aborted);
    } catch (...) {
        return Value::failure();
    }
}

bool exact_integer(const Arg& a) { return !a.inexact && big::is_integer(a.x); }

Float log10(const Float& x, std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + 64;
    return big::div(big::log(x, w, stop), big::log(big::from_u64(10), w, stop), bits, stop);
}

using Unary = Float (*)(const Float&, std::uint64_t, Stop&);
struct UnaryRow {
    std::string_view name;
    Unary fn;
};
constexpr UnaryRow unary_rows[] = {
    {"sqrt", big::sqrt}, {"exp", big::exp},       {"ln", big::log},        {"log", log10},
    {"sin", big::sin},   {"cos", big::cos},       {"tan", big::tan},       {"arctan", big::atan},
    {"arcsin", big::asin}, {"arccos", big::acos}, {"sinh", big::sinh},     {"cosh", big::cosh},
    {"tanh", big::tanh},
};

// floor(a/n) and a - n·floor(a/n): exact for exact integers, else at the
// precision (the quotient with enough bits that its floor is right).
std::pair<Float, Float> floor_divide(const Arg& a, const Arg& n, Ctx& c, bool& inexact) {
    if (big::is_zero(n.x)) throw big::Refused{};
    inexact = !exact_integer(a) || !exact_integer(n);
    Float q;
    if (!inexact) {
        big::Nat qn, rn;
        big::div_qr(&qn, &rn, big::integer_nat(big::abs(a.x)), big::integer_nat(big::abs(n.x)), c.stop);
        big::check(c.stop);
        big::trim(rn);
        if (a.x.neg != n.x.neg && !rn.empty()) big::add_in(qn, big::Nat{1});
        q = big::normalised(a.x.neg != n.x.neg, std::move(qn), 0);
        return {q, big::sub(a.x, big::mul(n.x, q, 0, c.stop), 0, c.stop)};
    }
    const std::int64_t span = std::max<std::int64_t>(0, big::top(a.x) - big::top(n.x));
    q = big::to_integer(big::div(a.x, n.x, c.bits + static_cast<std::uint64_t>(span) + 64, c.stop), big::Round::floor);
    return {q, big::sub(a.x, big::mul(n.x, q, 0, c.stop), c.bits, c.stop)};
}

Value gcd(const Arg& a, const Arg& b, Ctx& c) {
    if (!exact_integer(a) || !exact_integer(b)) return Value::failure();
    big::Nat x = big::integer_nat(big::abs(a.x)), y = big::integer_nat(big::abs(b.x));
    while (!y.empty()) {
        big::Nat r;
        big::div_qr(nullptr, &r, x, y, c.stop);
        big::check(c.stop);
        big::trim(r);
        x = std::move(y);
        y = std::move(r);
    }
    return make(big::normalised(false, std::move(x), 0), false, c.digits);
}

// perm(n,k) = n!/(n-k)! and comb(n,k) = perm(n,k')/k'! with k' = min(k, n-k).
Value combinatorial(bool comb, const Arg& a, const Arg& b, Ctx& c) {
    if (!exact_integer(a) || !exact_integer(b) || a.x.neg || b.x.neg || big::top(a.x) > 62 || big::top(b.x) > 62)
        return Value::failure();
    const auto n = big::is_zero(a.x) ? 0 : static_cast<std::uint64_t>(big::integer_nat(a.x)[0]);
    auto k = big::is_zero(b.x) ? 0 : static_cast<std::uint64_t>(big::integer_nat(b.x)[0]);
    if (k > n) return make(Float{}, false, c.digits);
    if (comb) k = std::min(k, n - k);
    // The result has at most k·log2(n) bits.
    if (static_cast<double>(k) * std::log2(static_cast<double>(n) + 1) > 4e9) return Value::failure();
    big::Nat p = big::range_product_nat(n - k + 1, n, c.stop);
    big::check(c.stop);
    if (comb) {
        big::Nat q;
        big::div_qr(&q, nullptr, p, big::factorial_nat(k, c.stop), c.stop);
        big::check(c.stop);
        p = std::move(q);
    }
    return make(big::normalised(false, std::move(p), 0), false, c.digits);
}

Value rounding(std::string_view name, const Arg& a, Ctx& c) {
    if (name == "abs") return make(big::abs(a.x), a.inexact, c.digits);
    const big::Round r = name == "floor" ? big::Round::floor : name == "ceil" ? big::Round::ceil : big::Round::nearest;
    return make(big::to_integer(a.x, r), false, c.digits);
}

Value two_args(std::string_view name, const Arg& a, const Arg& b, Ctx& c) {
    if (name == "gcd") return gcd(a, b, c);
    if (name == "comb" || name == "perm") return combinatorial(name == "comb", a, b, c);
    bool inexact = false;
    auto [q, r] = floor_divide(a, b, c, inexact);
    return name == "idiv" ? make(q, inexact, c.digits) : make(r, inexact, c.digits);
}

bool has_big_version(std::string_view name) {
    for (const UnaryRow& r : unary_rows)
        if (r.name == name) return true;
    for (std::string_view n : {"abs", "floor", "ceil", "round", "mod", "gcd", "comb", "perm", "idiv"})
        if (n == name) return true;
    return false;
}

}  // namespace

std::optional<Value> big_call(std::string_view name, const Call& call, std::span<Value> args) {
    if (name == "big" || std::none_of(args.begin(), args.end(), is_big)) return std::nullopt;
    if (!has_big_version(name)) {
        // Only the numeric predefined functions see doubles; the commands of
        // the statement layer (text(), type()) see the value itself.
        if (!find_help(name)) return std::nullopt;
        for (Value& v : args) {
            if (!is_big(v)) continue;
            try {
                v = Value::number({big::to_double(big_operand(v, 64)->x), 0});
            } catch (...) {
                v = Value::failure();
            }
        }
        return std::nullopt;
    }
    return guarded(call.env, [&](Ctx& c) {
        std::optional<Arg> a = big_operand(args[0], c.bits);
        std::optional<Arg> b = args.size() > 1 ? big_operand(args[1], c.bits) : std::nullopt;
        if (!a || (args.size() > 1 && !b)) return Value::failure();
        c.digits = shown_digits(c.digits, *a, b ? &*b : nullptr);
        if (args.size() > 1) return two_args(name, *a, *b, c);
        for (const UnaryRow& r : unary_rows)
            if (r.name == name) return make(r.fn(a->x, c.bits, c.stop), true, c.digits);
        return rounding(name, *a, c);
    });
}

namespace builtin {

Value big(const Call& call, std::span<Value> values) {
    if (malformed(call)) return Value::failure();
    Value& v = values[0];
    const bool text = v.kind == Value::Kind::object && v.obj && v.obj->tag == obj::string;
    if (!text && !is_big(v)) {
        Complex z;
        if (auto bad = numbers(call, values, &z)) return std::move(*bad);
        if (z.im != 0) return Value::failure();
    }
    return guarded(call.env, [&](Ctx& c) {
        if (!text) {
            // A number, or a big value brought to the working precision.
            auto a = big_operand(v, c.bits);
            if (!a) return Value::failure();
            return make(a->inexact ? big::round_to(a->x, c.bits) : a->x, a->inexact, shown_digits(c.digits, *a));
        }
        const std::string_view t = obj::text_value(v.obj.get());
        if (t == "pi") return make(big::pi(c.bits, c.stop), true, c.digits);
        if (t == "e") return make(big::exp(big::from_u64(1), c.bits, c.stop), true, c.digits);
        Float x;
        bool exact = true;
        if (!big::from_text(t, c.bits, x, c.stop, &exact)) return Value::failure();
        return make(x, !exact, c.digits);
    });
}

Value idiv(const Call& call, std::span<Value> values) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    if (z[0].im != 0 || z[1].im != 0 || z[1].re == 0) return Value::failure();
    return written({std::floor(z[0].re / z[1].re), 0}, call);
}

}  // namespace builtin
}  // namespace ostr::lang
