// Sums, differences, logic and shifts of bit-array records, and the doubling
// and halving of decimal digit texts.
#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "bignum/bitarray.hpp"
#include "core/memory.hpp"

namespace ostr::big {
namespace {

enum class Op { And, Or, Xor };

BitArray* logic(const BitArray* a, const BitArray* b, Op op) noexcept {
    if (!a || !b) return nullptr;
    const std::uint64_t n = std::max(used_words(a), used_words(b));
    BitArray* r = make(std::max<std::uint64_t>(1, 64 * n));
    if (!r) return nullptr;
    for (std::uint64_t i = 0; i < n; ++i) {
        const limb x = GetInt64(a, i), y = GetInt64(b, i);
        r->words[i] = op == Op::And ? x & y : op == Op::Or ? x | y : x ^ y;
    }
    return reduce(&r);
}

// |a - b| with the sign in *borrow, in a record of `bits` bits (0: reduced).
BitArray* difference(const BitArray* a, const BitArray* b, std::uint8_t* borrow, bool keep) noexcept {
    if (!a || !b) return nullptr;
    return guarded([&]() -> BitArray* {
        const Nat x = to_nat(a), y = to_nat(b);
        const bool neg = cmp(x, y) < 0;
        if (borrow) *borrow = neg;
        const Nat d = neg ? sub(y, x) : sub(x, y);
        return keep ? from_nat_bits(d, std::max(a->bits, b->bits)) : from_nat(d);
    });
}

// Doubling or halving of a decimal digit text, carrying from the right or
// from the left; the result loses its leading zeros.
char* halve_or_double(const char* digits, bool twice) noexcept {
    if (!digits) return nullptr;
    const std::string_view s(digits);
    if (!std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; })) return nullptr;
    return guarded([&]() -> char* {
        Text out(s.size() + 1, '0');
        int carry = 0;
        if (twice) {
            for (std::size_t i = s.size(); i-- > 0;) {
                const int v = 2 * (s[i] - '0') + carry;
                out[i + 1] = static_cast<char>('0' + v % 10);
                carry = v / 10;
            }
            out[0] = static_cast<char>('0' + carry);
        } else {
            for (std::size_t i = 0; i < s.size(); ++i) {
                const int v = 10 * carry + (s[i] - '0');
                out[i + 1] = static_cast<char>('0' + v / 2);
                carry = v % 2;
            }
        }
        const std::size_t lead = std::min(out.find_first_not_of('0'), out.size() - 1);
        return dup_text(std::string_view(out).substr(lead));
    });
}

}  // namespace
}  // namespace ostr::big

using namespace ostr::big;

extern "C" {

BitArray* AddBitArrays(const BitArray* a, const BitArray* b) noexcept {
    if (!a || !b) return nullptr;
    return guarded([&] { return from_nat(add(to_nat(a), to_nat(b))); });
}

BitArray* SubtractBitArrays(const BitArray* a, const BitArray* b, std::uint8_t* borrow) noexcept {
    return difference(a, b, borrow, false);
}
BitArray* SubtractBitArraysNoReduce(const BitArray* a, const BitArray* b, std::uint8_t* borrow) noexcept {
    return difference(a, b, borrow, true);
}

BitArray* AddBits(BitArray* a, std::uint64_t x) noexcept {
    if (!a) return nullptr;
    const bool ok = guarded([&] {
        Nat v = add(to_nat(a), x ? Nat{x} : Nat{});
        const std::uint64_t len = bit_length(v);
        if (len > a->bits && !grow(a, len)) return false;
        clean(a);
        if (!v.empty()) std::memcpy(a->words, v.data(), v.size() * sizeof(limb));
        return true;
    });
    return ok ? a : nullptr;
}

int SubtractBits(BitArray* a, std::uint64_t x) noexcept {
    if (!a || !a->words) return -1;
    CleanBitArray(a);
    const std::uint64_t len = value_bits(a);
    if (len <= 64 && GetInt64(a, 0) < x) {
        // a < x: the difference x - a fits in one word.
        const limb d = x - GetInt64(a, 0);
        const std::uint64_t need = 64 - static_cast<std::uint64_t>(std::countl_zero(d));
        if (need > a->bits && !grow(a, need)) return -1;
        a->words[0] = d;
        return 1;
    }
    sub_1(a->words, used_words(a), x);
    return 0;
}

BitArray* NegateBitArray(const BitArray* a) noexcept {
    BitArray* r = copy(a);
    if (!r) return nullptr;
    // (2^bits - a) mod 2^bits = (~a + 1) within the bit count.
    const std::uint64_t n = used_words(r);
    for (std::uint64_t i = 0; i < n; ++i) r->words[i] = ~r->words[i];
    add_1(r->words, n, 1);
    CleanBitArray(r);
    return r;
}

BitArray* AndBitArrays(const BitArray* a, const BitArray* b) noexcept { return logic(a, b, Op::And); }
BitArray* OrBitArrays(const BitArray* a, const BitArray* b) noexcept { return logic(a, b, Op::Or); }
BitArray* XorBitArrays(const BitArray* a, const BitArray* b) noexcept { return logic(a, b, Op::Xor); }

void ShiftBitsLeft(BitArray* a, std::uint64_t k) noexcept {
    if (a && a->words) shift_left_in_place(a, k);
}
void ShiftBitsRight(BitArray* a, std::uint64_t k) noexcept {
    if (a && a->words) shift_right_in_place(a, k);
}

char* MultiplyBy2(const char* digits) noexcept { return halve_or_double(digits, true); }
char* DivideBy2(const char* digits) noexcept { return halve_or_double(digits, false); }

}
