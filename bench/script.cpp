// Whole script lines against GNU bc and Python 3 running the same programs,
// in the same run: a loop summing a million numbers and a recursive
// Fibonacci. The peers run as subprocesses; their figures include process
// start-up, so the start-up of each peer alone is measured too. Wall time is
// what Google Benchmark reports (UseRealTime); the counter cpu_s is the CPU
// time of this process or of the children per iteration, which matters on
// a shared machine.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdio>
#include <string>

#include "script/script.hpp"

namespace {

constexpr const char* loop_line = "s=0,for:i=1,i<=1000000,i=i+1,s=s+i;";
constexpr const char* fib_definition = "fib(n)=if:n<2,n,else,fib(n-1)+fib(n-2);";

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        ostr::script::run_script(fib_definition, e, true);
        return e;
    }();
    return env;
}

double cpu_seconds(int who) {
    rusage u{};
    getrusage(who, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

void run_line(benchmark::State& state, const char* line, const char* want) {
    Arbenv* env = environment();
    double cpu0 = cpu_seconds(RUSAGE_SELF);
    for (auto _ : state) {
        ostr::Text answer = ostr::script::run_script(line, env, true);
        if (answer != want) state.SkipWithError("wrong answer");
        benchmark::DoNotOptimize(answer.data());
    }
    state.counters["cpu_s"] = (cpu_seconds(RUSAGE_SELF) - cpu0) / static_cast<double>(state.iterations());
}

// Runs a shell command whose standard output must be `want`.
void run_peer(benchmark::State& state, const std::string& command, const char* want) {
    double cpu0 = cpu_seconds(RUSAGE_CHILDREN);
    for (auto _ : state) {
        FILE* p = popen(command.c_str(), "r");
        if (!p) {
            state.SkipWithError("cannot start the peer");
            return;
        }
        char out[64] = {};
        if (!std::fgets(out, sizeof out, p)) out[0] = '\0';
        pclose(p);
        if (std::string(out) != want) state.SkipWithError("wrong answer from the peer");
    }
    state.counters["cpu_s"] = (cpu_seconds(RUSAGE_CHILDREN) - cpu0) / static_cast<double>(state.iterations());
}

void Ostravine_Loop(benchmark::State& s) { run_line(s, loop_line, "s <- 0"); }
void Ostravine_Fib20(benchmark::State& s) { run_line(s, "fib(20)", "6765"); }

void Bc_Loop(benchmark::State& s) {
    run_peer(s, "echo 's=0;for(i=1;i<=1000000;i++) s+=i;s' | /usr/bin/bc", "500000500000\n");
}
void Bc_Fib20(benchmark::State& s) {
    run_peer(s, "printf 'define f(n){ if(n<2) return(n); return(f(n-1)+f(n-2)); }\\nf(20)\\n' | /usr/bin/bc",
             "6765\n");
}
void Bc_Startup(benchmark::State& s) { run_peer(s, "echo 1 | /usr/bin/bc", "1\n"); }

void Python_Loop(benchmark::State& s) {
    run_peer(s,
             "/usr/bin/python3 -c '\ns=0\nfor i in range(1,1000001): s=s+i\nprint(s)'",
             "500000500000\n");
}
void Python_Fib20(benchmark::State& s) {
    run_peer(s,
             "/usr/bin/python3 -c '\ndef f(n): return n if n<2 else f(n-1)+f(n-2)\nprint(f(20))'",
             "6765\n");
}
void Python_Startup(benchmark::State& s) { run_peer(s, "/usr/bin/python3 -c 'print(1)'", "1\n"); }

}  // namespace

BENCHMARK(Ostravine_Loop)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Bc_Loop)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Python_Loop)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Ostravine_Fib20)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Bc_Fib20)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Python_Fib20)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Bc_Startup)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(Python_Startup)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();
