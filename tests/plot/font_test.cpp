// The built-in font and the BDF reader: a small font read glyph by glyph,
// a table of damaged files that must all be refused, every cut of a good
// file refused, and a loaded font used for a chart.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "ostravine/plot.h"
#include "plot/font.hpp"
#include "png_checker.hpp"

namespace ostr::test {
namespace {

const std::string good = R"(STARTFONT 2.1
FONT -test-small
SIZE 8 75 75
FONTBOUNDINGBOX 4 6 0 -1
STARTPROPERTIES 2
FONT_ASCENT 5
FONT_DESCENT 1
ENDPROPERTIES
CHARS 2
STARTCHAR A
ENCODING 65
SWIDTH 500 0
DWIDTH 5 0
BBX 4 6 0 -1
BITMAP
60
90
F0
90
90
00
ENDCHAR
STARTCHAR unencoded
ENCODING -1
BBX 1 1 0 0
BITMAP
80
ENDCHAR
ENDFONT
)";

std::string replaced(std::string s, const std::string& from, const std::string& to) {
    s.replace(s.find(from), from.size(), to);
    return s;
}

TEST(Bdf, ReadsGlyphBoxesAndBits) {
    auto f = plot::parse_bdf(good);
    ASSERT_TRUE(f);
    EXPECT_EQ(f->ascent, 5);
    EXPECT_EQ(f->descent, 1);
    ASSERT_EQ(f->glyphs.size(), 1u);  // the unencoded glyph is skipped
    const plot::Glyph& a = f->glyphs.at('A');
    EXPECT_EQ(a.advance, 5);
    EXPECT_EQ(a.yoff, -1);
    const std::vector<std::uint8_t> bits = {0, 1, 1, 0, 1, 0, 0, 1, 1, 1, 1, 1, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(a.bits, bits);
}

TEST(Bdf, DamagedFilesAreRefused) {
    const std::pair<const char*, std::string> damaged[] = {
        {"no STARTFONT", replaced(good, "STARTFONT 2.1", "STARTFOOT 2.1")},
        {"no ENDFONT", replaced(good, "ENDFONT", "")},
        {"no bounding box", replaced(good, "FONTBOUNDINGBOX 4 6 0 -1", "")},
        {"zero bounding box", replaced(good, "FONTBOUNDINGBOX 4 6", "FONTBOUNDINGBOX 0 6")},
        {"bad hex", replaced(good, "F0", "G0")},
        {"short row", replaced(good, "F0\n", "F\n")},
        {"too few rows", replaced(good, "90\n00\nENDCHAR", "90\nENDCHAR")},
        {"huge glyph", replaced(good, "BBX 4 6 0 -1", "BBX 4000 6 0 -1")},
        {"negative width", replaced(good, "BBX 4 6 0 -1", "BBX -4 6 0 -1")},
        {"number with junk", replaced(good, "ENCODING 65", "ENCODING 65x")},
        {"code point too large", replaced(good, "ENCODING 65", "ENCODING 2000000")},
        {"bitmap before box", replaced(good, "BBX 4 6 0 -1\nBITMAP", "BITMAP")},
        {"no ENDCHAR", replaced(good, "00\nENDCHAR", "00\nSTARTCHAR B")},
        {"negative descent", replaced(good, "FONT_DESCENT 1", "FONT_DESCENT -9")},
        {"empty", ""},
    };
    for (const auto& [why, text] : damaged) EXPECT_FALSE(plot::parse_bdf(text)) << why;
    // Every proper prefix lacks ENDFONT's line or part of it.
    for (std::size_t n = 0; n + 8 < good.size(); ++n) EXPECT_FALSE(plot::parse_bdf(good.substr(0, n))) << n;
}

TEST(Bdf, LoadedFontDrawsAChart) {
    const std::string path = temp_path("font.bdf");
    ASSERT_TRUE(write_file(path, good.data(), good.size()));
    PlotFont* font = LoadFontFromFile(path.c_str());
    ASSERT_NE(font, nullptr);
    PlotOptions o;
    InitPlotOptions(&o);
    o.font = font;
    o.title = "AAA";
    double x[2] = {0, 1};
    PlotSeries s{x, x, 2, PLOT_LINES, "A"};
    PlotBitmap* b = GeneratePlotBitmaps(&o, &s, 1);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(WritePlotBitmapPNG(b, path.c_str()), 1);
    EXPECT_EQ(run_checker("png " + path).at(0), "800 600");
    FreePlotBitmap(b);
    FreePlotFont(font);
    std::remove(path.c_str());
    const std::string broken = replaced(good, "ENDFONT", "");
    ASSERT_TRUE(write_file(path, broken.data(), broken.size()));
    EXPECT_EQ(LoadFontFromFile(path.c_str()), nullptr);
    std::remove(path.c_str());
}

TEST(BuiltinFont, HasTheTickLabelCharacters) {
    const plot::Font& f = plot::builtin_font();
    for (char32_t c = 32; c < 127; ++c) EXPECT_TRUE(f.glyphs.count(c)) << static_cast<int>(c);
    for (char32_t c : {U'\u2212', U'\u00D7', U'\u03C0', U'\u221E', U'\u2070', U'\u00B9', U'\u00B2', U'\u00B3',
                       U'\u2074', U'\u2079', U'\u207B'})
        EXPECT_TRUE(f.glyphs.count(c)) << static_cast<int>(c);
    // Different characters look different (a copy-paste slip in the table
    // would give two the same bits).
    for (auto a = f.glyphs.begin(); a != f.glyphs.end(); ++a)
        for (auto b = std::next(a); b != f.glyphs.end(); ++b) {
            if (a->first == '-' && b->first == U'\u2212') continue;  // the same stroke on purpose
            EXPECT_NE(a->second.bits, b->second.bits) << static_cast<int>(a->first) << " " << static_cast<int>(b->first);
        }
    EXPECT_EQ(plot::text_width(f, "\u22121", 2), 24);
}

}  // namespace
}  // namespace ostr::test
