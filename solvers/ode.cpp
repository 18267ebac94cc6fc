// Initial-value problems: the explicit Dormand-Prince 5(4) pair with its
// 4th-order dense output and Hairer's stiffness test, and the Rosenbrock
// 2(3) W-method of Shampine and Reichelt for stiff systems. Both share the
// error norm, the output at requested times from the dense output of each
// accepted step, and the bounds (step count, smallest step, should_stop).
#include <algorithm>
#include <cmath>
#include <limits>

#include "core/runtime.hpp"
#include "linalg/dense.hpp"
#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

// Dormand-Prince coefficients: nodes c, stages a, the 5th-order weights (the
// last stage row, FSAL), the error weights e = b5 - b4, and the dense-output
// weights d of the continuous 4th-order extension.
constexpr double c2 = 1.0 / 5, c3 = 3.0 / 10, c4 = 4.0 / 5, c5 = 8.0 / 9;
constexpr double a21 = 1.0 / 5;
constexpr double a31 = 3.0 / 40, a32 = 9.0 / 40;
constexpr double a41 = 44.0 / 45, a42 = -56.0 / 15, a43 = 32.0 / 9;
constexpr double a51 = 19372.0 / 6561, a52 = -25360.0 / 2187, a53 = 64448.0 / 6561, a54 = -212.0 / 729;
constexpr double a61 = 9017.0 / 3168, a62 = -355.0 / 33, a63 = 46732.0 / 5247, a64 = 49.0 / 176,
                 a65 = -5103.0 / 18656;
constexpr double a71 = 35.0 / 384, a73 = 500.0 / 1113, a74 = 125.0 / 192, a75 = -2187.0 / 6784, a76 = 11.0 / 84;
constexpr double e1 = 71.0 / 57600, e3 = -71.0 / 16695, e4 = 71.0 / 1920, e5 = -17253.0 / 339200, e6 = 22.0 / 525,
                 e7 = -1.0 / 40;
constexpr double d1 = -12715105075.0 / 11282082432, d3 = 87487479700.0 / 32700410799,
                 d4 = -10690763975.0 / 1880347072, d5 = 701980252875.0 / 199316789632,
                 d6 = -1453857185.0 / 822651844, d7 = 69997945.0 / 29380423;

// Rosenbrock 2(3): d = 1/(2 + √2), e32 = 6 + √2.
const double rd = 1 / (2 + std::sqrt(2.0)), e32 = 6 + std::sqrt(2.0);

using Vec = std::vector<double>;

class Solver {
public:
    Solver(Rhs f, std::span<const double> times, const OdeOptions& o, OdeResult& r)
        : f_(f), times_(times), o_(o), r_(r), n_(0) {}

    void run(std::span<const double> y0) {
        n_ = y0.size();
        y_.assign(y0.begin(), y0.end());
        t_ = times_[0];
        const double end = times_.back();
        dir_ = end >= t_ ? 1 : -1;
        r_.y.reserve(times_.size() * n_);
        r_.y.insert(r_.y.end(), y_.begin(), y_.end());
        next_ = 1;
        for (Vec* v : {&k1_, &k2_, &k3_, &k4_, &k5_, &k6_, &k7_, &yn_, &ys_, &err_, &cont_[0], &cont_[1], &cont_[2],
                       &cont_[3], &cont_[4]})
            v->assign(n_, 0.0);
        if (next_ >= times_.size()) return;
        if (!eval(t_, y_, k1_)) return;
        bool stiff = o_.method == OdeMethod::rosenbrock;
        double h = o_.first_step != 0 ? std::fabs(o_.first_step) : initial_step(stiff ? 3 : 5);
        h = std::min(h, std::fabs(end - t_));
        while (r_.status == Status::ok && next_ < times_.size()) {
            if (!stiff) {
                h = dopri(h, end, stiff);
                if (stiff) r_.switched_to_stiff = true;
            } else {
                h = rosenbrock(h, end);
            }
        }
    }

private:
    bool eval(double t, const Vec& y, Vec& dy) {
        ++r_.evaluations;
        if (!f_(t, y, dy)) {
            r_.status = Status::stopped;
            return false;
        }
        for (double v : dy)
            if (!std::isfinite(v)) {
                r_.status = Status::not_finite;
                return false;
            }
        return true;
    }

