// Writing number texts: DoubleString against an exact oracle (glibc printf's
// full decimal expansion, rounded by the 0.495 rule) over random doubles of
// every magnitude, the exported steps composed, and one table row per
// deliberate form (the forms of the language reference's table aside).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "numtext/numtext.hpp"
#include "numtext_test.hpp"
#include "ostravine/core.h"
#include "ostravine/numtext.h"
#include "support/counting_alloc.hpp"
#include "support/doc_examples.hpp"

namespace {

using ostr::text::number_text;

std::string str(char* owned) {
    std::string s = owned ? owned : "(null)";
    FreeString(owned);
    return s;
}

double random_double(std::mt19937_64& rng) {
    for (;;) {
        const std::uint64_t bits = rng();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (std::isfinite(v)) return v;
    }
}

// All significant digits of a > 0 (printf's expansion is exact; a double has
// at most 767 of them) and the decimal exponent of the first.
std::string exact_digits(double a, int& exp) {
    static char buf[1000];
    std::snprintf(buf, sizeof buf, "%.799e", a);
    char* e = std::strchr(buf, 'e');
    exp = std::atoi(e + 1);
    std::string digits(buf + 1, e);
    digits[0] = buf[0];  // over the point
    return digits;
}

// DoubleString stated once more, from the exact digits: round up when the
// cut-off part is at least 0.495 units (the two roundings in one; 0.4995
// for one digit of 1000..9999, whose first rounding keeps four), plain form
// when the exact order is -3..3, and a text that would read back as
// infinity cut instead of rounded.
std::string reference_text(double v, int d, bool cut = false) {
    if (!std::isfinite(v)) return ">invalid_expression<";
    if (v == 0) return "0";
    d = std::clamp(d, 1, 17);
    int exp;
    const std::string all = exact_digits(std::fabs(v), exp);
    const bool plain = exp >= -3 && exp <= 3;
    const int first = plain && exp == 3 ? std::max(d + 2, 4) : d + 2;
    std::string threshold(first - d + 1, '9');  // "495" or "4995"
    threshold.front() = '4';
    threshold.back() = '5';
    std::string kept = all.substr(0, d);
    bool carried = false;
    if (!cut && all.compare(d, threshold.size(), threshold) >= 0) {
        int i = d - 1;
        for (; i >= 0 && kept[i] == '9'; --i) kept[i] = '0';
        if (i >= 0) {
            ++kept[i];
        } else {
            kept[0] = '1';
            ++exp;
            carried = true;
        }
    }
    while (kept.size() > 1 && kept.back() == '0') kept.pop_back();
    std::string out = v < 0 ? "-" : "";
    if (plain) {
        std::string digits = exp < 0 ? std::string(-exp, '0') + kept : kept;
        const std::size_t whole = exp < 0 ? 1 : exp + 1;
        if (digits.size() < whole) digits.append(whole - digits.size(), '0');
        out += digits.substr(0, whole);
        if (digits.size() > whole) out.append(".").append(digits, whole);
    } else {
        out += kept[0];
        if (carried) out += ".0";
        if (!carried && kept.size() > 1) out.append(".").append(kept, 1);
        out.append(exp < 0 ? "E-" : "E+").append(std::to_string(std::abs(exp)));
    }
    if (std::isinf(std::strtod(out.c_str(), nullptr))) return reference_text(v, d, true);
    return out;
}

TEST(NumWrite, TableOfForms) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct { double v; int d; const char* text; } rows[] = {
        {-2.5, 15, "-2.5"}, {0, 5, "0"}, {-0.0, 5, "0"}, {nan, 15, ">invalid_expression<"},
        {-HUGE_VAL, 15, ">invalid_expression<"}, {-2.675, 3, "-2.68"}, {1e23, 15, "1.0E+23"},
        {1e23, 17, "9.9999999999999992E+22"}, {1e22, 15, "1E+22"}, {5e-324, 3, "4.94E-324"},
        {0.5, 0, "0.5"}, {123.456, 1, "100"}, {0.1, 17, "0.10000000000000001"},
        {0.1, 40, "0.10000000000000001"}, {1.0 / 3, 15, "0.333333333333333"},
        {2.0 / 3, 15, "0.666666666666667"}, {-1e-5, 15, "-1E-5"}, {5495.09, 1, "5000"},
        {5495.09, 2, "5500"}, {0.5495, 1, "0.5"}, {0.995, 2, "1"}, {1.7976931348623157e308, 15, "1.79769313486231E+308"},
        {-1.7976931348623157e308, 1, "-1E+308"}, {1.7976931348623157e308, 17, "1.7976931348623157E+308"},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(str(DoubleString(r.v, r.d)), r.text) << r.v << " d=" << r.d;
        EXPECT_EQ(reference_text(r.v, r.d), r.text) << r.v << " d=" << r.d;
    }
}

