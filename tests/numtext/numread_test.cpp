// Reading number texts: the literal rule against a plain reference built on
// strtod, the binary literals against strtod of the same bits in hex, and
// one table row per deliberate quirk.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "numtext/numtext.hpp"
#include "numtext_test.hpp"
#include "ostravine/numtext.h"

namespace {

using ostr::text::read_number;

bool same(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The binary literal as written: strtod of the same bits as a hexadecimal
// fraction (correctly rounded by the C library), and, where the value has at
// most 53 significant bits, the plain sum of weights read from the last digit.
bool reference_binary(const std::string& s, double& value) {
    const std::size_t point = s.find('.', 2);
    std::string ip = s.substr(2, point - 2);
    std::string fp = point == std::string::npos ? "" : s.substr(point + 1);
    if ((ip + fp).find_first_not_of("01") != std::string::npos) return false;
    ip.insert(0, (4 - ip.size() % 4) % 4, '0');
    fp.append((4 - fp.size() % 4) % 4, '0');
    std::string hex = "0x0";
    auto nibbles = [&](const std::string& bits) {
        for (std::size_t i = 0; i < bits.size(); i += 4) hex += "0123456789abcdef"[std::stoi(bits.substr(i, 4), nullptr, 2)];
    };
    nibbles(ip);
    hex += '.';
    nibbles(fp);
    hex += "p0";
    value = std::strtod(hex.c_str(), nullptr);
    if (!std::isfinite(value)) {
        value = 0;
        return false;
    }
    const std::string digits = s.substr(2, point - 2);
    if (point == std::string::npos && digits.size() <= 53) {
        double sum = 0, weight = 1;
        for (auto c = digits.rbegin(); c != digits.rend(); ++c, weight *= 2) sum += *c == '1' ? weight : 0;
        EXPECT_EQ(sum, value) << s;
    }
    return true;
}

// The rule stated plainly: a binary literal, or a text that strtod consumes
// completely with a finite value; never empty, no leading white space.
bool reference(const std::string& s, double& value) {
    value = 0;
    if (s.rfind("0b", 0) == 0) return reference_binary(s, value);
    if (s.empty() || std::isspace(static_cast<unsigned char>(s[0]))) return false;
    char* end;
    const double v = std::strtod(s.c_str(), &end);
    if (*end != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

void expect_like_reference(const std::string& s) {
    double want, got;
    const bool accepted = reference(s, want);
    ASSERT_EQ(read_number(s, got), accepted) << '"' << s << '"';
    EXPECT_TRUE(same(got, want)) << '"' << s << "\" " << got << " vs " << want;
}

struct Row {
    const char* text;
    bool numeric;
    double value;
};

TEST(NumRead, TableOfForms) {
    // The forms of the language reference's table are checked there.
    const Row rows[] = {
        {"0b.", true, 0}, {"0b.01", true, 0.25}, {"0b1.1.1", false, 0}, {"0b1.2", false, 0}, {"-0b1", false, 0},
        {"0B1", false, 0}, {"0b1e1", false, 0}, {"0x10", true, 16}, {"0x1p4", true, 16}, {"0X1P4", true, 16},
        {"-0x1.8p1", true, -3}, {"0x.8", true, 0.5}, {"0x", false, 0}, {"0x.p1", false, 0}, {"0x1p", false, 0},
        {"nan", false, 0}, {"-Infinity", false, 0}, {"-1e999", false, 0}, {"", false, 0}, {" 1", false, 0},
        {"1 ", false, 0}, {"\t1", false, 0}, {"4.9e-324", true, 5e-324}, {".5", true, 0.5}, {"5.", true, 5},
        {".", false, 0}, {"+1", true, 1}, {"1e", false, 0}, {"1e+", false, 0}, {"2.5E-3", true, 0.0025},
        {"1,5", false, 0}, {"--1", false, 0}, {"1e0000000000000000000000001", true, 10},
        {"1e-99999999999999999999", true, 0}, {"0x1p-1080", true, 0}, {"0x1p1024", false, 0},
    };
    for (const Row& r : rows) {
        double v = -1;
        EXPECT_EQ(read_number(r.text, v), r.numeric) << '"' << r.text << '"';
        EXPECT_EQ(v, r.value) << '"' << r.text << '"';
        expect_like_reference(r.text);
    }
    double v = -1;
    EXPECT_TRUE(read_number("-0", v) && std::signbit(v));
    EXPECT_FALSE(read_number(std::string_view("1\0", 2), v));
}

TEST(NumRead, RandomTextsAgreeWithReference) {
    std::mt19937_64 rng(20261122);
    const char* pieces[] = {"0", "1", "7", "9", ".", "e", "E", "+", "-", "x", "X", "p",
                            "P", "b", "a", "f", " ", "inf", "nan", "0x", "0b", "e-3"};
    for (long n = 0; n < ostr::test::samples; ++n) {
        std::string s;
        for (int len = static_cast<int>(rng() % 9); len > 0; --len) s += pieces[rng() % std::size(pieces)];
        expect_like_reference(s);
        if (HasFailure()) return;
    }
}

TEST(NumRead, MutatedNumbersAgreeWithReference) {
    std::mt19937_64 rng(7);
    const char* formats[] = {"%.17g", "%a", "%.3e", "%.0f", "%.25g"};
    const std::string alphabet = "0123456789.eEpPxX+-ab";
    char buf[512];
    for (long n = 0; n < ostr::test::samples; ++n) {
        std::uint64_t bits = rng();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        std::snprintf(buf, sizeof buf, formats[rng() % std::size(formats)], v);
        std::string s = buf;
        expect_like_reference(s);
        for (int m = static_cast<int>(rng() % 3); m > 0 && !s.empty(); --m) {
            const std::size_t at = rng() % s.size();
            const char c = alphabet[rng() % alphabet.size()];
            switch (rng() % 3) {
                case 0: s[at] = c; break;
                case 1: s.insert(at, 1, c); break;
                default: s.erase(at, 1);
            }
        }
        expect_like_reference(s);
        if (HasFailure()) return;
    }
}

// Bit strings of every length, including more than 53 significant bits
// (rounded once, ties to even), overflow past 2^1024 and subnormal fractions.
TEST(NumRead, BinaryLiteralsAreCorrectlyRounded) {
    std::mt19937_64 rng(42);
    for (long n = 0; n < ostr::test::samples / 10; ++n) {
        std::string s = "0b";
        const int shape = static_cast<int>(rng() % 4);
        const std::size_t int_len = shape == 0 ? rng() % 1100 : rng() % 70;
        for (std::size_t i = 0; i < int_len; ++i) s += rng() % 4 ? '0' + static_cast<char>(rng() % 2) : '1';
        if (shape >= 2) {
            s += '.';
            const std::size_t zeros = shape == 3 ? 1000 + rng() % 90 : 0;
            s.append(zeros, '0');
            for (std::size_t i = rng() % 80; i > 0; --i) s += '0' + static_cast<char>(rng() % 2);
        }
        expect_like_reference(s);
        if (HasFailure()) return;
    }
    expect_like_reference("0b" + std::string(1024, '1'));  // overflows: not numeric
    expect_like_reference("0b1" + std::string(1023, '0'));
    expect_like_reference("0b1" + std::string(52, '0') + "1");  // a tie, to even
    expect_like_reference("0b1" + std::string(51, '0') + "11");
}

TEST(NumRead, AtoFReadsBinaryAsZeroAndRejectsWithNaN) {
    EXPECT_EQ(AtoF("0b101"), 0.0);
    EXPECT_EQ(AtoF("2.5E-3"), 0.0025);
    EXPECT_EQ(AtoF("0x10"), 16.0);
    EXPECT_TRUE(std::isnan(AtoF("")));
    EXPECT_TRUE(std::isnan(AtoF("abc")));
    EXPECT_TRUE(std::isnan(AtoF("1e999")));
    EXPECT_TRUE(std::isnan(AtoF(nullptr)));
    double v = -1;
    EXPECT_EQ(TestNumericString("0b101", &v), 1);
    EXPECT_EQ(v, 5.0);
    EXPECT_EQ(TestNumericString(nullptr, &v), 0);
    EXPECT_EQ(v, 0.0);
    EXPECT_EQ(TestNumericString("1", nullptr), 1);
}

// The C face skips leading white space as strtod does; nothing else.
TEST(NumRead, TheCFaceSkipsLeadingWhiteSpaceAsStrtodDoes) {
    const std::pair<const char*, double> accepted[] = {
        {" 12", 12}, {"\t\n-1.5", -1.5}, {"\v\f\r0x10", 16}, {"  2.5E-3", 0.0025},
    };
    for (const auto& [text, want] : accepted) {
        double v = -1;
        EXPECT_EQ(TestNumericString(text, &v), 1) << text;
        EXPECT_EQ(v, want) << text;
        EXPECT_EQ(AtoF(text), want) << text;
    }
    EXPECT_EQ(AtoL(" 42"), 42);
    for (const char* text : {" ", "12 ", " 0b101", " 1e999", " inf", "\xA0" "12", " 1 2"}) {
        double v = -1;
        EXPECT_EQ(TestNumericString(text, &v), 0) << text;
        EXPECT_TRUE(std::isnan(AtoF(text))) << text;
    }
}

TEST(NumRead, AtoLIsExactForIntegersAndClampsTheRest) {
    const std::pair<const char*, std::int64_t> rows[] = {
        {"42", 42}, {"+7", 7}, {"-0", 0}, {"9007199254740993", 9007199254740993},
        {"-9223372036854775808", INT64_MIN}, {"9223372036854775808", INT64_MAX},
        {"1e30", INT64_MAX}, {"-1e30", INT64_MIN}, {"2.9", 2}, {"-2.9", -2},
        {"1e3", 1000}, {"0x10", 16}, {"0b101", 0}, {"abc", 0}, {"", 0},
    };
    for (const auto& [text, want] : rows) EXPECT_EQ(AtoL(text), want) << text;
    EXPECT_EQ(AtoL(nullptr), 0);
}

}  // namespace
