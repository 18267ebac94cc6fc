// The sieve keeps one bit per number coprime to 30 (eight per byte), in
// segments that fit the first-level cache; each segment is crossed off by the
// sieving primes up to sqrt(b), so the cost is O((b - a) log log b) with
// O(sqrt(b)) memory.
// Factorisation: trial division by the primes below 2^10 removes the small
// factors; what remains is prime (Miller-Rabin) or split by Brent's variant
// of Pollard's rho in Montgomery arithmetic, with products of residues batched
// per gcd.
#include "numeric/primes.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/runtime.hpp"

namespace ostr::num {
namespace {

using u64 = std::uint64_t;
using u128 = unsigned __int128;


u64 isqrt(u64 n) {
    u64 r = static_cast<u64>(std::sqrt(static_cast<double>(n)));
    while (r > 0 && r * r > n) --r;
    while ((r + 1) * (r + 1) <= n && r + 1 < (u64{1} << 32)) ++r;
    return r;
}

// The odd primes up to n, by the plain sieve of Eratosthenes.
std::vector<std::uint32_t> plain_primes(u64 n) {
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

// Montgomery arithmetic modulo an odd n < 2^64 with R = 2^64: x is held as
// x·R mod n, and a product a·b·R⁻¹ mod n costs two 64×64 products and a
// subtraction instead of a 128-bit division. reduce(T) for T < n·R is
// hi(T) - hi(m·n) with m = lo(T)·n⁻¹ mod R: the low halves cancel exactly,
// so nothing overflows.
struct Montgomery {
    u64 n, inv, r2;  // n⁻¹ mod 2^64, R² mod n
    explicit Montgomery(u64 modulus) : n(modulus), inv(modulus) {
        for (int k = 0; k < 5; ++k) inv *= 2 - n * inv;  // Newton: 3, 6, ..., 96 correct bits
        r2 = static_cast<u64>((static_cast<u128>(-n % n) << 64) % n);
    }
    u64 reduce(u128 t) const {
        const u64 m = static_cast<u64>(t) * inv;
        const u64 hi = static_cast<u64>(t >> 64), mn = static_cast<u64>(static_cast<u128>(m) * n >> 64);
        return hi >= mn ? hi - mn : hi - mn + n;
    }
    u64 mul(u64 a, u64 b) const { return reduce(static_cast<u128>(a) * b); }
    u64 to(u64 x) const { return mul(x % n, r2); }
    u64 from(u64 x) const { return reduce(x); }
};

// x^2 + c in Montgomery form (c < n is any constant: the map only has to
// be a fixed pseudo-random one).
u64 step(const Montgomery& m, u64 x, u64 c) {
    const u64 r = m.mul(x, x);
    return r >= m.n - c ? r - (m.n - c) : r + c;
}

// a^e mod n, a and the answer in Montgomery form.
u64 powmod(const Montgomery& m, u64 a, u64 e) {
    u64 r = m.to(1);
    for (; e; e >>= 1, a = m.mul(a, a))
        if (e & 1) r = m.mul(r, a);
    return r;
}

// Brent's cycle finding on x -> x^2 + c mod n; a factor of the odd
// composite n, possibly n itself when this c fails; about n^(1/4) steps, so
// no poll is needed for 64 bits. The product of the
// differences stays in Montgomery form: a unit factor R^-k changes no gcd.
u64 rho(u64 n, u64 c) {
    const Montgomery m(n);
    u64 x = m.to(2), y = x, ys = x, q = m.to(1), g = 1;
    constexpr u64 batch = 128;
    for (u64 r = 1; g == 1; r <<= 1) {
        x = y;
        for (u64 i = 0; i < r; ++i) y = step(m, y, c);
        for (u64 k = 0; k < r && g == 1; k += batch) {
            ys = y;
            for (u64 i = 0; i < std::min(batch, r - k); ++i) {
                y = step(m, y, c);
                q = m.mul(q, x > y ? x - y : y - x);
            }
            g = std::gcd(q, n);
        }
    }
    if (g == n) {
        do {
            ys = step(m, ys, c);
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

// The wheel of 30: the residues coprime to 30, one bit each, so a byte
// holds 30 numbers. A multiple p·q of a sieving prime with q coprime to 30
// moves, as q steps to the next residue, by a byte count that depends only
// on p mod 30 and the residue of q (plus (p div 30)·gap): those carries and
// the bit that each multiple lands on are tabulated once.
constexpr unsigned wheel[8] = {1, 7, 11, 13, 17, 19, 23, 29};
constexpr unsigned gap[8] = {6, 4, 2, 4, 2, 4, 6, 2};
// A segment of 32 KiB covers 983,040 numbers and stays in the first-level cache.
constexpr std::size_t segment_bytes = 32768;

constexpr int bit_of(unsigned r) {
    for (int k = 0; k < 8; ++k)
        if (wheel[k] == r) return k;
    return -1;
}

struct WheelTables {
    std::uint8_t mask[8][8];   // [class of p][index of q]: the bit to clear
    std::uint8_t carry[8][8];  // extra bytes beyond (p div 30)·gap
};

constexpr WheelTables make_tables() {
    WheelTables t{};
    for (unsigned c = 0; c < 8; ++c)
        for (unsigned i = 0; i < 8; ++i) {
            const unsigned m = wheel[c] * wheel[i] % 30;
            t.mask[c][i] = static_cast<std::uint8_t>(1u << bit_of(m));
            t.carry[c][i] = static_cast<std::uint8_t>((m + wheel[c] * gap[i]) / 30);
        }
    return t;
}
constexpr WheelTables tables = make_tables();

// One sieving prime: the byte of its next multiple relative to the current
// segment, and where its cofactor q stands on the wheel.
struct Sieving {
    std::uint32_t p30;  // p div 30
    std::uint8_t cls;   // index of p mod 30 on the wheel
    std::uint8_t i;     // index of q mod 30 on the wheel
    u64 next;           // byte of the next multiple, from the segment's first byte
};

// The first multiple p·q >= max(p², 30·first_byte) with q coprime to 30.
Sieving start(u64 p, u64 first_byte) {
    const u64 lo = 30 * first_byte;
    u64 q = std::max<u64>(p, (lo + p - 1) / p);
    unsigned i = 0;
    while (wheel[i] < q % 30) ++i;  // ends at 29 at the latest
    q += wheel[i] - q % 30;
    return {static_cast<std::uint32_t>(p / 30), static_cast<std::uint8_t>(bit_of(static_cast<unsigned>(p % 30))),
            static_cast<std::uint8_t>(i), p * q / 30 - first_byte};
}

// Crosses off the multiples of one sieving prime in a segment. Eight
// consecutive cofactors advance the multiple by 30·p, i.e. by p bytes, at
// offsets fixed per prime: whole turns of the wheel are one unrolled step of
// eight independent clears (most of the time goes to the small primes, which
// make many turns per segment); the ends go one multiple at a time.
void cross_off(std::uint8_t* seg, std::size_t bytes, Sieving& s) {
    u64 at = s.next;
    if (at >= bytes) {
        s.next = at - bytes;
        return;
    }
    unsigned i = s.i;
    const std::uint8_t* mask = tables.mask[s.cls];
    const std::uint8_t* carry = tables.carry[s.cls];
    const u64 p30 = s.p30;
    auto one = [&] {
        seg[at] &= static_cast<std::uint8_t>(~mask[i]);
        at += p30 * gap[i] + carry[i];
        i = (i + 1) & 7;
    };
    while (i != 0 && at < bytes) one();
    if (i == 0) {
        u64 off[8] = {0};
        for (unsigned k = 1; k < 8; ++k) off[k] = off[k - 1] + p30 * gap[k - 1] + carry[k - 1];
        const u64 turn = 30 * p30 + wheel[s.cls];
        for (; at + off[7] < bytes; at += turn)
            for (unsigned k = 0; k < 8; ++k) seg[at + off[k]] &= static_cast<std::uint8_t>(~mask[k]);
    }
    while (at < bytes) one();
    s.next = at - bytes;
    s.i = static_cast<std::uint8_t>(i);
}

// The multiples of 7, 11 and 13 repeat every 1001 bytes: a segment starts
// as a copy of this pattern instead of all ones, and those three primes
// need no crossing off. Byte k of the pattern stands for 30·k + wheel[j].
constexpr u64 pattern_period = 7 * 11 * 13;
std::vector<std::uint8_t> presieved() {
    std::vector<std::uint8_t> p(pattern_period + segment_bytes);
    for (std::size_t k = 0; k < p.size(); ++k) {
        std::uint8_t bits = 0;
        for (unsigned j = 0; j < 8; ++j) {
            const u64 n = 30 * k + wheel[j];
            if (n % 7 && n % 11 && n % 13) bits |= static_cast<std::uint8_t>(1u << j);
        }
        p[k] = bits;
    }
    return p;
}

std::vector<std::uint32_t> sieving_primes(u64 n, bool& stopped);

// Sieves the numbers coprime to 30 in [a, b] segment by segment and hands
// each segment's bits (byte k, bit j: 30·(first + k) + wheel[j]) to
// `visit` as 64-bit words, the bits outside [a, b] cleared; visit answers
// false to stop. 2, 3 and 5 are the caller's. Cost O((b - a) log log b)
// with O(√b) memory for the sieving primes.
template <class Visit>
ListStatus sieve_range(u64 a, u64 b, Visit visit) {
    if (b < 7 || a > b) return ListStatus::ok;
    const u64 first = a / 30, last = b / 30;
    std::vector<Sieving> base;
    bool stopped = false;
    const std::vector<std::uint32_t> primes = sieving_primes(isqrt(b), stopped);
    base.reserve(primes.size());
    for (std::uint32_t p : primes)
        if (p > 13) base.push_back(start(p, first));
    if (stopped) return ListStatus::stopped;
    const std::vector<std::uint8_t> pattern = presieved();
    std::vector<std::uint64_t> words(segment_bytes / 8);
    auto* seg = reinterpret_cast<std::uint8_t*>(words.data());
    for (u64 lo = first; lo <= last; lo += segment_bytes) {
        if (core::should_stop()) return ListStatus::stopped;
        const std::size_t bytes = static_cast<std::size_t>(std::min<u64>(segment_bytes, last - lo + 1));
        std::fill(words.begin(), words.end(), 0);
        std::copy_n(pattern.begin() + static_cast<std::ptrdiff_t>(lo % pattern_period), bytes, seg);
        for (Sieving& s : base) cross_off(seg, bytes, s);
        // 7, 11 and 13 back (bits 1 to 3 of byte 0), then the ends: numbers
        // below a or above b, and 1, which is no prime.
        if (lo == 0) seg[0] |= 0x0e;
        for (unsigned j = 0; j < 8; ++j) {
            if (lo == first && 30 * first + wheel[j] < a) seg[0] &= static_cast<std::uint8_t>(~(1u << j));
            if (lo + bytes - 1 == last && 30 * last + wheel[j] > b)
                seg[bytes - 1] &= static_cast<std::uint8_t>(~(1u << j));
        }
        if (lo == 0) seg[0] &= 0xfe;
        if (!visit(words.data(), (bytes + 7) / 8, lo)) break;
    }
    return ListStatus::ok;
}

// The odd primes up to n: plainly for small n, else by the segmented sieve
// itself (whose own sieving primes stop below 2^14 for n < 2^32), which
// walks n/30 bytes in cache instead of n/2 bits far apart.
std::vector<std::uint32_t> sieving_primes(u64 n, bool& stopped) {
    if (n < (u64{1} << 20)) return plain_primes(n);
    std::vector<std::uint32_t> p{3, 5};
    p.reserve(static_cast<std::size_t>(1.3 * static_cast<double>(n) / std::log(static_cast<double>(n))));
    stopped = sieve_range(7, n, [&](const std::uint64_t* w, std::size_t words, u64 first_byte) {
        for (std::size_t k = 0; k < words; ++k)
            for (u64 bits = w[k]; bits; bits &= bits - 1) {
                const unsigned at = static_cast<unsigned>(__builtin_ctzll(bits));
                p.push_back(static_cast<std::uint32_t>(30 * (first_byte + 8 * k + at / 8) + wheel[at % 8]));
            }
        return true;
    }) == ListStatus::stopped;
    return p;
}

}  // namespace

ListStatus primes_between(u64 a, u64 b, std::size_t limit, std::vector<u64>& out) {
    const std::size_t start = out.size();
    for (u64 p : {2, 3, 5})
        if (a <= p && p <= b) {
            if (out.size() - start >= limit) return ListStatus::too_many;
            out.push_back(p);
        }
    // Room for every prime at once (growing by doubling copied the list
    // about twice over): pi(b) < 1.2551·b/ln b, pi(a - 1) > (a - 1)/ln(a - 1)
    // for a - 1 >= 17.
    auto upper = [](double x) { return x < 17 ? 7.0 : 1.2551 * x / std::log(x); };
    auto lower = [](double x) { return x < 17 ? 0.0 : x / std::log(x); };
    const double room = upper(static_cast<double>(b)) - lower(static_cast<double>(a) - 1);
    out.reserve(start + static_cast<std::size_t>(std::min(room, static_cast<double>(limit))) + 3);
    bool full = false;
    const ListStatus st = sieve_range(a, b, [&](const std::uint64_t* w, std::size_t words, u64 first_byte) {
        for (std::size_t k = 0; k < words; ++k)
            for (u64 bits = w[k]; bits; bits &= bits - 1) {
                if (out.size() - start >= limit) return !(full = true);
                const unsigned at = static_cast<unsigned>(__builtin_ctzll(bits));
                out.push_back(30 * (first_byte + 8 * k + at / 8) + wheel[at % 8]);
            }
        return true;
    });
    return full ? ListStatus::too_many : st;
}

ListStatus count_primes(u64 a, u64 b, u64& count) {
    count = 0;
    for (u64 p : {2, 3, 5}) count += a <= p && p <= b;
    return sieve_range(a, b, [&](const std::uint64_t* w, std::size_t words, u64) {
        for (std::size_t k = 0; k < words; ++k) count += static_cast<u64>(__builtin_popcountll(w[k]));
        return true;
    });
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
    const Montgomery m(n);
    const u64 one = m.to(1), minus_one = m.to(n - 1);
    for (u64 a : bases) {
        u64 x = powmod(m, m.to(a), d);
        if (x == one || x == minus_one) continue;
        bool composite = true;
        for (int r = 1; r < s && composite; ++r) {
            x = m.mul(x, x);
            if (x == minus_one) composite = false;
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
