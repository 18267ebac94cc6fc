// The solvers of the numeric library: least squares (linear in any basis and
// nonlinear by Levenberg-Marquardt, with parameter covariances), minimisers
// (Brent in one variable, Nelder-Mead and BFGS in several), quadrature
// (adaptive Gauss-Kronrod, tanh-sinh, infinite ranges) and initial-value
// problems (Dormand-Prince 5(4) with dense output, a Rosenbrock W-method for
// stiff systems, chosen by stiffness detection or by name).
//
// Every kernel takes its functions as `Fn<...>` references (no allocation,
// no virtual call), reports through Status, never throws except
// std::bad_alloc, and polls core::should_stop() in its loops. A function
// that answers NaN or an infinity ends the work with Status::not_finite; the
// caller's function may answer NaN on purpose to stop it.
#pragma once

#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace ostr::solve {

enum class Status { ok, not_converged, not_finite, bad_argument, stopped, singular };

// A non-owning reference to any callable of the signature, valid while the
// callable lives.
template <class Sig>
class Fn;
template <class R, class... A>
class Fn<R(A...)> {
public:
    // Copies of an Fn refer to the same callable, not to the copied Fn.
    template <class F>
        requires(!std::is_same_v<std::remove_cv_t<F>, Fn>)
    Fn(F& f) noexcept  // NOLINT: implicit on purpose, as a function parameter
        : obj_(&f), call_([](void* o, A... a) -> R { return (*static_cast<F*>(o))(std::forward<A>(a)...); }) {}
    R operator()(A... a) const { return call_(obj_, std::forward<A>(a)...); }

private:
    void* obj_;
    R (*call_)(void*, A...);
};

using Real1 = Fn<double(double)>;
using RealN = Fn<double(std::span<const double>)>;

// ---------------------------------------------------------------- fitting

struct FitResult {
    std::vector<double> p;           // the parameters
    std::vector<double> covariance;  // k×k, row-major
    double chi2 = 0;                 // sum of squared (weighted) residuals
    int iterations = 0;
    Status status = Status::ok;
    // The standard error of parameter j: the root of the covariance's diagonal.
    double error(std::size_t j) const;
};

// y ≈ Σ c_j·b_j(x) in the least-squares sense, b_j(x) = basis(x, j) for
// j = 0..k-1, through Householder QR of the (weighted) design matrix.
// sigma (empty, or one per point) weights each residual by 1/sigma_i. The
// covariance is (AᵀWA)⁻¹ scaled by chi2/(m-k), the reduced chi-square, so it
// estimates the scatter from the data themselves (as when no sigma is
// known); m = k gives the unscaled (AᵀWA)⁻¹. Status::singular when the basis
// columns are dependent at the data.
FitResult linear_least_squares(Fn<double(double, std::size_t)> basis, std::size_t k, std::span<const double> x,
                               std::span<const double> y, std::span<const double> sigma);

// y ≈ model(x, p) by Levenberg-Marquardt from p0: each step solves
// (JᵀJ + λ·diag(JᵀJ))·δ = Jᵀr for the weighted residuals r, J by central
// differences (step ε^(1/3)·max(|p_j|, 1e-8·scale)); λ shrinks by 10 after a
// step that lowers chi2 (or leaves it level to rounding while the steps keep
// halving) and grows by 8 after one that does not. Stops when the step is
// below 1e-12 of the parameters or no step lowers chi2;
// covariance as in the linear case from J at the answer.
FitResult levenberg_marquardt(Fn<double(double, std::span<const double>)> model, std::span<const double> x,
                              std::span<const double> y, std::span<const double> sigma,
                              std::span<const double> p0, int max_iterations = 0);

// ------------------------------------------------------------ minimisation

struct Minimum {
    std::vector<double> x;
    double f = 0;
    int evaluations = 0;
    Status status = Status::ok;
};

// Brent's method on [a, b]: golden-section steps, parabolic steps through
// the three best points when they fall inside and shrink fast enough. A
// local minimum to within about √ε relative in x (the most a minimum can be
// placed in double precision).
Minimum brent_minimum(Real1 f, double a, double b, double tol = 1.4901161193847656e-08);

// Nelder-Mead downhill simplex from x0 (initial edges 5% of each coordinate,
// 2.5e-4 where it is zero), with the standard reflection 1, expansion 2,
// contraction 1/2 and shrink 1/2; stops when the simplex's values and
// extent both fall below the tolerances, or after 400·n² evaluations.
Minimum nelder_mead(RealN f, std::span<const double> x0, double xtol = 1e-10, double ftol = 1e-12);

