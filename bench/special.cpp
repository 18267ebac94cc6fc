// Calls per second of the special functions and the integrator, beside the
// same evaluations in mpmath (double precision, through /usr/bin/python3),
// the tool a user would otherwise reach for. The peer rows time many calls
// inside one Python process with timeit and report the time per call.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "ostravine/special.h"

namespace {

// Arguments spread over the ranges the calculator sees.
constexpr double xs[] = {0.3, 1.7, 4.2, 9.9, 23.0, 57.5, 130.0, 0.05};

void BM_BesselJ(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(BesselJ(xs[i++ % 8], 2.5));
    state.SetItemsProcessed(state.iterations());
}

void BM_AiryAi(benchmark::State& state) {
    size_t i = 0;
    for (auto _ : state) {
        size_t j = i++;
        benchmark::DoNotOptimize(AiryAi((j % 2 ? -1 : 1) * xs[j % 8]));
    }
    state.SetItemsProcessed(state.iterations());
}

double gauss(double x, void*) { return std::exp(-x * x); }

void BM_Integrate(benchmark::State& state) {
    int status;
    for (auto _ : state) benchmark::DoNotOptimize(Integrate(gauss, nullptr, 0, 3, 1, &status));
    state.SetItemsProcessed(state.iterations());
}

// Seconds per call of a Python statement in mpmath at 53 bits, or a negative
// value when the peer is not available.
double peer_seconds(const std::string& stmt, int number) {
    std::string cmd =
        "/usr/bin/python3 -c \"import timeit, math, mpmath; mpmath.mp.prec = 53; "
        "xs = [0.3, 1.7, 4.2, 9.9, 23.0, 57.5, 130.0, 0.05]; "
        "print(min(timeit.repeat(lambda: [" + stmt + " for x in xs], number=" +
        std::to_string(number) + ", repeat=5)) / (8 * " + std::to_string(number) +
        "))\" 2>/dev/null";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return -1;
    double s = -1;
    if (std::fscanf(p, "%lf", &s) != 1) s = -1;
    pclose(p);
    return s;
}

void run_peer(benchmark::State& state, const char* stmt, int number) {
    double s = peer_seconds(stmt, number);
    for (auto _ : state) {
        if (s < 0) {
            state.SkipWithError("mpmath not available to /usr/bin/python3");
            break;
        }
        state.SetIterationTime(s);
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_Peer_BesselJ_mpmath(benchmark::State& s) { run_peer(s, "mpmath.besselj(2.5, x)", 20); }
void BM_Peer_AiryAi_mpmath(benchmark::State& s) { run_peer(s, "mpmath.airyai(x)", 20); }
void BM_Peer_Integrate_mpmath(benchmark::State& s) {
    run_peer(s, "mpmath.quad(lambda t: mpmath.exp(-t*t), [0, 3])", 2);
}

}  // namespace

BENCHMARK(BM_BesselJ);
BENCHMARK(BM_Peer_BesselJ_mpmath)->UseManualTime()->Iterations(1);
BENCHMARK(BM_AiryAi);
BENCHMARK(BM_Peer_AiryAi_mpmath)->UseManualTime()->Iterations(1);
BENCHMARK(BM_Integrate);
BENCHMARK(BM_Peer_Integrate_mpmath)->UseManualTime()->Iterations(1);
