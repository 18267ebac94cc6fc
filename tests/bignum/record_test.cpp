// Records: construction, bit and word access, reduction, reversal, bit
// ranges, sums, differences, logic and shifts against GMP; absurd arguments;
// and allocation failure at every step of a few operations.
#include <gtest/gtest.h>

#include "oracle.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

using big::OwnedBits;

TEST(Record, Construction) {
    EXPECT_EQ(InitializeBitArray(0), nullptr);
    EXPECT_EQ(InitializeBitArray(~0ull), nullptr);
    OwnedBits a(InitializeBitArray(130));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->nwords, 3u);
    EXPECT_TRUE(TestZeroBitArray(a.get()));
    OwnedBits z(InitializeBitArrayFromUInt64(0)), x(InitializeBitArrayFromUInt64(0x8000000000000001ull));
    EXPECT_EQ(z->bits, 1u);
    EXPECT_EQ(x->bits, 64u);
    const std::uint8_t bytes[] = {0x01, 0x02, 0, 0, 0, 0, 0, 0, 0xFF, 0};
    OwnedBits b(InitializeBitArrayFromByteArray(bytes, 10));
    EXPECT_EQ(b->bits, 80u);
    EXPECT_EQ(GetInt64(b.get(), 0), 0x0201u);
    EXPECT_EQ(GetInt64(b.get(), 1), 0xFFu);
    EXPECT_EQ(InitializeBitArrayFromByteArray(bytes, 0), nullptr);
    EXPECT_EQ(InitializeBitArrayFromByteArray(nullptr, 3), nullptr);
    OwnedBits c(CopyBitArray(b.get()));
    EXPECT_EQ(c->bits, 80u);
    EXPECT_TRUE(TestEqualBitArrays(b.get(), c.get()));
    EXPECT_EQ(CopyBitArray(nullptr), nullptr);
    FreeBitArray(nullptr);
}

TEST(Record, ReduceAndClean) {
    BitArray* a = InitializeBitArray(300);
    a->words[4] = ~0ull << 44;  // bits 300..319, above the bit count: not part of the value
    a->words[1] = 5;
    EXPECT_EQ(ReduceBitArray(&a), a);
    EXPECT_EQ(a->bits, 67u);
    EXPECT_EQ(a->nwords, 2u);
    ClearAllBits(a);
    ReduceBitArray(&a);
    EXPECT_EQ(a->bits, 1u);
    EXPECT_EQ(a->nwords, 1u);
    FreeBitArray(a);
    EXPECT_EQ(ReduceBitArray(nullptr), nullptr);
    OwnedBits b(InitializeBitArray(70));
    b->words[1] = ~0ull;
    CleanBitArray(b.get());
    EXPECT_EQ(b->words[1], 0x3Fu);
}

TEST(Record, BitAndWordAccess) {
    OwnedBits a(InitializeBitArray(100));
    SetBit(a.get(), 0), SetBit(a.get(), 99), SetBit(a.get(), 100), SetBit(a.get(), ~0ull);
    EXPECT_EQ(GetBit(a.get(), 99), 1);
    EXPECT_EQ(GetBit(a.get(), 100), 0);
    EXPECT_EQ(GetBit(a.get(), ~0ull), 0);
    ClearBit(a.get(), 0);
    EXPECT_EQ(GetInt64(a.get(), 0), 0u);
    SetBitsFromChar(a.get(), 0xA5, 1);
    EXPECT_EQ(GetInt64(a.get(), 0), 0xA500u);
    SetBitsFromCharBitPos(a.get(), 0xFF, 96);  // only 4 of its bits fit
    EXPECT_EQ(GetInt64BitPos(a.get(), 96), 0xFu);
    SetBitsFromUInt64(a.get(), 0x123456789ull, 1);
    EXPECT_EQ(GetInt64(a.get(), 1), 0x123456789ull & 0xFFFFFFFFFull);
    EXPECT_EQ(GetInt32(a.get(), 2), 0x23456789u);
    EXPECT_EQ(GetInt64BitPos(a.get(), 8), (0x89ull << 56) | 0xA5u);
    EXPECT_EQ(GetInt64(a.get(), ~0ull), 0u);
    SetAllBits(a.get());
    EXPECT_EQ(GetInt64(a.get(), 1), 0xFFFFFFFFFull);
    SetAllBitsSieve(a.get());
    EXPECT_EQ(GetInt64(a.get(), 0), ~0ull << 2);
    EXPECT_EQ(CountLeadingZeroBits(a.get()), 0u);
    EXPECT_EQ(GetLeadingZeroBits(a.get()), 28u);
    ClearAllBits(a.get());
    EXPECT_EQ(CountLeadingZeroBits(a.get()), 100u);
    SetBit(nullptr, 3);
    EXPECT_EQ(GetBit(nullptr, 3), 0);
}

