// The built-in font, the BDF reader and text drawing. The built-in glyphs
// are 5 columns of 7 rows (bit 0 the top row), baseline under row 7, with
// descenders drawn inside the box as in the classic 5×7 terminal fonts;
// the superscripts are 3×5 and sit at the top of the box.
#include "plot/font.hpp"

#include <charconv>

namespace ostr::plot {
namespace {

struct Packed {
    char32_t code;
    std::uint8_t cols[5];
    int width;
};

// ASCII 32..126, then the extra code points.
constexpr Packed packed[] = {
    {' ', {0x00, 0x00, 0x00, 0x00, 0x00}, 5}, {'!', {0x00, 0x00, 0x5F, 0x00, 0x00}, 5},
    {'"', {0x00, 0x07, 0x00, 0x07, 0x00}, 5}, {'#', {0x14, 0x7F, 0x14, 0x7F, 0x14}, 5},
    {'$', {0x24, 0x2A, 0x7F, 0x2A, 0x12}, 5}, {'%', {0x23, 0x13, 0x08, 0x64, 0x62}, 5},
    {'&', {0x36, 0x49, 0x55, 0x22, 0x50}, 5}, {'\'', {0x00, 0x05, 0x03, 0x00, 0x00}, 5},
    {'(', {0x00, 0x1C, 0x22, 0x41, 0x00}, 5}, {')', {0x00, 0x41, 0x22, 0x1C, 0x00}, 5},
    {'*', {0x08, 0x2A, 0x1C, 0x2A, 0x08}, 5}, {'+', {0x08, 0x08, 0x3E, 0x08, 0x08}, 5},
    {',', {0x00, 0x50, 0x30, 0x00, 0x00}, 5}, {'-', {0x08, 0x08, 0x08, 0x08, 0x08}, 5},
    {'.', {0x00, 0x60, 0x60, 0x00, 0x00}, 5}, {'/', {0x20, 0x10, 0x08, 0x04, 0x02}, 5},
    {'0', {0x3E, 0x51, 0x49, 0x45, 0x3E}, 5}, {'1', {0x00, 0x42, 0x7F, 0x40, 0x00}, 5},
    {'2', {0x42, 0x61, 0x51, 0x49, 0x46}, 5}, {'3', {0x21, 0x41, 0x45, 0x4B, 0x31}, 5},
    {'4', {0x18, 0x14, 0x12, 0x7F, 0x10}, 5}, {'5', {0x27, 0x45, 0x45, 0x45, 0x39}, 5},
    {'6', {0x3C, 0x4A, 0x49, 0x49, 0x30}, 5}, {'7', {0x01, 0x71, 0x09, 0x05, 0x03}, 5},
    {'8', {0x36, 0x49, 0x49, 0x49, 0x36}, 5}, {'9', {0x06, 0x49, 0x49, 0x29, 0x1E}, 5},
    {':', {0x00, 0x36, 0x36, 0x00, 0x00}, 5}, {';', {0x00, 0x56, 0x36, 0x00, 0x00}, 5},
    {'<', {0x08, 0x14, 0x22, 0x41, 0x00}, 5}, {'=', {0x14, 0x14, 0x14, 0x14, 0x14}, 5},
    {'>', {0x00, 0x41, 0x22, 0x14, 0x08}, 5}, {'?', {0x02, 0x01, 0x51, 0x09, 0x06}, 5},
    {'@', {0x32, 0x49, 0x79, 0x41, 0x3E}, 5}, {'A', {0x7E, 0x11, 0x11, 0x11, 0x7E}, 5},
    {'B', {0x7F, 0x49, 0x49, 0x49, 0x36}, 5}, {'C', {0x3E, 0x41, 0x41, 0x41, 0x22}, 5},
    {'D', {0x7F, 0x41, 0x41, 0x22, 0x1C}, 5}, {'E', {0x7F, 0x49, 0x49, 0x49, 0x41}, 5},
    {'F', {0x7F, 0x09, 0x09, 0x09, 0x01}, 5}, {'G', {0x3E, 0x41, 0x49, 0x49, 0x7A}, 5},
    {'H', {0x7F, 0x08, 0x08, 0x08, 0x7F}, 5}, {'I', {0x00, 0x41, 0x7F, 0x41, 0x00}, 5},
    {'J', {0x20, 0x40, 0x41, 0x3F, 0x01}, 5}, {'K', {0x7F, 0x08, 0x14, 0x22, 0x41}, 5},
    {'L', {0x7F, 0x40, 0x40, 0x40, 0x40}, 5}, {'M', {0x7F, 0x02, 0x0C, 0x02, 0x7F}, 5},
    {'N', {0x7F, 0x04, 0x08, 0x10, 0x7F}, 5}, {'O', {0x3E, 0x41, 0x41, 0x41, 0x3E}, 5},
    {'P', {0x7F, 0x09, 0x09, 0x09, 0x06}, 5}, {'Q', {0x3E, 0x41, 0x51, 0x21, 0x5E}, 5},
    {'R', {0x7F, 0x09, 0x19, 0x29, 0x46}, 5}, {'S', {0x46, 0x49, 0x49, 0x49, 0x31}, 5},
    {'T', {0x01, 0x01, 0x7F, 0x01, 0x01}, 5}, {'U', {0x3F, 0x40, 0x40, 0x40, 0x3F}, 5},
    {'V', {0x1F, 0x20, 0x40, 0x20, 0x1F}, 5}, {'W', {0x3F, 0x40, 0x38, 0x40, 0x3F}, 5},
    {'X', {0x63, 0x14, 0x08, 0x14, 0x63}, 5}, {'Y', {0x07, 0x08, 0x70, 0x08, 0x07}, 5},
    {'Z', {0x61, 0x51, 0x49, 0x45, 0x43}, 5}, {'[', {0x00, 0x7F, 0x41, 0x41, 0x00}, 5},
    {'\\', {0x02, 0x04, 0x08, 0x10, 0x20}, 5}, {']', {0x00, 0x41, 0x41, 0x7F, 0x00}, 5},
    {'^', {0x04, 0x02, 0x01, 0x02, 0x04}, 5}, {'_', {0x40, 0x40, 0x40, 0x40, 0x40}, 5},
    {'`', {0x00, 0x01, 0x02, 0x04, 0x00}, 5}, {'a', {0x20, 0x54, 0x54, 0x54, 0x78}, 5},
    {'b', {0x7F, 0x48, 0x44, 0x44, 0x38}, 5}, {'c', {0x38, 0x44, 0x44, 0x44, 0x20}, 5},
    {'d', {0x38, 0x44, 0x44, 0x48, 0x7F}, 5}, {'e', {0x38, 0x54, 0x54, 0x54, 0x18}, 5},
    {'f', {0x08, 0x7E, 0x09, 0x01, 0x02}, 5}, {'g', {0x0C, 0x52, 0x52, 0x52, 0x3E}, 5},
    {'h', {0x7F, 0x08, 0x04, 0x04, 0x78}, 5}, {'i', {0x00, 0x44, 0x7D, 0x40, 0x00}, 5},
    {'j', {0x20, 0x40, 0x44, 0x3D, 0x00}, 5}, {'k', {0x7F, 0x10, 0x28, 0x44, 0x00}, 5},
    {'l', {0x00, 0x41, 0x7F, 0x40, 0x00}, 5}, {'m', {0x7C, 0x04, 0x18, 0x04, 0x78}, 5},
    {'n', {0x7C, 0x08, 0x04, 0x04, 0x78}, 5}, {'o', {0x38, 0x44, 0x44, 0x44, 0x38}, 5},
    {'p', {0x7C, 0x14, 0x14, 0x14, 0x08}, 5}, {'q', {0x08, 0x14, 0x14, 0x18, 0x7C}, 5},
    {'r', {0x7C, 0x08, 0x04, 0x04, 0x08}, 5}, {'s', {0x48, 0x54, 0x54, 0x54, 0x20}, 5},
    {'t', {0x04, 0x3F, 0x44, 0x40, 0x20}, 5}, {'u', {0x3C, 0x40, 0x40, 0x20, 0x7C}, 5},
    {'v', {0x1C, 0x20, 0x40, 0x20, 0x1C}, 5}, {'w', {0x3C, 0x40, 0x30, 0x40, 0x3C}, 5},
    {'x', {0x44, 0x28, 0x10, 0x28, 0x44}, 5}, {'y', {0x0C, 0x50, 0x50, 0x50, 0x3C}, 5},
    {'z', {0x44, 0x64, 0x54, 0x4C, 0x44}, 5}, {'{', {0x00, 0x08, 0x36, 0x41, 0x00}, 5},
    {'|', {0x00, 0x00, 0x7F, 0x00, 0x00}, 5}, {'}', {0x00, 0x41, 0x36, 0x08, 0x00}, 5},
    {'~', {0x08, 0x04, 0x08, 0x10, 0x08}, 5},
    {U'\u2212', {0x08, 0x08, 0x08, 0x08, 0x08}, 5},  // minus sign
    {U'\u00D7', {0x22, 0x14, 0x08, 0x14, 0x22}, 5},  // multiplication sign
    {U'\u03C0', {0x04, 0x7C, 0x04, 0x7C, 0x04}, 5},  // pi
    {U'\u221E', {0x18, 0x24, 0x18, 0x24, 0x18}, 5},  // infinity
    {U'\u2070', {0x1F, 0x11, 0x1F}, 3}, {U'\u00B9', {0x12, 0x1F, 0x10}, 3},
    {U'\u00B2', {0x1D, 0x15, 0x17}, 3}, {U'\u00B3', {0x15, 0x15, 0x1F}, 3},
    {U'\u2074', {0x07, 0x04, 0x1F}, 3}, {U'\u2075', {0x17, 0x15, 0x1D}, 3},
    {U'\u2076', {0x1F, 0x15, 0x1D}, 3}, {U'\u2077', {0x01, 0x01, 0x1F}, 3},
    {U'\u2078', {0x1F, 0x15, 0x1F}, 3}, {U'\u2079', {0x17, 0x15, 0x1F}, 3},
    {U'\u207B', {0x04, 0x04, 0x04}, 3},  // superscript minus
};

Font make_builtin() {
    Font f;
    f.ascent = 7;
    f.descent = 1;
    for (const Packed& p : packed) {
        Glyph g;
        g.width = p.width;
        g.height = 8;
        g.xoff = 0;
        g.yoff = -1;
        g.advance = p.width + 1;
        g.bits.assign(static_cast<std::size_t>(g.width) * g.height, 0);
        for (int c = 0; c < p.width; ++c)
            for (int r = 0; r < 8; ++r) g.bits[static_cast<std::size_t>(r) * g.width + c] = (p.cols[c] >> r) & 1;
        f.glyphs.emplace(p.code, std::move(g));
    }
    return f;
}

// The BDF reader: one line at a time, keyword first.
class BdfReader {
public:
    explicit BdfReader(std::string_view text) : rest_(text) {}

