// Arbitrary bytes as a BDF font file: the reader must refuse or accept
// without reading out of bounds, and an accepted font must draw text.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "plot/canvas.hpp"
#include "plot/font.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    auto font = ostr::plot::parse_bdf(text);
    if (!font) return 0;
    ostr::plot::Canvas canvas(64, 64, {255, 255, 255});
    ostr::plot::draw_text(canvas, *font, 2, 40, "Ag\u2212\u03C0", {0, 0, 0}, 2);
    ostr::plot::draw_text_up(canvas, *font, 40, 60, "xy", {0, 0, 0}, 1);
    return 0;
}
