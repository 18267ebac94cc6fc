// Decimal text of big floats, both ways. Text in: the digits become one
// integer N (the subquadratic radix code), and N·10^k is exact for k >= 0 or
// one correctly rounded division N / 10^-k. Text out: N = round(x·10^s) for
// the scale s that leaves `digits` digits, one division by a power of five.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "bignum/bitarray.hpp"
#include "bignum/float.hpp"

namespace ostr::big {
namespace {

// Decimal exponents beyond this are refused: 10^(10^9) has 3.3·10^9 bits,
// near the bound of every record.
constexpr std::int64_t max_decimal_exponent = 1'000'000'000;

struct Parsed {
    bool neg = false;
    Text digits;  // integer and fraction digits together
    std::int64_t scale = 0;  // value = digits · 10^scale
};

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

bool parse(std::string_view t, Parsed& p) {
    std::size_t i = 0;
    if (i < t.size() && (t[i] == '-' || t[i] == '+')) p.neg = t[i++] == '-';
    std::size_t int_digits = 0, frac_digits = 0;
    while (i < t.size() && is_digit(t[i])) p.digits += t[i++], ++int_digits;
    if (i < t.size() && t[i] == '.') {
        ++i;
        while (i < t.size() && is_digit(t[i])) p.digits += t[i++], ++frac_digits;
    }
    if (int_digits + frac_digits == 0) return false;
    std::int64_t ex = 0;
    if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
        ++i;
        bool eneg = false;
        if (i < t.size() && (t[i] == '-' || t[i] == '+')) eneg = t[i++] == '-';
        if (i == t.size()) return false;
        for (; i < t.size() && is_digit(t[i]); ++i) {
            ex = ex * 10 + (t[i] - '0');
            if (ex > max_decimal_exponent) throw Refused{};
        }
        if (eneg) ex = -ex;
    }
    if (i != t.size()) return false;
    p.scale = ex - static_cast<std::int64_t>(frac_digits);
    return true;
}

Nat pow5(std::uint64_t n, Stop& stop) {
    Nat p = pow_nat(Nat{5}, n, stop);
    check(stop);
    return p;
}

}  // namespace

bool from_text(std::string_view text, std::uint64_t bits, Float& out, Stop& stop, bool* exact) {
    Parsed p;
    if (exact) *exact = true;
    if (!parse(text, p)) return false;
    const std::size_t nz = p.digits.find_first_not_of('0');
    if (nz == std::string::npos) {
        out = Float{};
        return true;
    }
    if (p.digits.size() - nz > max_bits / 4) throw Refused{};
    Nat n;
    if (!from_decimal(p.digits.data() + nz, p.digits.size() - nz, n, stop)) throw Aborted{};
    check(stop);
    if (p.scale >= 0) {
        // N · 10^k = N · 5^k · 2^k, exact.
        const auto k = static_cast<std::uint64_t>(p.scale);
        if (bit_length(n) + k * 233 / 100 > max_bits) throw Refused{};
        Nat m = mul(n, pow5(k, stop), stop);
        check(stop);
        out = normalised(p.neg, std::move(m), p.scale);
        return true;
    }
    // N / 10^j = (N / 5^j) · 2^-j, the quotient with bits + 3 bits.
    const auto j = static_cast<std::uint64_t>(-p.scale);
    if (bits == 0) bits = 64;
    const Nat d = pow5(j, stop);
    const std::uint64_t ln = bit_length(n), ld = bit_length(d);
    const std::uint64_t s = bits + 3 + ld > ln ? bits + 3 + ld - ln : 0;
    if (ln + s > max_bits) throw Refused{};
    Nat q, r;
    div_qr(&q, &r, shl(n, s), d, stop);
    check(stop);
    trim(r), trim(q);
    if (exact) *exact = r.empty() && bit_length(q) - trailing_zeros(q) <= bits;
    out = rounded(p.neg, std::move(q), -static_cast<std::int64_t>(s + j), bits, !r.empty());
    return true;
}

Text integer_text(const Float& x, Stop& stop) {
    std::vector<char> digits;
    if (!to_decimal(integer_nat(x), digits, stop)) throw Aborted{};
    check(stop);
    Text s(x.neg ? "-" : "");
    s.append(digits.begin(), digits.end());
    wipe(digits.data(), digits.size());
    return s;
}

namespace {

// round(|x| · 10^s) to nearest, ties to even.
Nat scaled(const Float& x, std::int64_t s, Stop& stop) {
    Nat num = x.m, den{1};
    if (s >= 0)
        num = mul(num, pow5(static_cast<std::uint64_t>(s), stop), stop);
    else
        den = pow5(static_cast<std::uint64_t>(-s), stop);
    check(stop);
    const std::int64_t e = x.e + s;
    const std::uint64_t shift = static_cast<std::uint64_t>(e >= 0 ? e : -e);
    if (shift > max_bits) throw Refused{};
    if (e >= 0)
        num = shl(num, shift);
    else
        den = shl(den, shift);
    trim(num), trim(den);
    Nat q, r;
    div_qr(&q, &r, num, den, stop);
    check(stop);
    trim(r), trim(q);
    const int c = cmp(shl(r, 1), den);
    if (c > 0 || (c == 0 && !q.empty() && (q[0] & 1))) add_in(q, Nat{1});
    return q;
}

Text plain(const Text& d, std::int64_t k) {
    // d: significant digits (no trailing zeros), the first one at 10^k.
    Text s;
    if (k < 0) {
        s.append("0.");
        s.append(static_cast<std::size_t>(-k - 1), '0');
        s.append(d);
        return s;
    }
    const auto ip = static_cast<std::size_t>(k + 1);
    s.append(d, 0, std::min(ip, d.size()));
    if (d.size() <= ip) {
        s.append(ip - d.size(), '0');
    } else {
        s.push_back('.');
        s.append(d, ip, Text::npos);
    }
    return s;
}

}  // namespace

Text decimal_text(const Float& x, std::uint64_t digits, Stop& stop) {
    if (x.m.empty()) return "0";
    if (digits == 0) digits = 1;
    // |x| lies in [2^(t-1), 2^t): the decimal exponent k is floor((t-1)·log10 2)
    // or one more.
    const std::int64_t t = top(x);
    std::int64_t k = static_cast<std::int64_t>(std::floor(static_cast<double>(t - 1) * 0.30102999566398119521));
    std::vector<char> out;
    for (int attempt = 0;; ++attempt) {
        const Nat n = scaled(x, static_cast<std::int64_t>(digits) - 1 - k, stop);
        out.clear();
        if (!to_decimal(n, out, stop)) throw Aborted{};
        check(stop);
        if (out.size() <= digits || attempt == 2) break;
        // One digit too many: either k was one too low, or rounding carried
        // into a new digit (9.99… to 10.0…); both mean k + 1.
        ++k;
    }
    if (out.size() > digits) out.resize(digits);  // a carry: 1000…0
    while (out.size() > 1 && out.back() == '0') out.pop_back();
    const Text d(out.begin(), out.end());
    wipe(out.data(), out.size());
    Text s(x.neg ? "-" : "");
    if (k >= -6 && k < static_cast<std::int64_t>(digits)) {
        s.append(plain(d, k));
        return s;
    }
    s.push_back(d[0]);
    if (d.size() > 1) {
        s.push_back('.');
        s.append(d, 1, Text::npos);
    }
    s += k < 0 ? "e-" : "e+";
    char buf[24];
    const int n = std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(k < 0 ? -k : k));
    s.append(buf, static_cast<std::size_t>(n));
    return s;
}

}  // namespace ostr::big
