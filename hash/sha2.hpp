// Internal C++ face of the SHA-2 digests, shared by the salted hashes, the
// state file and the benchmark.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "core/memory.hpp"

namespace ostr::hash {

using Bytes = std::span<const unsigned char>;

// Final state words; wiped when they go out of scope, since a digest of a
// secret with a known salt is itself worth hiding.
template <class Word>
struct DigestWords {
    std::array<Word, 8> w{};
    DigestWords() = default;
    DigestWords(const DigestWords&) = delete;
    DigestWords& operator=(const DigestWords&) = delete;
    ~DigestWords() { wipe(w.data(), sizeof w); }
};
using Digest512 = DigestWords<std::uint64_t>;
using Digest256 = DigestWords<std::uint32_t>;

// False only when memory for the padded message runs out.
[[nodiscard]] bool sha512(Bytes message, Digest512& out) noexcept;
[[nodiscard]] bool sha256(Bytes message, Digest256& out) noexcept;

// The digest as 128 (64) lower-case hex digits; nullptr when memory runs out.
[[nodiscard]] OwnedText sha512_hex(Bytes message) noexcept;
[[nodiscard]] OwnedText sha256_hex(Bytes message) noexcept;

// The same for a zero-terminated text or a byte block; nullptr for absent
// input (a NULL block is allowed with n = 0).
[[nodiscard]] OwnedText sha512_of_text(const char* text) noexcept;
[[nodiscard]] OwnedText sha512_of_bytes(const unsigned char* bytes, std::uint64_t n) noexcept;
[[nodiscard]] OwnedText sha256_of_text(const char* text) noexcept;

// The 64 digest bytes of a text as Base64 with an optional alphabet.
[[nodiscard]] OwnedText sha512_base64(const char* text, const char* extra, char pad) noexcept;

// The 64 digest bytes, most significant byte of the first word first.
void digest_bytes(const Digest512& d, unsigned char out[64]) noexcept;

inline Bytes text_bytes(const char* text, std::size_t n) noexcept {
    return {reinterpret_cast<const unsigned char*>(text), n};
}

}  // namespace ostr::hash
