/* Special functions and numerical methods of the numeric library: Bessel,
   Airy and associated Legendre functions, the gamma family, adaptive
   integration, root bracketing, statistics over counted vectors and the
   rounding family on complex numbers. docs/special.md gives each routine's
   domain, method and measured accuracy.

   Out-of-domain arguments and results that would be complex give NaN; a
   result whose magnitude exceeds the double range gives +-inf, one below it
   gives 0. No routine allocates memory that the caller must release. */
#ifndef OSTRAVINE_SPECIAL_H
#define OSTRAVINE_SPECIAL_H

#include "ostravine/export.h"
#include "ostravine/numeric.h"

/* Outcome of the numerical methods, written through their status argument
   (which may be NULL). */
enum {
    OSTR_STATUS_OK = 0,
    OSTR_STATUS_NOT_CONVERGED = 1, /* tolerance not reached within the bounded work;
                                      the best estimate is returned */
    OSTR_STATUS_NOT_FINITE = 2,    /* the function gave NaN or +-inf at a sample */
    OSTR_STATUS_NO_BRACKET = 3,    /* f(x1) and f(x2) have the same sign */
    OSTR_STATUS_BAD_ARGUMENT = 4   /* non-finite interval or empty callback */
};

/* A real function of one real variable with the caller's context. */
typedef double (*OstrRealFunction)(double x, void *data);
/* A complex-valued function of one real variable. */
typedef Complex (*OstrComplexFunction)(double x, void *data);

OSTR_BEGIN_DECLS

/* Bessel functions of real order nu at real x. Negative orders follow the
   reflection formulas; at negative x, J and I of integer order follow their
   parity, and every other case is complex or infinite and gives NaN (also Y
   and K at x <= 0). */
OSTR_API double BesselJ(double x, double nu) OSTR_NOEXCEPT;
OSTR_API double BesselY(double x, double nu) OSTR_NOEXCEPT;
OSTR_API double BesselI(double x, double nu) OSTR_NOEXCEPT;
OSTR_API double BesselK(double x, double nu) OSTR_NOEXCEPT;

/* Airy functions of the first and second kind at real x. */
OSTR_API double AiryAi(double x) OSTR_NOEXCEPT;
OSTR_API double AiryBi(double x) OSTR_NOEXCEPT;

/* Associated Legendre function P_l^m(x) with the Condon-Shortley phase
   (-1)^m, for integer l >= 0, integer m with |m| <= l and |x| <= 1;
   NaN otherwise. */
OSTR_API double Legendre(double x, double l, double m) OSTR_NOEXCEPT;

/* Gamma(x); NaN at the poles 0, -1, -2, ... except that +0 and -0 give
   +inf and -inf. */
OSTR_API double Gamma(double x) OSTR_NOEXCEPT;
/* ln |Gamma(x)|; +inf at the poles. */
OSTR_API double LogGamma(double x) OSTR_NOEXCEPT;
/* Gamma(z) for complex z; NaN at the poles. */
OSTR_API Complex *GammaC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
/* x! = Gamma(x + 1); correctly rounded for the integers 0..170, +inf above,
   NaN for negative integers. */
OSTR_API double Factorial(double x) OSTR_NOEXCEPT;
/* Binomial coefficient n!/(k!(n-k)!) and number of arrangements n!/(n-k)!
   for real n, k >= 0 (NaN for negative arguments). Exact integers when both
   arguments are integers and the result is below 2^53; 0 for integers k > n. */
OSTR_API double Comb(double n, double k) OSTR_NOEXCEPT;
OSTR_API double Perm(double n, double k) OSTR_NOEXCEPT;
/* Greatest common divisor (>= 0) of two integers of magnitude up to 2^53;
   NaN when either is not such an integer. Gcd(0, 0) = 0. */
OSTR_API double Gcd(double a, double b) OSTR_NOEXCEPT;

/* Integral of f over [a, b] by adaptive Gauss-Kronrod (7/15 points), starting
   from n equal panels (n < 1 counts as 1), to a relative accuracy of about
   1e-12. a > b gives the negated integral of [b, a]. */
OSTR_API double Integrate(OstrRealFunction f, void *data, double a, double b, int n,
                          int *status) OSTR_NOEXCEPT;
/* The same for a complex-valued integrand. */
OSTR_API Complex *IntegrateC(Complex *result, OstrComplexFunction f, void *data, double a,
                             double b, int n, int *status) OSTR_NOEXCEPT;
/* A root of f in [x1, x2] by Brent's method, to within a few units in the
   last place; NaN with OSTR_STATUS_NO_BRACKET when f(x1) and f(x2) have the
   same non-zero sign. */
