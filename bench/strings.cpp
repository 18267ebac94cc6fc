// Strings against Python 3 in the same run: splitting a 10 MB text (the
// core that split will use once arrays exist), and through whole script
// lines: searching and replacing in a 10 MB string and building a string
// piece by piece in a loop. Python times the same operation inside its own
// process (start-up and building the input excluded) and reports it; that
// figure is the peer's manual time. Ours is wall time of the call or line.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace {

constexpr std::size_t words = 2'000'000;  // "word " each: 10 MB

Arbenv* environment() {
    static Arbenv* env = [] {
        ostr::script::initialize_globals(nullptr, 0);
        Arbenv* e = ostr::obj::make_top_level();
        std::string big;
        for (int k = 0; k < 5'000'000; ++k) big += "ab";
        big += "needle";
        auto v = ostr::lang::Value::object_of(ostr::lang::ObjectPtr(ostr::script::make_string(big, "", e)));
        ostr::script::store_value(std::move(v), "s", e);
        ostr::script::run_script("a=\"abc\"", e, true);
        return e;
    }();
    return env;
}

void run_line(benchmark::State& state, const char* line, const char* want) {
    Arbenv* env = environment();
    for (auto _ : state) {
        ostr::Text answer = ostr::script::run_script(line, env, true);
        if (answer != want) state.SkipWithError(answer.c_str());
        benchmark::DoNotOptimize(answer.data());
    }
}

// Runs a Python program that prints the seconds of one timed operation and
// then a check value; the seconds become the iteration's time.
void run_python(benchmark::State& state, const std::string& program, const char* want) {
    const std::string command = "/usr/bin/python3 -c '" + program + "'";
    for (auto _ : state) {
        FILE* p = popen(command.c_str(), "r");
        if (!p) {
            state.SkipWithError("cannot start python3");
            return;
        }
        double seconds = 0;
        char check[64] = {};
        int got = std::fscanf(p, "%lf %63s", &seconds, check);
        pclose(p);
        if (got != 2 || std::string(check) != want) state.SkipWithError("wrong answer from python3");
        state.SetIterationTime(seconds);
    }
}

void Ostravine_SplitCore10MB(benchmark::State& state) {
    std::string text;
    for (std::size_t k = 0; k < words; ++k) text += "word ";
    for (auto _ : state) {
        auto pieces = ostr::script::split_pieces(text, " ");
        if (pieces.size() != words + 1) state.SkipWithError("wrong count");
        benchmark::DoNotOptimize(pieces.data());
    }
}
void Python_Split10MB(benchmark::State& state) {
    run_python(state,
               "import time\ns=\"word \"*2000000\nt=time.perf_counter()\np=s.split(\" \")\n"
               "print(time.perf_counter()-t, len(p))",
               "2000001");
}

// The line copies the 10 MB string once when it reads s: part of what a
// user pays.
void Ostravine_Find10MB(benchmark::State& state) { run_line(state, "s.find(\"needle\")", "1.0000001E+7"); }
void Python_Find10MB(benchmark::State& state) {
    run_python(state,
               "import time\ns=\"ab\"*5000000+\"needle\"\nt=time.perf_counter()\nk=s.find(\"needle\")+1\n"
               "print(time.perf_counter()-t, k)",
               "10000001");
}

void Ostravine_Replace10MB(benchmark::State& state) {
    run_line(state, "s.replace(\"ab\",\"xyz\").bytes()", "1.5000006E+7");
}
void Python_Replace10MB(benchmark::State& state) {
    run_python(state,
               "import time\ns=\"ab\"*5000000+\"needle\"\nt=time.perf_counter()\nr=s.replace(\"ab\",\"xyz\")\n"
               "print(time.perf_counter()-t, len(r))",
               "15000006");
}

// 20,000 appends of three characters in a loop.
void Ostravine_Build60KB(benchmark::State& state) {
    run_line(state, "t=\"\",for:k=1,k<=20000,k=k+1,t=t+a;,t.length()", "t <- \"\"\n\n6E+4");
}
void Python_Build60KB(benchmark::State& state) {
    run_python(state,
               "import time\na=\"abc\"\nt0=time.perf_counter()\nt=\"\"\nfor k in range(1,20001): t=t+a\n"
               "print(time.perf_counter()-t0, len(t))",
               "60000");
}

}  // namespace

#define STRING_BENCH(f) BENCHMARK(f)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly()
STRING_BENCH(Ostravine_SplitCore10MB)->UseRealTime();
STRING_BENCH(Python_Split10MB)->UseManualTime();
STRING_BENCH(Ostravine_Find10MB)->UseRealTime();
STRING_BENCH(Python_Find10MB)->UseManualTime();
STRING_BENCH(Ostravine_Replace10MB)->UseRealTime();
STRING_BENCH(Python_Replace10MB)->UseManualTime();
STRING_BENCH(Ostravine_Build60KB)->UseRealTime();
STRING_BENCH(Python_Build60KB)->UseManualTime();
