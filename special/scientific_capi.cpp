// The C face of the further special functions: thin wrappers over the
// kernels of special/scientific.hpp.
#include <limits>

#include "special/scientific.hpp"

namespace sp = ostr::special;

extern "C" {

Complex* LogGammaC(Complex* result, const Complex* z) noexcept {
    *result = sp::log_gamma_full(*z);
    return result;
}
Complex* GammaFullC(Complex* result, const Complex* z) noexcept {
    *result = sp::gamma_full(*z);
    return result;
}
double Digamma(double x) noexcept { return sp::digamma(x); }
double Beta(double a, double b) noexcept { return sp::beta(a, b); }
double GammaP(double a, double x) noexcept { return sp::gamma_p(a, x); }
double GammaQ(double a, double x) noexcept { return sp::gamma_q(a, x); }
double BetaInc(double a, double b, double x) noexcept { return sp::beta_inc(a, b, x); }
double Erf(double x) noexcept { return sp::erf(x); }
double Erfc(double x) noexcept { return sp::erfc(x); }
double ErfInv(double y) noexcept { return sp::erf_inv(y); }
double Zeta(double s) noexcept { return sp::zeta(s); }
Complex* ZetaC(Complex* result, const Complex* s) noexcept {
    *result = sp::zeta(*s);
    return result;
}
double Dilog(double x) noexcept { return x <= 1 ? sp::dilog(x).re : std::numeric_limits<double>::quiet_NaN(); }
double LambertW(double x, double branch) noexcept { return sp::lambert_w(x, branch); }
double EllipK(double m) noexcept { return sp::ellip_k(m); }
double EllipE(double m) noexcept { return sp::ellip_e(m); }
double SphBesselJ(double x, double n) noexcept { return sp::sph_bessel_j(x, n); }
double SphBesselY(double x, double n) noexcept { return sp::sph_bessel_y(x, n); }
double ExpIntEi(double x) noexcept { return sp::exp_integral_ei(x); }
double ExpIntE1(double x) noexcept { return sp::exp_integral_e1(x); }

}  // extern "C"
