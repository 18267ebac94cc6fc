// Internal face of the special functions and numerical methods behind
// include/ostravine/special.h; the extern "C" wrappers call these.
#pragma once

#include "ostravine/special.h"

namespace ostr::special {

inline constexpr double pi = 3.14159265358979323846;

// sin(pi v) and cos(pi v), exact at the integers and half-integers, with the
// reduction done on v so that large orders keep their phase.
double sin_pi(double v) noexcept;
double cos_pi(double v) noexcept;

// Bessel pair of order nu >= 0 at x > 0. dx is a tiny correction to x
// (|dx| << ulp(x)) that only the phase of the large-x expansion uses, so
// that callers who know x to more than double precision (the Airy functions)
// keep that precision in the oscillation.
struct Pair {
    double first;
    double second;
};
Pair bessel_jy(double nu, double x, double dx = 0) noexcept;  // {J, Y}
Pair bessel_ik(double nu, double x) noexcept;                 // {I, K}

double bessel_j(double x, double nu) noexcept;
double bessel_y(double x, double nu) noexcept;
double bessel_i(double x, double nu) noexcept;
double bessel_k(double x, double nu) noexcept;

double airy_ai(double x) noexcept;
double airy_bi(double x) noexcept;

double legendre(double x, double l, double m) noexcept;

double gamma(double x) noexcept;
double log_gamma(double x) noexcept;
Complex gamma(Complex z) noexcept;
double factorial(double x) noexcept;
double comb(double n, double k) noexcept;
double perm(double n, double k) noexcept;
double gcd(double a, double b) noexcept;

double integrate(OstrRealFunction f, void* data, double a, double b, int n, int* status) noexcept;
Complex integrate_c(OstrComplexFunction f, void* data, double a, double b, int n,
                  int* status) noexcept;
double find_root(OstrRealFunction f, void* data, double x1, double x2, int* status) noexcept;

double max(const double* v) noexcept;
double min(const double* v) noexcept;
double mean(const double* v) noexcept;
double median(const double* v) noexcept;
double variance(const double* v) noexcept;

Complex ceil(Complex z) noexcept;
Complex floor(Complex z) noexcept;
Complex round(Complex z) noexcept;
Complex sign(Complex z) noexcept;
double mod(double a, double n) noexcept;
Complex mod(Complex a, Complex n) noexcept;

}  // namespace ostr::special
