// The zlib stream format (RFC 1950/1951) written by our own compressor, and
// the two checksums the PNG format needs (CRC-32 of chunks, Adler-32 of the
// zlib stream).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ostr::plot {

using Bytes = std::vector<std::uint8_t>;

// CRC-32 (polynomial 0xEDB88320, reflected) continued from `crc`; start
// with 0.
std::uint32_t crc32(std::uint32_t crc, std::span<const std::uint8_t> data) noexcept;
// Adler-32 continued from `adler`; start with 1.
std::uint32_t adler32(std::uint32_t adler, std::span<const std::uint8_t> data) noexcept;

// The data as one zlib stream: LZ77 over a 32 KiB window with hash chains,
// each block of up to 32 Ki symbols coded with its own Huffman codes
// (dynamic blocks), Adler-32 at the end. Never a stored block, so even
// random data comes out in the compressed format.
Bytes zlib_compress(std::span<const std::uint8_t> data);

}  // namespace ostr::plot
