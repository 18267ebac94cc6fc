// Short non-cryptographic hashes of texts and byte blocks: 32-bit FNV-1a
// (start at 2166136261; for each byte, xor it in, then multiply by the
// prime 16777619, modulo 2^32). For tables and quick checks, not secrets.
#include <cstdint>
#include <cstring>
#include <span>

#include "ostravine/hash.h"

namespace ostr::hash {
namespace {

std::uint32_t fnv1a(std::span<const unsigned char> bytes) noexcept {
    std::uint32_t h = 2166136261u;
    for (const unsigned char b : bytes) h = (h ^ b) * 16777619u;
    return h;
}

std::uint32_t fnv1a_text(const char* text) noexcept {
    if (!text) return fnv1a({});
    return fnv1a({reinterpret_cast<const unsigned char*>(text), std::strlen(text)});
}

std::uint32_t fnv1a_block(const unsigned char* bytes, std::uint64_t n) noexcept {
    if (!bytes) return fnv1a({});
    return fnv1a({bytes, static_cast<std::size_t>(n)});
}

}  // namespace
}  // namespace ostr::hash

extern "C" {

std::uint32_t HashFromString(const char* text) noexcept { return ostr::hash::fnv1a_text(text); }
std::int32_t HashFromStringL(const char* text) noexcept {
    return static_cast<std::int32_t>(ostr::hash::fnv1a_text(text));
}
std::uint32_t HashFromByteArray(const unsigned char* bytes, std::uint64_t n) noexcept {
    return ostr::hash::fnv1a_block(bytes, n);
}

}
