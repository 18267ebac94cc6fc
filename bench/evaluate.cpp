// Evaluator speed against Python's eval() of the same text with the same
// variable, measured in the same run; and how the cost grows with the length
// of an expression, analysed afresh and from the cache.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "evaluator_peer.hpp"

namespace {

Arbenv* environment() { return ostr::bench::environment_with_x(3); }

void against_python(benchmark::State& state, const std::string& text) {
    Arbenv* env = environment();
    ostr::lang::set_cache_enabled(true);
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate(text, env));
    state.SetItemsProcessed(state.iterations());
    double py = ostr::bench::python_eval_rate(text, 3);
    state.counters["python_per_s"] = py;
    state.counters["ours_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["python_eval_ns"] = py > 0 ? 1e9 / py : 0;
}

const std::string mixed30 =
    "2*x+1-3/4*x+(x-1)*(x+2)/5-6*x*x+7/8-x/9+10*(x-11)/12+13-x*14/15+16*x-17+x/18*19-20";

void BM_ShortStored(benchmark::State& s) { against_python(s, "2*x+1"); }
void BM_Mixed30(benchmark::State& s) { against_python(s, mixed30); }

std::string chain(long terms) {
    std::string t = "x";
    for (long k = 1; k < terms; ++k) t += k % 3 == 0 ? "*x" : "+x";
    return t;
}

// Per term: flat when the cost is linear in the length.
void chain_cost(benchmark::State& state, bool cached) {
    Arbenv* env = environment();
    std::string text = chain(state.range(0));
    ostr::lang::set_cache_enabled(cached);
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate(text, env));
    ostr::lang::set_cache_enabled(true);
    state.counters["ns_per_term"] = benchmark::Counter(
        static_cast<double>(state.iterations() * state.range(0)), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
void BM_ChainFresh(benchmark::State& s) { chain_cost(s, false); }
void BM_ChainCached(benchmark::State& s) { chain_cost(s, true); }

}  // namespace

BENCHMARK(BM_ShortStored)->UseRealTime();
BENCHMARK(BM_Mixed30)->UseRealTime();
BENCHMARK(BM_ChainFresh)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_ChainCached)->Arg(100)->Arg(1000)->Arg(10000);
