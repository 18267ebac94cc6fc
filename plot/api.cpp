// The C face of the plot renderer, and the value handlers of the typed-tree
// types "bitmap" and "color_matrix". A bitmap or colour matrix is one block:
// the record, then its pixels, so one free releases it.
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/memory.hpp"
#include "ostravine/plot.h"
#include "persist/stream.hpp"
#include "plot/chart.hpp"
#include "plot/png.hpp"
#include "plot/spectrum.hpp"

struct PlotFont {
    ostr::plot::Font font;
};

namespace ostr::plot {
namespace {

static_assert(sizeof(PlotBitmap) == 16 && offsetof(PlotBitmap, pixels) == 8);
static_assert(sizeof(PlotColorMatrix) == 16 && offsetof(PlotColorMatrix, colors) == 8);

bool good_size(std::int64_t w, std::int64_t h) noexcept { return w >= 1 && h >= 1 && w <= max_side && h <= max_side; }

PlotBitmap* new_bitmap(int w, int h) noexcept {
    if (!good_size(w, h)) return nullptr;
    const std::size_t n = static_cast<std::size_t>(w) * h * 3;
    auto* b = static_cast<PlotBitmap*>(mem_alloc(sizeof(PlotBitmap) + n));
    if (!b) return nullptr;
    b->width = w;
    b->height = h;
    b->pixels = reinterpret_cast<std::uint8_t*>(b + 1);
    return b;
}

PlotColorMatrix* new_matrix(int cols, int rows) noexcept {
    if (!good_size(cols, rows)) return nullptr;
    const std::size_t n = static_cast<std::size_t>(cols) * rows;
    auto* m = static_cast<PlotColorMatrix*>(mem_alloc(sizeof(PlotColorMatrix) + n * 4));
    if (!m) return nullptr;
    m->rows = rows;
    m->cols = cols;
    m->colors = reinterpret_cast<std::uint32_t*>(m + 1);
    return m;
}

PlotBitmap* to_bitmap(const std::optional<Canvas>& c) noexcept {
    if (!c) return nullptr;
    PlotBitmap* b = new_bitmap(c->width(), c->height());
    if (b) std::memcpy(b->pixels, c->pixels().data(), c->pixels().size());
    return b;
}

ChartOptions chart_options(const PlotOptions* p) {
    ChartOptions o;
    if (!p) return o;
    if (p->width) o.width = p->width;
    if (p->height) o.height = p->height;
    if (p->title) o.title = p->title;
    if (p->xlabel) o.xlabel = p->xlabel;
    if (p->ylabel) o.ylabel = p->ylabel;
    o.grid = p->flags & PLOT_GRID;
    o.logx = p->flags & PLOT_LOG_X;
    o.logy = p->flags & PLOT_LOG_Y;
    o.poles = p->flags & PLOT_POLES;
    o.xmin = p->xmin, o.xmax = p->xmax, o.ymin = p->ymin, o.ymax = p->ymax;
    if (p->font) o.font = &p->font->font;
    return o;
}

PlotBitmap* chart(const PlotOptions* options, const PlotSeries* series, std::int32_t count) {
    if (count < 0 || (count > 0 && !series) || count > 1024) return nullptr;
    std::vector<Series> all(static_cast<std::size_t>(count));
    for (std::int32_t k = 0; k < count; ++k) {
        const PlotSeries& s = series[k];
        if (s.count < 0 || (s.count > 0 && (!s.x || !s.y))) return nullptr;
        all[k].x.assign(s.x, s.x + s.count);
        all[k].y.assign(s.y, s.y + s.count);
        all[k].style = s.style == PLOT_POINTS ? Style::points : s.style == PLOT_LINES_POINTS ? Style::both : Style::lines;
        if (s.label) all[k].label = s.label;
    }
    return to_bitmap(render_chart(chart_options(options), all));
}

struct Callback {
    PlotComplexFn f;
    void* data;
};

bool call_back(void* data, double re, double im, double* out_re, double* out_im) {
    auto* cb = static_cast<Callback*>(data);
    return cb->f(cb->data, re, im, out_re, out_im) != 0;
}

PlotBitmap* spectrum(const PlotOptions* options, const double* re, const double* im, std::int32_t n, bool db) {
    if (!re || n < 2 || static_cast<std::size_t>(n) > max_spectrum_samples) return nullptr;
    const auto un = static_cast<std::size_t>(n);
    if ((un & (un - 1)) != 0 && un > max_direct_samples) return nullptr;
    auto mags = magnitude_spectrum({re, un}, im ? std::span<const double>(im, un) : std::span<const double>());
    if (!mags) return nullptr;
    Series s;
    for (std::size_t k = 0; k < mags->size(); ++k) {
        s.x.push_back(static_cast<double>(k) / n);
        s.y.push_back(db ? 20 * std::log10((*mags)[k]) : (*mags)[k]);
    }
    ChartOptions o = chart_options(options);
    if (o.xlabel.empty()) o.xlabel = "frequency (cycles per sample)";
    if (o.ylabel.empty()) o.ylabel = db ? "|X| (dB)" : "|X|";
    return to_bitmap(render_chart(o, std::span(&s, 1)));
}

bool read_size(persist::Stream& s, std::int32_t& w, std::int32_t& h) noexcept {
    return s.get_i32(w) && s.get_i32(h) && good_size(w, h);
}

}  // namespace
}  // namespace ostr::plot

