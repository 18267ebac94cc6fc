// Quadrature on finite and infinite ranges: adaptive Gauss-Kronrod (G7/K15)
// and the tanh-sinh rule, over one range map that turns an infinite end
// into a finite one and hands the integrand the distances of a node to
// both ends of the mapped range, so that a node a few ulps from an end is
// placed exactly (x = a + d, never x = b - (b - a - d)).
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "special/gauss_kronrod.hpp"
#include "core/runtime.hpp"
#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

using special::kronrod15::wg;
using special::kronrod15::wk;
using special::kronrod15::xk;

constexpr double inf = std::numeric_limits<double>::infinity();

// The integrand on the mapped range [lo, hi]: g(t) = f(x(t))·x'(t), given t
// by its distances dl = t - lo and dh = hi - t (each exact where small).
// A node whose x lands on an end of the original range or beyond the
// doubles contributes nothing: its weight is below any rounding of the sum.
class Mapped {
public:
    Mapped(Real1 f, double a, double b, Quadrature* out) : f_(f), a_(a), b_(b), out_(out) {
        kind_ = std::isinf(a) ? (std::isinf(b) ? both : lower) : (std::isinf(b) ? upper : finite);
        lo = kind_ == finite ? a : kind_ == both ? -1 : 0;
        hi = kind_ == finite ? b : 1;
    }
    double lo = 0, hi = 0;

    double operator()(double dl, double dh) {
        // x and the integrand over the map's derivative, divided in an
        // order that cannot overflow while their quotient is a double.
        double x = 0;
        double d1 = 1, d2 = 1, m = 1;
        switch (kind_) {
        case finite: x = dl <= dh ? a_ + dl : b_ - dh; break;
        case upper: x = a_ + (dl <= dh ? dl : 1 - dh) / dh, d1 = d2 = dh; break;  // a + t/(1 - t)
        case lower: x = b_ - dh / dl, d1 = d2 = dl; break;                        // b - (1 - t)/t
        case both: {
            const double t = dl <= dh ? dl - 1 : 1 - dh;  // 1 - t² = (1 + t)(1 - t)
            x = t / (dl * dh), d1 = dl * dh, d2 = d1, m = 1 + t * t;
            break;
        }
        }
        if (!std::isfinite(x) || x <= std::min(a_, b_) || x >= std::max(a_, b_)) return 0;
        ++out_->evaluations;
        const double v = f_(x);
        // Far out on an infinite range a decaying integrand often overflows
        // in its parts (x³/(eˣ-1) is inf/inf at x = 1e103); its share of the
        // integral there is nil.
        if (!std::isfinite(v) && kind_ != finite && std::fabs(x) > 1e100) return 0;
        if (!std::isfinite(v)) {
            out_->status = Status::not_finite;
            return 0;
        }
        const double g = v / d1 / d2 * m;
        // An integrand that outgrows the map (x on [0, inf)) has no integral.
        if (!std::isfinite(g)) overflowed = true;
        return std::isfinite(g) ? g : 0;
    }
    bool overflowed = false;

private:
    enum Kind { finite, upper, lower, both };
    Real1 f_;
    double a_, b_;
    Quadrature* out_;
    Kind kind_ = finite;
};

struct Panel {
    double a, b, value, error;
};
bool operator<(const Panel& p, const Panel& q) { return p.error < q.error; }

Panel kronrod(Mapped& g, double lo, double hi, double a, double b) {
    const double c = 0.5 * (a + b), h = 0.5 * (b - a);
    auto at = [&](double t) { return g(t - lo, hi - t); };
    const double fc = at(c);
    double k = fc * wk[7], gs = fc * wg[3];
    for (int j = 0; j < 7; ++j) {
        const double pair = at(c - h * xk[j]) + at(c + h * xk[j]);
        k += pair * wk[j];
        if (j % 2 == 1) gs += pair * wg[j / 2];
    }
    return {a, b, k * h, std::fabs((k - gs) * h)};
}

// Orders the ends; a reversed or infinite range is handled by the sign and
// the map. Nothing to do (a == b) leaves `done` set.
bool prepare(double& a, double& b, double& sign, Quadrature& out) {
    if (std::isnan(a) || std::isnan(b) || (std::isinf(a) && a == b)) {
        out.status = Status::bad_argument;
        return false;
    }
    if (a == b) return false;
    if (a > b) std::swap(a, b), sign = -1;
    return true;
}

}  // namespace