    double scale(double a, double b) const {
        return o_.atol + o_.rtol * std::max(std::fabs(a), std::fabs(b));
    }
    double norm(const Vec& e, const Vec& y0, const Vec& y1) const {
        double s = 0;
        for (std::size_t i = 0; i < n_; ++i) {
            const double q = e[i] / scale(y0[i], y1[i]);
            s += q * q;
        }
        return std::sqrt(s / static_cast<double>(std::max<std::size_t>(n_, 1)));
    }

    // Hairer's starting step for a method of order p: the smaller of a step
    // that changes y by 1% of its size and one whose second-derivative
    // estimate meets the tolerance.
    double initial_step(int p) {
        Vec zero(n_, 0.0);
        const double d0 = norm(y_, zero, y_), d1n = norm(k1_, zero, y_);
        double h0 = d0 < 1e-5 || d1n < 1e-5 ? 1e-6 : 0.01 * d0 / d1n;
        for (std::size_t i = 0; i < n_; ++i) yn_[i] = y_[i] + dir_ * h0 * k1_[i];
        if (!eval(t_ + dir_ * h0, yn_, k2_)) return h0;
        for (std::size_t i = 0; i < n_; ++i) err_[i] = k2_[i] - k1_[i];
        const double d2 = norm(err_, zero, y_) / h0;
        const double m = std::max(d1n, d2);
        const double h1 = m <= 1e-15 ? std::max(1e-6, h0 * 1e-3) : std::pow(0.01 / m, 1.0 / (p + 1));
        return std::min(100 * h0, h1);
    }

    // Every requested time in (t0, t0 + dir·h] from the dense output.
    template <class Dense>
    void emit(double t0, double tn, double h, Dense&& at) {
        while (next_ < times_.size()) {
            const double t = times_[next_];
            if (dir_ * (t - tn) > 0) break;
            const double theta = std::min(1.0, dir_ * (t - t0) / h);
            const std::size_t row = r_.y.size();
            r_.y.resize(row + n_);
            at(theta, r_.y.data() + row);
            ++next_;
        }
    }

    // Gives up on a step count past the bound, a step too small to move t,
    // or a stop from outside.
    bool bounded(double h) {
        if (r_.steps + r_.rejected >= o_.max_steps || h <= 16 * eps * std::fabs(t_) || !(h > 0)) {
            r_.status = Status::not_converged;
            return false;
        }
        if (((r_.steps + r_.rejected) & 63) == 63 && core::should_stop()) {
            r_.status = Status::stopped;
            return false;
        }
        return true;
    }

