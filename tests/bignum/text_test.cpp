// Text forms of bit arrays against GMP's own conversions, the fractional
// forms against exact rational arithmetic, and the table of stated cases.
#include <gtest/gtest.h>

#include <cstring>

#include "oracle.hpp"

namespace ostr::test {
namespace {

using big::OwnedBits;

struct OwnedString {
    char* s;
    explicit OwnedString(char* p) : s(p) {}
    ~OwnedString() { FreeString(s); }
    std::string str() const { return s ? s : "<null>"; }
};

// Both thresholds settings: the divide-and-conquer conversion runs its
// splits on small operands when lowered. Powers of ten and their neighbours,
// the digit strings 1000...0 and 999...9, sit exactly on its split points.
TEST(Text, DecimalAndHexMatchGmpBothWays) {
    Operands ops(21);
    std::vector<Mpz> tens;
    for (unsigned long e : {18ul, 19ul, 38ul, 76ul, 152ul, 300ul, 1216ul})
        for (long d : {-1, 0, 1}) {
            Mpz p;
            mpz_ui_pow_ui(p, 10, e);
            d < 0 ? mpz_sub_ui(p, p, 1) : mpz_add_ui(p, p, static_cast<unsigned long>(d));
            tens.push_back(p);
        }
    for (bool low : {false, true}) {
        LowThresholds lowered;
        if (!low) big::tuning = lowered.saved;
        std::vector<Mpz> operands = tens;
        for (std::uint64_t b : size_ladder((low ? 30000 : 300000) / big_scale)) operands.push_back(ops.make(b));
        for (const Mpz& a : operands) {
            const std::uint64_t b = mpz_sizeinbase(a, 2);
            const auto ba = to_bits(a);
            const std::string dec = a.str(10);
            ASSERT_EQ(OwnedString(BitArrayToDecimalIntegerString(ba.get(), nullptr)).str(), dec) << b;
            OwnedBits back(DecimalIntegerStringToBitArray(dec.c_str(), nullptr));
            ASSERT_TRUE(same(back.get(), a)) << b;
            std::string hex = a.str(16);
            for (char& c : hex) c = static_cast<char>(std::toupper(c));
            ASSERT_EQ(OwnedString(BitArrayToHexadecimalIntegerString(ba.get())).str(), hex) << b;
            for (char& c : hex) c = static_cast<char>(std::tolower(c));
            OwnedBits hback(HexadecimalIntegerStringToBitArray(hex.c_str()));
            ASSERT_TRUE(same(hback.get(), a)) << b;
        }
    }
}

// Integer texts read: the value, or no record (want null). A zero reads as
// a reduced one-bit record and writes back as "0".
TEST(Text, StatedCases) {
    const struct {
        bool hex;
        const char* text;
        const char* want;
    } rows[] = {
        {false, "000", "0"},  {false, "", "0"},        {false, "000000000000000000000000000000000042", "42"},
        {false, "12a", nullptr}, {false, "-1", nullptr}, {false, nullptr, nullptr},
        {true, "", "0"},      {true, "12g4", nullptr}, {true, "g", nullptr},
    };
    for (const auto& r : rows) {
        OwnedBits got(r.hex ? HexadecimalIntegerStringToBitArray(r.text) : DecimalIntegerStringToBitArray(r.text, nullptr));
        EXPECT_TRUE(r.want ? same(got.get(), Mpz(r.want)) : !got) << (r.text ? r.text : "NULL");
    }
    OwnedBits zero(DecimalIntegerStringToBitArray("0", nullptr));
    EXPECT_EQ(OwnedString(BitArrayToDecimalIntegerString(zero.get(), nullptr)).str(), "0");
    // The hexadecimal text has ceil(bits/4) digits of the record as it stands.
    OwnedBits wide(InitializeBitArray(16));
    SetBitsFromUInt64(wide.get(), 255, 0);
    EXPECT_EQ(OwnedString(BitArrayToHexadecimalIntegerString(wide.get())).str(), "00FF");
}

TEST(Text, BitStrings) {
    OwnedBits a(BitStringToBitArray("0010110"));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->bits, 7u);
    EXPECT_EQ(GetInt64(a.get(), 0), 0b10110u);
    EXPECT_EQ(BitStringToBitArray("0120"), nullptr);
    char* buf = nullptr;
    std::size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    PrintBitArray(a.get(), f);
    std::fclose(f);
    EXPECT_STREQ(buf, "0010110\n");
    std::free(buf);
}

TEST(Text, DecimalFractionsAreExact) {
    Operands ops(22);
    for (std::uint64_t bits : size_ladder(4000 / big_scale)) {
        const Mpz a = ops.uniform(bits);
        OwnedBits fa(big::from_nat_bits(nat_of(a), bits + ops.below(3)));  // leading zeros kept
        const std::uint64_t k = fa->bits;
        // a / 2^k = a * 5^k / 10^k: k digits, trailing zeros dropped.
        Mpz scaled;
        mpz_ui_pow_ui(scaled, 5, k);
        mpz_mul(scaled, scaled, a);
        std::string want = scaled.str();
        want = std::string(k - want.size(), '0') + want;
        want.erase(want.find_last_not_of('0') + 1);
        const std::string got = OwnedString(BitArrayToDecimalFractionalString(fa.get(), nullptr)).str();
        ASSERT_EQ(got, want) << bits;
        // Reading the exact digits back at the same bit count is the identity.
        OwnedBits back(DecimalFractionalStringToBitArray(got.c_str(), k, nullptr));
        ASSERT_EQ(back->bits, k);
        ASSERT_EQ(mpz_cmp(from_bits(back.get()), a), 0) << bits;
    }
    // Rounding down: 0.1 in 8 bits is floor(25.6) = 25.
    OwnedBits tenth(DecimalFractionalStringToBitArray("1", 8, nullptr));
    EXPECT_EQ(GetInt64(tenth.get(), 0), 25u);
    EXPECT_EQ(DecimalFractionalStringToBitArray("1", 0, nullptr), nullptr);
    OwnedBits half(BitStringToBitArray("1000"));
    EXPECT_EQ(OwnedString(BitArrayToDecimalFractionalString(half.get(), nullptr)).str(), "5");
    EXPECT_EQ(OwnedString(BitArrayToDecimalFractionalString(OwnedBits(InitializeBitArray(9)).get(), nullptr)).str(), "0");
}

TEST(Text, HexadecimalFractions) {
    OwnedBits f(HexadecimalFractionalStringToBitArray("08a0"));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->bits, 16u);
    EXPECT_EQ(GetInt64(f.get(), 0), 0x08A0u);
    EXPECT_EQ(OwnedString(BitArrayToHexadecimalFractionalString(f.get())).str(), "08A");
    // 0.101b = 0.A; a bit count that is not a multiple of four is padded on the right.
    EXPECT_EQ(OwnedString(BitArrayToHexadecimalFractionalString(OwnedBits(BitStringToBitArray("101")).get())).str(), "A");
    EXPECT_EQ(OwnedString(BitArrayToHexadecimalFractionalString(OwnedBits(BitStringToBitArray("10111")).get())).str(), "B8");
    EXPECT_EQ(HexadecimalFractionalStringToBitArray("0x1"), nullptr);
    Operands ops(23);
    for (int i = 0; i < 200; ++i) {
        const std::uint64_t bits = 4 * (1 + ops.below(300));
        OwnedBits a(big::from_nat_bits(nat_of(ops.uniform(bits)), bits));
        // The decimal and hexadecimal forms of one fraction agree.
        const std::string hex = OwnedString(BitArrayToHexadecimalFractionalString(a.get())).str();
        OwnedBits back(HexadecimalFractionalStringToBitArray(hex.c_str()));
        OwnedBits aligned(CopyBitArray(back.get()));
        AddTrailingZeroBits(aligned.get(), bits - back->bits);
        ASSERT_TRUE(TestEqualBitArrays(aligned.get(), a.get())) << hex;
        ASSERT_EQ(OwnedString(BitArrayToDecimalFractionalString(a.get(), nullptr)).str(),
                  OwnedString(BitArrayToDecimalFractionalString(back.get(), nullptr)).str());
    }
}

