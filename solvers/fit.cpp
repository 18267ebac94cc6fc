// Least squares: linear in any basis through Householder QR, nonlinear by
// Levenberg-Marquardt, both with the covariance of the parameters from the
// triangular factor R of the (weighted) design matrix or Jacobian:
// cov = (AᵀA)⁻¹·s² = R⁻¹R⁻ᵀ·s², s² = chi2/(m-k). QR costs 2mk² - 2k³/3 and
// keeps the condition of A (the normal equations would square it).
#include <algorithm>
#include <cmath>
#include <limits>

#include "core/runtime.hpp"
#include "solvers/solvers.hpp"

namespace ostr::solve {
namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();

// A (m×k, column-major) is reduced in place to R in its top k rows; the
// same reflections are applied to b. False when a column is dependent on
// the ones before it: |r_jj| at most m·ε·‖A‖_F.
bool householder(std::vector<double>& A, std::vector<double>& b, std::size_t m, std::size_t k) {
    double frob = 0;
    for (double v : A) frob = std::hypot(frob, v);
    for (std::size_t j = 0; j < k; ++j) {
        double* col = &A[j * m];
        double norm = 0;
        for (std::size_t i = j; i < m; ++i) norm = std::hypot(norm, col[i]);
        if (norm <= static_cast<double>(m) * eps * frob || norm == 0) return false;
        const double alpha = col[j] > 0 ? -norm : norm;
        col[j] -= alpha;  // v = x - alpha·e_j, in place
        double vv = 0;
        for (std::size_t i = j; i < m; ++i) vv += col[i] * col[i];
        auto reflect = [&](double* t) {
            double d = 0;
            for (std::size_t i = j; i < m; ++i) d += col[i] * t[i];
            d = 2 * d / vv;
            for (std::size_t i = j; i < m; ++i) t[i] -= d * col[i];
        };
        for (std::size_t c = j + 1; c < k; ++c) reflect(&A[c * m]);
        if (!b.empty()) reflect(b.data());
        col[j] = alpha;
    }
    return true;
}

double r_at(const std::vector<double>& A, std::size_t m, std::size_t i, std::size_t j) { return A[j * m + i]; }

// R⁻¹R⁻ᵀ·scale from the factored A: the inverse of the upper triangle by
// columns, then the product; k³/3 + k³/3.
std::vector<double> covariance(const std::vector<double>& A, std::size_t m, std::size_t k, double scale) {
    std::vector<double> inv(k * k, 0.0);  // R⁻¹, row-major, upper triangular
    for (std::size_t c = 0; c < k; ++c) {
        inv[c * k + c] = 1 / r_at(A, m, c, c);
        for (std::size_t i = c; i-- > 0;) {
            double s = 0;
            for (std::size_t l = i + 1; l <= c; ++l) s += r_at(A, m, i, l) * inv[l * k + c];
            inv[i * k + c] = -s / r_at(A, m, i, i);
        }
    }
    std::vector<double> cov(k * k, 0.0);
    for (std::size_t i = 0; i < k; ++i)
        for (std::size_t j = 0; j < k; ++j) {
            double s = 0;
            for (std::size_t l = std::max(i, j); l < k; ++l) s += inv[i * k + l] * inv[j * k + l];
            cov[i * k + j] = s * scale;
        }
    return cov;
}

double weight(std::span<const double> sigma, std::size_t i) { return sigma.empty() ? 1.0 : 1.0 / sigma[i]; }

bool valid_data(std::span<const double> x, std::span<const double> y, std::span<const double> sigma, std::size_t k) {
    if (x.size() != y.size() || x.size() < k || k == 0) return false;
    if (!sigma.empty() && sigma.size() != x.size()) return false;
    for (std::size_t i = 0; i < x.size(); ++i)
        if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || (!sigma.empty() && !(sigma[i] > 0 && std::isfinite(sigma[i]))))
            return false;
    return true;
}

double reduced(double chi2, std::size_t m, std::size_t k) { return m > k ? chi2 / static_cast<double>(m - k) : 1.0; }

// Weighted residuals r_i = (y_i - model(x_i, p))/sigma_i and their chi2;
// false at a non-finite model value.
bool residuals(Fn<double(double, std::span<const double>)>& model, std::span<const double> x, std::span<const double> y,
               std::span<const double> sigma, std::span<const double> p, std::vector<double>& r, double& chi2) {
    chi2 = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double v = model(x[i], p);
        if (!std::isfinite(v)) return false;
        r[i] = (y[i] - v) * weight(sigma, i);
        chi2 += r[i] * r[i];
    }
    return std::isfinite(chi2);
}