    // Steps until a Rosenbrock switch, the end or a failure; answers the next
    // step size.
    double dopri(double h, double end, bool& stiff) {
        int stiff_count = 0, calm_count = 0;
        bool rejected_last = false;
        while (next_ < times_.size()) {
            if (!bounded(h)) return h;
            const bool last = h >= std::fabs(end - t_);
            if (last) h = std::fabs(end - t_);
            const double s = dir_ * h;
            auto stage = [&](Vec& out, std::initializer_list<std::pair<double, const Vec*>> terms) {
                for (std::size_t i = 0; i < n_; ++i) {
                    double v = 0;
                    for (auto& [a, k] : terms) v += a * (*k)[i];
                    out[i] = y_[i] + s * v;
                }
            };
            stage(yn_, {{a21, &k1_}});
            if (!eval(t_ + c2 * s, yn_, k2_)) return h;
            stage(yn_, {{a31, &k1_}, {a32, &k2_}});
            if (!eval(t_ + c3 * s, yn_, k3_)) return h;
            stage(yn_, {{a41, &k1_}, {a42, &k2_}, {a43, &k3_}});
            if (!eval(t_ + c4 * s, yn_, k4_)) return h;
            stage(yn_, {{a51, &k1_}, {a52, &k2_}, {a53, &k3_}, {a54, &k4_}});
            if (!eval(t_ + c5 * s, yn_, k5_)) return h;
            stage(ys_, {{a61, &k1_}, {a62, &k2_}, {a63, &k3_}, {a64, &k4_}, {a65, &k5_}});
            const double tn = last ? end : t_ + s;
            if (!eval(tn, ys_, k6_)) return h;
            stage(yn_, {{a71, &k1_}, {a73, &k3_}, {a74, &k4_}, {a75, &k5_}, {a76, &k6_}});
            if (!eval(tn, yn_, k7_)) return h;
            for (std::size_t i = 0; i < n_; ++i)
                err_[i] = s * (e1 * k1_[i] + e3 * k3_[i] + e4 * k4_[i] + e5 * k5_[i] + e6 * k6_[i] + e7 * k7_[i]);
            const double e = norm(err_, y_, yn_);
            if (!(e <= 1)) {
                ++r_.rejected;
                h *= std::max(0.2, 0.9 * std::pow(std::isfinite(e) ? e : 1e10, -0.2));
                rejected_last = true;
                continue;
            }
            ++r_.steps;
            // Stiffness: h·|λ| from the last two stages, which share t + h.
            if (o_.method == OdeMethod::automatic) {
                double num = 0, den = 0;
                for (std::size_t i = 0; i < n_; ++i) {
                    num += (k7_[i] - k6_[i]) * (k7_[i] - k6_[i]);
                    den += (yn_[i] - ys_[i]) * (yn_[i] - ys_[i]);
                }
                if (den > 0 && h * h * num > 3.25 * 3.25 * den) {
                    calm_count = 0;
                    if (++stiff_count == 15) stiff = true;
                } else if (++calm_count == 6) {
                    stiff_count = 0;
                }
            }
            for (std::size_t i = 0; i < n_; ++i) {
                const double dy = yn_[i] - y_[i], b = s * k1_[i] - dy;
                cont_[0][i] = y_[i];
                cont_[1][i] = dy;
                cont_[2][i] = b;
                cont_[3][i] = dy - s * k7_[i] - b;
                cont_[4][i] = s * (d1 * k1_[i] + d3 * k3_[i] + d4 * k4_[i] + d5 * k5_[i] + d6 * k6_[i] + d7 * k7_[i]);
            }
            emit(t_, tn, h, [&](double th, double* out) {
                const double th1 = 1 - th;
                for (std::size_t i = 0; i < n_; ++i)
                    out[i] = cont_[0][i] +
                             th * (cont_[1][i] + th1 * (cont_[2][i] + th * (cont_[3][i] + th1 * cont_[4][i])));
            });
            t_ = tn;
            y_.swap(yn_);
            k1_.swap(k7_);
            double factor = std::min(10.0, std::max(0.2, 0.9 * std::pow(std::max(e, 1e-10), -0.2)));
            if (rejected_last) factor = std::min(factor, 1.0);
            rejected_last = false;
            h *= factor;
            if (stiff) return h;
        }
        return h;
    }

    // J = ∂f/∂y by forward differences and T = ∂f/∂t, at (t_, y_) whose
    // f is k1_.
    bool jacobian(la::RMat& J, Vec& T) {
        ++r_.jacobians;
        J = la::RMat(n_, n_);
        Vec y = y_, f1(n_);
        const double sq = std::sqrt(eps);
        for (std::size_t j = 0; j < n_; ++j) {
            const double keep = y[j], d = sq * std::max(std::fabs(keep), 1e-8);
            y[j] = keep + d;
            const double step = y[j] - keep;
            if (!eval(t_, y, f1)) return false;
            for (std::size_t i = 0; i < n_; ++i) J(i, j) = (f1[i] - k1_[i]) / step;
            y[j] = keep;
        }
        const double dt = sq * std::max(std::fabs(t_), 1e-8) * dir_;
        if (!eval(t_ + dt, y_, f1)) return false;
        T.resize(n_);
        for (std::size_t i = 0; i < n_; ++i) T[i] = (f1[i] - k1_[i]) / dt;
        return true;
    }

    bool solve(const la::LU<double>& lu, Vec& v) {
        la::RMat b(n_, 1, v), x;
        if (la::lu_solve(lu, b, x) != la::Status::ok) return false;
        for (std::size_t i = 0; i < n_; ++i) v[i] = x(i, 0);
        return true;
    }

