// Binary and hexadecimal text: known texts, rounding at the last kept
// digit with its carry, and the round trip through the number reader for
// doubles of every magnitude.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "numtext/bases.hpp"
#include "numtext/numtext.hpp"

namespace ostr::test {
namespace {

std::string b(double x, int bits, int digits = -1) { return std::string(text::base_text(x, bits, digits)); }

TEST(Bases, KnownTexts) {
    EXPECT_EQ(b(5, 1), "0b101");
    EXPECT_EQ(b(-5.25, 1), "-0b101.01");
    EXPECT_EQ(b(0, 1), "0b0");
    EXPECT_EQ(b(255, 4), "0xff");
    EXPECT_EQ(b(0.1, 4), "0x0.1999999999999a");
    EXPECT_EQ(b(0.1, 4, 4), "0x0.199a");
    EXPECT_EQ(b(0.999, 4, 2), "0x1");
    EXPECT_EQ(b(15.97, 4, 1), "0x10");
    EXPECT_EQ(b(2.5, 1, 0), "0b11");
    EXPECT_EQ(b(0.75, 1, 1), "0b1");
    EXPECT_EQ(b(-0.5, 4), "-0x0.8");
    EXPECT_EQ(b(1.0 / 1024, 1), "0b0.0000000001");
    EXPECT_EQ(b(18446744073709551616.0, 4), "0x10000000000000000");
    EXPECT_EQ(b(INFINITY, 4), "");
    EXPECT_EQ(b(NAN, 1), "");
}

TEST(Bases, ExactTextsReadBackAsTheSameNumber) {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> mant(1, 2);
    std::uniform_int_distribution<int> expo(-1074, 1023);
    for (int k = 0; k < 4000; ++k) {
        const double x = std::ldexp(mant(rng), expo(rng));
        for (int bits : {1, 4}) {
            Text t = text::base_text(x, bits, -1);
            double back = 0;
            ASSERT_TRUE(text::read_number(t, back)) << t;
            EXPECT_EQ(back, x) << t;
        }
    }
    for (double x : {5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 1.0, 0.5, 3.0}) {
        double back = 0;
        ASSERT_TRUE(text::read_number(text::base_text(x, 1, -1), back));
        EXPECT_EQ(back, x);
    }
}

}  // namespace
}  // namespace ostr::test
