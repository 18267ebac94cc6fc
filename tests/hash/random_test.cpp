// Ran2 and its draws against an independent model (data/make_data.py): the
// same numbers to the last bit, across re-seeding; the bounds; the table
// save and restore; seeds from texts; normal draws; FNV-1a.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "helpers.hpp"
#include "ostravine/hash.h"

namespace {

using namespace ostr::test;

double num(const std::string& s) { return std::strtod(s.c_str(), nullptr); }
std::int32_t i32(const std::string& s) { return static_cast<std::int32_t>(std::stoll(s)); }

// The model's commands run in order against the one shared table, so every
// seeding, every draw, the salted hashes and the table must agree throughout.
TEST(Random, AgreesWithTheModelToTheLastBit) {
    const auto rows = read_rows("ran2.txt");
    ASSERT_GT(rows.size(), 300u);
    std::int32_t state = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& r = rows[i];
        const std::string& op = r[0];
        SCOPED_TRACE("row " + std::to_string(i) + ": " + op);
        if (op == "seed") SetSeed(&state, i32(r[1]));
        else if (op == "ran2") ASSERT_EQ(Ran2(&state), num(r[1]));
        else if (op == "state") ASSERT_EQ(state, i32(r[1]));
        else if (op == "int") ASSERT_EQ(RandomInteger(i32(r[1]), i32(r[2]), &state), i32(r[3]));
        else if (op == "real") ASSERT_EQ(RandomReal(num(r[1]), num(r[2]), &state), num(r[3]));
        else if (op == "any") ASSERT_EQ(take(RandomString(i32(r[1]), &state)), from_hex(r[2]));
        else if (op == "printable") ASSERT_EQ(take(RandomPrintableString(i32(r[1]), &state)), from_hex(r[2]));
        else if (op == "alnum") ASSERT_EQ(take(RandomStringAlphaNum(i32(r[1]), &state)), r[2]);
        else if (op == "seedstr") ASSERT_EQ(SeedFromString(from_hex(r[1]).c_str()), i32(r[2]));
        else if (op == "salted") ASSERT_EQ(take(SaltedHash(from_hex(r[1]).c_str(), &state)), r[2]);
        else if (op == "table") {
            std::int32_t t[32];
            GetRandomTable(t);
            for (int k = 0; k < 32; ++k) ASSERT_EQ(t[k], i32(r[1 + k])) << k;
        } else FAIL() << "unknown command";
    }
}

TEST(Random, Seeds) {
    EXPECT_EQ(SeedFromString(nullptr), -1);  // as the empty text (data/ran2.txt)
    std::int32_t s = 5;
    SetSeed(&s, 12);
    EXPECT_EQ(s, -12);
    SetSeed(&s, INT32_MIN);
    EXPECT_EQ(s, INT32_MIN);
}

// Never 0 and never above 0.99999988, from many seeds, and the cap reached
// through a table slot one below generator two's fixed value after
// initialisation, 40692*123456789 mod 2147483399 = 739987727.
TEST(Random, Bounds) {
    for (std::int32_t seed : {0, -1, -77, -65536, -2147483647, INT32_MIN, 1, 2147483647}) {
        std::int32_t state = seed;
        for (int i = 0; i < 20000; ++i) {
            const double u = Ran2(&state);
            ASSERT_TRUE(u > 0.0 && u <= 0.99999988) << u;
        }
    }
    std::int32_t t[32] = {739987727 - 1}, state = 1;
    ASSERT_TRUE(SetRandomTable(t));
    EXPECT_EQ(Ran2(&state), 0.99999988);
    for (int i = 0; i < 2000; ++i) {
        const std::int32_t k = RandomInteger(-3, 3, &state);
        ASSERT_TRUE(k >= -3 && k <= 3) << k;
    }
    EXPECT_EQ(RandomString(-1, &state), nullptr);
}

// A saved session keeps the state and the table; after a restart (here: a
// re-seeding that overwrites the table) restoring both continues exactly.
TEST(Random, TableSaveAndRestoreContinuesTheSequence) {
    std::int32_t state = -31337, other = -1, saved_table[32], before[32], now[32], bad[32] = {};
    for (int i = 0; i < 10; ++i) Ran2(&state);
    GetRandomTable(saved_table);
    const std::int32_t saved_state = state;
    double expected[50];
    for (double& x : expected) x = Ran2(&state);
    Ran2(&other);
    ASSERT_TRUE(SetRandomTable(saved_table));
    state = saved_state;
    for (const double x : expected) ASSERT_EQ(Ran2(&state), x);

    GetRandomTable(before);
    bad[7] = -1;
    EXPECT_FALSE(SetRandomTable(bad));
    bad[7] = 2147483563;
    EXPECT_FALSE(SetRandomTable(bad));
    EXPECT_FALSE(SetRandomTable(nullptr));
    GetRandomTable(now);
    EXPECT_EQ(std::memcmp(now, before, sizeof now), 0);  // a refusal changes nothing
}

TEST(Random, NormalDraws) {
    EXPECT_NEAR(BoxMuller1(std::exp(-0.5), 0.0), 1.0, 1e-15);
    EXPECT_NEAR(BoxMuller1(std::exp(-2.0), 0.5), -2.0, 1e-15);
    EXPECT_NEAR(BoxMuller2(std::exp(-2.0), 0.25), 2.0, 1e-15);
    std::int32_t a = -9, b = -9, table[32];
    double z1, z2;
    const double u1 = Ran2(&b), u2 = Ran2(&b);
    BoxMuller(&a, &z1, &z2);
    EXPECT_EQ(z1, BoxMuller1(u1, u2));
    EXPECT_EQ(z2, BoxMuller2(u1, u2));
    // The second uniform comes from the state minus 161587, taken before the
    // first draw: replaying both draws from the same table gives the value.
    std::int32_t s = 1234567, second = 1234567 - 161587, copy = 1234567;
    GetRandomTable(table);
    const double n1 = RandomRealNormal(3.0, 2.0, &s);
    SetRandomTable(table);
    const double v1 = Ran2(&copy), v2 = Ran2(&second);
    EXPECT_EQ(n1, 3.0 + 2.0 * BoxMuller1(v1, v2));
    EXPECT_EQ(s, copy);
}

TEST(ShortHash, Fnv1a) {
    for (const auto& r : read_rows("fnv1a.txt")) {
        const std::string t = from_hex(r[0]);
        const auto want = static_cast<std::uint32_t>(std::stoul(r[1]));
        EXPECT_EQ(HashFromByteArray(bytes(t), t.size()), want);
        EXPECT_EQ(HashFromString(t.c_str()), want);
        EXPECT_EQ(HashFromStringL(t.c_str()), static_cast<std::int32_t>(want));
    }
    EXPECT_EQ(HashFromString("foobar"), 0xbf9cf968u);  // the FNV authors' test vector
    EXPECT_EQ(HashFromString(nullptr), 0x811c9dc5u);
}

}  // namespace
