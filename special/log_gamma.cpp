// The gamma family in the extended format: the principal complex log-gamma
// and gamma, the language's real Gamma, ln|Gamma|, factorial, comb and perm,
// digamma and beta.
//   ln Gamma(z): Stirling's series (ten terms, first omitted term below 3e-24
//   at |w| >= 15) after the shift ln Gamma(z) = ln Gamma(z + N) - sum ln(z + k),
//   whose principal logarithms add up to the principal branch; for Re z below
//   -1000 the reflection ln pi - ln sin(pi z) - ln Gamma(1 - z), moved by the
//   multiple of 2 pi i that brings it next to Stirling's leading terms.
//   Gamma(z): exp(ln Gamma) for Re z >= 1/2, else pi / (sin(pi z) Gamma(1 - z))
//   with sin(pi z) reduced exactly on the real part, so that next to a pole
//   the result keeps its relative accuracy.
//   Real Gamma and ln|Gamma| round the C library's extended-format functions
//   (a few units of 2^-64) once.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>

#include "special/scientific.hpp"
#include "special/special.hpp"

namespace ostr::special {
namespace {

using LD = long double;
using CL = std::complex<LD>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr LD pi_l = 3.141592653589793238462643383279502884L;
constexpr LD half_log_2pi = 0.918938533204672741780329736405617640L;
constexpr LD ln_pi = 1.144729885849400174143427351353058712L;
// Beyond this the extended-format Gamma overflows.
constexpr LD gamma_limit = 1700;
constexpr double two53 = 9007199254740992.0;

bool is_integer(double v) { return std::isfinite(v) && v == std::nearbyint(v); }
bool is_pole(double v) { return v <= 0 && is_integer(v); }

// B_{2k} / (2k (2k-1)), k = 1..10.
constexpr LD stirling[] = {1.0L / 12,           -1.0L / 360,       1.0L / 1260,         -1.0L / 1680,
                           1.0L / 1188,         -691.0L / 360360,  1.0L / 156,          -3617.0L / 122400,
                           43867.0L / 244188,   -174611.0L / 125400};

template <class T>
T stirling_sum(T w) {
    T r = T(1) / w, r2 = r * r, sum = 0;
    for (int k = 9; k >= 0; --k) sum = sum * r2 + stirling[k];
    return sum * r;
}

CL stirling_log_gamma(CL w) { return (w - 0.5L) * std::log(w) - w + half_log_2pi + stirling_sum(w); }

// sin(pi x) and cos(pi x) with the reduction done exactly on x.
LD sin_pi_l(LD x) {
    LD r = std::fmod(std::fabs(x), 2.0L), sign = x < 0 ? -1 : 1;
    if (r >= 1) {
        r -= 1;
        sign = -sign;
    }
    if (r > 0.5L) r = 1 - r;
    return sign * std::sin(pi_l * r);
}
LD cos_pi_l(LD x) { return sin_pi_l(std::fabs(x) + 0.5L); }

// sin(pi z), each part from exactly reduced sin and cos of pi x.
CL sin_pi_c(CL z) {
    LD y = pi_l * z.imag();
    return {sin_pi_l(z.real()) * std::cosh(y), cos_pi_l(z.real()) * std::sinh(y)};
}

// ln Gamma(z) by the shift: for |Im z| < 15 up to Re w >= 15, else up to
// Re w >= 1/2, where |w| >= 15 holds already.
CL log_gamma_shifted(CL z) {
    LD x = z.real();
    LD target = std::fabs(z.imag()) < 15 ? 15 : 0.5L;
    long n = x >= target ? 0 : static_cast<long>(std::ceil(target - x));
    CL sum = 0;
    for (long k = 0; k < n; ++k) sum += std::log(z + static_cast<LD>(k));
    return stirling_log_gamma(z + static_cast<LD>(n)) - sum;
}

CL log_gamma_reflected(CL z) {
    CL r = ln_pi - std::log(sin_pi_c(z)) - log_gamma_shifted(1.0L - z);
    LD guide = ((z - 0.5L) * std::log(z) - z).imag();
    LD turns = std::nearbyint((guide - r.imag()) / (2 * pi_l));
    return {r.real(), r.imag() + 2 * pi_l * turns};
}

Complex to_complex(CL z) { return {static_cast<double>(z.real()), static_cast<double>(z.imag())}; }

// ln Gamma(y + d) - ln Gamma(y) for y, y + d >= 10 from Stirling's form, with
// the difference of the (v - 1/2) ln v terms written through log1p; d is
// given apart, since y + d may round.
LD log_gamma_ratio(LD y, LD d) {
    LD x = y + d;
    return (x - 0.5L) * std::log1p(d / y) + d * std::log(y) - d + detail::stirling_remainder(x) -
           detail::stirling_remainder(y);
}

// Gamma(a) / Gamma(b) for real a, b with the poles of the denominator
// counting as zero; NaN at a pole of the numerator.
LD gamma_quotient(LD a, LD b) {
    if (is_pole(static_cast<double>(a))) return nan;
    if (is_pole(static_cast<double>(b))) return 0;
    return std::tgamma(a) / std::tgamma(b);
}

}  // namespace

namespace detail {

std::complex<long double> gamma_extended(std::complex<long double> z) noexcept {
    if (z.real() >= 0.5L) return std::exp(log_gamma_shifted(z));
    return pi_l / (sin_pi_c(z) * std::exp(log_gamma_shifted(1.0L - z)));
}

long double sin_pi_extended(long double x) noexcept { return sin_pi_l(x); }

long double stirling_remainder(long double x) noexcept { return stirling_sum(x); }

long double log1p_gap(long double u) noexcept {
    if (std::fabs(u) > 0.25L) return u - std::log1p(u);
    // u^2/2 - u^3/3 + u^4/4 - ...: the terms fall by at least 1/4.
    LD term = u * u, sum = 0;
    for (int k = 2; k < 40; ++k, term *= -u) sum += term / k;
    return sum;
}

long double log_gamma_1p(long double a) noexcept {
    // ln Gamma(1 + a) = -gamma a + sum_{k>=2} (-a)^k zeta(k) / k, with
    // zeta(k) = 1 + (zeta(k) - 1) so that the ones sum to ln(1 + a) - a.
    static constexpr LD zeta_minus_one[] = {
        0.6449340668482264364724152L,    0.2020569031595942853997382L,    0.0823232337111381915160037L,
        0.03692775514336992633136549L,   0.01734306198444913971451793L,   0.00834927738192282683979755L,
        0.004077356197944339378685239L,  0.002008392826082214417852769L,  0.0009945751278180853371459589L,
        0.0004941886041194645587022825L, 0.000246086553308048298637998L,  0.0001227133475784891467518365L,
        6.124813505870482925854511e-5L,  3.058823630702049355172851e-5L,  1.528225940865187173257149e-5L,
        7.637197637899762273600294e-6L,  3.817293264999839856461645e-6L,  1.908212716553938925656958e-6L,
        9.539620338727961131520387e-7L,  4.769329867878064631167196e-7L,  2.384505027277329900036482e-7L,
        1.192199259653110730677887e-7L,  5.960818905125947961244021e-8L,  2.980350351465228018606371e-8L,
        1.490155482836504123465851e-8L,  7.450711789835429491981004e-9L,  3.725334024788457054819204e-9L,
        1.86265972351304900640391e-9L,   9.313274324196681828717647e-10L, 4.656629065033784072989233e-10L,
        2.328311833676505492001456e-10L, 1.164155017270051977592974e-10L, 5.820772087902700889243686e-11L,
        2.910385044497099686929425e-11L, 1.455192189104198423592963e-11L, 7.275959835057481014520869e-12L,
        3.637979547378651190237236e-12L, 1.818989650307065947584832e-12L};
    constexpr LD euler = 0.577215664901532860606512090082L;
    LD power = -a, sum = 0;
    for (int k = 2; k < 40; ++k) {
        power *= -a;
        sum += power * zeta_minus_one[k - 2] / k;
    }
    return -euler * a + log1p_gap(a) + sum;
}

long double log_beta(long double a, long double b) noexcept {
    if (a > b) std::swap(a, b);
    if (b < 10) return std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b);
    if (a < 10) return std::lgamma(a) - log_gamma_ratio(b, a);
    // (a - 1/2) ln(a/(a+b)) + b ln(b/(a+b)) - ln(b)/2 + ln(2 pi)/2 + the remainders.
    return -(a - 0.5L) * std::log1p(b / a) - b * std::log1p(a / b) - 0.5L * std::log(b) + half_log_2pi +
           stirling_remainder(a) + stirling_remainder(b) - stirling_remainder(a + b);
}

}  // namespace detail

