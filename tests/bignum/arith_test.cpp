// Products, quotients, roots, powers and factorials through the C face,
// against GMP; the records' own rules (shifts, fractions, absent parts); and
// the abort byte, set before and during long operations.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "oracle.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

using big::OwnedBits;

struct Parts {
    BitArrayDivision d;
    explicit Parts(BitArrayDivision x) : d(x) {}
    ~Parts() {
        FreeBitArray(d.integer);
        FreeBitArray(d.fraction);
    }
};

OwnedBits u64(std::uint64_t x) { return OwnedBits(InitializeBitArrayFromUInt64(x)); }

// 40 + 30 bits is past one word and takes the split; 31 + 31 fits one
// machine product; 64 summed bits still fit one word.
TEST(Arith, ProductsAtTheWordBoundary) {
    const std::pair<std::uint64_t, std::uint64_t> cases[] = {
        {(1ull << 40) - 1, (1ull << 30) - 1}, {(1ull << 31) - 1, (1ull << 31) - 1},
        {(1ull << 32) - 1, (1ull << 32) - 1}, {~0ull, ~0ull}, {0, ~0ull}, {1, 12345}};
    for (auto [x, y] : cases) {
        OwnedBits p(MultiplyBitArrays(u64(x).get(), u64(y).get(), nullptr));
        Mpz want;
        mpz_set_ui(want, x);
        mpz_mul_ui(want, want, y);
        EXPECT_TRUE(same(p.get(), want)) << x << " * " << y;
    }
    EXPECT_EQ(MultiplyBitArrays(nullptr, u64(3).get(), nullptr), nullptr);
}

TEST(Arith, KaratsubaOnWordsWrapsModulo64Bits) {
    Operands ops(12);
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t x = mpz_get_ui(ops.uniform(1 + ops.below(64)));
        const std::uint64_t y = mpz_get_ui(ops.uniform(1 + ops.below(64)));
        ASSERT_EQ(KaratsubaMultiply(x, y), x * y) << x << " * " << y;
    }
    EXPECT_EQ(KaratsubaMultiply(~0ull, ~0ull), 1u);
    EXPECT_EQ(KaratsubaGetLength(0), 0u);
    EXPECT_EQ(KaratsubaGetLength(1), 1u);
    EXPECT_EQ(KaratsubaGetLength(~0ull), 64u);
}

void check_divide(const Mpz& a, const Mpz& b, std::uint64_t p) {
    Mpz q, r;
    mpz_fdiv_qr(q, r, a, b);
    const auto ba = to_bits(a), bb = to_bits(b);
    OwnedBits fq(FloorDivideBitArrays(ba.get(), bb.get(), nullptr));
    OwnedBits fr(ModBitArrays(ba.get(), bb.get(), nullptr));
    ASSERT_TRUE(same(fq.get(), q)) << a.str(16) << " / " << b.str(16);
    ASSERT_TRUE(same(fr.get(), r)) << a.str(16) << " % " << b.str(16);
    Parts d(DivideBitArrays(ba.get(), bb.get(), p, nullptr));
    ASSERT_EQ(d.d.done, 1);
    ASSERT_TRUE(same(d.d.integer, q));
    // The fraction is floor(2^k r / b) in k bits, k the reciprocal's shift.
    std::uint64_t k = 0;
    OwnedBits inv(InvertBitArray(bb.get(), p, &k, nullptr));
    ASSERT_TRUE(inv);
    Mpz f;
    mpz_mul_2exp(f, r, k);
    mpz_fdiv_q(f, f, b);
    ASSERT_EQ(d.d.fraction->bits, std::max<std::uint64_t>(k, 1));
    ASSERT_EQ(mpz_cmp(from_bits(d.d.fraction), f), 0);
    // and the reciprocal itself is floor(2^k / b).
    Mpz want;
    mpz_setbit(want, k);
    mpz_fdiv_q(want, want, b);
    ASSERT_TRUE(same(inv.get(), want));
}

TEST(Arith, DivisionsThroughTheRecords) {
    Operands ops(13);
    for (std::uint64_t b : size_ladder(40000 / big_scale)) {
        check_divide(ops.make(b + ops.below(2 * b)), ops.make(b), ops.below(100));
        check_divide(ops.make(b), ops.make(b + 1 + ops.below(b)), 64);
    }
    check_divide(Mpz("12345"), Mpz("12345"), 10);
    check_divide(Mpz("0"), Mpz("7"), 3);
}

