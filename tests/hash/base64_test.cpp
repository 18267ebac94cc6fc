// Base64: the RFC 4648 vectors, Python's base64 module on random bytes,
// round trips with every kind of alphabet, and the decoder's refusals.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "data_file.hpp"
#include "ostravine/core.h"
#include "ostravine/hash.h"

namespace {

const unsigned char* bytes(const std::string& s) { return reinterpret_cast<const unsigned char*>(s.data()); }

std::string take(char* text) {
    std::string s = text ? text : "<null>";
    FreeString(text);
    return s;
}

// Decoded bytes, or "<fail>" after checking that a failure reports 0 bytes.
std::string decode(const char* text, const char* extra = nullptr, char pad = '=') {
    std::uint64_t n = 99;
    unsigned char* b = extra ? Base64DecodingOptionalChars(text, extra, pad, &n) : Base64Decoding(text, &n);
    if (!b) return n == 0 ? "<fail>" : "<fail with a count>";
    std::string s(reinterpret_cast<char*>(b), n);
    FreeBlock(b);
    return s;
}

TEST(Base64, Rfc4648Vectors) {
    const char* rows[][2] = {{"", ""},         {"f", "Zg=="},     {"fo", "Zm8="},        {"foo", "Zm9v"},
                             {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto& r : rows) {
        const std::string m = r[0];
        EXPECT_EQ(take(Base64Encoding(bytes(m), m.size())), r[1]);
        EXPECT_EQ(decode(r[1]), m);
    }
    EXPECT_EQ(take(Base64Encoding(bytes("AB"), 2)), "QUI=");
    EXPECT_EQ(take(Base64Encoding(bytes("A"), 1)), "QQ==");
    EXPECT_EQ(Base64Encoding(nullptr, 0), nullptr);
}

TEST(Base64, AgreesWithPythonStandardAndUrlSafe) {
    for (const auto& r : ostr::test::read_rows("base64.txt")) {
        const std::string m = ostr::test::from_hex(r[0]);
        EXPECT_EQ(take(Base64Encoding(bytes(m), m.size())), ostr::test::field(r[1]));
        EXPECT_EQ(take(Base64EncodingOptionalChars(bytes(m), m.size(), "-_", '=')), ostr::test::field(r[2]));
        EXPECT_EQ(decode(ostr::test::field(r[2]).c_str(), "-_", '='), m);
    }
}

// Decoding inverts encoding for every byte string, with every alphabet
// kind: standard, optional with padding, optional without padding.
TEST(Base64, RoundTripsOfRandomBytes) {
    std::mt19937 gen(20261122);
    const struct { const char* extra; char pad; } alphabets[] = {{nullptr, '='}, {"-_", '='}, {"*!", '~'}, {"-_", '\0'}};
    for (std::size_t n = 0; n < 300; ++n) {
        std::string m(n, '\0');
        for (char& c : m) c = static_cast<char>(gen());
        for (const auto& a : alphabets) {
            const std::string text = take(a.extra ? Base64EncodingOptionalChars(bytes(m), n, a.extra, a.pad)
                                                  : Base64Encoding(bytes(m), n));
            ASSERT_EQ(text.size(), a.pad ? (n + 2) / 3 * 4 : (4 * n + 2) / 3) << n;
            ASSERT_EQ(decode(text.c_str(), a.extra, a.pad), m) << text;
        }
    }
}

// Long inputs take the two-groups-at-a-time path (with a pair table for
// optional alphabets); it must give what the group-by-group path gives.
TEST(Base64, LongInputsAgreeAcrossAlphabets) {
    std::mt19937 gen(4096);
    for (const std::size_t n : {4095, 4096, 4097, 10000, 10001, 10002}) {
        std::string m(n, '\0');
        for (char& c : m) c = static_cast<char>(gen());
        std::string want = take(Base64Encoding(bytes(m), n));
        for (char& c : want) c = c == '+' ? '-' : c == '/' ? '_' : c == '=' ? '~' : c;
        EXPECT_EQ(take(Base64EncodingOptionalChars(bytes(m), n, "-_", '~')), want) << n;
        EXPECT_EQ(decode(want.c_str(), "-_", '~'), m) << n;
    }
}

TEST(Base64, DecoderRules) {
    const struct { const char* text; const char* want; } rows[] = {
        {"Zm9vYg", "foob"},           // padding may be omitted
        {"Zm9vYmE", "fooba"},
        {" Zm9v\r\nYmFy\t", "foobar"},  // white space anywhere is skipped
        {"Zm9vYg= =", "foob"},
        {"   ", ""},
        {"Zm9vY", "<fail>"},          // a lone final character
        {"Zm9vYg=", "<fail>"},        // incomplete padding
        {"Zm9vYmE==", "<fail>"},      // too much padding
        {"Zg==Zg==", "<fail>"},       // data after padding
        {"====", "<fail>"},
        {"Zm9v=", "<fail>"},
        {"Zm9-", "<fail>"},           // outside the standard alphabet
        {"Zm9\x80", "<fail>"},
        {"Zh==", "<fail>"},           // unused bits set: no encoder writes this
        {"Zm9=", "<fail>"},
    };
    for (const auto& r : rows) EXPECT_EQ(decode(r.text), r.want) << r.text;
    EXPECT_EQ(decode(nullptr), "<fail>");
    EXPECT_EQ(decode("Zm9vYg~~", "-_", '~'), "foob");
    EXPECT_EQ(decode("Zm9vYg==", "-_", '\0'), "<fail>");  // no padding character in this alphabet
    unsigned char* b = Base64Decoding("Zm9v", nullptr);  // the count may be left out
    EXPECT_NE(b, nullptr);
    FreeBlock(b);
}

TEST(Base64, RefusedAlphabets) {
    const unsigned char b[] = {1, 2, 3};
    const struct { const char* extra; char pad; } rows[] = {
        {nullptr, '='}, {"", '='}, {"-", '='}, {"-_.", '='}, {"--", '='}, {"-a", '='},
        {"9_", '='},    {" _", '='}, {"-_", '-'}, {"-_", 'A'}, {"-_", '\n'},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(Base64EncodingOptionalChars(b, 3, r.extra, r.pad), nullptr) << (r.extra ? r.extra : "null");
        EXPECT_EQ(decode("AQID", r.extra ? r.extra : "", r.pad), "<fail>");
    }
}

TEST(Base64, TripletStep) {
    char out[5] = "....";
    Base64EncodingTriplet(0xfb, 0xff, 0xbf, out, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    EXPECT_STREQ(out, "+/+/");
    Base64EncodingTriplet(0, 0, 0, nullptr, nullptr);
}

}  // namespace
