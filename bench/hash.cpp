// SHA-512, SHA-256 and Base64 encoding against OpenSSL (EVP_Digest,
// EVP_EncodeBlock) on the same messages in the same run. Run with
// --benchmark_repetitions=N and compare the medians; the machine is shared.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hash/base64.hpp"
#include "hash/sha2.hpp"

namespace {

std::vector<unsigned char> message(std::size_t n) {
    std::vector<unsigned char> m(n);
    for (std::size_t i = 0; i < n; ++i) m[i] = static_cast<unsigned char>(i * 131 + 7);
    return m;
}

void ours_sha512(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    ostr::hash::Digest512 d;
    for (auto _ : st) {
        benchmark::DoNotOptimize(ostr::hash::sha512(m, d));
        benchmark::DoNotOptimize(d.w.data());
    }
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

void ours_sha256(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    ostr::hash::Digest256 d;
    for (auto _ : st) {
        benchmark::DoNotOptimize(ostr::hash::sha256(m, d));
        benchmark::DoNotOptimize(d.w.data());
    }
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

template <const EVP_MD* (*md)()>
void openssl_digest(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int len = 0;
    for (auto _ : st) {
        benchmark::DoNotOptimize(EVP_Digest(m.data(), m.size(), out, &len, md(), nullptr));
        benchmark::DoNotOptimize(out);
    }
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

// The hex text of the C face: digest plus formatting and the returned block.
void ours_sha512_text(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    for (auto _ : st) benchmark::DoNotOptimize(ostr::hash::sha512_hex(m));
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

void ours_base64(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    ostr::hash::Alphabet a;
    ostr::hash::standard_alphabet(a);
    for (auto _ : st) benchmark::DoNotOptimize(ostr::hash::encode(m, a));
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

// EVP_EncodeBlock into a buffer allocated per call, as ours does.
void openssl_base64(benchmark::State& st) {
    const auto m = message(static_cast<std::size_t>(st.range(0)));
    for (auto _ : st) {
        auto* out = static_cast<unsigned char*>(std::malloc((m.size() + 2) / 3 * 4 + 1));
        benchmark::DoNotOptimize(EVP_EncodeBlock(out, m.data(), static_cast<int>(m.size())));
        std::free(out);
    }
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * st.range(0));
}

// Both sides must compute the same thing before their speed means anything.
bool same_answers() {
    for (const std::size_t n : {0, 64, 111, 112, 16384}) {
        const auto m = message(n);
        ostr::hash::Digest512 d;
        unsigned char ours[64], theirs[64], b64[4 * 22 + 1];
        unsigned int len = 0;
        if (!ostr::hash::sha512(m, d) || !EVP_Digest(m.data(), n, theirs, &len, EVP_sha512(), nullptr))
            return false;
        ostr::hash::digest_bytes(d, ours);
        ostr::hash::Alphabet a;
        ostr::hash::standard_alphabet(a);
        EVP_EncodeBlock(b64, theirs, 64);
        if (std::memcmp(ours, theirs, 64) != 0 || std::strcmp(ostr::hash::encode(m, a).get(), "") < 0 ||
            std::strcmp(ostr::hash::encode({ours, 64}, a).get(), reinterpret_cast<char*>(b64)) != 0)
            return false;
    }
    return true;
}

const bool checked = [] {
    if (same_answers()) return true;
    std::fputs("bench_hash: digests or Base64 differ from OpenSSL\n", stderr);
    std::exit(1);
}();

}  // namespace

BENCHMARK(ours_sha512)->Arg(64)->Arg(16384);
BENCHMARK(openssl_digest<EVP_sha512>)->Name("openssl_sha512")->Arg(64)->Arg(16384);
BENCHMARK(ours_sha512_text)->Arg(64)->Arg(16384);
BENCHMARK(ours_sha256)->Arg(64)->Arg(16384);
BENCHMARK(openssl_digest<EVP_sha256>)->Name("openssl_sha256")->Arg(64)->Arg(16384);
BENCHMARK(ours_base64)->Arg(16384)->Arg(1 << 20);
BENCHMARK(openssl_base64)->Arg(16384)->Arg(1 << 20);
