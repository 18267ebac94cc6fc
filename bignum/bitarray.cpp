// Bit-array records: construction, release, housekeeping, bit and word access,
// bit reversal, value tests and the cutting and joining of bit ranges.
#include "bignum/bitarray.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "core/memory.hpp"

static_assert(sizeof(BitArray) == 24 && offsetof(BitArray, nwords) == 8 && offsetof(BitArray, words) == 16);
static_assert(sizeof(BitArrayDivision) == 24 && offsetof(BitArrayDivision, fraction) == 8 &&
              offsetof(BitArrayDivision, done) == 16);

namespace ostr::big {

void BitArrayDeleter::operator()(BitArray* a) const noexcept { release(a); }

BitArray* make(std::uint64_t bits) noexcept {
    // Beyond 2^40 bits (128 GiB of words) no allocation can succeed; asking
    // would only trouble allocators that treat such sizes as fatal.
    if (bits == 0 || bits > (std::uint64_t{1} << 40)) return nullptr;
    const std::uint64_t nwords = bits / 64 + (bits % 64 != 0);
    OwnedBlock<BitArray> a(static_cast<BitArray*>(mem_alloc(sizeof(BitArray))));
    if (!a) return nullptr;
    a->words = static_cast<std::uint64_t*>(mem_calloc(nwords, sizeof(std::uint64_t)));
    if (!a->words) return nullptr;
    a->bits = bits;
    a->nwords = nwords;
    return a.release();
}

void release(BitArray* a) noexcept {
    if (!a) return;
    mem_free(a->words);
    mem_free(a);
}

std::uint64_t used_words(const BitArray* a) noexcept {
    if (!a || !a->words) return 0;
    return std::min(a->nwords, a->bits / 64 + (a->bits % 64 != 0));
}

Nat to_nat(const BitArray* a) {
    const std::uint64_t n = used_words(a);
    Nat r(a ? a->words : nullptr, a ? a->words + n : nullptr);
    if (n && n * 64 > a->bits) r.back() &= (limb{1} << (a->bits % 64)) - 1;
    trim(r);
    return r;
}

BitArray* from_nat_bits(const Nat& n, std::uint64_t bits) noexcept {
    BitArray* a = make(bits);
    if (!a) return nullptr;
    if (!n.empty()) std::memcpy(a->words, n.data(), std::min<std::uint64_t>(n.size(), a->nwords) * sizeof(limb));
    CleanBitArray(a);
    return a;
}

BitArray* from_nat(const Nat& n) noexcept { return from_nat_bits(n, std::max<std::uint64_t>(1, bit_length(n))); }

namespace {

// 64 bits of a from bit pos upward, zero beyond the bit count.
limb read_bits(const BitArray* a, std::uint64_t pos) noexcept {
    if (!a || pos >= a->bits) return 0;
    const std::uint64_t w = pos / 64, s = pos % 64, n = used_words(a);
    limb v = w < n ? a->words[w] >> s : 0;
    if (s && w + 1 < n) v |= a->words[w + 1] << (64 - s);
    const std::uint64_t left = a->bits - pos;
    return left < 64 ? v & ((limb{1} << left) - 1) : v;
}

// Writes the low `count` (<= 64) bits of x at bit pos, clipped to the bit count.
void write_bits(BitArray* a, std::uint64_t pos, limb x, unsigned count) noexcept {
    if (!a || pos >= a->bits) return;
    count = static_cast<unsigned>(std::min<std::uint64_t>(count, a->bits - pos));
    const std::uint64_t n = used_words(a);
    for (unsigned i = 0; i < count; ++i) {
        const std::uint64_t p = pos + i;
        if (p / 64 >= n) return;
        const limb m = limb{1} << (p % 64);
        a->words[p / 64] = ((x >> i) & 1) ? a->words[p / 64] | m : a->words[p / 64] & ~m;
    }
}

bool is_zero_words(const BitArray* a) noexcept {
    const std::uint64_t n = used_words(a);
    for (std::uint64_t i = 0; i + 1 < n; ++i)
        if (a->words[i]) return false;
    return n == 0 || read_bits(a, 64 * (n - 1)) == 0;
}

}  // namespace

// Bit length of the value (0 for zero) within the bit count.
std::uint64_t value_bits(const BitArray* a) noexcept {
    for (std::uint64_t i = used_words(a); i-- > 0;) {
        const limb w = read_bits(a, 64 * i);
        if (w) return 64 * i + 64 - static_cast<std::uint64_t>(std::countl_zero(w));
    }
    return 0;
}

BitArray* reduce(BitArray** pa) noexcept {
    if (!pa || !*pa) return nullptr;
    BitArray* a = *pa;
    a->bits = std::max<std::uint64_t>(1, value_bits(a));
    CleanBitArray(a);
    const std::uint64_t need = (a->bits + 63) / 64;
    if (need < a->nwords) {
        if (auto* w = static_cast<std::uint64_t*>(mem_realloc(a->words, need * sizeof(limb)))) {
            a->words = w;
            a->nwords = need;
        }
    }
    return a;
}

void clean(BitArray* a) noexcept {
    if (!a || !a->words) return;
    std::uint64_t i = a->bits / 64;  // words wholly below the bit count
    if (i >= a->nwords) return;
    if (a->bits % 64) {
        a->words[i] &= (limb{1} << (a->bits % 64)) - 1;
        ++i;
    }
    std::fill(a->words + i, a->words + a->nwords, limb{0});
}

// Grows the storage to hold `bits` bits, new words cleared.
bool grow(BitArray* a, std::uint64_t bits) noexcept {
    if (bits > max_bits) return false;
    const std::uint64_t need = (bits + 63) / 64;
    if (need > a->nwords || !a->words) {
        auto* w = static_cast<std::uint64_t*>(mem_realloc(a->words, need * sizeof(limb)));
        if (!w) return false;
        const std::uint64_t old = a->words ? a->nwords : 0;
        std::memset(w + old, 0, (need - old) * sizeof(limb));
        a->words = w;
        a->nwords = need;
    }
    CleanBitArray(a);
    a->bits = bits;
    return true;
}

void shift_left_in_place(BitArray* a, std::uint64_t k) noexcept {
    const std::uint64_t n = used_words(a);
    if (k >= a->bits) {
        std::fill(a->words, a->words + n, limb{0});
        return;
    }
    const std::uint64_t ws = k / 64;
    const unsigned bs = k % 64;
    for (std::uint64_t i = n; i-- > ws;) {
        limb v = a->words[i - ws] << bs;
        if (bs && i > ws) v |= a->words[i - ws - 1] >> (64 - bs);
        a->words[i] = v;
    }
    std::fill(a->words, a->words + std::min(ws, n), limb{0});
    CleanBitArray(a);
}

void shift_right_in_place(BitArray* a, std::uint64_t k) noexcept {
    CleanBitArray(a);
    const std::uint64_t n = used_words(a);
    if (k >= a->bits) {
        std::fill(a->words, a->words + n, limb{0});
        return;
    }
    const std::uint64_t ws = k / 64;
    const unsigned bs = k % 64;
    for (std::uint64_t i = 0; i + ws < n; ++i) {
        limb v = a->words[i + ws] >> bs;
        if (bs && i + ws + 1 < n) v |= a->words[i + ws + 1] << (64 - bs);
        a->words[i] = v;
    }
    std::fill(a->words + (n - ws), a->words + n, limb{0});
}

void reverse_in_place(BitArray* a) noexcept {
    CleanBitArray(a);
    const std::uint64_t n = used_words(a);
    if (n == 0) return;
    // Reversing the word order and each word reverses 64n bits; the bit
    // count's padding then sits at the bottom and is shifted out.
    std::reverse(a->words, a->words + n);
    for (std::uint64_t i = 0; i < n; ++i) a->words[i] = ReverseUInt64Bits(a->words[i]);
    const std::uint64_t pad = 64 * n - std::min(a->bits, 64 * n);
    const std::uint64_t bits = a->bits;
    a->bits = 64 * n;
    shift_right_in_place(a, pad);
    a->bits = bits;
}

BitArray* copy(const BitArray* a) noexcept {
    if (!a || a->bits == 0) return nullptr;
    BitArray* r = make(a->bits);
    if (!r) return nullptr;
    if (used_words(a)) std::memcpy(r->words, a->words, used_words(a) * sizeof(limb));
    CleanBitArray(r);
    return r;
}

BitArray* crop(const BitArray* a, std::uint64_t pos, std::uint64_t k) noexcept {
    if (!a || k == 0) return nullptr;
    BitArray* r = make(k);
    if (!r) return nullptr;
    for (std::uint64_t i = 0; i < r->nwords; ++i)
        r->words[i] = pos + 64 * i >= pos ? read_bits(a, pos + 64 * i) : 0;
    CleanBitArray(r);
    return r;
}

}  // namespace ostr::big