// BFGS with central-difference gradients (step ε^(1/3)·max(|x_j|, 1)) and a
// backtracking line search with the Armijo condition; the inverse Hessian is
// updated only while sᵀy > 0. Stops when the gradient's largest component
// is below gtol·max(1, |f|) (central differences measure a gradient to
// about ε^(2/3) times the third derivative's scale, so a smaller gtol would
// chase noise), or the step is below 1e-13 of x.
Minimum bfgs(RealN f, std::span<const double> x0, double gtol = 1e-7);

// -------------------------------------------------------------- quadrature

struct Quadrature {
    double value = 0;
    double error = 0;  // the estimate of |value - integral|
    int evaluations = 0;
    Status status = Status::ok;
};

// ∫_a^b f by adaptive Gauss-Kronrod (7 Gauss points embedded in 15 Kronrod
// points): the panel with the largest |K15 - G7| is halved until the summed
// estimate is below max(abs_tol, rel_tol·|I|), or the bounded store of
// panels is full (Status::not_converged with the best estimate). Infinite
// ends are mapped to a finite range: x = a + t/(1-t) on [a, ∞),
// x = b - (1-t)/t on (-∞, b], x = t/(1-t²) on (-∞, ∞); the rule's nodes never
// touch the ends of the mapped range.
Quadrature gauss_kronrod(Real1 f, double a, double b, double rel_tol = 1e-12, double abs_tol = 0,
                         int max_panels = 2000);

// ∫_a^b f by the tanh-sinh (double exponential) rule: x = tanh(π/2·sinh t)
// crowds the nodes into the ends doubly exponentially, so an integrable
// singularity at an end (1/√x, ln x) costs no more than a smooth integrand.
// The distance of a node to its end is formed directly, never as a
// difference of nearly equal numbers. The step halves until two levels
// agree to the tolerance (at most 12 levels); infinite ends are mapped as in
// gauss_kronrod.
Quadrature tanh_sinh(Real1 f, double a, double b, double rel_tol = 1e-12, double abs_tol = 0);

// Gauss-Kronrod, and tanh-sinh where that fails to reach the tolerance or
// meets a non-finite sample (a singular end); when neither succeeds, the
// answer with the smaller error estimate.
Quadrature integrate(Real1 f, double a, double b, double rel_tol = 1e-12, double abs_tol = 0);

// ---------------------------------------------------- differential equations

// dy/dt = f(t, y): writes dy (size n); false stops the integration
// (Status::stopped).
using Rhs = Fn<bool(double t, std::span<const double> y, std::span<double> dy)>;

enum class OdeMethod { automatic, dormand_prince, rosenbrock };

struct OdeOptions {
    double rtol = 1e-8;
    double atol = 1e-10;
    OdeMethod method = OdeMethod::automatic;
    double first_step = 0;          // 0: chosen from f at the start
    long long max_steps = 10000000;  // accepted and rejected together
};

struct OdeResult {
    // One row per requested time: y at that time (n values), row-major.
    std::vector<double> y;
    long long steps = 0, rejected = 0, evaluations = 0, jacobians = 0;
    bool switched_to_stiff = false;  // automatic: stiffness was detected
    Status status = Status::ok;
};

// y at each of `times` (monotone from t0 = times[0], in either direction)
// from y(times[0]) = y0. Dormand-Prince 5(4): FSAL, error per step the RMS
// over components of err_i/(atol + rtol·max(|y_i|, |y_new,i|)), step
// factor 0.9·err^(-1/5) within [0.2, 10]; answers between steps come from
// the 4th-order dense output, so the steps do not depend on the times asked.
// Rosenbrock: the L-stable 2(3) W-method of Shampine and Reichelt, a
// finite-difference Jacobian and df/dt per step, one LU of I - h·d·J per
// step, its own 3rd-order error estimate and a 2nd-order dense output.
// Automatic: Dormand-Prince while h·|λ| (estimated from the last stages,
// after Hairer) stays below 3.25; 15 steps in a row past it switch to
// Rosenbrock for the rest of the range.
OdeResult solve_ode(Rhs f, std::span<const double> y0, std::span<const double> times, const OdeOptions& o = {});

}  // namespace ostr::solve
