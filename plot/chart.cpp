// The chart: axes, ticks and labels, then the series drawn with the
// anti-aliased strokes of the coverage mask. A segment whose ends lie
// beyond the range on opposite sides, or that jumps more than the whole
// range between two samples across its middle, is a pole between the
// samples and is not drawn (this is what keeps tan(x) readable).
#include "plot/chart.hpp"

#include <algorithm>
#include <cstdio>

#include "core/runtime.hpp"

namespace ostr::plot {
namespace {

constexpr const char* superscripts[10] = {"\u2070", "\u00B9", "\u00B2", "\u00B3", "\u2074",
                                          "\u2075", "\u2076", "\u2077", "\u2078", "\u2079"};

std::string superscript(long k) {
    std::string s = k < 0 ? "\u207B" : "";
    std::string digits = std::to_string(k < 0 ? -k : k);
    for (char d : digits) s += superscripts[d - '0'];
    return s;
}

std::string with_minus_signs(std::string s) {
    std::string out;
    for (char ch : s) out += ch == '-' ? std::string("\u2212") : std::string(1, ch);
    return out;
}

std::string fixed(double v, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    std::string s = buf;
    if (s.find_first_not_of("-0.") == std::string::npos) s = decimals ? "0." + std::string(decimals, '0') : "0";
    return with_minus_signs(s);
}

int text_scale(const ChartOptions& o, const Font& font) {
    const int h = font.ascent + font.descent;
    return std::max(1, static_cast<int>(std::lround(std::min(o.width, o.height) / 40.0 / h)));
}

// A whole pixel line of the frame (x1, y1 inclusive).
void rule(Canvas& c, int x0, int y0, int x1, int y1, Rgb colour) { c.fill({x0, y0, x1 + 1, y1 + 1}, colour); }

}  // namespace

Axis linear_axis(double lo, double hi, int target, bool widen) {
    Axis a;
    if (!(hi > lo)) {
        const double pad = lo == 0 ? 1 : std::fabs(lo) * 0.1;
        lo -= pad;
        hi += pad;
    }
    const double raw = (hi - lo) / std::max(target, 1);
    const double e = std::pow(10.0, std::floor(std::log10(raw)));
    const double f = raw / e;
    a.step = (f < 1.5 ? 1 : f < 3 ? 2 : f < 7 ? 5 : 10) * e;
    if (widen) {
        lo = std::floor(lo / a.step + 1e-9) * a.step;
        hi = std::ceil(hi / a.step - 1e-9) * a.step;
    }
    a.lo = lo;
    a.hi = hi;
    for (double k = std::ceil(lo / a.step - 1e-9); k * a.step <= hi + a.step * 1e-9 && a.ticks.size() < 100; ++k)
        a.ticks.push_back(k * a.step == 0 ? 0.0 : k * a.step);
    return a;
}

Axis log_axis(double lo, double hi, int target, bool widen) {
    Axis a;
    a.log = true;
    if (!(hi > lo)) lo -= 1, hi += 1;
    if (widen) lo = std::floor(lo), hi = std::ceil(hi);
    a.lo = lo;
    a.hi = hi;
    a.step = std::max(1.0, std::ceil((hi - lo) / std::max(target, 1)));
    for (double k = std::ceil(lo / a.step) * a.step; k <= hi + 1e-9 && a.ticks.size() < 100; k += a.step)
        a.ticks.push_back(k);
    return a;
}

std::string tick_label(double v, const Axis& axis) {
    if (axis.log) {
        const long k = std::lround(v);
        if (k == 0) return "1";
        if (k == 1) return "10";
        return "10" + superscript(k);
    }
    if (v == 0) return "0";
    const double big = std::max(std::fabs(axis.lo), std::fabs(axis.hi));
    const int e_step = static_cast<int>(std::floor(std::log10(axis.step) + 1e-9));
    if (big < 1e6 && e_step >= -4) return fixed(v, std::max(0, -e_step));
    // m×10ᴱ with E the exponent of the largest end
    const int e = static_cast<int>(std::floor(std::log10(big) + 1e-9));
    return fixed(v / std::pow(10.0, e), std::max(0, e - e_step)) + "\u00D710" + superscript(e);
}

std::pair<double, double> robust_range(std::vector<double> v) {
    std::erase_if(v, [](double y) { return !std::isfinite(y); });
    if (v.empty()) return {NAN, NAN};
    std::sort(v.begin(), v.end());
    const double lo = v.front(), hi = v.back();
    if (v.size() < 20) return {lo, hi};
    const double q05 = v[v.size() / 20], q95 = v[v.size() - 1 - v.size() / 20];
    const double spread = std::max(q95 - q05, 1e-300);
    return {std::max(lo, q05 - spread), std::min(hi, q95 + spread)};
}

Rgb series_colour(std::size_t k) noexcept {
    static constexpr Rgb palette[] = {{0x00, 0x72, 0xB2}, {0xD5, 0x5E, 0x00}, {0x00, 0x9E, 0x73}, {0xCC, 0x79, 0xA7},
                                      {0xE6, 0x9F, 0x00}, {0x56, 0xB4, 0xE9}, {0x00, 0x00, 0x00}, {0xF0, 0xE4, 0x42}};
    return palette[k % std::size(palette)];
}

Frame layout_frame(const ChartOptions& o, double x0, double x1, bool widen_x, double y0, double y1, bool widen_y,
                   int right) {
    Frame f;
    f.font = o.font ? o.font : &builtin_font();
    f.scale = text_scale(o, *f.font);
    const int lh = (f.font->ascent + f.font->descent) * f.scale;
    const int tick = 2 * f.scale + 2;
    const int top = o.title.empty() ? lh : lh * 3;
    const int bottom = tick + lh * 2 + (o.xlabel.empty() ? 0 : lh * 3 / 2);
    f.area.y0 = top;
    f.area.y1 = o.height - bottom;
    const int ny = std::max(2, (f.area.y1 - f.area.y0) / (lh * 4));
    f.y = o.logy ? log_axis(y0, y1, ny, widen_y) : linear_axis(y0, y1, ny, widen_y);
    int label_w = 0;
    for (double t : f.y.ticks) label_w = std::max(label_w, text_width(*f.font, tick_label(t, f.y), f.scale));
    f.area.x0 = tick + label_w + lh + (o.ylabel.empty() ? 0 : lh * 3 / 2);
    f.area.x1 = o.width - std::max(right, lh * 2);
    const int nx = std::max(2, (f.area.x1 - f.area.x0) / (lh * 8));
    f.x = o.logx ? log_axis(x0, x1, nx, widen_x) : linear_axis(x0, x1, nx, widen_x);
    return f;
}

void draw_grid(Canvas& c, const Frame& f) {
    constexpr Rgb grey{0xE0, 0xE0, 0xE0};
    for (double t : f.x.ticks) {
        const int x = static_cast<int>(std::lround(f.px(t)));
        rule(c, x, f.area.y0, x, f.area.y1, grey);
    }
    for (double t : f.y.ticks) {
        const int y = static_cast<int>(std::lround(f.py(t)));
        rule(c, f.area.x0, y, f.area.x1, y, grey);
    }
}

void draw_axes(Canvas& c, const Frame& f, const ChartOptions& o) {
    const Rect a = f.area;
    const int s = f.scale, lh = (f.font->ascent + f.font->descent) * s, tick = 2 * s + 2;
    rule(c, a.x0, a.y0, a.x1, a.y0, ink);
    rule(c, a.x0, a.y1, a.x1, a.y1, ink);
    rule(c, a.x0, a.y0, a.x0, a.y1, ink);
    rule(c, a.x1, a.y0, a.x1, a.y1, ink);
    for (double t : f.x.ticks) {
        const int x = static_cast<int>(std::lround(f.px(t)));
        rule(c, x, a.y1, x, a.y1 + tick, ink);
        const std::string label = tick_label(t, f.x);
        draw_text(c, *f.font, x - text_width(*f.font, label, s) / 2, a.y1 + tick + f.font->ascent * s + s, label, ink, s);
    }
    for (double t : f.y.ticks) {
        const int y = static_cast<int>(std::lround(f.py(t)));
        rule(c, a.x0 - tick, y, a.x0, y, ink);
        const std::string label = tick_label(t, f.y);
        draw_text(c, *f.font, a.x0 - tick - s - text_width(*f.font, label, s), y + f.font->ascent * s / 2, label, ink, s);
    }
    if (!o.xlabel.empty()) {
        const int w = text_width(*f.font, o.xlabel, s);
        draw_text(c, *f.font, (a.x0 + a.x1 - w) / 2, o.height - lh / 2 - f.font->descent * s, o.xlabel, ink, s);
    }
    if (!o.ylabel.empty()) {
        const int w = text_width(*f.font, o.ylabel, s);
        draw_text_up(c, *f.font, lh / 2 + f.font->ascent * s, (a.y0 + a.y1 + w) / 2, o.ylabel, ink, s);
    }
    if (!o.title.empty()) {
        const int ts = s + (s + 1) / 2;
        const int w = text_width(*f.font, o.title, ts);
        draw_text(c, *f.font, (o.width - w) / 2, lh * 2, o.title, ink, ts);
    }
}

namespace {

struct Ranges {
    double x0 = NAN, x1 = NAN, y0 = NAN, y1 = NAN;
};

// Data in axis units: decimal logarithms on a logarithmic axis, where a
// value at or below zero has no place (NaN).
double to_axis(double v, bool log) noexcept { return log ? (v > 0 ? std::log10(v) : NAN) : v; }

Ranges data_ranges(const ChartOptions& o, std::span<const Series> series) {
    Ranges r;
    std::vector<double> ys;
    double xl = INFINITY, xh = -INFINITY;
    for (const Series& s : series) {
        for (std::size_t i = 0; i < s.x.size() && i < s.y.size(); ++i) {
            const double x = to_axis(s.x[i], o.logx);
            if (!std::isfinite(x)) continue;
            xl = std::min(xl, x), xh = std::max(xh, x);
            ys.push_back(to_axis(s.y[i], o.logy));
        }
    }
    if (xl <= xh) r.x0 = xl, r.x1 = xh;
    if (o.poles) {
        std::tie(r.y0, r.y1) = robust_range(std::move(ys));
    } else {
        r.y0 = INFINITY, r.y1 = -INFINITY;
        for (double y : ys)
            if (std::isfinite(y)) r.y0 = std::min(r.y0, y), r.y1 = std::max(r.y1, y);
    }
    if (!std::isnan(o.xmin)) r.x0 = to_axis(o.xmin, o.logx);
    if (!std::isnan(o.xmax)) r.x1 = to_axis(o.xmax, o.logx);
    if (!std::isnan(o.ymin)) r.y0 = to_axis(o.ymin, o.logy);
    if (!std::isnan(o.ymax)) r.y1 = to_axis(o.ymax, o.logy);
    if (!std::isfinite(r.x0) || !std::isfinite(r.x1)) r.x0 = 0, r.x1 = 1;
    if (!std::isfinite(r.y0) || !std::isfinite(r.y1)) r.y0 = 0, r.y1 = 1;
    return r;
}

// False when the work should stop.
bool draw_series(Canvas& c, Mask& mask, const Frame& f, const ChartOptions& o, const Series& s, Rgb colour,
                 double line_width) {
    const std::size_t n = std::min(s.x.size(), s.y.size());
    const double span = f.y.hi - f.y.lo, mid = (f.y.hi + f.y.lo) / 2;
    // Far outside the area a coordinate only needs to keep its side.
    auto clampy = [&](double v) { return std::clamp(v, f.y.lo - 4 * span, f.y.hi + 4 * span); };
    double px = NAN, py = NAN, ay_prev = NAN;
    for (std::size_t i = 0; i < n; ++i) {
        if (i % 4096 == 4095 && core::should_stop()) return false;
        const double ax = to_axis(s.x[i], o.logx), ay = to_axis(s.y[i], o.logy);
        const double x = f.px(ax), y = f.py(clampy(ay));
        const bool ok = std::isfinite(ax) && std::isfinite(ay);
        if (ok && s.style != Style::points && std::isfinite(px)) {
            const bool across = (ay_prev < f.y.lo && ay > f.y.hi) || (ay_prev > f.y.hi && ay < f.y.lo);
            const bool jump = std::fabs(ay - ay_prev) > span && (ay - mid) * (ay_prev - mid) < 0;
            if (!o.poles || (!across && !jump)) mask.segment(px, py, x, y, line_width);
        }
        if (ok && s.style != Style::lines) mask.disc(x, y, line_width * 1.4);
        px = ok ? x : NAN;
        py = y;
        ay_prev = ay;
    }
    mask.paint(c, colour);
    return true;
}

void draw_legend(Canvas& c, const Frame& f, std::span<const Series> series, double line_width) {
    const int s = f.scale, lh = (f.font->ascent + f.font->descent) * s, row = lh + 2 * s, sample = 8 * lh / 3;
    int w = 0, rows = 0;
    for (const Series& e : series)
        if (!e.label.empty()) w = std::max(w, text_width(*f.font, e.label, s)), ++rows;
    if (!rows) return;
    const int bw = sample + 3 * s * 3 + w, bh = rows * row + 2 * s * 2;
    const Rect box{f.area.x1 - bw - lh, f.area.y0 + lh, f.area.x1 - lh, f.area.y0 + lh + bh};
    c.fill(box, white);
    rule(c, box.x0, box.y0, box.x1, box.y0, ink);
    rule(c, box.x0, box.y1, box.x1, box.y1, ink);
    rule(c, box.x0, box.y0, box.x0, box.y1, ink);
    rule(c, box.x1, box.y0, box.x1, box.y1, ink);
    Mask mask(c.width(), c.height(), box);
    int y = box.y0 + 2 * s + row / 2;
    for (std::size_t k = 0; k < series.size(); ++k) {
        const Series& e = series[k];
        if (e.label.empty()) continue;
        const double x0 = box.x0 + 3 * s, x1 = x0 + sample;
        if (e.style != Style::points) mask.segment(x0, y, x1, y, line_width);
        if (e.style != Style::lines) mask.disc((x0 + x1) / 2, y, line_width * 1.4);
        mask.paint(c, series_colour(k));
        draw_text(c, *f.font, static_cast<int>(x1) + 3 * s, y + f.font->ascent * s / 2, e.label, ink, s);
        y += row;
    }
}

}  // namespace

std::optional<Canvas> render_chart(const ChartOptions& o, std::span<const Series> series) {
    if (o.width < min_side || o.height < min_side || o.width > max_side || o.height > max_side) return std::nullopt;
    const Ranges r = data_ranges(o, series);
    // A range the caller turned round, or one too wide for a double to
    // measure, has no axis.
    if (!(r.x1 >= r.x0) || !(r.y1 >= r.y0) || !std::isfinite(r.x1 - r.x0) || !std::isfinite(r.y1 - r.y0))
        return std::nullopt;
    Frame f = layout_frame(o, r.x0, r.x1, o.logx || (std::isnan(o.xmin) && std::isnan(o.xmax)), r.y0, r.y1, std::isnan(o.ymin) && std::isnan(o.ymax), 0);
    Canvas c(o.width, o.height, white);
    if (o.grid) draw_grid(c, f);
    const double line_width = std::max(1.5, std::min(o.width, o.height) / 300.0);
    Mask mask(o.width, o.height, {f.area.x0 + 1, f.area.y0 + 1, f.area.x1, f.area.y1});
    for (std::size_t k = 0; k < series.size(); ++k)
        if (!draw_series(c, mask, f, o, series[k], series_colour(k), line_width)) return std::nullopt;
    draw_axes(c, f, o);
    draw_legend(c, f, series, line_width);
    return c;
}

}  // namespace ostr::plot