OSTR_API double FindRoot(OstrRealFunction f, void *data, double x1, double x2,
                         int *status) OSTR_NOEXCEPT;

/* Statistics over a counted vector (slot 0 holds the length n, data in
   slots 1..n). NaN for n < 1 or when any element is NaN. The caller's data
   are never reordered. Variance is the sample variance (divisor n - 1), NaN
   for n = 1. */
OSTR_API double Max(const double *v) OSTR_NOEXCEPT;
OSTR_API double Min(const double *v) OSTR_NOEXCEPT;
OSTR_API double Mean(const double *v) OSTR_NOEXCEPT;
OSTR_API double Median(const double *v) OSTR_NOEXCEPT;
OSTR_API double Variance(const double *v) OSTR_NOEXCEPT;

/* Rounding family on complex numbers, part by part: ceiling, floor, nearest
   integer (halves away from zero). */
OSTR_API Complex *CeilC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *FloorC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
OSTR_API Complex *RoundC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
/* z/|z|, and 0 for z = 0. */
OSTR_API Complex *SignC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
/* Floored remainder a - n*floor(a/n) of reals: the sign of the divisor,
   NaN for n = 0. */
OSTR_API double Mod(double a, double n) OSTR_NOEXCEPT;
/* Complex remainder a - n*floor(a/n), where floor acts on each part of the
   complex quotient: for real operands it is Mod; NaN for n = 0. */
OSTR_API Complex *ModC(Complex *result, const Complex *a, const Complex *n) OSTR_NOEXCEPT;

/* Further special functions, computed in the extended format and rounded
   once (docs/special.md gives each one's method and measured error in ulps). */
/* ln Gamma(z), the principal branch (continuous off the negative real axis,
   real on the positive one; on the axis the value from above). */
OSTR_API Complex *LogGammaC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
/* Gamma(z) to full double accuracy; NaN at the poles. */
OSTR_API Complex *GammaFullC(Complex *result, const Complex *z) OSTR_NOEXCEPT;
/* psi(x) = Gamma'(x)/Gamma(x); NaN at the poles. */
OSTR_API double Digamma(double x) OSTR_NOEXCEPT;
/* B(a, b) = Gamma(a) Gamma(b) / Gamma(a + b); NaN where a or b is a pole. */
OSTR_API double Beta(double a, double b) OSTR_NOEXCEPT;
/* Regularised incomplete gamma functions P(a, x) and Q(a, x) = 1 - P(a, x),
   a > 0, x >= 0. */
OSTR_API double GammaP(double a, double x) OSTR_NOEXCEPT;
OSTR_API double GammaQ(double a, double x) OSTR_NOEXCEPT;
/* Regularised incomplete beta function I_x(a, b), a, b > 0, 0 <= x <= 1. */
OSTR_API double BetaInc(double a, double b, double x) OSTR_NOEXCEPT;
/* The error function, its complement and its inverse (-1 < y < 1). */
OSTR_API double Erf(double x) OSTR_NOEXCEPT;
OSTR_API double Erfc(double x) OSTR_NOEXCEPT;
OSTR_API double ErfInv(double y) OSTR_NOEXCEPT;
/* Riemann zeta of real s (NaN at s = 1) and of complex s (|Im s| <= 5000). */
OSTR_API double Zeta(double s) OSTR_NOEXCEPT;
OSTR_API Complex *ZetaC(Complex *result, const Complex *s) OSTR_NOEXCEPT;
/* The dilogarithm Li2(x) = sum x^k / k^2 for real x <= 1 (complex beyond). */
OSTR_API double Dilog(double x) OSTR_NOEXCEPT;
/* Lambert W on the branch 0 (x >= -1/e) or -1 (-1/e <= x < 0). */
OSTR_API double LambertW(double x, double branch) OSTR_NOEXCEPT;
/* Complete elliptic integrals K(m) (m < 1) and E(m) (m <= 1), m = k^2. */
OSTR_API double EllipK(double m) OSTR_NOEXCEPT;
OSTR_API double EllipE(double m) OSTR_NOEXCEPT;
/* Spherical Bessel functions j_n(x) (real x) and y_n(x) (x > 0) of integer
   order 0 <= n <= 100000. */
OSTR_API double SphBesselJ(double x, double n) OSTR_NOEXCEPT;
OSTR_API double SphBesselY(double x, double n) OSTR_NOEXCEPT;
/* Exponential integrals Ei(x) (x != 0) and E1(x) (x > 0). */
OSTR_API double ExpIntEi(double x) OSTR_NOEXCEPT;
OSTR_API double ExpIntE1(double x) OSTR_NOEXCEPT;

OSTR_END_DECLS

#endif
