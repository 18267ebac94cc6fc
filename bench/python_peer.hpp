// Shared by the container and string benchmarks: one line of ours and one
// program of Python 3 doing the same work, each timed in processor seconds
// of its own process (the machine is shared, so wall time measures the
// neighbours too), the setup of either side left out.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>

#include "script/script.hpp"

namespace ostr::bench {

inline double cpu_now() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Runs `line` in `env` once per iteration; the answer must end in `want`.
inline void run_line(benchmark::State& state, Arbenv* env, const char* line, std::string_view want) {
    for (auto _ : state) {
        const double t0 = cpu_now();
        Text answer = script::run_script(line, env, true);
        state.SetIterationTime(cpu_now() - t0);
        if (!answer.ends_with(want)) state.SkipWithError(answer.substr(0, 200).c_str());
    }
}

// Runs `setup` in Python 3, then `timed`, and prints the processor seconds
// of `timed` and the value of `check`, which must print as `want`. The
// program goes to the shell in single quotes, so it holds none.
inline void run_python(benchmark::State& state, const std::string& setup, const std::string& timed,
                       const std::string& check, const char* want) {
    const std::string program = "import random,time\n" + setup + "\nt0=time.process_time()\n" + timed +
                                "\nt1=time.process_time()\nprint(t1-t0, " + check + ")\n";
    if (program.find('\'') != std::string::npos) {
        state.SkipWithError("a quote in the peer's program");
        return;
    }
    const std::string command = "/usr/bin/python3 -c '" + program + "'";
    for (auto _ : state) {
        FILE* p = popen(command.c_str(), "r");
        if (!p) {
            state.SkipWithError("cannot start the peer");
            return;
        }
        double seconds = -1;
        char got[64] = {};
        const int n = std::fscanf(p, "%lf %63s", &seconds, got);
        pclose(p);
        if (n != 2 || seconds < 0 || std::string(got) != want) {
            state.SkipWithError("no time or a wrong answer from the peer");
            return;
        }
        state.SetIterationTime(seconds);
    }
}

}  // namespace ostr::bench

// Every figure is the median of five single runs, in milliseconds.
#define PEER_BENCH(f) \
    BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)->Repetitions(5)->ReportAggregatesOnly()
