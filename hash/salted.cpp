// Salted password hashes: salt as hex, SHA-512 of secret + salt, and the
// salt length in a two-digit tail. Secrets, salts and digests are wiped.
#include "hash/salted.hpp"

#include <cstring>

#include "hash/random.hpp"
#include "hash/sha2.hpp"
#include "ostravine/hash.h"

namespace ostr::hash {
namespace {

constexpr char hex_digits[] = "0123456789abcdef";

void put_hex2(char* out, unsigned char b) noexcept {
    out[0] = hex_digits[b >> 4];
    out[1] = hex_digits[b & 15];
}

int hex_value(char c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Two hex digits as a byte, or -1.
int hex2(const char* p) noexcept {
    const int hi = hex_value(p[0]), lo = hex_value(p[1]);
    return hi < 0 || lo < 0 ? -1 : hi * 16 + lo;
}

// A heap copy of secret + salt, wiped before release.
class Joined {
public:
    Joined(std::string_view a, std::string_view b) noexcept
        : n_(a.size() + b.size()), p_(static_cast<char*>(mem_alloc(n_))) {
        if (!p_) return;
        std::memcpy(p_, a.data(), a.size());
        std::memcpy(p_ + a.size(), b.data(), b.size());
    }
    ~Joined() {
        if (!p_) return;
        wipe(p_, n_);
        mem_free(p_);
    }
    Joined(const Joined&) = delete;
    Joined& operator=(const Joined&) = delete;
    explicit operator bool() const noexcept { return p_ != nullptr; }
    Bytes bytes() const noexcept { return text_bytes(p_, n_); }

private:
    std::size_t n_;
    char* p_;
};

}  // namespace

OwnedText hash_with_salt(std::string_view secret, std::string_view salt) noexcept {
    const std::size_t len = salt.size();
    if (len < min_salt || len > max_salt) return nullptr;
    const Joined message(secret, salt);
    if (!message) return nullptr;
    const OwnedText digest = sha512_hex(message.bytes());
    OwnedText out(static_cast<char*>(mem_calloc(2 * len + 128 + 2 + 1, 1)));
    if (!digest || !out) return nullptr;
    char* o = out.get();
    for (const char c : salt) o = (put_hex2(o, static_cast<unsigned char>(c)), o + 2);
    std::memcpy(o, digest.get(), 128);
    put_hex2(o + 128, static_cast<unsigned char>(len - min_salt));
    o[130] = '\0';
    return out;
}

OwnedText salted_hash(std::string_view secret, std::int32_t& state) noexcept {
    const auto k = static_cast<std::int32_t>(rnd::ran2(state) * 32);
    const OwnedText salt = rnd::random_text(k + static_cast<std::int32_t>(min_salt), rnd::Chars::alphanumeric, state);
    return salt ? hash_with_salt(secret, salt.get()) : nullptr;
}

// Strict: the length must be exactly what the tail says, every salt pair a
// hex byte, and no salt byte zero (it would cut the text short).
OwnedText salt_from_hash(std::string_view stored) noexcept {
    const std::size_t n = stored.size();
    if (n < 2) return nullptr;
    const int k = hex2(stored.data() + n - 2);
    if (k < 0) return nullptr;
    const std::size_t len = min_salt + static_cast<std::size_t>(k);
    if (n != 2 * len + 130) return nullptr;
    // Zero-filled: a refusal half-way releases a terminated text.
    OwnedText salt(static_cast<char*>(mem_calloc(len + 1, 1)));
    if (!salt) return salt;
    for (std::size_t i = 0; i < len; ++i) {
        const int b = hex2(stored.data() + 2 * i);
        if (b <= 0) return nullptr;
        salt.get()[i] = static_cast<char>(b);
    }
    salt.get()[len] = '\0';
    return salt;
}

// Every character is compared whatever came before, the differences are
// gathered into a volatile so the loop cannot stop early, and only the end
// result is tested: the time does not reveal where the texts first differ.
// The lengths are not secret (the tail of the stored text states them).
bool equal_in_fixed_time(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    volatile unsigned char diff = 0;
    for (std::size_t i = 0; i < a.size(); ++i) diff = diff | static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

bool test_against_salted_hash(std::string_view secret, std::string_view stored) noexcept {
    const OwnedText salt = salt_from_hash(stored);
    if (!salt) return false;
    const OwnedText recomputed = hash_with_salt(secret, salt.get());
    return recomputed && equal_in_fixed_time(recomputed.get(), stored);
}

namespace {

std::string_view view(const char* text) noexcept { return text ? text : ""; }

}  // namespace

OwnedText salted_hash_of(const char* secret, std::int32_t* state) noexcept {
    return secret ? salted_hash(secret, *state) : nullptr;
}
OwnedText hash_with_salt_of(const char* secret, const char* salt) noexcept {
    return secret && salt ? hash_with_salt(secret, salt) : nullptr;
}
bool test_against(const char* secret, const char* stored) noexcept {
    return secret && stored && test_against_salted_hash(secret, stored);
}
OwnedText salt_from(const char* stored) noexcept { return salt_from_hash(view(stored)); }

}  // namespace ostr::hash

extern "C" {

char* SaltedHash(const char* secret, std::int32_t* state) noexcept {
    return ostr::hash::salted_hash_of(secret, state).release();
}
char* HashWithSalt(const char* secret, const char* salt) noexcept {
    return ostr::hash::hash_with_salt_of(secret, salt).release();
}
char* SaltFromHash(const char* stored) noexcept { return ostr::hash::salt_from(stored).release(); }
int TestAgainstSaltedHash(const char* secret, const char* stored) noexcept {
    return ostr::hash::test_against(secret, stored);
}

}
