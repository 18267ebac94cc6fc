// Salted hashes: the text layout at the salt-length limits, the salt round
// trip at every length, wrong secrets, malformed stored texts, and that no
// released block still holds the secret.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "numeric/memory.hpp"
#include "ostravine/core.h"
#include "ostravine/hash.h"
#include "support/counting_alloc.hpp"

namespace {

std::string take(char* text) {
    std::string s = text ? text : "<null>";
    FreeString(text);
    return s;
}

std::string salt_of_length(std::size_t n) {
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s.push_back(static_cast<char>(1 + (i * 37) % 255));
    return s;
}

TEST(SaltedHash, TailAndLayoutAtTheLimits) {
    const std::string s33(33, 'x'), s64(64, 'y');
    const std::string h33 = take(HashWithSalt("pw", s33.c_str()));
    const std::string h64 = take(HashWithSalt("pw", s64.c_str()));
    ASSERT_EQ(h33.size(), 196u);
    ASSERT_EQ(h64.size(), 258u);
    EXPECT_EQ(h33.substr(194), "00");
    EXPECT_EQ(h64.substr(256), "1f");
    EXPECT_EQ(h33.substr(0, 6), "787878");
    EXPECT_EQ(h33.substr(66, 128), take(SHA512(("pw" + s33).c_str())));
    EXPECT_EQ(HashWithSalt("pw", std::string(32, 'x').c_str()), nullptr);
    EXPECT_EQ(HashWithSalt("pw", std::string(289, 'x').c_str()), nullptr);
    EXPECT_EQ(take(HashWithSalt("pw", std::string(288, 'x').c_str())).substr(2 * 288 + 128), "ff");
}

TEST(SaltedHash, EverySaltLengthRoundTrips) {
    for (std::size_t n = 33; n <= 288; ++n) {
        const std::string salt = salt_of_length(n);
        const std::string stored = take(HashWithSalt("secret", salt.c_str()));
        ASSERT_EQ(take(SaltFromHash(stored.c_str())), salt) << n;
        EXPECT_TRUE(TestAgainstSaltedHash("secret", stored.c_str())) << n;
        EXPECT_FALSE(TestAgainstSaltedHash("secreT", stored.c_str())) << n;
    }
}

TEST(SaltedHash, FreshSaltsFromTheGenerator) {
    std::int32_t state = -17;
    for (int i = 0; i < 200; ++i) {
        const std::string stored = take(SaltedHash("hunter2", &state));
        ASSERT_GE(stored.size(), 196u);
        ASSERT_LE(stored.size(), 258u);
        const std::string salt = take(SaltFromHash(stored.c_str()));
        for (const char c : salt) ASSERT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << salt;
        EXPECT_TRUE(TestAgainstSaltedHash("hunter2", stored.c_str()));
        EXPECT_FALSE(TestAgainstSaltedHash("hunter", stored.c_str()));
        EXPECT_FALSE(TestAgainstSaltedHash("", stored.c_str()));
    }
    EXPECT_EQ(SaltedHash(nullptr, &state), nullptr);
}

// Every prefix, every single-character change and a few hand-made texts:
// never a crash (the sanitizer build watches reads), never a match.
TEST(SaltedHash, MalformedStoredTextsFail) {
    const std::string good = take(HashWithSalt("pw", std::string(40, 'k').c_str()));
    for (std::size_t n = 0; n < good.size(); ++n) {
        const std::string cut = good.substr(0, n);
        EXPECT_FALSE(TestAgainstSaltedHash("pw", cut.c_str())) << n;
        FreeString(SaltFromHash(cut.c_str()));
    }
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const char c : {'0', 'f', 'g', 'G', '\x80', ' '}) {
            std::string bad = good;
            if (bad[i] == c) continue;
            bad[i] = c;
            EXPECT_FALSE(TestAgainstSaltedHash("pw", bad.c_str())) << i << c;
        }
    }
    for (const char* t : {"", "0", "00", "ff", "zz", "0000", "GG"}) {
        EXPECT_EQ(SaltFromHash(t), nullptr) << t;
        EXPECT_FALSE(TestAgainstSaltedHash("pw", t));
    }
    std::string zero_salt = good;
    zero_salt[0] = zero_salt[1] = '0';
    EXPECT_EQ(SaltFromHash(zero_salt.c_str()), nullptr);
    EXPECT_FALSE(TestAgainstSaltedHash(nullptr, good.c_str()));
    EXPECT_FALSE(TestAgainstSaltedHash("pw", nullptr));
    EXPECT_EQ(SaltFromHash(nullptr), nullptr);
    std::string upper = good;  // upper-case hex reads as the same salt, but the text differs
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(take(SaltFromHash(upper.c_str())), std::string(40, 'k'));
    EXPECT_FALSE(TestAgainstSaltedHash("pw", upper.c_str()));
}

// A hook that searches every released block for the secret.
std::map<void*, std::size_t> sizes;
int blocks_with_secret = 0;
const char* needle = "very secret phrase";
void* tracking_alloc(std::size_t n) {
    void* p = std::malloc(n);
    sizes[p] = n;
    return p;
}
void tracking_free(void* p) {
    const std::size_t n = sizes[p], k = std::strlen(needle);
    for (std::size_t i = 0; i + k <= n; ++i)
        blocks_with_secret += std::memcmp(static_cast<char*>(p) + i, needle, k) == 0;
    sizes.erase(p);
    std::free(p);
}
void* no_realloc(void*, std::size_t) { std::abort(); }

TEST(SaltedHash, ReleasedBlocksNeverHoldTheSecret) {
    const ostr::AllocHooks hooks{tracking_alloc, no_realloc, tracking_free};
    ostr::set_alloc_hooks(&hooks);
    std::int32_t state = -3;
    char* stored = SaltedHash(needle, &state);
    const bool ok = TestAgainstSaltedHash(needle, stored);
    FreeString(stored);
    FreeString(SHA512(needle));
    ostr::set_alloc_hooks(nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(blocks_with_secret, 0);
    EXPECT_TRUE(sizes.empty());
}

}  // namespace
