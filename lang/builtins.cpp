// The predefined functions: one table row per function (registration text,
// adapter, help entry) and one adapter per argument shape, so that argument
// counting, conversion, the formula fallback and the error rules are
// written once per shape. The numeric work is the numeric library's.
#include "lang/builtins.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "lang/bignum.hpp"
#include "lang/elementary.hpp"
#include "lang/globals.hpp"
#include "numtext/numtext.hpp"
#include "ostravine/hash.h"
#include "ostravine/special.h"
#include "special/scientific.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {
namespace builtin {

Value written(Complex c, const Call& call) {
    if (!std::isfinite(c.re) || !std::isfinite(c.im)) return Value::formula_of(Text(call.text));
    double re = 0, im = 0;
    // The text of a finite double at 15 digits always reads back; the sum
    // with +0 turns a -0 into 0 when the text of a part is "0".
    (void)text::read_number(text::number_text(c.re, 15).view(), re);
    (void)text::read_number(text::number_text(c.im, 15).view(), im);
    return Value::number({re + 0.0, im + 0.0});
}

Args as_number(const Value& v, Complex* out) {
    switch (v.kind) {
    case Value::Kind::number: *out = v.num; return Args::numbers;
    case Value::Kind::formula:
    case Value::Kind::pair:
        if (formula::is_number(v.text.re, &out->re) && formula::is_number(v.text.im, &out->im)) return Args::numbers;
        return Args::formula;
    case Value::Kind::error:
    case Value::Kind::object: return Args::invalid;
    }
    return Args::invalid;
}

// An empty argument text (as in "hypot(1,)") makes the list malformed.
bool malformed(const Call& call) {
    return std::any_of(call.args.begin(), call.args.end(), [](std::string_view a) { return a.empty(); });
}

std::optional<Value> numbers(const Call& call, std::span<Value> values, Complex* z) {
    if (malformed(call)) return Value::failure();
    bool formula = false;
    for (std::size_t k = 0; k < values.size(); ++k) {
        switch (as_number(values[k], &z[k])) {
        case Args::numbers: break;
        case Args::formula: formula = true; break;
        case Args::invalid: return values[k].is_error() ? Value::failure(values[k].error) : Value::failure();
        }
    }
    if (formula) return Value::formula_of(Text(call.text));
    return std::nullopt;
}

bool as_real(Complex z, double* out) {
    if (z.im != 0 && !(std::fabs(z.im) <= 1e-15 * std::fabs(z.re))) return false;
    *out = z.re;
    return true;
}

}  // namespace builtin

namespace {

using builtin::Args;
using builtin::numbers;
using builtin::written;

// The arguments as numbers that are meant as real.
std::optional<Value> reals(const Call& call, std::span<Value> values, double* x) {
    Complex z[3];
    if (auto v = numbers(call, values, z)) return v;
    for (std::size_t k = 0; k < values.size(); ++k)
        if (!builtin::as_real(z[k], &x[k])) return Value::failure();
    return std::nullopt;
}

// A real result: NaN marks an argument outside the domain (an error word),
// an infinity an overflow (the call's text).
Value real_result(double r, const Call& call) {
    if (std::isnan(r)) return Value::failure();
    return written({r, 0}, call);
}

using ComplexFn = Complex* (*)(Complex*, const Complex*);
using Complex2Fn = Complex* (*)(Complex*, const Complex*, const Complex*);
using PartFn = double (*)(const Complex*);
using Real1Fn = double (*)(double);
using Real2Fn = double (*)(double, double);
using Real3Fn = double (*)(double, double, double);
using StatisticFn = double (*)(const double*);

// Shape: one complex argument, complex result (the elementary functions and
// the rounding family). Any non-finite part is the call's text.
template <ComplexFn F>
Value complex1(const Call& call, std::span<Value> values) {
    Complex z[1];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    Complex r;
    return written(*F(&r, &z[0]), call);
}

// Shape: the language's elementary functions (lang/elementary.hpp).
template <Complex (*F)(Complex) noexcept>
Value elementary1(const Call& call, std::span<Value> values) {
    Complex z[1];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    return written(F(z[0]), call);
}

template <Complex2Fn F>
Value complex2(const Call& call, std::span<Value> values) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    Complex r;
    return written(*F(&r, &z[0], &z[1]), call);
}

