// Big floats against mpmath (data/float_reference.txt, made by
// data/make_float_reference.py): the operations correctly rounded, the
// functions faithfully rounded; decimal text both ways; the records of the
// C face; the abort byte.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "bignum/float.hpp"
#include "oracle.hpp"

namespace ostr::big {
namespace {

Float parse(std::string_view t, std::uint64_t bits = 400) {
    Stop stop;
    Float x;
    EXPECT_TRUE(from_text(t, bits, x, stop)) << t;
    return x;
}

Float dyadic(const std::string& m, std::int64_t e) {
    Stop stop;
    Float x;
    EXPECT_TRUE(from_text(m, 64, x, stop));
    return ldexp(x, e);
}

Float apply(const std::string& name, const Float& a, const Float& b, std::uint64_t bits) {
    Stop stop;
    if (name == "add") return add(a, b, bits, stop);
    if (name == "sub") return sub(a, b, bits, stop);
    if (name == "mul") return mul(a, b, bits, stop);
    if (name == "div") return div(a, b, bits, stop);
    if (name == "sqrt") return sqrt(a, bits, stop);
    if (name == "exp") return exp(a, bits, stop);
    if (name == "log") return log(a, bits, stop);
    if (name == "sin") return sin(a, bits, stop);
    if (name == "cos") return cos(a, bits, stop);
    if (name == "tan") return tan(a, bits, stop);
    if (name == "atan") return atan(a, bits, stop);
    if (name == "asin") return asin(a, bits, stop);
    if (name == "acos") return acos(a, bits, stop);
    if (name == "sinh") return sinh(a, bits, stop);
    if (name == "cosh") return cosh(a, bits, stop);
    if (name == "tanh") return tanh(a, bits, stop);
    return pi(bits, stop);
}

// |x - ref| in units of x's last bit at `bits`.
double ulps(const Float& x, const Float& ref, std::uint64_t bits) {
    Stop stop;
    const Float d = sub(x, ref, 0, stop);
    return std::fabs(to_double(ldexp(d, static_cast<std::int64_t>(bits) - top(x))));
}

// Checks every reference line whose name passes `wanted` (up to
// `max_digits`); returns how many.
template <class Wanted>
int check_reference(Wanted wanted, std::uint64_t max_digits) {
    std::ifstream in(OSTR_TEST_DATA "/float_reference.txt");
    EXPECT_TRUE(in);
    std::string line;
    int checked = 0;
    while (std::getline(in, line)) {
        std::istringstream s(line);
        std::string name, m1, m2, ref;
        std::uint64_t digits;
        std::int64_t e1 = 0, e2 = 0;
        s >> name >> digits >> m1 >> e1;
        const bool two = name == "add" || name == "sub" || name == "mul" || name == "div";
        if (two) s >> m2 >> e2;
        s >> ref;
        if (!wanted(name) || digits > max_digits) continue;
        const std::uint64_t bits = bits_for_digits(digits);
        const Float got = apply(name, dyadic(m1, e1), two ? dyadic(m2, e2) : Float{}, bits);
        const Float want = parse(ref, bits + 200);
        // Rounded once from the exact value: half a unit; the functions
        // within one unit.
        const bool exact_rounding = two || name == "sqrt";
        EXPECT_LE(ulps(got, want, bits), exact_rounding ? 0.5 : 1.0) << line.substr(0, 200);
        ++checked;
    }
    return checked;
}

TEST(BigFloat, AgreesWithMpmath) {
    EXPECT_GT(check_reference([](const std::string&) { return true; }, test::big_scale > 1 ? 1000 : 10000), 1000);
}

// The fast paths of exp (Newton on ln) and of sin and cos (binary splitting
// of the pieces of the argument) from a few hundred bits on.
TEST(BigFloat, FastPathsAgreeWithMpmath) {
    const Tuning saved = tuning;
    tuning.exp_newton_bits = 300;
    tuning.sin_burst_bits = 200;
    auto wanted = [](const std::string& n) {
        return n == "exp" || n == "sin" || n == "cos" || n == "tan" || n == "sinh" || n == "tanh";
    };
    EXPECT_GT(check_reference(wanted, test::big_scale > 1 ? 100 : 1000), 300);
    tuning = saved;
}

TEST(BigFloat, DecimalTextRoundsAndPlacesThePoint) {
    struct Case {
        const char* in;
        std::uint64_t digits;
        const char* out;
    } cases[] = {
        {"0.5", 10, "0.5"},         {"-2.25", 3, "-2.25"},        {"2.5", 1, "2"},   // ties to even
        {"3.5", 1, "4"},            {"0.0000001", 5, "1e-7"},      {"0.000001", 5, "0.000001"},
        {"123456", 3, "1.23e+5"},   {"123456", 6, "123456"},       {"9.9999", 3, "10"},
        {"99999", 3, "1e+5"},       {"0", 5, "0"},                 {"1e400", 3, "1e+400"},
        {"-1.5e-300", 4, "-1.5e-300"}, {"1234.5678", 6, "1234.57"}, {"0.1", 30, "0.1"},
    };
    for (const auto& c : cases) {
        Stop stop;
        EXPECT_EQ(decimal_text(parse(c.in), c.digits, stop), c.out) << c.in;
    }
}

TEST(BigFloat, MalformedTextIsRefused) {
    for (const char* t : {"", ".", "-", "1e", "1e+", "1.2.3", "--1", "abc", " 1", "1 ", "0x10", "1e5x", "+.e1"}) {
        Stop stop;
        Float x;
        EXPECT_FALSE(from_text(t, 64, x, stop)) << t;
    }
    Stop stop;
    Float x;
    EXPECT_THROW((void)from_text("1e9999999999", 64, x, stop), Refused);
}

TEST(BigFloat, TextRoundTripsAtThePrecision) {
    std::mt19937_64 rng(7);
    for (std::uint64_t digits : {20u, 50u, 300u}) {
        const std::uint64_t bits = bits_for_digits(digits);
        for (int k = 0; k < 200; ++k) {
            Nat m{rng(), rng(), rng() >> (rng() % 64)};
            trim(m);
            const Float x = rounded(rng() & 1, m, static_cast<std::int64_t>(rng() % 4000) - 2000, bits);
            Stop stop;
            const Text t = decimal_text(x, digits, stop);
            EXPECT_EQ(decimal_text(parse(t, bits), digits, stop), t);
        }
    }
}

TEST(BigFloat, IntegersAreExactAgainstGmp) {
    // 3^2000 - 7^900 and its decimal text, both by GMP.
    test::Mpz a, b;
    mpz_ui_pow_ui(a, 3, 2000);
    mpz_ui_pow_ui(b, 7, 900);
    mpz_sub(a, a, b);
    Stop stop;
    const Float x = sub(pow_int(from_u64(3), 2000, 0, stop), pow_int(from_u64(7), 900, 0, stop), 0, stop);
    EXPECT_EQ(std::string(integer_text(x, stop)), a.str());
    mpz_mul(b, a, a);
    EXPECT_EQ(std::string(integer_text(mul(x, x, 0, stop), stop)), b.str());
    EXPECT_EQ(std::string(integer_text(parse(a.str(), 0), stop)), a.str());
    const Float third = div(from_u64(1), from_u64(3), 100, stop);
    EXPECT_EQ(to_integer(ldexp(from_u64(5), -1), Round::nearest).m, Nat{3});  // 2.5 -> 3, away from zero
    EXPECT_TRUE(is_zero(to_integer(third, Round::floor)));
    EXPECT_EQ(integer_text(to_integer(neg(third), Round::floor), stop), "-1");
    EXPECT_EQ(integer_text(to_integer(neg(third), Round::ceil), stop), "0");
}

TEST(BigFloat, RecordsAreCanonical) {
    BitArrayFloat* x = DecimalStringToBitArrayFloat("-0.375", 64, nullptr);
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(TestCanonicalBitArrayFloat(x), 1);
    EXPECT_EQ(x->mantissa->words[0], 3u);
    EXPECT_EQ(x->exponent->words[0], 3u);
    EXPECT_EQ(x->field, 3);  // negative value, negative exponent, exact
    BitArrayFloat* third = DecimalStringToBitArrayFloat("0.1", 64, nullptr);
    EXPECT_EQ(third->field & BITARRAYFLOAT_INEXACT, BITARRAYFLOAT_INEXACT);
    BitArrayFloat* sum = AddBitArrayFloats(x, third, 0, nullptr);
    EXPECT_EQ(sum->field & BITARRAYFLOAT_INEXACT, BITARRAYFLOAT_INEXACT);
    x->mantissa->words[0] = 6;  // even: not the one form
    EXPECT_EQ(TestCanonicalBitArrayFloat(x), 0);
    x->mantissa->words[0] = 3;
    x->field = 8;
    EXPECT_EQ(TestCanonicalBitArrayFloat(x), 0);
    x->field = 3;
    EXPECT_EQ(DivideBitArrayFloats(x, third, 0, nullptr), nullptr);  // no precision
    BitArrayFloat* zero = DoubleToBitArrayFloat(0.0);
    EXPECT_EQ(DivideBitArrayFloats(x, zero, 64, nullptr), nullptr);
    EXPECT_EQ(LogBitArrayFloat(zero, 64, nullptr), nullptr);
    char* text = BitArrayFloatToDecimalString(sum, 10, nullptr);
    EXPECT_STREQ(text, "-0.275");
    FreeString(text);
    EXPECT_EQ(BitArrayFloatToDecimalString(sum, 0, nullptr), nullptr);  // not an integer
    for (BitArrayFloat* r : {x, third, sum, zero}) FreeBitArrayFloat(r);
}

TEST(BigFloat, AbortByteStopsALongComputation) {
    char abort = 0;
    std::thread timer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        __atomic_store_n(&abort, 1, __ATOMIC_RELAXED);
    });
    const auto start = std::chrono::steady_clock::now();
    BitArrayFloat* p = PiBitArrayFloat(bits_for_digits(3'000'000), &abort);
    const auto took = std::chrono::steady_clock::now() - start;
    timer.join();
    EXPECT_EQ(p, nullptr);
    EXPECT_LT(took, std::chrono::milliseconds(1500));
    char set = 1;
    BitArrayFloat* two = DoubleToBitArrayFloat(2.0);
    EXPECT_EQ(SquareRootBitArrayFloat(two, 1000, &set), nullptr);
    FreeBitArrayFloat(two);
}

}  // namespace
}  // namespace ostr::big
