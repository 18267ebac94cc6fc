// The word engine against GMP and against its own plain algorithms: products,
// squares, quotients and roots over the size ladder, and decimal conversion
// at its split points, with the thresholds at their defaults and lowered so
// that every split, every recursion and every correction step runs on small
// operands. (Decimal conversion over the ladder: text_test.cpp.)
#include <gtest/gtest.h>

#include "oracle.hpp"

namespace ostr::test {
namespace {

using big::Nat;

void check_products(Operands& ops, std::uint64_t x_bits, std::uint64_t y_bits) {
    const Mpz x = ops.make(x_bits), y = ops.make(y_bits);
    big::Stop stop;
    Mpz want;
    mpz_mul(want, x, y);
    ASSERT_EQ(mpz_cmp(mpz_of(big::mul(nat_of(x), nat_of(y), stop)), want), 0)
        << x_bits << " x " << y_bits << " bits: " << x.str(16) << " * " << y.str(16);
    mpz_mul(want, x, x);
    ASSERT_EQ(mpz_cmp(mpz_of(big::sqr(nat_of(x), stop)), want), 0) << x_bits << " bits squared";
}

TEST(Engine, ProductsMatchGmpOverTheSizeLadder) {
    Operands ops(1);
    for (std::uint64_t b : size_ladder(300000 / big_scale)) {
        check_products(ops, b, b);
        check_products(ops, b, 1 + ops.below(b));           // very different lengths
        check_products(ops, b, b - ops.below(std::min<std::uint64_t>(b, 200)));
    }
}

TEST(Engine, ProductsWithLowThresholdsMatchSchoolbook) {
    LowThresholds low;
    Operands ops(2);
    for (std::uint64_t wa = 1; wa <= 40; ++wa)
        for (std::uint64_t wb = 1; wb <= wa; wb += 1 + wb / 5) {
            const Nat a = nat_of(ops.make(64 * wa - ops.below(64)));
            const Nat b = nat_of(ops.make(64 * wb - ops.below(64)));
            big::Stop stop;
            ASSERT_EQ(big::mul(a, b, stop), big::mul_plain(a, b)) << wa << " x " << wb << " words";
            ASSERT_EQ(big::sqr(a, stop), big::mul_plain(a, a)) << wa << " words squared";
        }
}

TEST(Engine, ProductsAroundTheDefaultThresholds) {
    Operands ops(3);
    const std::size_t t[] = {big::tuning.mul_karatsuba, big::tuning.sqr_karatsuba, big::tuning.mul_toom3,
                             big::tuning.sqr_toom3, 2 * big::tuning.mul_toom3};
    for (std::size_t w : t)
        for (std::size_t n = w - 2; n <= w + 2; ++n) {
            const Nat a = nat_of(ops.make(64 * n)), b = nat_of(ops.make(64 * n - ops.below(64)));
            big::Stop stop;
            ASSERT_EQ(big::mul(a, b, stop), big::mul_plain(a, b)) << n << " words";
            ASSERT_EQ(big::sqr(a, stop), big::mul_plain(a, a)) << n << " words squared";
        }
}

void check_division(const Mpz& a, const Mpz& b) {
    Mpz q, r;
    mpz_tdiv_qr(q, r, a, b);
    Nat gq, gr;
    big::Stop stop;
    big::div_qr(&gq, &gr, nat_of(a), nat_of(b), stop);
    ASSERT_EQ(mpz_cmp(mpz_of(gq), q), 0) << a.str(16) << " / " << b.str(16);
    ASSERT_EQ(mpz_cmp(mpz_of(gr), r), 0) << a.str(16) << " % " << b.str(16);
}

TEST(Engine, QuotientsMatchGmpOverTheSizeLadder) {
    Operands ops(4);
    for (std::uint64_t b : size_ladder(200000 / big_scale)) {
        check_division(ops.make(2 * b), ops.make(b));
        check_division(ops.make(b + 1 + ops.below(b)), ops.make(b));
        check_division(ops.make(b), ops.make(1 + ops.below(b)));
        check_division(ops.make(b), ops.make(b));
    }
}

// Dividends just below and at multiples of the divisor are where a
// reciprocal estimate is most likely to land one off.
TEST(Engine, QuotientsAtMultiplesOfTheDivisor) {
    Operands ops(5);
    for (bool low : {false, true}) {
        LowThresholds lowered;
        if (!low) big::tuning = lowered.saved;
        for (std::uint64_t bits : {100u, 640u, 1000u, 5000u, 20000u}) {
            if (low && bits > 40000 / big_scale) continue;
            const Mpz b = ops.make(bits), q = ops.make(bits + ops.below(bits));
            Mpz a;
            mpz_mul(a, b, q);
            check_division(a, b);
            mpz_sub_ui(a, a, 1);
            check_division(a, b);
            mpz_add(a, a, b);
            check_division(a, b);
        }
    }
}

TEST(Engine, NewtonDivisionMatchesSchoolbook) {
    LowThresholds low;
    Operands ops(6);
    for (int i = 0; i < 400 / static_cast<int>(big_scale) + 50; ++i) {
        const std::uint64_t bb = 1 + ops.below(2000), ab = bb + ops.below(3000);
        const Nat a = nat_of(ops.make(ab)), b = nat_of(ops.make(bb));
        Nat q1, r1, q2, r2;
        big::Stop stop;
        big::div_qr(&q1, &r1, a, b, stop);
        big::div_qr_plain(&q2, &r2, a, b);
        ASSERT_EQ(q1, q2) << ab << " / " << bb << " bits";
        ASSERT_EQ(r1, r2) << ab << " % " << bb << " bits";
    }
}

TEST(Engine, SquareRootsMatchGmp) {
    Operands ops(7);
    for (bool low : {false, true}) {
        LowThresholds lowered;
        if (!low) big::tuning = lowered.saved;
        for (std::uint64_t b : size_ladder((low ? 20000 : 200000) / big_scale)) {
            Mpz a = ops.make(b), want;
            mpz_sqrt(want, a);
            big::Stop stop;
            ASSERT_EQ(mpz_cmp(mpz_of(big::isqrt(nat_of(a), stop)), want), 0) << a.str(16);
            mpz_mul(a, want, want);  // perfect squares and their neighbours
            for (int d = 0; d < 2; ++d, mpz_sub_ui(a, a, 1)) {
                mpz_sqrt(want, a);
                ASSERT_EQ(mpz_cmp(mpz_of(big::isqrt(nat_of(a), stop)), want), 0) << a.str(16);
            }
        }
    }
}

// Powers of ten and their neighbours: the digit strings 1000...0 and
// 999...9 sit exactly on the split points of the conversion.
TEST(Engine, DecimalConversionAtPowersOfTen) {
    LowThresholds low;
    for (unsigned long e : {18ul, 19ul, 38ul, 76ul, 152ul, 300ul, 1216ul}) {
        Mpz p;
        mpz_ui_pow_ui(p, 10, e);
        for (long d : {-1, 0, 1}) {
            Mpz a;
            d < 0 ? mpz_sub_ui(a, p, 1) : mpz_add_ui(a, p, static_cast<unsigned long>(d));
            std::vector<char> digits;
            big::Stop stop;
            ASSERT_TRUE(big::to_decimal(nat_of(a), digits, stop));
            ASSERT_EQ(std::string(digits.begin(), digits.end()), a.str());
            Nat back;
            const std::string s = a.str();
            ASSERT_TRUE(big::from_decimal(s.data(), s.size(), back, stop));
            ASSERT_EQ(mpz_cmp(mpz_of(back), a), 0);
        }
    }
}

}  // namespace
}  // namespace ostr::test
