// The gamma family: real and complex Gamma, log-gamma, factorial, the
// binomial and arrangement counts, and the greatest common divisor.
// Real Gamma and log-gamma come from the C library (within a few ulps);
// complex Gamma uses Stirling's series beyond |w| >= 10 with the shift
// Gamma(z) = Gamma(z + N) / (z (z+1) ... (z+N-1)) and the reflection
// Gamma(z) Gamma(1-z) = pi / sin(pi z) for Re z < 1/2.
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>

#include "special/special.hpp"

namespace ostr::special {
namespace {

using Cx = std::complex<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double two53 = 9007199254740992.0;
constexpr double half_log_2pi = 0.91893853320467274178;

// n! for n = 0..170, each correctly rounded.
constexpr double factorials[171] = {
    1, 1, 2, 6,
    24, 120, 720, 5040,
    40320, 362880, 3628800, 39916800,
    479001600, 6227020800, 87178291200, 1307674368000,
    20922789888000, 355687428096000, 6402373705728000, 1.21645100408832e+17,
    2.43290200817664e+18, 5.109094217170944e+19, 1.1240007277776077e+21, 2.5852016738884978e+22,
    6.2044840173323941e+23, 1.5511210043330986e+25, 4.0329146112660565e+26, 1.0888869450418352e+28,
    3.0488834461171387e+29, 8.8417619937397019e+30, 2.6525285981219107e+32, 8.2228386541779224e+33,
    2.6313083693369352e+35, 8.6833176188118859e+36, 2.9523279903960416e+38, 1.0333147966386145e+40,
    3.7199332678990125e+41, 1.3763753091226346e+43, 5.2302261746660112e+44, 2.0397882081197444e+46,
    8.1591528324789768e+47, 3.3452526613163808e+49, 1.40500611775288e+51, 6.0415263063373834e+52,
    2.6582715747884489e+54, 1.1962222086548019e+56, 5.5026221598120892e+57, 2.5862324151116818e+59,
    1.2413915592536073e+61, 6.0828186403426752e+62, 3.0414093201713376e+64, 1.5511187532873822e+66,
    8.0658175170943877e+67, 4.2748832840600255e+69, 2.3084369733924138e+71, 1.2696403353658276e+73,
    7.1099858780486348e+74, 4.0526919504877214e+76, 2.3505613312828785e+78, 1.3868311854568984e+80,
    8.3209871127413899e+81, 5.0758021387722484e+83, 3.1469973260387939e+85, 1.9826083154044401e+87,
    1.2688693218588417e+89, 8.2476505920824715e+90, 5.4434493907744307e+92, 3.6471110918188683e+94,
    2.4800355424368305e+96, 1.711224524281413e+98, 1.1978571669969892e+100, 8.504785885678623e+101,
    6.1234458376886085e+103, 4.4701154615126844e+105, 3.3078854415193862e+107, 2.48091408113954e+109,
    1.8854947016660504e+111, 1.4518309202828587e+113, 1.1324281178206297e+115, 8.9461821307829757e+116,
    7.1569457046263806e+118, 5.7971260207473678e+120, 4.753643337012842e+122, 3.9455239697206588e+124,
    3.3142401345653532e+126, 2.8171041143805501e+128, 2.4227095383672734e+130, 2.1077572983795279e+132,
    1.8548264225739844e+134, 1.650795516090846e+136, 1.4857159644817615e+138, 1.3520015276784029e+140,
    1.2438414054641308e+142, 1.1567725070816416e+144, 1.0873661566567431e+146, 1.0329978488239059e+148,
    9.9167793487094965e+149, 9.619275968248212e+151, 9.426890448883248e+153, 9.3326215443944153e+155,
    9.3326215443944151e+157, 9.4259477598383599e+159, 9.6144667150351271e+161, 9.9029007164861805e+163,
    1.0299016745145628e+166, 1.081396758240291e+168, 1.1462805637347084e+170, 1.226520203196138e+172,
    1.324641819451829e+174, 1.4438595832024937e+176, 1.588245541522743e+178, 1.7629525510902446e+180,
    1.974506857221074e+182, 2.2311927486598138e+184, 2.5435597334721877e+186, 2.925093693493016e+188,
    3.3931086844518981e+190, 3.9699371608087211e+192, 4.6845258497542909e+194, 5.5745857612076058e+196,
    6.6895029134491271e+198, 8.0942985252734441e+200, 9.8750442008336011e+202, 1.2146304367025329e+205,
    1.5061417415111409e+207, 1.8826771768889261e+209, 2.3721732428800469e+211, 3.0126600184576594e+213,
    3.8562048236258041e+215, 4.9745042224772875e+217, 6.4668554892204741e+219, 8.4715806908788206e+221,
    1.1182486511960043e+224, 1.4872707060906857e+226, 1.9929427461615188e+228, 2.6904727073180504e+230,
    3.6590428819525489e+232, 5.012888748274992e+234, 6.9177864726194886e+236, 9.6157231969410894e+238,
    1.3462012475717526e+241, 1.8981437590761709e+243, 2.6953641378881629e+245, 3.8543707171800731e+247,
    5.5502938327393044e+249, 8.0479260574719917e+251, 1.1749972043909107e+254, 1.7272458904546389e+256,
    2.5563239178728654e+258, 3.8089226376305698e+260, 5.7133839564458547e+262, 8.62720977423324e+264,
    1.3113358856834524e+267, 2.0063439050956823e+269, 3.0897696138473508e+271, 4.7891429014633941e+273,
    7.4710629262828942e+275, 1.1729568794264145e+278, 1.853271869493735e+280, 2.9467022724950384e+282,
    4.7147236359920616e+284, 7.590705053947219e+286, 1.2296942187394494e+289, 2.0044015765453026e+291,
    3.2872185855342959e+293, 5.4239106661315887e+295, 9.0036917057784375e+297, 1.5036165148649991e+300,
    2.5260757449731984e+302, 4.2690680090047051e+304, 7.257415615307999e+306,
};

bool is_integer(double v) { return std::isfinite(v) && v == std::nearbyint(v); }

// B_{2k} / (2k (2k-1)), k = 1..10: the coefficients of Stirling's series
// ln Gamma(w) = (w - 1/2) ln w - w + ln(2 pi)/2 + sum_k b_k / w^{2k-1}.
constexpr double stirling[] = {
    1.0 / 12, -1.0 / 360, 1.0 / 1260, -1.0 / 1680, 1.0 / 1188,
    -691.0 / 360360, 1.0 / 156, -3617.0 / 122400, 43867.0 / 244188, -174611.0 / 125400};

// ln Gamma(w) for Re w > 0 and |w| >= 10: the first omitted term is below
// 1e-20 relative.
Cx log_gamma_stirling(Cx w) {
    Cx r = 1.0 / w, r2 = r * r, sum = 0;
    for (int k = 9; k >= 0; --k) sum = sum * r2 + stirling[k];
    return (w - 0.5) * std::log(w) - w + half_log_2pi + sum * r;
}

// Gamma(z) for Re z >= 1/2: Stirling's series after shifting |z| past 10.
Cx gamma_right(Cx z) {
    int shift = std::abs(z) >= 10 ? 0 : static_cast<int>(std::ceil(10 - z.real()));
    Cx w = z, product = 1;
    for (int k = 0; k < shift; ++k, w += 1.0) product *= w;
    Cx lg = log_gamma_stirling(w);
    double mag = std::exp(lg.real());
    return Cx(mag * std::cos(lg.imag()), mag * std::sin(lg.imag())) / product;
}

// ln(pi / sin(pi z)) for |Im z| >= 100, where sin(pi z) = (i/2) e^{pi y - i pi x}
// (y > 0; mirrored for y < 0) to within e^{-2 pi |y|}.
Cx log_pi_over_sin(Cx z) {
    double x = std::fmod(z.real(), 2.0), y = z.imag();
    double s = y > 0 ? 1 : -1;
    return Cx(std::log(pi) - (pi * std::fabs(y) - std::log(2.0)), -s * (0.5 * pi - pi * x));
}

// Sign of Gamma(t) for real t off the poles.
double gamma_sign(double t) {
    if (t > 0) return 1;
    return std::fmod(std::floor(t), 2.0) == 0 ? 1 : -1;
}

// Gamma(n + 1) / (Gamma(a + 1) Gamma(b + 1)) for real n, a, b with n >= 0;
// 1/Gamma at a pole counts as 0.
double gamma_ratio(double n, double a, double b) {
    double an = n + 1, aa = a + 1, ab = b + 1;
    if ((aa <= 0 && is_integer(aa)) || (ab <= 0 && is_integer(ab))) return 0;
    double gn = std::tgamma(an), ga = std::tgamma(aa), gb = std::tgamma(ab);
    if (std::isfinite(gn) && std::isfinite(ga) && std::isfinite(gb) && ga != 0 && gb != 0)
        return gn / ga / gb;
    double sign = gamma_sign(aa) * gamma_sign(ab);
    return sign * std::exp(std::lgamma(an) - std::lgamma(aa) - std::lgamma(ab));
}

// prod_{i=1..k} (n - k + i) / i, exact while every partial result is a
// binomial coefficient below 2^53.
double binomial(double n, double k) {
    k = std::min(k, n - k);
    if (k > 600) return inf;  // C(n, k) >= C(2k, k) > 4^k / (2 sqrt k) overflows
    double r = 1;
    for (double i = 1; i <= k && std::isfinite(r); i += 1) {
        double t = n - k + i;
        // r * t is exact below 2^53; then the division by i is exact too.
        r = r < two53 / t ? r * t / i : r / i * t;
    }
    return r;
}

}  // namespace

double gamma(double x) noexcept {
    if (x == 0) return std::signbit(x) ? -inf : inf;
    return std::tgamma(x);
}

double log_gamma(double x) noexcept { return std::lgamma(x); }

Complex gamma(Complex z) noexcept {
    if (std::isnan(z.re) || std::isnan(z.im)) return {nan, nan};
    if (z.im == 0) return {gamma(z.re), 0};
    Cx w(z.re, z.im), r;
    if (std::fabs(z.im) >= 100) {
        Cx lg = z.re >= 0.5 ? log_gamma_stirling(w) : log_pi_over_sin(w) - log_gamma_stirling(1.0 - w);
        double mag = std::exp(lg.real());
        r = Cx(mag * std::cos(lg.imag()), mag * std::sin(lg.imag()));
    } else if (z.re >= 0.5) {
        r = gamma_right(w);
    } else {
        // pi / (sin(pi z) Gamma(1 - z)), each reciprocal taken apart so that
        // neither product overflows where the result is representable.
        double x = z.re, y = pi * z.im;
        Cx s(sin_pi(x) * std::cosh(y), cos_pi(x) * std::sinh(y));
        r = pi * (1.0 / s) * (1.0 / gamma_right(1.0 - w));
    }
    return {r.real(), r.imag()};
}

double factorial(double x) noexcept {
    if (is_integer(x)) return x < 0 ? nan : x <= 170 ? factorials[static_cast<int>(x)] : inf;
    return gamma(x + 1);
}

double comb(double n, double k) noexcept {
    if (!(n >= 0) || !(k >= 0) || std::isinf(n) || std::isinf(k)) return nan;
    if (is_integer(n) && is_integer(k)) {
        if (k > n) return 0;
        double r = binomial(n, k);
        return r < two53 ? std::nearbyint(r) : r;
    }
    return gamma_ratio(n, k, n - k);
}

double perm(double n, double k) noexcept {
    if (!(n >= 0) || !(k >= 0) || std::isinf(n) || std::isinf(k)) return nan;
    if (is_integer(n) && is_integer(k)) {
        if (k > n) return 0;
        if (k > 171) return inf;  // n!/(n-k)! >= k!
        double r = 1;
        for (double i = 0; i < k; i += 1) r *= n - i;
        return r < two53 ? std::nearbyint(r) : r;
    }
    return gamma_ratio(n, 0, n - k);
}

double gcd(double a, double b) noexcept {
    if (!is_integer(a) || !is_integer(b) || std::fabs(a) > two53 || std::fabs(b) > two53) return nan;
    auto u = static_cast<std::uint64_t>(std::fabs(a));
    auto v = static_cast<std::uint64_t>(std::fabs(b));
    while (v != 0) {
        std::uint64_t t = u % v;
        u = v;
        v = t;
    }
    return static_cast<double>(u);
}

}  // namespace ostr::special
