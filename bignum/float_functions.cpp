// Elementary functions of big floats. Each works at the requested precision
// plus guard bits (more where an argument reduction cancels) and rounds once
// at the end, so its result is faithfully rounded: within one unit of the
// last bit of the true value.
//
// π: Chudnovsky's series by binary splitting, O(M(n) log² n). ln: the AGM,
// ln s ≈ π / (2·AGM(1, 4/s)) for s > 2^(p/2), O(M(n) log n), which also gives
// ln 2. exp, sin, cos, atan: argument reduction (by ln 2 or π/2), halving of
// the reduced argument k ≈ √p times, the Taylor series, and k doublings.
#include <array>
#include <bit>
#include <cmath>
#include <utility>
#include <vector>

#include "bignum/bitarray.hpp"
#include "bignum/float.hpp"

namespace ostr::big {
namespace {

constexpr std::uint64_t guard = 64;

Float one() { return from_u64(1); }

// A signed integer for the binary splitting of π (its T terms alternate).
struct SInt {
    bool neg = false;
    Nat m;
};

SInt signed_sum(SInt a, SInt b) {
    trim(a.m), trim(b.m);
    if (a.neg == b.neg) return {a.neg, add(a.m, b.m)};
    const int c = cmp(a.m, b.m);
    if (c == 0) return {};
    return c > 0 ? SInt{a.neg, sub(a.m, b.m)} : SInt{b.neg, sub(b.m, a.m)};
}

struct Split {
    Nat p, q;
    SInt t;
    bool pneg = false;
};

// The terms [a, m) and [m, b) of a hypergeometric series joined: with
// T/Q = Σ_n Π_{i<=n} p(i)/q(i), T = T_l·Q_h + P_l·T_h.
Split merge(Split l, Split h, Stop& stop) {
    check(stop);
    Split r;
    r.t = signed_sum({l.t.neg, mul(h.q, l.t.m, stop)}, {l.pneg != h.t.neg, mul(l.p, h.t.m, stop)});
    r.q = mul(l.q, h.q, stop);
    r.p = mul(l.p, h.p, stop);
    r.pneg = l.pneg != h.pneg;
    check(stop);
    return r;
}

// P, Q, T of the terms [a, b) of Chudnovsky's series:
// 1/π = 12 Σ (-1)^k (6k)! (13591409 + 545140134k) / ((3k)! (k!)³ 640320^(3k+3/2)).
Split chudnovsky(std::uint64_t a, std::uint64_t b, Stop& stop) {
    Split r;
    if (b - a == 1) {
        if (a == 0) {
            r.p = Nat{1}, r.q = Nat{1};
        } else {
            r.p = Nat{6 * a - 5};
            mul_small_in(r.p, 2 * a - 1);
            mul_small_in(r.p, 6 * a - 1);
            r.pneg = true;
            r.q = Nat{a};
            mul_small_in(r.q, a);
            mul_small_in(r.q, a);
            mul_small_in(r.q, 10939058860032000ull);  // 640320³ / 24
        }
        r.t = {r.pneg, r.p};
        mul_small_in(r.t.m, 13591409 + 545140134 * a);
        return r;
    }
    check(stop);
    const std::uint64_t m = a + (b - a) / 2;
    return merge(chudnovsky(a, m, stop), chudnovsky(m, b, stop), stop);
}

Float compute_pi(std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + guard;
    // Each term adds log10(151931373056000) = 14.18 digits.
    const std::uint64_t terms = static_cast<std::uint64_t>(static_cast<double>(w) * 0.30103 / 14.18) + 2;
    Split s = chudnovsky(0, terms, stop);
    const Float q = normalised(false, std::move(s.q), 0), t = normalised(s.t.neg, std::move(s.t.m), 0);
    const Float root = sqrt(from_u64(10005), w, stop);
    const Float num = mul(mul(q, from_u64(426880), 0, stop), root, w, stop);
    return div(num, t, w, stop);
}

// AGM(a, b) at w bits: stops when a and b agree to all but a few bits.
Float agm(Float a, Float b, std::uint64_t w, Stop& stop) {
    for (int i = 0; i < 200; ++i) {
        const Float d = sub(a, b, w, stop);
        if (is_zero(d) || top(d) < top(a) - static_cast<std::int64_t>(w) + 8) break;
        Float an = ldexp(add(a, b, w, stop), -1);
        b = sqrt(mul(a, b, w, stop), w, stop);
        a = std::move(an);
        check(stop);
    }
    return a;
}

// π and ln 2 are kept at the highest precision asked so far in this thread:
// the argument reductions ask for them again and again.
struct Constant {
    Float value;
    std::uint64_t bits = 0;
};
thread_local Constant cached_pi, cached_ln2;

template <class F>
Float cached(Constant& c, std::uint64_t bits, Stop& stop, F compute) {
    if (c.bits < bits) {
        Float v = compute(bits + 32, stop);
        c = {std::move(v), bits + 32};
    }
    return round_to(c.value, bits);
}

// ln s for s >= 2^(w/2): π / (2·AGM(1, 4/s)), the error O(ln s / s²).
Float ln_large(const Float& s, std::uint64_t w, Stop& stop) {
    const Float g = agm(one(), div(from_u64(4), s, w, stop), w, stop);
    return div(pi(w, stop), ldexp(g, 1), w, stop);
}

Float compute_ln2(std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + guard;
    const auto m = static_cast<std::int64_t>(w / 2 + 8);
    return div_u64(ln_large(ldexp(one(), m), w + 16, stop), static_cast<std::uint64_t>(m), w, stop);
}

// Σ term_j with term_0 = first and term_j = term_(j-1) · x / step(j), at w
// bits, until the terms fall below the sum's last bit; `alternate` flips the
// sign of every other term. A term k bits below the sum needs only w - k
// bits of its own (its error stays below the sum's last bit), so the
// products shrink as the terms do.
template <class Step>
Float series(Float term, const Float& x, std::uint64_t w, bool alternate, Stop& stop, Step step) {
    Float sum = term;
    for (std::uint64_t j = 1; j < 100'000'000; ++j) {
        const auto lost = static_cast<std::uint64_t>(std::max<std::int64_t>(0, top(sum) - top(term)));
        const std::uint64_t wt = lost + 64 < w ? w - lost : 64;
        term = mul(term, round_to(x, wt), wt, stop);
        for (std::uint64_t d : step(j)) term = div_u64(term, d, wt, stop);
        if (is_zero(term) || top(term) < top(sum) - static_cast<std::int64_t>(w) - 2) break;
        sum = alternate && (j & 1) ? sub(sum, term, w, stop) : add(sum, term, w, stop);
        check(stop);
    }
    return sum;
}

// The number of halvings of a reduced argument: about √w balances the
// series terms against the doublings.
std::int64_t halvings(std::uint64_t w) { return static_cast<std::int64_t>(std::sqrt(static_cast<double>(w)) / 2) + 1; }

// exp(r) for |r| <= 1, at w bits, by the series.
Float exp_series(const Float& r, std::uint64_t w, Stop& stop) {
    const std::int64_t k = halvings(w);
    const std::uint64_t wk = w + static_cast<std::uint64_t>(k) + 16;
    const Float x = ldexp(r, -k);
    Float y = series(one(), x, wk, false, stop, [](std::uint64_t j) { return std::array<std::uint64_t, 1>{j}; });
    for (std::int64_t i = 0; i < k; ++i) y = mul(y, y, wk, stop);
    return round_to(y, w);
}

// exp(r) for |r| <= 1 at w bits: y <- y + y·(r - ln y) doubles the correct
// bits; the series gives the first tuning.exp_newton_bits. Above that
// precision the iteration's cost, M(n) log n per ln by the AGM, is below the
// series' M(n) √n.
Float exp_small(const Float& r, std::uint64_t w, Stop& stop) {
    if (w <= tuning.exp_newton_bits) return exp_series(r, w, stop);
    std::vector<std::uint64_t> steps;
    for (std::uint64_t p = w; p > tuning.exp_newton_bits; p = p / 2 + 32) steps.push_back(p);
    const std::uint64_t first = steps.back() / 2 + 32;
    Float y = exp_series(round_to(r, first + 16), first, stop);
    for (auto p = steps.rbegin(); p != steps.rend(); ++p) {
        const Float d = sub(r, log(y, *p + 16, stop), *p + 16, stop);
        y = add(y, mul(y, d, *p / 2 + 64, stop), *p + 16, stop);
        check(stop);
    }
    return round_to(y, w);
}

// The terms [a, b) of sin(x)/x - 1 for x = u/2^k: the ratio of term n to
// term n-1 is -u² / (2^(2k)·2n·(2n+1)).
Split sine_split(std::uint64_t a, std::uint64_t b, const Nat& u2, std::uint64_t k2, Stop& stop) {
    if (b - a == 1) {
        Split r;
        r.p = u2, r.pneg = true;
        r.q = shl(Nat{2 * a}, k2);
        mul_small_in(r.q, 2 * a + 1);
        r.t = {true, u2};
        return r;
    }
    const std::uint64_t m = a + (b - a) / 2;
    return merge(sine_split(a, m, u2, k2, stop), sine_split(m, b, u2, k2, stop), stop);
}

// sin(u/2^k) at w bits for 0 < u < 2^k, by binary splitting of the series:
// each term gains 2(k - bits(u)) + log2(2n(2n+1)) bits.
Float sin_rational(const Nat& u, std::uint64_t k, std::uint64_t w, Stop& stop) {
    const double per = 2.0 * static_cast<double>(k - bit_length(u));
    std::uint64_t n = 1;
    for (double gained = 0; gained < static_cast<double>(w) + 16; ++n)
        gained += per + std::log2(2.0 * static_cast<double>(n) * static_cast<double>(2 * n + 1));
    Split s = sine_split(1, n + 1, sqr(u, stop), 2 * k, stop);
    const Float q = normalised(false, std::move(s.q), 0);
    const Float sum = add(q, normalised(s.t.neg, std::move(s.t.m), 0), 0, stop);
    return div(mul(normalised(false, u, -static_cast<std::int64_t>(k)), sum, 0, stop), q, w, stop);
}

// sin and cos of 0 <= r < 1 by the bit-burst split r = Σ u_j/2^(k_j): u_0
// holds the first 32 bits after the point, u_j the next 32·2^(j-1); each
// piece's sine by binary splitting, its cosine from it, and the pieces
// joined by the addition theorems. O(M(n) log² n).
std::pair<Float, Float> sincos_burst(const Float& r, std::uint64_t w, Stop& stop) {
    const std::uint64_t frac = static_cast<std::uint64_t>(-r.e);  // r = m / 2^frac
    Float s, c = one();
    std::uint64_t lo = 0;
    for (std::uint64_t hi = 32; lo < frac; lo = hi, hi *= 2) {
        const Nat v = hi >= frac ? shl(r.m, hi - frac) : shr(r.m, frac - hi);
        const Nat u = low_bits(v, hi - lo);
        if (u.empty()) continue;
        const Float si = sin_rational(u, hi, w, stop);
        const Float ci = sqrt(sub(one(), mul(si, si, w, stop), w, stop), w, stop);
        Float s2 = add(mul(s, ci, w, stop), mul(c, si, w, stop), w, stop);
        c = sub(mul(c, ci, w, stop), mul(s, si, w, stop), w, stop);
        s = std::move(s2);
        check(stop);
    }
    return {s, c};
}

// sin and cos of r, |r| <= 1, at w bits (relative to each result).
std::pair<Float, Float> sincos_small(const Float& r, std::uint64_t w, Stop& stop) {
    if (is_zero(r)) return {Float{}, one()};
    if (w > tuning.sin_burst_bits && r.e < 0) {
        // The pieces are summed with as many more bits as r is small.
        const std::uint64_t wb = w + 32 + static_cast<std::uint64_t>(std::max<std::int64_t>(0, -top(r)));
        auto [s, c] = sincos_burst(abs(r), wb, stop);
        return {round_to(r.neg ? neg(s) : s, w), round_to(c, w)};
    }
    const std::int64_t k = halvings(w);
    const std::uint64_t wk = w + 2 * static_cast<std::uint64_t>(k) + 16;
    const Float x = ldexp(r, -k);
    const Float x2 = mul(x, x, wk, stop);
    Float s = series(x, x2, wk, true, stop,
                     [](std::uint64_t j) { return std::array<std::uint64_t, 2>{2 * j, 2 * j + 1}; });
    Float c = series(one(), x2, wk, true, stop,
                     [](std::uint64_t j) { return std::array<std::uint64_t, 2>{2 * j - 1, 2 * j}; });
    for (std::int64_t i = 0; i < k; ++i) {
        Float s2 = ldexp(mul(s, c, wk, stop), 1);
        c = mul(sub(c, s, wk, stop), add(c, s, wk, stop), wk, stop);
        s = std::move(s2);
    }
    return {round_to(s, w), round_to(c, w)};
}

// x = n·(π/2) + r with |r| <= π/4; precise enough that r keeps w bits of
// its own even when x lies near a multiple of π/2.
std::pair<Float, std::uint64_t> reduce_half_pi(const Float& x, std::uint64_t w, Stop& stop) {
    if (top(x) <= 0) return {x, 0};
    // n·π/2 carries an error of about 2^(top(x) - w - extra); r needs it
    // below 2^(top(r) - w - 16).
    std::int64_t extra = top(x) + static_cast<std::int64_t>(guard);
    for (;;) {
        const std::uint64_t we = w + static_cast<std::uint64_t>(extra);
        const Float hp = ldexp(pi(we, stop), -1);
        const Float n = to_integer(div(x, hp, we, stop), Round::nearest);
        Float r = sub(x, mul(n, hp, we, stop), we, stop);
        const std::int64_t lost = is_zero(r) ? 0 : -top(r);
        if (is_zero(r) || extra >= top(x) + lost + 16) {
            const Nat nn = integer_nat(abs(n));
            const std::uint64_t q = (nn.empty() ? 0 : nn[0] & 3);
            return {round_to(r, w), n.neg ? (4 - q) & 3 : q};
        }
        extra = top(x) + lost + static_cast<std::int64_t>(guard);
        if (static_cast<std::uint64_t>(extra) > max_precision) throw Refused{};
    }
}

std::pair<Float, Float> sincos(const Float& x, std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + guard;
    auto [r, q] = reduce_half_pi(x, w, stop);
    auto [s, c] = sincos_small(r, w, stop);
    switch (q) {
    case 0: return {s, c};
    case 1: return {c, neg(s)};
    case 2: return {neg(s), neg(c)};
    default: return {neg(c), s};
    }
}

// atan(x) for |x| <= 1: halvings x -> x / (1 + √(1 + x²)), then the series.
Float atan_small(const Float& x, std::uint64_t w, Stop& stop) {
    if (is_zero(x)) return x;
    const std::int64_t k = halvings(w) / 2 + 1;
    const std::uint64_t wk = w + static_cast<std::uint64_t>(k) + 16;
    Float y = x;
    for (std::int64_t i = 0; i < k; ++i) {
        const Float root = sqrt(add(one(), mul(y, y, wk, stop), wk, stop), wk, stop);
        y = div(y, add(one(), root, wk, stop), wk, stop);
    }
    const Float y2 = mul(y, y, wk, stop);
    // Σ (-1)^j y^(2j+1) / (2j+1): the powers by the series, each divided once.
    Float sum = y, power = y;
    for (std::uint64_t j = 1; j < 100'000'000; ++j) {
        power = mul(power, y2, wk, stop);
        const Float term = div_u64(power, 2 * j + 1, wk, stop);
        if (is_zero(term) || top(term) < top(sum) - static_cast<std::int64_t>(wk) - 2) break;
        sum = j & 1 ? sub(sum, term, wk, stop) : add(sum, term, wk, stop);
        check(stop);
    }
    return round_to(ldexp(sum, k), w);
}

}  // namespace

void clear_constants() noexcept {
    cached_pi = Constant{};
    cached_ln2 = Constant{};
}

Float pi(std::uint64_t bits, Stop& stop) { return cached(cached_pi, bits, stop, compute_pi); }
Float ln2(std::uint64_t bits, Stop& stop) { return cached(cached_ln2, bits, stop, compute_ln2); }

Float exp(const Float& x, std::uint64_t bits, Stop& stop) {
    if (is_zero(x)) return one();
    // e^x beyond 2^(2^32) (or below its inverse) is no value of this layer.
    if (top(x) > 32 || std::fabs(to_double(x)) > 2.9e9) throw Refused{};
    const std::uint64_t w = bits + guard + static_cast<std::uint64_t>(std::max<std::int64_t>(top(x), 0));
    const Float l2 = ln2(w, stop);
    const Float n = to_integer(div(x, l2, w, stop), Round::nearest);
    const Float r = sub(x, mul(n, l2, w, stop), w, stop);
    const auto shift = static_cast<std::int64_t>(to_double(n));
    return round_to(ldexp(exp_small(r, w, stop), shift), bits);
}

Float log(const Float& x, std::uint64_t bits, Stop& stop) {
    if (x.neg || is_zero(x)) throw Refused{};
    const Float d = sub(x, one(), 0, stop);
    if (is_zero(d)) return Float{};
    // Near 1 the result is about x - 1: as many more bits as it is small.
    const std::uint64_t extra = static_cast<std::uint64_t>(std::max<std::int64_t>(0, -top(d)));
    if (extra > max_precision) throw Refused{};
    const std::uint64_t w = bits + guard + extra;
    const std::int64_t m = static_cast<std::int64_t>(w / 2 + 8) - top(x);
    const std::uint64_t wm = w + 64 - static_cast<std::uint64_t>(std::countl_zero(static_cast<std::uint64_t>(m < 0 ? -m : m)));
    const Float ls = ln_large(ldexp(x, m), wm, stop);
    const Float ml = mul(from_u64(static_cast<std::uint64_t>(m < 0 ? -m : m), m < 0), ln2(wm, stop), wm, stop);
    return round_to(sub(ls, ml, wm, stop), bits);
}

Float sin(const Float& x, std::uint64_t bits, Stop& stop) { return round_to(sincos(x, bits, stop).first, bits); }
Float cos(const Float& x, std::uint64_t bits, Stop& stop) { return round_to(sincos(x, bits, stop).second, bits); }

Float tan(const Float& x, std::uint64_t bits, Stop& stop) {
    auto [s, c] = sincos(x, bits + 8, stop);
    if (is_zero(c)) throw Refused{};
    return div(s, c, bits, stop);
}

Float atan(const Float& x, std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + guard;
    if (cmp_abs(x, one()) <= 0) return round_to(atan_small(x, w, stop), bits);
    // |x| > 1: π/2 - atan(1/|x|), which stays above π/4 (no cancellation).
    const Float inv = div(one(), abs(x), w, stop);
    Float r = sub(ldexp(pi(w, stop), -1), atan_small(inv, w, stop), w, stop);
    return round_to(x.neg ? neg(r) : r, bits);
}

Float asin(const Float& x, std::uint64_t bits, Stop& stop) {
    const int c = cmp_abs(x, one());
    if (c > 0) throw Refused{};
    const std::uint64_t w = bits + guard;
    if (c == 0) return round_to(ldexp(x.neg ? neg(pi(w, stop)) : pi(w, stop), -1), bits);
    // 1 - x² as (1 - |x|)(1 + |x|), both exact: no cancellation near ±1.
    const Float ax = abs(x);
    const Float q = mul(sub(one(), ax, 0, stop), add(one(), ax, 0, stop), w, stop);
    return atan(div(x, sqrt(q, w, stop), w, stop), bits, stop);
}

Float acos(const Float& x, std::uint64_t bits, Stop& stop) {
    if (cmp_abs(x, one()) > 0) throw Refused{};
    const std::uint64_t w = bits + guard;
    const Float lo = add(one(), x, 0, stop);
    if (is_zero(lo)) return pi(bits, stop);
    // 2·atan(√((1 - x)/(1 + x))): no cancellation near x = 1.
    const Float t = sqrt(div(sub(one(), x, 0, stop), lo, w, stop), w, stop);
    return round_to(ldexp(atan(t, w, stop), 1), bits);
}

Float sinh(const Float& x, std::uint64_t bits, Stop& stop) {
    // Below 2^-(bits/2) the cube term is beyond the last bit.
    if (is_zero(x) || top(x) < -static_cast<std::int64_t>(bits / 2) - 4) return round_to(x, bits);
    const std::uint64_t w = bits + guard + static_cast<std::uint64_t>(std::max<std::int64_t>(0, -top(x)));
    const Float ex = exp(x, w, stop);
    return round_to(ldexp(sub(ex, div(one(), ex, w, stop), w, stop), -1), bits);
}

Float cosh(const Float& x, std::uint64_t bits, Stop& stop) {
    const std::uint64_t w = bits + guard;
    const Float ex = exp(x, w, stop);
    return round_to(ldexp(add(ex, div(one(), ex, w, stop), w, stop), -1), bits);
}

Float tanh(const Float& x, std::uint64_t bits, Stop& stop) {
    // Beyond bits/2 + 2 the distance to ±1 is below half a unit of the last bit.
    if (top(x) > 0 && std::fabs(to_double(x)) > static_cast<double>(bits) / 2 + 2) return from_u64(1, x.neg);
    const std::uint64_t w = bits + 8;
    return div(sinh(x, w, stop), cosh(x, w, stop), bits, stop);
}

Float pow_int(const Float& x, std::int64_t n, std::uint64_t bits, Stop& stop) {
    const std::uint64_t an = n < 0 ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
    if (an == 0) return one();
    if (is_zero(x)) {
        if (n < 0) throw Refused{};
        return x;
    }
    if (bits == 0 && n > 0) {
        const std::uint64_t len = bit_length(x.m);
        if (len > max_bits / an) throw Refused{};
        if (std::fabs(static_cast<double>(x.e) * static_cast<double>(an)) > static_cast<double>(max_exponent)) throw Refused{};
        Nat p = pow_nat(x.m, an, stop);
        check(stop);
        return normalised(x.neg && (an & 1), std::move(p), x.e * static_cast<std::int64_t>(an));
    }
    const std::uint64_t w = (bits ? bits : 64) + guard + 64;
    Float r = one(), b = x;
    for (std::uint64_t e = an; e; e >>= 1) {
        if (e & 1) r = mul(r, b, w, stop);
        if (e > 1) b = mul(b, b, w, stop);
    }
    if (n < 0) r = div(one(), r, w, stop);
    return round_to(r, bits ? bits : w);
}

}  // namespace ostr::big
