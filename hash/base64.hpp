// Internal C++ face of Base64: alphabets, encoding and strict decoding.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "core/memory.hpp"

namespace ostr::hash {

// 64 characters for the values 0..63 and the padding character ('\0' for
// none). The copy is wiped when it goes out of scope.
struct Alphabet {
    char chars[65] = {};
    char pad = '=';
    Alphabet() = default;
    Alphabet(const Alphabet&) = delete;
    Alphabet& operator=(const Alphabet&) = delete;
    ~Alphabet() { wipe(chars, sizeof chars); }
};

void standard_alphabet(Alphabet& out) noexcept;
// A-Z a-z 0-9 and the two extra characters; false (out unusable) unless
// extra is two characters and extra and pad are neither letters, digits nor
// white space and pairwise distinct, so that decoding is unambiguous.
[[nodiscard]] bool optional_alphabet(const char* extra, char pad, Alphabet& out) noexcept;

// The one-group step: three bytes to four characters. The characters are
// gathered first and written with one four-byte copy, which the compiler
// turns into a single store: nearly twice as fast as four byte stores that
// it must keep apart (out may alias chars).
inline void encode_triplet(unsigned char b0, unsigned char b1, unsigned char b2, char* out,
                           const char* chars) noexcept {
    const char q[4] = {chars[b0 >> 2], chars[((b0 & 3) << 4) | (b1 >> 4)], chars[((b1 & 15) << 2) | (b2 >> 6)],
                       chars[b2 & 63]};
    std::memcpy(out, q, 4);
}

// 4*ceil(n/3) characters, padding written as a.pad; nullptr when memory runs out.
[[nodiscard]] OwnedText encode(std::span<const unsigned char> bytes, const Alphabet& a) noexcept;

// The bytes of a Base64 text, or nullptr (n = 0) for a malformed one; see
// docs/hash.md for the rules. A valid empty text gives a one-byte block.
[[nodiscard]] OwnedBlock<unsigned char> decode(std::string_view text, const Alphabet& a,
                                               std::uint64_t& n) noexcept;

// The C face's checks: absent input, refused alphabets; n may be nullptr.
[[nodiscard]] OwnedText encode_standard(const unsigned char* bytes, std::uint64_t n) noexcept;
[[nodiscard]] OwnedText encode_optional(const unsigned char* bytes, std::uint64_t n, const char* extra,
                                        char pad) noexcept;
[[nodiscard]] OwnedBlock<unsigned char> decode_standard(const char* text, std::uint64_t* n) noexcept;
[[nodiscard]] OwnedBlock<unsigned char> decode_optional(const char* text, const char* extra, char pad,
                                                        std::uint64_t* n) noexcept;
void encode_triplet_checked(unsigned char b0, unsigned char b1, unsigned char b2, char* out,
                            const char* alphabet) noexcept;

}  // namespace ostr::hash
