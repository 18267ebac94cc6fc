// Bitmap fonts: the built-in 5×7 font compiled into the library (ASCII,
// the minus sign, ×, π, ∞ and the superscript digits and minus of tick
// labels such as 10⁻³) and fonts read from BDF files, with the drawing of
// UTF-8 text on a canvas.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "plot/canvas.hpp"

namespace ostr::plot {

// One glyph in the BDF sense: a box of width×height pixels whose lower
// left corner sits at (xoff, yoff) from the pen on the baseline (y up),
// and the pen's advance. bits holds width*height pixels, row by row from
// the top, 1 for ink.
struct Glyph {
    int width = 0, height = 0, xoff = 0, yoff = 0, advance = 0;
    std::vector<std::uint8_t> bits;
};

struct Font {
    int ascent = 0, descent = 0;  // pixels above and below the baseline
    std::map<char32_t, Glyph> glyphs;
    const Glyph* find(char32_t c) const noexcept;
};

const Font& builtin_font();

// Bounds a BDF file must keep (larger is damage or abuse, not a font).
inline constexpr std::size_t max_font_bytes = std::size_t{16} << 20;
inline constexpr int max_glyph_side = 256;
inline constexpr std::size_t max_glyphs = 65536;

// A font from the text of a BDF 2.1 file, or nullopt when the text is no
// well-formed BDF font (missing or out-of-range fields, bad hex, a glyph
// box larger than max_glyph_side, a bitmap with too few rows).
std::optional<Font> parse_bdf(std::string_view text);

// The next code point of UTF-8 text (advancing pos); U+FFFD for a bad
// sequence.
char32_t next_code_point(std::string_view text, std::size_t& pos) noexcept;

// Width in pixels of the text drawn at the scale (each font pixel becomes
// scale×scale pixels).
int text_width(const Font& font, std::string_view utf8, int scale) noexcept;
// Draws the text with its baseline at y and its pen starting at x.
void draw_text(Canvas& canvas, const Font& font, int x, int y, std::string_view utf8, Rgb colour, int scale) noexcept;
// The same turned a quarter left (reading upwards), for the y axis name;
// (x, y) is the pen start, the baseline runs up from it.
void draw_text_up(Canvas& canvas, const Font& font, int x, int y, std::string_view utf8, Rgb colour, int scale) noexcept;

}  // namespace ostr::plot
