// Charts, domain colouring and spectra, checked on the decoded PNG files
// (check_png.py: an independent reader) where the geometry puts them:
// curve pixels at the formula's values, frame lines, tick labels; the tick
// and range choices by tables; the typed-tree handlers by round trips.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <sstream>

#include "ostravine/plot.h"
#include "plot/chart.hpp"
#include "plot/png.hpp"
#include "plot/spectrum.hpp"
#include "png_checker.hpp"

namespace ostr::test {
namespace {

struct Pixel {
    int r, g, b;
};

// Writes the canvas as PNG, decodes it with the independent reader and
// answers the pixels at the points (after checking the size).
std::vector<Pixel> decoded(const plot::Canvas& c, const std::vector<std::pair<int, int>>& points) {
    const std::string path = temp_path("chart.png");
    const plot::Bytes png = plot::encode_png(c);
    EXPECT_TRUE(write_file(path, png.data(), png.size()));
    std::string args = "png " + path;
    for (auto [x, y] : points) {
        args.push_back(' ');
        args.append(std::to_string(x));
        args.push_back(' ');
        args.append(std::to_string(y));
    }
    const auto lines = run_checker(args);
    std::remove(path.c_str());
    std::vector<Pixel> out;
    if (lines.empty() || lines[0] != std::to_string(c.width()) + " " + std::to_string(c.height())) {
        ADD_FAILURE() << (lines.empty() ? "no output" : lines[0]);
        return std::vector<Pixel>(points.size(), Pixel{-1, -1, -1});
    }
    for (std::size_t k = 1; k < lines.size(); ++k) {
        std::istringstream in(lines[k]);
        Pixel p{};
        in >> p.r >> p.g >> p.b;
        out.push_back(p);
    }
    out.resize(points.size(), Pixel{-1, -1, -1});
    return out;
}

bool dark(Pixel p) { return p.r < 110 && p.g < 110 && p.b < 110; }
bool white(Pixel p) { return p.r > 240 && p.g > 240 && p.b > 240; }
// The first palette colour (0, 114, 178), allowing the stroke's soft edge.
bool blue(Pixel p) { return p.b - p.r > 80 && p.b > 120; }

class SineChart : public ::testing::Test {
protected:
    void SetUp() override {
        o.title = Text("Sine");
        o.xlabel = Text("x");
        o.ylabel = Text("sin x");
        o.xmin = 0, o.xmax = 10, o.ymin = -1.2, o.ymax = 1.2;
        plot::Series s;
        for (int i = 0; i < 2000; ++i) {
            s.x.push_back(10.0 * i / 1999);
            s.y.push_back(std::sin(s.x.back()));
        }
        s.label = Text("sin(x)");
        auto c = plot::render_chart(o, std::span(&s, 1));
        ASSERT_TRUE(c);
        canvas.emplace(std::move(*c));
        frame = plot::layout_frame(o, 0, 10, false, -1.2, 1.2, false, 0);
    }
    static int at(double v) { return static_cast<int>(std::floor(v)); }
    plot::ChartOptions o;
    std::optional<plot::Canvas> canvas;
    plot::Frame frame{};
};

TEST_F(SineChart, CurvePixelsLieWhereTheFormulaPutsThem) {
    std::vector<std::pair<int, int>> on, off;
    for (double x = 0.25; x < 10; x += 0.5) {
        on.push_back({at(frame.px(x)), at(frame.py(std::sin(x)))});
        // 0.6 below or above the curve is far from it at every x here
        off.push_back({at(frame.px(x)), at(frame.py(std::sin(x) + (std::sin(x) > 0 ? -0.6 : 0.6)))});
    }
    auto p = decoded(*canvas, on);
    for (std::size_t k = 0; k < on.size(); ++k)
        EXPECT_TRUE(blue(p[k])) << on[k].first << "," << on[k].second << ": " << p[k].r << " " << p[k].g << " " << p[k].b;
    p = decoded(*canvas, off);
    for (std::size_t k = 0; k < off.size(); ++k) EXPECT_TRUE(white(p[k])) << off[k].first << "," << off[k].second;
}

TEST_F(SineChart, FrameTicksAndLabelsArePresent) {
    const plot::Rect a = frame.area;
    std::vector<std::pair<int, int>> frame_pts{{a.x0, (a.y0 + a.y1) / 2}, {a.x1, a.y0 + 5}, {(a.x0 + a.x1) / 2, a.y1}};
    for (auto q : decoded(*canvas, frame_pts)) EXPECT_TRUE(dark(q));
    // Below each x tick and left of each y tick some pixel of the label is
    // ink: one box of points per tick, all decoded in one pass.
    ASSERT_EQ(frame.x.ticks.size(), 6u);  // 0, 2, ..., 10
    std::vector<std::pair<int, int>> all;
    std::vector<std::size_t> starts;
    for (double t : frame.x.ticks) {
        starts.push_back(all.size());
        for (int dy = 6; dy < 26; ++dy)
            for (int dx = -8; dx <= 8; ++dx) all.push_back({at(frame.px(t)) + dx, a.y1 + dy});
    }
    for (double t : frame.y.ticks) {
        starts.push_back(all.size());
        for (int dy = -6; dy <= 6; ++dy)
            for (int dx = 10; dx < 30; ++dx) all.push_back({a.x0 - dx, at(frame.py(t)) + dy});
    }
    starts.push_back(all.size());
    const auto p = decoded(*canvas, all);
    for (std::size_t k = 0; k + 1 < starts.size(); ++k)
        EXPECT_TRUE(std::any_of(p.begin() + starts[k], p.begin() + starts[k + 1], dark)) << "label of tick " << k;
}

TEST(Ticks, OneTwoFiveSteps) {
    struct Row {
        double lo, hi;
        int target;
        bool widen;
        double step, first, last;
    };
    const Row rows[] = {
        {0, 10, 8, false, 1, 0, 10},       {0, 1, 5, false, 0.2, 0, 1},
        {-3.3, 7.1, 4, false, 2, -2, 6},   {-3.3, 7.1, 4, true, 2, -4, 8},
        {0.001, 0.0095, 5, false, 0.002, 0.002, 0.008}, {-1, 1, 10, false, 0.2, -1, 1},
        {5, 5, 4, false, 0.2, 4.6, 5.4},   {0, 7e6, 7, false, 1e6, 0, 7e6},
    };
    for (const Row& r : rows) {
        const plot::Axis a = plot::linear_axis(r.lo, r.hi, r.target, r.widen);
        EXPECT_DOUBLE_EQ(a.step, r.step) << r.lo << ".." << r.hi;
        ASSERT_FALSE(a.ticks.empty());
        EXPECT_NEAR(a.ticks.front(), r.first, r.step * 1e-9) << r.lo << ".." << r.hi;
        EXPECT_NEAR(a.ticks.back(), r.last, r.step * 1e-9) << r.lo << ".." << r.hi;
    }
    const plot::Axis decades = plot::log_axis(-0.3, 2.9, 8, true);
    EXPECT_EQ(decades.ticks, (std::vector<double>{-1, 0, 1, 2, 3}));
    EXPECT_EQ(plot::log_axis(0, 40, 8, true).step, 5);
}

TEST(Ticks, Labels) {
    struct Row {
        double v;
        plot::Axis axis;
        const char* text;
    };
    auto lin = [](double lo, double hi, double step) {
        plot::Axis a;
        a.lo = lo, a.hi = hi, a.step = step;
        return a;
    };
    plot::Axis log;
    log.log = true;
    const Row rows[] = {
        {0.25, lin(0, 1, 0.05), "0.25"},         {-3, lin(-5, 5, 1), "\u22123"},
        {0, lin(-1, 1, 0.5), "0"},               {-0.5, lin(-1, 1, 0.5), "\u22120.5"},
        {2e6, lin(0, 5e6, 1e6), "2\u00D710\u2076"}, {1.5e-6, lin(0, 3e-6, 5e-7), "1.5\u00D710\u207B\u2076"},
        {2, log, "10\u00B2"},                    {-3, log, "10\u207B\u00B3"},
        {0, log, "1"},                           {1, log, "10"},
    };
    for (const Row& r : rows) EXPECT_EQ(plot::tick_label(r.v, r.axis), r.text) << r.v;
}

TEST(Ranges, PolesAreLeftOutAndOrdinaryDataIsNot) {
    std::vector<double> tan_x, sin_x, exp_x;
    for (int i = 0; i < 2000; ++i) {
        const double x = 10.0 * i / 1999;
        tan_x.push_back(std::tan(x));
        sin_x.push_back(std::sin(x));
        exp_x.push_back(std::exp(x));
    }
    tan_x[100] = INFINITY;
    auto [lo, hi] = plot::robust_range(tan_x);
    EXPECT_GT(lo, -60);
    EXPECT_LT(hi, 60);
    EXPECT_LT(lo, -5);
    EXPECT_GT(hi, 5);
    EXPECT_EQ(plot::robust_range(sin_x), std::make_pair(*std::min_element(sin_x.begin(), sin_x.end()),
                                                        *std::max_element(sin_x.begin(), sin_x.end())));
    EXPECT_EQ(plot::robust_range(exp_x).second, exp_x.back());
    EXPECT_TRUE(std::isnan(plot::robust_range({NAN, INFINITY}).first));
}

TEST(Domain, HueFollowsTheArgumentAndLightnessTheModulus) {
    plot::ChartOptions o;
    o.width = 400, o.height = 300;
    auto identity = [](void*, double re, double im, double* a, double* b) {
        *a = re, *b = im;
        return true;
    };
    auto c = plot::render_domain(o, -2, 2, -2, 2, identity, nullptr);
    ASSERT_TRUE(c);
    const plot::Frame g = plot::domain_frame(o, -2, 2, -2, 2);
    auto p = [&](double re, double im) {
        return std::pair<int, int>{static_cast<int>(g.px(re)), static_cast<int>(g.py(im))};
    };
    auto px = decoded(*c, {p(0.8, 0), p(-0.8, 0), p(0, 0.02), p(1.9, 1.9), p(0, -0.8)});
    EXPECT_TRUE(px[0].r > 150 && px[0].g < 60 && px[0].b < 60) << "arg 0 is red";
    EXPECT_TRUE(px[1].r < 60 && px[1].g > 150 && px[1].b > 150) << "arg pi is cyan";
    EXPECT_TRUE(px[2].r + px[2].g + px[2].b < 60) << "a zero is black";
    EXPECT_TRUE(px[3].r > 120 && px[3].g > 120 && px[3].b > 120) << "a large modulus is light";
    EXPECT_TRUE(px[4].b > 150 && px[4].g < px[4].b) << "arg -pi/2 is violet-blue";
}

TEST(Spectrum, PeaksAtTheFrequencyBothPaths) {
    for (std::size_t n : {64, 60, 2}) {
        std::vector<double> x(n);
        const std::size_t bin = n / 8 ? n / 8 : 1;
        for (std::size_t j = 0; j < n; ++j) x[j] = std::cos(2 * std::numbers::pi * bin * j / n);
        auto m = plot::magnitude_spectrum(x, {});
        ASSERT_TRUE(m);
        ASSERT_EQ(m->size(), n / 2 + 1);
        for (std::size_t k = 0; k < m->size(); ++k)
            EXPECT_NEAR((*m)[k], k == bin ? (bin * 2 == n ? n : n / 2.0) : 0.0, 1e-9 * n) << n << " " << k;
    }
}

TEST(CFace, BadCallsAnswerNull) {
    PlotOptions o;
    InitPlotOptions(&o);
    double x[2] = {0, 1};
    PlotSeries s{x, x, 2, PLOT_LINES, nullptr};
    EXPECT_EQ(GeneratePlotBitmaps(&o, &s, -1), nullptr);
    EXPECT_EQ(GeneratePlotBitmaps(&o, nullptr, 1), nullptr);
    o.width = 10;
    EXPECT_EQ(GeneratePlotBitmaps(&o, &s, 1), nullptr);
    o.width = 9000;
    EXPECT_EQ(GeneratePlotBitmaps(&o, &s, 1), nullptr);
    InitPlotOptions(&o);
    EXPECT_EQ(GenerateSpectrumBitmap(&o, x, nullptr, 1, 0), nullptr);
    EXPECT_EQ(GenerateDomainBitmap(&o, 1, 1, 0, 1, nullptr, nullptr), nullptr);
    EXPECT_EQ(EncodePlotBitmapPNG(nullptr), nullptr);
    EXPECT_EQ(LoadFontFromFile("/nonexistent/font.bdf"), nullptr);
}

TEST(CFace, BitmapAndColourMatrixSurviveTheStream) {
    PlotOptions o;
    InitPlotOptions(&o);
    o.width = 120, o.height = 80;
    double x[3] = {0, 1, 2}, y[3] = {1, 3, 2};
    PlotSeries s{x, y, 3, PLOT_LINES_POINTS, "data"};
    PlotBitmap* b = GeneratePlotBitmaps(&o, &s, 1);
    ASSERT_NE(b, nullptr);
    MemFile* m = MemOpen(16);
    writePlotBitmap(b, m, 0);
    PlotColorMatrix* cm = BitmapToColorMatrix(b);
    writePlotColorMatrix(cm, m, 0);
    const uint32_t end = m->position;
    m->position = 0;
    auto* back = static_cast<PlotBitmap*>(readPlotBitmap(m, 0));
    auto* cm_back = static_cast<PlotColorMatrix*>(readPlotColorMatrix(m, 0));
    ASSERT_NE(back, nullptr);
    ASSERT_NE(cm_back, nullptr);
    EXPECT_EQ(m->position, end);
    EXPECT_EQ(back->width, 120);
    EXPECT_EQ(0, std::memcmp(back->pixels, b->pixels, 120 * 80 * 3));
    PlotBitmap* from_matrix = ColorMatrixToBitmap(cm_back);
    EXPECT_EQ(0, std::memcmp(from_matrix->pixels, b->pixels, 120 * 80 * 3));
    auto* copy = static_cast<PlotBitmap*>(copyPlotBitmap(b));
    EXPECT_EQ(0, std::memcmp(copy->pixels, b->pixels, 120 * 80 * 3));
    // Every cut of the stream reads as absent, and so does a bad size.
    for (uint32_t cut = 0; cut < 8 + 120 * 80 * 3; cut += 997) {
        MemFile* part = MemOpen(static_cast<int32_t>(cut + 1));
        std::memcpy(part->data, m->data, cut);
        part->size = static_cast<int32_t>(cut);
        EXPECT_EQ(readPlotBitmap(part, 0), nullptr) << cut;
        MemClose(part);
    }
    const int32_t bad[2] = {0, 5};
    MemFile* bad_size = MemOpen(8);
    MemWrite(bad, 4, 2, bad_size);
    bad_size->position = 0;
    EXPECT_EQ(readPlotBitmap(bad_size, 0), nullptr);
    for (void* p : {static_cast<void*>(b), static_cast<void*>(back), static_cast<void*>(from_matrix),
                    static_cast<void*>(copy)})
        FreePlotBitmap(p);
    FreePlotColorMatrix(cm);
    FreePlotColorMatrix(cm_back);
    MemClose(bad_size);
    MemClose(m);
}

}  // namespace
}  // namespace ostr::test
