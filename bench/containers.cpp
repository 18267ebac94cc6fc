// Arrays and maps against Python 3 running the same programs in the same
// run: building a 10^6-element array by append in a loop, summing it by
// index in a loop (also at 10^5, to show the loop is linear in the size),
// sorting 10^6 random numbers, and 10^5 map insertions then lookups. Each
// side times only the program itself (Python measures with perf_counter and
// prints the seconds, so its start-up is left out); the figures are manual
// times in milliseconds.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "script/script.hpp"

namespace {

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        for (const char* line : {"big=[],for:k=1,k<=1000000,k=k+1,big.append(k);", "small=array:100000;",
                                 "r=rand(array:1000000;,1)"})
            ostr::script::run_script(line, e, true);
        return e;
    }();
    return env;
}

void run_line(benchmark::State& state, const char* line) {
    Arbenv* env = environment();
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        ostr::Text answer = ostr::script::run_script(line, env, true);
        auto t1 = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(t1 - t0).count());
        if (answer.find('>') != ostr::Text::npos) state.SkipWithError(answer.c_str());
    }
}

// A Python program that prints the seconds its timed part took.
void run_python(benchmark::State& state, const std::string& setup, const std::string& timed) {
    const std::string program = "import random,time\n" + setup + "\nt0=time.perf_counter()\n" + timed +
                                "\nprint(time.perf_counter()-t0)\n";
    const std::string command = "/usr/bin/python3 -c '" + program + "'";
    for (auto _ : state) {
        FILE* p = popen(command.c_str(), "r");
        if (!p) {
            state.SkipWithError("cannot start the peer");
            return;
        }
        double seconds = -1;
        if (std::fscanf(p, "%lf", &seconds) != 1) seconds = -1;
        pclose(p);
        if (seconds < 0) {
            state.SkipWithError("no time from the peer");
            return;
        }
        state.SetIterationTime(seconds);
    }
}

void Ostravine_Append(benchmark::State& s) { run_line(s, "a=[],for:k=1,k<=1000000,k=k+1,a.append(k);"); }
void Python_Append(benchmark::State& s) {
    run_python(s, "", "a=[]\nfor k in range(1,1000001): a.append(k)");
}

void Ostravine_IndexSum(benchmark::State& s) { run_line(s, "s=0,for:k=1,k<=1000000,k=k+1,s=s+big[k];"); }
void Ostravine_IndexSum_1e5(benchmark::State& s) { run_line(s, "s=0,for:k=1,k<=100000,k=k+1,s=s+small[k];"); }
void Python_IndexSum(benchmark::State& s) {
    run_python(s, "a=list(range(1,1000001))", "s=0\nfor k in range(1000000): s=s+a[k]");
}

// The copy the sort makes of the shared array is part of its time.
void Ostravine_Sort(benchmark::State& s) { run_line(s, "t=r,t.sort()"); }
void Python_Sort(benchmark::State& s) {
    run_python(s, "r=[random.random() for k in range(1000000)]", "t=list(r)\nt.sort()");
}

void Ostravine_Map(benchmark::State& s) {
    run_line(s, "m=map:0;,for:k=1,k<=100000,k=k+1,m[k]=k;,s=0,for:k=1,k<=100000,k=k+1,s=s+m[k];");
}
void Python_Map(benchmark::State& s) {
    run_python(s, "", "m={}\nfor k in range(1,100001): m[k]=k\ns=0\nfor k in range(1,100001): s=s+m[k]");
}

}  // namespace

#define CONTAINER_BENCH(f) \
    BENCHMARK(f)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1)->Repetitions(5)->ReportAggregatesOnly()
CONTAINER_BENCH(Ostravine_Append);
CONTAINER_BENCH(Python_Append);
CONTAINER_BENCH(Ostravine_IndexSum);
CONTAINER_BENCH(Ostravine_IndexSum_1e5);
CONTAINER_BENCH(Python_IndexSum);
CONTAINER_BENCH(Ostravine_Sort);
CONTAINER_BENCH(Python_Sort);
CONTAINER_BENCH(Ostravine_Map);
CONTAINER_BENCH(Python_Map);
