// Base64 encoding with the standard or an optional alphabet, and a strict
// decoder that either inverts the encoding exactly or fails as a whole.
#include "hash/base64.hpp"

#include <bit>
#include <cstring>

#include "ostravine/hash.h"

namespace ostr::hash {
namespace {

constexpr char alnum[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

bool is_space(unsigned char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_alnum(unsigned char c) noexcept {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool usable_extra(unsigned char c) noexcept { return c != '\0' && !is_alnum(c) && !is_space(c); }

// Decoding table: the value of each character, or one of these marks.
constexpr unsigned char bad = 0xff, space = 0xfe, padding = 0xfd;

struct DecodeTable {
    unsigned char v[256];
    explicit DecodeTable(const Alphabet& a) noexcept {
        for (int c = 0; c < 256; ++c) v[c] = is_space(static_cast<unsigned char>(c)) ? space : bad;
        for (int k = 0; k < 64; ++k) v[static_cast<unsigned char>(a.chars[k])] = static_cast<unsigned char>(k);
        if (a.pad != '\0') v[static_cast<unsigned char>(a.pad)] = padding;
    }
};

}  // namespace

void standard_alphabet(Alphabet& out) noexcept {
    std::memcpy(out.chars, alnum, 62);
    out.chars[62] = '+';
    out.chars[63] = '/';
    out.pad = '=';
}

bool optional_alphabet(const char* extra, char pad, Alphabet& out) noexcept {
    if (!extra || std::strlen(extra) != 2) return false;
    const auto x = static_cast<unsigned char>(extra[0]), y = static_cast<unsigned char>(extra[1]);
    const auto p = static_cast<unsigned char>(pad);
    if (!usable_extra(x) || !usable_extra(y) || x == y) return false;
    if (p != '\0' && (!usable_extra(p) || p == x || p == y)) return false;
    std::memcpy(out.chars, alnum, 62);
    out.chars[62] = extra[0];
    out.chars[63] = extra[1];
    out.pad = pad;
    return true;
}

// Character pairs for every 12-bit value (half a group), laid out as they
// go to memory: one lookup and one two-byte store per pair.
struct PairTable {
    std::uint16_t v[4096];
};

constexpr std::uint16_t pair_of(char hi, char lo) noexcept {
    const auto h = static_cast<unsigned char>(hi), l = static_cast<unsigned char>(lo);
    return static_cast<std::uint16_t>(std::endian::native == std::endian::little ? h | l << 8 : h << 8 | l);
}

constexpr void fill_pairs(PairTable& t, const char* chars) noexcept {
    for (int x = 0; x < 4096; ++x) t.v[x] = pair_of(chars[x >> 6], chars[x & 63]);
}

constexpr PairTable standard_pairs = [] {
    PairTable t{};
    fill_pairs(t, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    return t;
}();

// Below this many bytes an optional alphabet is encoded group by group:
// filling its pair table would cost more than it saves.
constexpr std::size_t pair_table_threshold = 4096;

// Two groups (six bytes) per step from one eight-byte load while at least
// eight bytes remain: the characters encode_triplet gives for each group,
// as four pairs. Returns the number of bytes consumed.
std::size_t encode_bulk(const unsigned char* p, std::size_t n, char* o, const PairTable& t) noexcept {
    std::size_t done = 0;
    for (; n - done >= 8; done += 6, o += 8) {
        std::uint64_t v;
        std::memcpy(&v, p + done, 8);
        if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
        const std::uint16_t q[4] = {t.v[v >> 52], t.v[(v >> 40) & 0xfff], t.v[(v >> 28) & 0xfff],
                                    t.v[(v >> 16) & 0xfff]};
        std::memcpy(o, q, 8);
    }
    return done;
}

OwnedText encode(std::span<const unsigned char> bytes, const Alphabet& a) noexcept {
    const std::size_t n = bytes.size(), groups = n / 3, rem = n % 3;
    if (groups >= (SIZE_MAX - 8) / 4) return nullptr;
    const std::size_t len = 4 * (groups + (rem != 0));
    OwnedText out(static_cast<char*>(mem_calloc(len + 1, 1)));
    if (!out) return out;
    const unsigned char* p = bytes.data();
    const unsigned char* const end = p + 3 * groups;
    char* o = out.get();
    const bool standard = std::memcmp(a.chars, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/", 64) == 0;
    if (n >= 8 && (standard || n >= pair_table_threshold)) {
        PairTable own;
        if (!standard) fill_pairs(own, a.chars);
        const std::size_t done = encode_bulk(p, n, o, standard ? standard_pairs : own);
        if (!standard) wipe(own.v, sizeof own.v);  // it is a copy of the alphabet too
        p += done;
        o += done / 3 * 4;
    }
    for (; p < end; p += 3, o += 4) encode_triplet(p[0], p[1], p[2], o, a.chars);
    if (rem == 1) {
        encode_triplet(p[0], 0, 0, o, a.chars);
        o[2] = o[3] = a.pad;
    } else if (rem == 2) {
        encode_triplet(p[0], p[1], 0, o, a.chars);
        o[3] = a.pad;
    }
    return out;
}

// One pass: white space is skipped; after the first padding character only
// padding and white space may follow, and the padding must complete the
// last group. A group of one character, or a last group whose unused low
// bits are not zero (no encoder writes that), fails. A failure wipes what
// was decoded so far and returns nothing: never a partial block.
OwnedBlock<unsigned char> decode(std::string_view text, const Alphabet& a, std::uint64_t& n) noexcept {
    n = 0;
    const DecodeTable table(a);
    const std::size_t cap = text.size() / 4 * 3 + 3;
    OwnedBlock<unsigned char> out(static_cast<unsigned char*>(mem_alloc(cap)));
    if (!out) return out;
    unsigned char* o = out.get();
    std::size_t len = 0, pads = 0, q = 0;
    std::uint32_t acc = 0;
    auto fail = [&]() noexcept {
        wipe(o, len);
        out.reset();
        return nullptr;
    };
    for (const char ch : text) {
        const unsigned char v = table.v[static_cast<unsigned char>(ch)];
        if (v < 64) {
            if (pads != 0) return fail();
            acc = acc << 6 | v;
            if (++q == 4) {
                o[len++] = static_cast<unsigned char>(acc >> 16);
                o[len++] = static_cast<unsigned char>(acc >> 8);
                o[len++] = static_cast<unsigned char>(acc);
                q = 0;
                acc = 0;
            }
        } else if (v == padding) {
            if (q < 2 || q + ++pads > 4) return fail();
        } else if (v != space) {
            return fail();
        }
    }
    if (q == 1 || (pads != 0 && q + pads != 4)) return fail();
    if (q == 2) {
        if (acc & 15) return fail();
        o[len++] = static_cast<unsigned char>(acc >> 4);
    } else if (q == 3) {
        if (acc & 3) return fail();
        o[len++] = static_cast<unsigned char>(acc >> 10);
        o[len++] = static_cast<unsigned char>(acc >> 2);
    }
    n = len;
    return out;
}

OwnedText encode_standard(const unsigned char* bytes, std::uint64_t n) noexcept {
    if (!bytes) return nullptr;
    Alphabet a;
    standard_alphabet(a);
    return encode({bytes, static_cast<std::size_t>(n)}, a);
}

OwnedText encode_optional(const unsigned char* bytes, std::uint64_t n, const char* extra, char pad) noexcept {
    Alphabet a;
    if (!bytes || !optional_alphabet(extra, pad, a)) return nullptr;
    return encode({bytes, static_cast<std::size_t>(n)}, a);
}

OwnedBlock<unsigned char> decode_standard(const char* text, std::uint64_t* n) noexcept {
    std::uint64_t count = 0;
    Alphabet a;
    standard_alphabet(a);
    OwnedBlock<unsigned char> out = text ? decode(text, a, count) : nullptr;
    if (n) *n = count;
    return out;
}

OwnedBlock<unsigned char> decode_optional(const char* text, const char* extra, char pad,
                                          std::uint64_t* n) noexcept {
    std::uint64_t count = 0;
    Alphabet a;
    OwnedBlock<unsigned char> out = text && optional_alphabet(extra, pad, a) ? decode(text, a, count) : nullptr;
    if (n) *n = count;
    return out;
}

void encode_triplet_checked(unsigned char b0, unsigned char b1, unsigned char b2, char* out,
                            const char* alphabet) noexcept {
    if (out && alphabet) encode_triplet(b0, b1, b2, out, alphabet);
}

}  // namespace ostr::hash

extern "C" {

char* Base64Encoding(const unsigned char* bytes, std::uint64_t n) noexcept {
    return ostr::hash::encode_standard(bytes, n).release();
}
char* Base64EncodingOptionalChars(const unsigned char* bytes, std::uint64_t n, const char* extra,
                                  char pad) noexcept {
    return ostr::hash::encode_optional(bytes, n, extra, pad).release();
}
void Base64EncodingTriplet(unsigned char b0, unsigned char b1, unsigned char b2, char* out,
                           const char* alphabet) noexcept {
    ostr::hash::encode_triplet_checked(b0, b1, b2, out, alphabet);
}
unsigned char* Base64Decoding(const char* text, std::uint64_t* n) noexcept {
    return ostr::hash::decode_standard(text, n).release();
}
unsigned char* Base64DecodingOptionalChars(const char* text, const char* extra, char pad,
                                           std::uint64_t* n) noexcept {
    return ostr::hash::decode_optional(text, extra, pad, n).release();
}

}
