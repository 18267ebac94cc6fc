// Our zlib-format compressor: greedy LZ77 with hash chains, then one dynamic
// Huffman block per 32 Ki symbols; and the CRC-32 and Adler-32 checksums.
// The match search stops at a chain of 24 candidates or a match of 128
// bytes, which on plot images (long runs of one colour, rows that repeat)
// keeps the output within a few percent of zlib's default level at a
// fraction of its time; on random data it costs one hash probe a byte.
#include "plot/deflate.hpp"

#include <algorithm>
#include <array>
#include <queue>

namespace ostr::plot {
namespace {

constexpr std::array<std::uint32_t, 256> make_crc_table() {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t n = 0; n < 256; ++n) {
        std::uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        t[n] = c;
    }
    return t;
}
constexpr auto crc_table = make_crc_table();

constexpr int window = 32768;
constexpr int hash_bits = 15;
constexpr int max_chain = 24;
constexpr int nice_length = 128;
constexpr int min_match = 3;
constexpr int max_match = 258;
constexpr std::size_t block_symbols = 32768;

// Base values and extra bits of the length codes 257..285 and the distance
// codes 0..29 (RFC 1951, 3.2.5).
constexpr std::uint16_t length_base[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                           31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::uint8_t length_extra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                           2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::uint16_t dist_base[30] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
                                         193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::uint8_t dist_extra[30] = {0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6,
                                         6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};
// The order in which the code-length code lengths are sent.
constexpr std::uint8_t cl_order[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

struct LengthCodes {
    std::array<std::uint8_t, max_match + 1> code{};  // length -> code - 257
    LengthCodes() {
        for (int c = 0; c < 29; ++c) {
            int top = c == 28 ? 258 : length_base[c] + (1 << length_extra[c]) - 1;
            for (int len = length_base[c]; len <= top && len <= max_match; ++len) code[len] = static_cast<std::uint8_t>(c);
        }
        code[258] = 28;  // 258 has its own code, not the top of code 284's range
    }
};
const LengthCodes length_codes;

int distance_code(int d) noexcept {
    int c = 0;
    while (c < 29 && dist_base[c + 1] <= d) ++c;
    return c;
}

// A literal (dist 0) or a match of `len` bytes `dist` back.
struct Symbol {
    std::uint16_t len;
    std::uint16_t dist;
};

class BitWriter {
public:
    explicit BitWriter(Bytes& out) : out_(out) {}
    void put(std::uint32_t bits, int count) {
        acc_ |= static_cast<std::uint64_t>(bits) << n_;
        n_ += count;
        while (n_ >= 8) {
            out_.push_back(static_cast<std::uint8_t>(acc_));
            acc_ >>= 8;
            n_ -= 8;
        }
    }
    void flush() {
        if (n_ > 0) out_.push_back(static_cast<std::uint8_t>(acc_));
        acc_ = 0;
        n_ = 0;
    }

private:
    Bytes& out_;
    std::uint64_t acc_ = 0;
    int n_ = 0;
};

// Huffman code lengths for the frequencies, none longer than `limit`.
// A plain Huffman tree first; while it is too deep the frequencies are
// halved (a used symbol keeps at least 1), which flattens the tree. Every
// alphabet gets at least two used symbols so that each code is complete.
std::vector<std::uint8_t> code_lengths(std::vector<std::uint32_t> freq, int limit) {
    const std::size_t n = freq.size();
    int used = 0;
    for (auto f : freq) used += f != 0;
    for (std::size_t s = 0; used < 2 && s < n; ++s)
        if (freq[s] == 0) freq[s] = 1, ++used;
    std::vector<std::uint8_t> lengths(n, 0);
    for (;;) {
        // Nodes 0..n-1 are leaves; parents are appended.
        std::vector<int> parent(2 * n, -1);
        using Entry = std::pair<std::uint64_t, int>;
        std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> heap;
        for (std::size_t s = 0; s < n; ++s)
            if (freq[s]) heap.push({freq[s], static_cast<int>(s)});
        int next = static_cast<int>(n);
        while (heap.size() > 1) {
            auto a = heap.top();
            heap.pop();
            auto b = heap.top();
            heap.pop();
            parent[a.second] = parent[b.second] = next;
            heap.push({a.first + b.first, next++});
        }
        int deepest = 0;
        for (std::size_t s = 0; s < n; ++s) {
            if (!freq[s]) continue;
            int d = 0;
            for (int p = parent[s]; p >= 0; p = parent[p]) ++d;
            lengths[s] = static_cast<std::uint8_t>(d);
            deepest = std::max(deepest, d);
        }
        if (deepest <= limit) return lengths;
        for (auto& f : freq)
            if (f) f = std::max<std::uint32_t>(1, f / 2);
    }
}

// Canonical codes for the lengths, bit-reversed for LSB-first output.
std::vector<std::uint16_t> canonical_codes(const std::vector<std::uint8_t>& lengths) {
    int count[16] = {};
    for (auto l : lengths) ++count[l];
    count[0] = 0;
    int next[16] = {};
    for (int bits = 1, code = 0; bits < 16; ++bits) {
        code = (code + count[bits - 1]) << 1;
        next[bits] = code;
    }
    std::vector<std::uint16_t> codes(lengths.size(), 0);
    for (std::size_t s = 0; s < lengths.size(); ++s) {
        int len = lengths[s];
        if (!len) continue;
        int code = next[len]++, rev = 0;
        for (int k = 0; k < len; ++k) rev |= ((code >> k) & 1) << (len - 1 - k);
        codes[s] = static_cast<std::uint16_t>(rev);
    }
    return codes;
}

// The run-length coding of the concatenated code lengths (symbols 16, 17,
// 18 repeat the previous length or zeros); extra bits in the high byte.
std::vector<std::uint16_t> run_lengths(const std::vector<std::uint8_t>& all) {
    std::vector<std::uint16_t> out;
    for (std::size_t i = 0; i < all.size();) {
        std::size_t run = 1;
        while (i + run < all.size() && all[i + run] == all[i]) ++run;
        const std::uint8_t v = all[i];
        if (v == 0 && run >= 3) {
            std::size_t r = std::min<std::size_t>(run, 138);
            out.push_back(r <= 10 ? static_cast<std::uint16_t>(17 | (r - 3) << 8) : static_cast<std::uint16_t>(18 | (r - 11) << 8));
            i += r;
        } else if (v != 0 && run >= 4) {
            out.push_back(v);
            std::size_t r = std::min<std::size_t>(run - 1, 6);
            out.push_back(static_cast<std::uint16_t>(16 | (r - 3) << 8));
            i += r + 1;
        } else {
            out.push_back(v);
            ++i;
        }
    }
    return out;
}

void write_block(BitWriter& bits, const std::vector<Symbol>& symbols, bool last) {
    std::vector<std::uint32_t> lit_freq(286, 0), dist_freq(30, 0);
    for (const Symbol& s : symbols) {
        if (s.dist == 0) {
            ++lit_freq[s.len];
        } else {
            ++lit_freq[257 + length_codes.code[s.len]];
            ++dist_freq[distance_code(s.dist)];
        }
    }
    lit_freq[256] = 1;
    auto lit_len = code_lengths(lit_freq, 15);
    auto dist_len = code_lengths(dist_freq, 15);
    auto lit_code = canonical_codes(lit_len);
    auto dist_code = canonical_codes(dist_len);
    std::size_t hlit = 286, hdist = 30;
    while (hlit > 257 && lit_len[hlit - 1] == 0) --hlit;
    while (hdist > 1 && dist_len[hdist - 1] == 0) --hdist;
    std::vector<std::uint8_t> all(lit_len.begin(), lit_len.begin() + static_cast<std::ptrdiff_t>(hlit));
    all.insert(all.end(), dist_len.begin(), dist_len.begin() + static_cast<std::ptrdiff_t>(hdist));
    auto rle = run_lengths(all);
    std::vector<std::uint32_t> cl_freq(19, 0);
    for (auto r : rle) ++cl_freq[r & 0xFF];
    auto cl_len = code_lengths(cl_freq, 7);
    auto cl_code = canonical_codes(cl_len);
    int hclen = 19;
    while (hclen > 4 && cl_len[cl_order[hclen - 1]] == 0) --hclen;

    bits.put(last ? 1 : 0, 1);
    bits.put(2, 2);
    bits.put(static_cast<std::uint32_t>(hlit - 257), 5);
    bits.put(static_cast<std::uint32_t>(hdist - 1), 5);
    bits.put(static_cast<std::uint32_t>(hclen - 4), 4);
    for (int k = 0; k < hclen; ++k) bits.put(cl_len[cl_order[k]], 3);
    static constexpr int rle_extra[3] = {2, 3, 7};
    for (auto r : rle) {
        const int sym = r & 0xFF;
        bits.put(cl_code[sym], cl_len[sym]);
        if (sym >= 16) bits.put(r >> 8, rle_extra[sym - 16]);
    }
    for (const Symbol& s : symbols) {
        if (s.dist == 0) {
            bits.put(lit_code[s.len], lit_len[s.len]);
            continue;
        }
        const int lc = length_codes.code[s.len];
        bits.put(lit_code[257 + lc], lit_len[257 + lc]);
        bits.put(s.len - length_base[lc], length_extra[lc]);
        const int dc = distance_code(s.dist);
        bits.put(dist_code[dc], dist_len[dc]);
        bits.put(s.dist - dist_base[dc], dist_extra[dc]);
    }
    bits.put(lit_code[256], lit_len[256]);
}

inline std::uint32_t hash3(const std::uint8_t* p) noexcept {
    const std::uint32_t v = p[0] | p[1] << 8 | p[2] << 16;
    return (v * 2654435761u) >> (32 - hash_bits);
}

// Greedy LZ77: at each position the longest match among the chain of
// earlier positions with the same three-byte hash.
class Matcher {
public:
    explicit Matcher(std::span<const std::uint8_t> data)
        : data_(data), head_(std::size_t{1} << hash_bits, -1), prev_(window, -1) {}

    void insert(std::size_t pos) {
        if (pos + min_match > data_.size()) return;
        const std::uint32_t h = hash3(&data_[pos]);
        prev_[pos & (window - 1)] = head_[h];
        head_[h] = static_cast<std::int32_t>(pos);
    }

    // The best match at pos (length 0 when none reaches min_match);
    // inserts pos itself.
    Symbol find(std::size_t pos) {
        Symbol best{0, 0};
        if (pos + min_match > data_.size()) return best;
        const std::size_t limit = std::min<std::size_t>(max_match, data_.size() - pos);
        const std::uint8_t* here = &data_[pos];
        std::int32_t cand = head_[hash3(here)];
        for (int chain = 0; cand >= 0 && chain < max_chain; ++chain) {
            const std::size_t dist = pos - static_cast<std::size_t>(cand);
            if (dist > window - 1 || dist == 0) break;
            const std::uint8_t* there = &data_[static_cast<std::size_t>(cand)];
            if (there[best.len] == here[best.len] || best.len == 0) {
                std::size_t len = 0;
                while (len < limit && there[len] == here[len]) ++len;
                if (len >= min_match && len > best.len) {
                    best = {static_cast<std::uint16_t>(len), static_cast<std::uint16_t>(dist)};
                    if (len >= static_cast<std::size_t>(nice_length) || len == limit) break;
                }
            }
            cand = prev_[static_cast<std::size_t>(cand) & (window - 1)];
        }
        insert(pos);
        return best;
    }

private:
    std::span<const std::uint8_t> data_;
    std::vector<std::int32_t> head_;
    std::vector<std::int32_t> prev_;
};

}  // namespace

std::uint32_t crc32(std::uint32_t crc, std::span<const std::uint8_t> data) noexcept {
    crc = ~crc;
    for (std::uint8_t b : data) crc = crc_table[(crc ^ b) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

std::uint32_t adler32(std::uint32_t adler, std::span<const std::uint8_t> data) noexcept {
    std::uint32_t a = adler & 0xFFFF, b = adler >> 16;
    // 5552 bytes is the most that cannot overflow b before the reduction.
    for (std::size_t i = 0; i < data.size();) {
        const std::size_t end = std::min(data.size(), i + 5552);
        for (; i < end; ++i) {
            a += data[i];
            b += a;
        }
        a %= 65521;
        b %= 65521;
    }
    return b << 16 | a;
}

Bytes zlib_compress(std::span<const std::uint8_t> data) {
    Bytes out{0x78, 0x9C};
    out.reserve(data.size() / 8 + 64);
    BitWriter bits(out);
    Matcher matcher(data);
    std::vector<Symbol> symbols;
    symbols.reserve(block_symbols);
    for (std::size_t pos = 0; pos < data.size();) {
        Symbol m = matcher.find(pos);
        if (m.len >= min_match) {
            for (std::size_t k = 1; k < m.len; ++k) matcher.insert(pos + k);
            symbols.push_back(m);
            pos += m.len;
        } else {
            symbols.push_back({data[pos], 0});
            ++pos;
        }
        if (symbols.size() == block_symbols && pos < data.size()) {
            write_block(bits, symbols, false);
            symbols.clear();
        }
    }
    write_block(bits, symbols, true);
    bits.flush();
    const std::uint32_t a = adler32(1, data);
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(a >> shift));
    return out;
}

}  // namespace ostr::plot
