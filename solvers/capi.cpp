// The C face of the solvers: counted vectors to spans and back, the
// callbacks wrapped as the kernels' function references, Status to the
// OSTR_STATUS_ codes. Nothing throws across: running out of memory is NULL.
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "core/memory.hpp"
#include "numeric/containers.hpp"
#include "ostravine/solvers.h"
#include "solvers/solvers.hpp"

using namespace ostr;
using namespace ostr::solve;

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

int code(Status s) {
    switch (s) {
    case Status::ok: return OSTR_STATUS_OK;
    case Status::not_converged: return OSTR_STATUS_NOT_CONVERGED;
    case Status::not_finite: return OSTR_STATUS_NOT_FINITE;
    case Status::bad_argument: return OSTR_STATUS_BAD_ARGUMENT;
    case Status::stopped: return OSTR_STATUS_STOPPED;
    case Status::singular: return OSTR_STATUS_SINGULAR;
    }
    return OSTR_STATUS_BAD_ARGUMENT;
}

void set(int* status, int s) {
    if (status) *status = s;
}

std::span<const double> span_of(const double* v) {
    if (!v) return {};
    const std::int32_t n = num::vector_length<num::KindD>(v);
    return n > 0 ? std::span<const double>(v + 1, static_cast<std::size_t>(n)) : std::span<const double>();
}

double* out(std::span<const double> v) {
    double* o = num::vector_raw<num::KindD>(static_cast<std::int32_t>(v.size()), num::Fill::none);
    if (o) std::copy(v.begin(), v.end(), o + 1);
    return o;
}

double** square(const std::vector<double>& a, std::size_t k) {
    const auto n = static_cast<std::int32_t>(k);
    double** m = num::matrix_raw<num::KindD>(n, n, num::Fill::none);
    if (!m) return nullptr;
    for (std::size_t i = 0; i < k; ++i)
        for (std::size_t j = 0; j < k; ++j) m[i + 1][j + 1] = a[i * k + j];
    return m;
}

// A counted copy of a span, made once and refilled, for the callbacks.
struct Counted {
    std::vector<double> v;
    explicit Counted(std::size_t n) : v(n + 1) { v[0] = static_cast<double>(n); }
    const double* fill(std::span<const double> x) {
        std::copy(x.begin(), x.end(), v.begin() + 1);
        return v.data();
    }
};

// The fit's answer: the parameters, and the covariance and chi2 where asked.
double* fit_out(const FitResult& r, double*** covariance, double* chi2, int* status) {
    set(status, code(r.status));
    if (covariance) *covariance = nullptr;
    if (r.p.empty()) return nullptr;
    if (chi2) *chi2 = r.chi2;
    double* p = out(r.p);
    if (!p) return nullptr;
    if (covariance && !r.covariance.empty()) {
        *covariance = square(r.covariance, r.p.size());
        if (!*covariance) {
            FreeVector(p);
            return nullptr;
        }
    }
    return p;
}

double* minimum_out(const Minimum& m, double* fmin, int* status) {
    set(status, code(m.status));
    if (m.x.empty()) return nullptr;
    if (fmin) *fmin = m.f;
    return out(m.x);
}

double quadrature_out(const Quadrature& q, double* error, int* status) {
    set(status, code(q.status));
    if (error) *error = q.error;
    return q.status == Status::bad_argument ? not_a_number : q.value;
}

template <class Rule>
double integrate_with(Rule rule, OstrRealFunction f, void* data, double a, double b, double rtol, double atol,
                      double* error, int* status) {
    if (!f) {
        set(status, OSTR_STATUS_BAD_ARGUMENT);
        return not_a_number;
    }
    auto g = [f, data](double x) { return f(x, data); };
    return quadrature_out(rule(Real1(g), a, b, rtol, atol), error, status);
}

}  // namespace

