// Big floats against MPFR in the same run, at 1,000, 10,000 and 100,000
// decimal digits: products, quotients, square roots, exp, ln, sin and π;
// π also at 10^6 digits. Pairs are named <operation>/<ours|mpfr>/<digits>;
// bench/ratios.py turns the JSON output into time ratios. Both sides keep
// their caches of π and ln 2 between runs except in the π benchmark, where
// each run starts from nothing.
#include <benchmark/benchmark.h>
#include <mpfr.h>

#include <random>

#include "bignum/float.hpp"

namespace {

using ostr::big::Float;

std::uint64_t bits_of(benchmark::State& st) { return ostr::big::bits_for_digits(static_cast<std::uint64_t>(st.range(0))); }

// A value in [1, 2) with all its bits random, as both libraries see it.
struct Operand {
    Float ours;
    mpfr_t theirs;
    Operand(std::uint64_t bits, unsigned seed) {
        std::mt19937_64 rng(seed);
        ostr::big::Nat m((bits + 63) / 64);
        for (auto& w : m) w = rng();
        m.back() |= std::uint64_t{1} << 63;
        const auto len = static_cast<std::int64_t>(64 * m.size());
        ours = ostr::big::rounded(false, m, 1 - len, bits);
        mpfr_init2(theirs, static_cast<mpfr_prec_t>(bits));
        mpfr_set_ui(theirs, 0, MPFR_RNDN);
        for (auto w = m.rbegin(); w != m.rend(); ++w) {
            mpfr_mul_2ui(theirs, theirs, 64, MPFR_RNDN);
            mpfr_add_ui(theirs, theirs, static_cast<unsigned long>(*w), MPFR_RNDN);
        }
        mpfr_div_2si(theirs, theirs, len - 1, MPFR_RNDN);
    }
    ~Operand() { mpfr_clear(theirs); }
};

template <class F>
void ours1(benchmark::State& st, F f) {
    const std::uint64_t bits = bits_of(st);
    Operand a(bits, 1);
    ostr::big::Stop stop;
    for (auto _ : st) benchmark::DoNotOptimize(f(a.ours, bits, stop));
}
template <class F>
void ours2(benchmark::State& st, F f) {
    const std::uint64_t bits = bits_of(st);
    Operand a(bits, 1), b(bits, 2);
    ostr::big::Stop stop;
    for (auto _ : st) benchmark::DoNotOptimize(f(a.ours, b.ours, bits, stop));
}
template <class F>
void mpfr1(benchmark::State& st, F f) {
    const std::uint64_t bits = bits_of(st);
    Operand a(bits, 1);
    mpfr_t r;
    mpfr_init2(r, static_cast<mpfr_prec_t>(bits));
    for (auto _ : st) f(r, a.theirs, MPFR_RNDN);
    mpfr_clear(r);
}
template <class F>
void mpfr2(benchmark::State& st, F f) {
    const std::uint64_t bits = bits_of(st);
    Operand a(bits, 1), b(bits, 2);
    mpfr_t r;
    mpfr_init2(r, static_cast<mpfr_prec_t>(bits));
    for (auto _ : st) f(r, a.theirs, b.theirs, MPFR_RNDN);
    mpfr_clear(r);
}

void mul_ours(benchmark::State& st) {
    ours2(st, [](const Float& a, const Float& b, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::mul(a, b, p, s); });
}
void mul_mpfr(benchmark::State& st) { mpfr2(st, mpfr_mul); }
void div_ours(benchmark::State& st) {
    ours2(st, [](const Float& a, const Float& b, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::div(a, b, p, s); });
}
void div_mpfr(benchmark::State& st) { mpfr2(st, mpfr_div); }
void sqrt_ours(benchmark::State& st) {
    ours1(st, [](const Float& a, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::sqrt(a, p, s); });
}
void sqrt_mpfr(benchmark::State& st) { mpfr1(st, mpfr_sqrt); }
void exp_ours(benchmark::State& st) {
    ours1(st, [](const Float& a, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::exp(a, p, s); });
}
void exp_mpfr(benchmark::State& st) { mpfr1(st, mpfr_exp); }
void ln_ours(benchmark::State& st) {
    ours1(st, [](const Float& a, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::log(a, p, s); });
}
void ln_mpfr(benchmark::State& st) { mpfr1(st, mpfr_log); }
void sin_ours(benchmark::State& st) {
    ours1(st, [](const Float& a, std::uint64_t p, ostr::big::Stop& s) { return ostr::big::sin(a, p, s); });
}
void sin_mpfr(benchmark::State& st) { mpfr1(st, mpfr_sin); }

void pi_ours(benchmark::State& st) {
    const std::uint64_t bits = bits_of(st);
    ostr::big::Stop stop;
    for (auto _ : st) {
        ostr::big::clear_constants();
        benchmark::DoNotOptimize(ostr::big::pi(bits, stop));
    }
}
void pi_mpfr(benchmark::State& st) {
    mpfr_t r;
    mpfr_init2(r, static_cast<mpfr_prec_t>(bits_of(st)));
    for (auto _ : st) {
        mpfr_free_cache();
        mpfr_const_pi(r, MPFR_RNDN);
    }
    mpfr_clear(r);
}

void sizes(benchmark::internal::Benchmark* b) {
    b->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
}

}  // namespace

#define PAIR(name)                                                    \
    BENCHMARK(name##_ours)->Name(#name "/ours")->Apply(sizes);       \
    BENCHMARK(name##_mpfr)->Name(#name "/mpfr")->Apply(sizes);
PAIR(mul)
PAIR(div)
PAIR(sqrt)
PAIR(exp)
PAIR(ln)
PAIR(sin)
PAIR(pi)
BENCHMARK(pi_ours)->Name("pi/ours")->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(pi_mpfr)->Name("pi/mpfr")->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);