using namespace ostr;
using namespace ostr::plot;

extern "C" {

void InitPlotOptions(PlotOptions* o) noexcept {
    if (!o) return;
    *o = PlotOptions{};
    o->xmin = o->xmax = o->ymin = o->ymax = NAN;
}

PlotBitmap* GeneratePlotBitmaps(const PlotOptions* options, const PlotSeries* series, int32_t count) noexcept {
    return or_failure<PlotBitmap*>(nullptr, [&] { return chart(options, series, count); });
}

PlotBitmap* GenerateDomainBitmap(const PlotOptions* options, double re0, double re1, double im0, double im1,
                                 PlotComplexFn f, void* data) noexcept {
    if (!f) return nullptr;
    return or_failure<PlotBitmap*>(nullptr, [&] {
        Callback cb{f, data};
        return to_bitmap(render_domain(chart_options(options), re0, re1, im0, im1, call_back, &cb));
    });
}

PlotBitmap* GenerateSpectrumBitmap(const PlotOptions* options, const double* re, const double* im, int32_t n,
                                   int32_t decibels) noexcept {
    return or_failure<PlotBitmap*>(nullptr, [&] { return spectrum(options, re, im, n, decibels != 0); });
}

MemFile* EncodePlotBitmapPNG(const PlotBitmap* b) noexcept {
    if (!b || !b->pixels || !good_size(b->width, b->height)) return nullptr;
    return or_failure<MemFile*>(nullptr, [&]() -> MemFile* {
        const Bytes png = encode_png(b->pixels, b->width, b->height);
        MemFile* m = MemOpen(static_cast<int32_t>(png.size()));
        if (!m) return nullptr;
        MemWrite(png.data(), 1, png.size(), m);
        return m;
    });
}

int32_t WritePlotBitmapPNG(const PlotBitmap* b, const char* file) noexcept {
    if (!file) return 0;
    std::unique_ptr<MemFile, decltype(&MemClose)> png(EncodePlotBitmapPNG(b), MemClose);
    if (!png) return 0;
    std::FILE* f = std::fopen(file, "wb");
    if (!f) return 0;
    const bool ok = MemFWrite(png.get(), f) == png->position;
    return (std::fclose(f) == 0 && ok) ? 1 : 0;
}

PlotFont* LoadFontFromFile(const char* file) noexcept {
    if (!file) return nullptr;
    return or_failure<PlotFont*>(nullptr, [&]() -> PlotFont* {
        std::FILE* f = std::fopen(file, "rb");
        if (!f) return nullptr;
        std::string text;
        char chunk[8192];
        for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, f)) > 0 && text.size() <= max_font_bytes;)
            text.append(chunk, got);
        std::fclose(f);
        std::optional<Font> font = parse_bdf(text);
        if (!font) return nullptr;
        void* block = mem_alloc(sizeof(PlotFont));
        if (!block) return nullptr;
        return new (block) PlotFont{std::move(*font)};
    });
}

