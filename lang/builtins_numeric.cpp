// The numerical built-ins that take an expression text in a bound variable:
// sum and prod over an integer range, int (adaptive Gauss-Kronrod of the
// numeric library) and root (Brent's method of the numeric library). The
// expression is evaluated in a scope under the caller's environment that
// holds the bound variable as a number; its analysis is cached by text, so
// each evaluation only looks the text up.
#include <cmath>
#include <cstdint>
#include <vector>

#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "grammar/scan.hpp"
#include "special/summation.hpp"
#include "ostravine/special.h"
#include "objects/environment.hpp"

namespace ostr::lang::builtin {
namespace {

// Terms of sum and prod beyond this count answer ">invalid_expression<"
// instead of running for minutes.
constexpr double max_terms = 1e6;
// Initial intervals of int: more would only spend time.
constexpr double max_intervals = 10000;
// Samples of the expression, over all numerical built-ins nested in one
// outermost call (sum inside sum inside int ...): past this the call answers
// ">invalid_expression<", so that nesting cannot multiply the bounds above
// into hours of work.
constexpr std::uint64_t max_samples = 4000000;

// The outcome of one evaluation of the expression: a number, or the value
// that the whole call takes instead.
struct Sample {
    Complex z{0, 0};
    std::optional<Value> stop;
};

// A scope holding the bound variable, and the expression evaluated in it.
class Bound {
public:
    Bound(const Call& call, std::string_view name, std::string_view expression)
        : call_(call), expression_(expression) {
        Arbenv* root = call.env;
        while (root->parent) root = root->parent;
        root_ = root;
        if (!scan::is_plain_name(name) || globals()->builtins.count(name)) return;
        scope_.reset(obj::make_environment(call.env));
        if (!scope_) return;
        obj::Object* o = obj::make_numeric({0, 0}, name, scope_.get());
        if (!o) return;
        obj::store(scope_.get(), o);
        variable_ = static_cast<Complex*>(o->value);
    }
    Bound(const Bound&) = delete;
    Bound& operator=(const Bound&) = delete;

    bool ok() const noexcept { return variable_ != nullptr; }

