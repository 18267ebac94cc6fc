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

}  // namespace

void mul(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn, Stop& stop) {
    if (an < bn) std::swap(a, b), std::swap(an, bn);
    if (bn < tuning.mul_karatsuba) {
        mul_basecase(r, a, an, b, bn);
        return;
    }
    std::vector<limb> ws(scratch_words(bn));
    if (an == bn) {
        karatsuba(r, a, b, bn, ws.data(), stop);
        return;
    }
    // Unbalanced: balanced bn x bn pieces along a, each added at its offset.
    karatsuba(r, a, b, bn, ws.data(), stop);
    std::vector<limb> tmp(2 * bn);
    std::size_t i = bn;
    for (; i + bn <= an; i += bn) {
        if (stop.check()) return;
        karatsuba(tmp.data(), a + i, b, bn, ws.data(), stop);
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
    if (n < tuning.sqr_karatsuba) {
        sqr_basecase(r, a, n);
        return;
    }
    std::vector<limb> ws(scratch_words(n));
    karatsuba_sqr(r, a, n, ws.data(), stop);
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