TEST(Arith, DivisionRules) {
    std::uint64_t k = 99;
    OwnedBits one(InvertBitArray(u64(8).get(), 10, &k, nullptr));
    EXPECT_TRUE(TestUnitBitArray(one.get()));
    EXPECT_EQ(k, 3u);
    EXPECT_EQ(InvertBitArray(u64(0).get(), 10, &k, nullptr), nullptr);
    EXPECT_EQ(k, 0u);
    Parts zero(DivideBitArrays(u64(5).get(), u64(0).get(), 8, nullptr));
    EXPECT_EQ(zero.d.integer, nullptr);
    EXPECT_EQ(zero.d.fraction, nullptr);
    EXPECT_EQ(FloorDivideBitArrays(u64(5).get(), u64(0).get(), nullptr), nullptr);
    EXPECT_EQ(ModBitArrays(u64(5).get(), u64(0).get(), nullptr), nullptr);
    // A power-of-two divisor: the parts are the high bits and the k low bits.
    Parts pow2(DivideBitArrays(u64(0b1011011).get(), u64(8).get(), 50, nullptr));
    EXPECT_TRUE(same(pow2.d.integer, Mpz("11")));
    EXPECT_EQ(pow2.d.fraction->bits, 3u);
    EXPECT_EQ(GetInt64(pow2.d.fraction, 0), 3u);
    Parts by_one(DivideBitArrays(u64(77).get(), u64(1).get(), 50, nullptr));
    EXPECT_TRUE(same(by_one.d.integer, Mpz("77")));
    EXPECT_TRUE(TestZeroBitArray(by_one.d.fraction));
    // 1/3 at p = 6: k = 2 + 6 bits of 0.0101...
    Parts third(DivideBitArrays(u64(1).get(), u64(3).get(), 6, nullptr));
    EXPECT_EQ(third.d.fraction->bits, 8u);
    EXPECT_EQ(GetInt64(third.d.fraction, 0), 0b01010101u);
}

TEST(Arith, SquareRootsThroughTheRecords) {
    Operands ops(14);
    for (std::uint64_t b : size_ladder(20000 / big_scale)) {
        const Mpz a = ops.make(b);
        const std::uint64_t p = ops.below(200);
        Mpz s, scaled;
        mpz_mul_2exp(scaled, a, 2 * p);
        mpz_sqrt(s, scaled);
        Mpz ip, fp;
        mpz_fdiv_q_2exp(ip, s, p);
        mpz_fdiv_r_2exp(fp, s, p);
        Parts r(SquareRootBitArray(to_bits(a).get(), p, nullptr));
        ASSERT_TRUE(same(r.d.integer, ip)) << a.str(16);
        ASSERT_EQ(r.d.fraction->bits, std::max<std::uint64_t>(p, 1));
        ASSERT_EQ(mpz_cmp(from_bits(r.d.fraction), fp), 0);
        // The inverse root: floor(2^k / sqrt(a)) = floor(sqrt(4^k / a)).
        std::uint64_t k = 0;
        OwnedBits inv(InvertSquareRootBitArray(to_bits(a).get(), p, &k, nullptr));
        Mpz want;
        mpz_setbit(want, 2 * k);
        mpz_fdiv_q(want, want, a);
        mpz_sqrt(want, want);
        ASSERT_TRUE(same(inv.get(), want)) << a.str(16);
    }
    Parts zero(SquareRootBitArray(u64(0).get(), 4, nullptr)), one(SquareRootBitArray(u64(1).get(), 4, nullptr));
    EXPECT_TRUE(TestZeroBitArray(zero.d.integer) && TestZeroBitArray(zero.d.fraction));
    EXPECT_TRUE(TestUnitBitArray(one.d.integer) && TestZeroBitArray(one.d.fraction));
    std::uint64_t k = 0;
    OwnedBits r16(InvertSquareRootBitArray(u64(16).get(), 9, &k, nullptr));
    EXPECT_TRUE(TestUnitBitArray(r16.get()));
    EXPECT_EQ(k, 2u);
    EXPECT_EQ(InvertSquareRootBitArray(u64(0).get(), 9, &k, nullptr), nullptr);
}

TEST(Arith, PowersMatchGmp) {
    Operands ops(15);
    for (int i = 0; i < 60; ++i) {
        const Mpz a = ops.make(1 + ops.below(i < 30 ? 64 : 2000));
        const unsigned long e = ops.below(i < 30 ? 5000 : 60);
        Mpz want;
        mpz_pow_ui(want, a, e);
        OwnedBits p(ExponentiateBitArrays(to_bits(a).get(), u64(e).get(), nullptr));
        ASSERT_TRUE(same(p.get(), want)) << a.str(16) << " ^ " << e;
    }
    Mpz want;
    mpz_ui_pow_ui(want, 3, 200000 / big_scale);
    OwnedBits p(ExponentiateBitArrays(u64(3).get(), u64(200000 / big_scale).get(), nullptr));
    EXPECT_TRUE(same(p.get(), want));
    OwnedBits zz(ExponentiateBitArrays(u64(0).get(), u64(0).get(), nullptr));
    EXPECT_TRUE(TestUnitBitArray(zz.get()));
    // A result beyond any storage is refused, not attempted.
    EXPECT_EQ(ExponentiateBitArrays(u64(3).get(), u64(~0ull).get(), nullptr), nullptr);
}

