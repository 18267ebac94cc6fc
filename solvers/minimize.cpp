// Minimisers: Brent's method in one variable (golden section guarded by
// parabolic interpolation), and in several the Nelder-Mead simplex (no
// derivatives, robust on rough functions) and BFGS with central-difference
// gradients (superlinear near a smooth minimum). Each counts its function
// values and polls core::should_stop() between iterations.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "core/runtime.hpp"
#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

// Counts the values and turns a NaN or infinity into Status::not_finite.
struct Counted {
    RealN f;
    Minimum* out;
    double operator()(std::span<const double> x) {
        ++out->evaluations;
        const double v = f(x);
        if (!std::isfinite(v) && out->status == Status::ok) out->status = Status::not_finite;
        return v;
    }
};

}  // namespace

Minimum brent_minimum(Real1 f, double a, double b, double tol) {
    Minimum out;
    if (!std::isfinite(a) || !std::isfinite(b) || a == b) {
        out.status = Status::bad_argument;
        return out;
    }
    if (a > b) std::swap(a, b);
    tol = std::max(tol, 2 * eps);
    const double floor = eps * (b - a);  // the absolute part of the tolerance
    auto value = [&](double t) {
        ++out.evaluations;
        const double v = f(t);
        if (!std::isfinite(v)) out.status = Status::not_finite;
        return v;
    };
    const double golden = 0.5 * (3 - std::sqrt(5.0));
    // x: best so far; w: second best; v: the previous w; u: the last tried.
    double x = a + golden * (b - a), w = x, v = x;
    double fx = value(x), fw = fx, fv = fx;
    double d = 0, e = 0;
    for (int it = 0; it < 500 && out.status == Status::ok; ++it) {
        if ((it & 63) == 63 && core::should_stop()) {
            out.status = Status::stopped;
            break;
        }
        const double mid = 0.5 * (a + b);
        const double tol1 = tol * std::fabs(x) + floor, tol2 = 2 * tol1;
        if (std::fabs(x - mid) <= tol2 - 0.5 * (b - a)) break;
        bool parabolic = false;
        if (std::fabs(e) > tol1) {
            // The vertex of the parabola through x, w and v, as p/q.
            double r = (x - w) * (fx - fv), q = (x - v) * (fx - fw), p = (x - v) * q - (x - w) * r;
            q = 2 * (q - r);
            if (q > 0) p = -p;
            q = std::fabs(q);
            const double last = e;
            e = d;
            // Accepted only inside (a, b) and when it moves less than half
            // the step before last: otherwise it is not converging.
            if (std::fabs(p) < std::fabs(0.5 * q * last) && p > q * (a - x) && p < q * (b - x)) {
                d = p / q;
                const double u = x + d;
                if (u - a < tol2 || b - u < tol2) d = x < mid ? tol1 : -tol1;
                parabolic = true;
            }
        }
        if (!parabolic) {
            e = (x < mid ? b : a) - x;
            d = golden * e;
        }
        const double u = std::fabs(d) >= tol1 ? x + d : x + (d > 0 ? tol1 : -tol1);
        const double fu = value(u);
        if (fu <= fx) {
            (u < x ? b : a) = x;
            v = w, fv = fw, w = x, fw = fx, x = u, fx = fu;
        } else {
            (u < x ? a : b) = u;
            if (fu <= fw || w == x) {
                v = w, fv = fw, w = u, fw = fu;
            } else if (fu <= fv || v == x || v == w) {
                v = u, fv = fu;
            }
        }
    }
    out.x = {x};
    out.f = fx;
    return out;
}

