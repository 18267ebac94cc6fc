// Calls of predefined functions through the evaluator against Python's
// eval() of the same text, measured in the same run: math/cmath where they
// have the function, mpmath (the system Python's) for the Bessel function.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "evaluator_peer.hpp"

namespace {

Arbenv* environment() { return ostr::bench::environment_with_x(0.7); }

void against_python(benchmark::State& state, const std::string& text, const std::string& python_text,
                    const std::string& setup) {
    Arbenv* env = environment();
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate(text, env));
    double py = ostr::bench::python_eval_rate(python_text, 0.7, setup);
    state.counters["ours_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["python_per_s"] = py;
}

void BM_Sin(benchmark::State& s) { against_python(s, "sin(x)", "sin(x)", "from math import sin"); }
void BM_SinComplexPython(benchmark::State& s) { against_python(s, "sin(x)", "sin(x)", "from cmath import sin"); }
void BM_BesselJ(benchmark::State& s) {
    // mpmath's besselj takes the order first.
    against_python(s, "besselj(x,2.5)", "besselj(2.5,x)", "from mpmath import besselj");
}
void BM_Max8(benchmark::State& s) { against_python(s, "max(1,2,3,4,5,6,7,8)", "max(1,2,3,4,5,6,7,8)", ""); }

}  // namespace

BENCHMARK(BM_Sin)->UseRealTime();
BENCHMARK(BM_SinComplexPython)->UseRealTime();
BENCHMARK(BM_BesselJ)->UseRealTime();
BENCHMARK(BM_Max8)->UseRealTime();
