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
    // A segment holds 30 * 32768 = 983040 numbers: ranges straddle the first
    // two boundaries; others start and end on and beside wheel residues,
    // start past 10^12 and 2^42 (whose sieving primes come from the sieve
    // itself), and hold a single number.
    const std::pair<u64, u64> ranges[] = {{0, 200000},
                                          {983000, 983100},
                                          {1966000, 1966200},
                                          {1000000000000, 1000000003000},
                                          {4398046510000, 4398046513000},
                                          {2, 2}, {3, 5}, {4, 4}, {0, 1}, {1, 1}, {6, 7}, {7, 7}, {8, 10},
                                          {29, 31}, {30, 30}, {31, 31}, {49, 49}, {131071, 131071}, {17, 18},
                                          {120, 150}, {961, 961}};
    for (auto [a, b] : ranges) {
        std::vector<u64> got;
        ASSERT_EQ(num::primes_between(a, b, 1000000, got), num::ListStatus::ok);
        std::vector<u64> want;
        // From 10^12 on Miller-Rabin (checked below against trial division)
        // stands in for trial division, which would take a minute there.
        for (u64 n = a; n <= b; ++n)
            if (a >= 1000000000000 ? num::is_prime(n) : by_trial(n)) want.push_back(n);
        EXPECT_EQ(got, want) << a << ".." << b;
        u64 count = 0;
        ASSERT_EQ(num::count_primes(a, b, count), num::ListStatus::ok);
        EXPECT_EQ(count, want.size()) << a << ".." << b;
    }
    std::vector<u64> p;
    EXPECT_EQ(num::primes_between(0, 100, 25, p), num::ListStatus::ok);
    p.clear();
    EXPECT_EQ(num::primes_between(0, 100, 24, p), num::ListStatus::too_many);
    EXPECT_EQ(p.size(), 24u);
}

TEST(Primes, CountsMatchKnownValues) {
    // pi(x) from the published tables; the last one is 10^9 + 7.
    const std::pair<std::pair<u64, u64>, u64> known[] = {{{0, 1000000}, 78498},
                                                          {{1, 100000000}, 5761455},
                                                          {{1000000000, 1000000007}, 1},
                                                          {{100000000, 100000000}, 0}};
    for (auto [range, want] : known) {
        u64 count = 0;
        ASSERT_EQ(num::count_primes(range.first, range.second, count), num::ListStatus::ok);
        EXPECT_EQ(count, want) << range.first << ".." << range.second;
    }
    std::vector<u64> all;
    ASSERT_EQ(num::primes_between(90000000, 100000000, 10000000, all), num::ListStatus::ok);
    EXPECT_EQ(all.size(), 5761455u - 5216954u);  // pi(10^8) - pi(9*10^7)
    EXPECT_EQ(all.back(), 99999989u);
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