    bool next_line() {
        while (!rest_.empty()) {
            std::size_t end = rest_.find('\n');
            line_ = rest_.substr(0, end);
            rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
            if (!line_.empty() && line_.back() == '\r') line_.remove_suffix(1);
            fields_ = line_;
            keyword_ = word();
            if (!keyword_.empty()) return true;
        }
        return false;
    }
    std::string_view keyword() const noexcept { return keyword_; }
    std::string_view line() const noexcept { return line_; }

    // The next blank-separated word of the current line.
    std::string_view word() {
        std::size_t b = fields_.find_first_not_of(" \t");
        if (b == std::string_view::npos) return fields_ = {}, std::string_view();
        fields_.remove_prefix(b);
        std::size_t e = std::min(fields_.find_first_of(" \t"), fields_.size());
        std::string_view w = fields_.substr(0, e);
        fields_.remove_prefix(e);
        return w;
    }
    // The next word as an integer within ±limit.
    bool number(int& out, int limit = 1000000) {
        std::string_view w = word();
        long v = 0;
        auto r = std::from_chars(w.data(), w.data() + w.size(), v);
        if (w.empty() || r.ec != std::errc() || r.ptr != w.data() + w.size() || v < -limit || v > limit) return false;
        out = static_cast<int>(v);
        return true;
    }

private:
    std::string_view rest_, line_, fields_, keyword_;
};

int hex_digit(char c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// One hex row of the bitmap: at least ceil(width/8) bytes.
bool read_row(std::string_view hex, Glyph& g, int row) {
    while (!hex.empty() && (hex.back() == ' ' || hex.back() == '\t')) hex.remove_suffix(1);
    const std::size_t bytes = (static_cast<std::size_t>(g.width) + 7) / 8;
    if (hex.size() < bytes * 2 || hex.size() % 2) return false;
    for (std::size_t i = 0; i < hex.size(); ++i)
        if (hex_digit(hex[i]) < 0) return false;
    for (int x = 0; x < g.width; ++x) {
        const int nibble = hex_digit(hex[static_cast<std::size_t>(x / 4)]);
        g.bits[static_cast<std::size_t>(row) * g.width + x] = (nibble >> (3 - x % 4)) & 1;
    }
    return true;
}

// STARTCHAR up to ENDCHAR; the code point is -1 for an unencoded glyph.
bool read_glyph(BdfReader& r, int default_advance, long& code, Glyph& g) {
    bool have_bbx = false;
    code = -2;
    g.advance = default_advance;
    while (r.next_line()) {
        std::string_view k = r.keyword();
        if (k == "ENCODING") {
            int c = 0;
            if (!r.number(c, 0x10FFFF)) return false;
            code = c;
        } else if (k == "DWIDTH") {
            if (!r.number(g.advance, 4 * max_glyph_side)) return false;
        } else if (k == "BBX") {
            if (!r.number(g.width, max_glyph_side) || !r.number(g.height, max_glyph_side) ||
                !r.number(g.xoff, max_glyph_side) || !r.number(g.yoff, max_glyph_side) || g.width < 0 || g.height < 0)
                return false;
            have_bbx = true;
        } else if (k == "BITMAP") {
            if (!have_bbx || code < -1) return false;
            g.bits.assign(static_cast<std::size_t>(g.width) * g.height, 0);
            for (int row = 0; row < g.height; ++row)
                if (!r.next_line() || !read_row(r.keyword(), g, row)) return false;
        } else if (k == "ENDCHAR") {
            return have_bbx && code >= -1 && g.bits.size() == static_cast<std::size_t>(g.width) * g.height;
        } else if (k == "STARTCHAR" || k == "ENDFONT") {
            return false;
        }
    }
    return false;
}

}  // namespace

const Glyph* Font::find(char32_t c) const noexcept {
    auto it = glyphs.find(c);
    if (it != glyphs.end()) return &it->second;
    if (c == U'\u2212') return find('-');
    it = glyphs.find('?');
    return it == glyphs.end() ? nullptr : &it->second;
}

const Font& builtin_font() {
    static const Font font = make_builtin();
    return font;
}

std::optional<Font> parse_bdf(std::string_view text) {
    if (text.size() > max_font_bytes) return std::nullopt;
    BdfReader r(text);
    if (!r.next_line() || r.keyword() != "STARTFONT") return std::nullopt;
    Font f;
    int box[4] = {0, 0, 0, 0};
    bool have_box = false, have_ascent = false, have_descent = false;
    while (r.next_line()) {
        std::string_view k = r.keyword();
        if (k == "FONTBOUNDINGBOX") {
            for (int& v : box)
                if (!r.number(v, max_glyph_side)) return std::nullopt;
            if (box[0] <= 0 || box[1] <= 0) return std::nullopt;
            have_box = true;
        } else if (k == "FONT_ASCENT") {
            if (!r.number(f.ascent, max_glyph_side)) return std::nullopt;
            have_ascent = true;
        } else if (k == "FONT_DESCENT") {
            if (!r.number(f.descent, max_glyph_side)) return std::nullopt;
            have_descent = true;
        } else if (k == "STARTCHAR") {
            if (!have_box || f.glyphs.size() >= max_glyphs) return std::nullopt;
            long code = 0;
            Glyph g;
            if (!read_glyph(r, box[0], code, g)) return std::nullopt;
            if (code >= 0) f.glyphs[static_cast<char32_t>(code)] = std::move(g);
        } else if (k == "ENDFONT") {
            if (!have_box || f.glyphs.empty()) return std::nullopt;
            if (!have_ascent) f.ascent = box[1] + box[3];
            if (!have_descent) f.descent = -box[3];
            if (f.ascent < 0 || f.descent < 0 || f.ascent + f.descent <= 0) return std::nullopt;
            return f;
        }
    }
    return std::nullopt;  // no ENDFONT: a cut file
}

char32_t next_code_point(std::string_view s, std::size_t& pos) noexcept {
    const auto b = static_cast<unsigned char>(s[pos++]);
    if (b < 0x80) return b;
    int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : -1;
    if (extra < 0 || b >= 0xF8) return U'\uFFFD';
    char32_t c = b & (0x3F >> extra);
    for (int k = 0; k < extra; ++k) {
        if (pos >= s.size() || (static_cast<unsigned char>(s[pos]) & 0xC0) != 0x80) return U'\uFFFD';
        c = c << 6 | (static_cast<unsigned char>(s[pos++]) & 0x3F);
    }
    return c;
}

int text_width(const Font& font, std::string_view s, int scale) noexcept {
    int w = 0;
    for (std::size_t pos = 0; pos < s.size();)
        if (const Glyph* g = font.find(next_code_point(s, pos))) w += g->advance;
    return w * scale;
}

namespace {

// Draws every glyph; `put` maps a font pixel (dx right of the pen, dy
// above the baseline) to canvas pixels.
template <class Put>
void each_pixel(const Font& font, std::string_view s, Put put) {
    int pen = 0;
    for (std::size_t pos = 0; pos < s.size();) {
        const Glyph* g = font.find(next_code_point(s, pos));
        if (!g) continue;
        for (int r = 0; r < g->height; ++r)
            for (int c = 0; c < g->width; ++c)
                if (g->bits[static_cast<std::size_t>(r) * g->width + c])
                    put(pen + g->xoff + c, g->yoff + g->height - 1 - r);
        pen += g->advance;
    }
}

}  // namespace

void draw_text(Canvas& canvas, const Font& font, int x, int y, std::string_view s, Rgb colour, int scale) noexcept {
    each_pixel(font, s, [&](int dx, int dy) {
        canvas.fill({x + dx * scale, y - (dy + 1) * scale, x + (dx + 1) * scale, y - dy * scale}, colour);
    });
}

void draw_text_up(Canvas& canvas, const Font& font, int x, int y, std::string_view s, Rgb colour, int scale) noexcept {
    each_pixel(font, s, [&](int dx, int dy) {
        canvas.fill({x - (dy + 1) * scale, y - (dx + 1) * scale, x - dy * scale, y - dx * scale}, colour);
    });
}

}  // namespace ostr::plot
