// The plot renderer: an 800×600 chart of a 2,000-sample formula rendered
// and encoded as PNG, a 1000×1000 domain colouring, and our deflate against
// zlib's default level (the peer, benchmark-only) on the rows of a chart
// image, with the compressed sizes as counters.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cmath>
#include <string>

#include "plot/chart.hpp"
#include "plot/png.hpp"

namespace {

using namespace ostr::plot;
using ostr::Text;

Series sine_samples() {
    Series s;
    for (int i = 0; i < 2000; ++i) {
        s.x.push_back(10.0 * i / 1999);
        s.y.push_back(std::sin(s.x.back()) * std::exp(-0.1 * s.x.back()));
    }
    s.label = Text("sin(x)·exp(−x/10)");
    return s;
}

ChartOptions chart_options() {
    ChartOptions o;
    o.title = Text("Damped sine");
    o.xlabel = Text("x");
    o.ylabel = Text("y");
    o.grid = true;
    o.poles = true;
    return o;
}

void BM_Chart800x600Png(benchmark::State& state) {
    const Series s = sine_samples();
    const ChartOptions o = chart_options();
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto c = render_chart(o, std::span(&s, 1));
        Bytes png = encode_png(*c);
        bytes = png.size();
        benchmark::DoNotOptimize(png.data());
    }
    state.counters["png_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_Chart800x600Png)->Unit(benchmark::kMillisecond);

bool rational(void*, double re, double im, double* ore, double* oim) {
    // (z²−1)/(z²+1)
    const double ar = re * re - im * im, ai = 2 * re * im;
    const double nr = ar - 1, dr = ar + 1, d = dr * dr + ai * ai;
    *ore = (nr * dr + ai * ai) / d;
    *oim = (ai * dr - nr * ai) / d;
    return true;
}

void BM_Domain1000x1000(benchmark::State& state) {
    ChartOptions o;
    o.width = o.height = 1000;
    for (auto _ : state) {
        auto c = render_domain(o, -2, 2, -2, 2, rational, nullptr);
        benchmark::DoNotOptimize(c->pixels().data());
    }
}
BENCHMARK(BM_Domain1000x1000)->Unit(benchmark::kMillisecond);

// The filtered rows of the chart image: what both compressors see.
const Bytes& chart_rows() {
    static const Bytes rows = [] {
        const Series s = sine_samples();
        auto c = render_chart(chart_options(), std::span(&s, 1));
        return filtered_rows(c->pixels().data(), c->width(), c->height());
    }();
    return rows;
}

void BM_DeflateOurs(benchmark::State& state) {
    const Bytes& rows = chart_rows();
    std::size_t out = 0;
    for (auto _ : state) out = zlib_compress(rows).size();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * rows.size()));
    state.counters["bytes"] = static_cast<double>(out);
}
BENCHMARK(BM_DeflateOurs)->Unit(benchmark::kMillisecond);

void BM_DeflateZlibDefault(benchmark::State& state) {
    const Bytes& rows = chart_rows();
    std::vector<Bytef> out(compressBound(rows.size()));
    uLongf n = 0;
    for (auto _ : state) {
        n = out.size();
        compress2(out.data(), &n, rows.data(), rows.size(), Z_DEFAULT_COMPRESSION);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * rows.size()));
    state.counters["bytes"] = static_cast<double>(n);
}
BENCHMARK(BM_DeflateZlibDefault)->Unit(benchmark::kMillisecond);

}  // namespace
