// Number text against the C library over the same inputs in the same run:
// DoubleString(v, 15) against snprintf("%.15g"), TestNumericString against
// strtod (with the end check a caller needs). Compare medians of repetitions.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "numtext/numtext.hpp"
#include "ostravine/core.h"
#include "ostravine/numtext.h"

namespace {

// Half doubles of every magnitude (random bits), half the values a
// calculator sees (a few decimal digits, moderate exponents).
const std::vector<double>& values() {
    static const std::vector<double> v = [] {
        std::mt19937_64 rng(1);
        std::vector<double> out;
        while (out.size() < 4096) {
            double x;
            if (out.size() % 2) {
                const std::uint64_t bits = rng();
                std::memcpy(&x, &bits, sizeof x);
                if (!std::isfinite(x)) continue;
            } else {
                x = static_cast<double>(rng() % 1000000) * std::pow(10.0, static_cast<int>(rng() % 12) - 8);
            }
            out.push_back(x);
        }
        return out;
    }();
    return v;
}

// The texts the evaluator reads most: numbers it wrote itself with 15
// digits, and short literals as typed.
std::vector<std::string> texts(bool typed) {
    std::vector<std::string> out;
    if (typed) {
        const char* lits[] = {"2", "3.14", "-1", "0.5", "1e-3", "2.5E+10", "100", "0x1F", "42", "6.02214076e23"};
        for (int i = 0; i < 4096; ++i) out.emplace_back(lits[i % 10]);
    } else {
        for (double v : values()) out.emplace_back(ostr::text::number_text(v, 15).view());
    }
    return out;
}

void BM_DoubleString(benchmark::State& state) {
    const auto& v = values();
    std::size_t i = 0;
    for (auto _ : state) {
        char* t = DoubleString(v[i++ & 4095], 15);
        benchmark::DoNotOptimize(t);
        FreeString(t);
    }
}

void BM_number_text(benchmark::State& state) {
    const auto& v = values();
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(ostr::text::number_text(v[i++ & 4095], 15));
}

void BM_snprintf_15g(benchmark::State& state) {
    const auto& v = values();
    std::size_t i = 0;
    char buf[40];
    for (auto _ : state) {
        std::snprintf(buf, sizeof buf, "%.15g", v[i++ & 4095]);
        benchmark::DoNotOptimize(buf);
    }
}

void BM_TestNumericString(benchmark::State& state) {
    const auto t = texts(state.range(0));
    std::size_t i = 0;
    double v;
    for (auto _ : state) {
        benchmark::DoNotOptimize(TestNumericString(t[i++ & 4095].c_str(), &v));
        benchmark::DoNotOptimize(v);
    }
}

void BM_strtod(benchmark::State& state) {
    const auto t = texts(state.range(0));
    std::size_t i = 0;
    char* end;
    for (auto _ : state) {
        const char* s = t[i++ & 4095].c_str();
        const double v = std::strtod(s, &end);
        benchmark::DoNotOptimize(v);
        benchmark::DoNotOptimize(*end == '\0' && std::isfinite(v));
    }
}

}  // namespace

BENCHMARK(BM_DoubleString);
BENCHMARK(BM_number_text);
BENCHMARK(BM_snprintf_15g);
// Argument 0: texts written by DoubleString(v, 15); 1: short typed literals.
BENCHMARK(BM_TestNumericString)->Arg(0)->Arg(1);
BENCHMARK(BM_strtod)->Arg(0)->Arg(1);