TEST(Record, Reversal) {
    EXPECT_EQ(ReverseByteBits(0x01), 0x80);
    EXPECT_EQ(ReverseByteBits(0x35), 0xAC);
    EXPECT_EQ(ReverseUInt32Bits(0x1), 0x80000000u);
    EXPECT_EQ(ReverseUInt64Bits(0x0123456789ABCDEFull), 0xF7B3D591E6A2C480ull);
    Operands ops(31);
    for (std::uint64_t bits : {1u, 7u, 63u, 64u, 65u, 130u, 1000u}) {
        OwnedBits a(big::from_nat_bits(nat_of(ops.uniform(bits)), bits + 3));
        OwnedBits r(CopyBitArray(a.get()));
        ReverseBitArray(r.get());
        for (std::uint64_t i = 0; i < a->bits; ++i)
            ASSERT_EQ(GetBit(r.get(), i), GetBit(a.get(), a->bits - 1 - i)) << bits << " " << i;
    }
}

TEST(Record, ZeroBitsAndRanges) {
    OwnedBits a(InitializeBitArrayFromUInt64(0b1011000));
    AddLeadingZeroBits(a.get(), 100);
    EXPECT_EQ(a->bits, 107u);
    EXPECT_EQ(CountLeadingZeroBits(a.get()), 100u);
    EXPECT_EQ(RemoveTrailingZeroBits(a.get()), 3u);
    EXPECT_EQ(a->bits, 104u);
    EXPECT_EQ(GetInt64(a.get(), 0), 0b1011u);
    AddTrailingZeroBits(a.get(), 70);
    EXPECT_EQ(GetInt64(a.get(), 1), 0b1011u << 6);
    OwnedBits odd(TrimLowerZeroBits(a.get()));
    EXPECT_EQ(odd->bits, 4u);
    EXPECT_EQ(AddLeadingZeroBits(a.get(), ~0ull), nullptr);  // refused, a unchanged
    EXPECT_EQ(a->bits, 174u);
    OwnedBits lo(LowerBits(a.get(), 72)), hi(HigherBits(a.get(), 104));
    EXPECT_EQ(lo->bits, 72u);
    EXPECT_EQ(GetInt64(lo.get(), 1), 0b1011u << 6 & 0xFF);
    EXPECT_EQ(hi->bits, 104u);
    EXPECT_EQ(GetInt64(hi.get(), 0), 0b1011u);
    EXPECT_EQ(LowerBits(a.get(), 0), nullptr);
    EXPECT_EQ(OwnedBits(HigherBits(a.get(), 500))->bits, 174u);
    OwnedBits crop(CropBitArray(a.get(), 68, 10));
    EXPECT_EQ(crop->bits, 10u);
    EXPECT_EQ(GetInt64(crop.get(), 0), 0b1011u << 2);
    OwnedBits far(CropBitArray(a.get(), ~0ull - 5, 64));
    EXPECT_TRUE(TestZeroBitArray(far.get()));
    OwnedBits x(BitStringToBitArray("0011")), y(BitStringToBitArray("101"));
    OwnedBits xy(ConcatenateBitArrays(x.get(), y.get()));
    EXPECT_EQ(xy->bits, 7u);
    EXPECT_EQ(GetInt64(xy.get(), 0), 0b1010011u);
}

TEST(Record, SumsDifferencesAndLogicMatchGmp) {
    Operands ops(32);
    for (std::uint64_t b : size_ladder(20000)) {
        const Mpz x = ops.make(b), y = ops.make(1 + ops.below(b + 130));
        const auto bx = to_bits(x), by = to_bits(y);
        Mpz want;
        mpz_add(want, x, y);
        ASSERT_TRUE(same(OwnedBits(AddBitArrays(bx.get(), by.get())).get(), want));
        std::uint8_t borrow = 9;
        mpz_sub(want, x, y);
        const bool neg = mpz_sgn(want.v) < 0;
        mpz_abs(want, want);
        ASSERT_TRUE(same(OwnedBits(SubtractBitArrays(bx.get(), by.get(), &borrow)).get(), want));
        ASSERT_EQ(borrow, neg);
        OwnedBits nr(SubtractBitArraysNoReduce(bx.get(), by.get(), &borrow));
        ASSERT_EQ(nr->bits, std::max(bx->bits, by->bits));
        ASSERT_EQ(mpz_cmp(from_bits(nr.get()), want), 0);
        mpz_and(want, x, y);
        ASSERT_TRUE(same(OwnedBits(AndBitArrays(bx.get(), by.get())).get(), want));
        mpz_ior(want, x, y);
        ASSERT_TRUE(same(OwnedBits(OrBitArrays(bx.get(), by.get())).get(), want));
        mpz_xor(want, x, y);
        ASSERT_TRUE(same(OwnedBits(XorBitArrays(bx.get(), by.get())).get(), want));
        // Two's complement within the bit count.
        Mpz mod;
        mpz_setbit(mod, bx->bits);
        mpz_sub(want, mod, x);
        mpz_fdiv_r_2exp(want, want, bx->bits);
        OwnedBits ng(NegateBitArray(bx.get()));
        ASSERT_EQ(ng->bits, bx->bits);
        ASSERT_EQ(mpz_cmp(from_bits(ng.get()), want), 0);
        // Word-sized in-place sums and differences.
        const std::uint64_t w = mpz_get_ui(ops.make(1 + ops.below(64)));
        OwnedBits acc(CopyBitArray(bx.get()));
        ASSERT_EQ(AddBits(acc.get(), w), acc.get());
        mpz_add_ui(want, x, w);
        ASSERT_EQ(mpz_cmp(from_bits(acc.get()), want), 0);
        ASSERT_EQ(SubtractBits(acc.get(), w), 0);
        ASSERT_EQ(mpz_cmp(from_bits(acc.get()), x), 0);
    }
    OwnedBits small(InitializeBitArrayFromUInt64(5));
    EXPECT_EQ(SubtractBits(small.get(), 100), 1);
    EXPECT_EQ(GetInt64(small.get(), 0), 95u);
}