Quadrature gauss_kronrod(Real1 f, double a, double b, double rel_tol, double abs_tol, int max_panels) {
    Quadrature out;
    double sign = 1;
    if (!prepare(a, b, sign, out)) return out;
    Mapped g(f, a, b, &out);
    // Two panels to start with: one symmetric rule on (-inf, inf) would
    // give an odd integrand the answer 0 with the error 0, divergent or not.
    const double centre = 0.5 * (g.lo + g.hi);
    std::vector<Panel> heap{kronrod(g, g.lo, g.hi, g.lo, centre), kronrod(g, g.lo, g.hi, centre, g.hi)};
    std::make_heap(heap.begin(), heap.end());
    double value = heap[0].value + heap[1].value, error = heap[0].error + heap[1].error;
    max_panels = std::max(max_panels, 1);
    while (out.status == Status::ok) {
        if (error <= std::max(abs_tol, rel_tol * std::fabs(value))) {
            // The running sums drift; the totals decide.
            value = error = 0;
            for (const Panel& p : heap) value += p.value, error += p.error;
            if (error <= std::max(abs_tol, rel_tol * std::fabs(value))) break;
        }
        const Panel worst = heap.front();
        const double mid = 0.5 * (worst.a + worst.b);
        if (static_cast<int>(heap.size()) >= max_panels || mid <= worst.a || mid >= worst.b) {
            out.status = Status::not_converged;
            break;
        }
        if ((heap.size() & 63) == 0 && core::should_stop()) {
            out.status = Status::stopped;
            break;
        }
        std::pop_heap(heap.begin(), heap.end());
        heap.back() = kronrod(g, g.lo, g.hi, worst.a, mid);
        std::push_heap(heap.begin(), heap.end());
        heap.push_back(kronrod(g, g.lo, g.hi, mid, worst.b));
        std::push_heap(heap.begin(), heap.end());
        value = error = 0;
        for (const Panel& p : heap) value += p.value, error += p.error;
    }
    if (g.overflowed && out.status == Status::ok) out.status = Status::not_converged;
    // A divergent integrand can fool the estimate: bisected into an end, a
    // panel of 1/u³ is as well integrated, relative to its value, as any
    // other. More than a tenth of the integral (and a thousandth of that of
    // |f|) within 1e-9 of the range from an end means that it grows without
    // bound there (an integrable singularity leaves a share that vanishes
    // with the distance).
    const double near = 1e-9 * (g.hi - g.lo);
    double share = 0, magnitude = 0;
    for (const Panel& p : heap) {
        magnitude += std::fabs(p.value);
        if (p.b - g.lo < near || g.hi - p.a < near) share += std::fabs(p.value);
    }
    if (share > 0.1 * std::fabs(value) + 1e-3 * magnitude + abs_tol && out.status == Status::ok)
        out.status = Status::not_converged;
    out.value = sign * value;
    out.error = error;
    return out;
}

// Level k of the rule uses the step 2^-k; level k's new nodes are the odd
// multiples, so each level costs as much as all the ones before it. Nodes
// run out to t = 6.5, where the distance to the end is about 1e-300.
Quadrature tanh_sinh(Real1 f, double a, double b, double rel_tol, double abs_tol) {
    Quadrature out;
    double sign = 1;
    if (!prepare(a, b, sign, out)) return out;
    Mapped g(f, a, b, &out);
    const double half = 0.5 * (g.hi - g.lo), width = g.hi - g.lo;
    constexpr double half_pi = std::numbers::pi / 2, t_max = 6.5;
    // Σ w(t)·(g(+u) + g(-u)) over t = j·h for the j of this level.
    auto sweep = [&](double h, int first, int stride) {
        double sum = 0;
        for (int j = first;; j += stride) {
            const double t = j * h;
            if (t > t_max) break;
            const double s = half_pi * std::sinh(t), cs = std::cosh(s);
            const double w = half_pi * std::cosh(t) / (cs * cs);
            const double d = half / (std::exp(s) * cs);  // half·(1 - tanh s)
            if (d == 0) break;
            sum += w * (g(width - d, d) + g(d, width - d));
            if (out.status != Status::ok) break;
        }
        return sum;
    };
    double sum = half_pi * g(half, half) + sweep(1, 1, 1);
    double h = 1, previous = half * h * sum;
    out.value = previous;
    out.error = inf;
    for (int level = 1; level <= 12 && out.status == Status::ok; ++level) {
        if (core::should_stop()) {
            out.status = Status::stopped;
            break;
        }
        h *= 0.5;
        sum += sweep(h, 1, 2);
        const double value = half * h * sum;
        out.error = std::fabs(value - previous);
        out.value = value;
        previous = value;
        if (level >= 3 && out.error <= std::max(abs_tol, rel_tol * std::fabs(value))) break;
        if (level == 12) out.status = Status::not_converged;
    }
    if (g.overflowed && out.status == Status::ok) out.status = Status::not_converged;
    out.value *= sign;
    return out;
}

Quadrature integrate(Real1 f, double a, double b, double rel_tol, double abs_tol) {
    Quadrature gk = gauss_kronrod(f, a, b, rel_tol, abs_tol);
    if (gk.status == Status::ok || gk.status == Status::stopped || gk.status == Status::bad_argument) return gk;
    Quadrature ts = tanh_sinh(f, a, b, rel_tol, abs_tol);
    ts.evaluations += gk.evaluations;
    if (ts.status == Status::stopped || ts.status == Status::ok) return ts;
    if (gk.status == Status::not_finite) return ts;
    if (ts.status == Status::not_finite) return gk;
    const bool gk_better = gk.error < ts.error;
    Quadrature& best = gk_better ? gk : ts;
    best.evaluations = ts.evaluations;
    return best;
}

}  // namespace ostr::solve
