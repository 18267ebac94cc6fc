// Charts: axes with 1-2-5 ticks (or decades on a logarithmic axis),
// labels, grid, title, axis names and legend around a plot area; the curves
// and point sets of function, data and parametric plots drawn into it; and
// the complex domain colouring drawn in the same frame.
#pragma once

#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/memory.hpp"
#include "plot/canvas.hpp"
#include "plot/font.hpp"

namespace ostr::plot {

enum class Style : unsigned char { lines, points, both };

struct Series {
    std::vector<double> x, y;
    Text label;  // empty: not in the legend
    Style style = Style::lines;
};

struct ChartOptions {
    int width = 800, height = 600;
    Text title, xlabel, ylabel;  // the user's texts, wiped when released
    bool grid = false, logx = false, logy = false;
    // A range end that is NaN is chosen from the data.
    double xmin = NAN, xmax = NAN, ymin = NAN, ymax = NAN;
    const Font* font = nullptr;  // null: the built-in font
    // Sampled formulas: the automatic y range leaves out poles (see
    // robust_range) and a jump across the whole range is not drawn. Data and
    // spectra show every value as it is.
    bool poles = false;
};

// The size bounds of a picture (each side), checked by every renderer.
inline constexpr int min_side = 64;
inline constexpr int max_side = 8192;

// One axis after its range and ticks are chosen. On a logarithmic axis lo,
// hi and the ticks are decimal logarithms of the data values.
struct Axis {
    double lo = 0, hi = 1, step = 0.2;
    bool log = false;
    std::vector<double> ticks;
};

// Ticks of 1, 2 or 5 times a power of ten, about `target` of them over
// lo..hi; with `widen` the range is widened to whole steps.
Axis linear_axis(double lo, double hi, int target, bool widen);
// Ticks at whole decades (every k-th decade when there are many).
Axis log_axis(double lo, double hi, int target, bool widen);

// The text of a tick: "0.25", "−3", "10⁻²", "2×10⁶"; minus signs are U+2212.
std::string tick_label(double v, const Axis& axis);

// The y range to show for these values: all finite values, unless a few lie
// far outside the bulk (poles, where a sampled tan(x) reaches 1e15): then
// the range ends where the bulk spread, measured between the 5th and 95th
// percentiles, reaches beyond those percentiles. NaN pair when no value is
// finite.
std::pair<double, double> robust_range(std::vector<double> values);

// The colour of series k: the palette of Okabe and Ito, chosen to stay
// distinct under the common colour-vision deficiencies.
Rgb series_colour(std::size_t k) noexcept;

// The chart of the series; nullopt when the work was stopped
// (core::should_stop) or the size is outside min_side..max_side.
std::optional<Canvas> render_chart(const ChartOptions& options, std::span<const Series> series);

// A complex function sampled by the caller: f(re, im, &out_re, &out_im)
// answers false when the work should stop.
using ComplexSampler = bool (*)(void* data, double re, double im, double* out_re, double* out_im);
// Domain colouring over [re0,re1]×[im0,im1]: hue = argument, lightness
// rising with the modulus (black at zeros, full colour at |f| = 1, white
// at poles), a legend of both on the right. nullopt when stopped.
std::optional<Canvas> render_domain(const ChartOptions& options, double re0, double re1, double im0, double im1,
                                    ComplexSampler f, void* data);

}  // namespace ostr::plot

namespace ostr::plot {

// The parts of a chart that the kinds of plot share: where the plot area
// lies, its axes and the scale of the text.
struct Frame {
    Rect area;
    Axis x, y;
    const Font* font;
    int scale;  // text scale
    double px(double v) const noexcept { return area.x0 + (v - x.lo) / (x.hi - x.lo) * (area.x1 - area.x0); }
    double py(double v) const noexcept { return area.y1 - (v - y.lo) / (y.hi - y.lo) * (area.y1 - area.y0); }
};

// Places the plot area for the data ranges (already in logarithms on a
// logarithmic axis), keeping `right` pixels free on the right for a
// legend; `widen_x`/`widen_y` widen an axis to whole ticks.
Frame layout_frame(const ChartOptions& o, double x0, double x1, bool widen_x, double y0, double y1, bool widen_y,
                   int right);
// The frame of a domain colouring (room for its legend on the right).
Frame domain_frame(const ChartOptions& o, double re0, double re1, double im0, double im1);
void draw_grid(Canvas& c, const Frame& f);
// Frame lines, ticks, tick labels, axis names and title.
void draw_axes(Canvas& c, const Frame& f, const ChartOptions& o);

inline constexpr Rgb ink{0x20, 0x20, 0x20};
inline constexpr Rgb white{0xFF, 0xFF, 0xFF};

}  // namespace ostr::plot