// Random doubles of every magnitude, and short decimals, at every digit count.
TEST(NumWrite, DigitsAreThoseOfTheExactValue) {
    std::mt19937_64 rng(2);
    for (long n = 0; n < ostr::test::samples / 10; ++n) {
        const double v = rng() % 2 ? random_double(rng)
                                   : static_cast<double>(rng() % 100000) / std::pow(10.0, rng() % 9);
        const int d = 1 + static_cast<int>(rng() % 17);
        ASSERT_EQ(number_text(v, d).view(), reference_text(v, d)) << v << " d=" << d;
    }
}

// Whether rounding carried up to a power of ten ("1.0E+k" against "1E+k")
// depends on which side of 10^k the double lies: every double nearest a
// power of ten and both its neighbours, at every digit count.
TEST(NumWrite, PowersOfTenAndTheirNeighbours) {
    for (int x = -323; x <= 308; ++x) {
        const double p = std::strtod(("1e" + std::to_string(x)).c_str(), nullptr);
        for (double v : {std::nextafter(p, 0.0), p, std::nextafter(p, HUGE_VAL)}) {
            if (v == 0 || !std::isfinite(v)) continue;
            for (int d = 1; d <= 17; ++d) ASSERT_EQ(number_text(v, d).view(), reference_text(v, d)) << v;
        }
    }
}

// In the plain range the fast writer is exactly the exported steps composed.
TEST(NumWrite, PlainFormIsTheStepsComposed) {
    std::mt19937_64 rng(3);
    for (long n = 0; n < ostr::test::samples / 10; ++n) {
        const double v = std::ldexp(static_cast<double>(rng() >> 11), -53) * std::pow(10.0, rng() % 7 - 2.0);
        if (v < 1e-3 || v >= 1e4) continue;
        const int d = 1 + static_cast<int>(rng() % 15);
        char* steps = DoubleStringCleanZeros(ostr::text::round_text(ostr::text::decimal_text(v, d + 2), d).c_str());
        ASSERT_EQ(number_text(v, d).view(), str(steps)) << v << " d=" << d;
    }
}

// DoubleStringDecimal is printf's "%.Nf" with N from the exact order.
TEST(NumWrite, DecimalIsPrintfFixed) {
    std::mt19937_64 rng(4);
    char want[2000];
    for (long n = 0; n < ostr::test::samples / 20; ++n) {
        const double v = random_double(rng);
        const int d = 1 + static_cast<int>(rng() % 25);
        if (v == 0) continue;
        int order;
        exact_digits(std::fabs(v), order);
        std::snprintf(want, sizeof want, "%.*f", std::max(0, d - 1 - order), v);
        ASSERT_EQ(str(DoubleStringDecimal(v, d)), want) << v << " d=" << d;
    }
    EXPECT_EQ(str(DoubleStringDecimal(9.996, 3)), "10.00");
    EXPECT_EQ(str(DoubleStringDecimal(0, 3)), "0");
}

TEST(NumWrite, TextRoundingAndCleaning) {
    const struct { const char* in; int d; const char* out; } rounds[] = {
        {"9.996", 3, "10.00"}, {"12345.678", 2, "12000"}, {"0.0012345", 2, "0.0012"},
        {"0.96", 1, "1.0"}, {"-99.5", 2, "-100"}, {"2.45", 2, "2.5"}, {"-2.449", 2, "-2.4"},
        {"5", 1, "5"}, {"1.2345E+4", 2, "1.2E+4"}, {"9.95e-7", 2, "10.0e-7"}, {"abc", 2, "abc"},
        {"0.000", 2, "0.000"}, {"1.25e", 2, "1.25e"}, {"1.5", 0, "2"}, {"", 3, ""},
    };
    for (const auto& r : rounds) EXPECT_EQ(str(DoubleStringRound(r.in, r.d)), r.out) << r.in;
    const std::pair<const char*, const char*> cleans[] = {
        {"100", "100"}, {"100.0", "100"}, {"2.500", "2.5"}, {"3.000", "3"}, {"1.500E+20", "1.5E+20"},
        {"1.0E+50", "1E+50"}, {"0x1.80p4", "0x1.8p4"}, {".000", "0"}, {">invalid_expression<", ">invalid_expression<"},
    };
    for (const auto& [in, out] : cleans) EXPECT_EQ(str(DoubleStringCleanZeros(in)), out) << in;
    EXPECT_EQ(DoubleStringRound(nullptr, 3), nullptr);
    EXPECT_EQ(DoubleStringCleanZeros(nullptr), nullptr);
}

