// Word kernels: carry chains, single-word products and quotients, shifts and
// the schoolbook product. Everything above is built from these loops.
#include <bit>
#include <cstring>
#if defined(__x86_64__)
#include <x86intrin.h>
#endif

#include "bignum/nat.hpp"

namespace ostr::big {

Tuning tuning;

#if defined(__x86_64__)
// The carry flag chained through add-with-carry instructions: one cycle a
// word, where the portable form below needs compares on the critical path.
limb add_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept {
    unsigned char c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        unsigned long long s;
        c = _addcarry_u64(c, a[i], b[i], &s);
        r[i] = s;
    }
    return c;
}

limb sub_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept {
    unsigned char c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        unsigned long long d;
        c = _subborrow_u64(c, a[i], b[i], &d);
        r[i] = d;
    }
    return c;
}
#else
limb add_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept {
    limb c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const limb s = a[i] + c;
        c = s < c;
        r[i] = s + b[i];
        c += r[i] < s;
    }
    return c;
}

limb sub_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept {
    limb c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const limb ai = a[i], bi = b[i];
        const limb d = ai - bi;
        r[i] = d - c;
        c = (ai < bi) | (d < c);
    }
    return c;
}
#endif

limb add_1(limb* r, std::size_t n, limb x) noexcept {
    for (std::size_t i = 0; i < n && x; ++i) {
        r[i] += x;
        x = r[i] < x;
    }
    return x;
}

limb sub_1(limb* r, std::size_t n, limb x) noexcept {
    for (std::size_t i = 0; i < n && x; ++i) {
        const limb v = r[i];
        r[i] = v - x;
        x = v < x;
    }
    return x;
}

limb add(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept {
    limb c = add_n(r, a, b, bn);
    if (r != a && an > bn) std::memmove(r + bn, a + bn, (an - bn) * sizeof(limb));
    return add_1(r + bn, an - bn, c);
}

limb sub(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept {
    limb c = sub_n(r, a, b, bn);
    if (r != a && an > bn) std::memmove(r + bn, a + bn, (an - bn) * sizeof(limb));
    return sub_1(r + bn, an - bn, c);
}

limb mul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept {
    limb c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 p = static_cast<u128>(a[i]) * b + c;
        r[i] = static_cast<limb>(p);
        c = static_cast<limb>(p >> 64);
    }
    return c;
}

// The hot loop of the schoolbook product; unrolled by two so that the two
// independent 64x64 products overlap in the pipeline.
limb addmul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept {
    limb c = 0;
    std::size_t i = 0;
    for (; i + 2 <= n; i += 2) {
        const u128 p0 = static_cast<u128>(a[i]) * b + r[i] + c;
        const u128 p1 = static_cast<u128>(a[i + 1]) * b + r[i + 1] + static_cast<limb>(p0 >> 64);
        r[i] = static_cast<limb>(p0);
        r[i + 1] = static_cast<limb>(p1);
        c = static_cast<limb>(p1 >> 64);
    }
    if (i < n) {
        const u128 p = static_cast<u128>(a[i]) * b + r[i] + c;
        r[i] = static_cast<limb>(p);
        c = static_cast<limb>(p >> 64);
    }
    return c;
}

limb submul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept {
    limb c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 p = static_cast<u128>(a[i]) * b + c;
        const limb lo = static_cast<limb>(p);
        c = static_cast<limb>(p >> 64) + (r[i] < lo);
        r[i] -= lo;
    }
    return c;
}

limb lshift(limb* r, const limb* a, std::size_t n, unsigned s) noexcept {
    const limb out = a[n - 1] >> (64 - s);
    for (std::size_t i = n - 1; i > 0; --i) r[i] = (a[i] << s) | (a[i - 1] >> (64 - s));
    r[0] = a[0] << s;
    return out;
}

limb rshift(limb* r, const limb* a, std::size_t n, unsigned s) noexcept {
    const limb out = a[0] << (64 - s);
    for (std::size_t i = 0; i + 1 < n; ++i) r[i] = (a[i] >> s) | (a[i + 1] << (64 - s));
    r[n - 1] = a[n - 1] >> s;
    return out;
}

int cmp_n(const limb* a, const limb* b, std::size_t n) noexcept {
    while (n-- > 0)
        if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
    return 0;
}

// r[0..n+1) += a * (b0 + b1 B), returning the word for r[n+1]. Two rows per
// pass halve the loads and stores of r; the pending carry is two words
// (k0 for position i, k1 for i + 1), and each 128-bit sum below cannot
// overflow: (B-1) + (B-1)^2 + (B-1) = B^2 - 1.
limb addmul_2(limb* r, const limb* a, std::size_t n, limb b0, limb b1) noexcept {
    limb k0 = 0, k1 = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 s = static_cast<u128>(a[i]) * b0 + r[i] + k0;
        r[i] = static_cast<limb>(s);
        const u128 u = static_cast<u128>(a[i]) * b1 + static_cast<limb>(s >> 64) + k1;
        k0 = static_cast<limb>(u);
        k1 = static_cast<limb>(u >> 64);
    }
    const limb t = r[n] + k0;
    r[n] = t;
    return k1 + (t < k0);
}