// Cholesky solve of the k×k symmetric positive definite M·d = g in place;
// false when M is not numerically positive definite.
bool cholesky_solve(std::vector<double> M, std::vector<double>& g, std::size_t k) {
    for (std::size_t j = 0; j < k; ++j) {
        double d = M[j * k + j];
        for (std::size_t l = 0; l < j; ++l) d -= M[j * k + l] * M[j * k + l];
        if (!(d > 0)) return false;
        d = std::sqrt(d);
        M[j * k + j] = d;
        for (std::size_t i = j + 1; i < k; ++i) {
            double s = M[i * k + j];
            for (std::size_t l = 0; l < j; ++l) s -= M[i * k + l] * M[j * k + l];
            M[i * k + j] = s / d;
        }
    }
    for (std::size_t i = 0; i < k; ++i) {
        double s = g[i];
        for (std::size_t l = 0; l < i; ++l) s -= M[i * k + l] * g[l];
        g[i] = s / M[i * k + i];
    }
    for (std::size_t i = k; i-- > 0;) {
        double s = g[i];
        for (std::size_t l = i + 1; l < k; ++l) s -= M[l * k + i] * g[l];
        g[i] = s / M[i * k + i];
    }
    return true;
}

// The Jacobian of the model over sigma, d model(x_i)/d p_j / sigma_i,
// column-major m×k: central differences (error ε^(2/3)) or forward ones
// (error ε^(1/2), half the model values).
bool jacobian(Fn<double(double, std::span<const double>)>& model, std::span<const double> x,
              std::span<const double> sigma, std::vector<double>& p, const std::vector<double>& r,
              std::span<const double> y, std::vector<double>& J, bool central = false) {
    const std::size_t m = x.size(), k = p.size();
    double scale = 0;
    for (double v : p) scale = std::max(scale, std::fabs(v));
    for (std::size_t j = 0; j < k; ++j) {
        const double keep = p[j];
        const double h = (central ? std::cbrt(eps) : std::sqrt(eps)) * std::max(std::fabs(keep), 1e-8 * std::max(scale, 1.0));
        p[j] = keep + h;
        const double up = p[j];
        if (central) p[j] = keep - h;
        const double down = p[j];
        const double step = central ? up - down : up - keep;  // the step as the doubles made it
        for (std::size_t i = 0; i < m; ++i) {
            double lo = y[i] - r[i] / weight(sigma, i);  // model(x_i, p)
            if (central) {
                lo = model(x[i], p);
                p[j] = up;
            }
            const double hi = model(x[i], p);
            if (central) p[j] = down;
            if (!std::isfinite(hi) || !std::isfinite(lo)) {
                p[j] = keep;
                return false;
            }
            J[j * m + i] = (hi - lo) / step * weight(sigma, i);
        }
        p[j] = keep;
    }
    return true;
}

}  // namespace

double FitResult::error(std::size_t j) const {
    const std::size_t k = p.size();
    if (j >= k || covariance.size() != k * k) return std::numeric_limits<double>::quiet_NaN();
    return std::sqrt(covariance[j * k + j]);
}

FitResult linear_least_squares(Fn<double(double, std::size_t)> basis, std::size_t k, std::span<const double> x,
                               std::span<const double> y, std::span<const double> sigma) {
    FitResult out;
    if (!valid_data(x, y, sigma, k)) {
        out.status = Status::bad_argument;
        return out;
    }
    const std::size_t m = x.size();
    std::vector<double> A(m * k), b(m);
    for (std::size_t i = 0; i < m; ++i) {
        const double w = weight(sigma, i);
        b[i] = y[i] * w;
        for (std::size_t j = 0; j < k; ++j) {
            const double v = basis(x[i], j);
            if (!std::isfinite(v)) {
                out.status = Status::not_finite;
                return out;
            }
            A[j * m + i] = v * w;
        }
    }
    if (core::should_stop()) {
        out.status = Status::stopped;
        return out;
    }
    if (!householder(A, b, m, k)) {
        out.status = Status::singular;
        return out;
    }
    out.p.assign(k, 0.0);
    for (std::size_t j = k; j-- > 0;) {
        double s = b[j];
        for (std::size_t l = j + 1; l < k; ++l) s -= r_at(A, m, j, l) * out.p[l];
        out.p[j] = s / r_at(A, m, j, j);
    }
    // The residual's norm is what Qᵀb holds below row k.
    for (std::size_t i = k; i < m; ++i) out.chi2 += b[i] * b[i];
    out.covariance = covariance(A, m, k, reduced(out.chi2, m, k));
    return out;
}