TEST(Arith, FactorialsMatchGmp) {
    std::vector<unsigned long> ns;
    for (unsigned long n = 0; n <= 300; ++n) ns.push_back(n);
    for (unsigned long n : {1000ul, 1023ul, 1024ul, 1025ul, 4097ul, 10000ul}) ns.push_back(n);
    for (unsigned long n : ns) {
        Mpz want;
        mpz_fac_ui(want, n);
        OwnedBits f(BitArrayFactorial(n, nullptr)), g(BitArrayFactorialBinarySplitting(n, nullptr));
        ASSERT_TRUE(same(f.get(), want)) << n;
        ASSERT_TRUE(same(g.get(), want)) << n;
    }
    Operands ops(16);
    for (int i = 0; i < 40; ++i) {
        const std::uint64_t lo = 1 + ops.below(i < 20 ? 100 : 1ul << 40), hi = lo + ops.below(3000);
        Mpz want(Mpz("1")), t;
        for (std::uint64_t k = lo; k <= hi; ++k) mpz_mul_ui(want, want, k);
        OwnedBits p(FactorialPartialProductSub(lo, hi, nullptr));
        ASSERT_TRUE(same(p.get(), want)) << lo << ".." << hi;
    }
    OwnedBits empty(FactorialPartialProductSub(5, 4, nullptr)), zero(FactorialPartialProductSub(0, 9, nullptr));
    EXPECT_TRUE(TestUnitBitArray(empty.get()));
    EXPECT_TRUE(TestZeroBitArray(zero.get()));
}

TEST(Arith, PowModKeepsItsWordArithmetic) {
    Mpz r, base, e, m;
    mpz_set_ui(base, 3), mpz_set_ui(e, 200), mpz_set_ui(m, 1000000007);
    mpz_powm(r, base, e, m);
    std::uint64_t wrapped = 1;
    for (int i = 0; i < 41; ++i) wrapped *= 3;
    struct Row {
        std::uint64_t b, e, m, want;
    } const rows[] = {
        {7, 1, 5, 7},       // e = 1 gives b itself, not reduced
        {7, 2, 5, 4},       {7, 0, 5, 1}, {123, 0, 0, 1}, {0, 9, 5, 0},
        {3, 200, 1000000007, mpz_get_ui(r)},
        {2, 10, 0, 1024},   // m = 0: no reduction
        {3, 41, 0, wrapped},
    };
    for (const Row& row : rows)
        EXPECT_EQ(PowMod(row.b, row.e, row.m), row.want) << row.b << "^" << row.e << " mod " << row.m;
    // Above 2^32 the square wraps modulo 2^64 before it is reduced, so the
    // result differs from the true residue: that is the behaviour.
    const std::uint64_t mod = (1ull << 40) + 15, b = (1ull << 39) + 7;
    const std::uint64_t exact = static_cast<std::uint64_t>(static_cast<unsigned __int128>(b) * b % mod);
    EXPECT_EQ(PowMod(b, 2, mod), (b * b) % mod);
    EXPECT_NE(PowMod(b, 2, mod), exact);
}

// Requests whose result could not be stored are refused at once, without
// an attempt (each of these would otherwise ask for 2^60 bits or more).
TEST(Arith, AbsurdArgumentsAreRefused) {
    const auto a = u64(12345), b = u64(678);
    const std::uint64_t huge = ~0ull;
    std::uint64_t k = 5;
    Parts d(DivideBitArrays(a.get(), b.get(), huge, nullptr));
    EXPECT_EQ(d.d.integer, nullptr);
    Parts s(SquareRootBitArray(a.get(), huge / 2, nullptr));
    EXPECT_EQ(s.d.integer, nullptr);
    EXPECT_EQ(InvertBitArray(b.get(), huge, &k, nullptr), nullptr);
    EXPECT_EQ(k, 0u);
    EXPECT_EQ(InvertSquareRootBitArray(b.get(), huge, &k, nullptr), nullptr);
    EXPECT_EQ(BitArrayFactorial(huge, nullptr), nullptr);
    EXPECT_EQ(FactorialPartialProductSub(1, huge, nullptr), nullptr);
    EXPECT_EQ(GetPowerOf10BitArrays(1000, nullptr), nullptr);
    EXPECT_EQ(DecimalFractionalStringToBitArray("5", huge, nullptr), nullptr);
    OwnedBits q(DivideBitArrayByPowerOf10(a.get(), huge, nullptr));
    EXPECT_TRUE(TestZeroBitArray(q.get()));
}

