// Bit arrays against GMP in the same run: products, squares, floor division,
// square roots, powers, factorials and decimal conversion. Pairs are named
// <operation>/<ours|gmp>/<size>; bench/ratios.py turns the JSON output into
// time ratios (medians of the repetitions).
#include <benchmark/benchmark.h>
#include <gmp.h>

#include <cstdlib>
#include <string>

#include "ostravine/bignum.h"
#include "ostravine/core.h"

namespace {

struct Operand {
    mpz_t z;
    BitArray* b = nullptr;
    Operand(unsigned long bits, unsigned long seed) {
        gmp_randstate_t st;
        gmp_randinit_mt(st);
        gmp_randseed_ui(st, seed);
        mpz_init(z);
        mpz_urandomb(z, st, bits);
        mpz_setbit(z, bits - 1);
        gmp_randclear(st);
        b = InitializeBitArray(bits);
        mpz_export(b->words, nullptr, -1, 8, 0, 0, z);
    }
    ~Operand() {
        mpz_clear(z);
        FreeBitArray(b);
    }
};

void mul_ours(benchmark::State& st) {
    Operand a(st.range(0), 1), b(st.range(0), 2);
    for (auto _ : st) FreeBitArray(MultiplyBitArrays(a.b, b.b, nullptr));
}
void mul_gmp(benchmark::State& st) {
    Operand a(st.range(0), 1), b(st.range(0), 2);
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_mul(r, a.z, b.z);
    mpz_clear(r);
}
void sqr_ours(benchmark::State& st) {
    Operand a(st.range(0), 1);
    for (auto _ : st) FreeBitArray(MultiplyBitArrays(a.b, a.b, nullptr));
}
void sqr_gmp(benchmark::State& st) {
    Operand a(st.range(0), 1);
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_mul(r, a.z, a.z);
    mpz_clear(r);
}
// 2n-bit by n-bit.
void div_ours(benchmark::State& st) {
    Operand a(2 * st.range(0), 3), b(st.range(0), 4);
    for (auto _ : st) FreeBitArray(FloorDivideBitArrays(a.b, b.b, nullptr));
}
void div_gmp(benchmark::State& st) {
    Operand a(2 * st.range(0), 3), b(st.range(0), 4);
    mpz_t q, r;
    mpz_inits(q, r, nullptr);
    for (auto _ : st) mpz_tdiv_qr(q, r, a.z, b.z);
    mpz_clears(q, r, nullptr);
}
void sqrt_ours(benchmark::State& st) {
    Operand a(st.range(0), 5);
    for (auto _ : st) {
        BitArrayDivision d = SquareRootBitArray(a.b, 0, nullptr);
        FreeBitArray(d.integer);
        FreeBitArray(d.fraction);
    }
}
void sqrt_gmp(benchmark::State& st) {
    Operand a(st.range(0), 5);
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_sqrt(r, a.z);
    mpz_clear(r);
}
// Decimal text of an n-bit number, and back.
void to_dec_ours(benchmark::State& st) {
    Operand a(st.range(0), 6);
    for (auto _ : st) FreeString(BitArrayToDecimalIntegerString(a.b, nullptr));
}
void to_dec_gmp(benchmark::State& st) {
    Operand a(st.range(0), 6);
    for (auto _ : st) std::free(mpz_get_str(nullptr, 10, a.z));
}
void from_dec_ours(benchmark::State& st) {
    Operand a(st.range(0), 7);
    char* s = mpz_get_str(nullptr, 10, a.z);
    for (auto _ : st) FreeBitArray(DecimalIntegerStringToBitArray(s, nullptr));
    std::free(s);
}
void from_dec_gmp(benchmark::State& st) {
    Operand a(st.range(0), 7);
    char* s = mpz_get_str(nullptr, 10, a.z);
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_set_str(r, s, 10);
    mpz_clear(r);
    std::free(s);
}
void fac_ours(benchmark::State& st) {
    for (auto _ : st) FreeBitArray(BitArrayFactorial(st.range(0), nullptr));
}
void fac_gmp(benchmark::State& st) {
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_fac_ui(r, st.range(0));
    mpz_clear(r);
}
void pow3_ours(benchmark::State& st) {
    BitArray* three = InitializeBitArrayFromUInt64(3);
    BitArray* e = InitializeBitArrayFromUInt64(st.range(0));
    for (auto _ : st) FreeBitArray(ExponentiateBitArrays(three, e, nullptr));
    FreeBitArray(three);
    FreeBitArray(e);
}
void pow3_gmp(benchmark::State& st) {
    mpz_t r;
    mpz_init(r);
    for (auto _ : st) mpz_ui_pow_ui(r, 3, st.range(0));
    mpz_clear(r);
}

void sizes(benchmark::internal::Benchmark* b) {
    for (int e = 10; e <= 20; e += 2) b->Arg(1L << e);
    b->Unit(benchmark::kMicrosecond);
}
void div_sizes(benchmark::internal::Benchmark* b) {
    for (int e = 10; e <= 20; e += 2) b->Arg(1L << e);
    b->Unit(benchmark::kMicrosecond);
}

}  // namespace

#define PAIR(name, args)                                           \
    BENCHMARK(name##_ours)->Name(#name "/ours")->Apply(args);     \
    BENCHMARK(name##_gmp)->Name(#name "/gmp")->Apply(args);

PAIR(mul, sizes)
PAIR(sqr, sizes)
PAIR(div, div_sizes)
PAIR(sqrt, sizes)
PAIR(to_dec, sizes)
PAIR(from_dec, sizes)
// 10^6 decimal digits: 3321929 bits.
BENCHMARK(to_dec_ours)->Name("to_dec/ours")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(to_dec_gmp)->Name("to_dec/gmp")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(from_dec_ours)->Name("from_dec/ours")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(from_dec_gmp)->Name("from_dec/gmp")->Arg(3321929)->Unit(benchmark::kMillisecond);
BENCHMARK(fac_ours)->Name("fac/ours")->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(fac_gmp)->Name("fac/gmp")->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(pow3_ours)->Name("pow3/ours")->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(pow3_gmp)->Name("pow3/gmp")->Arg(1000000)->Unit(benchmark::kMillisecond);
