// SHA-512 and SHA-256: hashlib digests of every length from 0 to 300 bytes
// and around the block boundaries, and one million "a".
#include <gtest/gtest.h>

#include "helpers.hpp"
#include "hash/sha2.hpp"
#include "ostravine/hash.h"
#include "support/counting_alloc.hpp"

namespace {

using namespace ostr::test;

// One million "a" (FIPS 180-4): a bit length past 2^16, longer than any of
// the hashlib rows.
TEST(Sha2, MillionA) {
    const std::string million(1000000, 'a');
    EXPECT_EQ(take(SHA512FromByteArray(bytes(million), million.size())),
              "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
              "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b");
    EXPECT_EQ(take(SHA256(million.c_str())), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Every length 0..300 and the padding edges (a length field that still
// fits the last block, or forces one more) against Python's hashlib.
TEST(Sha2, AgreesWithHashlibAtEveryLength) {
    const auto rows = read_rows("sha2.txt");
    ASSERT_GT(rows.size(), 330u);
    for (const auto& r : rows) {
        const std::size_t n = std::stoul(r[0]);
        std::string m(n, r[1] == "1" ? 'a' : '\xff');
        if (r[1] == "0")
            for (std::size_t j = 0; j < n; ++j) m[j] = static_cast<char>((j * 167 + n * 13 + 7) & 255);
        SCOPED_TRACE("length " + r[0] + " pattern " + r[1]);
        EXPECT_EQ(take(SHA512FromByteArray(bytes(m), n)), r[2]);
        EXPECT_EQ(ostr::hash::sha256_hex({bytes(m), n}).get(), r[3]);  // no byte-block form in the C face
    }
}

TEST(Sha2, AbsentInputAndBase64Form) {
    EXPECT_EQ(SHA512(nullptr), nullptr);
    EXPECT_EQ(SHA512FromByteArray(nullptr, 3), nullptr);
    EXPECT_EQ(take(SHA512FromByteArray(nullptr, 0)), take(SHA512("")));
    // The digest bytes of "abc" by hashlib, then base64.b64encode / urlsafe.
    EXPECT_EQ(take(SHA512Base64("abc", "+/", '=')),
              "3a81oZNherrMQXNJriBBMRLm+k6JqX6iCp7u5ktV05ohkpkqJ0/BqDa6PCOj/uu9RU1EI2Q86A4qmslPpUyknw==");
    EXPECT_EQ(take(SHA512Base64("abc", "-_", '\0')),
              "3a81oZNherrMQXNJriBBMRLm-k6JqX6iCp7u5ktV05ohkpkqJ0_BqDa6PCOj_uu9RU1EI2Q86A4qmslPpUyknw");
    EXPECT_EQ(SHA512Base64("abc", "+", '='), nullptr);
}

// Running out of memory at any allocation gives no text and leaks nothing.
TEST(Sha2, OutOfMemoryAtEveryStep) {
    for (long k = 0;; ++k) {
        ostr::test::CountingAlloc counter;
        counter.fail_after(k);
        std::int32_t state = -1;
        char* texts[] = {SHA512("abc"), SaltedHash("pw", &state), Base64Encoding(bytes("abc"), 3)};
        bool all = true;
        for (char* t : texts) {
            all = all && t;
            FreeString(t);
        }
        EXPECT_EQ(counter.live(), 0) << k;
        if (all) break;
    }
}

}  // namespace