    // A value that is no number at a sample point keeps the whole call as
    // its text: a free name and a non-finite value (1/n at n = 0, which the
    // evaluator keeps as the text "1/n") both end that way.
    Sample at(double x) {
        Sample s;
        if (!root_->abort_text.empty()) {
            s.stop = Value::failure(Error::evaluation_aborted);
            return s;
        }
        if (++state().samples_taken > max_samples) {
            s.stop = Value::failure();
            return s;
        }
        *variable_ = {x, 0};
        Value v = evaluate(expression_, scope_.get());
        switch (as_number(v, &s.z)) {
        case Args::numbers: break;
        case Args::formula: s.stop = Value::formula_of(Text(call_.text)); break;
        case Args::invalid: s.stop = v.is_error() ? Value::failure(v.error) : Value::failure(); break;
        }
        return s;
    }

private:
    // Counts this call among those under way for as long as it lives,
    // however the constructor or the call ends.
    struct Active {
        Active() noexcept {
            State& s = state();
            if (s.numeric_calls++ == 0) s.samples_taken = 0;
        }
        ~Active() { --state().numeric_calls; }
        Active(const Active&) = delete;
        Active& operator=(const Active&) = delete;
    };
    Active active_;
    const Call& call_;
    std::string_view expression_;
    Arbenv* root_ = nullptr;
    obj::OwnedEnvironment scope_;
    Complex* variable_ = nullptr;
};

// The argument texts from `first` on, evaluated in the caller's environment
// as real numbers; nullopt when they are, else the call's value.
std::optional<Value> real_arguments(const Call& call, std::size_t first, double* out) {
    std::vector<Value> values;
    for (std::size_t k = first; k < call.args.size(); ++k) values.push_back(evaluate(call.args[k], call.env));
    std::vector<Complex> z(values.size());
    if (auto v = numbers(call, values, z.data())) return v;
    for (std::size_t k = 0; k < z.size(); ++k)
        if (!as_real(z[k], &out[k])) return Value::failure();
    return std::nullopt;
}

bool is_integer(double v) { return v == std::floor(v) && std::fabs(v) <= 9007199254740992.0; }

using Compensated = num::Neumaier;

Complex multiply(Complex a, Complex b) {
    Complex r;
    return *MulC(&r, &a, &b);
}

// sum and prod: the range i1..i2 of integers; i2 < i1 is the empty range,
// whose sum is 0 and whose product is 1.
template <bool Product>
Value over_range(const Call& call) {
    if (call.args.size() != 4 || malformed(call)) return Value::failure();
    double range[2];
    if (auto v = real_arguments(call, 2, range)) return std::move(*v);
    if (!is_integer(range[0]) || !is_integer(range[1])) return Value::failure();
    if (range[1] - range[0] + 1 > max_terms) return Value::failure();
    Bound bound(call, call.args[1], call.args[0]);
    if (!bound.ok()) return Value::failure();
    Compensated re, im;
    Complex product{1, 0};
    for (double n = range[0]; n <= range[1]; ++n) {
        Sample s = bound.at(n);
        if (s.stop) return std::move(*s.stop);
        if (Product) {
            product = multiply(product, s.z);
        } else {
            re.add(s.z.re);
            im.add(s.z.im);
        }
    }
    return written(Product ? product : Complex{re.value(), im.value()}, call);
}

struct Integrand {
    Bound* bound;
    std::optional<Value> stop;
};

// A sample that is no number stops the integration: the NaN makes the
// routine give up at once.
Complex integrand(double x, void* data) {
    auto* f = static_cast<Integrand*>(data);
    if (f->stop) return {NAN, NAN};
    Sample s = f->bound->at(x);
    if (s.stop) {
        f->stop = std::move(s.stop);
        return {NAN, NAN};
    }
    return s.z;
}

struct RealFunction {
    Bound* bound;
    std::optional<Value> stop;
};

double real_function(double x, void* data) {
    auto* f = static_cast<RealFunction*>(data);
    if (f->stop) return NAN;
    Sample s = f->bound->at(x);
    double v = NAN;
    if (!s.stop && !as_real(s.z, &v)) s.stop = Value::failure();
    if (s.stop) {
        f->stop = std::move(s.stop);
        return NAN;
    }
    return v;
}

}  // namespace

Value sum(const Call& call, std::span<Value>) { return over_range<false>(call); }
Value prod(const Call& call, std::span<Value>) { return over_range<true>(call); }

// int(f(x),x,x1,x2) or int(f(x),x,x1,x2,n): n initial intervals (1 when left
// out), halved adaptively until the error estimate is about 1e-12 of the
// integral. A sample that is not finite keeps the call as its text; an
// integral that does not converge within the bounded work is an error.
Value integral(const Call& call, std::span<Value>) {
    if ((call.args.size() != 4 && call.args.size() != 5) || malformed(call)) return Value::failure();
    double a[3] = {0, 0, 1};
    if (auto v = real_arguments(call, 2, a)) return std::move(*v);
    if (!is_integer(a[2]) || a[2] < 1 || a[2] > max_intervals) return Value::failure();
    Bound bound(call, call.args[1], call.args[0]);
    if (!bound.ok()) return Value::failure();
    Integrand f{&bound, std::nullopt};
    int status = OSTR_STATUS_OK;
    Complex r;
    IntegrateC(&r, integrand, &f, a[0], a[1], static_cast<int>(a[2]), &status);
    if (f.stop) return std::move(*f.stop);
    if (status == OSTR_STATUS_NOT_FINITE) return Value::formula_of(Text(call.text));
    if (status != OSTR_STATUS_OK) return Value::failure();
    return written(r, call);
}

// root(f(x),x1,x2), the variable being x, or root(f(t),t,x1,x2). f must be
// real and change sign between x1 and x2. A sign change through a pole is
// not a root: there |f| at the answer exceeds |f| at both ends.
Value root(const Call& call, std::span<Value>) {
    if ((call.args.size() != 3 && call.args.size() != 4) || malformed(call)) return Value::failure();
    const bool named = call.args.size() == 4;
    double ends[2];
    if (auto v = real_arguments(call, named ? 2 : 1, ends)) return std::move(*v);
    Bound bound(call, named ? call.args[1] : std::string_view("x"), call.args[0]);
    if (!bound.ok()) return Value::failure();
    RealFunction f{&bound, std::nullopt};
    int status = OSTR_STATUS_OK;
    double x = FindRoot(real_function, &f, ends[0], ends[1], &status);
    if (f.stop) return std::move(*f.stop);
    if (status != OSTR_STATUS_OK) return Value::failure();
    double at_root = std::fabs(real_function(x, &f));
    double at_ends = std::fmin(std::fabs(real_function(ends[0], &f)), std::fabs(real_function(ends[1], &f)));
    if (f.stop) return std::move(*f.stop);
    if (at_root > at_ends) return Value::failure();
    return written({x, 0}, call);
}

}  // namespace ostr::lang::builtin
