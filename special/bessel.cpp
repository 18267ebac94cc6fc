// Bessel functions J, Y, I, K of real order and real argument.
// The kernels work for order nu >= 0 and x > 0; the public functions add the
// reflection formulas, the parity at negative x and the special points.
//
// Regions (x > 0, nu >= 0):
//   x >= max(20, nu^2/4)  Hankel expansions of J, Y, I, K in 1/x; there term
//                         k+1 is at most nu^2/(2x(k+1)) <= 2/(k+1) times term
//                         k, so no term exceeds 2 and the sum has no real
//                         cancellation; x >= 20 puts the smallest term (near
//                         k = 2x, about e^-2x) below eps.
//   x < 2                 power series for J and I; Temme's series for Y and K
//                         at the reduced order mu = nu - round(nu), then the
//                         upward recurrence (stable for Y and K) to nu.
//   2 <= x < 20           J and Y: continued fraction CF1 for J'/J at nu, the
//                         downward recurrence to mu ~ x (stable for J), Steed's
//                         CF2 for (J' + iY')/(J + iY) at mu and the Wronskian
//                         JY' - J'Y = 2/(pi x) for the normalisation, then
//                         the upward recurrence of Y.
//   x >= 20               J and Y: the Hankel expansion at the orders frac(nu)
//                         and frac(nu) + 1, the upward recurrence (and past
//                         the turning point CF1 with the Wronskian for J).
//   x >= 2                I and K (below the Hankel bound):
//                         K at mu and mu + 1 from the trapezoid rule on
//                         K_mu(x) = int_0^inf exp(-x cosh t) cosh(mu t) dt, the
//                         upward recurrence of K; I from CF1 for I'/I, the
//                         downward recurrence and the Wronskian
//                         I K' - I' K = -1/x.
// Recurrences carry a separate binary exponent so that they neither overflow
// nor underflow on the way; the result is inf or 0 only if the value is.
#include <cmath>
#include <complex>
#include <limits>

#include "special/special.hpp"