Minimum nelder_mead(RealN f, std::span<const double> x0, double xtol, double ftol) {
    Minimum out;
    const std::size_t n = x0.size();
    if (n == 0) {
        out.status = Status::bad_argument;
        return out;
    }
    Counted value{f, &out};
    std::vector<std::vector<double>> s(n + 1, std::vector<double>(x0.begin(), x0.end()));
    std::vector<double> fs(n + 1);
    for (std::size_t j = 0; j < n; ++j) s[j + 1][j] = x0[j] != 0 ? 1.05 * x0[j] : 2.5e-4;
    for (std::size_t j = 0; j <= n; ++j) fs[j] = value(s[j]);
    std::vector<std::size_t> order(n + 1);
    std::vector<double> centre(n), xr(n), xe(n), xc(n);
    const long long budget = 400LL * static_cast<long long>(n * n) + 2000;
    auto point = [&](double t, std::vector<double>& into) {  // centre + t·(centre - worst)
        for (std::size_t j = 0; j < n; ++j) into[j] = centre[j] + t * (centre[j] - s[order[n]][j]);
    };
    for (int it = 1; out.status == Status::ok; ++it) {
        std::iota(order.begin(), order.end(), 0);
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return fs[a] < fs[b]; });
        double fspread = 0, xspread = 0;
        for (std::size_t k = 1; k <= n; ++k) {
            fspread = std::max(fspread, std::fabs(fs[order[k]] - fs[order[0]]));
            for (std::size_t j = 0; j < n; ++j)
                xspread = std::max(xspread, std::fabs(s[order[k]][j] - s[order[0]][j]) /
                                                std::max(1.0, std::fabs(s[order[0]][j])));
        }
        if ((fspread <= ftol * std::max(1.0, std::fabs(fs[order[0]])) && xspread <= xtol)) break;
        if (out.evaluations >= budget) {
            out.status = Status::not_converged;
            break;
        }
        if ((it & 15) == 0 && core::should_stop()) {
            out.status = Status::stopped;
            break;
        }
        std::fill(centre.begin(), centre.end(), 0.0);
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t j = 0; j < n; ++j) centre[j] += s[order[k]][j] / static_cast<double>(n);
        const std::size_t worst = order[n];
        point(1, xr);
        const double fr = value(xr);
        if (fr < fs[order[0]]) {
            point(2, xe);
            const double fe = value(xe);
            if (fe < fr) s[worst] = xe, fs[worst] = fe;
            else s[worst] = xr, fs[worst] = fr;
        } else if (fr < fs[order[n - 1]]) {
            s[worst] = xr, fs[worst] = fr;
        } else {
            // Contraction: outside when the reflection improved on the
            // worst, inside otherwise.
            const bool outside = fr < fs[worst];
            point(outside ? 0.5 : -0.5, xc);
            const double fc = value(xc);
            if (fc < (outside ? fr : fs[worst])) {
                s[worst] = xc, fs[worst] = fc;
            } else {
                for (std::size_t k = 1; k <= n; ++k) {
                    std::vector<double>& p = s[order[k]];
                    for (std::size_t j = 0; j < n; ++j) p[j] = s[order[0]][j] + 0.5 * (p[j] - s[order[0]][j]);
                    fs[order[k]] = value(p);
                }
            }
        }
    }
    const std::size_t best = static_cast<std::size_t>(std::min_element(fs.begin(), fs.end()) - fs.begin());
    out.x = s[best];
    out.f = fs[best];
    return out;
}

namespace {

// Central differences: error about ε^(2/3)·|f|/h-scale, the best a
// difference of two values can do.
bool gradient(Counted& f, std::vector<double>& x, std::vector<double>& g) {
    const double h0 = std::cbrt(eps);
    for (std::size_t j = 0; j < x.size(); ++j) {
        const double keep = x[j], h = h0 * std::max(std::fabs(keep), 1.0);
        x[j] = keep + h;
        const double up = f(x), hu = x[j] - keep;
        x[j] = keep - h;
        const double down = f(x), hd = keep - x[j];
        x[j] = keep;
        g[j] = (up - down) / (hu + hd);
        if (!std::isfinite(g[j])) return false;
    }
    return true;
}

}  // namespace