TEST(Record, ShiftsMatchGmp) {
    Operands ops(33);
    for (std::uint64_t b : size_ladder(5000)) {
        const Mpz x = ops.make(b);
        const std::uint64_t k = ops.below(b + 70);
        Mpz want;
        OwnedBits l(to_bits(x).release());
        ShiftBitsLeft(l.get(), k);
        mpz_mul_2exp(want, x, k);
        mpz_fdiv_r_2exp(want, want, b);
        ASSERT_EQ(mpz_cmp(from_bits(l.get()), want), 0) << b << " << " << k;
        OwnedBits r(to_bits(x).release());
        ShiftBitsRight(r.get(), k);
        mpz_fdiv_q_2exp(want, x, k);
        ASSERT_EQ(mpz_cmp(from_bits(r.get()), want), 0) << b << " >> " << k;
        OwnedBits g(to_bits(x).release());
        ASSERT_TRUE(ShiftBitsLeftAndResizeWithLeadingZeros(g.get(), k));
        mpz_mul_2exp(want, x, k);
        ASSERT_EQ(g->bits, b + k);
        ASSERT_EQ(mpz_cmp(from_bits(g.get()), want), 0);
    }
    OwnedBits a(InitializeBitArrayFromUInt64(12345));
    ShiftBitsLeft(a.get(), ~0ull);
    EXPECT_TRUE(TestZeroBitArray(a.get()));
    EXPECT_EQ(ShiftBitsLeftAndResizeWithLeadingZeros(a.get(), 1ull << 62), nullptr);
}

TEST(Record, ValueTests) {
    OwnedBits one(InitializeBitArray(200)), two(InitializeBitArrayFromUInt64(1));
    SetBit(one.get(), 0);
    EXPECT_TRUE(TestUnitBitArray(one.get()));
    EXPECT_TRUE(TestEqualBitArrays(one.get(), two.get()));
    SetBit(one.get(), 130);
    EXPECT_FALSE(TestUnitBitArray(one.get()));
    EXPECT_FALSE(TestEqualBitArrays(one.get(), two.get()));
    EXPECT_FALSE(TestZeroBitArray(nullptr));
    EXPECT_FALSE(TestEqualBitArrays(nullptr, nullptr));
}

// Every allocation of these operations fails in turn: each gives no result
// (or leaves its record as it was) and nothing stays allocated.
TEST(Record, AllocationFailureLeavesNothingBehind) {
    LowThresholds low;
    OwnedBits a(DecimalIntegerStringToBitArray("123456789012345678901234567890123456789", nullptr));
    OwnedBits b(DecimalIntegerStringToBitArray("98765432109876543", nullptr));
    for (long n = 0; n < 40; ++n) {
        CountingAlloc counter;
        counter.fail_after(n);
        FreeBitArray(MultiplyBitArrays(a.get(), b.get(), nullptr));
        BitArrayDivision d = DivideBitArrays(a.get(), b.get(), 40, nullptr);
        EXPECT_EQ(d.integer == nullptr, d.fraction == nullptr);
        FreeBitArray(d.integer);
        FreeBitArray(d.fraction);
        FreeString(BitArrayToDecimalIntegerString(a.get(), nullptr));
        FreeBitArray(ConcatenateBitArrays(a.get(), b.get()));
        BitArray** t = GetPowerOf10BitArrays(3, nullptr);
        if (t)
            for (int i = 0; i < 3; ++i) FreeBitArray(t[i]);
        FreeBlock(t);
        counter.fail_after(-1);
        EXPECT_EQ(counter.live(), 0) << n;
    }
}

}  // namespace
}  // namespace ostr::test
