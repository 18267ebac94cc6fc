// Products, quotients, square roots, powers and factorials of bit-array
// records: conversions around the word engine, and the decisions the records
// carry (the shift of a reciprocal, fixed-point fractions, absent parts).
#include <algorithm>
#include <bit>
#include <vector>

#include "bignum/bitarray.hpp"

namespace ostr::big {
namespace {

BitArray* fraction_record(const Nat& f, std::uint64_t bits) noexcept {
    return from_nat_bits(f, std::max<std::uint64_t>(1, bits));
}

BitArrayDivision parts(BitArray* integer, BitArray* fraction) noexcept {
    if (!integer || !fraction) {
        release(integer);
        release(fraction);
        integer = fraction = nullptr;
    }
    return BitArrayDivision{integer, fraction, 1};
}

BitArrayDivision divide(const BitArray* a, const BitArray* b, std::uint64_t p, const char* abort) {
    const Nat x = to_nat(a), y = to_nat(b);
    Stop stop{abort};
    if (y.empty() || stop.check()) return parts(nullptr, nullptr);
    const std::uint64_t n = bit_length(y);
    if (is_pow2(y)) {
        // 2^k / d is one with k = n - 1: the parts are plain bit ranges.
        return parts(from_nat(shr(x, n - 1)), fraction_record(low_bits(x, n - 1), n - 1));
    }
    if (p > max_bits || bit_length(x) + n + p > max_bits) return parts(nullptr, nullptr);
    const std::uint64_t k = n + p;
    Nat q, r, f;
    div_qr(&q, &r, x, y, stop);
    if (!stop.check()) div_qr(&f, nullptr, shl(r, k), y, stop);
    if (stop.check()) return parts(nullptr, nullptr);
    return parts(from_nat(q), fraction_record(f, k));
}

BitArray* divide_one(const BitArray* a, const BitArray* b, const char* abort, bool want_rem) {
    const Nat x = to_nat(a), y = to_nat(b);
    Stop stop{abort};
    if (y.empty() || stop.check()) return nullptr;
    Nat q, r;
    div_qr(want_rem ? nullptr : &q, want_rem ? &r : nullptr, x, y, stop);
    return stop.check() ? nullptr : from_nat(want_rem ? r : q);
}

BitArrayDivision square_root(const BitArray* a, std::uint64_t p, const char* abort) {
    Stop stop{abort};
    if (p > max_bits / 4 || value_bits(a) + 2 * p > max_bits || stop.check()) return parts(nullptr, nullptr);
    // floor(sqrt(a) * 2^p) = isqrt(a * 4^p): its top bits are floor(sqrt(a)),
    // its low p bits the fraction.
    const Nat s = isqrt(shl(to_nat(a), 2 * p), stop);
    if (stop.check()) return parts(nullptr, nullptr);
    return parts(from_nat(shr(s, p)), fraction_record(low_bits(s, p), p));
}

BitArray* invert_sqrt(const BitArray* a, std::uint64_t p, std::uint64_t* shift, const char* abort) {
    const Nat x = to_nat(a);
    Stop stop{abort};
    if (x.empty() || p > max_bits / 4 || bit_length(x) > max_bits / 4 || stop.check()) return nullptr;
    const std::uint64_t n = bit_length(x);
    if (is_pow2(x) && (n - 1) % 2 == 0) {
        *shift = (n - 1) / 2;
        return from_nat(Nat{1});
    }
    // floor(2^k / sqrt(a)) = floor(sqrt(floor(4^k / a))): flooring inside a
    // square root does not change its floor.
    const std::uint64_t k = n + p;
    Nat q;
    div_qr(&q, nullptr, shl(Nat{1}, 2 * k), x, stop);
    const Nat r = stop.check() ? Nat{} : isqrt(q, stop);
    if (stop.check()) return nullptr;
    *shift = k;
    return from_nat(r);
}

// lo * (lo+1) * ... * hi (lo <= hi) by binary splitting, so that the big
// products are between numbers of similar size; the leaves pack factors into
// words while they fit.
Nat range_product(std::uint64_t lo, std::uint64_t hi, Stop& stop) {
    if (hi - lo < 64) {
        Nat acc{1};
        limb cur = 1;
        for (std::uint64_t k = lo;; ++k) {
            if (static_cast<u128>(cur) * k >> 64) {
                mul_small_in(acc, cur);
                cur = k;
            } else {
                cur *= k;
            }
            if (k == hi) break;
        }
        mul_small_in(acc, cur);
        return acc;
    }
    if (stop.check()) return {};
    const std::uint64_t mid = lo + (hi - lo) / 2;
    const Nat left = range_product(lo, mid, stop);
    const Nat right = range_product(mid + 1, hi, stop);
    return mul(left, right, stop);
}

// The odd primes up to n, by a sieve over the odd numbers (index i stands
// for 2i + 1).
std::vector<std::uint32_t> odd_primes(std::uint64_t n, Stop& stop) {
    std::vector<std::uint32_t> primes;
    if (n < 3) return primes;
    const std::uint64_t m = (n - 1) / 2;
    std::vector<bool> composite(m + 1);
    for (std::uint64_t i = 1; (2 * i + 1) * (2 * i + 1) <= n; ++i) {
        if (composite[i]) continue;
        if (stop.check()) return {};
        const std::uint64_t p = 2 * i + 1;
        for (std::uint64_t j = (p * p - 1) / 2; j <= m; j += p) composite[j] = true;
    }
    for (std::uint64_t i = 1; i <= m; ++i)
        if (!composite[i]) primes.push_back(static_cast<std::uint32_t>(2 * i + 1));
    return primes;
}

// The product of a list of words by binary splitting, word-packed leaves.
Nat list_product(const limb* f, std::size_t n, Stop& stop) {
    if (n <= 64) {
        Nat acc{1};
        limb cur = 1;
        for (std::size_t i = 0; i < n; ++i) {
            if (static_cast<u128>(cur) * f[i] >> 64) {
                mul_small_in(acc, cur);
                cur = f[i];
            } else {
                cur *= f[i];
            }
        }
        mul_small_in(acc, cur);
        return acc;
    }
    if (stop.check()) return {};
    const Nat left = list_product(f, n / 2, stop);
    const Nat right = list_product(f + n / 2, n - n / 2, stop);
    return mul(left, right, stop);
}

// The odd part of the swing n! / (floor(n/2)!)^2: each odd prime p appears
// to the power sum_k (floor(n / p^k) mod 2), and p^e <= n fits a word.
Nat odd_swing(std::uint64_t n, const std::vector<std::uint32_t>& primes, Stop& stop) {
    std::vector<limb> factors;
    for (const std::uint32_t p : primes) {
        if (p > n) break;
        limb f = 1;
        for (std::uint64_t q = n / p; q > 0; q /= p)
            if (q & 1) f *= p;
        if (f > 1) factors.push_back(f);
    }
    return list_product(factors.data(), factors.size(), stop);
}

// n! = 2^(n - popcount(n)) * oddfac(n), and the odd parts follow
// oddfac(n) = oddfac(n/2)^2 * odd_swing(n) (from n! = (n/2)!^2 * swing(n)).
// Walking up from the small end, each level is one square and one product
// with a number of about n bits: squares are cheaper than products, and the
// swing, a product of prime powers, is far shorter than n!.
Nat factorial(std::uint64_t n, Stop& stop) {
    const std::vector<std::uint32_t> primes = odd_primes(n, stop);
    Nat r{1};
    int top = 0;
    while ((n >> top) > 2) ++top;
    for (int i = top - 1; i >= 0 && !stop.check(); --i) {
        r = sqr(r, stop);
        const Nat s = odd_swing(n >> i, primes, stop);
        r = mul(r, s, stop);
    }
    return shl(r, n - static_cast<std::uint64_t>(std::popcount(n)));
}

BitArray* factorial_record(std::uint64_t n, const char* abort) {
    Stop stop{abort};
    // n! has about n log2(n) bits; refuse what cannot be stored.
    if (stop.check() || n > (std::uint64_t{1} << 31)) return nullptr;
    const Nat f = factorial(n, stop);
    return stop.check() ? nullptr : from_nat(f);
}

BitArray* power(const BitArray* a, const BitArray* e, const char* abort) {
    const Nat x = to_nat(a), y = to_nat(e);
    Stop stop{abort};
    if (stop.check()) return nullptr;
    if (y.empty()) return from_nat(Nat{1});
    if (x.empty() || x == Nat{1}) return from_nat(x);
    if (y.size() > 1 || (bit_length(x) - 1) * static_cast<u128>(y[0]) > max_bits) return nullptr;
    const Nat r = pow_nat(x, y[0], stop);
    return stop.check() ? nullptr : from_nat(r);
}

limb karatsuba_word(limb x, limb y) {
    const limb m = std::max(KaratsubaGetLength(x), KaratsubaGetLength(y));
    if (m <= 1) return x & y;
    const limb h = (m + 1) / 2;
    const limb xh = x >> h, xl = x - (xh << h), yh = y >> h, yl = y - (yh << h);
    const limb z0 = karatsuba_word(xl, yl), z2 = karatsuba_word(xh, yh);
    const limb z1 = karatsuba_word(xl + xh, yl + yh);
    // h < 64 always; 2h may reach 64, where the high product only wraps away.
    const limb high = 2 * h < 64 ? z2 << (2 * h) : 0;
    return ((z1 - z2 - z0) << h) + z0 + high;
}

}  // namespace

Nat factorial_nat(std::uint64_t n, Stop& stop) { return factorial(n, stop); }
Nat range_product_nat(std::uint64_t lo, std::uint64_t hi, Stop& stop) {
    return lo > hi ? Nat{1} : range_product(lo, hi, stop);
}

}  // namespace ostr::big

