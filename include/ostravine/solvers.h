/* Fitting, minimisation, quadrature and differential equations of the
   numeric library, on its counted vectors (slot 0 holds the length n, data
   in slots 1..n) and row-pointer matrices. docs/solvers.md gives each
   routine's method, stopping rule and measured accuracy.

   The caller's functions are callbacks with a context pointer; vectors
   handed to them are counted vectors that live for the call only. A
   callback answering NaN (or an ODE right-hand side answering non-zero)
   ends the work. Every vector or matrix returned belongs to the caller and
   is released with FreeVector or FreeMatrix; NULL is returned for bad
   arguments or when memory runs out, with the reason in *status (which may
   be NULL). */
#ifndef OSTRAVINE_SOLVERS_H
#define OSTRAVINE_SOLVERS_H

#include "ostravine/export.h"
#include "ostravine/numeric.h"
#include "ostravine/special.h"

/* Outcomes beyond those of special.h. */
enum {
    OSTR_STATUS_STOPPED = 5, /* RequestAbort or the line's time bound ended the work */
    OSTR_STATUS_SINGULAR = 6 /* the fit's parameters are not determined by the data */
};

/* Methods of SolveODE. */
enum {
    OSTR_ODE_AUTOMATIC = 0,      /* Dormand-Prince, Rosenbrock once the problem shows stiff */
    OSTR_ODE_DORMAND_PRINCE = 1, /* explicit 5(4) pair with dense output */
    OSTR_ODE_ROSENBROCK = 2      /* L-stable 2(3) W-method for stiff problems */
};

/* Basis function j (1..k) at x, for FitLinear. */
typedef double (*OstrBasisFunction)(double x, int j, void *data);
/* A model of x with parameters p (a counted vector), for FitNonlinear. */
typedef double (*OstrModelFunction)(double x, const double *p, void *data);
/* A real function of the counted vector x, for the minimisers. */
typedef double (*OstrMultiFunction)(const double *x, void *data);
/* dy/dt at (t, y): writes slots 1..n of the counted vector dydt; answers 0
   to go on and anything else to stop. */
typedef int (*OstrOdeFunction)(double t, const double *y, double *dydt, void *data);

OSTR_BEGIN_DECLS

/* Least-squares coefficients c (k of them) of y ~ sum of c_j*basis(x, j) over
   the points (x_i, y_i), each residual divided by sigma_i when sigma is not
   NULL; by Householder QR. *covariance (when not NULL) receives the k×k
   covariance of c scaled by the reduced chi-square, *chi2 (when not NULL)
   the sum of squared weighted residuals. */
OSTR_API double *FitLinear(OstrBasisFunction basis, void *data, int k, const double *x, const double *y,
                           const double *sigma, double ***covariance, double *chi2, int *status) OSTR_NOEXCEPT;
/* Parameters p of y ~ model(x, p) by Levenberg-Marquardt from p0, with
   their covariance as FitLinear gives it. OSTR_STATUS_NOT_CONVERGED comes
   with the last parameters. */
OSTR_API double *FitNonlinear(OstrModelFunction model, void *data, const double *x, const double *y,
                              const double *sigma, const double *p0, double ***covariance, double *chi2,
                              int *status) OSTR_NOEXCEPT;

/* A local minimum of f on [a, b] by Brent's method; *fmin (when not NULL)
   receives f there. NaN on bad arguments. */
OSTR_API double MinimizeBrent(OstrRealFunction f, void *data, double a, double b, double *fmin,
                              int *status) OSTR_NOEXCEPT;
/* A local minimum of f from x0 by the Nelder-Mead simplex, and by BFGS with
   numerical gradients. */
OSTR_API double *MinimizeNelderMead(OstrMultiFunction f, void *data, const double *x0, double *fmin,
                                    int *status) OSTR_NOEXCEPT;
OSTR_API double *MinimizeBFGS(OstrMultiFunction f, void *data, const double *x0, double *fmin,
                              int *status) OSTR_NOEXCEPT;

/* The integral of f from a to b, either end may be +-INFINITY, to within
   max(atol, rtol*|I|): by adaptive Gauss-Kronrod (7/15), by the tanh-sinh
   rule (for singular ends), or by Gauss-Kronrod with tanh-sinh where that
   fails (IntegrateAdaptive). *error (when not NULL) receives the estimate
   of the error. */
OSTR_API double IntegrateGK(OstrRealFunction f, void *data, double a, double b, double rtol, double atol,
                            double *error, int *status) OSTR_NOEXCEPT;
OSTR_API double IntegrateTanhSinh(OstrRealFunction f, void *data, double a, double b, double rtol,
                                  double atol, double *error, int *status) OSTR_NOEXCEPT;
OSTR_API double IntegrateAdaptive(OstrRealFunction f, void *data, double a, double b, double rtol,
                                  double atol, double *error, int *status) OSTR_NOEXCEPT;

/* The solution of dy/dt = f(t, y), y(times[1]) = y0, at each time of the
   counted vector times (monotone): a matrix of one row per time holding t
   and then y (n + 1 columns). Local errors are kept within
   atol + rtol*|y| per component. NULL when the integration fails
   (*status says why). */
OSTR_API double **SolveODE(OstrOdeFunction f, void *data, const double *y0, const double *times, double rtol,
                           double atol, int method, int *status) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
