// Quotients and square roots of word arrays: schoolbook long division for
// short operands, a Newton reciprocal with fast products above, and an exact
// correction step so that every quotient is floor(a/b).
#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>

#include "bignum/nat.hpp"

namespace ostr::big {
namespace {

Nat one_shl(std::uint64_t k) {
    Nat r(k / 64 + 1, 0);
    r.back() = limb{1} << (k % 64);
    return r;
}

void increment(Nat& a) {
    a.push_back(0);
    add_1(a.data(), a.size(), 1);
    trim(a);
}

void decrement(Nat& a) {
    sub_1(a.data(), a.size(), 1);
    trim(a);
}

// x ~ 2^(L+m)/d, L the bit length of d, within a few units. Newton's step
// for 1/D, X' = X + X(1 - DX), doubles the correct bits; it is taken at
// m bits from a reciprocal of half precision (plus 32 guard bits), so the
// whole costs a few products of the final size. Only the top m + 64 bits
// of d matter at precision m: the rest changes x by less than one unit.
Nat approx_recip(const Nat& d, std::uint64_t m, Stop& stop) {
    const std::uint64_t len = bit_length(d);
    const Nat dt = len > m + 64 ? shr(d, len - m - 64) : d;
    const std::uint64_t lt = bit_length(dt);
    if (m <= 64 * tuning.div_newton) {
        Nat x;
        div_qr_plain(&x, nullptr, one_shl(lt + m), dt);
        return x;
    }
    const std::uint64_t h = m / 2 + 32;
    const Nat xh = approx_recip(dt, h, stop);
    if (stop.check()) return {};
    // e = 2^(lt+h) - dt*xh carries the scaled error 1 - DX; its size is
    // about lt bits, and x = xh*2^(m-h) + xh*e / 2^(lt+2h-m).
    const Nat p = mul(dt, xh, stop);
    const Nat unit = one_shl(lt + h);
    const bool neg = cmp(p, unit) > 0;
    const Nat e = neg ? sub(p, unit) : sub(unit, p);
    // Only the top m - h bits of the correction count, so e is cut to its top
    // h + 64 bits first: the product shrinks from h x lt to h x h bits.
    const std::uint64_t el = bit_length(e), cut = el > h + 64 ? el - h - 64 : 0;
    const std::uint64_t down = lt + 2 * h - m;
    const Nat corr = cut >= down ? shl(mul(xh, shr(e, cut), stop), cut - down)
                                 : shr(mul(xh, shr(e, cut), stop), down - cut);
    Nat x = shl(xh, m - h);
    if (neg)
        sub_in(x, corr);
    else
        add_in(x, corr);
    return x;
}

// Newton's integer square root on a value below 2^128, started above the
// root so that every step stays at or above it.
limb isqrt128(u128 v) {
    if (v == 0) return 0;
    const double f = std::sqrt(static_cast<double>(v));
    u128 x = static_cast<u128>(f * (1.0 + 0x1p-40)) + 2;
    for (;;) {
        const u128 y = (x + v / x) / 2;
        if (y >= x) return static_cast<limb>(x);
        x = y;
    }
}

}  // namespace

void div_qr_plain(Nat* q, Nat* r, const Nat& a, const Nat& b) {
    if (cmp(a, b) < 0) {
        if (q) q->clear();
        if (r) *r = a;
        return;
    }
    const std::size_t an = a.size(), bn = b.size();
    if (bn == 1) {
        Nat qq(an);
        const limb rem = divrem_1(qq.data(), a.data(), an, b[0]);
        trim(qq);
        if (q) *q = std::move(qq);
        if (r) *r = rem ? Nat{rem} : Nat{};
        return;
    }
    // Knuth's algorithm D: normalise so that the divisor's top bit is set,
    // estimate each quotient word from the top two words of the divisor
    // (off by at most one after the three-word test), subtract, and add
    // back in the rare case of an overshoot.
    const unsigned s = static_cast<unsigned>(std::countl_zero(b.back()));
    Nat v(bn), u(an + 1);
    if (s) {
        lshift(v.data(), b.data(), bn, s);
        u[an] = lshift(u.data(), a.data(), an, s);
    } else {
        v = b;
        std::memcpy(u.data(), a.data(), an * sizeof(limb));
    }
    const limb v1 = v[bn - 1], v0 = v[bn - 2], vinv = inverse_limb(v1);
    Nat qq(an - bn + 1);
    for (std::size_t j = an - bn + 1; j-- > 0;) {
        const limb u2 = u[j + bn], u1 = u[j + bn - 1], u0 = u[j + bn - 2];
        limb qhat, rhat;
        bool rhat_big = false;
        if (u2 >= v1) {
            qhat = ~limb{0};
            rhat = u1 + v1;
            rhat_big = rhat < u1;
        } else {
            qhat = div_2by1(rhat, u2, u1, v1, vinv);
        }
        while (!rhat_big && static_cast<u128>(qhat) * v0 > ((static_cast<u128>(rhat) << 64) | u0)) {
            --qhat;
            rhat += v1;
            rhat_big = rhat < v1;
        }
        const limb borrow = submul_1(u.data() + j, v.data(), bn, qhat);
        const limb top = u[j + bn];
        u[j + bn] = top - borrow;
        if (top < borrow) {
            --qhat;
            u[j + bn] += add_n(u.data() + j, u.data() + j, v.data(), bn);
        }
        qq[j] = qhat;
    }
    trim(qq);
    if (q) *q = std::move(qq);
    if (r) {
        u.resize(bn);
        if (s) rshift(u.data(), u.data(), bn, s);
        trim(u);
        *r = std::move(u);
    }
}

Divisor make_divisor(const Nat& b, std::uint64_t m, Stop& stop) {
    return Divisor{b, approx_recip(b, m, stop), m};
}

// The quotient bits come from the reciprocal: q ~ a*x / 2^(lb+m). Only the
// top q + 128 bits of a and the top q + 128 bits of x take part (each cut
// changes the estimate by far less than one unit); then r = a - q*b is
// brought into [0, b) by adding or subtracting b. The estimate is off by a
// few units at most, so the correction is a handful of linear steps.
void div_qr_pre(Nat* q, Nat* r, const Nat& a, const Divisor& d, Stop& stop) {
    const Nat& b = d.b;
    if (cmp(a, b) < 0) {
        if (q) q->clear();
        if (r) *r = a;
        return;
    }
    const std::uint64_t la = bit_length(a), lb = bit_length(b);
    const std::uint64_t need = la - lb + 1 + 64;
    const std::uint64_t t = la > need + 64 ? la - need - 64 : 0;
    const std::uint64_t u = d.m > need + 64 ? d.m - need - 64 : 0;
    Nat qe = shr(mul(shr(a, t), shr(d.x, u), stop), lb + d.m - t - u);
    if (stop.check()) return;
    Nat prod = mul(qe, b, stop);
    if (stop.check()) return;
    // The error bound allows a few steps; more would mean a broken estimate,
    // and the schoolbook division then answers instead of a long walk.
    int steps = 0;
    while (cmp(prod, a) > 0 && ++steps < 8) {
        decrement(qe);
        sub_in(prod, b);
    }
    Nat rem = steps < 8 ? sub(a, prod) : Nat{};
    while (steps < 8 && cmp(rem, b) >= 0 && ++steps < 8) {
        increment(qe);
        sub_in(rem, b);
    }
    if (steps >= 8) {
        assert(false && "reciprocal estimate out of bounds");
        div_qr_plain(q, r, a, b);
        return;
    }
    if (q) *q = std::move(qe);
    if (r) *r = std::move(rem);
}

void div_qr(Nat* q, Nat* r, const Nat& a, const Nat& b, Stop& stop) {
    if (cmp(a, b) < 0 || b.size() < tuning.div_newton ||
        a.size() - b.size() + 1 < tuning.div_newton) {
        div_qr_plain(q, r, a, b);
        return;
    }
    const Divisor d = make_divisor(b, bit_length(a) - bit_length(b) + 1 + 64, stop);
    if (!stop.check()) div_qr_pre(q, r, a, d, stop);
}

Nat reciprocal(const Nat& d, std::uint64_t k, Stop& stop) {
    Nat x;
    div_qr(&x, nullptr, one_shl(k), d, stop);
    return x;
}

namespace {

// floor(sqrt(a)) and the remainder a - s^2, recursively on the top half of
// the bits: with a = ah 2^(2k) + al, k = floor(bits/4), and sh^2 + rh = ah,
// the root is about sh 2^k + q with q = floor((rh 2^k + al/2^k) / (2 sh)):
// the tangent step of (sh 2^k + q)^2 = a. Its square overshoots a by at
// most q^2, so a few steps s -> s - 1 (the remainder grows by 2s - 1) end
// it. Each level divides a number of about half the bits by one of a
// quarter and squares a quarter, so the whole costs a few products of half
// the size, not a full division per level.
void sqrt_rem(const Nat& a, Nat& s, Nat& r, Stop& stop) {
    const std::uint64_t len = bit_length(a);
    if (len <= 120) {
        u128 v = 0;
        for (std::size_t i = a.size(); i-- > 0;) v = (v << 64) | a[i];
        const limb x = isqrt128(v);
        const u128 rem = v - static_cast<u128>(x) * x;
        s = x ? Nat{x} : Nat{};
        r = Nat{static_cast<limb>(rem), static_cast<limb>(rem >> 64)};
        trim(r);
        return;
    }
    if (stop.check()) return;
    const std::uint64_t k = len / 4;
    Nat sh, rh;
    sqrt_rem(shr(a, 2 * k), sh, rh, stop);
    if (stop.check()) return;
    const Nat al = low_bits(a, 2 * k);
    Nat num = shl(rh, k);
    add_in(num, shr(al, k));
    Nat q, u;
    div_qr(&q, &u, num, shl(sh, 1), stop);
    if (stop.check()) return;
    s = shl(sh, k);
    add_in(s, q);
    Nat pos = shl(u, k);
    add_in(pos, low_bits(al, k));
    const Nat neg = sqr(q, stop);
    if (cmp(pos, neg) >= 0) {
        r = sub(pos, neg);
        return;
    }
    Nat deficit = sub(neg, pos);  // the remainder is -deficit
    for (;;) {
        Nat step = shl(s, 1);     // (s-1)^2 = s^2 - (2s - 1)
        decrement(step);
        decrement(s);
        if (cmp(step, deficit) >= 0) {
            r = sub(step, deficit);
            return;
        }
        sub_in(deficit, step);
    }
}

}  // namespace

Nat isqrt(const Nat& a, Stop& stop) {
    Nat s, r;
    sqrt_rem(a, s, r, stop);
    return s;
}

}  // namespace ostr::big
