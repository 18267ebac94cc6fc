// Adaptive Gauss-Kronrod integration (7-point Gauss rule embedded in the
// 15-point Kronrod rule) over a finite interval, for real and complex
// integrands. The panel with the largest error estimate |K15 - G7| is halved
// until the summed estimate is below 1e-12 of the integral (or of a few
// hundred ulps of the integral of |f|, the rounding floor of the rule), or
// the bounded store of panels is full. |K15 - G7| is the error of the Gauss
// rule, so the Kronrod sum that is returned is usually far better than the
// estimate; on smooth integrands the result is accurate to rounding.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

#include "core/memory.hpp"
#include "special/special.hpp"
#include "special/gauss_kronrod.hpp"
#include "special/summation.hpp"

namespace ostr::special {
namespace {

using kronrod15::wg;
using kronrod15::wk;
using kronrod15::xk;

using Cx = std::complex<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double rel_tol = 1e-12;
constexpr double abs_floor = 200 * std::numeric_limits<double>::epsilon();
constexpr int max_initial_panels = 100000;
constexpr int max_extra_panels = 5000;


template <class T>
struct Panel {
    double a, b;
    T value;
    double error;    // |K15 - G7|
    double abs_int;  // K15 applied to |f|
};

template <class T>
bool operator<(const Panel<T>& p, const Panel<T>& q) {
    return p.error < q.error;  // max-heap on the error
}

inline double magnitude(double v) { return std::fabs(v); }
inline double magnitude(Cx v) { return std::abs(v); }
inline bool finite(double v) { return std::isfinite(v); }
inline bool finite(Cx v) { return std::isfinite(v.real()) && std::isfinite(v.imag()); }

template <class T, class F>
bool kronrod(F& f, double a, double b, Panel<T>& out) {
    double c = 0.5 * (a + b), h = 0.5 * (b - a);
    T fc = f(c);
    T k = fc * wk[7], g = fc * wg[3];
    double kabs = magnitude(fc) * wk[7];
    bool ok = finite(fc);
    for (int j = 0; j < 7; ++j) {
        T f1 = f(c - h * xk[j]), f2 = f(c + h * xk[j]);
        ok = ok && finite(f1) && finite(f2);
        k += (f1 + f2) * wk[j];
        kabs += (magnitude(f1) + magnitude(f2)) * wk[j];
        if (j % 2 == 1) g += (f1 + f2) * wg[j / 2];
    }
    out = {a, b, k * h, magnitude((k - g) * h), kabs * std::fabs(h)};
    return ok;
}

using num::Neumaier;

inline double panel_sum(const Panel<double>* p, int count) {
    Neumaier s;
    for (int i = 0; i < count; ++i) s.add(p[i].value);
    return s.value();
}

inline Cx panel_sum(const Panel<Cx>* p, int count) {
    Neumaier re, im;
    for (int i = 0; i < count; ++i) {
        re.add(p[i].value.real());
        im.add(p[i].value.imag());
    }
    return {re.value(), im.value()};
}

template <class T, class F>
T adapt(F&& f, double a, double b, int n, int* status) {
    auto set = [status](int s) {
        if (status) *status = s;
    };
    if (!std::isfinite(a) || !std::isfinite(b)) {
        set(OSTR_STATUS_BAD_ARGUMENT);
        return T(nan);
    }
    set(OSTR_STATUS_OK);
    if (a == b) return T(0);
    n = std::clamp(n, 1, max_initial_panels);
    int capacity = n + max_extra_panels;
    OwnedBlock<Panel<T>> store(static_cast<Panel<T>*>(mem_alloc(sizeof(Panel<T>) * capacity)));
    if (!store) {
        set(OSTR_STATUS_NOT_CONVERGED);
        return T(nan);
    }
    Panel<T>* heap = store.get();
    double h = (b - a) / n;
    for (int i = 0; i < n; ++i) {
        double lo = a + i * h, hi = i + 1 == n ? b : a + (i + 1) * h;
        if (!kronrod(f, lo, hi, heap[i])) {
            set(OSTR_STATUS_NOT_FINITE);
            return T(nan);
        }
    }
    int count = n;
    std::make_heap(heap, heap + count);
    // Running totals of the error estimates, |f| integrals and values; exact
    // sums are taken again before the result is accepted.
    double err = 0, abs_int = 0;
    T running = 0;
    for (int i = 0; i < count; ++i) {
        err += heap[i].error;
        abs_int += heap[i].abs_int;
        running += heap[i].value;
    }
    for (;;) {
        if (err <= std::max(rel_tol * magnitude(running), abs_floor * abs_int)) {
            err = abs_int = 0;
            for (int i = 0; i < count; ++i) {
                err += heap[i].error;
                abs_int += heap[i].abs_int;
            }
            T total = panel_sum(heap, count);
            if (err <= std::max(rel_tol * magnitude(total), abs_floor * abs_int)) return total;
            running = total;
        }
        Panel<T> worst = heap[0];
        double mid = 0.5 * (worst.a + worst.b);
        if (count + 1 >= capacity || mid <= std::min(worst.a, worst.b) || mid >= std::max(worst.a, worst.b)) {
            set(OSTR_STATUS_NOT_CONVERGED);
            return panel_sum(heap, count);
        }
        std::pop_heap(heap, heap + count);
        Panel<T>& left = heap[count - 1];
        Panel<T>& right = heap[count];
        if (!kronrod(f, worst.a, mid, left) || !kronrod(f, mid, worst.b, right)) {
            set(OSTR_STATUS_NOT_FINITE);
            return T(nan);
        }
        err += left.error + right.error - worst.error;
        abs_int += left.abs_int + right.abs_int - worst.abs_int;
        running += left.value + right.value - worst.value;
        std::push_heap(heap, heap + count);
        std::push_heap(heap, heap + ++count);
    }
}

}  // namespace

double integrate(OstrRealFunction f, void* data, double a, double b, int n, int* status) noexcept {
    if (!f) {
        if (status) *status = OSTR_STATUS_BAD_ARGUMENT;
        return nan;
    }
    return adapt<double>([f, data](double x) { return f(x, data); }, a, b, n, status);
}

Complex integrate_c(OstrComplexFunction f, void* data, double a, double b, int n, int* status) noexcept {
    if (!f) {
        if (status) *status = OSTR_STATUS_BAD_ARGUMENT;
        return {nan, nan};
    }
    Cx r = adapt<Cx>(
        [f, data](double x) {
            Complex v = f(x, data);
            return Cx(v.re, v.im);
        },
        a, b, n, status);
    return {r.real(), r.imag()};
}

}  // namespace ostr::special
