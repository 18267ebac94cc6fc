// deriv: the symbolic derivative of a formula (formula/derivative.hpp) as a
// built-in. deriv(f,x) is the formula of df/dx, deriv(f,x,a) its value at
// x=a and deriv(f,x,a,n) the n-th derivative at a. f is evaluated in a scope
// where x is a free name, so stored values of the other names are used.
#include <cmath>

#include "formula/derivative.hpp"
#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "grammar/scan.hpp"
#include "objects/environment.hpp"

namespace ostr::lang::builtin {
namespace {

// Derivatives of order above this grow past any readable size.
constexpr double max_order = 64;

// A scope under the caller's environment that holds `name` as a value.
class Scope {
public:
    Scope(Arbenv* env, std::string_view name, Value v) : scope_(obj::make_environment(env)) {
        if (!scope_) return;
        obj::Object* o = to_object(std::move(v), scope_.get(), name);
        if (!o) return;
        obj::store(scope_.get(), o);
        ok_ = true;
    }
    bool ok() const noexcept { return ok_; }
    Arbenv* get() const noexcept { return scope_.get(); }

private:
    obj::OwnedEnvironment scope_;
    bool ok_ = false;
};

Error error_of(formula::DerivativeStatus s) {
    return s == formula::DerivativeStatus::stopped ? Error::evaluation_aborted : Error::invalid_expression;
}

// The two part texts of f with the variable free: a number is the text of
// that number, anything that is neither number nor formula an error.
std::optional<Value> formula_of_argument(const Call& call, std::string_view x, formula::TextPair* out) {
    Scope scope(call.env, x, Value::formula_of(Text(x)));
    if (!scope.ok()) return Value::failure();
    Value f = evaluate(call.args[0], scope.get());
    switch (f.kind) {
    case Value::Kind::number: *out = number_pair(f.num); return std::nullopt;
    case Value::Kind::formula:
    case Value::Kind::pair: *out = std::move(f.text); return std::nullopt;
    case Value::Kind::error: return Value::failure(f.error);
    case Value::Kind::object: return Value::failure();
    }
    return Value::failure();
}

// One order of derivative of both parts.
std::optional<Value> differentiate(formula::TextPair& p, std::string_view x, bool* estimated) {
    for (Text* part : {&p.re, &p.im}) {
        if (formula::is_number(*part)) {
            *part = Text("0");
            continue;
        }
        formula::Derivative d = formula::derivative(*part, x);
        if (d.status != formula::DerivativeStatus::ok) return Value::failure(error_of(d.status));
        *estimated = *estimated || d.estimated;
        *part = std::move(d.text);
    }
    return std::nullopt;
}

Value as_value(formula::TextPair p) {
    Complex z;
    if (formula::is_number(p.re, &z.re) && formula::is_number(p.im, &z.im)) return Value::number(z);
    return Value::formula_of(std::move(p.re), std::move(p.im));
}

// The value of the part texts at x = a.
Value at(const formula::TextPair& p, std::string_view x, const Value& a, const Call& call) {
    Value copy = a.kind == Value::Kind::number ? Value::number(a.num) : Value::formula_of(a.text.re, a.text.im);
    Scope scope(call.env, x, std::move(copy));
    if (!scope.ok()) return Value::failure();
    Value re = evaluate(p.re, scope.get());
    if (p.im == "0") return re;
    Value im = evaluate(p.im, scope.get());
    Complex zr, zi;
    if (re.is_error()) return re;
    if (im.is_error()) return im;
    if (as_number(re, &zr) == Args::numbers && as_number(im, &zi) == Args::numbers)
        return written({zr.re - zi.im, zr.im + zi.re}, call);
    return Value::formula_of(Text(call.text));
}

// f(a) for a numerical estimate; nullopt when f(a) is no number.
std::optional<Complex> sample(const formula::TextPair& p, std::string_view x, double a, const Call& call) {
    Value v = at(p, x, Value::number({a, 0}), call);
    Complex z;
    if (as_number(v, &z) != Args::numbers) return std::nullopt;
    return z;
}

// Ridders' extrapolation of central differences: the step shrinks by 1.4
// per round and a Neville table removes the h^2, h^4, ... error terms; the
// entry with the smallest estimated error is kept. About 12 significant
// digits for a smooth f.
std::optional<Value> estimate(const formula::TextPair& p, std::string_view x, double a, const Call& call) {
    constexpr int rounds = 12;
    constexpr double shrink = 1.4, shrink2 = shrink * shrink;
    double h = 0.05 * std::fmax(1.0, std::fabs(a));
    Complex table[rounds][rounds];
    Complex best{NAN, NAN};
    double best_error = INFINITY;
    for (int i = 0; i < rounds; ++i, h /= shrink) {
        if (core::should_stop()) return Value::failure(Error::evaluation_aborted);
        auto up = sample(p, x, a + h, call), down = sample(p, x, a - h, call);
        if (!up || !down) return Value::failure();
        table[0][i] = {(up->re - down->re) / (2 * h), (up->im - down->im) / (2 * h)};
        double factor = shrink2;
        for (int j = 1; j <= i; ++j, factor *= shrink2) {
            const Complex &hi = table[j - 1][i], &lo = table[j - 1][i - 1];
            table[j][i] = {(hi.re * factor - lo.re) / (factor - 1), (hi.im * factor - lo.im) / (factor - 1)};
            double err = std::fmax(std::hypot(table[j][i].re - hi.re, table[j][i].im - hi.im),
                                   std::hypot(table[j][i].re - lo.re, table[j][i].im - lo.im));
            if (err <= best_error) best_error = err, best = table[j][i];
        }
        if (i > 0 && std::hypot(table[i][i].re - table[i - 1][i - 1].re, table[i][i].im - table[i - 1][i - 1].im) >=
                         2 * best_error)
            break;
    }
    if (!std::isfinite(best.re) || !std::isfinite(best.im)) return Value::failure();
    return written(best, call);
}

}  // namespace

// deriv(f,x), deriv(f,x,a), deriv(f,x,a,n).
Value deriv(const Call& call, std::span<Value>) {
    const std::size_t n_args = call.args.size();
    if (n_args < 2 || n_args > 4 || malformed(call)) return Value::failure();
    const std::string_view x = call.args[1];
    if (!scan::is_plain_name(x) || x == "i" || globals()->builtins.count(x)) return Value::failure();
    double order = 1;
    if (n_args == 4) {
        Complex z;
        Value v = evaluate(call.args[3], call.env);
        if (as_number(v, &z) != Args::numbers || z.im != 0 || z.re != std::floor(z.re) || z.re < 0 ||
            z.re > max_order)
            return v.is_error() ? Value::failure(v.error) : Value::failure();
        order = z.re;
    }
    formula::TextPair p;
    if (auto v = formula_of_argument(call, x, &p)) return std::move(*v);
    Value a;
    if (n_args >= 3) {
        a = evaluate(call.args[2], call.env);
        if (a.is_error()) return a;
        if (a.kind == Value::Kind::object) return Value::failure();
    }
    bool estimated = false;
    formula::TextPair last = p;
    for (double k = 0; k < order; ++k) {
        last = p;
        if (auto v = differentiate(p, x, &estimated)) return std::move(*v);
    }
    // deriv(f,x,x,n) is the n-th derivative as a formula: written as it
    // came, not passed through the evaluator's own formula arithmetic.
    const bool at_x = a.kind == Value::Kind::formula && a.text.re == x && a.text.im == "0";
    if (n_args == 2 || at_x) return as_value(std::move(p));
    // A part with no closed form is estimated from the derivative one order
    // below; evaluating the formula instead would come back here for ever.
    if (estimated && a.kind == Value::Kind::number) {
        double point = 0;
        if (!as_real(a.num, &point)) return Value::failure();
        if (auto v = estimate(last, x, point, call)) return std::move(*v);
    }
    if (estimated) return Value::formula_of(Text(call.text));
    return at(p, x, a, call);
}

}  // namespace ostr::lang::builtin
