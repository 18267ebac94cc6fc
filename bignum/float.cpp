// Big binary floats: normalisation, rounding to nearest at a bit precision,
// the four operations and the square root, integer parts, and decimal text
// both ways. Every inexact result is the exact result rounded once (ties to
// even), so the operations here are correctly rounded.
#include "bignum/float.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "bignum/bitarray.hpp"

namespace ostr::big {
namespace {

bool bit_at(const Nat& m, std::uint64_t i) noexcept {
    return i / 64 < m.size() && ((m[i / 64] >> (i % 64)) & 1);
}

Nat one() { return Nat{1}; }

void increment(Nat& m) { add_in(m, one()); }

Float zero() { return Float{}; }

// Shifts are bounded before they are made: an exact sum of 2^(2^40) and 1
// would need a mantissa of 2^40 bits.
void bound_bits(std::uint64_t bits) {
    if (bits > max_bits) throw Refused{};
}

}  // namespace

Float normalised(bool neg, Nat m, std::int64_t e) {
    trim(m);
    if (m.empty()) return zero();
    const std::uint64_t tz = trailing_zeros(m);
    if (tz) m = shr(m, tz);
    e += static_cast<std::int64_t>(tz);
    const std::int64_t t = e + static_cast<std::int64_t>(bit_length(m));
    if (t > max_exponent || t < -max_exponent) throw Refused{};
    return Float{neg, std::move(m), e};
}

Float from_u64(std::uint64_t x, bool neg) { return normalised(neg, Nat{x}, 0); }

Float from_double(double x) {
    if (!std::isfinite(x)) throw Refused{};
    if (x == 0) return zero();
    int ex;
    const double f = std::frexp(std::fabs(x), &ex);
    const auto m = static_cast<std::uint64_t>(std::ldexp(f, 53));
    return normalised(x < 0, Nat{m}, ex - 53);
}

double to_double(const Float& x) noexcept {
    if (x.m.empty()) return 0.0;
    try {
        // Rounded to 53 bits first, then the conversion is exact (or
        // overflows to infinity, or rounds once more among subnormals).
        const Float r = rounded(x.neg, x.m, x.e, 53);
        const double v = std::ldexp(static_cast<double>(r.m[0]), static_cast<int>(std::clamp<std::int64_t>(r.e, -5000, 5000)));
        return r.neg ? -v : v;
    } catch (...) {
        return x.neg ? -HUGE_VAL : HUGE_VAL;
    }
}

Float rounded(bool neg, Nat m, std::int64_t e, std::uint64_t bits, bool sticky) {
    trim(m);
    if (bits == 0 || m.empty()) return normalised(neg, std::move(m), e);
    std::uint64_t len = bit_length(m);
    if (len <= bits && !sticky) return normalised(neg, std::move(m), e);
    if (len < bits + 2) {
        // Room below the rounding bit, so that the sticky flag stands for
        // something strictly between two representable values.
        const std::uint64_t k = bits + 2 - len;
        m = shl(m, k);
        e -= static_cast<std::int64_t>(k);
        len = bits + 2;
    }
    const std::uint64_t drop = len - bits;
    const bool half = bit_at(m, drop - 1);
    const bool below = sticky || trailing_zeros(m) < drop - 1;
    Nat q = shr(m, drop);
    if (half && (below || bit_at(q, 0))) increment(q);
    return normalised(neg, std::move(q), e + static_cast<std::int64_t>(drop));
}

Float round_to(const Float& x, std::uint64_t bits) { return rounded(x.neg, x.m, x.e, bits); }

bool is_zero(const Float& x) noexcept { return x.m.empty(); }
bool is_integer(const Float& x) noexcept { return x.e >= 0; }

std::int64_t top(const Float& x) noexcept {
    return x.m.empty() ? 0 : x.e + static_cast<std::int64_t>(bit_length(x.m));
}

int cmp_abs(const Float& a, const Float& b) noexcept {
    if (a.m.empty() || b.m.empty()) return a.m.empty() ? (b.m.empty() ? 0 : -1) : 1;
    const std::int64_t ta = top(a), tb = top(b);
    if (ta != tb) return ta < tb ? -1 : 1;
    // Same top: the mantissa with the larger exponent is the shorter one,
    // shifted up to meet the other; the shift is below its length.
    try {
        if (a.e >= b.e) return cmp(shl(a.m, static_cast<std::uint64_t>(a.e - b.e)), b.m);
        return cmp(a.m, shl(b.m, static_cast<std::uint64_t>(b.e - a.e)));
    } catch (...) {
        return 0;
    }
}

int cmp(const Float& a, const Float& b) noexcept {
    if (a.neg != b.neg) return a.neg ? -1 : 1;
    const int c = cmp_abs(a, b);
    return a.neg ? -c : c;
}

Float neg(Float x) {
    if (!x.m.empty()) x.neg = !x.neg;
    return x;
}

Float abs(Float x) {
    x.neg = false;
    return x;
}

Float ldexp(Float x, std::int64_t k) {
    if (x.m.empty()) return x;
    return normalised(x.neg, std::move(x.m), x.e + k);
}

Float add(const Float& a0, const Float& b0, std::uint64_t bits, Stop& stop) {
    if (a0.m.empty()) return round_to(b0, bits);
    if (b0.m.empty()) return round_to(a0, bits);
    const bool a_big = cmp_abs(a0, b0) >= 0;
    const Float& g = a_big ? a0 : b0;
    Float s = a_big ? b0 : a0;
    if (bits) {
        // A summand entirely below the larger one's last bit and its
        // rounding position only decides the side of a boundary: a single
        // bit just below both stands in for it, with its sign.
        const std::int64_t floor_pos = std::min(g.e, top(g) - static_cast<std::int64_t>(bits) - 2);
        if (top(s) < floor_pos) s = Float{s.neg, one(), floor_pos - 1};
    }
    const std::int64_t e = std::min(g.e, s.e);
    bound_bits(static_cast<std::uint64_t>(std::max(top(g), top(s)) - e));
    Nat mg = shl(g.m, static_cast<std::uint64_t>(g.e - e)), ms = shl(s.m, static_cast<std::uint64_t>(s.e - e));
    check(stop);
    if (g.neg == s.neg) return rounded(g.neg, add(mg, ms), e, bits);
    trim(mg), trim(ms);
    const int c = cmp(mg, ms);
    if (c == 0) return zero();
    return c > 0 ? rounded(g.neg, sub(mg, ms), e, bits) : rounded(s.neg, sub(ms, mg), e, bits);
}

Float sub(const Float& a, const Float& b, std::uint64_t bits, Stop& stop) {
    Float nb = b;
    if (!nb.m.empty()) nb.neg = !nb.neg;
    return add(a, nb, bits, stop);
}

Float mul(const Float& a, const Float& b, std::uint64_t bits, Stop& stop) {
    if (a.m.empty() || b.m.empty()) return zero();
    bound_bits(bit_length(a.m) + bit_length(b.m));
    Nat p = mul(a.m, b.m, stop);
    check(stop);
    return rounded(a.neg != b.neg, std::move(p), a.e + b.e, bits);
}

// a/b: a quotient of at least bits + 2 bits, the remainder as sticky flag.
Float div(const Float& a, const Float& b, std::uint64_t bits, Stop& stop) {
    if (b.m.empty() || bits == 0) throw Refused{};
    if (a.m.empty()) return zero();
    const std::int64_t la = static_cast<std::int64_t>(bit_length(a.m)), lb = static_cast<std::int64_t>(bit_length(b.m));
    const std::int64_t s = std::max<std::int64_t>(0, static_cast<std::int64_t>(bits) + 3 + lb - la);
    bound_bits(static_cast<std::uint64_t>(la + s));
    Nat q, r;
    div_qr(&q, &r, shl(a.m, static_cast<std::uint64_t>(s)), b.m, stop);
    check(stop);
    trim(r);
    return rounded(a.neg != b.neg, std::move(q), a.e - b.e - s, bits, !r.empty());
}

Float div_u64(const Float& a, std::uint64_t d, std::uint64_t bits, Stop& stop) {
    if (d == 0 || bits == 0) throw Refused{};
    if (a.m.empty()) return zero();
    const std::uint64_t la = bit_length(a.m);
    const std::uint64_t s = bits + 67 > la ? bits + 67 - la : 0;
    Nat q = shl(a.m, s);
    trim(q);
    const limb r = divrem_1(q.data(), q.data(), q.size(), d);
    check(stop);
    return rounded(a.neg, std::move(q), a.e - static_cast<std::int64_t>(s), bits, r != 0);
}

Float sqrt(const Float& a, std::uint64_t bits, Stop& stop) {
    if (a.neg || bits == 0) throw Refused{};
    if (a.m.empty()) return zero();
    const std::uint64_t len = bit_length(a.m);
    std::uint64_t k = 2 * bits + 6 > len ? 2 * bits + 6 - len : 0;
    if ((static_cast<std::uint64_t>(a.e) + k) & 1) ++k;  // an even exponent halves exactly
    bound_bits(len + k);
    const Nat x = shl(a.m, k);
    Nat s = isqrt(x, stop);
    check(stop);
    const Nat sq = sqr(s, stop);
    check(stop);
    const bool sticky = cmp(sq, x) != 0;
    return rounded(false, std::move(s), (a.e - static_cast<std::int64_t>(k)) / 2, bits, sticky);
}

Float to_integer(const Float& x, Round r) {
    if (x.e >= 0 || x.m.empty()) return x;
    const auto drop = static_cast<std::uint64_t>(-x.e);
    Nat q = shr(x.m, drop);
    // m is odd, so a negative exponent always leaves a fraction.
    bool up = false;
    switch (r) {
    case Round::floor: up = x.neg; break;
    case Round::ceil: up = !x.neg; break;
    case Round::trunc: up = false; break;
    case Round::nearest: up = bit_at(x.m, drop - 1); break;
    }
    if (up) increment(q);
    return normalised(x.neg, std::move(q), 0);
}

Nat integer_nat(const Float& x) {
    if (x.e <= 0) return x.m;
    bound_bits(bit_length(x.m) + static_cast<std::uint64_t>(x.e));
    return shl(x.m, static_cast<std::uint64_t>(x.e));
}

std::uint64_t bits_for_digits(std::uint64_t digits) noexcept {
    // log2(10) = 3.32192809...; rounded up, plus 64 guard bits: the
    // rounding errors of a long chain of operations (2^k of them cost about
    // k bits) stay far below the last digit shown.
    return digits * 3322 / 1000 + 64;
}

}  // namespace ostr::big
