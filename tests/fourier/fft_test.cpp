// The transform engine against FFTW (a test-only dependency) and against
// the direct O(n²) sum in long double, for every length 1..64, random
// lengths up to 4096 and lengths that pick each path (pure radices, the odd
// primes, Bluestein). The error bound is the relative RMS error
// ‖X - X_ref‖₂/‖X_ref‖₂ <= 1e-15·log2 n.
#include <gtest/gtest.h>
#include <fftw3.h>

#include <cmath>
#include <numbers>
#include <random>

#include "fourier/fft.hpp"

namespace {

using namespace ostr::fourier;

std::vector<cx> random_samples(std::size_t n, std::mt19937_64& g) {
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<cx> x(n);
    for (cx& z : x) z = {u(g), u(g)};
    return x;
}

std::vector<cx> fftw(const std::vector<cx>& x, int sign) {
    const int n = static_cast<int>(x.size());
    std::vector<cx> out(x.size());
    auto* in = reinterpret_cast<fftw_complex*>(const_cast<cx*>(x.data()));
    fftw_plan p = fftw_plan_dft_1d(n, in, reinterpret_cast<fftw_complex*>(out.data()), sign, FFTW_ESTIMATE);
    fftw_execute(p);
    fftw_destroy_plan(p);
    return out;
}

std::vector<cx> direct(const std::vector<cx>& x, int sign) {
    const std::size_t n = x.size();
    std::vector<cx> out(n);
    std::vector<long double> c(n), s(n);
    for (std::size_t t = 0; t < n; ++t) {
        const long double a = sign * 2 * std::numbers::pi_v<long double> * t / n;
        c[t] = std::cos(a), s[t] = std::sin(a);
    }
    for (std::size_t k = 0; k < n; ++k) {
        long double re = 0, im = 0;
        for (std::size_t j = 0, t = 0; j < n; ++j, t = (t + k) % n) {
            re += x[j].re * c[t] - x[j].im * s[t];
            im += x[j].re * s[t] + x[j].im * c[t];
        }
        out[k] = {static_cast<double>(re), static_cast<double>(im)};
    }
    return out;
}

double rms_error(const std::vector<cx>& a, const std::vector<cx>& ref) {
    double num = 0, den = 0;
    for (std::size_t k = 0; k < a.size(); ++k) {
        num += std::pow(a[k].re - ref[k].re, 2) + std::pow(a[k].im - ref[k].im, 2);
        den += ref[k].re * ref[k].re + ref[k].im * ref[k].im;
    }
    return den == 0 ? std::sqrt(num) : std::sqrt(num / den);
}

double bound(std::size_t n) { return 1e-15 * std::log2(static_cast<double>(n)); }

std::vector<std::size_t> lengths() {
    std::vector<std::size_t> out;
    for (std::size_t n = 1; n <= 64; ++n) out.push_back(n);
    // Each path: powers of 2 and 4, the odd radices and their mixtures,
    // primes above 13 (Bluestein) alone and times smooth parts.
    for (std::size_t n : {128, 243, 625, 1024, 2048, 2401, 1331, 2197, 1001, 4095, 4096, 3125, 3000, 2310, 4093, 4091,
                          2 * 2039, 17 * 240, 97, 101, 1009, 3 * 1021})
        out.push_back(n);
    std::mt19937_64 g(20261125);
    std::uniform_int_distribution<std::size_t> u(65, 4096);
    for (int k = 0; k < 120; ++k) out.push_back(u(g));
    return out;
}

TEST(FourierEngine, AgreesWithFftwAndTheDirectSum) {
    std::mt19937_64 g(7);
    for (std::size_t n : lengths()) {
        const std::vector<cx> x = random_samples(n, g);
        Plan plan(n);
        for (int sign : {-1, 1}) {
            std::vector<cx> y = x;
            ASSERT_TRUE(plan.run(y.data(), sign < 0 ? Direction::forward : Direction::backward));
            EXPECT_LE(rms_error(y, fftw(x, sign)), bound(n)) << "n=" << n << " sign=" << sign;
            if (n <= 600 || n == 4093 || n == 4095) {
                EXPECT_LE(rms_error(y, direct(x, sign)), bound(n)) << "direct n=" << n << " sign=" << sign;
            }
        }
    }
}

// A plan runs many inputs: the scratch of one run must not leak into the
// next, in place and out of place agree, and backward after forward gives n
// times the input. The lengths have odd and even counts of passes.
TEST(FourierEngine, PlansAreReusableAndInvert) {
    std::mt19937_64 g(11);
    for (std::size_t n : {6, 8, 64, 97, 1000, 4093}) {
        Plan plan(n);
        for (int round = 0; round < 3; ++round) {
            const std::vector<cx> x = random_samples(n, g);
            std::vector<cx> y = x, z(n);
            ASSERT_TRUE(plan.run(y.data(), Direction::forward));
            EXPECT_LE(rms_error(y, fftw(x, -1)), bound(n)) << n;
            // Out of place: the same numbers, the input untouched.
            const std::vector<cx> kept = x;
            ASSERT_TRUE(plan.run(x.data(), z.data(), Direction::forward));
            EXPECT_EQ(rms_error(z, y), 0) << n;
            EXPECT_EQ(rms_error(x, kept), 0) << n;
            ASSERT_TRUE(plan.run(y.data(), Direction::backward));
            for (cx& z : y) z = z * (1.0 / static_cast<double>(n));
            EXPECT_LE(rms_error(y, x), 2 * bound(n)) << n;
        }
    }
}

TEST(FourierEngine, Factorisation) {
    struct Case {
        std::size_t n;
        std::vector<int> radices;
    } cases[] = {
        {1, {}},      {2, {2}},        {4, {4}},          {8, {8}},          {16, {4, 4}},
        {32, {8, 4}}, {1024, {8, 8, 4, 4}}, {1 << 20, {8, 8, 8, 8, 8, 8, 4}}, {12, {4, 3}},
        {4095, {3, 3, 5, 7, 13}}, {17, {}}, {34, {}}, {1001, {7, 11, 13}}, {600, {8, 3, 5, 5}},
    };
    for (const Case& c : cases) EXPECT_EQ(radices(c.n), c.radices) << c.n;
    struct Smooth {
        std::size_t n, m;
    } smooth[] = {{1, 1}, {7, 8}, {8189, 8192}, {11, 12}, {31, 32}, {121, 125}, {4097, 4320}};
    for (const Smooth& s : smooth) EXPECT_EQ(smooth_at_least(s.n), s.m) << s.n;
}

// The twiddles: every root of unity of a few orders against long double.
TEST(FourierEngine, UnitRootsWithinOneUlp) {
    for (std::uint64_t n : {1u, 2u, 3u, 8u, 12u, 1000u, 4093u, 8192u}) {
        double worst = 0;
        for (std::uint64_t t = 0; t < n; ++t) {
            const long double a = -2 * std::numbers::pi_v<long double> * t / n;
            const cx w = unit_root(t, n);
            worst = std::max({worst, std::fabs(double(w.re - std::cos(a))), std::fabs(double(w.im - std::sin(a)))});
        }
        EXPECT_LE(worst, 0x1p-52) << n;  // one ulp of 1
    }
}

}  // namespace