using namespace ostr::big;

extern "C" {

BitArray* MultiplyBitArrays(const BitArray* a, const BitArray* b, const char* abort) noexcept {
    if (!a || !b) return nullptr;
    return guarded([&]() -> BitArray* {
        Stop stop{abort};
        if (stop.check()) return nullptr;
        const Nat r = mul(to_nat(a), to_nat(b), stop);
        return stop.check() ? nullptr : from_nat(r);
    });
}

std::uint64_t KaratsubaMultiply(std::uint64_t x, std::uint64_t y) noexcept { return karatsuba_word(x, y); }
std::uint64_t KaratsubaGetLength(std::uint64_t x) noexcept {
    return 64 - static_cast<std::uint64_t>(std::countl_zero(x));
}

BitArray* InvertBitArray(const BitArray* d, std::uint64_t p, std::uint64_t* shift, const char* abort) noexcept {
    std::uint64_t k = 0;
    BitArray* r = d ? guarded([&]() -> BitArray* {
        const Nat x = to_nat(d);
        Stop stop{abort};
        if (x.empty() || p > max_bits || bit_length(x) + p > max_bits || stop.check()) return nullptr;
        const std::uint64_t n = bit_length(x);
        const std::uint64_t kk = is_pow2(x) ? n - 1 : n + p;
        const Nat inv = reciprocal(x, kk, stop);
        if (stop.check()) return nullptr;
        k = kk;
        return from_nat(inv);
    }) : nullptr;
    if (shift) *shift = r ? k : 0;
    return r;
}

BitArrayDivision DivideBitArrays(const BitArray* a, const BitArray* b, std::uint64_t p, const char* abort) noexcept {
    if (!a || !b) return parts(nullptr, nullptr);
    try {
        return divide(a, b, p, abort);
    } catch (...) {
        return parts(nullptr, nullptr);
    }
}

BitArray* FloorDivideBitArrays(const BitArray* a, const BitArray* b, const char* abort) noexcept {
    return a && b ? guarded([&] { return divide_one(a, b, abort, false); }) : nullptr;
}
BitArray* ModBitArrays(const BitArray* a, const BitArray* b, const char* abort) noexcept {
    return a && b ? guarded([&] { return divide_one(a, b, abort, true); }) : nullptr;
}

BitArrayDivision SquareRootBitArray(const BitArray* a, std::uint64_t p, const char* abort) noexcept {
    if (!a) return parts(nullptr, nullptr);
    try {
        return square_root(a, p, abort);
    } catch (...) {
        return parts(nullptr, nullptr);
    }
}

BitArray* InvertSquareRootBitArray(const BitArray* a, std::uint64_t p, std::uint64_t* shift,
                                   const char* abort) noexcept {
    std::uint64_t k = 0;
    BitArray* r = a ? guarded([&] { return invert_sqrt(a, p, &k, abort); }) : nullptr;
    if (shift) *shift = r ? k : 0;
    return r;
}

BitArray* ExponentiateBitArrays(const BitArray* a, const BitArray* e, const char* abort) noexcept {
    return a && e ? guarded([&] { return power(a, e, abort); }) : nullptr;
}

BitArray* BitArrayFactorial(std::uint64_t n, const char* abort) noexcept {
    return guarded([&] { return factorial_record(n, abort); });
}
BitArray* BitArrayFactorialBinarySplitting(std::uint64_t n, const char* abort) noexcept {
    return guarded([&] { return factorial_record(n, abort); });
}

BitArray* FactorialPartialProductSub(std::uint64_t lo, std::uint64_t hi, const char* abort) noexcept {
    return guarded([&]() -> BitArray* {
        Stop stop{abort};
        if (stop.check()) return nullptr;
        if (lo > hi) return from_nat(Nat{1});
        if (lo == 0) return from_nat(Nat{});
        if (hi - lo > (std::uint64_t{1} << 31)) return nullptr;
        const Nat r = range_product(lo, hi, stop);
        return stop.check() ? nullptr : from_nat(r);
    });
}

std::uint64_t PowMod(std::uint64_t b, std::uint64_t e, std::uint64_t m) noexcept {
    if (e == 0) return 1;
    if (e == 1) return b;
    if (b == 0) return 0;
    std::uint64_t r = 1;
    for (int i = 63 - std::countl_zero(e); i >= 0; --i) {
        r = m ? (r * r) % m : r * r;
        if ((e >> i) & 1) r = m ? (r * b) % m : r * b;
    }
    return r;
}

}
