// The C face of the special functions and numerical methods: thin wrappers
// over ostr::special.
#include <cstddef>

#include "special/special.hpp"

static_assert(sizeof(Complex) == 16 && offsetof(Complex, im) == 8);

namespace sp = ostr::special;

extern "C" {

double BesselJ(double x, double nu) noexcept { return sp::bessel_j(x, nu); }
double BesselY(double x, double nu) noexcept { return sp::bessel_y(x, nu); }
double BesselI(double x, double nu) noexcept { return sp::bessel_i(x, nu); }
double BesselK(double x, double nu) noexcept { return sp::bessel_k(x, nu); }
double AiryAi(double x) noexcept { return sp::airy_ai(x); }
double AiryBi(double x) noexcept { return sp::airy_bi(x); }
double Legendre(double x, double l, double m) noexcept { return sp::legendre(x, l, m); }

double Gamma(double x) noexcept { return sp::gamma(x); }
double LogGamma(double x) noexcept { return sp::log_gamma(x); }
Complex* GammaC(Complex* result, const Complex* z) noexcept {
    *result = sp::gamma(*z);
    return result;
}
double Factorial(double x) noexcept { return sp::factorial(x); }
double Comb(double n, double k) noexcept { return sp::comb(n, k); }
double Perm(double n, double k) noexcept { return sp::perm(n, k); }
double Gcd(double a, double b) noexcept { return sp::gcd(a, b); }

double Integrate(OstrRealFunction f, void* data, double a, double b, int n, int* status) noexcept {
    return sp::integrate(f, data, a, b, n, status);
}
Complex* IntegrateC(Complex* result, OstrComplexFunction f, void* data, double a, double b, int n,
                    int* status) noexcept {
    *result = sp::integrate_c(f, data, a, b, n, status);
    return result;
}
double FindRoot(OstrRealFunction f, void* data, double x1, double x2, int* status) noexcept {
    return sp::find_root(f, data, x1, x2, status);
}

double Max(const double* v) noexcept { return sp::max(v); }
double Min(const double* v) noexcept { return sp::min(v); }
double Mean(const double* v) noexcept { return sp::mean(v); }
double Median(const double* v) noexcept { return sp::median(v); }
double Variance(const double* v) noexcept { return sp::variance(v); }

Complex* CeilC(Complex* result, const Complex* z) noexcept {
    *result = sp::ceil(*z);
    return result;
}
Complex* FloorC(Complex* result, const Complex* z) noexcept {
    *result = sp::floor(*z);
    return result;
}
Complex* RoundC(Complex* result, const Complex* z) noexcept {
    *result = sp::round(*z);
    return result;
}
Complex* SignC(Complex* result, const Complex* z) noexcept {
    *result = sp::sign(*z);
    return result;
}
double Mod(double a, double n) noexcept { return sp::mod(a, n); }
Complex* ModC(Complex* result, const Complex* a, const Complex* n) noexcept {
    *result = sp::mod(*a, *n);
    return result;
}

}  // extern "C"
