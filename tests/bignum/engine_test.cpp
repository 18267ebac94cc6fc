// The word engine against GMP and against its own plain algorithms: products,
// squares, quotients and roots over the size ladder, with the thresholds at
// their defaults and lowered so that every split, every recursion and every
// correction step runs on small operands. (Decimal conversion: text_test.cpp.)
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

// At the default thresholds and with them lowered, so that every split
// and every recursion runs on small operands too.
TEST(Engine, ProductsMatchGmpOverTheSizeLadder) {
    Operands ops(1);
    for (bool low : {false, true}) {
        LowThresholds lowered;
        if (!low) big::tuning = lowered.saved;
        for (std::uint64_t b : size_ladder((low ? 30000 : 300000) / big_scale)) {
            check_products(ops, b, b);
            check_products(ops, b, 1 + ops.below(b));           // very different lengths
            check_products(ops, b, b - ops.below(std::min<std::uint64_t>(b, 200)));
        }
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
    for (bool low : {false, true}) {
        LowThresholds lowered;
        if (!low) big::tuning = lowered.saved;
        for (std::uint64_t b : size_ladder((low ? 20000 : 200000) / big_scale)) {
            check_division(ops.make(2 * b), ops.make(b));
            check_division(ops.make(b + 1 + ops.below(b)), ops.make(b));
            check_division(ops.make(b), ops.make(1 + ops.below(b)));
            check_division(ops.make(b), ops.make(b));
        }
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

}  // namespace
}  // namespace ostr::test