FitResult levenberg_marquardt(Fn<double(double, std::span<const double>)> model, std::span<const double> x,
                              std::span<const double> y, std::span<const double> sigma,
                              std::span<const double> p0, int max_iterations) {
    FitResult out;
    const std::size_t m = x.size(), k = p0.size();
    if (!valid_data(x, y, sigma, k)) {
        out.status = Status::bad_argument;
        return out;
    }
    if (max_iterations <= 0) max_iterations = 200 * static_cast<int>(k + 1);
    std::vector<double> p(p0.begin(), p0.end()), r(m), trial_r(m), J(m * k), trial(k);
    double chi2 = 0;
    if (!residuals(model, x, y, sigma, p, r, chi2)) {
        out.status = Status::not_finite;
        return out;
    }
    double lambda = 1e-3, last_step = std::numeric_limits<double>::infinity();
    bool converged = false;
    for (int it = 0; it < max_iterations && !converged; ++it) {
        out.iterations = it + 1;
        if (core::should_stop()) {
            out.status = Status::stopped;
            return out;
        }
        // Central differences: an error δJ in J moves the answer by about
        // (JᵀJ)⁻¹δJᵀr, which for data with real scatter (r not small) is
        // δJ/J times the scatter; forward differences would leave √ε of it.
        if (!jacobian(model, x, sigma, p, r, y, J, true)) {
            out.status = Status::not_finite;
            return out;
        }
        std::vector<double> JtJ(k * k), g(k);
        for (std::size_t a = 0; a < k; ++a) {
            for (std::size_t c = 0; c <= a; ++c) {
                double s = 0;
                for (std::size_t i = 0; i < m; ++i) s += J[a * m + i] * J[c * m + i];
                JtJ[a * k + c] = JtJ[c * k + a] = s;
            }
            double s = 0;
            for (std::size_t i = 0; i < m; ++i) s += J[a * m + i] * r[i];
            g[a] = s;
        }
        // Raise λ until a step lowers chi2; a λ past 1e16 means no direction
        // lowers it any more: p is a minimum to working precision.
        for (;;) {
            std::vector<double> M = JtJ, d = g;
            for (std::size_t j = 0; j < k; ++j) M[j * k + j] += lambda * std::max(JtJ[j * k + j], 1e-300);
            double trial_chi2 = 0;
            bool ok = cholesky_solve(std::move(M), d, k);
            double step = 0, size = 0;
            if (ok) {
                for (std::size_t j = 0; j < k; ++j) {
                    trial[j] = p[j] + d[j];
                    step = std::max(step, std::fabs(d[j]));
                    size = std::max(size, std::fabs(p[j]));
                }
                ok = residuals(model, x, y, sigma, trial, trial_r, trial_chi2);
            }
            // A step that leaves chi2 unchanged to rounding is still taken
            // while the steps keep halving: near the minimum chi2 moves with
            // the square of the parameters' error, so only the Gauss-Newton
            // step itself can place them beyond about √ε.
            const bool lower = trial_chi2 < chi2;
            const bool level = trial_chi2 <= chi2 * (1 + 8 * eps) && step < 0.5 * last_step;
            if (ok && (lower || level)) {
                converged = step <= 1e-12 * std::max(size, 1e-300);
                last_step = step;
                p = trial;
                r.swap(trial_r);
                chi2 = trial_chi2;
                lambda = std::max(lambda / 10, 1e-15);
                break;
            }
            lambda *= 8;
            if (lambda > 1e16) {
                converged = true;
                break;
            }
        }
    }
    out.p = p;
    out.chi2 = chi2;
    if (!converged) out.status = Status::not_converged;
    if (!jacobian(model, x, sigma, p, r, y, J, true)) {
        out.status = Status::not_finite;
        return out;
    }
    std::vector<double> none;
    if (!householder(J, none, m, k)) {
        out.status = Status::singular;
        return out;
    }
    out.covariance = covariance(J, m, k, reduced(chi2, m, k));
    return out;
}

}  // namespace ostr::solve