Minimum bfgs(RealN f, std::span<const double> x0, double gtol) {
    Minimum out;
    const std::size_t n = x0.size();
    if (n == 0) {
        out.status = Status::bad_argument;
        return out;
    }
    Counted value{f, &out};
    std::vector<double> x(x0.begin(), x0.end()), g(n), H(n * n, 0.0), d(n), xn(n), gn(n), s(n), y(n);
    for (std::size_t j = 0; j < n; ++j) H[j * n + j] = 1;
    double fx = value(x);
    if (out.status != Status::ok || !gradient(value, x, g)) {
        if (out.status == Status::ok) out.status = Status::not_finite;
        out.x = x, out.f = fx;
        return out;
    }
    const long long budget = 2000LL * static_cast<long long>(n + 1);
    bool fresh = true;  // H is the identity: scale the first step
    for (int it = 0;; ++it) {
        const double gmax = std::fabs(g[static_cast<std::size_t>(
            std::max_element(g.begin(), g.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); }) -
            g.begin())]);
        if (gmax <= gtol * std::max(1.0, std::fabs(fx))) break;
        if (out.evaluations >= budget) {
            out.status = Status::not_converged;
            break;
        }
        if ((it & 15) == 15 && core::should_stop()) {
            out.status = Status::stopped;
            break;
        }
        double slope = 0;
        for (std::size_t i = 0; i < n; ++i) {
            double s2 = 0;
            for (std::size_t j = 0; j < n; ++j) s2 -= H[i * n + j] * g[j];
            d[i] = s2;
            slope += s2 * g[i];
        }
        if (!(slope < 0)) {  // not a descent direction: start afresh
            std::fill(H.begin(), H.end(), 0.0);
            for (std::size_t j = 0; j < n; ++j) H[j * n + j] = 1, d[j] = -g[j];
            slope = 0;
            for (std::size_t j = 0; j < n; ++j) slope -= g[j] * g[j];
            fresh = true;
        }
        double t = 1;
        if (fresh) {
            double dn = 0, xn2 = 0;
            for (std::size_t j = 0; j < n; ++j) dn = std::hypot(dn, d[j]), xn2 = std::hypot(xn2, x[j]);
            t = std::min(1.0, std::max(0.1 * std::max(xn2, 1.0), 1e-8) / dn);
        }
        // Backtracking with the Armijo condition f(x + t·d) <= f + 1e-4·t·slope.
        double fn = 0;
        bool moved = false;
        for (int k = 0; k < 60; ++k, t *= 0.5) {
            for (std::size_t j = 0; j < n; ++j) xn[j] = x[j] + t * d[j];
            fn = value(xn);
            if (out.status == Status::not_finite) out.status = Status::ok;  // a NaN trial: shorter step
            if (std::isfinite(fn) && fn <= fx + 1e-4 * t * slope) {
                moved = true;
                break;
            }
        }
        if (!moved) break;  // no decrease along a descent direction: at the minimum to precision
        if (!gradient(value, xn, gn)) {
            out.status = Status::not_finite;
            break;
        }
        double sy = 0, step = 0, size = 0;
        for (std::size_t j = 0; j < n; ++j) {
            s[j] = xn[j] - x[j], y[j] = gn[j] - g[j], sy += s[j] * y[j];
            step = std::max(step, std::fabs(s[j])), size = std::max(size, std::fabs(xn[j]));
        }
        x.swap(xn), g.swap(gn);
        const double fold = fx;
        fx = fn;
        if (step <= 1e-13 * std::max(size, 1.0) || (fold - fx <= 1e-15 * std::fabs(fx) && step <= 1e-9 * std::max(size, 1.0))) break;
        if (sy <= 0) continue;
        if (fresh) {  // scale the identity to the curvature seen: yᵀs/yᵀy
            double yy = 0;
            for (std::size_t j = 0; j < n; ++j) yy += y[j] * y[j];
            for (std::size_t j = 0; j < n; ++j) H[j * n + j] = sy / yy;
            fresh = false;
        }
        // H ← (I - ρ s yᵀ) H (I - ρ y sᵀ) + ρ s sᵀ, ρ = 1/sᵀy.
        std::vector<double> Hy(n);
        double yHy = 0;
        for (std::size_t i = 0; i < n; ++i) {
            double v = 0;
            for (std::size_t j = 0; j < n; ++j) v += H[i * n + j] * y[j];
            Hy[i] = v;
            yHy += y[i] * v;
        }
        const double rho = 1 / sy;
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < n; ++j)
                H[i * n + j] += rho * ((1 + rho * yHy) * s[i] * s[j] - Hy[i] * s[j] - s[i] * Hy[j]);
    }
    out.x = x;
    out.f = fx;
    return out;
}

}  // namespace ostr::solve