using namespace ostr::big;

extern "C" {

BitArray* InitializeBitArray(std::uint64_t bits) noexcept { return make(bits); }

BitArray* InitializeBitArrayFromUInt64(std::uint64_t x) noexcept {
    BitArray* a = make(std::max<std::uint64_t>(1, 64 - static_cast<std::uint64_t>(std::countl_zero(x))));
    if (a) a->words[0] = x;
    return a;
}

BitArray* InitializeBitArrayFromByteArray(const std::uint8_t* bytes, std::uint64_t n) noexcept {
    if (!bytes || n == 0 || n > max_bits / 8) return nullptr;
    BitArray* a = make(8 * n);
    if (!a) return nullptr;
    for (std::uint64_t i = 0; i < n; ++i) a->words[i / 8] |= limb{bytes[i]} << (8 * (i % 8));
    return a;
}

BitArray* CopyBitArray(const BitArray* a) noexcept { return copy(a); }
void FreeBitArray(BitArray* a) noexcept { release(a); }
BitArray* ReduceBitArray(BitArray** a) noexcept { return reduce(a); }
void CleanBitArray(BitArray* a) noexcept { clean(a); }

void SetBit(BitArray* a, std::uint64_t pos) noexcept { write_bits(a, pos, 1, 1); }
void ClearBit(BitArray* a, std::uint64_t pos) noexcept { write_bits(a, pos, 0, 1); }
int GetBit(const BitArray* a, std::uint64_t pos) noexcept { return static_cast<int>(read_bits(a, pos) & 1); }

void SetAllBits(BitArray* a) noexcept {
    if (!a || !a->words) return;
    std::fill(a->words, a->words + used_words(a), ~limb{0});
    CleanBitArray(a);
}

void ClearAllBits(BitArray* a) noexcept {
    if (a && a->words) std::fill(a->words, a->words + a->nwords, limb{0});
}

void SetAllBitsSieve(BitArray* a) noexcept {
    SetAllBits(a);
    write_bits(a, 0, 0, 2);
}

void SetBitsFromChar(BitArray* a, std::uint8_t c, std::uint64_t byte_index) noexcept {
    if (byte_index < UINT64_MAX / 8) write_bits(a, 8 * byte_index, c, 8);
}
void SetBitsFromCharBitPos(BitArray* a, std::uint8_t c, std::uint64_t pos) noexcept { write_bits(a, pos, c, 8); }
void SetBitsFromUInt64(BitArray* a, std::uint64_t x, std::uint64_t word_index) noexcept {
    if (word_index < UINT64_MAX / 64) write_bits(a, 64 * word_index, x, 64);
}
std::uint32_t GetInt32(const BitArray* a, std::uint64_t index) noexcept {
    return index < UINT64_MAX / 32 ? static_cast<std::uint32_t>(read_bits(a, 32 * index)) : 0;
}
std::uint64_t GetInt64(const BitArray* a, std::uint64_t word_index) noexcept {
    return word_index < UINT64_MAX / 64 ? read_bits(a, 64 * word_index) : 0;
}
std::uint64_t GetInt64BitPos(const BitArray* a, std::uint64_t pos) noexcept { return read_bits(a, pos); }

std::uint8_t ReverseByteBits(std::uint8_t x) noexcept {
    return static_cast<std::uint8_t>(ReverseUInt64Bits(x) >> 56);
}
std::uint32_t ReverseUInt32Bits(std::uint32_t x) noexcept {
    return static_cast<std::uint32_t>(ReverseUInt64Bits(x) >> 32);
}
// Swaps ever larger neighbouring groups: bits, pairs, nibbles, then bytes.
std::uint64_t ReverseUInt64Bits(std::uint64_t x) noexcept {
    x = ((x >> 1) & 0x5555555555555555ull) | ((x & 0x5555555555555555ull) << 1);
    x = ((x >> 2) & 0x3333333333333333ull) | ((x & 0x3333333333333333ull) << 2);
    x = ((x >> 4) & 0x0F0F0F0F0F0F0F0Full) | ((x & 0x0F0F0F0F0F0F0F0Full) << 4);
    return __builtin_bswap64(x);
}
void ReverseBitArray(BitArray* a) noexcept {
    if (a && a->words) reverse_in_place(a);
}

int TestZeroBitArray(const BitArray* a) noexcept { return a && is_zero_words(a); }
int TestUnitBitArray(const BitArray* a) noexcept { return a && value_bits(a) == 1; }
int TestEqualBitArrays(const BitArray* a, const BitArray* b) noexcept {
    if (!a || !b) return 0;
    const std::uint64_t n = std::max(used_words(a), used_words(b));
    for (std::uint64_t i = 0; i < n; ++i)
        if (GetInt64(a, i) != GetInt64(b, i)) return 0;
    return 1;
}

BitArray* AddLeadingZeroBits(BitArray* a, std::uint64_t k) noexcept {
    if (!a || k > max_bits || a->bits > max_bits || !grow(a, a->bits + k)) return nullptr;
    return a;
}
BitArray* AddTrailingZeroBits(BitArray* a, std::uint64_t k) noexcept {
    if (!AddLeadingZeroBits(a, k)) return nullptr;
    shift_left_in_place(a, k);
    return a;
}
BitArray* ShiftBitsLeftAndResizeWithLeadingZeros(BitArray* a, std::uint64_t k) noexcept {
    return AddTrailingZeroBits(a, k);
}

std::uint64_t RemoveTrailingZeroBits(BitArray* a) noexcept {
    if (!a || is_zero_words(a)) return 0;
    std::uint64_t tz = 0;
    while (GetInt64(a, tz / 64) == 0) tz += 64;
    tz += static_cast<std::uint64_t>(std::countr_zero(GetInt64(a, tz / 64)));
    shift_right_in_place(a, tz);
    a->bits -= tz;
    return tz;
}

BitArray* TrimLowerZeroBits(const BitArray* a) noexcept {
    OwnedBits r(copy(a));
    if (!r) return nullptr;
    RemoveTrailingZeroBits(r.get());
    BitArray* p = r.release();
    return reduce(&p);
}

std::uint64_t CountLeadingZeroBits(const BitArray* a) noexcept { return a ? a->bits - value_bits(a) : 0; }
std::uint64_t GetLeadingZeroBits(const BitArray* a) noexcept {
    return a && a->words ? 64 * a->nwords - value_bits(a) : 0;
}

BitArray* CropBitArray(const BitArray* a, std::uint64_t pos, std::uint64_t k) noexcept { return crop(a, pos, k); }

BitArray* ConcatenateBitArrays(const BitArray* a, const BitArray* b) noexcept {
    if (!a || !b || a->bits + b->bits > max_bits) return nullptr;
    OwnedBits r(crop(b, 0, b->bits));
    if (!r || !AddTrailingZeroBits(r.get(), a->bits)) return nullptr;
    for (std::uint64_t i = 0; i < used_words(a); ++i) r->words[i] |= GetInt64(a, i);
    return r.release();
}

BitArray* LowerBits(const BitArray* a, std::uint64_t k) noexcept {
    if (!a || k == 0) return nullptr;
    return crop(a, 0, std::min(k, a->bits));
}

BitArray* HigherBits(const BitArray* a, std::uint64_t k) noexcept {
    if (!a || k == 0) return nullptr;
    k = std::min(k, a->bits);
    return crop(a, a->bits - k, k);
}

}
