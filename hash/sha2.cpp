// SHA-512 and SHA-256 (FIPS 180-4). The message is padded into wiped words of
// whole blocks, then the rounds read them; the digest becomes hex text.
#include "hash/sha2.hpp"

#include <bit>
#include <cstring>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/memory.hpp"
#include "hash/base64.hpp"
#include "ostravine/hash.h"

namespace ostr::hash {
namespace {

// First 64 bits of the fractional parts of the cube roots of the first 80
// primes (round constants) and of the square roots of the first 8 (initial
// state); SHA-256 takes the first 32 bits of the same numbers.
constexpr std::uint64_t k512[80] = {
0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f,
    0xe9b5dba58189dbbc, 0x3956c25bf348b538, 0x59f111f1b605d019,
    0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242,
    0x12835b0145706fbe, 0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2,
    0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3,
    0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65, 0x2de92c6f592b0275,
    0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5,
    0x983e5152ee66dfab, 0xa831c66d2db43210, 0xb00327c898fb213f,
    0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc,
    0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed, 0x53380d139d95b3df,
    0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6,
    0x92722c851482353b, 0xa2bfe8a14cf10364, 0xa81a664bbc423001,
    0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8,
    0x19a4c116b8d2d0c8, 0x1e376c085141ab53, 0x2748774cdf8eeb99,
    0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb,
    0x5b9cca4f7763e373, 0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc,
    0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915,
    0xc67178f2e372532b, 0xca273eceea26619c, 0xd186b8c721c0c207,
    0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba,
    0x0a637dc5a2c898a6, 0x113f9804bef90dae, 0x1b710b35131c471b,
    0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a,
    0x5fcb6fab3ad6faec, 0x6c44198c4a475817};
constexpr std::uint64_t h512[8] = {
    0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b,
    0xa54ff53a5f1d36f1, 0x510e527fade682d1, 0x9b05688c2b3e6c1f,
    0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
constexpr std::uint32_t k256[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1,
    0x923f82a4, 0xab1c5ed5, 0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3,
    0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174, 0xe49b69c1, 0xefbe4786,
    0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147,
    0x06ca6351, 0x14292967, 0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13,
    0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85, 0xa2bfe8a1, 0xa81a664b,
    0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a,
    0x5b9cca4f, 0x682e6ff3, 0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208,
    0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};
constexpr std::uint32_t h256[8] = {
    0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c,
    0x1f83d9ab, 0x5be0cd19};

// Zeros that the compiler may not drop as dead stores before the free; as
// fast as memset, which matters for a 16 KiB message.
void wipe_words(std::uint64_t* p, std::size_t count) noexcept {
    std::memset(p, 0, count * sizeof *p);
    asm volatile("" : : "r"(p) : "memory");
}

std::uint64_t load_be64(const unsigned char* p) noexcept {
    std::uint64_t v;
    std::memcpy(&v, p, 8);
    if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
    return v;
}

// The message padded to whole blocks as big-endian 64-bit words: the
// message bytes, a one bit, zeros, and the bit length in the last
// length_bytes (16 for SHA-512, 8 for SHA-256). The message is copied exactly
// once, straight into the words the rounds read; only the padding words are
// zeroed. The words are wiped before release, as the message may be a secret
// (the salted hashes digest secret + salt).
class PaddedMessage {
public:
    PaddedMessage(Bytes m, std::size_t block_bytes, std::size_t length_bytes) noexcept {
        const std::uint64_t n = m.size();
        // Beyond 2^37 bytes (128 GiB) no allocation can succeed; asking would
        // only trouble allocators that treat such sizes as fatal.
        if (n >= (std::uint64_t{1} << 37)) return;
        const std::uint64_t total = (n + 1 + length_bytes + block_bytes - 1) / block_bytes * block_bytes;
        const std::size_t count = total / 8;
        words_.reset(static_cast<std::uint64_t*>(mem_alloc(count * sizeof(std::uint64_t))));
        if (!words_) return;
        count_ = count;
        std::uint64_t* w = words_.get();
        const std::size_t full = n / 8;
        for (std::size_t i = 0; i < full; ++i) w[i] = load_be64(m.data() + 8 * i);
        const std::size_t rem = n % 8;
        std::uint64_t last = std::uint64_t{0x80} << (56 - 8 * rem);
        for (std::size_t j = 0; j < rem; ++j)
            last |= std::uint64_t{m[8 * full + j]} << (56 - 8 * j);
        w[full] = last;
        std::memset(w + full + 1, 0, (count - full - 1) * sizeof *w);
        w[count - 1] = n << 3;
        if (length_bytes == 16) w[count - 2] = n >> 61;
    }
    ~PaddedMessage() {
        if (words_) wipe_words(words_.get(), count_);
    }
    PaddedMessage(const PaddedMessage&) = delete;
    PaddedMessage& operator=(const PaddedMessage&) = delete;

    explicit operator bool() const noexcept { return words_ != nullptr; }
    const std::uint64_t* words() const noexcept { return words_.get(); }
    std::size_t word_count() const noexcept { return count_; }

private:
    OwnedBlock<std::uint64_t> words_;
    std::size_t count_ = 0;
};

#define OSTR_INLINE [[gnu::always_inline]] inline

// The sigma functions. SHA-512's big sigmas take their three rotations side
// by side: they lie on the rounds' critical path, which is then three
// operations deep (with a three-operand rotate) instead of five. The others
// nest them, e.g. rotr2(a ^ rotr11(a ^ rotr9(a))) = rotr2(a) ^ rotr13(a) ^
// rotr22(a): one register copy instead of three without such a rotate.
OSTR_INLINE std::uint64_t big_sigma0(std::uint64_t a) noexcept {
    return std::rotr(a, 28) ^ std::rotr(a, 34) ^ std::rotr(a, 39);
}
OSTR_INLINE std::uint64_t big_sigma1(std::uint64_t e) noexcept {
    return std::rotr(e, 14) ^ std::rotr(e, 18) ^ std::rotr(e, 41);
}
// (Used only where SSE2 is missing.)
[[maybe_unused]] OSTR_INLINE std::uint64_t small_sigma0(std::uint64_t x) noexcept {
    return std::rotr(x ^ std::rotr(x, 7), 1) ^ (x >> 7);
}
[[maybe_unused]] OSTR_INLINE std::uint64_t small_sigma1(std::uint64_t x) noexcept {
    return std::rotr(x ^ std::rotr(x, 42), 19) ^ (x >> 6);
}
OSTR_INLINE std::uint32_t big_sigma0(std::uint32_t a) noexcept {
    return std::rotr(a ^ std::rotr(a ^ std::rotr(a, 9), 11), 2);
}
OSTR_INLINE std::uint32_t big_sigma1(std::uint32_t e) noexcept {
    return std::rotr(e ^ std::rotr(e ^ std::rotr(e, 14), 5), 6);
}
OSTR_INLINE std::uint32_t small_sigma0(std::uint32_t x) noexcept {
    return std::rotr(x ^ std::rotr(x, 11), 7) ^ (x >> 3);
}
OSTR_INLINE std::uint32_t small_sigma1(std::uint32_t x) noexcept {
    return std::rotr(x ^ std::rotr(x, 2), 17) ^ (x >> 10);
}

// Hides the constants' values from the optimiser, so that each round adds
// its constant straight from memory (one instruction) instead of loading a
// 64-bit immediate first (two).
template <class Word>
OSTR_INLINE const Word* opaque(const Word* k) noexcept {
    asm("" : "+r"(k));
    return k;
}

// The message words of a block and the sum K[i] + W[i] that round i adds.
// This one computes W on the fly in a ring of 16: the block's own words for
// the first 16 rounds, then the schedule.
template <class Word>
struct RingSchedule {
    Word* w;
    const Word* k;
    template <std::size_t i>
    OSTR_INLINE Word next() noexcept {
        if constexpr (i >= 16)
            w[i & 15] += small_sigma1(w[(i - 2) & 15]) + w[(i - 7) & 15] + small_sigma0(w[(i - 15) & 15]);
        return k[i] + w[i & 15];
    }
};

#if defined(__SSE2__)
// SHA-512's schedule two words at a time in SSE2 registers, W[t] and W[t+1]
// together (they depend on W[t-2] and W[t-1], already there), interleaved
// with the rounds so that the vector unit works while the scalar rounds run:
// round i (even) schedules W[i+16] and W[i+17]. With the flat big sigmas
// this is about a sixth faster than the scalar ring.
template <int n>
OSTR_INLINE __m128i rotr_pair(__m128i x) noexcept {
    return _mm_or_si128(_mm_srli_epi64(x, n), _mm_slli_epi64(x, 64 - n));
}
struct PairSchedule {
    std::uint64_t* w;   // 80 words
    std::uint64_t* kw;  // 80 sums K[t] + W[t]
    const std::uint64_t* k;
    static __m128i at(const std::uint64_t* p) noexcept { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static void put(std::uint64_t* p, __m128i v) noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    OSTR_INLINE void start() noexcept {
        for (int t = 0; t < 16; t += 2) put(kw + t, _mm_add_epi64(at(w + t), at(k + t)));
    }
    template <std::size_t t>
    OSTR_INLINE void pair() noexcept {
        const __m128i x15 = at(w + t - 15), x2 = at(w + t - 2);
        const __m128i s0 = _mm_xor_si128(_mm_xor_si128(rotr_pair<1>(x15), rotr_pair<8>(x15)), _mm_srli_epi64(x15, 7));
        const __m128i s1 = _mm_xor_si128(_mm_xor_si128(rotr_pair<19>(x2), rotr_pair<61>(x2)), _mm_srli_epi64(x2, 6));
        const __m128i v = _mm_add_epi64(_mm_add_epi64(s1, at(w + t - 7)), _mm_add_epi64(s0, at(w + t - 16)));
        put(w + t, v);
        put(kw + t, _mm_add_epi64(v, at(k + t)));
    }
    template <std::size_t i>
    OSTR_INLINE std::uint64_t next() noexcept {
        if constexpr (i % 2 == 0 && i + 16 < 80) pair<i + 16>();
        return kw[i];
    }
};
#endif

// One round. Callers rotate the roles of the eight variables instead of
// moving them: round i+1 is called as (h, a, b, c, d, e, f, g). Maj(a,b,c)
// is written as b ^ ((a ^ b) & (b ^ c)), and b ^ c is the previous round's
// a ^ b, carried from round to round in bc (c itself is then not needed).
template <class Word>
OSTR_INLINE void round(Word a, Word b, Word& d, Word e, Word f, Word g, Word& h, Word kw, Word& bc) noexcept {
    const Word t1 = big_sigma1(e) + ((g ^ (e & (f ^ g))) + (h + kw));
    const Word ab = a ^ b;
    const Word t2 = big_sigma0(a) + (b ^ (ab & bc));
    bc = ab;
    d += t1;
    h = t1 + t2;
}

template <std::size_t i, class Word, class Input>
OSTR_INLINE void eight_rounds(Word& a, Word& b, Word& c, Word& d, Word& e, Word& f, Word& g, Word& h, Input& in,
                              Word& bc) noexcept {
    round(a, b, d, e, f, g, h, in.template next<i + 0>(), bc);
    round(h, a, c, d, e, f, g, in.template next<i + 1>(), bc);
    round(g, h, b, c, d, e, f, in.template next<i + 2>(), bc);
    round(f, g, a, b, c, d, e, in.template next<i + 3>(), bc);
    round(e, f, h, a, b, c, d, in.template next<i + 4>(), bc);
    round(d, e, g, h, a, b, c, in.template next<i + 5>(), bc);
    round(c, d, f, g, h, a, b, in.template next<i + 6>(), bc);
    round(b, c, e, f, g, h, a, in.template next<i + 7>(), bc);
}

// All rounds of one block, fully unrolled; the state is updated in place.
template <class Word, class Input, std::size_t... I>
OSTR_INLINE void block_rounds(Word* state, Input& in, std::index_sequence<I...>) noexcept {
    Word a = state[0], b = state[1], c = state[2], d = state[3];
    Word e = state[4], f = state[5], g = state[6], h = state[7];
    Word bc = b ^ c;
    (eight_rounds<8 * I>(a, b, c, d, e, f, g, h, in, bc), ...);
    state[0] += a, state[1] += b, state[2] += c, state[3] += d;
    state[4] += e, state[5] += f, state[6] += g, state[7] += h;
}

// Every 1024-bit block of the padded message: sixteen 64-bit words.
OSTR_INLINE void compress512_body(std::uint64_t* state, const std::uint64_t* m, std::size_t blocks) noexcept {
    const std::uint64_t* k = opaque(k512);
#if defined(__SSE2__)
    std::uint64_t w[80], kw[80];
    PairSchedule in{w, kw, k};
    for (std::size_t blk = 0; blk < blocks; ++blk, m += 16) {
        std::memcpy(w, m, 16 * sizeof(std::uint64_t));
        in.start();
        block_rounds(state, in, std::make_index_sequence<10>{});
    }
#else
    std::uint64_t w[16];
    RingSchedule<std::uint64_t> in{w, k};
    for (std::size_t blk = 0; blk < blocks; ++blk, m += 16) {
        std::memcpy(w, m, sizeof w);
        block_rounds(state, in, std::make_index_sequence<10>{});
    }
#endif
}

#if defined(__x86_64__) || defined(__i386__)
// The same code compiled twice: with BMI2 the compiler can use the
// three-operand rotate (rorx), which saves the register copies in front of
// rotations, about a tenth of the instructions. The processor is asked once.
[[gnu::target("bmi2")]] void compress512_bmi2(std::uint64_t* state, const std::uint64_t* m,
                                              std::size_t blocks) noexcept {
    compress512_body(state, m, blocks);
}
void compress512_plain(std::uint64_t* state, const std::uint64_t* m, std::size_t blocks) noexcept {
    compress512_body(state, m, blocks);
}

void compress512(std::uint64_t* state, const std::uint64_t* m, std::size_t blocks) noexcept {
    // cpu_init first: the answer must be right even during static initialisation.
    static const bool bmi2 = (__builtin_cpu_init(), __builtin_cpu_supports("bmi2"));
    (bmi2 ? compress512_bmi2 : compress512_plain)(state, m, blocks);
}
#else
void compress512(std::uint64_t* state, const std::uint64_t* m, std::size_t blocks) noexcept {
    compress512_body(state, m, blocks);
}
#endif

// Every 512-bit block: eight 64-bit words, each two big-endian 32-bit words.
void compress256(std::uint32_t* state, const std::uint64_t* m, std::size_t blocks) noexcept {
    const std::uint32_t* k = opaque(k256);
    for (std::size_t blk = 0; blk < blocks; ++blk, m += 8) {
        std::uint32_t w[16];
        for (int j = 0; j < 8; ++j) {
            w[2 * j] = static_cast<std::uint32_t>(m[j] >> 32);
            w[2 * j + 1] = static_cast<std::uint32_t>(m[j]);
        }
        RingSchedule<std::uint32_t> in{w, k};
        block_rounds(state, in, std::make_index_sequence<8>{});
    }
}

// Each word as 2*sizeof(Word) lower-case hex digits, most significant first.
template <class Word>
OwnedText to_hex(const std::array<Word, 8>& words) noexcept {
    constexpr std::size_t digits = 2 * sizeof(Word);
    OwnedText out(static_cast<char*>(mem_alloc(8 * digits + 1)));
    if (!out) return out;
    char* p = out.get();
    for (const Word x : words)
        for (std::size_t k = 0; k < digits; ++k) *p++ = "0123456789abcdef"[(x >> (4 * (digits - 1 - k))) & 15];
    *p = '\0';
    return out;
}

}  // namespace

bool sha512(Bytes message, Digest512& out) noexcept {
    const PaddedMessage padded(message, 128, 16);
    if (!padded) return false;
    std::memcpy(out.w.data(), h512, sizeof h512);
    compress512(out.w.data(), padded.words(), padded.word_count() / 16);
    return true;
}

bool sha256(Bytes message, Digest256& out) noexcept {
    const PaddedMessage padded(message, 64, 8);
    if (!padded) return false;
    std::memcpy(out.w.data(), h256, sizeof h256);
    compress256(out.w.data(), padded.words(), padded.word_count() / 8);
    return true;
}

OwnedText sha512_hex(Bytes message) noexcept {
    Digest512 d;
    return sha512(message, d) ? to_hex(d.w) : nullptr;
}

OwnedText sha256_hex(Bytes message) noexcept {
    Digest256 d;
    return sha256(message, d) ? to_hex(d.w) : nullptr;
}

void digest_bytes(const Digest512& d, unsigned char out[64]) noexcept {
    for (std::size_t k = 0; k < 64; ++k) out[k] = static_cast<unsigned char>(d.w[k / 8] >> (56 - 8 * (k % 8)));
}

OwnedText sha512_of_text(const char* text) noexcept {
    return text ? sha512_hex(text_bytes(text, std::strlen(text))) : nullptr;
}

OwnedText sha512_of_bytes(const unsigned char* bytes, std::uint64_t n) noexcept {
    if (!bytes && n != 0) return nullptr;
    return sha512_hex({bytes, static_cast<std::size_t>(n)});
}

OwnedText sha256_of_text(const char* text) noexcept {
    return text ? sha256_hex(text_bytes(text, std::strlen(text))) : nullptr;
}

OwnedText sha512_base64(const char* text, const char* extra, char pad) noexcept {
    Alphabet a;
    Digest512 d;
    if (!text || !optional_alphabet(extra, pad, a) || !sha512(text_bytes(text, std::strlen(text)), d))
        return nullptr;
    unsigned char bytes[64];
    digest_bytes(d, bytes);
    OwnedText out = encode(bytes, a);
    wipe(bytes, sizeof bytes);
    return out;
}

}  // namespace ostr::hash

extern "C" {

char* SHA512(const char* text) noexcept { return ostr::hash::sha512_of_text(text).release(); }
char* SHA512FromByteArray(const unsigned char* bytes, std::uint64_t n) noexcept {
    return ostr::hash::sha512_of_bytes(bytes, n).release();
}
char* SHA512Base64(const char* text, const char* extra, char pad) noexcept {
    return ostr::hash::sha512_base64(text, extra, pad).release();
}
char* SHA256(const char* text) noexcept { return ostr::hash::sha256_of_text(text).release(); }

}
