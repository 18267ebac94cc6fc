// Text forms of bit arrays: decimal and hexadecimal integers and fractions,
// bit strings, and the multiply/divide-by-ten family.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "bignum/bitarray.hpp"
#include "core/memory.hpp"

namespace ostr::big {
namespace {

bool all_of_set(std::string_view s, std::string_view set) {
    return s.find_first_not_of(set) == std::string_view::npos;
}
constexpr std::string_view decimal_digits = "0123456789";
constexpr std::string_view hex_digits = "0123456789ABCDEFabcdef";
constexpr char hex_upper[] = "0123456789ABCDEF";

int hex_value(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

// The digits of a wiped working buffer as a new caller-owned text.
char* hand_out(const std::vector<char, WipingAllocator<char>>& v) {
    return dup_text(std::string_view(v.data(), v.size()));
}

using Digits = std::vector<char, WipingAllocator<char>>;

bool decimal_of(const Nat& a, Digits& out, Stop& stop) {
    std::vector<char> tmp;
    const bool ok = to_decimal(a, tmp, stop);
    out.assign(tmp.begin(), tmp.end());
    wipe(tmp.data(), tmp.capacity());
    return ok;
}

BitArray* from_decimal_text(const char* text, const char* abort) {
    const std::string_view s(text);
    if (!all_of_set(s, decimal_digits)) return nullptr;
    const std::size_t lead = std::min(s.find_first_not_of('0'), s.size());
    Stop stop{abort};
    Nat v;
    if (stop.check() || !from_decimal(s.data() + lead, s.size() - lead, v, stop) || stop.check()) return nullptr;
    return from_nat(v);
}

char* to_decimal_text(const BitArray* a, const char* abort) {
    Stop stop{abort};
    Digits d;
    if (stop.check() || !decimal_of(to_nat(a), d, stop) || stop.check()) return nullptr;
    return hand_out(d);
}

// floor(N * 2^bits / 10^D) for the D digits N; 10^D = 5^D * 2^D.
BitArray* decimal_fraction(const char* digits, std::uint64_t bits, const char* abort) {
    const std::string_view s(digits);
    if (bits == 0 || bits > max_bits || !all_of_set(s, decimal_digits)) return nullptr;
    Stop stop{abort};
    Nat n;
    if (stop.check() || !from_decimal(s.data(), s.size(), n, stop)) return nullptr;
    const std::uint64_t d = s.size();
    const Nat scaled = bits >= d ? shl(n, bits - d) : shr(n, d - bits);
    Nat q;
    div_qr(&q, nullptr, scaled, pow_nat(Nat{5}, d, stop), stop);
    return stop.check() ? nullptr : from_nat_bits(q, bits);
}

// a / 2^b = a * 5^b / 10^b: the b digits of a * 5^b, zero-padded on the left.
char* decimal_fraction_text(const BitArray* a, const char* abort) {
    Stop stop{abort};
    const Nat v = to_nat(a);
    if (v.empty()) return stop.check() ? nullptr : dup_text("0");
    if (a->bits > max_bits / 3) return nullptr;
    Digits d;
    if (!decimal_of(mul(v, pow_nat(Nat{5}, a->bits, stop), stop), d, stop) || stop.check()) return nullptr;
    Digits out(a->bits - d.size(), '0');
    out.insert(out.end(), d.begin(), d.end());
    while (out.size() > 1 && out.back() == '0') out.pop_back();
    return hand_out(out);
}

BitArray* hex_to_bits(std::string_view s, bool keep_length) {
    if (!all_of_set(s, hex_digits) || s.size() > max_bits / 4) return nullptr;
    if (s.empty()) return make(1);
    OwnedBits r(make(4 * s.size()));
    if (!r) return nullptr;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const std::uint64_t pos = 4 * (s.size() - 1 - i);
        r->words[pos / 64] |= static_cast<limb>(hex_value(s[i])) << (pos % 64);
    }
    BitArray* p = r.release();
    return keep_length ? p : reduce(&p);
}

// ceil(bits/4) upper-case digits of the low `bits` bits of a, top first.
Digits hex_of(const BitArray* a, std::uint64_t bits, std::uint64_t pad) {
    const std::uint64_t n = (bits + 3) / 4;
    Digits out(n);
    for (std::uint64_t i = 0; i < n; ++i) {
        // Digit i from the right covers bits 4i-pad .. 4i+3-pad of a.
        const std::uint64_t lo = 4 * i;
        limb v = lo >= pad ? GetInt64BitPos(a, lo - pad) : GetInt64BitPos(a, 0) << (pad - lo);
        out[n - 1 - i] = hex_upper[v & 15];
    }
    return out;
}

BitArray* ten_times(const BitArray* a) {
    Nat v = to_nat(a);
    mul_small_in(v, 10);
    return from_nat(v);
}

}  // namespace
}  // namespace ostr::big

