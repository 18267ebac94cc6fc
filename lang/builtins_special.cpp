// The adapters of the special functions whose argument shapes the numeric
// table does not have: the dilogarithm (real argument, complex result past 1)
// and Lambert W (an optional branch number).
#include <cmath>

#include "lang/builtins.hpp"
#include "special/scientific.hpp"

namespace ostr::lang::builtin {
namespace {

// The arguments of a call as reals, or the call's value when they are not.
std::optional<Value> real_arguments(const Call& call, std::span<Value> values, double* x) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return v;
    for (std::size_t k = 0; k < values.size(); ++k)
        if (!as_real(z[k], &x[k])) return Value::failure();
    return std::nullopt;
}

}  // namespace

Value dilogarithm(const Call& call, std::span<Value> values) {
    double x[1];
    if (auto v = real_arguments(call, values, x)) return std::move(*v);
    Complex r = special::dilog(x[0]);
    if (std::isnan(r.re)) return Value::failure();
    return written(r, call);
}

// lambertw(x) is the principal branch, lambertw(x,k) the branch k = 0 or -1.
Value lambert_w(const Call& call, std::span<Value> values) {
    if (values.empty() || values.size() > 2) return Value::failure();
    double x[2] = {0, 0};
    if (auto v = real_arguments(call, values, x)) return std::move(*v);
    double w = special::lambert_w(x[0], values.size() == 2 ? x[1] : 0);
    if (std::isnan(w)) return Value::failure();
    return written({w, 0}, call);
}

}  // namespace ostr::lang::builtin
