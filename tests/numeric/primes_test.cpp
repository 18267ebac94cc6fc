// The number-theory kernels against plain oracles: the segmented sieve
// against trial division across segment boundaries, Miller-Rabin on strong
// pseudoprimes and the largest 64-bit primes, factorisations that must
// multiply back to n with prime factors, and divisors against a scan.
#include <gtest/gtest.h>

#include <random>

#include "numeric/primes.hpp"

namespace ostr::test {
namespace {

using u64 = std::uint64_t;

bool by_trial(u64 n) {
    if (n < 2) return false;
    for (u64 d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return true;
}

TEST(Primes, SieveAgreesWithTrialDivision) {
    // The second range straddles the first segment boundary (2^16 numbers
    // per segment), the third starts past 10^12.
    const std::pair<u64, u64> ranges[] = {{0, 200000}, {65530, 65560}, {1000000000000, 1000000003000},
                                          {2, 2}, {4, 4}, {0, 1}, {131071, 131071}, {17, 18}};
    for (auto [a, b] : ranges) {
        std::vector<u64> got;
        ASSERT_EQ(num::primes_between(a, b, 1000000, got), num::ListStatus::ok);
        std::vector<u64> want;
        for (u64 n = a; n <= b; ++n)
            if (by_trial(n)) want.push_back(n);
        EXPECT_EQ(got, want) << a << ".." << b;
    }
    std::vector<u64> p;
    EXPECT_EQ(num::primes_between(0, 100, 25, p), num::ListStatus::ok);
    p.clear();
    EXPECT_EQ(num::primes_between(0, 100, 24, p), num::ListStatus::too_many);
}

TEST(Primes, MillerRabinIsExactOnHardCases) {
    // Strong pseudoprimes to the first bases, Carmichael numbers, squares
    // of primes, and primes next to 2^64.
    for (u64 n : {u64{2047}, u64{1373653}, u64{25326001}, u64{3215031751}, u64{2152302898747},
                  u64{3474749660383}, u64{341550071728321}, u64{3825123056546413051}, u64{561}, u64{41041},
                  u64{4294967291} * 4294967291u, u64{18446744073709551615u}})
        EXPECT_FALSE(num::is_prime(n)) << n;
    for (u64 n : {u64{2}, u64{3}, u64{37}, u64{4294967291}, u64{18446744073709551557u}, u64{9223372036854775783u},
                  u64{2305843009213693951}})
        EXPECT_TRUE(num::is_prime(n)) << n;
    for (u64 n = 0; n < 20000; ++n) EXPECT_EQ(num::is_prime(n), by_trial(n)) << n;
}

TEST(Primes, FactorsMultiplyBackAndArePrime) {
    std::mt19937_64 rng(20261125);
    std::vector<u64> cases{1, 2, 360, 18446744073709551615u, u64{4294967291} * 4294967279u,
                           u64{4294967291} * 4294967291u, u64{1} << 63, 600851475143};
    for (int k = 0; k < 300; ++k) cases.push_back(rng() | 1);
    for (int k = 0; k < 100; ++k) {
        u64 a = (rng() >> 32) | 1, b = (rng() >> 32) | 1;
        cases.push_back(a * b);
    }
    for (u64 n : cases) {
        std::vector<u64> f = num::prime_factors(n);
        u64 product = 1;
        for (std::size_t k = 0; k < f.size(); ++k) {
            EXPECT_TRUE(num::is_prime(f[k])) << n;
            if (k) {
                EXPECT_LE(f[k - 1], f[k]) << n;
            }
            product *= f[k];
        }
        EXPECT_EQ(product, n);
    }
    EXPECT_EQ(num::prime_factors(18446744073709551615u),
              (std::vector<u64>{3, 5, 17, 257, 641, 65537, 6700417}));
}

TEST(Primes, DivisorsAgreeWithAScan) {
    for (u64 n = 1; n <= 3000; ++n) {
        std::vector<u64> want;
        for (u64 d = 1; d <= n; ++d)
            if (n % d == 0) want.push_back(d);
        EXPECT_EQ(num::divisors(n), want) << n;
    }
    EXPECT_EQ(num::divisors(u64{1} << 63).size(), 64u);
    EXPECT_EQ(num::divisors(963761198400).size(), 6720u);
}

}  // namespace
}  // namespace ostr::test