using namespace ostr::big;

extern "C" {

BitArray* DecimalIntegerStringToBitArray(const char* text, const char* abort) noexcept {
    return text ? guarded([&] { return from_decimal_text(text, abort); }) : nullptr;
}

char* BitArrayToDecimalIntegerString(const BitArray* a, const char* abort) noexcept {
    return a ? guarded([&] { return to_decimal_text(a, abort); }) : nullptr;
}

BitArray* DecimalFractionalStringToBitArray(const char* digits, std::uint64_t bits, const char* abort) noexcept {
    return digits ? guarded([&] { return decimal_fraction(digits, bits, abort); }) : nullptr;
}

char* BitArrayToDecimalFractionalString(const BitArray* a, const char* abort) noexcept {
    return a ? guarded([&] { return decimal_fraction_text(a, abort); }) : nullptr;
}

BitArray** GetPowerOf10BitArrays(std::uint64_t count, const char* abort) noexcept {
    if (count == 0 || count > 40) return nullptr;
    auto** table = static_cast<BitArray**>(ostr::mem_calloc(count + 1, sizeof(BitArray*)));
    if (!table) return nullptr;
    Stop stop{abort};
    const bool ok = guarded([&] {
        Nat p{10};
        for (std::uint64_t i = 0; i < count && !stop.check(); ++i) {
            if (i) p = sqr(p, stop);
            if (bit_length(p) > max_bits || stop.check() || !(table[i] = from_nat(p))) return false;
        }
        return !stop.check();
    });
    if (ok) return table;
    for (std::uint64_t i = 0; i < count; ++i) release(table[i]);
    ostr::mem_free(table);
    return nullptr;
}

BitArray* MultiplyBitArrayBy10(const BitArray* a) noexcept {
    return a ? guarded([&] { return ten_times(a); }) : nullptr;
}

BitArray* DivideBitArrayBy10(const BitArray* a, std::uint8_t* remainder) noexcept {
    if (!a) return nullptr;
    return guarded([&] {
        Nat v = to_nat(a);
        const limb r = divrem_1(v.data(), v.data(), v.size(), 10);
        if (remainder) *remainder = static_cast<std::uint8_t>(r);
        trim(v);
        return from_nat(v);
    });
}

int IntDivideBitArrayBy10(BitArray* a) noexcept {
    if (!a || !a->words) return -1;
    CleanBitArray(a);
    return static_cast<int>(divrem_1(a->words, a->words, used_words(a), 10));
}

BitArray* DivideBitArrayByPowerOf10(const BitArray* a, std::uint64_t n, const char* abort) noexcept {
    if (!a) return nullptr;
    return guarded([&]() -> BitArray* {
        Stop stop{abort};
        const Nat v = to_nat(a);
        // 10^n > a once n exceeds the digit count of a.
        if (n > bit_length(v)) return stop.check() ? nullptr : from_nat(Nat{});
        Nat q;
        div_qr(&q, nullptr, shr(v, n), pow_nat(Nat{5}, n, stop), stop);
        return stop.check() ? nullptr : from_nat(q);
    });
}

BitArray* HexadecimalIntegerStringToBitArray(const char* text) noexcept {
    return text ? hex_to_bits(text, false) : nullptr;
}

char* BitArrayToHexadecimalIntegerString(const BitArray* a) noexcept {
    if (!a) return nullptr;
    if (TestZeroBitArray(a)) return ostr::dup_text("0");
    return guarded([&] { return hand_out(hex_of(a, a->bits, 0)); });
}

BitArray* HexadecimalFractionalStringToBitArray(const char* text) noexcept {
    return text ? hex_to_bits(text, true) : nullptr;
}

char* BitArrayToHexadecimalFractionalString(const BitArray* a) noexcept {
    if (!a) return nullptr;
    if (TestZeroBitArray(a)) return ostr::dup_text("0");
    return guarded([&] {
        // Padding the fraction on the right to whole digits keeps its value.
        Digits d = hex_of(a, a->bits, (4 - a->bits % 4) % 4);
        while (d.size() > 1 && d.back() == '0') d.pop_back();
        return hand_out(d);
    });
}

BitArray* BitStringToBitArray(const char* text) noexcept {
    if (!text) return nullptr;
    const std::string_view s(text);
    if (!all_of_set(s, "01") || s.size() > max_bits) return nullptr;
    BitArray* r = make(std::max<std::size_t>(1, s.size()));
    for (std::size_t i = 0; r && i < s.size(); ++i)
        if (s[i] == '1') SetBit(r, s.size() - 1 - i);
    return r;
}

void PrintBitArray(const BitArray* a, FILE* stream) noexcept {
    if (!stream) stream = stdout;
    for (std::uint64_t i = a ? a->bits : 0; i-- > 0;) std::fputc('0' + GetBit(a, i), stream);
    std::fputc('\n', stream);
}

}
