// The PNG writer: signature, IHDR, one IDAT and IEND, each chunk closed by
// its CRC-32. Rows are filtered by the filter whose output has the least
// sum of absolute values (taken as signed bytes), the heuristic the PNG
// format itself recommends; plot images are mostly flat, so None and Up
// win nearly everywhere and the compressor sees long runs.
#include "plot/png.hpp"

#include <cstdlib>
#include <cstring>

namespace ostr::plot {
namespace {

void put32(Bytes& out, std::uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(v >> shift));
}

void chunk(Bytes& out, const char type[4], std::span<const std::uint8_t> body) {
    put32(out, static_cast<std::uint32_t>(body.size()));
    const std::size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), body.begin(), body.end());
    put32(out, crc32(0, std::span(out).subspan(start)));
}

inline int paeth(int a, int b, int c) noexcept {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    if (pa <= pb && pa <= pc) return a;
    return pb <= pc ? b : c;
}

// Row `cur` under filter f (prev is the row above, zeros for the first).
void apply_filter(int f, const std::uint8_t* cur, const std::uint8_t* prev, std::size_t n, std::uint8_t* out) {
    for (std::size_t i = 0; i < n; ++i) {
        const int a = i >= 3 ? cur[i - 3] : 0, b = prev[i], c = i >= 3 ? prev[i - 3] : 0;
        int pred = 0;
        switch (f) {
        case 1: pred = a; break;
        case 2: pred = b; break;
        case 3: pred = (a + b) / 2; break;
        case 4: pred = paeth(a, b, c); break;
        default: break;
        }
        out[i] = static_cast<std::uint8_t>(cur[i] - pred);
    }
}

std::uint64_t cost(const std::uint8_t* row, std::size_t n) noexcept {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += row[i] < 128 ? row[i] : 256 - row[i];
    return sum;
}

}  // namespace

Bytes filtered_rows(const std::uint8_t* rgb, int width, int height) {
    const std::size_t n = static_cast<std::size_t>(width) * 3;
    Bytes out(static_cast<std::size_t>(height) * (n + 1));
    std::vector<std::uint8_t> zero(n, 0), trial(n);
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* cur = rgb + y * n;
        const std::uint8_t* prev = y ? cur - n : zero.data();
        std::uint8_t* dst = out.data() + y * (n + 1);
        std::uint64_t best = ~std::uint64_t{0};
        for (int f = 0; f < 5; ++f) {
            apply_filter(f, cur, prev, n, trial.data());
            const std::uint64_t c = cost(trial.data(), n);
            if (c < best) {
                best = c;
                dst[0] = static_cast<std::uint8_t>(f);
                std::memcpy(dst + 1, trial.data(), n);
            }
            if (best == 0) break;
        }
    }
    return out;
}

Bytes encode_png(const std::uint8_t* rgb, int width, int height) {
    static constexpr std::uint8_t signature[8] = {137, 80, 78, 71, 13, 10, 26, 10};
    Bytes out(signature, signature + 8);
    Bytes header;
    put32(header, static_cast<std::uint32_t>(width));
    put32(header, static_cast<std::uint32_t>(height));
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, adaptive filters, no interlace
    chunk(out, "IHDR", header);
    chunk(out, "IDAT", zlib_compress(filtered_rows(rgb, width, height)));
    chunk(out, "IEND", {});
    return out;
}

Bytes encode_png(const Canvas& canvas) { return encode_png(canvas.pixels().data(), canvas.width(), canvas.height()); }

}  // namespace ostr::plot
