// The special functions that scientists expect beyond the Bessel, Airy and
// Legendre families: complex log-gamma, digamma, beta, the incomplete gamma and
// beta functions, the error functions, zeta, the dilogarithm, Lambert W, the
// complete elliptic integrals, spherical Bessel functions and the exponential
// integrals. Every kernel works in the x87 extended format (64-bit significand)
// and rounds once at the end, so that an error of a few thousand units of the
// extended format stays below one unit of the double result. Out-of-domain
// arguments give NaN, results past the double range +-inf.
#pragma once

#include <complex>

#include "ostravine/special.h"

namespace ostr::special {

// ln Gamma(z), the principal branch: analytic off the negative real axis and
// real on the positive one, with Im ln Gamma = sum of arg(z + k) under the
// shift (mpmath's loggamma). Gamma(z) to full accuracy, for real z too.
Complex log_gamma_full(Complex z) noexcept;
Complex gamma_full(Complex z) noexcept;
// z! = Gamma(z + 1), with z + 1 formed in the extended format.
Complex factorial_full(Complex z) noexcept;

// The language's real gamma family: Gamma(x), ln|Gamma(x)|, x! = Gamma(x + 1)
// (correctly rounded table for the integers) and the continuations of comb and
// perm to real arguments, each within one unit in the last place.
double gamma_real(double x) noexcept;
double log_gamma_real(double x) noexcept;
double factorial_real(double x) noexcept;
double comb_real(double n, double k) noexcept;
double perm_real(double n, double k) noexcept;

// The language's J and I: below |x| = 2 the power series in the extended
// format, elsewhere bessel_j and bessel_i of the C face.
double bessel_j_language(double x, double nu) noexcept;
double bessel_i_language(double x, double nu) noexcept;
// The language's Y and K: of order >= 2 the upward recurrence in the extended
// format from the two lowest orders of bessel_y and bessel_k.
double bessel_y_language(double x, double nu) noexcept;
double bessel_k_language(double x, double nu) noexcept;

double digamma(double x) noexcept;
double beta(double a, double b) noexcept;

// Regularised incomplete gamma P(a, x) = gamma(a, x) / Gamma(a), Q = 1 - P,
// for a > 0, x >= 0; regularised incomplete beta I_x(a, b) for a, b > 0 and
// 0 <= x <= 1.
double gamma_p(double a, double x) noexcept;
double gamma_q(double a, double x) noexcept;
double beta_inc(double a, double b, double x) noexcept;

double erf(double x) noexcept;
double erfc(double x) noexcept;
double erf_inv(double y) noexcept;

// Riemann zeta of real and complex s (NaN at the pole s = 1); the complex
// kernel takes |Im s| up to 1e4.
double zeta(double s) noexcept;
Complex zeta(Complex s) noexcept;
// The dilogarithm Li2(x) = sum x^k / k^2 of real x; past 1 it is complex,
// the value below the cut [1, inf) (Im = -pi ln x), as mpmath gives it.
Complex dilog(double x) noexcept;

// Lambert W: w e^w = x on the branch 0 (x >= -1/e, w >= -1) or -1
// (-1/e <= x < 0, w <= -1); any other branch number gives NaN.
double lambert_w(double x, double branch) noexcept;

// Complete elliptic integrals of the first and second kind of the parameter
// m = k^2 < 1 (E also at m = 1).
double ellip_k(double m) noexcept;
double ellip_e(double m) noexcept;

// Spherical Bessel functions j_n(x) (real x) and y_n(x) (x > 0) of integer
// order 0 <= n <= 100000.
double sph_bessel_j(double x, double n) noexcept;
double sph_bessel_y(double x, double n) noexcept;

// Exponential integrals Ei(x) (x != 0) and E1(x) (x > 0).
double exp_integral_ei(double x) noexcept;
double exp_integral_e1(double x) noexcept;

namespace detail {

// ln Gamma(1 + a) for |a| <= 1/2 by its Taylor series, with no rounding of
// 1 + a (the incomplete gamma function needs it for tiny a).
long double log_gamma_1p(long double a) noexcept;
// mu(x) = ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2), Stirling's
// remainder, for x >= 10.
long double stirling_remainder(long double x) noexcept;
// u - ln(1 + u) without cancellation for small u.
long double log1p_gap(long double u) noexcept;
// Gamma(z) in the extended format (the kernel of gamma_full).
std::complex<long double> gamma_extended(std::complex<long double> z) noexcept;
// sin(pi x) with the reduction done exactly on x.
long double sin_pi_extended(long double x) noexcept;
// ln B(a, b) for a, b > 0 without the cancellation of three large log-gammas.
long double log_beta(long double a, long double b) noexcept;

}  // namespace detail
}  // namespace ostr::special
