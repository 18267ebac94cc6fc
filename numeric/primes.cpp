// The sieve keeps only odd numbers, one byte each, in segments that fit the
// first-level cache; each segment is crossed off by the base primes up to
// sqrt(b), so the cost is O((b - a) log log b) with O(sqrt(b)) memory.
// Factorisation: trial division by the primes below 2^10 removes the small
// factors; what remains is prime (Miller-Rabin) or split by Brent's variant
// of Pollard's rho, with products of 128-bit residues batched per gcd.
#include "numeric/primes.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/runtime.hpp"

namespace ostr::num {
namespace {

using u64 = std::uint64_t;
using u128 = unsigned __int128;

constexpr u64 segment_bytes = 32768;

u64 isqrt(u64 n) {
    u64 r = static_cast<u64>(std::sqrt(static_cast<double>(n)));
    while (r > 0 && r * r > n) --r;
    while ((r + 1) * (r + 1) <= n && r + 1 < (u64{1} << 32)) ++r;
    return r;
}

// The odd primes up to n, by the plain sieve of Eratosthenes.
std::vector<std::uint32_t> small_primes(u64 n) {
    std::vector<std::uint32_t> p;
    if (n < 3) return p;
    std::vector<bool> composite(n / 2 + 1);
    for (u64 i = 3; i <= n; i += 2) {
        if (composite[i / 2]) continue;
        p.push_back(static_cast<std::uint32_t>(i));
        for (u64 j = i * i; j <= n; j += 2 * i) composite[j / 2] = true;
    }
    return p;
}

u64 mulmod(u64 a, u64 b, u64 m) { return static_cast<u64>(static_cast<u128>(a) * b % m); }

// x^2 + c mod n without overflow for n near 2^64 (c < n).
u64 step(u64 x, u64 c, u64 n) {
    u64 r = mulmod(x, x, n);
    return r >= n - c ? r - (n - c) : r + c;
}

u64 powmod(u64 a, u64 e, u64 m) {
    u64 r = 1;
    for (a %= m; e; e >>= 1, a = mulmod(a, a, m))
        if (e & 1) r = mulmod(r, a, m);
    return r;
}

// Brent's cycle finding on x -> x^2 + c mod n; a factor of the odd
// composite n, possibly n itself when this c fails.
u64 rho(u64 n, u64 c) {
    u64 x = 2, y = 2, ys = 2, q = 1, g = 1;
    constexpr u64 batch = 128;
    for (u64 r = 1; g == 1; r <<= 1) {
        x = y;
        for (u64 i = 0; i < r; ++i) y = step(y, c, n);
        for (u64 k = 0; k < r && g == 1; k += batch) {
            ys = y;
            for (u64 i = 0; i < std::min(batch, r - k); ++i) {
                y = step(y, c, n);
                q = mulmod(q, x > y ? x - y : y - x, n);
            }
            g = std::gcd(q, n);
        }
    }
    if (g == n) {
        do {
            ys = step(ys, c, n);
            g = std::gcd(x > ys ? x - ys : ys - x, n);
        } while (g == 1);
    }
    return g;
}

void split(u64 n, std::vector<u64>& out) {
    if (n == 1) return;
    if (is_prime(n)) {
        out.push_back(n);
        return;
    }
    u64 s = isqrt(n);
    if (s * s == n) {
        split(s, out);
        split(s, out);
        return;
    }
    for (u64 c = 1;; ++c) {
        u64 d = rho(n, c);
        if (d != n && d != 1) {
            split(d, out);
            split(n / d, out);
            return;
        }
    }
}

}  // namespace

ListStatus primes_between(u64 a, u64 b, std::size_t limit, std::vector<u64>& out) {
    const std::size_t start = out.size();
    auto take = [&](u64 p) {
        if (out.size() - start >= limit) return false;
        out.push_back(p);
        return true;
    };
    if (a <= 2 && b >= 2 && !take(2)) return ListStatus::too_many;
    if (b < 3) return ListStatus::ok;
    const std::vector<std::uint32_t> base = small_primes(isqrt(b));
    // Segment k covers the odd numbers lo, lo+2, ..., lo + 2*(segment_bytes-1).
    std::vector<unsigned char> sieve(segment_bytes);
    std::vector<u64> next(base.size());  // the next odd multiple to cross off, per base prime
    u64 lo = std::max<u64>(a, 3) | 1;
    for (std::size_t k = 0; k < base.size(); ++k) {
        const u64 p = base[k];
        u64 m = std::max(p * p, (lo + p - 1) / p * p);
        if (m % 2 == 0) m += p;
        next[k] = m;
    }
    while (lo <= b) {
        if (core::should_stop()) return ListStatus::stopped;
        const u64 span = std::min<u64>(segment_bytes, (b - lo) / 2 + 1);
        const u64 hi = lo + 2 * (span - 1);
        std::fill(sieve.begin(), sieve.begin() + static_cast<std::ptrdiff_t>(span), 1);
        // Base primes past sqrt(hi) have nothing to cross off here yet.
        for (std::size_t k = 0; k < base.size() && u64{base[k]} * base[k] <= hi; ++k) {
            u64 m = next[k];
            const u64 step = 2 * u64{base[k]};
            for (; m <= hi; m += step) sieve[(m - lo) / 2] = 0;
            next[k] = m;
        }
        for (u64 i = 0; i < span; ++i)
            if (sieve[i] && lo + 2 * i > 1 && !take(lo + 2 * i)) return ListStatus::too_many;
        if (hi >= b - 1 || hi > UINT64_MAX - 2) break;
        lo = hi + 2;
    }
    return ListStatus::ok;
}

// Miller-Rabin with the first twelve primes as bases: no composite below
// 3.3 * 10^24 passes them all, so the answer is exact for 64 bits.
bool is_prime(u64 n) noexcept {
    if (n < 2) return false;
    constexpr u64 bases[] = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37};
    for (u64 p : bases)
        if (n % p == 0) return n == p;
    u64 d = n - 1;
    int s = 0;
    while ((d & 1) == 0) d >>= 1, ++s;
    for (u64 a : bases) {
        u64 x = powmod(a, d, n);
        if (x == 1 || x == n - 1) continue;
        bool composite = true;
        for (int r = 1; r < s && composite; ++r) {
            x = mulmod(x, x, n);
            if (x == n - 1) composite = false;
        }
        if (composite) return false;
    }
    return true;
}

std::vector<u64> prime_factors(u64 n) {
    std::vector<u64> out;
    if (n == 0) return out;
    for (u64 p = 2; p < 1024 && p * p <= n; p += (p == 2 ? 1 : 2))
        while (n % p == 0) out.push_back(p), n /= p;
    if (n < 1024 * 1024 && n > 1) {
        out.push_back(n);
        return out;
    }
    split(n, out);
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<u64> divisors(u64 n) {
    std::vector<u64> out{1};
    if (n == 0) return {};
    const std::vector<u64> f = prime_factors(n);
    for (std::size_t i = 0; i < f.size();) {
        std::size_t j = i;
        while (j < f.size() && f[j] == f[i]) ++j;
        const std::size_t before = out.size();
        u64 power = 1;
        for (std::size_t e = i; e < j; ++e) {
            power *= f[i];
            for (std::size_t k = 0; k < before; ++k) out.push_back(out[k] * power);
        }
        i = j;
    }
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace ostr::num
