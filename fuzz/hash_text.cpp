// Any text handed to the Base64 decoders, the salt reader, the salted-hash
// test and the seed reader: no crash, no leak, and whatever decodes
// re-encodes to a text that decodes to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ostravine/core.h"
#include "ostravine/hash.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);  // stops at a zero byte when read as C text
    std::uint64_t n = 0;
    unsigned char* bytes = Base64Decoding(text.c_str(), &n);
    if (bytes) {
        char* again = Base64Encoding(bytes, n);
        std::uint64_t m = 0;
        unsigned char* back = Base64Decoding(again, &m);
        if (!back || m != n || std::memcmp(back, bytes, n) != 0) std::abort();
        FreeBlock(back);
        FreeString(again);
        FreeBlock(bytes);
    }
    FreeBlock(Base64DecodingOptionalChars(text.c_str(), "-_", '\0', &n));
    FreeString(SaltFromHash(text.c_str()));
    if (TestAgainstSaltedHash("pw", text.c_str()) && text.find('\0') == std::string::npos) {
        char* salt = SaltFromHash(text.c_str());
        char* same = HashWithSalt("pw", salt);
        if (!same || std::strcmp(same, text.c_str()) != 0) std::abort();
        FreeString(same);
        FreeString(salt);
    }
    SeedFromString(text.c_str());
    return 0;
}
