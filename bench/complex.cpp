// MulC, DivC, SqrtC and PowC against std::complex<double>, the peer a C++
// user would reach for, on the same inputs in the same run. Each iteration
// works through a table of operands so that nothing folds to a constant.
#include <benchmark/benchmark.h>

#include <complex>
#include <random>
#include <vector>

#include "ostravine/numeric.h"

namespace {

constexpr std::size_t table_size = 1024;

struct Operands {
    std::vector<Complex> a, b;
    std::vector<std::complex<double>> sa, sb;
    Operands() {
        std::mt19937_64 rng(42);
        std::uniform_real_distribution<double> part(-4, 4);
        for (std::size_t i = 0; i < table_size; ++i) {
            const Complex x{part(rng), part(rng)}, y{part(rng), part(rng)};
            a.push_back(x), b.push_back(y);
            sa.emplace_back(x.re, x.im), sb.emplace_back(y.re, y.im);
        }
    }
};

const Operands& operands() {
    static const Operands ops;
    return ops;
}

template <Complex* (*F)(Complex*, const Complex*, const Complex*)>
void ostr_binary(benchmark::State& state) {
    const auto& ops = operands();
    Complex r;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(F(&r, &ops.a[i], &ops.b[i]));
        benchmark::ClobberMemory();
        i = (i + 1) % table_size;
    }
}

template <Complex* (*F)(Complex*, const Complex*)>
void ostr_unary(benchmark::State& state) {
    const auto& ops = operands();
    Complex r;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(F(&r, &ops.a[i]));
        benchmark::ClobberMemory();
        i = (i + 1) % table_size;
    }
}

template <class Op>
void std_op(benchmark::State& state, Op op) {
    const auto& ops = operands();
    std::complex<double> r;
    std::size_t i = 0;
    for (auto _ : state) {
        r = op(ops.sa[i], ops.sb[i]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) % table_size;
    }
}

using SC = std::complex<double>;

void BM_MulC(benchmark::State& s) { ostr_binary<MulC>(s); }
void BM_std_mul(benchmark::State& s) { std_op(s, [](SC a, SC b) { return a * b; }); }
void BM_DivC(benchmark::State& s) { ostr_binary<DivC>(s); }
void BM_std_div(benchmark::State& s) { std_op(s, [](SC a, SC b) { return a / b; }); }
void BM_SqrtC(benchmark::State& s) { ostr_unary<SqrtC>(s); }
void BM_std_sqrt(benchmark::State& s) { std_op(s, [](SC a, SC) { return std::sqrt(a); }); }
void BM_PowC(benchmark::State& s) { ostr_binary<PowC>(s); }
void BM_std_pow(benchmark::State& s) { std_op(s, [](SC a, SC b) { return std::pow(a, b); }); }

BENCHMARK(BM_MulC);
BENCHMARK(BM_std_mul);
BENCHMARK(BM_DivC);
BENCHMARK(BM_std_div);
BENCHMARK(BM_SqrtC);
BENCHMARK(BM_std_sqrt);
BENCHMARK(BM_PowC);
BENCHMARK(BM_std_pow);

}  // namespace