TEST(Text, TenAndPowersOfTen) {
    Operands ops(24);
    for (std::uint64_t b : size_ladder(3000)) {
        const Mpz a = ops.make(b);
        const auto ba = to_bits(a);
        Mpz q, want;
        const unsigned long r = mpz_fdiv_q_ui(q, a, 10);
        std::uint8_t rem = 99;
        OwnedBits d(DivideBitArrayBy10(ba.get(), &rem));
        ASSERT_TRUE(same(d.get(), q));
        ASSERT_EQ(rem, r);
        OwnedBits in_place(CopyBitArray(ba.get()));
        ASSERT_EQ(IntDivideBitArrayBy10(in_place.get()), static_cast<int>(r));
        ASSERT_EQ(mpz_cmp(from_bits(in_place.get()), q), 0);
        mpz_mul_ui(want, a, 10);
        ASSERT_TRUE(same(OwnedBits(MultiplyBitArrayBy10(ba.get())).get(), want));
        const unsigned long n = ops.below(b + 5);
        mpz_ui_pow_ui(want, 10, n);
        mpz_fdiv_q(want, a, want);
        ASSERT_TRUE(same(OwnedBits(DivideBitArrayByPowerOf10(ba.get(), n, nullptr)).get(), want)) << b << " " << n;
    }
    BitArray** table = GetPowerOf10BitArrays(6, nullptr);
    ASSERT_TRUE(table);
    for (int i = 0; i < 6; ++i) {
        Mpz want;
        mpz_ui_pow_ui(want, 10, 1ul << i);
        EXPECT_TRUE(same(table[i], want));
        FreeBitArray(table[i]);
    }
    EXPECT_EQ(table[6], nullptr);
    FreeBlock(table);
}

TEST(Text, DecimalDoublingAndHalving) {
    const char* rows[][3] = {{"0", "0", "0"}, {"", "0", "0"}, {"1", "2", "0"}, {"007", "14", "3"},
                             {"99999999999999999999", "199999999999999999998", "49999999999999999999"},
                             {"10", "20", "5"}};
    for (auto& r : rows) {
        EXPECT_EQ(OwnedString(MultiplyBy2(r[0])).str(), r[1]) << r[0];
        EXPECT_EQ(OwnedString(DivideBy2(r[0])).str(), r[2]) << r[0];
    }
    EXPECT_EQ(DivideBy2("1x"), nullptr);
    EXPECT_EQ(MultiplyBy2(nullptr), nullptr);
}

}  // namespace
}  // namespace ostr::test
