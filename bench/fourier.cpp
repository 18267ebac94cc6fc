// Fourier transforms and splines against their peers in the same run:
// complex transforms of 2^10..2^20 points and of 4095 points against FFTW
// (estimate mode, out of place, plan made outside the loop, as ours) and
// NumPy's FFT; a natural cubic spline through 10^6 points, built and
// evaluated at 10^6 points, against SciPy's CubicSpline. Names are
// "operation/who/n"; bench/ratios.py turns the JSON into ratios. The Python
// peers time their own calls (processor time of a batch) in a child process.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstdio>
#include <random>
#include <string>

#include "fourier/fft.hpp"
#include "interp/spline.hpp"

namespace {

using namespace ostr;

std::vector<fourier::cx> samples(std::size_t n) {
    std::mt19937_64 g(n);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<fourier::cx> x(n);
    for (auto& z : x) z = {u(g), u(g)};
    return x;
}

void fft_ours(benchmark::State& s) {
    const std::size_t n = static_cast<std::size_t>(s.range(0));
    const auto x = samples(n);
    std::vector<fourier::cx> y(n);
    fourier::Plan plan(n);
    for (auto _ : s) {
        benchmark::DoNotOptimize(plan.run(x.data(), y.data(), fourier::Direction::forward));
        benchmark::ClobberMemory();
    }
}

void fft_fftw(benchmark::State& s) {
    const int n = static_cast<int>(s.range(0));
    auto x = samples(static_cast<std::size_t>(n));
    std::vector<fourier::cx> y(x.size());
    fftw_plan p = fftw_plan_dft_1d(n, reinterpret_cast<fftw_complex*>(x.data()),
                                   reinterpret_cast<fftw_complex*>(y.data()), FFTW_FORWARD, FFTW_ESTIMATE);
    for (auto _ : s) {
        fftw_execute(p);
        benchmark::ClobberMemory();
    }
    fftw_destroy_plan(p);
}

// Runs a Python program that prints the processor seconds of one call (the
// mean over a batch, in its own process) and reports that as the
// iteration's time, comparable with the CPU time of ours and FFTW's.
void python_peer(benchmark::State& s, const std::string& program) {
    const std::string command = "/usr/bin/python3 -c '" + program + "'";
    for (auto _ : s) {
        FILE* p = popen(command.c_str(), "r");
        double seconds = -1;
        const int got = p ? std::fscanf(p, "%lf", &seconds) : 0;
        if (p) pclose(p);
        if (got != 1 || seconds <= 0) {
            s.SkipWithError("no time from the Python peer");
            return;
        }
        s.SetIterationTime(seconds);
    }
}

void fft_numpy(benchmark::State& s) {
    const std::string n = std::to_string(s.range(0));
    python_peer(s, "import numpy as np, time\n"
                   "x = np.random.default_rng(1).uniform(-1, 1, " + n + ") + 1j\n"
                   "r = max(5, min(20000, 20000000 // " + n + "))\n"
                   "t0 = time.process_time()\n"
                   "for _ in range(r):\n"
                   "    np.fft.fft(x)\n"
                   "print((time.process_time() - t0) / r)\n");
}

std::vector<double> spline_table(std::size_t n, std::vector<double>& t) {
    std::vector<double> x(n), y(n);
    for (std::size_t k = 0; k < n; ++k) x[k] = static_cast<double>(k) + 0.5 * std::sin(static_cast<double>(k));
    std::mt19937_64 g(3);
    std::uniform_real_distribution<double> u(x.front(), x.back());
    t.resize(n);
    for (double& v : t) v = u(g);
    for (std::size_t k = 0; k < n; ++k) y[k] = std::sin(x[k] / 10);
    x.insert(x.end(), y.begin(), y.end());
    return x;
}

void spline_ours(benchmark::State& s) {
    const std::size_t n = static_cast<std::size_t>(s.range(0));
    std::vector<double> t;
    const std::vector<double> xy = spline_table(n, t);
    std::vector<double> out(n);
    for (auto _ : s) {
        interp::Spline sp;
        const bool ok = interp::make_spline({xy.data(), n}, {xy.data() + n, n}, interp::Kind::natural, 0, 0, sp);
        if (!ok) s.SkipWithError("no spline");
        if (!interp::evaluate(sp, t, out.data())) s.SkipWithError("stopped");
        benchmark::DoNotOptimize(out.data());
    }
}

void spline_scipy(benchmark::State& s) {
    const std::string n = std::to_string(s.range(0));
    python_peer(s, "import numpy as np, time\n"
                   "from scipy.interpolate import CubicSpline\n"
                   "k = np.arange(" + n + ", dtype=float); x = k + 0.5 * np.sin(k); y = np.sin(x / 10)\n"
                   "t = np.random.default_rng(3).uniform(x[0], x[-1], " + n + ")\n"
                   "t0 = time.process_time()\n"
                   "for _ in range(3):\n"
                   "    CubicSpline(x, y, bc_type=\"natural\")(t)\n"
                   "print((time.process_time() - t0) / 3)\n");
}

void sizes(benchmark::internal::Benchmark* b) {
    for (int e = 10; e <= 20; e += 2) b->Arg(1 << e);
    b->Arg(4095);
}

}  // namespace

BENCHMARK(fft_ours)->Name("fft/ours")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(fft_fftw)->Name("fft/fftw")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(fft_numpy)->Name("fft/numpy")->Apply(sizes)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(1);
BENCHMARK(spline_ours)->Name("spline/ours")->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(spline_scipy)->Name("spline/scipy")->Arg(1000000)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
