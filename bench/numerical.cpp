// The symbolic derivative and the numerical built-ins against their peers
// in the same run: primesieve for counting primes, PARI/GP (run as `gp`,
// timed by its own CPU clock) for primes, factor and polroots. Each peer figure
// is a counter in milliseconds beside ours.
#include <benchmark/benchmark.h>

#include <primesieve.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <ctime>

#include "evaluator_peer.hpp"
#include "formula/derivative.hpp"
#include "numeric/primes.hpp"

namespace {

// CPU milliseconds that gp reports for a script that prints gettime() (its
// CPU clock, as our CPU column); -1 when gp cannot be run.
double gp_ms(const std::string& script) {
    // Through a file: a script with 10^4 numbers is too long for one line
    // of the shell.
    char path[] = "/tmp/ostr_gp_XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) return -1;
    FILE* f = fdopen(fd, "w");
    if (!f) return -1;
    std::fputs(script.c_str(), f);
    std::fputc('\n', f);
    std::fclose(f);
    const std::string cmd = std::string("gp -q -f --default parisizemax=2000000000 < ") + path + " 2>/dev/null";
    FILE* p = popen(cmd.c_str(), "r");
    double ms = -1;
    if (p) {
        if (std::fscanf(p, "%lf", &ms) != 1) ms = -1;
        pclose(p);
    }
    std::remove(path);
    return ms;
}

// Our count, with primesieve's count (one thread, and its default of every
// core) and PARI's primes beside it.
void BM_PrimesCount1e8(benchmark::State& state) {
    std::uint64_t n = 0;
    for (auto _ : state) ostr::num::count_primes(1, 100000000, n);
    state.counters["primes"] = static_cast<double>(n);
    // Process CPU time, as the benchmark's own CPU column: the machine is
    // shared, so wall time mostly measures the neighbours. For primesieve on
    // every core it is the sum over its threads.
    auto ms_of = [](auto f) {
        timespec t0, t1;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t0);
        f();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t1);
        return 1e3 * static_cast<double>(t1.tv_sec - t0.tv_sec) + 1e-6 * static_cast<double>(t1.tv_nsec - t0.tv_nsec);
    };
    primesieve::set_num_threads(1);
    state.counters["primesieve_1t_ms"] = ms_of([] { benchmark::DoNotOptimize(primesieve::count_primes(1, 100000000)); });
    primesieve::set_num_threads(0);
    state.counters["primesieve_ms"] = ms_of([] { benchmark::DoNotOptimize(primesieve::count_primes(1, 100000000)); });
    state.counters["pari_primes_ms"] = gp_ms("gettime(); v=primes([1,10^8]); print(gettime())");
}

// The list of the 5761455 primes, as the kernel builds it.
void BM_PrimesList1e8(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::uint64_t> out;
        ostr::num::primes_between(1, 100000000, 10000000, out);
        benchmark::DoNotOptimize(out.data());
    }
}

void BM_PrimesArray1e8(benchmark::State& state) {
    Arbenv* env = ostr::bench::environment_with_x(0);
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate("primes(1,100000000)", env));
}

void BM_Semiprimes1e4(benchmark::State& state) {
    std::mt19937_64 rng(1);
    std::vector<std::uint64_t> n;
    std::string list;
    for (int k = 0; k < 10000; ++k) {
        std::uint64_t a, b;
        do a = (rng() >> 32) | 1; while (!ostr::num::is_prime(a));
        do b = (rng() >> 32) | 1; while (!ostr::num::is_prime(b));
        n.push_back(a * b);
        if (k) list += ',';
        list += std::to_string(a * b);
    }
    for (auto _ : state)
        for (std::uint64_t x : n) benchmark::DoNotOptimize(ostr::num::prime_factors(x));
    state.counters["pari_factor_ms"] =
        gp_ms("v=[" + list + "]; gettime(); for(k=1,#v,factor(v[k])); print(gettime())");
}

void BM_Deriv200Terms(benchmark::State& state) {
    std::string f;
    for (int k = 1; k <= 200; ++k) {
        static const char* g[] = {"sin", "exp", "ln", "sqrt", "arctan"};
        std::ostringstream term;
        term << (k > 1 ? "+" : "") << k << "*x^" << k % 7 + 1 << "*" << g[k % 5] << "(" << k << "*x+y)";
        f += term.str();
    }
    for (auto _ : state) benchmark::DoNotOptimize(ostr::formula::derivative(f, "x"));
}

void BM_Complexroots100(benchmark::State& state) {
    Arbenv* env = ostr::bench::environment_with_x(0);
    std::mt19937_64 rng(3);
    std::uniform_int_distribution<int> coef(-9, 9);
    std::string p = "x^100", gp_p = "x^100";
    for (int k = 99; k >= 0; --k) {
        int c = coef(rng);
        std::ostringstream term;
        term << (c < 0 ? "-" : "+") << std::abs(c) << "*x^" << k;
        p += term.str();
        gp_p += term.str();
    }
    // complexroots reads p with x free, whatever x holds in env.
    const std::string call = "complexroots(" + p + ",x)";
    for (auto _ : state) benchmark::DoNotOptimize(ostr::lang::evaluate(call, env));
    state.counters["pari_polroots_ms"] = gp_ms("gettime(); polroots(" + gp_p + "); print(gettime())");
}

}  // namespace

BENCHMARK(BM_PrimesCount1e8)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PrimesList1e8)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PrimesArray1e8)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Semiprimes1e4)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Deriv200Terms)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Complexroots100)->Unit(benchmark::kMillisecond)->Iterations(3);