    // One step from (t_, y_) with f = k1_: k1 = W⁻¹(F0 + h·d·T),
    // F1 = f(t + h/2, y + h/2·k1), k2 = W⁻¹(F1 - k1) + k1, y1 = y + h·k2,
    // F2 = f(t + h, y1), k3 = W⁻¹(F2 - e32(k2 - F1) - 2(k1 - F0) + h·d·T),
    // error h/6·(k1 - 2k2 + k3); W = I - h·d·J.
    double rosenbrock(double h, double end) {
        la::RMat J;
        Vec T, F1(n_), F2(n_);
        bool fresh = false;  // J belongs to (t_, y_)
        while (next_ < times_.size()) {
            if (!bounded(h)) return h;
            if (!fresh) {
                if (!jacobian(J, T)) return h;
                fresh = true;
            }
            const bool last = h >= std::fabs(end - t_);
            if (last) h = std::fabs(end - t_);
            const double s = dir_ * h, tn = last ? end : t_ + s;
            la::RMat W(n_, n_);
            for (std::size_t i = 0; i < n_; ++i)
                for (std::size_t j = 0; j < n_; ++j) W(i, j) = (i == j ? 1.0 : 0.0) - s * rd * J(i, j);
            la::LU<double> lu;
            if (la::lu_factor(std::move(W), lu) != la::Status::ok || lu.singular) {
                ++r_.rejected;
                h *= 0.25;
                continue;
            }
            Vec& q1 = k2_;
            Vec& q2 = k3_;
            Vec& q3 = k4_;
            for (std::size_t i = 0; i < n_; ++i) q1[i] = k1_[i] + s * rd * T[i];
            if (!solve(lu, q1)) return h;
            for (std::size_t i = 0; i < n_; ++i) yn_[i] = y_[i] + 0.5 * s * q1[i];
            if (!eval(t_ + 0.5 * s, yn_, F1)) return h;
            for (std::size_t i = 0; i < n_; ++i) q2[i] = F1[i] - q1[i];
            if (!solve(lu, q2)) return h;
            for (std::size_t i = 0; i < n_; ++i) q2[i] += q1[i], yn_[i] = y_[i] + s * q2[i];
            if (!eval(tn, yn_, F2)) return h;
            for (std::size_t i = 0; i < n_; ++i)
                q3[i] = F2[i] - e32 * (q2[i] - F1[i]) - 2 * (q1[i] - k1_[i]) + s * rd * T[i];
            if (!solve(lu, q3)) return h;
            for (std::size_t i = 0; i < n_; ++i) err_[i] = s / 6 * (q1[i] - 2 * q2[i] + q3[i]);
            const double e = norm(err_, y_, yn_);
            if (!(e <= 1)) {
                ++r_.rejected;
                h *= std::max(0.2, 0.9 * std::pow(std::isfinite(e) ? e : 1e10, -1.0 / 3));
                continue;
            }
            ++r_.steps;
            const double w = 1 / (1 - 2 * rd);
            emit(t_, tn, h, [&](double th, double* out) {
                const double a = th * (1 - th) * w, b = th * (th - 2 * rd) * w;
                for (std::size_t i = 0; i < n_; ++i) out[i] = y_[i] + s * (a * q1[i] + b * q2[i]);
            });
            t_ = tn;
            y_.swap(yn_);
            k1_.swap(F2);
            fresh = false;
            h *= std::min(5.0, std::max(0.2, 0.9 * std::pow(std::max(e, 1e-10), -1.0 / 3)));
        }
        return h;
    }

    Rhs f_;
    std::span<const double> times_;
    const OdeOptions& o_;
    OdeResult& r_;
    std::size_t n_;
    std::size_t next_ = 1;
    double t_ = 0, dir_ = 1;
    Vec y_, k1_, k2_, k3_, k4_, k5_, k6_, k7_, yn_, ys_, err_;
    Vec cont_[5];
};

bool valid(std::span<const double> y0, std::span<const double> times, const OdeOptions& o) {
    if (y0.empty() || times.empty() || !(o.rtol > 0) || !(o.atol >= 0) || !std::isfinite(o.rtol)) return false;
    for (double v : y0)
        if (!std::isfinite(v)) return false;
    for (double t : times)
        if (!std::isfinite(t)) return false;
    const double dir = times.back() >= times.front() ? 1 : -1;
    for (std::size_t k = 1; k < times.size(); ++k)
        if (dir * (times[k] - times[k - 1]) < 0) return false;
    return true;
}

}  // namespace

OdeResult solve_ode(Rhs f, std::span<const double> y0, std::span<const double> times, const OdeOptions& o) {
    OdeResult r;
    if (!valid(y0, times, o)) {
        r.status = Status::bad_argument;
        return r;
    }
    Solver(f, times, o, r).run(y0);
    return r;
}

}  // namespace ostr::solve