void mul_basecase(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept {
    r[an] = mul_1(r, a, an, b[0]);
    std::size_t j = 1;
    for (; j + 2 <= bn; j += 2) {
        r[an + j] = 0;
        r[an + j + 1] = addmul_2(r + j, a, an, b[j], b[j + 1]);
    }
    if (j < bn) r[an + j] = addmul_1(r + j, a, an, b[j]);
}

// a^2 = 2*sum_{i<j} a_i a_j B^(i+j) + sum a_i^2 B^(2i): the cross products
// once (about half the work of a general product), doubled by a shift.
void sqr_basecase(limb* r, const limb* a, std::size_t n) noexcept {
    std::memset(r, 0, 2 * n * sizeof(limb));
    for (std::size_t i = 0; i + 1 < n; ++i)
        r[n + i] = addmul_1(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
    r[2 * n - 1] = lshift(r, r, 2 * n - 1, 1);
    limb c = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 p = static_cast<u128>(a[i]) * a[i];
        const u128 lo = static_cast<u128>(r[2 * i]) + static_cast<limb>(p) + c;
        r[2 * i] = static_cast<limb>(lo);
        const u128 hi = static_cast<u128>(r[2 * i + 1]) + static_cast<limb>(p >> 64) +
                        static_cast<limb>(lo >> 64);
        r[2 * i + 1] = static_cast<limb>(hi);
        c = static_cast<limb>(hi >> 64);
    }
}

limb inverse_limb(limb d) noexcept {
    const u128 num = (static_cast<u128>(~d) << 64) | ~limb{0};
    return static_cast<limb>(num / d);
}

// Division of a two-word number by a normalised word with a precomputed
// reciprocal: one product and at most two corrections instead of a 128-bit
// hardware division.
limb div_2by1(limb& rem, limb u1, limb u0, limb d, limb v) noexcept {
    u128 q = static_cast<u128>(v) * u1;
    q += (static_cast<u128>(u1) << 64) | u0;
    limb q1 = static_cast<limb>(q >> 64) + 1;
    const limb q0 = static_cast<limb>(q);
    limb r = u0 - q1 * d;
    if (r > q0) {
        --q1;
        r += d;
    }
    if (r >= d) {
        ++q1;
        r -= d;
    }
    rem = r;
    return q1;
}

limb divrem_1(limb* q, const limb* a, std::size_t n, limb d) noexcept {
    const unsigned s = static_cast<unsigned>(std::countl_zero(d));
    const limb dn = d << s;
    const limb v = inverse_limb(dn);
    limb r = 0;
    for (std::size_t i = n; i-- > 0;) {
        const limb ai = a[i];
        const limb hi = s ? (r << s) | (ai >> (64 - s)) : r;
        const limb lo = ai << s;
        // Shifting <r,ai> and d by s normalises the divisor without changing
        // the quotient; r < d keeps the quotient within one word.
        limb rem;
        q[i] = div_2by1(rem, hi, lo, dn, v);
        r = rem >> s;
    }
    return r;
}

void trim(Nat& a) noexcept {
    while (!a.empty() && a.back() == 0) a.pop_back();
}

std::uint64_t bit_length(const Nat& a) noexcept {
    if (a.empty()) return 0;
    return 64 * (a.size() - 1) + (64 - static_cast<std::uint64_t>(std::countl_zero(a.back())));
}

int cmp(const Nat& a, const Nat& b) noexcept {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return cmp_n(a.data(), b.data(), a.size());
}

Nat add(const Nat& a, const Nat& b) {
    const Nat& x = a.size() >= b.size() ? a : b;
    const Nat& y = a.size() >= b.size() ? b : a;
    Nat r(x.size() + 1);
    r[x.size()] = add(r.data(), x.data(), x.size(), y.data(), y.size());
    trim(r);
    return r;
}

void add_in(Nat& a, const Nat& b) {
    if (a.size() < b.size()) a.resize(b.size());
    a.push_back(0);
    add(a.data(), a.data(), a.size(), b.data(), b.size());
    trim(a);
}

Nat sub(const Nat& a, const Nat& b) {
    Nat r(a.size());
    sub(r.data(), a.data(), a.size(), b.data(), b.size());
    trim(r);
    return r;
}

void sub_in(Nat& a, const Nat& b) {
    sub(a.data(), a.data(), a.size(), b.data(), b.size());
    trim(a);
}

Nat shl(const Nat& a, std::uint64_t k) {
    if (a.empty()) return {};
    const std::size_t w = k / 64;
    const unsigned s = k % 64;
    Nat r(a.size() + w + 1, 0);
    if (s)
        r[a.size() + w] = lshift(r.data() + w, a.data(), a.size(), s);
    else
        std::memcpy(r.data() + w, a.data(), a.size() * sizeof(limb));
    trim(r);
    return r;
}

Nat shr(const Nat& a, std::uint64_t k) {
    const std::size_t w = k / 64;
    if (w >= a.size()) return {};
    const unsigned s = k % 64;
    Nat r(a.size() - w);
    if (s)
        rshift(r.data(), a.data() + w, r.size(), s);
    else
        std::memcpy(r.data(), a.data() + w, r.size() * sizeof(limb));
    trim(r);
    return r;
}

Nat low_bits(const Nat& a, std::uint64_t k) {
    if (k >= 64 * static_cast<std::uint64_t>(a.size())) return a;
    Nat r(a.begin(), a.begin() + static_cast<std::ptrdiff_t>((k + 63) / 64));
    if (k % 64) r.back() &= (limb{1} << (k % 64)) - 1;
    trim(r);
    return r;
}

void mul_small_in(Nat& a, limb m, limb addend) {
    limb c = mul_1(a.data(), a.data(), a.size(), m);
    if (c) a.push_back(c);
    if (addend) {
        a.push_back(0);
        add_1(a.data(), a.size(), addend);
    }
    trim(a);
}

bool is_pow2(const Nat& a) noexcept {
    if (a.empty() || !std::has_single_bit(a.back())) return false;
    for (std::size_t i = 0; i + 1 < a.size(); ++i)
        if (a[i]) return false;
    return true;
}

std::uint64_t trailing_zeros(const Nat& a) noexcept {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i]) return 64 * i + static_cast<std::uint64_t>(std::countr_zero(a[i]));
    return 0;
}

}  // namespace ostr::big
