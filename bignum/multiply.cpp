// Products of word arrays: schoolbook below a threshold, Karatsuba above,
// squaring on its own path, unbalanced operands cut into balanced pieces.
#include <algorithm>
#include <cstring>

#include "bignum/nat.hpp"

namespace ostr::big {
namespace {

// |x - y| of two m-word halves where y may be shorter (h <= m words);
// returns true when x < y.
bool abs_diff(limb* r, const limb* x, std::size_t m, const limb* y, std::size_t h) {
    bool neg = false;
    if (h == m)
        neg = cmp_n(x, y, m) < 0;
    else {
        bool high_zero = x[m - 1] == 0;
        for (std::size_t i = h; i + 1 < m && high_zero; ++i) high_zero = x[i] == 0;
        neg = high_zero && cmp_n(x, y, h) < 0;
    }
    if (neg)
        sub(r, y, h, x, h), std::memset(r + h, 0, (m - h) * sizeof(limb));
    else
        sub(r, x, m, y, h);
    return neg;
}

// Adds the Karatsuba middle term into r at word m:
// a0*b1 + a1*b0 = z0 + z2 - (a0 - a1)(b0 - b1), with z0 = r[0..2m) and
// z2 = r[2m..2m+2h), t = |(a0 - a1)(b0 - b1)| of 2m words, neg set when
// that product is negative (then t is added).
void add_middle(limb* r, std::size_t n, std::size_t m, std::size_t h, const limb* t, bool neg,
                limb* u) {
    u[2 * m] = add(u, r, 2 * m, r + 2 * m, 2 * h);
    if (neg)
        u[2 * m] += add_n(u, u, t, 2 * m);
    else
        u[2 * m] -= sub_n(u, u, t, 2 * m);
    // The middle term is below B^(2m+1); add it into r[m..2n).
    const std::size_t len = std::min(2 * m + 1, 2 * n - m);
    const limb c = add_n(r + m, r + m, u, len);
    add_1(r + m + len, 2 * n - m - len, c);
}

// Product of two n-word numbers into r[0..2n). The low halves take m =
// ceil(n/2) words so that the recursion is balanced; the subtractive form
// keeps the middle operands at m words (no carry word). Cost 3 T(n/2) + O(n).
void karatsuba(limb* r, const limb* a, const limb* b, std::size_t n, limb* ws, Stop& stop) {
    if (n < tuning.mul_karatsuba) {
        mul_basecase(r, a, n, b, n);
        return;
    }
    if (stop.check()) return;
    const std::size_t m = (n + 1) / 2, h = n - m;
    limb* da = ws;
    limb* db = da + m;
    limb* t = db + m;
    limb* u = t + 2 * m;
    limb* next = u + 2 * m + 2;
    const bool neg = abs_diff(da, a, m, a + m, h) != abs_diff(db, b, m, b + m, h);
    karatsuba(r, a, b, m, next, stop);
    karatsuba(r + 2 * m, a + m, b + m, h, next, stop);
    karatsuba(t, da, db, m, next, stop);
    add_middle(r, n, m, h, t, neg, u);
}

void karatsuba_sqr(limb* r, const limb* a, std::size_t n, limb* ws, Stop& stop) {
    if (n < tuning.sqr_karatsuba) {
        sqr_basecase(r, a, n);
        return;
    }
    if (stop.check()) return;
    const std::size_t m = (n + 1) / 2, h = n - m;
    limb* da = ws;
    limb* t = da + m;
    limb* u = t + 2 * m;
    limb* next = u + 2 * m + 2;
    abs_diff(da, a, m, a + m, h);
    karatsuba_sqr(r, a, m, next, stop);
    karatsuba_sqr(r + 2 * m, a + m, h, next, stop);
    karatsuba_sqr(t, da, m, next, stop);
    add_middle(r, n, m, h, t, false, u);
}

// Scratch of the recursion: 6m + 2 words per level with m ~ n/2, summed.
std::size_t scratch_words(std::size_t n) { return 6 * n + 64 * 8 + 64; }

// The pieces a0 + a1 X + a2 X^2 of an n-word number, X = B^k.
struct Thirds {
    Nat p0, p1, p2;
    Thirds(const limb* a, std::size_t n, std::size_t k)
        : p0(a, a + k), p1(a + k, a + 2 * k), p2(a + 2 * k, a + n) {
        trim(p0), trim(p1), trim(p2);
    }
    // Values at 1, -1 (magnitude; sign returned) and 2.
    Nat at_one() const { return add(add(p0, p1), p2); }
    bool at_minus_one(Nat& v) const {
        const Nat even = add(p0, p2);
        const bool neg = cmp(even, p1) < 0;
        v = neg ? sub(p1, even) : sub(even, p1);
        return neg;
    }
    Nat at_two() const { return add(add(p0, shl(p1, 1)), shl(p2, 2)); }
};

Nat div3(Nat v) {
    divrem_1(v.data(), v.data(), v.size(), 3);
    trim(v);
    return v;
}

void add_at(limb* r, std::size_t rn, const Nat& v, std::size_t off) {
    if (!v.empty()) add(r + off, r + off, rn - off, v.data(), v.size());
}

// Toom-3: a and b as quadratics in X = B^k, k = ceil(n/3); their product
// c0 + c1 X + ... + c4 X^4 from five products of k-word values at the
// points 0, 1, -1, 2 and infinity (cost 5 T(n/3) + O(n), exponent 1.46).
// With W(x) the products at x:
//   c0 = W(0), c4 = W(inf), c2 = (W(1) + W(-1))/2 - c0 - c4,
//   D = (W(1) - W(-1))/2 = c1 + c3,
//   T = (W(2) - c0 - 4 c2 - 16 c4)/2 = c1 + 4 c3,
//   c3 = (T - D)/3, c1 = D - c3.
// Every c_i is non-negative, and W(1) >= |W(-1)|, so the interpolation
// needs signs only for W(-1).
void toom3(limb* r, const limb* a, const limb* b, std::size_t n, bool square, Stop& stop) {
    if (stop.check()) return;
    const std::size_t k = (n + 2) / 3;
    const Thirds x(a, n, k);
    const Thirds y = square ? x : Thirds(b, n, k);
    const Nat w0 = mul(x.p0, y.p0, stop);
    const Nat winf = mul(x.p2, y.p2, stop);
    const Nat x1 = x.at_one(), y1 = square ? x1 : y.at_one();
    const Nat w1 = mul(x1, y1, stop);
    Nat xm, ym;
    const bool xneg = x.at_minus_one(xm);
    const bool neg = square ? false : xneg != y.at_minus_one(ym);
    const Nat wm1 = square ? mul(xm, xm, stop) : mul(xm, ym, stop);
    const Nat x2 = x.at_two();
    const Nat w2 = square ? mul(x2, x2, stop) : mul(x2, y.at_two(), stop);
    if (stop.check()) return;
    const Nat s = shr(neg ? sub(w1, wm1) : add(w1, wm1), 1);
    const Nat d = shr(neg ? add(w1, wm1) : sub(w1, wm1), 1);
    const Nat c2 = sub(sub(s, w0), winf);
    const Nat t = shr(sub(sub(sub(w2, w0), shl(c2, 2)), shl(winf, 4)), 1);
    const Nat c3 = div3(sub(t, d));
    const Nat c1 = sub(d, c3);
    std::fill(r, r + 2 * n, limb{0});
    add_at(r, 2 * n, w0, 0);
    add_at(r, 2 * n, c1, k);
    add_at(r, 2 * n, c2, 2 * k);
    add_at(r, 2 * n, c3, 3 * k);
    add_at(r, 2 * n, winf, 4 * k);
}

// One balanced product by the method its size calls for.
void mul_balanced(limb* r, const limb* a, const limb* b, std::size_t n, Stop& stop) {
    if (n >= tuning.mul_toom3) {
        toom3(r, a, b, n, false, stop);
    } else if (n >= tuning.mul_karatsuba) {
        Nat ws(scratch_words(n));
        karatsuba(r, a, b, n, ws.data(), stop);
    } else {
        mul_basecase(r, a, n, b, n);
    }
}

}  // namespace

void mul(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn, Stop& stop) {
    if (an < bn) std::swap(a, b), std::swap(an, bn);
    if (bn < tuning.mul_karatsuba) {
        mul_basecase(r, a, an, b, bn);
        return;
    }
    mul_balanced(r, a, b, bn, stop);
    if (an == bn) return;
    // Unbalanced: balanced bn x bn pieces along a, each added at its offset.
    Nat tmp(2 * bn);
    std::size_t i = bn;
    for (; i + bn <= an; i += bn) {
        if (stop.check()) return;
        mul_balanced(tmp.data(), a + i, b, bn, stop);
        const limb c = add_n(r + i, r + i, tmp.data(), bn);
        std::memcpy(r + i + bn, tmp.data() + bn, bn * sizeof(limb));
        add_1(r + i + bn, bn, c);
    }
    if (i < an) {
        const std::size_t rest = an - i;
        mul(tmp.data(), b, bn, a + i, rest, stop);
        const limb c = add_n(r + i, r + i, tmp.data(), bn);
        std::memcpy(r + i + bn, tmp.data() + bn, rest * sizeof(limb));
        add_1(r + i + bn, rest, c);
    }
}

void sqr(limb* r, const limb* a, std::size_t n, Stop& stop) {
    if (n >= tuning.sqr_toom3) {
        toom3(r, a, a, n, true, stop);
    } else if (n >= tuning.sqr_karatsuba) {
        Nat ws(scratch_words(n));
        karatsuba_sqr(r, a, n, ws.data(), stop);
    } else {
        sqr_basecase(r, a, n);
    }
}

Nat mul(const Nat& a, const Nat& b, Stop& stop) {
    if (a.empty() || b.empty()) return {};
    Nat r(a.size() + b.size());
    if (&a == &b || (a.size() == b.size() && a == b))
        sqr(r.data(), a.data(), a.size(), stop);
    else
        mul(r.data(), a.data(), a.size(), b.data(), b.size(), stop);
    trim(r);
    return r;
}

Nat sqr(const Nat& a, Stop& stop) {
    if (a.empty()) return {};
    Nat r(2 * a.size());
    sqr(r.data(), a.data(), a.size(), stop);
    trim(r);
    return r;
}

Nat mul_plain(const Nat& a, const Nat& b) {
    if (a.empty() || b.empty()) return {};
    Nat r(a.size() + b.size());
    mul_basecase(r.data(), a.data(), a.size(), b.data(), b.size());
    trim(r);
    return r;
}

}  // namespace ostr::big