extern "C" {

double* FitLinear(OstrBasisFunction basis, void* data, int k, const double* x, const double* y, const double* sigma,
                  double*** covariance, double* chi2, int* status) noexcept {
    set(status, OSTR_STATUS_BAD_ARGUMENT);
    if (covariance) *covariance = nullptr;
    if (!basis || k < 1) return nullptr;
    return or_failure<double*>(nullptr, [&] {
        auto b = [&](double t, std::size_t j) { return basis(t, static_cast<int>(j) + 1, data); };
        return fit_out(linear_least_squares(b, static_cast<std::size_t>(k), span_of(x), span_of(y), span_of(sigma)),
                       covariance, chi2, status);
    });
}

double* FitNonlinear(OstrModelFunction model, void* data, const double* x, const double* y, const double* sigma,
                     const double* p0, double*** covariance, double* chi2, int* status) noexcept {
    set(status, OSTR_STATUS_BAD_ARGUMENT);
    if (covariance) *covariance = nullptr;
    if (!model || span_of(p0).empty()) return nullptr;
    return or_failure<double*>(nullptr, [&] {
        Counted p(span_of(p0).size());
        auto m = [&](double t, std::span<const double> q) { return model(t, p.fill(q), data); };
        return fit_out(levenberg_marquardt(m, span_of(x), span_of(y), span_of(sigma), span_of(p0)), covariance,
                       chi2, status);
    });
}

double MinimizeBrent(OstrRealFunction f, void* data, double a, double b, double* fmin, int* status) noexcept {
    if (!f) {
        set(status, OSTR_STATUS_BAD_ARGUMENT);
        return not_a_number;
    }
    return or_failure<double>(not_a_number, [&] {
        auto g = [&](double t) { return f(t, data); };
        Minimum m = brent_minimum(g, a, b);
        set(status, code(m.status));
        if (m.x.empty()) return not_a_number;
        if (fmin) *fmin = m.f;
        return m.x[0];
    });
}

double* MinimizeNelderMead(OstrMultiFunction f, void* data, const double* x0, double* fmin, int* status) noexcept {
    set(status, OSTR_STATUS_BAD_ARGUMENT);
    if (!f || span_of(x0).empty()) return nullptr;
    return or_failure<double*>(nullptr, [&] {
        Counted x(span_of(x0).size());
        auto g = [&](std::span<const double> v) { return f(x.fill(v), data); };
        return minimum_out(nelder_mead(g, span_of(x0)), fmin, status);
    });
}

double* MinimizeBFGS(OstrMultiFunction f, void* data, const double* x0, double* fmin, int* status) noexcept {
    set(status, OSTR_STATUS_BAD_ARGUMENT);
    if (!f || span_of(x0).empty()) return nullptr;
    return or_failure<double*>(nullptr, [&] {
        Counted x(span_of(x0).size());
        auto g = [&](std::span<const double> v) { return f(x.fill(v), data); };
        return minimum_out(bfgs(g, span_of(x0)), fmin, status);
    });
}

double IntegrateGK(OstrRealFunction f, void* data, double a, double b, double rtol, double atol, double* error,
                   int* status) noexcept {
    return or_failure<double>(not_a_number, [&] {
        auto rule = [](Real1 g, double lo, double hi, double r, double t) { return gauss_kronrod(g, lo, hi, r, t); };
        return integrate_with(rule, f, data, a, b, rtol, atol, error, status);
    });
}

double IntegrateTanhSinh(OstrRealFunction f, void* data, double a, double b, double rtol, double atol,
                         double* error, int* status) noexcept {
    return or_failure<double>(not_a_number, [&] {
        return integrate_with(tanh_sinh, f, data, a, b, rtol, atol, error, status);
    });
}

double IntegrateAdaptive(OstrRealFunction f, void* data, double a, double b, double rtol, double atol,
                         double* error, int* status) noexcept {
    return or_failure<double>(not_a_number, [&] {
        return integrate_with(integrate, f, data, a, b, rtol, atol, error, status);
    });
}

double** SolveODE(OstrOdeFunction f, void* data, const double* y0, const double* times, double rtol, double atol,
                  int method, int* status) noexcept {
    set(status, OSTR_STATUS_BAD_ARGUMENT);
    const std::span<const double> y = span_of(y0), t = span_of(times);
    if (!f || y.empty() || t.empty() || method < OSTR_ODE_AUTOMATIC || method > OSTR_ODE_ROSENBROCK) return nullptr;
    return or_failure<double**>(nullptr, [&]() -> double** {
        Counted yc(y.size());
        std::vector<double> dy(y.size() + 1);
        dy[0] = static_cast<double>(y.size());
        auto rhs = [&](double s, std::span<const double> v, std::span<double> d) {
            const int stop = f(s, yc.fill(v), dy.data(), data);
            std::copy(dy.begin() + 1, dy.end(), d.begin());
            return stop == 0;
        };
        OdeOptions o;
        o.rtol = rtol;
        o.atol = atol;
        o.method = static_cast<OdeMethod>(method);
        OdeResult r = solve_ode(rhs, y, t, o);
        set(status, code(r.status));
        if (r.status != Status::ok) return nullptr;
        const std::size_t n = y.size();
        double** m = num::matrix_raw<num::KindD>(static_cast<std::int32_t>(t.size()),
                                                 static_cast<std::int32_t>(n + 1), num::Fill::none);
        if (!m) return nullptr;
        for (std::size_t i = 0; i < t.size(); ++i) {
            m[i + 1][1] = t[i];
            for (std::size_t j = 0; j < n; ++j) m[i + 1][j + 2] = r.y[i * n + j];
        }
        return m;
    });
}

}  // namespace extern "C"