// Shape: one complex argument, real result (abs, arg, re, im).
template <PartFn F>
Value part(const Call& call, std::span<Value> values) {
    Complex z[1];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    return written({F(&z[0]), 0}, call);
}

// Shape: real arguments, real result (the special functions and the
// integer functions of the numeric library).
template <Real1Fn F>
Value real1(const Call& call, std::span<Value> values) {
    double x[1];
    if (auto v = reals(call, values, x)) return std::move(*v);
    return real_result(F(x[0]), call);
}

template <Real2Fn F>
Value real2(const Call& call, std::span<Value> values) {
    double x[2];
    if (auto v = reals(call, values, x)) return std::move(*v);
    return real_result(F(x[0], x[1]), call);
}

template <Real3Fn F>
Value real3(const Call& call, std::span<Value> values) {
    double x[3];
    if (auto v = reals(call, values, x)) return std::move(*v);
    return real_result(F(x[0], x[1], x[2]), call);
}

// Shape: one or more arguments, of which only the real parts count. An
// argument counts when the text of its real part is a number, whatever its
// imaginary part; otherwise the call stays a formula. The routine works on
// a counted vector (slot 0 holds the count).
template <StatisticFn F>
Value statistic(const Call& call, std::span<Value> values) {
    if (values.empty() || builtin::malformed(call)) return Value::failure();
    std::vector<double> v(values.size() + 1);
    v[0] = static_cast<double>(values.size());
    bool formula = false;
    for (std::size_t k = 0; k < values.size(); ++k) {
        const Value& a = values[k];
        if (a.kind == Value::Kind::number)
            v[k + 1] = a.num.re;
        else if (a.kind == Value::Kind::object)
            return Value::failure();
        else if (!formula::is_number(a.text.re, &v[k + 1]))
            formula = true;
    }
    if (formula) return Value::formula_of(Text(call.text));
    return real_result(F(v.data()), call);
}

double modulus(const Complex* z) { return elementary::modulus(*z); }
double real_part(const Complex* z) { return z->re; }
double imaginary_part(const Complex* z) { return z->im; }
double arctan2(double y, double x) { return std::atan2(y, x); }
double hypotenuse(double x, double y) { return std::hypot(x, y); }
Complex zeta_of(Complex s) noexcept { return special::zeta(s); }

// The generator state of the session: the seed of the top-level
// environment, so that a saved session continues the same sequence.
std::int32_t* session_seed(Arbenv* env) {
    while (env->parent) env = env->parent;
    return &env->random_seed;
}

// A part is drawn only when the two bounds differ in it: rand(0,1) draws
// once, rand(0,1+i) twice.
Value rand(const Call& call, std::span<Value> values) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    std::int32_t* seed = session_seed(call.env);
    Complex r = z[0];
    if (z[0].re != z[1].re) r.re = RandomReal(z[0].re, z[1].re, seed);
    if (z[0].im != z[1].im) r.im = RandomReal(z[0].im, z[1].im, seed);
    return written(r, call);
}

bool as_int32(double v, std::int32_t* out) {
    if (!(v == std::floor(v)) || std::fabs(v) > 2147483647.0) return false;
    *out = static_cast<std::int32_t>(v);
    return true;
}

// Each part between its two bounds, both included; the bounds must be
// integers within +-(2^31 - 1) and may come in either order.
Value randint(const Call& call, std::span<Value> values) {
    Complex z[2];
    if (auto v = numbers(call, values, z)) return std::move(*v);
    std::int32_t a[4];
    if (!as_int32(z[0].re, &a[0]) || !as_int32(z[1].re, &a[1]) || !as_int32(z[0].im, &a[2]) ||
        !as_int32(z[1].im, &a[3]))
        return Value::failure();
    std::int32_t* seed = session_seed(call.env);
    Complex r = z[0];
    if (a[0] != a[1]) r.re = RandomInteger(std::min(a[0], a[1]), std::max(a[0], a[1]), seed);
    if (a[2] != a[3]) r.im = RandomInteger(std::min(a[2], a[3]), std::max(a[2], a[3]), seed);
    return written(r, call);
}

struct Row {
    HelpEntry help;
    CallFn fn;
    bool evaluate_arguments = true;
};