TEST(NumWrite, ExponentialFixedAndPadded) {
    EXPECT_EQ(str(DoubleStringExponential(1.5, 3)), "1.5E+0");
    EXPECT_EQ(str(DoubleStringExponential(0, 3)), "0E+0");
    EXPECT_EQ(str(DoubleStringExponential(-1234.5, 2)), "-1.2E+3");
    EXPECT_EQ(str(DoubleStringExponential(9.96, 2)), "1.0E+1");
    EXPECT_EQ(str(DoubleStringExponential(0.001, 15)), "1E-3");
    EXPECT_EQ(str(RoundDoubleString(2.675, 2)), "2.68");
    EXPECT_EQ(str(RoundDoubleString(-0.001, 2)), "0.00");
    EXPECT_EQ(str(RoundDoubleString(-1.5, 0)), "-2");
    EXPECT_EQ(str(RoundDoubleString(0.125, 2)), "0.13");
    EXPECT_EQ(str(RoundDoubleString(99.996, 2)), "100.00");
    EXPECT_EQ(str(RoundDoubleString(1e20, 1)), "100000000000000000000.0");
    EXPECT_EQ(str(RoundDoubleString(1, -3)), "1");
    EXPECT_EQ(str(RoundDoubleString(HUGE_VAL, 2)), ">invalid_expression<");
    EXPECT_EQ(str(RoundDoubleString(-1.7976931348623157e308, 200)).size(), 1 + 309 + 1 + 99u);
    EXPECT_EQ(str(RoundDoubleStringWithSpacePadding(3.14159, 2, 8)), "    3.14");
    EXPECT_EQ(str(RoundDoubleStringWithSpacePadding(-1, 1, 2)), "-1.0");
}

// What FreeStringVector does: every entry up to and including the closing
// empty text, then the array.
void free_list(char** list) {
    char** p = list;
    while (**p) FreeString(*p++);
    FreeString(*p);
    FreeBlock(list);
}

TEST(NumWrite, ComplexStringCapsDigitsAndReleasesOnFailure) {
    const Complex z{1.0 / 3, -2e10};
    ostr::test::CountingAlloc counter;
    char** pair = ComplexString(&z, 20);
    ASSERT_NE(pair, nullptr);
    EXPECT_STREQ(pair[0], "0.333333333333333");
    EXPECT_STREQ(pair[1], "-2E+10");
    EXPECT_STREQ(pair[2], "");
    free_list(pair);
    EXPECT_EQ(ComplexString(nullptr, 15), nullptr);
    for (long n = 0; n < 4; ++n) {  // the array and three texts
        counter.fail_after(n);
        EXPECT_EQ(ComplexString(&z, 15), nullptr);
    }
    counter.fail_after(0);
    EXPECT_EQ(DoubleString(1.5, 15), nullptr);
    counter.fail_after(-1);
    EXPECT_EQ(counter.live(), 0);
}

}  // namespace

// Every row of the table under "## Numbers" in the user's reference:
// | typed | digits | shown |, or "not a number" in the last cell.
TEST(NumWrite, ReferenceTableOfTheLanguage) {
    auto row = [](const std::vector<std::string>& c) {
        double v;
        const bool numeric = ostr::text::read_number(c.at(0), v);
        EXPECT_EQ(numeric, c.at(2) != "not a number") << c[0];
        if (numeric) {
            EXPECT_EQ(number_text(v, std::stoi(c.at(1))).view(), c[2]) << c[0];
        }
    };
    EXPECT_GE(ostr::test::for_each_table_row(OSTR_DOCS "/language.md", "## Numbers", row), 10);
}
