// The solver calls of the language over formulas and arrays: odesolve
// (systems of differential equations), integrate (finite and infinite
// ranges, singular ends), minimize (one or several variables), fit
// (nonlinear least squares with uncertainties) and linfit (linear least
// squares in any basis). The formulas are read once into RealFormulas; the
// numeric work is the solvers component's.
#include <cmath>
#include <limits>
#include <vector>

#include "lang/builtins.hpp"
#include "lang/containers.hpp"
#include "lang/matrices.hpp"
#include "lang/real_formula.hpp"
#include "grammar/scan.hpp"
#include "solvers/solvers.hpp"

namespace ostr::lang::builtin {
namespace {

using solve::Status;
using BlockPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;

constexpr int max_samples = 100000;
constexpr std::size_t max_unknowns = 1000;

BlockPtr new_block() { return BlockPtr(obj::new_array(), obj::array_handlers().free); }

// The real numbers of an argument: one number, or an array of them.
std::optional<Value> reals(const Call& call, std::size_t k, std::vector<double>* out) {
    Value v = evaluate(call.args[k], call.env);
    if (v.is_error()) return Value::failure(v.error);
    if (is_array(v)) {
        for (const obj::Item& it : obj::array_of(v.obj.get())->items) {
            double r = 0;
            if (it.obj || !as_real(it.num, &r) || !std::isfinite(r)) return Value::failure();
            out->push_back(r);
        }
        return std::nullopt;
    }
    Complex z;
    double r = 0;
    if (as_number(v, &z) == Args::formula) return Value::formula_of(Text(call.text));
    if (as_number(v, &z) != Args::numbers || !as_real(z, &r) || !std::isfinite(r)) return Value::failure();
    out->push_back(r);
    return std::nullopt;
}

std::optional<Value> real(const Call& call, std::size_t k, double* out) {
    std::vector<double> v;
    if (auto e = reals(call, k, &v)) return e;
    if (v.size() != 1) return Value::failure();
    *out = v[0];
    return std::nullopt;
}

// A number of the list that is written without brackets stays one piece;
// names must be plain (RealFormulas checks them).
std::vector<std::string_view> names_of(std::string_view text) { return list_pieces(text); }

Value numbers_array(std::span<const double> v) {
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    for (double d : v) {
        if (!std::isfinite(d)) return Value::failure();
        out->items.push_back({{d, 0}, nullptr});
    }
    return array_value(out.release());
}

// [[values...],[errors...]]: what fit and linfit answer.
Value with_errors(const solve::FitResult& r) {
    std::vector<double> errors;
    for (std::size_t j = 0; j < r.p.size(); ++j) errors.push_back(r.error(j));
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    Value parts[2] = {numbers_array(r.p), numbers_array(errors)};
    for (Value& v : parts) {
        obj::Item it;
        if (v.is_error() || !to_item(v, it)) return Value::failure();
        out->items.push_back(it);
    }
    obj::refresh_depth(*out);
    return array_value(out.release());
}

// The call's value for a solver that did not answer: what stopped the
// formulas, an abort, or ">invalid_expression<".
Value failed(Status s, RealFormulas& f) {
    if (f.stop) return std::move(*f.stop);
    if (s == Status::stopped) return Value::failure(Error::evaluation_aborted);
    return Value::failure();
}

bool word(std::string_view text, std::initializer_list<std::string_view> words) {
    for (std::string_view w : words)
        if (text == w) return true;
    return false;
}

// An end of integrate: inf, +inf and -inf stand for the infinities.
std::optional<Value> end_point(const Call& call, std::size_t k, double* out) {
    const std::string_view t = call.args[k];
    const bool negative = t == "-inf";
    if (!negative && t != "inf" && t != "+inf") return real(call, k, out);
    *out = negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    return std::nullopt;
}

}  // namespace

// odesolve(fs, t, ys, y0, t0, t1 [, n [, method [, tol]]]): the system
// ys' = fs in t from ys(t0) = y0 to t1, sampled at n+1 equal steps (100 when
// left out), as a matrix of rows [t, y1, y2, ...]. method: auto (the
// default: explicit, stiff once the problem shows it), dopri or rosenbrock;
// tol (1e-8): the relative and absolute error allowed per step.
Value odesolve(const Call& call, std::span<Value>) {
    if (call.args.size() < 6 || call.args.size() > 9 || malformed(call)) return Value::failure();
    const std::vector<std::string_view> fs = list_pieces(call.args[0]), ys = names_of(call.args[2]);
    std::vector<double> y0;
    if (auto v = reals(call, 3, &y0)) return std::move(*v);
    double t0 = 0, t1 = 0, n = 100, tol = 1e-8;
    if (auto v = real(call, 4, &t0)) return std::move(*v);
    if (auto v = real(call, 5, &t1)) return std::move(*v);
    if (call.args.size() > 6)
        if (auto v = real(call, 6, &n)) return std::move(*v);
    solve::OdeOptions o;
    if (call.args.size() > 7) {
        const std::string_view m = call.args[7];
        if (word(m, {"auto"})) o.method = solve::OdeMethod::automatic;
        else if (word(m, {"dopri"})) o.method = solve::OdeMethod::dormand_prince;
        else if (word(m, {"rosenbrock", "stiff"})) o.method = solve::OdeMethod::rosenbrock;
        else return Value::failure();
    }
    if (call.args.size() > 8)
        if (auto v = real(call, 8, &tol)) return std::move(*v);
    if (fs.empty() || fs.size() != ys.size() || fs.size() != y0.size() || fs.size() > max_unknowns) return Value::failure();
    if (n != std::floor(n) || n < 1 || n > max_samples || t0 == t1 || !(tol > 0 && tol < 1)) return Value::failure();
    // The answer must fit a matrix; checked before any work is done.
    if ((n + 1) * static_cast<double>(fs.size() + 1) > static_cast<double>(obj::max_matrix_elements))
        return Value::failure();
    o.rtol = o.atol = tol;
    std::vector<std::string_view> names{call.args[1]};
    names.insert(names.end(), ys.begin(), ys.end());
    RealFormulas f(fs, names, call.env, call.text);
    if (!f.ok()) return Value::failure();
    const std::size_t k = fs.size(), samples = static_cast<std::size_t>(n) + 1;
    std::vector<double> times(samples), vars(k + 1);
    for (std::size_t i = 0; i < samples; ++i)
        times[i] = i + 1 == samples ? t1 : t0 + (t1 - t0) * static_cast<double>(i) / n;
    auto rhs = [&](double t, std::span<const double> y, std::span<double> dy) {
        vars[0] = t;
        std::copy(y.begin(), y.end(), vars.begin() + 1);
        return f(vars.data(), dy.data());
    };
    solve::OdeResult r = solve::solve_ode(rhs, y0, times, o);
    if (r.status != Status::ok) return failed(r.status, f);
    la::RMat m(samples, k + 1);
    for (std::size_t i = 0; i < samples; ++i) {
        m(i, 0) = times[i];
        for (std::size_t j = 0; j < k; ++j) m(i, j + 1) = r.y[i * k + j];
    }
    return matrix_value(block_of(m));
}

// integrate(f, x, a, b [, tol]): Gauss-Kronrod, and tanh-sinh where that
// does not reach the tolerance (1e-12 relative when left out); a and b may
// be inf or -inf.
Value integrate(const Call& call, std::span<Value>) {
    if (call.args.size() < 4 || call.args.size() > 5 || malformed(call)) return Value::failure();
    double a = 0, b = 0, tol = 1e-12;
    if (auto v = end_point(call, 2, &a)) return std::move(*v);
    if (auto v = end_point(call, 3, &b)) return std::move(*v);
    if (call.args.size() == 5)
        if (auto v = real(call, 4, &tol)) return std::move(*v);
    if (!(tol > 0 && tol < 1)) return Value::failure();
    const std::string_view fs[] = {call.args[0]}, names[] = {call.args[1]};
    RealFormulas f(fs, names, call.env, call.text);
    if (!f.ok()) return Value::failure();
    auto g = [&](double x) {
        double v = 0;
        return f(&x, &v) ? v : NAN;
    };
    solve::Quadrature q = solve::integrate(g, a, b, tol, 0);
    if (q.status != Status::ok) return failed(q.status, f);
    return written({q.value, 0}, call);
}

// minimize(f, x, a, b): Brent's method on [a, b], answering [x, f(x)].
// minimize(f, [x1,...], [s1,...] [, method]): from the start s, by the
// Nelder-Mead simplex (method nm, the default) or BFGS (bfgs), answering
// [x1, ..., f].
Value minimize(const Call& call, std::span<Value>) {
    if (call.args.size() < 3 || call.args.size() > 4 || malformed(call)) return Value::failure();
    const bool several = call.args[1].starts_with('[') || call.args.size() == 3 ||
                         word(call.args[3], {"nm", "bfgs"});
    const std::vector<std::string_view> names = names_of(call.args[1]);
    const std::string_view fs[] = {call.args[0]};
    solve::Minimum m;
    if (!several) {
        double ab[2];
        if (auto v = real(call, 2, &ab[0])) return std::move(*v);
        if (auto v = real(call, 3, &ab[1])) return std::move(*v);
        RealFormulas f(fs, names, call.env, call.text);
        if (!f.ok() || names.size() != 1) return Value::failure();
        auto g = [&](double x) {
            double v = 0;
            return f(&x, &v) ? v : NAN;
        };
        m = solve::brent_minimum(g, ab[0], ab[1]);
        if (m.status != Status::ok) return failed(m.status, f);
    } else {
        std::vector<double> start;
        if (auto v = reals(call, 2, &start)) return std::move(*v);
        const bool bfgs = call.args.size() == 4 && call.args[3] == "bfgs";
        if (call.args.size() == 4 && !word(call.args[3], {"nm", "bfgs"})) return Value::failure();
        RealFormulas f(fs, names, call.env, call.text);
        if (!f.ok() || names.size() != start.size() || names.empty()) return Value::failure();
        auto g = [&](std::span<const double> x) {
            double v = 0;
            return f(x.data(), &v) ? v : NAN;
        };
        m = bfgs ? solve::bfgs(g, start) : solve::nelder_mead(g, start);
        if (m.status != Status::ok) return failed(m.status, f);
    }
    std::vector<double> out = m.x;
    out.push_back(m.f);
    return numbers_array(out);
}

// fit(f, x, xs, ys, [p1,...], [s1,...] [, sigmas]): the parameters p of
// ys ≈ f(xs) by Levenberg-Marquardt from the start s, answering
// [[p1,...],[e1,...]] with the standard errors e.
Value fit(const Call& call, std::span<Value>) {
    if (call.args.size() < 6 || call.args.size() > 7 || malformed(call)) return Value::failure();
    std::vector<double> xs, ys, start, sigma;
    if (auto v = reals(call, 2, &xs)) return std::move(*v);
    if (auto v = reals(call, 3, &ys)) return std::move(*v);
    if (auto v = reals(call, 5, &start)) return std::move(*v);
    if (call.args.size() == 7)
        if (auto v = reals(call, 6, &sigma)) return std::move(*v);
    const std::vector<std::string_view> params = names_of(call.args[4]);
    if (params.empty() || params.size() != start.size()) return Value::failure();
    std::vector<std::string_view> names{call.args[1]};
    names.insert(names.end(), params.begin(), params.end());
    const std::string_view fs[] = {call.args[0]};
    RealFormulas f(fs, names, call.env, call.text);
    if (!f.ok()) return Value::failure();
    std::vector<double> vars(names.size());
    auto model = [&](double x, std::span<const double> p) {
        vars[0] = x;
        std::copy(p.begin(), p.end(), vars.begin() + 1);
        double v = 0;
        return f(vars.data(), &v) ? v : NAN;
    };
    solve::FitResult r = solve::levenberg_marquardt(model, xs, ys, sigma, start);
    if (r.status != Status::ok) return failed(r.status, f);
    return with_errors(r);
}

// linfit([b1,...], x, xs, ys [, sigmas]): the coefficients c of
// ys ≈ c1·b1(xs) + c2·b2(xs) + ..., answering [[c1,...],[e1,...]].
Value linfit(const Call& call, std::span<Value>) {
    if (call.args.size() < 4 || call.args.size() > 5 || malformed(call)) return Value::failure();
    std::vector<double> xs, ys, sigma;
    if (auto v = reals(call, 2, &xs)) return std::move(*v);
    if (auto v = reals(call, 3, &ys)) return std::move(*v);
    if (call.args.size() == 5)
        if (auto v = reals(call, 4, &sigma)) return std::move(*v);
    const std::vector<std::string_view> basis = list_pieces(call.args[0]);
    const std::string_view names[] = {call.args[1]};
    RealFormulas f(basis, names, call.env, call.text);
    if (!f.ok() || basis.empty()) return Value::failure();
    auto b = [&](double x, std::size_t j) {
        double v = 0;
        return f.one(j, &x, &v) ? v : NAN;
    };
    solve::FitResult r = solve::linear_least_squares(b, basis.size(), xs, ys, sigma);
    if (r.status != Status::ok) return failed(r.status, f);
    return with_errors(r);
}

}  // namespace ostr::lang::builtin
