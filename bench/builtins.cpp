// Calls of predefined functions through the evaluator against Python's
// eval() of the same text, measured in the same run: math/cmath where they
// have the function, mpmath (the system Python's) for the Bessel function.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "lang/evaluate.hpp"
#include "lang/globals.hpp"
#include "script/environment.hpp"

namespace {

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::lang::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        ostr::obj::store(e, ostr::obj::make_numeric({0.7, 0}, "x", e));
        return e;
    }();
    return env;
}

// Evaluations per second of eval(text) with x = 0.7 and the names of
// `setup` in scope, timed by the interpreter (median of five autoranged
// rounds).
double python_rate(const std::string& text, const std::string& setup) {
    std::string cmd =
        "/usr/bin/python3 -c \"import timeit,statistics\n" + setup +
        "\ng=dict(globals()); g['x']=0.7\n"
        "t=timeit.Timer('eval(s, g)', globals={'s': '" + text + "', 'g': g})\n"
        "n,_=t.autorange()\n"
        "print(statistics.median(n/t.timeit(n) for _ in range(5)))\"";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return 0;
    double rate = 0;
    if (std::fscanf(p, "%lf", &rate) != 1) rate = 0;
    pclose(p);
    return rate;
}

void against_python(benchmark::State& state, const std::string& text, const std::string& python_text,
                    const std::string& setup) {
    Arbenv* env = environment();
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate(text, env));
    double py = python_rate(python_text, setup);
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