Complex log_gamma_full(Complex z) noexcept {
    if (std::isnan(z.re) || std::isnan(z.im) || std::isinf(z.re) || std::isinf(z.im)) return {nan, nan};
    if (z.im == 0) {
        if (is_pole(z.re)) return {nan, nan};
        if (z.re > 0) return {static_cast<double>(std::lgamma(static_cast<LD>(z.re))), 0};
        // On the cut, the value from above: each ln(x + k) < 0 adds i pi.
        return {static_cast<double>(std::lgamma(static_cast<LD>(z.re))), static_cast<double>(-pi_l * std::ceil(-z.re))};
    }
    CL w(z.re, z.im);
    if (z.re < -1000 && std::fabs(z.im) > 3000) return {nan, nan};
    return to_complex(z.re < -1000 ? log_gamma_reflected(w) : log_gamma_shifted(w));
}

Complex gamma_full(Complex z) noexcept {
    if (std::isnan(z.re) || std::isnan(z.im)) return {nan, nan};
    if (z.im == 0) return {gamma_real(z.re), 0};
    if (std::isinf(z.re) || std::isinf(z.im)) return {nan, nan};
    return to_complex(detail::gamma_extended(CL(z.re, z.im)));
}

Complex factorial_full(Complex z) noexcept {
    if (z.im == 0) return {factorial_real(z.re), 0};
    if (!std::isfinite(z.re) || !std::isfinite(z.im)) return {nan, nan};
    return to_complex(detail::gamma_extended(CL(static_cast<LD>(z.re) + 1, z.im)));
}