namespace ostr::special {
namespace {

constexpr double eps = std::numeric_limits<double>::epsilon();
constexpr double tiny = 1e-300;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
// Continued fractions need about x + 30 terms; this bounds the work of one
// call (and so the reachable x when the order is too large for the Hankel
// expansions) at a few tens of milliseconds.
constexpr int max_cf_terms = 10'000'000;
// Orders above this need more recurrence steps than one call should take.
constexpr double max_order = 1e7;
constexpr int rescale_bits = 600;

// Taylor coefficients of 1/Gamma(z) = sum c[k] z^k, k = 0..28 (c[0] = 0).
constexpr double rgamma_taylor[] = {
    0, 1, 0.57721566490153287, -0.6558780715202539, -0.042002635034095237,
    0.16653861138229148, -0.042197734555544333, -0.009621971527876973,
    0.0072189432466630999, -0.0011651675918590652, -0.00021524167411495098,
    0.0001280502823881162, -2.0134854780788239e-05, -1.2504934821426706e-06,
    1.1330272319816959e-06, -2.0563384169776071e-07, 6.1160951044814161e-09,
    5.0020076444692229e-09, -1.18127457048702e-09, 1.0434267116911005e-10,
    7.7822634399050708e-12, -3.696805618642206e-12, 5.1003702874544758e-13,
    -2.0583260535665066e-14, -5.3481225394230178e-15, 1.2267786282382608e-15,
    -1.1812593016974588e-16, 1.1866922547516004e-18, 1.4123806553180319e-18};

bool is_integer(double v) { return std::isfinite(v) && v == std::nearbyint(v); }

// c1 v1 + c2 v2 where a zero coefficient drops its term even if the value is
// infinite (Y_{-nu} of half-integer nu is exactly +-J_nu).
double combine(double c1, double v1, double c2, double v2) {
    return (c1 == 0 ? 0 : c1 * v1) + (c2 == 0 ? 0 : c2 * v2);
}
bool is_odd(double v) { return std::fmod(v, 2.0) != 0; }

// v * 2^e * exp(x) without intermediate overflow: x = n ln2 + r with the
// two-part ln2 so that r keeps full precision for |x| up to 2^20; beyond
// that (or past the double range altogether) the result is 0 or +-inf.
double scale_exp(double v, int e, double x) {
    constexpr double ln2 = 0.69314718055994530942;
    constexpr double ln2_hi = 6.93147180369123816490e-01;  // 32 significant bits
    constexpr double ln2_lo = 1.90821492927058770002e-10;
    if (v == 0 || std::isnan(v)) return v;
    double total = x / ln2 + e;
    if (total > 3000) return std::copysign(std::numeric_limits<double>::infinity(), v);
    if (total < -3000) return std::copysign(0.0, v);
    double n = std::nearbyint(x / ln2);
    double r = (x - n * ln2_hi) - n * ln2_lo;
    return std::ldexp(v * std::exp(r), e + static_cast<int>(n));
}

// Keeps a pair of recurrence values within range by moving powers of two
// into the exponent e.
void rescale(double& a, double& b, int& e) {
    if (std::fabs(a) > 0x1p600 || std::fabs(b) > 0x1p600) {
        a = std::ldexp(a, -rescale_bits);
        b = std::ldexp(b, -rescale_bits);
        e += rescale_bits;
    }
}

// ---- Hankel expansions -----------------------------------------------------
// a_k(nu) / x^k with a_k = prod_{j=1..k} (4nu^2 - (2j-1)^2) / (k! 8^k).
// Returns false when the terms stop falling before reaching eps.
struct HankelSums {
    double p, q;  // even and odd terms with alternating signs (J, Y)
    double s, t;  // all terms with signs + and (-1)^k (K, I)
};
bool hankel_sums(double nu, double x, HankelSums& out) {
    double mu4 = 4 * nu * nu;
    double term = 1;
    HankelSums r{1, 0, 1, 1};
    for (int k = 1; k < 200; ++k) {
        double prev = std::fabs(term);
        term *= (mu4 - (2.0 * k - 1) * (2.0 * k - 1)) / (8.0 * k * x);
        double mag = std::fabs(term);
        if (k % 2 == 0) r.p += (k % 4 == 0) ? term : -term;
        else r.q += (k % 4 == 1) ? term : -term;
        r.s += term;
        r.t += (k % 2 == 0) ? term : -term;
        if (mag < 0.5 * eps) {
            out = r;
            return true;
        }
        if (mag > prev && mu4 < (2.0 * k + 1) * (2.0 * k + 1)) return false;
    }
    return false;
}

bool hankel_applies(double nu, double x) { return x >= 20 && x >= 0.25 * nu * nu; }

// J = A (P cos chi - Q sin chi), Y = A (P sin chi + Q cos chi), A = sqrt(2/(pi x)),
// chi = x - (nu/2 + 1/4) pi taken apart as cos x, sin x and the order's phase,
// so that the libm's exact reduction of x carries through.
bool hankel_jy(double nu, double x, double dx, Pair& out) {
    HankelSums h;
    if (!hankel_sums(nu, x, h)) return false;
    double phase = 0.5 * std::fmod(nu, 4.0) + 0.25;
    double cp = cos_pi(phase), sp = sin_pi(phase);
    double cx = std::cos(x), sx = std::sin(x);
    double c = cx * cp + sx * sp;
    double s = sx * cp - cx * sp;
    double c1 = c - dx * s, s1 = s + dx * c;
    double a = std::sqrt(2 / pi) / std::sqrt(x);  // no overflow of pi x near DBL_MAX
    out = {a * (h.p * c1 - h.q * s1), a * (h.p * s1 + h.q * c1)};
    return true;
}

bool hankel_ik(double nu, double x, Pair& out) {
    HankelSums h;
    if (!hankel_sums(nu, x, h)) return false;
    double root = std::sqrt(2 * pi) * std::sqrt(x);
    out = {scale_exp(h.t / root, 0, x), scale_exp(h.s * pi / root, 0, -x)};
    return true;
}

// ---- Power series ----------------------------------------------------------
// (x/2)^nu / Gamma(nu + 1); through logarithms only when the power leaves the
// double range, where the result is near or past underflow anyway. For
// subnormal x, x/2 would round, so the power of x is taken first.
double series_lead(double nu, double x) {
    if (nu < 170) {
        double p = x >= 0x1p-1020 ? std::pow(0.5 * x, nu) : std::pow(x, nu) * std::exp2(-nu);
        if (p > 1e-290 && p < 1e290) return p / std::tgamma(nu + 1);
    }
    return std::exp(nu * (std::log(x) - 0.69314718055994530942) - std::lgamma(nu + 1));
}

// sum_k (sign x^2/4)^k / (k! (nu+1)_k) (x/2)^nu / Gamma(nu+1): J for sign -1,
// I for sign +1. Used for x < 2, where J loses at most one digit.
double power_series(double nu, double x, double sign) {
    double q = sign * 0.25 * x * x;
    double term = 1, sum = 1;
    for (int k = 1; k < 500; ++k) {
        term *= q / (k * (nu + k));
        sum += term;
        if (std::fabs(term) < 0.5 * eps * std::fabs(sum)) break;
    }
    return sum * series_lead(nu, x);
}

// ---- Temme's series (x < 2, |mu| <= 1/2) -------------------------------------
// Gamma1 = (1/Gamma(1-mu) - 1/Gamma(1+mu)) / (2mu), Gamma2 = the mean of the
// two reciprocals, from the Taylor series of 1/Gamma so that mu -> 0 has no
// cancellation; also 1/Gamma(1+mu) and 1/Gamma(1-mu).
struct TemmeGammas {
    double g1, g2, gp, gm;
};
TemmeGammas temme_gammas(double mu) {
    // 1/Gamma(1+mu) = sum_k c[k+1] mu^k: split into even and odd powers.
    double m2 = mu * mu, even = 0, odd = 0;
    for (int k = 27; k >= 1; k -= 2) even = even * m2 + rgamma_taylor[k];
    for (int k = 28; k >= 2; k -= 2) odd = odd * m2 + rgamma_taylor[k];
    return {-odd, even, even + mu * odd, even - mu * odd};
}

double ratio_sin(double t) { return t == 0 ? 1 : std::sin(t) / t; }
double ratio_sinh(double t) { return t == 0 ? 1 : std::sinh(t) / t; }

// Temme's series: with f_k, p_k, q_k from f_0, p_0, q_0 by
//   f_k = (k f_{k-1} + p_{k-1} + q_{k-1}) / (k^2 - mu^2),
//   p_k = p_{k-1} / (k - mu),  q_k = q_{k-1} / (k + mu),
// and c_k = (-+x^2/4)^k / k!, Y_mu = -sum c_k g_k, Y_{mu+1} = -(2/x) sum c_k (p_k - k g_k)
// with g_k = f_k + r q_k, r = (2/mu) sin^2(mu pi/2), and for K
// K_mu = sum c_k f_k, K_{mu+1} = (2/x) sum c_k (p_k - k f_k). Starting values:
//   f_0 = (2/pi) (mu pi / sin mu pi) (Gamma1 cosh s + Gamma2 ln(2/x) sinh(s)/s),
//   s = mu ln(2/x), p_0 = (x/2)^-mu Gamma(1+mu)/pi, q_0 = (x/2)^mu Gamma(1-mu)/pi,
// where K drops the factor 2/pi of f_0 and takes p_0, q_0 with 1/2 for 1/pi.
// The terms fall like (x^2/4)^k/k!^2: about 15 of them for x < 2.
Pair temme(double mu, double x, bool modified) {
    TemmeGammas g = temme_gammas(mu);
    double d = 0.69314718055994530942 - std::log(x);  // ln(2/x), also for subnormal x
    double e = mu * d;
    // (x/2)^-mu by pow rather than exp(e): e carries the rounding of ln x,
    // which would cost |e| eps (4e-14 at x = 1e-300).
    double ex = x >= 0x1p-1020 ? std::pow(0.5 * x, -mu) : std::pow(x, -mu) * std::exp2(mu);
    double ch = 0.5 * (ex + 1 / ex);
    double sh = std::fabs(e) < 1 ? ratio_sinh(e) : 0.5 * (ex - 1 / ex) / e;
    double lead = 1 / ratio_sin(pi * mu);
    double f = lead * (g.g1 * ch + g.g2 * sh * d);
    double p = ex / g.gp, q = 1 / (ex * g.gm);
    double r = 0, c = 1, sign = 1;
    if (modified) {
        p *= 0.5;
        q *= 0.5;
    } else {
        f *= 2 / pi;
        p /= pi;
        q /= pi;
        double h = ratio_sin(0.5 * pi * mu);
        r = 0.5 * pi * pi * mu * h * h;  // (2/mu) sin^2(mu pi/2), smooth at mu = 0
        sign = -1;
    }
    double d2 = sign * 0.25 * x * x;
    double sum = f + r * q, sum1 = p;
    for (int k = 1; k < 500; ++k) {
        f = (k * f + p + q) / (k * k - mu * mu);
        c *= d2 / k;
        p /= k - mu;
        q /= k + mu;
        double del = c * (f + r * q);
        double del1 = c * p - k * del;
        sum += del;
        sum1 += del1;
        if (std::fabs(del) < 0.5 * eps * std::fabs(sum) && std::fabs(del1) < 0.5 * eps * std::fabs(sum1))
            break;
    }
    if (modified) return {sum, sum1 * 2 / x};
    return {-sum, -sum1 * 2 / x};
}

// ---- Continued fractions ----------------------------------------------------
// CF1: J'_nu/J_nu = nu/x - 1/(b1 - 1/(b2 - ...)), b_k = 2(nu+k)/x (sign = -1),
// and I'_nu/I_nu = nu/x + 1/(b1 + 1/(b2 + ...)) (sign = +1), by the modified
// Lentz method. 'negative' counts the sign changes of the denominators, which
// give the sign of J_nu against the recessive start of the downward
// recurrence.
bool cf1(double nu, double x, double sign, double& ratio, bool& negative) {
    double xi = 1 / x;
    double h = nu * xi;
    if (h < tiny) h = tiny;
    double b = 2 * nu * xi, d = 0, c = h;
    negative = false;
    for (int k = 1; k < max_cf_terms; ++k) {
        b += 2 * xi;
        d = b + sign * d;
        if (std::fabs(d) < tiny) d = tiny;
        c = b + sign / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        double del = c * d;
        h *= del;
        if (d < 0) negative = !negative;
        if (std::fabs(del - 1) < 0.5 * eps) {
            ratio = h;
            return true;
        }
    }
    return false;
}

// CF2 (Steed): (J' + iY')/(J + iY) at order mu equals
//   -1/(2x) + i + (i/x) a_1/(b_1 + a_2/(b_2 + ...)),
//   a_k = (k - 1/2)^2 - mu^2, b_k = 2(x + ik),
// evaluated by the modified Lentz method in complex arithmetic. It converges
// quickly for x >= 2 when mu <= x.
bool cf2_jy(double mu, double x, double& p, double& q) {
    using C = std::complex<double>;
    double a1 = 0.25 - mu * mu;
    C tail = 0;
    if (a1 != 0) {
        C f = C(2 * x, 2), c = f, d = 0;
        bool done = false;
        for (int k = 2; k < max_cf_terms && !done; ++k) {
            double ak = (k - 0.5) * (k - 0.5) - mu * mu;
            C bk(2 * x, 2.0 * k);
            d = bk + ak * d;
            if (std::abs(d) < tiny) d = tiny;
            c = bk + ak / c;
            if (std::abs(c) < tiny) c = tiny;
            d = 1.0 / d;
            C del = c * d;
            f *= del;
            done = std::abs(del - 1.0) < 0.5 * eps;
        }
        if (!done) return false;
        tail = C(0, 1 / x) * (a1 / f);
    }
    C pq = C(-0.5 / x, 1) + tail;
    p = pq.real();
    q = pq.imag();
    return true;
}

// K_mu(x) e^x and K_{mu+1}(x) e^x for x >= 2 by the trapezoid rule on
// int_0^inf exp(-x (cosh t - 1)) cosh(nu t) dt. The integrand is analytic in
// the strip |Im t| < d, where its size grows like exp(x (1 - cos d)); with
// x(1 - cos d) <= 5 and step h = 2 pi d / 45 the discretisation error is
// below exp(5 - 45) relative. The tail past cosh T = 1 + 40/x is below
// e^-40 of the value. About 20-40 nodes whatever x.
Pair k_trapezoid(double mu, double x) {
    double d = x <= 5 / (1 - std::cos(1.2)) ? 1.2 : std::acos(1 - 5 / x);
    double h = 2 * pi * d / 45;
    double t_end = std::acosh(1 + 45 / x);
    double s0 = 0.5, s1 = 0.5;
    for (int j = 1; j * h <= t_end; ++j) {
        double t = j * h;
        double sh = std::sinh(0.5 * t);
        double w = std::exp(-2 * x * sh * sh);
        s0 += w * std::cosh(mu * t);
        s1 += w * std::cosh((mu + 1) * t);
    }
    return {h * s0, h * s1};
}

// ---- J and Y ----------------------------------------------------------------

// Y_mu, Y_{mu+1} -> Y_nu, Y_{nu+1} by Y_{l+1} = (2l/x) Y_l - Y_{l-1}, with the
// binary exponent kept apart: Y_nu = v 2^e. With sign = +1 the same for K.
struct Scaled {
    double v;
    int e;
    double value() const { return std::ldexp(v, e); }
};
// Past the turning point (K: everywhere) the values only grow with the order,
// so once the exponent passes 2^2000 (times e^x, which K still loses later)
// the result is infinite and the remaining steps are skipped.
Scaled recur_up(double mu, double nu, double x, double y0, double y1, double sign) {
    int e = 0;
    int steps = static_cast<int>(std::nearbyint(nu - mu));
    int e_stop = 2000 + (sign > 0 ? static_cast<int>(std::min(x, 1e9) / 0.69314718055994530942) : 0);
    double l = mu + 1;
    for (int i = 0; i < steps && e < e_stop; ++i, l += 1) {
        double y2 = 2 * l / x * y1 + sign * y0;
        y0 = y1;
        y1 = y2;
        rescale(y0, y1, e);
    }
    return {y0, e};
}

Pair jy_small(double nu, double x) {
    double mu = nu - std::nearbyint(nu);
    if (mu < -0.5) mu += 1;  // nearbyint rounds halves to even
    Pair y = temme(mu, x, false);
    return {power_series(nu, x, -1), recur_up(mu, nu, x, y.first, y.second, -1).value()};
}

// J'/J at the order nu (CF1), carried down `steps` orders to mu = nu - steps
// from an unnormalised J_nu = +-1:
// J_{l-1} = (l/x) J_l + J'_l,  J'_{l-1} = ((l-1)/x) J_{l-1} - J_l.
// Once J_mu is known, J_nu = sign * J_mu / jl * 2^-e (jnu()).
struct DownwardJ {
    double jl = 1, jp = 0;  // J_mu and J'_mu, relative to J_nu = 1
    int e = 0;              // binary exponent taken out of jl and jp
    bool ok = false;

