// Base64: Python's base64 module on random bytes of every short length,
// round trips with every kind of alphabet, and the decoder's refusals.
#include <gtest/gtest.h>

#include <random>

#include "helpers.hpp"
#include "ostravine/hash.h"

namespace {

using namespace ostr::test;

// Decoded bytes, or "<fail>" after checking that a failure reports 0 bytes.
std::string decode(const char* text, const char* extra = nullptr, char pad = '=') {
    std::uint64_t n = 99;
    unsigned char* b = extra ? Base64DecodingOptionalChars(text, extra, pad, &n) : Base64Decoding(text, &n);
    if (!b) return n == 0 ? "<fail>" : "<fail with a count>";
    std::string s(reinterpret_cast<char*>(b), n);
    FreeBlock(b);
    return s;
}

TEST(Base64, AgreesWithPythonStandardAndUrlSafe) {
    const auto rows = read_rows("base64.txt");
    ASSERT_GT(rows.size(), 60u);
    for (const auto& r : rows) {
        const std::string m = from_hex(r[0]);
        EXPECT_EQ(take(Base64Encoding(bytes(m), m.size())), r[1]);
        EXPECT_EQ(take(Base64EncodingOptionalChars(bytes(m), m.size(), "-_", '=')), r[2]);
        EXPECT_EQ(decode(r[2].c_str(), "-_", '='), m);
    }
}

// Decoding inverts encoding for every byte string, with every alphabet
// kind; long inputs take the two-groups-per-step path (with a pair table
// for optional alphabets) and must agree with the standard encoding.
TEST(Base64, RoundTripsOfRandomBytes) {
    std::mt19937 gen(20261122);
    const struct { const char* extra; char pad; } alphabets[] = {{nullptr, '='}, {"-_", '='}, {"*!", '~'}, {"-_", '\0'}};
    for (std::size_t n = 0; n < 10003; n += n < 300 ? 1 : 1427) {
        std::string m(n, '\0');
        for (char& c : m) c = static_cast<char>(gen());
        std::string standard;
        for (const auto& a : alphabets) {
            std::string text = take(a.extra ? Base64EncodingOptionalChars(bytes(m), n, a.extra, a.pad)
                                            : Base64Encoding(bytes(m), n));
            ASSERT_EQ(decode(text.c_str(), a.extra, a.pad), m) << text;
            if (!a.extra) {
                standard = text;
                continue;
            }
            for (char& c : text) c = c == a.extra[0] ? '+' : c == a.extra[1] ? '/' : c == a.pad ? '=' : c;
            ASSERT_EQ(text, a.pad ? standard : standard.substr(0, standard.find('=')));
        }
    }
}

TEST(Base64, DecoderRules) {
    const struct { const char* text; const char* want; } rows[] = {
        {"Zm9vYg", "foob"},  {"Zm9vYmE", "fooba"},  // padding may be omitted
        {" Zm9v\r\nYmFy\t", "foobar"}, {"Zm9vYg= =", "foob"}, {"   ", ""},  // white space is skipped
        {"Zm9vY", "<fail>"},      // a lone final character
        {"Zm9vYg=", "<fail>"},    {"Zm9vYmE==", "<fail>"}, {"Zg==Zg==", "<fail>"}, {"====", "<fail>"},
        {"Zm9v=", "<fail>"},      // misplaced padding
        {"Zm9-", "<fail>"},       {"Zm9\x80", "<fail>"},    // outside the alphabet
        {"Zh==", "<fail>"},       {"Zm9=", "<fail>"},       // unused bits set: no encoder writes this
    };
    for (const auto& r : rows) EXPECT_EQ(decode(r.text), r.want) << r.text;
    EXPECT_EQ(decode(nullptr), "<fail>");
    EXPECT_EQ(Base64Encoding(nullptr, 0), nullptr);
    EXPECT_EQ(decode("Zm9vYg~~", "-_", '~'), "foob");
    EXPECT_EQ(decode("Zm9vYg==", "-_", '\0'), "<fail>");
    unsigned char* b = Base64Decoding("Zm9v", nullptr);  // the count may be left out
    EXPECT_NE(b, nullptr);
    FreeBlock(b);
}

TEST(Base64, RefusedAlphabets) {
    const struct { const char* extra; char pad; } rows[] = {
        {nullptr, '='}, {"", '='},  {"-", '='},  {"-_.", '='}, {"--", '='},  {"-a", '='},
        {"9_", '='},    {" _", '='}, {"-_", '-'}, {"-_", 'A'}, {"-_", '\n'},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(Base64EncodingOptionalChars(bytes("abc"), 3, r.extra, r.pad), nullptr);
        EXPECT_EQ(decode("AQID", r.extra ? r.extra : "", r.pad), "<fail>");
    }
}

}  // namespace