void FreePlotFont(PlotFont* font) noexcept {
    if (!font) return;
    font->~PlotFont();
    mem_free(font);
}

PlotColorMatrix* BitmapToColorMatrix(const PlotBitmap* b) noexcept {
    if (!b || !b->pixels) return nullptr;
    PlotColorMatrix* m = new_matrix(b->width, b->height);
    if (!m) return nullptr;
    const std::size_t n = static_cast<std::size_t>(b->width) * b->height;
    for (std::size_t i = 0; i < n; ++i)
        m->colors[i] = std::uint32_t{b->pixels[3 * i]} << 16 | b->pixels[3 * i + 1] << 8 | b->pixels[3 * i + 2];
    return m;
}

PlotBitmap* ColorMatrixToBitmap(const PlotColorMatrix* m) noexcept {
    if (!m || !m->colors) return nullptr;
    PlotBitmap* b = new_bitmap(m->cols, m->rows);
    if (!b) return nullptr;
    const std::size_t n = static_cast<std::size_t>(m->cols) * m->rows;
    for (std::size_t i = 0; i < n; ++i) {
        b->pixels[3 * i] = static_cast<std::uint8_t>(m->colors[i] >> 16);
        b->pixels[3 * i + 1] = static_cast<std::uint8_t>(m->colors[i] >> 8);
        b->pixels[3 * i + 2] = static_cast<std::uint8_t>(m->colors[i]);
    }
    return b;
}

void FreePlotBitmap(void* b) noexcept { mem_free(b); }
void FreePlotColorMatrix(void* m) noexcept { mem_free(m); }

void writePlotBitmap(void* v, void* stream, int32_t mode) noexcept {
    auto* b = static_cast<PlotBitmap*>(v);
    persist::Stream s(stream, mode);
    if (!b || !s || !good_size(b->width, b->height)) return;
    s.put_i32(b->width);
    s.put_i32(b->height);
    s.put_block(b->pixels, static_cast<std::size_t>(b->width) * b->height * 3);
}

void* readPlotBitmap(void* stream, int32_t mode) noexcept {
    persist::Stream s(stream, mode);
    std::int32_t w = 0, h = 0;
    if (!s || !read_size(s, w, h)) return nullptr;
    PlotBitmap* b = new_bitmap(w, h);
    if (b && !s.get(b->pixels, static_cast<std::size_t>(w) * h * 3)) {
        mem_free(b);
        return nullptr;
    }
    return b;
}

void* copyPlotBitmap(void* v) noexcept {
    auto* from = static_cast<PlotBitmap*>(v);
    if (!from) return nullptr;
    PlotBitmap* b = new_bitmap(from->width, from->height);
    if (b) std::memcpy(b->pixels, from->pixels, static_cast<std::size_t>(b->width) * b->height * 3);
    return b;
}

void writePlotColorMatrix(void* v, void* stream, int32_t mode) noexcept {
    auto* m = static_cast<PlotColorMatrix*>(v);
    persist::Stream s(stream, mode);
    if (!m || !s || !good_size(m->cols, m->rows)) return;
    s.put_i32(m->cols);
    s.put_i32(m->rows);
    s.put_block(m->colors, static_cast<std::size_t>(m->cols) * m->rows * 4);
}

void* readPlotColorMatrix(void* stream, int32_t mode) noexcept {
    persist::Stream s(stream, mode);
    std::int32_t c = 0, r = 0;
    if (!s || !read_size(s, c, r)) return nullptr;
    PlotColorMatrix* m = new_matrix(c, r);
    if (m && !s.get(m->colors, static_cast<std::size_t>(c) * r * 4)) {
        mem_free(m);
        return nullptr;
    }
    return m;
}

void* copyPlotColorMatrix(void* v) noexcept {
    auto* from = static_cast<PlotColorMatrix*>(v);
    if (!from) return nullptr;
    PlotColorMatrix* m = new_matrix(from->cols, from->rows);
    if (m) std::memcpy(m->colors, from->colors, static_cast<std::size_t>(m->cols) * m->rows * 4);
    return m;
}

}  // extern "C"