double gamma_real(double x) noexcept {
    if (x == 0) return std::signbit(x) ? -std::numeric_limits<double>::infinity()
                                       : std::numeric_limits<double>::infinity();
    if (std::isnan(x) || is_pole(x)) return nan;
    return static_cast<double>(std::tgamma(static_cast<LD>(x)));
}

double log_gamma_real(double x) noexcept { return static_cast<double>(std::lgamma(static_cast<LD>(x))); }

double factorial_real(double x) noexcept {
    if (is_integer(x)) return factorial(x);
    if (std::isnan(x) || x == -std::numeric_limits<double>::infinity()) return nan;
    return static_cast<double>(std::tgamma(static_cast<LD>(x) + 1));
}

double comb_real(double n, double k) noexcept {
    if (!(n >= 0) || !(k >= 0) || std::isinf(n) || std::isinf(k)) return nan;
    if (is_integer(n) && is_integer(k)) {
        double exact = comb(n, k);
        if (!(exact >= two53) || std::isinf(exact)) return exact;
        // Past 2^53 the double product rounds at every step; the same product
        // in the extended format (at most 600 factors, or the value overflows)
        // rounds once at the end.
        LD m = std::min(k, n - k), r = 1;
        for (LD i = 1; i <= m; i += 1) r = r * (n - m + i) / i;
        return static_cast<double>(r);
    }
    LD a = static_cast<LD>(n) + 1, b = static_cast<LD>(k) + 1, c = static_cast<LD>(n) - k + 1;
    if (a < gamma_limit && std::fabs(c) < gamma_limit && b < gamma_limit) {
        if (is_pole(static_cast<double>(c))) return 0;
        return static_cast<double>(std::tgamma(a) / (std::tgamma(b) * std::tgamma(c)));
    }
    // C(n, k) = 1 / ((n + 1) B(k + 1, n - k + 1)).
    if (c > 0) return static_cast<double>(std::exp(-detail::log_beta(b, c)) / a);
    return comb(n, k);
}

double perm_real(double n, double k) noexcept {
    if (!(n >= 0) || !(k >= 0) || std::isinf(n) || std::isinf(k)) return nan;
    if (is_integer(n) && is_integer(k)) {
        double exact = perm(n, k);
        if (!(exact >= two53) || std::isinf(exact)) return exact;
        LD r = 1;  // at most 171 factors, or the value overflows
        for (LD i = 0; i < k; i += 1) r *= n - i;
        return static_cast<double>(r);
    }
    LD a = static_cast<LD>(n) + 1, c = static_cast<LD>(n) - k + 1;
    if (a < gamma_limit && std::fabs(c) < gamma_limit) return static_cast<double>(gamma_quotient(a, c));
    if (c >= 10) return static_cast<double>(std::exp(log_gamma_ratio(c, k)));
    return perm(n, k);
}

