// Roots, peaks and fits: findroots and findpeaks scan a real function of x
// on a grid and polish what they bracket; complexroots runs the
// Aberth-Ehrlich iteration on a polynomial's coefficients; polyfit solves
// the least-squares problem by Householder QR; hmstime normalises a time.
// The small dense kernels here are local on purpose: least squares for a
// few dozen columns needs no general linear-algebra layer.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "core/runtime.hpp"
#include "formula/derivative.hpp"
#include "lang/builtins.hpp"
#include "lang/containers.hpp"
#include "objects/environment.hpp"

namespace ostr::lang::builtin {
namespace {

using cplx = std::complex<double>;
using BlockPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;
BlockPtr new_block() { return BlockPtr(obj::new_array(), obj::array_handlers().free); }

// Grid cells of the scan: a root or peak closer to another than about
// (b-a)/grid may be missed.
constexpr int grid = 2000;
constexpr int max_degree = 500;

// f(x) for a real x, the variable held in a scope under the caller's.
class RealFunction {
public:
    RealFunction(const Call& call, std::string_view expression) : call_(call), expression_(expression) {
        scope_.reset(obj::make_environment(call.env));
        if (!scope_) return;
        obj::Object* o = obj::make_numeric({0, 0}, "x", scope_.get());
        if (!o) return;
        obj::store(scope_.get(), o);
        x_ = static_cast<Complex*>(o->value);
    }
    bool ok() const noexcept { return x_ != nullptr; }
    std::string_view text() const noexcept { return call_.text; }
    // NaN where f is no real number; `stop` holds the call's value once
    // evaluation must end (an error inside f, an abort).
    double operator()(double x) {
        if (stop) return NAN;
        if ((++count_ & 255) == 0 && core::should_stop()) {
            stop = Value::failure(Error::evaluation_aborted);
            return NAN;
        }
        *x_ = {x, 0};
        Value v = evaluate(expression_, scope_.get());
        Complex z;
        switch (as_number(v, &z)) {
        // An imaginary part this small is the rounding noise of a power of
        // a negative base, not a complex value.
        case Args::numbers: return std::fabs(z.im) <= 1e-9 * std::fmax(1.0, std::fabs(z.re)) ? z.re : NAN;
        // A formula is a pole (1/0 stays a text) or a free name; only when
        // no sample at all is a number is the call kept as its text.
        case Args::formula: ++formulas; return NAN;
        case Args::invalid: stop = v.is_error() ? Value::failure(v.error) : Value::failure(); return NAN;
        }
        return NAN;
    }
    std::optional<Value> stop;
    int formulas = 0;

private:
    const Call& call_;
    std::string_view expression_;
    obj::OwnedEnvironment scope_;
    Complex* x_ = nullptr;
    unsigned count_ = 0;
};

// The end points as real numbers with a < b.
std::optional<Value> interval(const Call& call, double* ab) {
    if (call.args.size() != 3 || malformed(call)) return Value::failure();
    Complex z[2];
    for (int k = 0; k < 2; ++k) {
        Value v = evaluate(call.args[k + 1], call.env);
        if (v.is_error()) return Value::failure(v.error);
        if (as_number(v, &z[k]) != Args::numbers || !as_real(z[k], &ab[k]) || !std::isfinite(ab[k]))
            return Value::failure();
    }
    if (!(ab[0] < ab[1])) return Value::failure();
    return std::nullopt;
}

Value push_all(const std::vector<Complex>& v) {
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    for (const Complex& z : v) out->items.push_back({z, nullptr});
    return array_value(out.release());
}

// Bisection to the last bit between a and b, f(a) and f(b) of opposite
// signs: about 60 halvings, each exact, so the answer is the double next to
// the sign change.
double bisect(RealFunction& f, double a, double b, double fa) {
    for (int k = 0; k < 200; ++k) {
        const double m = 0.5 * (a + b);
        if (m <= a || m >= b) break;
        const double fm = f(m);
        if (std::isnan(fm)) return NAN;
        if (fm == 0) return m;
        if ((fm < 0) == (fa < 0)) a = m, fa = fm;
        else b = m;
    }
    return std::fabs(f(a)) <= std::fabs(f(b)) ? a : b;
}

// Golden-section search for a minimum of g on [a, b].
template <class G>
double golden(G&& g, double a, double b) {
    const double r = 0.5 * (std::sqrt(5.0) - 1);
    double c = b - r * (b - a), d = a + r * (b - a), gc = g(c), gd = g(d);
    for (int k = 0; k < 200 && b - a > 4 * std::numeric_limits<double>::epsilon() * (std::fabs(a) + std::fabs(b)); ++k) {
        if (gc < gd) b = d, d = c, gd = gc, c = b - r * (b - a), gc = g(c);
        else a = c, c = d, gc = gd, d = a + r * (b - a), gd = g(d);
    }
    return 0.5 * (a + b);
}

struct Grid {
    std::vector<double> x, y;
    double scale = 0;
};

std::optional<Value> sample(RealFunction& f, double a, double b, Grid* g) {
    for (int k = 0; k <= grid; ++k) {
        const double x = k == grid ? b : a + (b - a) * k / grid;
        const double y = f(x);
        if (f.stop) return std::move(f.stop);
        g->x.push_back(x);
        g->y.push_back(y);
        if (std::isfinite(y)) g->scale = std::fmax(g->scale, std::fabs(y));
    }
    if (f.formulas > grid) return Value::formula_of(Text(f.text()));
    return std::nullopt;
}

// findroots(f,a,b): sign changes polished by bisection (a sign change
// through a pole, where |f| grows, is no root), and double roots as minima
// of |f| that reach 0 within 1e-10 of the largest |f| on the grid.
Value findroots(const Call& call, std::span<Value>) {
    double ab[2];
    if (auto v = interval(call, ab)) return std::move(*v);
    RealFunction f(call, call.args[0]);
    if (!f.ok()) return Value::failure();
    Grid g;
    if (auto v = sample(f, ab[0], ab[1], &g)) return std::move(*v);
    std::vector<Complex> roots;
    auto add = [&](double r) {
        if (!roots.empty() && std::fabs(roots.back().re - r) <= 1e-12 * std::fmax(1.0, std::fabs(r))) return;
        roots.push_back({r, 0});
    };
    for (int k = 0; k <= grid; ++k) {
        const double y = g.y[k];
        if (y == 0) {
            add(g.x[k]);
            continue;
        }
        if (k == grid || std::isnan(y) || std::isnan(g.y[k + 1])) continue;
        const double next = g.y[k + 1];
        if (next != 0 && (y < 0) != (next < 0)) {
            const double r = bisect(f, g.x[k], g.x[k + 1], y);
            if (std::isfinite(r) && std::fabs(f(r)) <= std::fmax(std::fabs(y), std::fabs(next))) add(r);
        } else if (k > 0 && std::fabs(y) < std::fabs(g.y[k - 1]) && std::fabs(y) <= std::fabs(next)) {
            const double r = golden([&](double t) { return std::fabs(f(t)); }, g.x[k - 1], g.x[k + 1]);
            if (std::fabs(f(r)) <= 1e-10 * g.scale) add(r);
        }
        if (f.stop) return std::move(*f.stop);
    }
    return push_all(roots);
}

// The text of f' with x free, or empty when f has no closed-form derivative.
Text derivative_text(const Call& call) {
    obj::OwnedEnvironment scope(obj::make_environment(call.env));
    if (!scope) return {};
    obj::Object* free_x = to_object(Value::formula_of(Text("x")), scope.get(), "x");
    if (!free_x) return {};
    obj::store(scope.get(), free_x);
    Value f = evaluate(call.args[0], scope.get());
    if (f.kind != Value::Kind::formula || f.text.im != "0") return {};
    formula::Derivative d = formula::derivative(f.text.re, "x");
    if (d.status != formula::DerivativeStatus::ok || d.estimated) return {};
    return d.text;
}

// findpeaks(f,a,b): interior local maxima and minima, each [x, f(x)]. The
// place is where f' changes sign, narrowed by bisection to the last bit
// when f has a closed-form derivative; else a golden-section search on f
// finds it to about half the digits.
Value findpeaks(const Call& call, std::span<Value>) {
    double ab[2];
    if (auto v = interval(call, ab)) return std::move(*v);
    RealFunction f(call, call.args[0]);
    if (!f.ok()) return Value::failure();
    const Text slope_text = derivative_text(call);
    RealFunction slope(call, slope_text);
    if (!slope.ok()) return Value::failure();
    Grid g;
    if (auto v = sample(f, ab[0], ab[1], &g)) return std::move(*v);
    BlockPtr out = new_block();
    if (!out) return Value::failure();
    for (int k = 1; k < grid; ++k) {
        const double l = g.y[k - 1], m = g.y[k], r = g.y[k + 1];
        if (std::isnan(l) || std::isnan(m) || std::isnan(r)) continue;
        const bool top = m > l && m >= r, bottom = m < l && m <= r;
        if (!top && !bottom) continue;
        const double s = top ? -1 : 1;
        double x = NAN;
        if (!slope_text.empty()) {
            const double sl = slope(g.x[k - 1]), sr = slope(g.x[k + 1]);
            if (sl != 0 && (sl < 0) != (sr < 0)) x = bisect(slope, g.x[k - 1], g.x[k + 1], sl);
            if (slope.stop) return std::move(*slope.stop);
        }
        if (std::isnan(x)) x = golden([&](double t) { return s * f(t); }, g.x[k - 1], g.x[k + 1]);
        const double y = f(x);
        if (f.stop) return std::move(*f.stop);
        BlockPtr pair = new_block();
        if (!pair) return Value::failure();
        pair->items.push_back({{x, 0}, nullptr});
        pair->items.push_back({{y, 0}, nullptr});
        Value v = array_value(pair.release());
        obj::Item it;
        if (!to_item(v, it)) return Value::failure();
        out->items.push_back(it);
    }
    obj::refresh_depth(*out);
    return array_value(out.release());
}

// Aberth-Ehrlich: every root z_k moves by w/(1 - w*sum 1/(z_k - z_j)),
// w = p/p'(z_k), all at once; cubic convergence to simple roots, linear to
// multiple ones, which end within about eps^(1/m) of the root (refined
// below).
std::vector<cplx> aberth(std::vector<cplx> c) {
    const std::size_t n = c.size() - 1;
    std::vector<cplx> z(n);
    double radius = 0;
    for (std::size_t k = 0; k < n; ++k) radius = std::fmax(radius, std::pow(std::abs(c[k] / c[n]), 1.0 / (n - k)));
    for (std::size_t k = 0; k < n; ++k)
        z[k] = std::polar(radius, 2 * M_PI * (k + 0.25) / n + 0.4);
    for (int it = 0; it < 1000; ++it) {
        if ((it & 15) == 0 && core::should_stop()) return {};
        bool moved = false;
        for (std::size_t k = 0; k < n; ++k) {
            cplx p = c[n], dp = 0;
            for (std::size_t j = n; j-- > 0;) dp = dp * z[k] + p, p = p * z[k] + c[j];
            if (p == cplx(0)) continue;
            const cplx w = p / dp;
            cplx s = 0;
            for (std::size_t j = 0; j < n; ++j)
                if (j != k) s += 1.0 / (z[k] - z[j]);
            const cplx step = w / (1.0 - w * s);
            z[k] -= step;
            if (std::abs(step) > 4 * std::numeric_limits<double>::epsilon() * std::abs(z[k])) moved = true;
        }
        if (!moved) break;
    }
    return z;
}

// Multiple roots. Aberth leaves a root of multiplicity m as m points within
// about |z|·ε^(1/m) of it. The m roots nearest each root, when they lie
// within 2·|z|·(64nε)^(1/m), are a candidate cluster; from their mean,
// Newton on p^(m-1) (for which the root is simple) converges quadratically.
// The cluster is taken as one root of multiplicity m when Newton stays
// within the cluster and p, p', ..., p^(m-1) all vanish there to within
// their rounding bound 16·n·ε·Σ|d_k|·|z|^k: then no polynomial nearer than
// that rounding has m distinct roots there. Candidates are tried from the
// largest m down.
constexpr std::size_t max_multiplicity = 24;

// The coefficients of p^(j)/j!: d_k = C(k+j, j)·c_(k+j).
std::vector<cplx> taylor_coefficients(const std::vector<cplx>& c, std::size_t j) {
    std::vector<cplx> d(c.size() - j);
    for (std::size_t k = 0; k < d.size(); ++k) {
        double binom = 1;
        for (std::size_t t = 1; t <= j; ++t) binom = binom * static_cast<double>(k + t) / static_cast<double>(t);
        d[k] = binom * c[k + j];
    }
    return d;
}

// Horner with the running bound Σ|d_k|·|z|^k of its rounding.
cplx horner(const std::vector<cplx>& d, cplx z, double* bound = nullptr) {
    cplx v = 0;
    double b = 0;
    const double az = std::abs(z);
    for (std::size_t k = d.size(); k-- > 0;) v = v * z + d[k], b = b * az + std::abs(d[k]);
    if (bound) *bound = b;
    return v;
}

// The multiple root of a candidate cluster, or nothing.
std::optional<cplx> settle(const std::vector<cplx>& c, cplx mean, std::size_t m, double radius) {
    const std::vector<cplx> f = taylor_coefficients(c, m - 1), df = taylor_coefficients(c, m);
    cplx z = mean;
    for (int it = 0; it < 40; ++it) {
        const cplx slope = static_cast<double>(m) * horner(df, z);  // (p^(m-1)/(m-1)!)' = m·p^(m)/m!
        if (slope == cplx(0)) break;
        const cplx step = horner(f, z) / slope;
        z -= step;
        if (!(std::abs(z - mean) <= radius)) return std::nullopt;
        if (std::abs(step) <= 2 * std::numeric_limits<double>::epsilon() * std::abs(z)) break;
    }
    const double tol = 16 * static_cast<double>(c.size()) * std::numeric_limits<double>::epsilon();
    for (std::size_t j = 0; j < m; ++j) {
        double bound;
        const cplx v = horner(taylor_coefficients(c, j), z, &bound);
        if (!(std::abs(v) <= tol * bound)) return std::nullopt;
    }
    return z;
}

void refine_multiple_roots(const std::vector<cplx>& c, std::vector<cplx>& z) {
    const std::size_t n = z.size();
    const double eps = std::numeric_limits<double>::epsilon();
    std::vector<bool> done(n, false), multiple(n, false);
    for (std::size_t k = 0; k < n; ++k) {
        if (done[k]) continue;
        std::vector<std::size_t> near;
        for (std::size_t j = 0; j < n; ++j)
            if (!done[j]) near.push_back(j);
        std::sort(near.begin(), near.end(),
                  [&](std::size_t a, std::size_t b) { return std::abs(z[a] - z[k]) < std::abs(z[b] - z[k]); });
        for (std::size_t m = std::min(near.size(), max_multiplicity); m >= 2; --m) {
            const double radius =
                2 * std::abs(z[k]) * std::pow(64 * static_cast<double>(n) * eps, 1.0 / static_cast<double>(m));
            if (!(std::abs(z[near[m - 1]] - z[k]) <= radius)) continue;
            cplx mean = 0;
            for (std::size_t t = 0; t < m; ++t) mean += z[near[t]];
            mean /= static_cast<double>(m);
            if (std::optional<cplx> root = settle(c, mean, m, radius)) {
                for (std::size_t t = 0; t < m; ++t) z[near[t]] = *root, multiple[near[t]] = true;
                for (std::size_t t = 0; t < m; ++t) done[near[t]] = true;
                break;
            }
        }
        done[k] = true;
    }
    // A simple root next to a cluster stopped where the cluster's loose
    // points left it; with the cluster settled, Aberth steps on the simple
    // roots alone (every other root deflated) finish it.
    for (int pass = 0; pass < 3; ++pass)
        for (std::size_t k = 0; k < n; ++k) {
            if (multiple[k]) continue;
            cplx p = c[n], dp = 0;
            for (std::size_t j = n; j-- > 0;) dp = dp * z[k] + p, p = p * z[k] + c[j];
            if (p == cplx(0)) continue;
            cplx s = 0;
            for (std::size_t j = 0; j < n; ++j)
                if (j != k && z[j] != z[k]) s += 1.0 / (z[k] - z[j]);
            const cplx step = 1.0 / (dp / p - s);
            if (std::isfinite(step.real()) && std::isfinite(step.imag())) z[k] -= step;
        }
}

// complexroots(p,x): the roots of a polynomial in x, with repeats, sorted
// by real and then imaginary part.
Value complexroots(const Call& call, std::span<Value>) {
    if (call.args.size() != 2 || malformed(call)) return Value::failure();
    const std::string_view x = call.args[1];
    Arbenv* scope = obj::make_environment(call.env);
    obj::OwnedEnvironment owned(scope);
    if (!scope) return Value::failure();
    obj::Object* free_x = to_object(Value::formula_of(Text(x)), scope, x);
    if (!free_x) return Value::failure();
    obj::store(scope, free_x);
    Value p = evaluate(call.args[0], scope);
    if (p.is_error()) return p;
    if (p.kind != Value::Kind::formula && p.kind != Value::Kind::pair) return Value::failure();
    std::vector<double> re = formula::polynomial(p.text.re, x, max_degree);
    std::vector<double> im = p.text.im == "0" ? std::vector<double>{} : formula::polynomial(p.text.im, x, max_degree);
    if (re.empty() || (p.text.im != "0" && im.empty())) return Value::failure();
    std::vector<cplx> c(std::max(re.size(), im.size()));
    for (std::size_t k = 0; k < c.size(); ++k) c[k] = {k < re.size() ? re[k] : 0, k < im.size() ? im[k] : 0};
    while (!c.empty() && c.back() == cplx(0)) c.pop_back();
    std::size_t zeros = 0;
    while (zeros < c.size() && c[zeros] == cplx(0)) ++zeros;
    std::vector<cplx> roots(zeros, 0);
    c.erase(c.begin(), c.begin() + static_cast<std::ptrdiff_t>(zeros));
    if (c.size() >= 2) {
        std::vector<cplx> z = aberth(c);
        if (z.empty()) return Value::failure(Error::evaluation_aborted);
        refine_multiple_roots(c, z);
        roots.insert(roots.end(), z.begin(), z.end());
    }
    std::vector<Complex> out;
    for (cplx r : roots) {
        // Parts below 1e-14 of the modulus are rounding noise of a real or
        // imaginary root.
        const double scale = 1e-14 * std::abs(r);
        out.push_back({std::fabs(r.real()) <= scale ? 0 : r.real(), std::fabs(r.imag()) <= scale ? 0 : r.imag()});
    }
    std::sort(out.begin(), out.end(), [](Complex a, Complex b) { return a.re < b.re || (a.re == b.re && a.im < b.im); });
    return push_all(out);
}

// The real numbers of an array argument.
std::optional<Value> reals_of(const Call& call, std::size_t k, std::vector<double>* out) {
    Value v = evaluate(call.args[k], call.env);
    if (v.is_error()) return Value::failure(v.error);
    if (!is_array(v)) return Value::failure();
    for (const obj::Item& it : obj::array_of(v.obj.get())->items) {
        double r = 0;
        if (it.obj || !as_real(it.num, &r)) return Value::failure();
        out->push_back(r);
    }
    return std::nullopt;
}

// Least squares by Householder QR of the Vandermonde matrix A (m x n,
// column-major): each reflection zeroes one column below the diagonal and
// is applied to y too; then R c = (Q^T y)[0..n) by back substitution.
// Backward stable, unlike the normal equations, whose condition squares.
std::vector<double> least_squares(std::vector<double> A, std::vector<double> y, std::size_t m, std::size_t n) {
    for (std::size_t j = 0; j < n; ++j) {
        double* col = &A[j * m];
        double norm = 0;
        for (std::size_t i = j; i < m; ++i) norm = std::hypot(norm, col[i]);
        if (norm == 0) return {};
        const double alpha = col[j] > 0 ? -norm : norm;
        col[j] -= alpha;  // v = x - alpha e1, stored in place
        double vnorm2 = 0;
        for (std::size_t i = j; i < m; ++i) vnorm2 += col[i] * col[i];
        auto reflect = [&](double* t) {
            double d = 0;
            for (std::size_t i = j; i < m; ++i) d += col[i] * t[i];
            d = 2 * d / vnorm2;
            for (std::size_t i = j; i < m; ++i) t[i] -= d * col[i];
        };
        for (std::size_t k = j + 1; k < n; ++k) reflect(&A[k * m]);
        reflect(y.data());
        col[j] = alpha;  // R's diagonal
    }
    std::vector<double> c(n);
    for (std::size_t j = n; j-- > 0;) {
        double s = y[j];
        for (std::size_t k = j + 1; k < n; ++k) s -= A[k * m + j] * c[k];
        c[j] = s / A[j * m + j];
    }
    return c;
}

// polyfit(xs,ys,d): the coefficients c0..cd, lowest power first, of the
// polynomial of degree d nearest the points in the least-squares sense.
Value polyfit(const Call& call, std::span<Value>) {
    if (call.args.size() != 3 || malformed(call)) return Value::failure();
    std::vector<double> xs, ys;
    if (auto v = reals_of(call, 0, &xs)) return std::move(*v);
    if (auto v = reals_of(call, 1, &ys)) return std::move(*v);
    Value dv = evaluate(call.args[2], call.env);
    Complex dz;
    double d = 0;
    if (as_number(dv, &dz) != Args::numbers || !as_real(dz, &d) || d != std::floor(d) || d < 0) return Value::failure();
    if (xs.size() != ys.size() || d + 1 > static_cast<double>(xs.size()) || d > 100) return Value::failure();
    const std::size_t m = xs.size(), n = static_cast<std::size_t>(d) + 1;
    std::vector<double> A(m * n);
    for (std::size_t i = 0; i < m; ++i) {
        double p = 1;
        for (std::size_t j = 0; j < n; ++j, p *= xs[i]) A[j * m + i] = p;
    }
    std::vector<double> c = least_squares(std::move(A), ys, m, n);
    if (c.empty()) return Value::failure();
    std::vector<Complex> out;
    for (double v : c) {
        if (!std::isfinite(v)) return Value::failure();
        out.push_back({v, 0});
    }
    return push_all(out);
}

// hmstime(h,m,s): the time h hours, m minutes and s seconds as [hours,
// minutes, seconds] with whole hours and minutes, minutes below 60 and
// seconds below 60; a negative total has every part negative.
Value hmstime(const Call& call, std::span<Value> values) {
    Complex z[3];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    double t = 0;
    for (int k = 0; k < 3; ++k) {
        double r = 0;
        if (!as_real(z[k], &r)) return Value::failure();
        t += r * (k == 0 ? 3600 : k == 1 ? 60 : 1);
    }
    if (!std::isfinite(t)) return Value::failure();
    const double sign = t < 0 ? -1 : 1;
    t = std::fabs(t);
    const double h = std::floor(t / 3600), m = std::floor((t - 3600 * h) / 60);
    const double s = t - 3600 * h - 60 * m;
    return push_all({{sign * h + 0.0, 0}, {sign * m + 0.0, 0}, {sign * s + 0.0, 0}});
}

}  // namespace

Value find_roots(const Call& call, std::span<Value> v) { return findroots(call, v); }
Value find_peaks(const Call& call, std::span<Value> v) { return findpeaks(call, v); }
Value complex_roots(const Call& call, std::span<Value> v) { return complexroots(call, v); }
Value polynomial_fit(const Call& call, std::span<Value> v) { return polyfit(call, v); }
Value hms_time(const Call& call, std::span<Value> v) { return hmstime(call, v); }

}  // namespace ostr::lang::builtin
