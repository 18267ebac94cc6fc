// Decimal text of word arrays, both ways, by divide and conquer over powers
// of ten: a split at 10^e costs one product or division of the operand's
// size, so a conversion costs O(M(n) log n) instead of the O(n^2) of one
// digit (or one word of digits) at a time. Powers, 10^e = 5^e * 2^e, are
// kept as powers of five: the factor 2^e is a shift, and 5^e is 30% shorter.
#include <bit>
#include <cstring>

#include "bignum/nat.hpp"

namespace ostr::big {
namespace {

constexpr limb ten19 = 10000000000000000000ull;
constexpr std::uint64_t chunk_digits = 19;

// Split points e_j = 19 * 2^j digits with 5^(e_j); built by squaring.
struct Powers {
    std::vector<Nat> five;
    std::vector<std::uint64_t> exp;
    // Reciprocals of the powers, made on first use: every split at one level
    // divides by the same power, so the Newton iteration runs once per level.
    std::vector<Divisor> div;

    const Divisor& divisor(std::size_t j, Stop& stop) {
        if (div.size() < five.size()) div.resize(five.size());
        if (div[j].b.empty()) {
            // Quotients at level j stay below 10^(e_j), about 3.33 e_j bits.
            const std::uint64_t m = exp[j] * 3322 / 1000 + 1 + 64;
            div[j] = make_divisor(five[j], m, stop);
        }
        return div[j];
    }

    bool build(std::uint64_t digits, Stop& stop) {
        Nat f{19073486328125ull};  // 5^19
        std::uint64_t e = chunk_digits;
        while (e < digits) {
            five.push_back(f);
            exp.push_back(e);
            if (stop.check()) return false;
            f = sqr(f, stop);
            e *= 2;
        }
        return true;
    }
    // The largest split below a width of `digits` (at least one exists
    // whenever a recursive step is taken).
    std::size_t pick(std::uint64_t digits) const {
        std::size_t j = 0;
        while (j + 1 < exp.size() && exp[j + 1] < digits) ++j;
        return j;
    }
};

// Writes exactly `width` digits of a (a < 10^width) into out[0..width).
void write_small(Nat a, char* out, std::uint64_t width) {
    char* p = out + width;
    while (!a.empty() && p > out) {
        limb rem = divrem_1(a.data(), a.data(), a.size(), ten19);
        trim(a);
        for (std::uint64_t i = 0; i < chunk_digits && p > out; ++i) {
            *--p = static_cast<char>('0' + rem % 10);
            rem /= 10;
        }
    }
    std::memset(out, '0', static_cast<std::size_t>(p - out));
}

bool write_digits(const Nat& a, char* out, std::uint64_t width, Powers& pw, Stop& stop) {
    if (a.size() <= tuning.radix_base) {
        write_small(a, out, width);
        return true;
    }
    if (stop.check()) return false;
    // a = q*10^e + r with q = floor((a >> e) / 5^e), r = (r5 << e) + (a mod 2^e).
    const std::size_t j = pw.pick(width);
    const std::uint64_t e = pw.exp[j];
    Nat q, r5;
    const Nat top = shr(a, e);
    if (top.size() < tuning.div_newton || pw.five[j].size() < tuning.div_newton)
        div_qr(&q, &r5, top, pw.five[j], stop);
    else
        div_qr_pre(&q, &r5, top, pw.divisor(j, stop), stop);
    if (stop.check()) return false;
    Nat r = shl(r5, e);
    add_in(r, low_bits(a, e));
    return write_digits(q, out, width - e, pw, stop) && write_digits(r, out + width - e, e, pw, stop);
}

limb parse_chunk(const char* s, std::size_t n) {
    limb v = 0;
    for (std::size_t i = 0; i < n; ++i) v = v * 10 + static_cast<limb>(s[i] - '0');
    return v;
}

Nat read_small(const char* s, std::size_t n) {
    Nat acc;
    std::size_t first = n % chunk_digits;
    if (first) acc = Nat{parse_chunk(s, first)};
    for (std::size_t i = first; i < n; i += chunk_digits) mul_small_in(acc, ten19, parse_chunk(s + i, chunk_digits));
    trim(acc);
    return acc;
}

bool read_digits(const char* s, std::size_t n, const Powers& pw, Nat& out, Stop& stop) {
    if (n <= chunk_digits * tuning.radix_base) {
        out = read_small(s, n);
        return true;
    }
    if (stop.check()) return false;
    const std::size_t j = pw.pick(n);
    const std::uint64_t e = pw.exp[j];
    Nat hi, lo;
    if (!read_digits(s, n - e, pw, hi, stop) || !read_digits(s + n - e, e, pw, lo, stop)) return false;
    out = shl(mul(hi, pw.five[j], stop), e);
    add_in(out, lo);
    return !stop.check();
}

}  // namespace

bool to_decimal(const Nat& a, std::vector<char>& out, Stop& stop) {
    // Digits needed: at most floor(bits * log10(2)) + 1; 0.30103 is above log10(2).
    const std::uint64_t width = bit_length(a) * 30103 / 100000 + 1;
    Powers pw;
    if (a.size() > tuning.radix_base && !pw.build(width, stop)) return false;
    out.assign(width, '0');
    if (!write_digits(a, out.data(), width, pw, stop)) return false;
    std::size_t lead = 0;
    while (lead + 1 < out.size() && out[lead] == '0') ++lead;
    out.erase(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(lead));
    return true;
}

bool from_decimal(const char* digits, std::size_t n, Nat& out, Stop& stop) {
    Powers pw;
    if (n > chunk_digits * tuning.radix_base && !pw.build(n, stop)) return false;
    return read_digits(digits, n, pw, out, stop);
}

Nat pow_nat(const Nat& a, std::uint64_t e, Stop& stop) {
    if (e == 0) return Nat{1};
    if (a.empty()) return {};
    // a = odd * 2^t: the power of two becomes one shift at the end.
    const std::uint64_t t = trailing_zeros(a);
    const Nat base = shr(a, t);
    Nat r = base;
    for (int i = 62 - std::countl_zero(e); i >= 0 && !stop.check(); --i) {
        r = sqr(r, stop);
        if (!((e >> i) & 1)) continue;
        if (base.size() == 1)
            mul_small_in(r, base[0]);
        else
            r = mul(r, base, stop);
    }
    return shl(r, t * e);
}

Nat pow10(std::uint64_t n, Stop& stop) { return shl(pow_nat(Nat{5}, n, stop), n); }

}  // namespace ostr::big