    DownwardJ(double nu, double x, double steps) {
        double f;
        bool negative;
        if (!cf1(nu, x, -1, f, negative)) return;
        jl = negative ? -1 : 1;
        jp = f * jl;
        double l = nu;
        for (double i = 0; i < steps; i += 1, l -= 1) {
            double jm = l / x * jl + jp;
            jp = (l - 1) / x * jm - jl;
            jl = jm;
            rescale(jl, jp, e);
        }
        if (jl == 0) jl = tiny;
        sign = negative ? -1 : 1;
        ok = true;
    }
    double ratio() const { return jp / jl; }
    double jnu(double jmu) const { return std::ldexp(jmu / jl * sign, -e); }
    double sign = 1;  // the sign CF1 gives J_nu, which the start took
};

Pair jy_steed(double nu, double x) {
    double nl = std::max(0.0, std::floor(nu - x + 1.5));
    double mu = nu - nl;
    DownwardJ down(nu, x, nl);
    if (!down.ok) return {nan, nan};
    double fmu = down.ratio();
    double p, q;
    if (!cf2_jy(mu, x, p, q)) return {nan, nan};
    // With Y = gamma J the Wronskian gives J^2 = W / (q (1 + gamma^2)).
    double w = 2 / (pi * x);
    double gam = (p - fmu) / q;
    double jmu = std::copysign(std::sqrt(w / (q + gam * (p - fmu))), down.jl);
    double ymu = gam * jmu;
    double ypmu = p * ymu + q * jmu;
    double ymu1 = mu / x * ymu - ypmu;
    return {down.jnu(jmu), recur_up(mu, nu, x, ymu, ymu1, -1).value()};
}

// x >= 20 with an order too large for the Hankel expansion itself: J and Y
// at the orders mu0 = nu - floor(nu) and mu0 + 1 from the expansion, then the
// upward recurrence, which is stable for Y everywhere and for J while the
// order stays below the turning point x. Past split = x - 2 x^(1/3) J is
// recessive upwards; there CF1 at nu (short, because nu > split) and the
// downward recurrence give J'/J at the order mu just below split, and the
// Wronskian J_mu (Y'_mu - f_mu Y_mu) = 2/(pi x) normalises it. CF1 started
// below the turning point would run through x - nu oscillating terms and
// lose about (x - nu) eps of relative accuracy.
Pair jy_large(double nu, double x) {
    double mu0 = nu - std::floor(nu);
    Pair a, b;
    if (!hankel_jy(mu0, x, 0, a) || !hankel_jy(mu0 + 1, x, 0, b)) return {nan, nan};
    double split = x - 2 * std::cbrt(x);
    if (nu <= split) {
        Scaled j = recur_up(mu0, nu, x, a.first, b.first, -1);
        Scaled y = recur_up(mu0, nu, x, a.second, b.second, -1);
        return {j.value(), y.value()};
    }
    double mu = mu0 + std::max(0.0, std::floor(split - mu0));
    Scaled ymu = recur_up(mu0, mu, x, a.second, b.second, -1);
    Scaled ymu1 = recur_up(mu0, mu + 1, x, a.second, b.second, -1);
    double y0 = ymu.value(), y1 = ymu1.value();
    DownwardJ down(nu, x, std::nearbyint(nu - mu));
    if (!down.ok) return {nan, nan};
    double jmu = 2 / (pi * x) / (mu / x * y0 - y1 - down.ratio() * y0);
    return {down.jnu(jmu), recur_up(mu, nu, x, y0, y1, -1).value()};
}

// ---- I and K ----------------------------------------------------------------

Pair ik_kernel(double nu, double x) {
    double mu = nu - std::nearbyint(nu);
    if (mu < -0.5) mu += 1;
    if (x < 2) {
        Pair k = temme(mu, x, true);
        return {power_series(nu, x, 1), recur_up(mu, nu, x, k.first, k.second, 1).value()};
    }
    // Scaled by e^x: ks = K e^x, is = I e^-x.
    Pair k = k_trapezoid(mu, x);
    double kmu = k.first, kmu1 = k.second;
    Scaled knu = recur_up(mu, nu, x, kmu, kmu1, 1);
    double k_nu = scale_exp(knu.v, knu.e, -x);
    double f;
    bool negative;
    if (!cf1(nu, x, 1, f, negative)) {
        // CF1 needs about x terms. Past the bound, I is far beyond the double
        // range whenever the leading Debye exponent
        // sqrt(nu^2+x^2) - nu asinh(nu/x) says so; otherwise NaN.
        double r = std::hypot(nu, x);
        bool overflows = r - nu * std::asinh(nu / x) - 0.5 * std::log(2 * pi * r) > 750;
        return {overflows ? inf : nan, k_nu};
    }
    double il = 1, ip = f;
    int e = 0;
    double l = nu;
    for (double i = std::nearbyint(nu - mu); i > 0; i -= 1, l -= 1) {
        double im = l / x * il + ip;
        ip = (l - 1) / x * im + il;
        il = im;
        rescale(il, ip, e);
    }
    // I_mu (K'_mu - f_mu K_mu) = -1/x with K'_mu = (mu/x) K_mu - K_{mu+1}.
    double fmu = ip / il;
    double imu = 1 / (x * (kmu * (fmu - mu / x) + kmu1));
    return {scale_exp(imu / il, -e, x), k_nu};
}

}  // namespace

double sin_pi(double v) noexcept {
    if (!std::isfinite(v)) return nan;
    double a = std::fabs(v), sign = v < 0 ? -1 : 1;
    double r = std::fmod(a, 2.0);
    if (r >= 1) {
        r -= 1;
        sign = -sign;
    }
    if (r > 0.5) r = 1 - r;
    return sign * std::sin(pi * r);
}

double cos_pi(double v) noexcept {
    if (!std::isfinite(v)) return nan;
    double r = std::fmod(std::fabs(v), 2.0), sign = 1;
    if (r >= 1) {
        r -= 1;
        sign = -1;
    }
    if (r < 0.25) return sign * std::cos(pi * r);
    if (r <= 0.5) return sign * std::sin(pi * (0.5 - r));
    return -sign * std::sin(pi * (r - 0.5));
}

Pair bessel_jy(double nu, double x, double dx) noexcept {
    if (nu > max_order) return {nan, nan};
    Pair r;
    if (hankel_applies(nu, x) && hankel_jy(nu, x, dx, r)) return r;
    if (x < 2) return jy_small(nu, x);
    return x < 20 ? jy_steed(nu, x) : jy_large(nu, x);
}

Pair bessel_ik(double nu, double x) noexcept {
    if (nu > max_order) return {nan, nan};
    Pair r;
    if (hankel_applies(nu, x) && hankel_ik(nu, x, r)) return r;
    return ik_kernel(nu, x);
}

double bessel_j(double x, double nu) noexcept {
    if (std::isnan(x) || !std::isfinite(nu)) return nan;
    bool integer = is_integer(nu);
    if (x < 0) {
        if (!integer) return nan;
        double v = bessel_j(-x, nu);
        return is_odd(nu) ? -v : v;
    }
    if (x == 0) return nu == 0 ? 1 : (nu > 0 || integer) ? 0 : nan;
    if (std::isinf(x)) return 0;
    double a = std::fabs(nu);
    if (integer) {
        double v = bessel_jy(a, x).first;
        return nu < 0 && is_odd(a) ? -v : v;
    }
    Pair r = bessel_jy(a, x);
    if (nu > 0) return r.first;
    return combine(cos_pi(a), r.first, -sin_pi(a), r.second);
}

double bessel_y(double x, double nu) noexcept {
    if (!(x > 0) || !std::isfinite(nu)) return nan;
    if (std::isinf(x)) return 0;
    double a = std::fabs(nu);
    Pair r = bessel_jy(a, x);
    if (nu >= 0) return r.second;
    if (is_integer(a)) return is_odd(a) ? -r.second : r.second;
    return combine(sin_pi(a), r.first, cos_pi(a), r.second);
}

double bessel_i(double x, double nu) noexcept {
    if (std::isnan(x) || !std::isfinite(nu)) return nan;
    bool integer = is_integer(nu);
    double a = std::fabs(nu);
    if (x < 0) {
        if (!integer) return nan;
        double v = bessel_i(-x, a);
        return is_odd(a) ? -v : v;
    }
    if (x == 0) return nu == 0 ? 1 : (nu > 0 || integer) ? 0 : nan;
    if (std::isinf(x)) return inf;
    Pair r = bessel_ik(a, x);
    if (nu >= 0 || integer) return r.first;
    // I_{-a} = I_a + (2/pi) sin(a pi) K_a.
    return r.first + 2 / pi * sin_pi(a) * r.second;
}

double bessel_k(double x, double nu) noexcept {
    if (!(x > 0) || !std::isfinite(nu)) return nan;
    if (std::isinf(x)) return 0;
    return bessel_ik(std::fabs(nu), x).second;
}

}  // namespace ostr::special