// psi(x): next to its positive zero x0 a Taylor series in x - x0 (x0 in two
// parts), for negative x the reflection psi(1 - x) - pi / tan(pi x), else the
// recurrence psi(x) = psi(x + N) - sum 1/(x + k) up to x + N >= 12 and the
// asymptotic series ln w - 1/(2w) - sum B_2k / (2k w^2k).
double digamma(double x) noexcept {
    // The zero as the double nearest to it plus the rest.
    static constexpr LD root_hi = 1.4616321449683622, root_lo = 9.549995429965697715184199e-17L;
    static constexpr LD taylor[] = {
        0.9676722454476211704274448L,    -0.4427631689835921060928653L,   0.2584997609556510106244014L,
        -0.1639427054424065275042513L,   0.1078240506912623657571829L,    -0.07219956125645471092612178L,
        0.04880428816414310722509253L,   -0.0331611264748473592922584L,   0.02259764823221810465962483L,
        -0.01542476590494895913880032L,  0.01053879161661217538812405L,   -0.007204534386356868240970474L,
        0.004926781395729853446354266L,  -0.003369801655439328082792857L, 0.00230512632673492783693838L,
        -0.001576936771430197259270935L, 0.001078825201916296580691918L,  -0.0007380709389960051295660474L,
        0.0005049532658346020351773982L, -0.000345468025106307699555568L, 0.000236356015640270527923696L,
        -0.0001617062209197480344935831L, 0.0001106337276874741090408716L, -7.569179582195065919237709e-5L,
        5.178575795222080868993268e-5L,  -3.543007094765960631569882e-5L, 2.424006611860131765268307e-5L};
    static constexpr LD asymptotic[] = {1.0L / 12,         -1.0L / 120,   1.0L / 252,         -1.0L / 240,
                                        1.0L / 132,        -691.0L / 32760, 1.0L / 12,        -3617.0L / 8160,
                                        43867.0L / 14364,  -174611.0L / 6600};
    if (std::isnan(x) || is_pole(x) || x == -std::numeric_limits<double>::infinity()) return nan;
    if (x == std::numeric_limits<double>::infinity()) return x;
    LD d = (static_cast<LD>(x) - root_hi) - root_lo;
    if (std::fabs(d) < 0.25L) {
        LD sum = 0;
        for (int k = static_cast<int>(std::size(taylor)) - 1; k >= 0; --k) sum = (sum + taylor[k]) * d;
        return static_cast<double>(sum);
    }
    LD reflection = 0, w = x;
    if (x < 0) {
        reflection = -pi_l * cos_pi_l(w) / sin_pi_l(w);
        w = 1 - w;
    }
    LD shift = 0;
    for (; w < 12; w += 1) shift += 1 / w;
    LD r2 = 1 / (w * w), series = 0;
    for (int k = 9; k >= 0; --k) series = series * r2 + asymptotic[k];
    return static_cast<double>(std::log(w) - 0.5L / w - series * r2 - shift + reflection);
}

// B(a, b) = Gamma(a) Gamma(b) / Gamma(a + b); through ln B for large positive
// arguments; a pole of Gamma(a + b) alone gives 0, one of a or b NaN.
double beta(double a, double b) noexcept {
    if (std::isnan(a) || std::isnan(b) || is_pole(a) || is_pole(b)) return nan;
    LD s = static_cast<LD>(a) + b;
    if (a > 0 && b > 0 && (a >= gamma_limit || b >= gamma_limit || s >= gamma_limit))
        return static_cast<double>(std::exp(detail::log_beta(a, b)));
    if (std::fabs(a) >= gamma_limit || std::fabs(b) >= gamma_limit || std::fabs(s) >= gamma_limit) return nan;
    if (is_pole(static_cast<double>(s)) && s == static_cast<double>(s)) return 0;
    return static_cast<double>(std::tgamma(static_cast<LD>(a)) * gamma_quotient(b, s));
}

}  // namespace ostr::special