// The table, in alphabetical order. Each example's answer is checked by a
// test through the evaluator.
const Row rows[] = {
    {{"abs(1)", "abs(z)", "absolute value (modulus) of z", "abs(3+4*i)", "5"}, part<modulus>},
    {{"airya(1)", "airya(x)", "Airy function Ai of the first kind at real x", "airya(1)", "0.135292416312881"},
     real1<AiryAi>},
    {{"airyb(1)", "airyb(x)", "Airy function Bi of the second kind at real x", "airyb(1)", "1.20742359495287"},
     real1<AiryBi>},
    {{"arccos(1)", "arccos(z)", "inverse cosine (principal value)", "arccos(0.5)", "1.0471975511966"},
     elementary1<elementary::arccos>},
    {{"arccosh(1)", "arccosh(z)", "inverse hyperbolic cosine", "arccosh(2)", "1.31695789692482"},
     elementary1<elementary::arccosh>},
    {{"arcsin(1)", "arcsin(z)", "inverse sine (principal value)", "arcsin(2)", "1.5707963267949-1.31695789692482*i"},
     elementary1<elementary::arcsin>},
    {{"arcsinh(1)", "arcsinh(z)", "inverse hyperbolic sine", "arcsinh(1)", "0.881373587019543"},
     elementary1<elementary::arcsinh>},
    {{"arctan(1)", "arctan(z)", "inverse tangent (principal value)", "arctan(1)", "0.785398163397448"},
     elementary1<elementary::arctan>},
    {{"arctan2(2)", "arctan2(y,x)", "angle of the point (x,y) from the positive x axis, in (-pi, pi]",
      "arctan2(1,-1)", "2.35619449019234"},
     real2<arctan2>},
    {{"arctanh(1)", "arctanh(z)", "inverse hyperbolic tangent", "arctanh(0.5)", "0.549306144334055"},
     elementary1<elementary::arctanh>},
    {{"arg(1)", "arg(z)", "phase of z in (-pi, pi]", "arg(-1)", "3.14159265358979"}, part<PhaC>},
    {{"besseli(2)", "besseli(x,nu)", "modified Bessel function I of real order nu at real x", "besseli(1,0)",
      "1.26606587775201"},
     real2<special::bessel_i_language>},
    {{"besselj(2)", "besselj(x,nu)", "Bessel function J of real order nu at real x", "besselj(2.5,1)",
      "0.497094102464274"},
     real2<special::bessel_j_language>},
    {{"besselk(2)", "besselk(x,nu)", "modified Bessel function K of real order nu at real x > 0", "besselk(1,0)",
      "0.421024438240708"},
     real2<special::bessel_k_language>},
    {{"bessely(2)", "bessely(x,nu)", "Bessel function Y of real order nu at real x > 0", "bessely(1,0)",
      "0.0882569642156769"},
     real2<special::bessel_y_language>},
    {{"beta(2)", "beta(a,b)", "beta function B(a,b) = gamma(a)*gamma(b)/gamma(a+b)", "beta(2,3)", "0.0833333333333333"},
     real2<special::beta>},
    {{"betainc(3)", "betainc(a,b,x)", "regularised incomplete beta function I(x; a,b), a, b > 0, 0 <= x <= 1", "betainc(2,3,0.5)", "0.6875"},
     real3<special::beta_inc>},
    {{"big(1)", "big(x)", "x as a big number: a number, or a string of decimal digits, \"pi\" or \"e\"",
      "big(2)^70", "1180591620717411303424"},
     builtin::big},
    {{"bin()", "bin(x,p)", "x in binary after 0b; p fraction digits, rounded (left out: exact)", "bin(-5.25)",
      "-0b101.01"},
     builtin::binary_text, false},
    {{"ceil(1)", "ceil(z)", "smallest integer not below each part", "ceil(1.2-1.5*i)", "2-i"}, complex1<CeilC>},
    {{"comb(2)", "comb(n,k)", "binomial coefficient n!/(k!(n-k)!), the number of k-subsets of n things",
      "comb(5,2)", "10"},
     real2<special::comb_real>},
    {{"combine()", "combine(a,k)", "the k-element combinations of the array a (or of 1..a), as arrays",
      "combine(3,2)", "[[1,2],[1,3],[2,3]]"},
     builtin::combine, false},
    {{"complexroots(2)", "complexroots(p,x)", "all complex roots of the polynomial p in x, with repeats",
      "complexroots(x^2+1,x)", "[-i,i]"},
     builtin::complex_roots, false},
    {{"conv(2)", "conv(a,b)", "the full convolution of two arrays, length size(a)+size(b)-1", "conv([1,2,3],[1,1])",
      "[1,3,5,3]"},
     builtin::convolution, false},
    {{"cos(1)", "cos(z)", "cosine", "cos(1)", "0.54030230586814"}, elementary1<elementary::cos>},
    {{"cosh(1)", "cosh(z)", "hyperbolic cosine", "cosh(1)", "1.54308063481524"}, elementary1<elementary::cosh>},
    {{"dec(1)", "dec(x)", "the number that a binary or hexadecimal text of bin or hex stands for", "dec(bin(-5.25))",
      "-5.25"},
     builtin::decimal_value},
    {{"deriv()", "deriv(f(x),x,a,n)", "derivative of f in x as a formula; with a, its value at x=a; with n, the n-th",
      "deriv(x^3,x)", "3*x^2"},
     builtin::deriv, false},
    {{"digamma(1)", "digamma(x)", "digamma function, the derivative of ln(gamma(x))", "digamma(1)", "-0.577215664901533"},
     real1<special::digamma>},
    {{"divisors(1)", "divisors(n)", "the positive divisors of a whole n from 1 to 2^64, ascending", "divisors(12)",
      "[1,2,3,4,6,12]"},
     builtin::divisors_list},
    {{"ei(1)", "ei(x)", "exponential integral Ei(x), the principal value of the integral of e^t/t up to x", "ei(1)", "1.89511781635594"},
     real1<special::exp_integral_ei>},
    {{"ellipe(1)", "ellipe(m)", "complete elliptic integral of the second kind E(m), m = k^2 <= 1", "ellipe(0.5)", "1.35064388104768"},
     real1<special::ellip_e>},
    {{"ellipk(1)", "ellipk(m)", "complete elliptic integral of the first kind K(m), m = k^2 < 1", "ellipk(0.5)", "1.85407467730137"},
     real1<special::ellip_k>},
    {{"erf(1)", "erf(x)", "error function", "erf(1)", "0.842700792949715"},
     real1<special::erf>},
    {{"erfc(1)", "erfc(x)", "complementary error function 1-erf(x), without cancellation", "erfc(1)", "0.157299207050285"},
     real1<special::erfc>},
    {{"erfinv(1)", "erfinv(y)", "inverse error function, -1 < y < 1", "erfinv(0.5)", "0.47693627620447"},
     real1<special::erf_inv>},
    {{"exp(1)", "exp(z)", "exponential", "exp(1)", "2.71828182845905"}, elementary1<elementary::exp>},
    {{"fft(1)", "fft(a)", "the discrete Fourier transform X_k = sum of a_j*e^(-2*pi*i*j*k/n), any length n",
      "fft([1,2,3,4])", "[10,-2+2*i,-2,-2-2*i]"},
     builtin::fft, false},
    {{"fft2(1)", "fft2(m)", "the 2-D discrete Fourier transform of a matrix or an array of equal rows (rows, then columns)",
      "fft2([[1,2],[3,4]])", "[[10,-2],[-4,0]]"},
     builtin::fft2, false},
    {{"filter()", "filter(a,f)", "a with each frequency scaled by the gains of the filter file f (fourier_filter_spec.txt when left out) or of the directives f",
      "filter([1,0,1,0],\"lowpass 0.25\")", "[0.5,0.5,0.5,0.5]"},
     builtin::filter, false},
    {{"expint(1)", "expint(x)", "exponential integral E1(x), the integral of e^-t/t from x to infinity, x > 0", "expint(1)", "0.21938393439552"},
     real1<special::exp_integral_e1>},
    {{"findpeaks(3)", "findpeaks(f(x),a,b)", "the local maxima and minima of f between a and b, each [x,f(x)]",
      "findpeaks(x^2-2*x,-3,3)", "[[1,-1]]"},
     builtin::find_peaks, false},
    {{"findroots(3)", "findroots(f(x),a,b)", "all real roots of f between a and b, ascending", "findroots(x^2-1,-3,3)",
      "[-1,1]"},
     builtin::find_roots, false},
    {{"fit()", "fit(f,x,xs,ys,[p,...],[s,...],sigmas)",
      "parameters p of f in x nearest the data by Levenberg-Marquardt from s: [[p,...],[errors]]",
      "fit(a*x+b,x,[0,1,2,3],[1,2,2,4],[a,b],[1,1])", "[[0.9,0.9],[0.264575131106459,0.494974746830583]]"},
     builtin::fit, false},
    {{"floor(1)", "floor(z)", "largest integer not above each part", "floor(-1.5+2.5*i)", "-2+2*i"},
     complex1<FloorC>},
    {{"gamma(1)", "gamma(z)", "gamma function of real or complex z", "gamma(1+i)", "0.498015668118356-0.154949828301811*i"},
     elementary1<special::gamma_full>},
    {{"gammainc(2)", "gammainc(a,x)", "regularised lower incomplete gamma function P(a,x), a > 0, x >= 0", "gammainc(2,1)", "0.264241117657115"},
     real2<special::gamma_p>},
    {{"gammaincc(2)", "gammaincc(a,x)", "regularised upper incomplete gamma function Q(a,x) = 1-P(a,x)", "gammaincc(2,1)", "0.735758882342885"},
     real2<special::gamma_q>},
    {{"gcd(2)", "gcd(n1,n2)", "greatest common divisor of two integers", "gcd(12,18)", "6"}, real2<Gcd>},
    {{"hex()", "hex(x,p)", "x in hexadecimal after 0x; p fraction digits, rounded (left out: exact)", "hex(0.1,4)",
      "0x0.199a"},
     builtin::hexadecimal_text, false},
    {{"hmstime(3)", "hmstime(h,m,s)", "the time as [hours,minutes,seconds], minutes and seconds below 60",
      "hmstime(0,90,75)", "[1,31,15]"},
     builtin::hms_time},
    {{"hypot(2)", "hypot(x,y)", "sqrt(x^2+y^2) without overflow", "hypot(3,4)", "5"}, real2<hypotenuse>},
    {{"idiv(2)", "idiv(a,n)", "integer quotient floor(a/n); exact for big integers", "idiv(-7,2)", "-4"},
     builtin::idiv},
    {{"ifft(1)", "ifft(a)", "the inverse discrete Fourier transform, divided by n: ifft(fft(a)) is a", "ifft([10,-2+2*i,-2,-2-2*i])",
      "[1,2,3,4]"},
     builtin::ifft, false},
    {{"ifft2(1)", "ifft2(m)", "the inverse 2-D discrete Fourier transform, divided by rows*columns",
      "ifft2([[10,-2],[-4,0]])", "[[1,2],[3,4]]"},
     builtin::ifft2, false},
    {{"im(1)", "im(z)", "imaginary part", "im(3+4*i)", "4"}, part<imaginary_part>},
    {{"int()", "int(f(x),x,x1,x2,n)", "integral of f from x1 to x2, starting from n intervals (n may be left out)",
      "int(x^2,x,0,3)", "9"},
     builtin::integral, false},
    {{"integrate()", "integrate(f,x,a,b,tol)", "integral of f from a to b (either may be inf or -inf), singular ends too",
      "integrate(exp(-x),x,0,inf)", "1"},
     builtin::integrate, false},
    {{"interp()", "interp(x,y,t,kind,d1,dn)", "the interpolant through the points (x,y) at t (a number or an array); kind \"linear\" (left out), \"spline\" (natural cubic), \"clamped\" (end slopes d1, dn) or \"akima\"",
      "interp([0,1,2],[0,1,4],[0.5,1.5])", "[0.5,2.5]"},
     builtin::interpolate, false},
    {{"irfft(2)", "irfft(h,n)", "the n real samples whose spectrum starts with h, as rfft gives it", "irfft([10,-2+2*i,-2],4)",
      "[1,2,3,4]"},
     builtin::irfft, false},
    {{"linfit()", "linfit([b1,...],x,xs,ys,sigmas)", "coefficients of the basis b1(x),... nearest the data: [[c,...],[errors]]",
      "linfit([x,1],x,[0,1,2,3],[1,2,2,4])", "[[0.9,0.9],[0.264575131106459,0.494974746830583]]"},
     builtin::linfit, false},
    {{"lambertw()", "lambertw(x,k)", "Lambert W: w*exp(w) = x on the branch k = 0 (left out) or -1", "lambertw(1)", "0.567143290409784"},
     builtin::lambert_w},
    {{"legendre(3)", "legendre(x,l,m)", "associated Legendre function P(l,m) at |x| <= 1, with (-1)^m",
      "legendre(0.5,2,1)", "-1.29903810567666"},
     real3<Legendre>},
    {{"lgamma(1)", "lgamma(z)", "principal logarithm of the gamma function (cut along the negative real axis)", "lgamma(100)", "359.134205369575"},
     elementary1<special::log_gamma_full>},
    {{"li2(1)", "li2(x)", "dilogarithm Li2(x), the sum of x^k/k^2, of real x (complex past 1)", "li2(-1)", "-0.822467033424113"},
     builtin::dilogarithm},
    {{"ln(1)", "ln(z)", "natural logarithm (principal value)", "ln(-1)", "3.14159265358979*i"}, elementary1<elementary::ln>},
    {{"log(1)", "log(z)", "logarithm to base 10", "log(1000)", "3"}, elementary1<elementary::log10>},
    {{"max()", "max(x1,x2,...)", "largest real part", "max(3,7,5)", "7"}, statistic<Max>},
    {{"mean()", "mean(x1,x2,...)", "arithmetic mean of the real parts", "mean(1,2,3,4)", "2.5"}, statistic<Mean>},
    {{"median()", "median(x1,x2,...)", "median of the real parts", "median(3,1,4,1,5)", "3"}, statistic<Median>},
    {{"min()", "min(x1,x2,...)", "smallest real part", "min(3,7,5)", "3"}, statistic<Min>},
    {{"minimize()", "minimize(f,x,a,b) or minimize(f,[x,y],[x0,y0],bfgs)",
      "a local minimum of f: in [a,b] by Brent, or from a start by Nelder-Mead (or bfgs): [x,...,f]",
      "minimize((x-2)^2+1,x,0,5)", "[2,1]"},
     builtin::minimize, false},
    {{"mod(2)", "mod(a,n)", "remainder a-n*floor(a/n), with the sign of n", "mod(-7,3)", "2"}, complex2<ModC>},
    {{"odesolve()", "odesolve([f,...],t,[y,...],[y0,...],t0,t1,n,method,tol)",
      "solution of y'=f from t0 to t1 at n+1 times, rows [t,y,...]; method auto, dopri or rosenbrock",
      "odesolve(-y,t,y,1,0,1,2)", "matrix:[0,1],[0.5,0.606530657283521],[1,0.367879443074205];"},
     builtin::odesolve, false},
    {{"perm(2)", "perm(n,k)", "n!/(n-k)!, the number of ordered k-subsets of n things", "perm(5,2)", "20"},
     real2<special::perm_real>},
    {{"permute()", "permute(a,k)", "the k-element permutations of the array a (or of 1..a); all of a without k",
      "permute(3,2)", "[[1,2],[1,3],[2,1],[2,3],[3,1],[3,2]]"},
     builtin::permute, false},
    {{"polyfit()", "polyfit(xs,ys,d)", "least-squares coefficients c0..cd (lowest power first) of degree d",
      "polyfit([0,1,2],[1,3,5],1)", "[1,2]"},
     builtin::polynomial_fit, false},
    {{"powerspectrum(1)", "powerspectrum(a)", "|X_k|^2/n of the transform: k=0..n/2 for real a, all n for complex a",
      "powerspectrum([1,0,-1,0])", "[0,1,0]"},
     builtin::power_spectrum, false},
    {{"primefactors(1)", "primefactors(n)", "the prime factors of a whole n from 1 to 2^64, with repeats",
      "primefactors(360)", "[2,2,2,3,3,5]"},
     builtin::prime_factors_list},
    {{"primes(2)", "primes(a,b)", "the primes from a to b, both included (at most 10^7 of them)", "primes(10,30)",
      "[11,13,17,19,23,29]"},
     builtin::primes_list},
    {{"prod()", "prod(f(n),n,i1,i2)", "product of f(n) for the integers n from i1 to i2", "prod(n,n,1,5)", "120"},
     builtin::prod, false},
    {{"rand(2)", "rand(z1,z2)", "random number between z1 and z2, part by part", "rand(2,2)", "2"}, rand},
    {{"randint(2)", "randint(z1,z2)", "random integer between z1 and z2 (both included), part by part",
      "randint(7,7)", "7"},
     randint},
    {{"re(1)", "re(z)", "real part", "re(3+4*i)", "3"}, part<real_part>},
    {{"rfft(1)", "rfft(a)", "X_0..X_(n/2) of the transform of a real array (the rest are their conjugates)",
      "rfft([1,2,3,4])", "[10,-2+2*i,-2]"},
     builtin::rfft, false},
    {{"root()", "root(f(x),x1,x2)", "a root of f(x) between x1 and x2, where f changes sign", "root(x^2-2,0,2)",
      "1.41421356237309"},
     builtin::root, false},
    {{"round(1)", "round(z)", "each part to the nearest integer, halves away from zero", "round(2.5-0.5*i)", "3-i"},
     complex1<RoundC>},
    {{"sign(1)", "sign(z)", "z/abs(z), and 0 for 0", "sign(-3)", "-1"}, complex1<SignC>},
    {{"sin(1)", "sin(z)", "sine", "sin(1)", "0.841470984807897"}, elementary1<elementary::sin>},
    {{"sinh(1)", "sinh(z)", "hyperbolic sine", "sinh(1)", "1.1752011936438"}, elementary1<elementary::sinh>},
    {{"sphbesselj(2)", "sphbesselj(x,n)", "spherical Bessel function j of integer order n >= 0 at real x", "sphbesselj(1,1)", "0.301168678939757"},
     real2<special::sph_bessel_j>},
    {{"sphbessely(2)", "sphbessely(x,n)", "spherical Bessel function y of integer order n >= 0 at real x > 0", "sphbessely(1,0)", "-0.54030230586814"},
     real2<special::sph_bessel_y>},
    {{"sqrt(1)", "sqrt(z)", "square root (principal value)", "sqrt(-4)", "2*i"}, elementary1<elementary::sqrt>},
    {{"sum()", "sum(f(n),n,i1,i2)", "sum of f(n) for the integers n from i1 to i2", "sum(n^2,n,1,10)", "385"},
     builtin::sum, false},
    {{"tan(1)", "tan(z)", "tangent", "tan(1)", "1.5574077246549"}, elementary1<elementary::tan>},
    {{"tanh(1)", "tanh(z)", "hyperbolic tangent", "tanh(1)", "0.761594155955765"}, elementary1<elementary::tanh>},
    {{"variance()", "variance(x1,x2,...)", "sample variance (divisor n-1) of the real parts", "variance(1,2,3,4)",
      "1.66666666666667"},
     statistic<Variance>},
    {{"window(2)", "window(a,name)", "a times the symmetric window of its length: \"hann\", \"hamming\" or \"blackman\"",
      "window([1,1,1],\"hann\")", "[0,1,0]"},
     builtin::window, false},
    {{"xcorr(2)", "xcorr(a,b)", "the full correlation: sums of a_(j+k)*conj(b_j) for lags k from 1-size(b) to size(a)-1",
      "xcorr([1,2,3],[0,1,0.5])", "[0.5,2,3.5,3,0]"},
     builtin::correlation, false},
    {{"zeta(1)", "zeta(s)", "Riemann zeta function of real or complex s", "zeta(2)", "1.64493406684823"},
     elementary1<zeta_of>},
};

const HelpEntry* help_table() {
    static const auto table = [] {
        std::array<HelpEntry, std::size(rows)> t{};
        for (std::size_t k = 0; k < std::size(rows); ++k) t[k] = rows[k].help;
        return t;
    }();
    return table.data();
}

std::string_view name_of(std::string_view signature) { return signature.substr(0, signature.find('(')); }

}  // namespace

std::span<const HelpEntry> help_entries() noexcept { return {help_table(), std::size(rows)}; }

const HelpEntry* find_help(std::string_view name) noexcept {
    for (const HelpEntry& h : help_entries())
        if (name_of(h.signature) == name) return &h;
    return nullptr;
}

bool register_predefined_functions() {
    for (const Row& r : rows)
        if (!register_builtin(r.help.signature, r.fn, r.evaluate_arguments)) return false;
    return true;
}

}  // namespace ostr::lang
