// The deflate stream and the checksums: known answers, and streams that
// Python's zlib must inflate to exactly the input, for random data, runs,
// plot-like images and the edge sizes around the block and match bounds.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <string_view>

#include "plot/deflate.hpp"
#include "plot/png.hpp"
#include "png_checker.hpp"

namespace ostr::test {
namespace {

std::span<const std::uint8_t> bytes(std::string_view s) {
    return {reinterpret_cast<const std::uint8_t*>(s.data()), s.size()};
}

TEST(Checksums, KnownAnswers) {
    // The check values of the CRC catalogue (CRC-32/ISO-HDLC) and RFC 1950's
    // definition of Adler-32 (zlib.adler32 gives the same).
    EXPECT_EQ(plot::crc32(0, bytes("123456789")), 0xCBF43926u);
    EXPECT_EQ(plot::crc32(0, bytes("")), 0u);
    EXPECT_EQ(plot::adler32(1, bytes("Wikipedia")), 0x11E60398u);
    EXPECT_EQ(plot::adler32(1, bytes("")), 1u);
    // Continued checksums equal one pass, across the 5552-byte reduction.
    std::vector<std::uint8_t> big(20000, 0xFF);
    const auto all = plot::adler32(1, big);
    EXPECT_EQ(plot::adler32(plot::adler32(1, std::span(big).first(7000)), std::span(big).subspan(7000)), all);
    EXPECT_EQ(plot::crc32(plot::crc32(0, std::span(big).first(3)), std::span(big).subspan(3)), plot::crc32(0, big));
}

// Every case is inflated by Python's zlib and compared byte for byte.
TEST(Deflate, PythonZlibInflatesEveryStream) {
    std::mt19937 rng(2024);
    struct Case {
        const char* name;
        std::vector<std::uint8_t> data;
    };
    std::vector<Case> cases;
    for (std::size_t n : {0, 1, 2, 3, 4, 257, 258, 259, 32768, 65537, 200000}) {
        std::vector<std::uint8_t> d(n);
        for (auto& b : d) b = static_cast<std::uint8_t>(rng());
        cases.push_back({"random", d});
    }
    std::vector<std::uint8_t> run(100000, 7);
    cases.push_back({"one run", run});
    std::vector<std::uint8_t> text;
    for (int k = 0; k < 5000; ++k) text.push_back(static_cast<std::uint8_t>("abcabcabd"[rng() % 9]));
    cases.push_back({"small alphabet", text});
    std::vector<std::uint8_t> far(70000);
    for (std::size_t i = 0; i < far.size(); ++i) far[i] = static_cast<std::uint8_t>(i < 40000 ? rng() : far[i - 32768]);
    cases.push_back({"match at the window's far end", far});
    const std::string packed = temp_path("packed"), raw = temp_path("raw");
    for (const Case& c : cases) {
        const plot::Bytes z = plot::zlib_compress(c.data);
        ASSERT_TRUE(write_file(packed, z.data(), z.size()));
        ASSERT_TRUE(write_file(raw, c.data.data(), c.data.size()));
        EXPECT_EQ(run_checker("zlib " + packed + " " + raw), std::vector<std::string>{"ok"})
            << c.name << " of " << c.data.size() << " bytes";
    }
    std::remove(packed.c_str());
    std::remove(raw.c_str());
}

TEST(Deflate, CompressesPlotLikeRows) {
    // White rows with a few coloured strokes, as a chart's are: the stream
    // must be far smaller than the rows (nothing stored).
    std::vector<std::uint8_t> rgb(800 * 600 * 3, 255);
    for (int y = 0; y < 600; ++y)
        for (int x = 0; x < 800; x += 97) rgb[(y * 800 + (x + y) % 800) * 3] = 0;
    const plot::Bytes rows = plot::filtered_rows(rgb.data(), 800, 600);
    EXPECT_LT(plot::zlib_compress(rows).size(), rows.size() / 20);
}

}  // namespace
}  // namespace ostr::test