// ---- aborting ----

// The byte set on entry: no result. The engine checks it only between
// steps of at least a threshold's size; with the thresholds lowered it stops
// even small operations inside the engine, and nothing leaks.
TEST(Abort, SetOnEntryGivesNoResult) {
    const char set = 1, clear = 0;
    OwnedBits a(InitializeBitArrayFromUInt64(12345)), b(InitializeBitArrayFromUInt64(678));
    EXPECT_EQ(MultiplyBitArrays(a.get(), b.get(), &set), nullptr);
    EXPECT_EQ(ExponentiateBitArrays(a.get(), b.get(), &set), nullptr);
    EXPECT_EQ(BitArrayFactorial(50, &set), nullptr);
    EXPECT_EQ(FloorDivideBitArrays(a.get(), b.get(), &set), nullptr);
    EXPECT_EQ(DecimalIntegerStringToBitArray("123", &set), nullptr);
    EXPECT_EQ(BitArrayToDecimalIntegerString(a.get(), &set), nullptr);
    std::uint64_t k = 7;
    EXPECT_EQ(InvertBitArray(b.get(), 10, &k, &set), nullptr);
    EXPECT_EQ(k, 0u);
    Parts d(DivideBitArrays(a.get(), b.get(), 10, &set));
    EXPECT_EQ(d.d.integer, nullptr);
    OwnedBits p(MultiplyBitArrays(a.get(), b.get(), &clear));
    EXPECT_EQ(GetInt64(p.get(), 0), 12345u * 678u);
    LowThresholds low;
    CountingAlloc counter;
    OwnedBits big(DecimalIntegerStringToBitArray("98765432109876543210987654321098765432109876543210", nullptr));
    EXPECT_EQ(MultiplyBitArrays(big.get(), big.get(), &set), nullptr);
    EXPECT_EQ(ModBitArrays(big.get(), b.get(), &set), nullptr);
    big.reset();
    EXPECT_EQ(counter.live(), 0);
}

// A second thread sets the byte after a short sleep; each operation would
// run for seconds without it. It must stop promptly, give no result and
// leave nothing allocated.
template <class F>
void stops_promptly(F run) {
    CountingAlloc counter;
    char flag = 0;
    std::thread setter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        __atomic_store_n(&flag, 1, __ATOMIC_RELAXED);
    });
    const auto start = std::chrono::steady_clock::now();
    const bool absent = run(&flag);
    const auto took = std::chrono::steady_clock::now() - start;
    setter.join();
    EXPECT_TRUE(absent);
    EXPECT_LT(took, std::chrono::seconds(2));
    EXPECT_EQ(counter.live(), 0);
}

TEST(Abort, SetDuringLongOperations) {
    const std::uint64_t big = 3000000 / big_scale;
    OwnedBits three(InitializeBitArrayFromUInt64(3));
    OwnedBits x(ExponentiateBitArrays(three.get(), OwnedBits(InitializeBitArrayFromUInt64(big)).get(), nullptr));
    ASSERT_TRUE(x);
    stops_promptly([&](const char* f) {
        OwnedBits sq(MultiplyBitArrays(x.get(), x.get(), f));
        OwnedBits again(sq ? MultiplyBitArrays(sq.get(), sq.get(), f) : nullptr);
        return !again;
    });
    stops_promptly([&](const char* f) {
        OwnedBits e(InitializeBitArrayFromUInt64(60000000));
        return ExponentiateBitArrays(three.get(), e.get(), f) == nullptr;
    });
    stops_promptly([&](const char* f) { return BitArrayFactorial(20000000, f) == nullptr; });
    OwnedBits sq(MultiplyBitArrays(x.get(), x.get(), nullptr));
    stops_promptly([&](const char* f) {
        char* s = BitArrayToDecimalIntegerString(sq.get(), f);
        char* t = s ? BitArrayToDecimalIntegerString(sq.get(), f) : nullptr;
        FreeString(s);
        FreeString(t);
        return t == nullptr;
    });
    const std::string digits(3000000 / big_scale, '7');
    stops_promptly([&](const char* f) {
        OwnedBits a(DecimalIntegerStringToBitArray(digits.c_str(), f));
        OwnedBits b(a ? DecimalIntegerStringToBitArray(digits.c_str(), f) : nullptr);
        OwnedBits c(b ? DecimalIntegerStringToBitArray(digits.c_str(), f) : nullptr);
        return c == nullptr;
    });
}

}  // namespace
}  // namespace ostr::test
