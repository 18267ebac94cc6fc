// Domain colouring of a complex function: each pixel of the plot area shows
// f at its point, hue = arg f (red at 0, through yellow, green, cyan, blue
// and magenta as the argument turns), lightness = (2/π)·atan|f| so that zeros
// are black, |f| = 1 has the full colour and poles fade to white. A legend
// on the right shows both scales.
#include <algorithm>
#include <numbers>

#include "core/runtime.hpp"
#include "plot/chart.hpp"

namespace ostr::plot {
namespace {

constexpr double pi = std::numbers::pi;

Rgb colour_of(double re, double im) noexcept {
    if (std::isnan(re) || std::isnan(im)) return {0x80, 0x80, 0x80};
    if (std::isinf(re) || std::isinf(im)) return white;
    return hsl(std::atan2(im, re), 1.0, 2 / pi * std::atan(std::hypot(re, im)));
}

void outline(Canvas& c, Rect r) {
    c.fill({r.x0, r.y0, r.x1 + 1, r.y0 + 1}, ink);
    c.fill({r.x0, r.y1, r.x1 + 1, r.y1 + 1}, ink);
    c.fill({r.x0, r.y0, r.x0 + 1, r.y1 + 1}, ink);
    c.fill({r.x1, r.y0, r.x1 + 1, r.y1 + 1}, ink);
}

// A vertical strip from y0 (top, t = 1) to y1 (bottom, t = 0) coloured by
// colour(t), with labels at the given t.
template <class Colour>
void strip(Canvas& c, const Frame& f, int x, int y0, int y1, const char* name, Colour colour,
           std::initializer_list<std::pair<double, const char*>> labels) {
    const int s = f.scale, lh = (f.font->ascent + f.font->descent) * s, w = 2 * lh;
    for (int y = y0; y <= y1; ++y) c.fill({x, y, x + w, y + 1}, colour(static_cast<double>(y1 - y) / (y1 - y0)));
    outline(c, {x, y0, x + w, y1});
    draw_text(c, *f.font, x, y0 - lh / 2, name, ink, s);
    for (auto [t, text] : labels) {
        const int y = y1 - static_cast<int>(std::lround(t * (y1 - y0)));
        c.fill({x + w, y, x + w + 2 * s + 1, y + 1}, ink);
        draw_text(c, *f.font, x + w + 3 * s, y + f.font->ascent * s / 2, text, ink, s);
    }
}

void legend(Canvas& c, const Frame& f) {
    const int lh = (f.font->ascent + f.font->descent) * f.scale;
    const int x = f.area.x1 + 2 * lh, y0 = f.area.y0 + lh, y1 = f.area.y1;
    const int mid = (y0 + y1) / 2;
    strip(c, f, x, y0, mid - lh, "arg f", [](double t) { return hsl((2 * t - 1) * pi, 1.0, 0.5); },
          {{1.0, "\u03C0"}, {0.75, "\u03C0/2"}, {0.5, "0"}, {0.25, "\u2212\u03C0/2"}, {0.0, "\u2212\u03C0"}});
    // t = (2/π)·atan|f|: the tick of |f| = m sits at t = (2/π)·atan m.
    auto at = [](double m) { return 2 / pi * std::atan(m); };
    strip(c, f, x, mid + 2 * lh, y1, "|f|", [](double t) { return hsl(0, 0.0, t); },
          {{1.0, "\u221E"}, {at(3), "3"}, {at(1), "1"}, {at(0.3), "0.3"}, {0.0, "0"}});
}

}  // namespace

Frame domain_frame(const ChartOptions& o, double re0, double re1, double im0, double im1) {
    const Font& font = o.font ? *o.font : builtin_font();
    const int h = font.ascent + font.descent;
    const int lh = h * std::max(1, static_cast<int>(std::lround(std::min(o.width, o.height) / 40.0 / h)));
    return layout_frame(o, re0, re1, false, im0, im1, false, lh * 9);
}

std::optional<Canvas> render_domain(const ChartOptions& o, double re0, double re1, double im0, double im1,
                                    ComplexSampler f, void* data) {
    if (o.width < min_side || o.height < min_side || o.width > max_side || o.height > max_side) return std::nullopt;
    if (!(re1 > re0) || !(im1 > im0) || !std::isfinite(re1 - re0) || !std::isfinite(im1 - im0)) return std::nullopt;
    const Frame fr = domain_frame(o, re0, re1, im0, im1);
    Canvas c(o.width, o.height, white);
    const Rect a = fr.area;
    const double dx = (re1 - re0) / (a.x1 - a.x0), dy = (im1 - im0) / (a.y1 - a.y0);
    for (int y = a.y0 + 1; y < a.y1; ++y) {
        if (core::should_stop()) return std::nullopt;
        const double im = im1 - (y + 0.5 - a.y0) * dy;
        std::uint8_t* row = c.row(y);
        for (int x = a.x0 + 1; x < a.x1; ++x) {
            double wr = 0, wi = 0;
            if (!f(data, re0 + (x + 0.5 - a.x0) * dx, im, &wr, &wi)) return std::nullopt;
            const Rgb col = colour_of(wr, wi);
            row[3 * x] = col.r, row[3 * x + 1] = col.g, row[3 * x + 2] = col.b;
        }
    }
    draw_axes(c, fr, o);
    legend(c, fr);
    return c;
}

}  // namespace ostr::plot
