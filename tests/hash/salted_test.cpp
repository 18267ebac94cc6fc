// Salted hashes: the text layout at the salt-length limits, the salt round
// trip at every length, wrong secrets, malformed stored texts, and that no
// released block still holds the secret.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>

#include "helpers.hpp"
#include "core/memory.hpp"
#include "ostravine/hash.h"

namespace {

using namespace ostr::test;

TEST(SaltedHash, TailAndLayoutAtTheLimits) {
    const std::string s33(33, 'x'), s64(64, 'y');
    const std::string h33 = take(HashWithSalt("pw", s33.c_str())), h64 = take(HashWithSalt("pw", s64.c_str()));
    ASSERT_EQ(h33.size(), 196u);
    ASSERT_EQ(h64.size(), 258u);
    EXPECT_EQ(h33.substr(194), "00");
    EXPECT_EQ(h64.substr(256), "1f");
    EXPECT_EQ(h33.substr(0, 6), "787878");
    EXPECT_EQ(h33.substr(66, 128), take(SHA512(("pw" + s33).c_str())));
    EXPECT_EQ(take(HashWithSalt("pw", std::string(288, 'x').c_str())).substr(2 * 288 + 128), "ff");
    EXPECT_EQ(HashWithSalt("pw", std::string(32, 'x').c_str()), nullptr);
    EXPECT_EQ(HashWithSalt("pw", std::string(289, 'x').c_str()), nullptr);
}

TEST(SaltedHash, EverySaltLengthRoundTrips) {
    for (std::size_t n = 33; n <= 288; ++n) {
        std::string salt;
        for (std::size_t i = 0; i < n; ++i) salt.push_back(static_cast<char>(1 + (i * 37 + n) % 255));
        const std::string stored = take(HashWithSalt("secret", salt.c_str()));
        ASSERT_EQ(take(SaltFromHash(stored.c_str())), salt) << n;
        EXPECT_TRUE(TestAgainstSaltedHash("secret", stored.c_str())) << n;
        EXPECT_FALSE(TestAgainstSaltedHash("secreT", stored.c_str())) << n;
        EXPECT_FALSE(TestAgainstSaltedHash("", stored.c_str())) << n;
    }
}

// Every prefix, every single-character change and a few hand-made texts:
// never a crash (the sanitizer build watches every read), never a match.
TEST(SaltedHash, MalformedStoredTextsFail) {
    const std::string good = take(HashWithSalt("pw", std::string(40, 'k').c_str()));
    ASSERT_TRUE(TestAgainstSaltedHash("pw", good.c_str()));
    for (std::size_t n = 0; n < good.size(); ++n) {
        EXPECT_FALSE(TestAgainstSaltedHash("pw", good.substr(0, n).c_str())) << n;
        for (const char c : {'0', 'f', 'G', '\x80'}) {
            std::string bad = good;
            bad[n] = bad[n] == c ? '1' : c;
            EXPECT_FALSE(TestAgainstSaltedHash("pw", bad.c_str())) << n << c;
        }
    }
    for (const std::string& t : {std::string(), std::string("0"), std::string("00"), std::string("ff"),
                                std::string("zz"), good.substr(0, 2) + good})
        EXPECT_EQ(SaltFromHash(t.c_str()), nullptr) << t;
    EXPECT_EQ(SaltFromHash(("00" + good.substr(2)).c_str()), nullptr);  // a zero salt byte
    EXPECT_FALSE(TestAgainstSaltedHash(nullptr, good.c_str()));
    EXPECT_FALSE(TestAgainstSaltedHash("pw", nullptr));
    std::string upper = good;  // upper-case hex reads as the same salt, but the text differs
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(take(SaltFromHash(upper.c_str())), std::string(40, 'k'));
    EXPECT_FALSE(TestAgainstSaltedHash("pw", upper.c_str()));
}

// An allocator that searches every released block for the secret.
std::map<void*, std::size_t> sizes;
int blocks_with_secret = 0;
const char* const secret = "very secret phrase";
void* tracking_alloc(std::size_t n) {
    void* p = std::malloc(n);
    sizes[p] = n;
    return p;
}
void tracking_free(void* p) {
    const std::size_t n = sizes[p], k = std::strlen(secret);
    for (std::size_t i = 0; i + k <= n; ++i) blocks_with_secret += std::memcmp(static_cast<char*>(p) + i, secret, k) == 0;
    sizes.erase(p);
    std::free(p);
}
void* no_realloc(void*, std::size_t) { std::abort(); }

TEST(SaltedHash, ReleasedBlocksNeverHoldTheSecret) {
    const ostr::AllocHooks hooks{tracking_alloc, no_realloc, tracking_free};
    ostr::set_alloc_hooks(&hooks);
    std::int32_t state = -3;
    char* stored = SaltedHash(secret, &state);
    const bool ok = TestAgainstSaltedHash(secret, stored);
    FreeString(stored);
    FreeString(SHA512(secret));
    ostr::set_alloc_hooks(nullptr);
    EXPECT_TRUE(ok);
    EXPECT_EQ(blocks_with_secret, 0);
    EXPECT_TRUE(sizes.empty());
}

}  // namespace
