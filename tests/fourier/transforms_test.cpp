// What the engine serves: real and 2-D transforms against FFTW, spectra,
// convolution and correlation against the direct sums on both sides of the
// threshold, windows against NumPy's values, the filter's text form (a
// table of good and bad directives) and its effect, and the C face.
#include <gtest/gtest.h>
#include <fftw3.h>

#include <cmath>
#include <cstdio>
#include <numbers>
#include <random>

#include "fourier/transforms.hpp"
#include "ostravine/fourier.h"
#include "support/counting_alloc.hpp"

namespace {

using namespace ostr::fourier;

std::vector<double> random_reals(std::size_t n, unsigned seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<double> x(n);
    for (double& v : x) v = u(g);
    return x;
}

std::vector<cx> random_complex(std::size_t n, unsigned seed) {
    std::vector<double> r = random_reals(2 * n, seed);
    std::vector<cx> x(n);
    for (std::size_t k = 0; k < n; ++k) x[k] = {r[2 * k], r[2 * k + 1]};
    return x;
}

double max_error(const std::vector<cx>& a, const std::vector<cx>& b) {
    double e = 0;
    for (std::size_t k = 0; k < a.size(); ++k) e = std::max({e, std::fabs(a[k].re - b[k].re), std::fabs(a[k].im - b[k].im)});
    return e;
}

TEST(FourierReal, HalfSpectrumAgreesWithFftwAndInverts) {
    for (std::size_t n : {1, 2, 3, 4, 5, 6, 7, 8, 30, 97, 128, 1000, 4093, 4096}) {
        std::vector<double> x = random_reals(n, static_cast<unsigned>(n));
        auto X = real_dft(x);
        ASSERT_TRUE(X);
        ASSERT_EQ(X->size(), n / 2 + 1);
        std::vector<cx> ref(n / 2 + 1);
        fftw_plan p = fftw_plan_dft_r2c_1d(static_cast<int>(n), x.data(), reinterpret_cast<fftw_complex*>(ref.data()),
                                           FFTW_ESTIMATE);
        fftw_execute(p);
        fftw_destroy_plan(p);
        const double tol = 1e-15 * std::max(1.0, std::log2(double(n))) * std::sqrt(double(n));
        EXPECT_LE(max_error(*X, ref), tol) << n;
        auto back = inverse_real_dft(*X, n);
        ASSERT_TRUE(back);
        for (std::size_t j = 0; j < n; ++j) EXPECT_NEAR((*back)[j], x[j], 1e-14) << n << " j=" << j;
    }
}

TEST(Fourier2D, AgreesWithFftwAndInverts) {
    struct Size {
        std::size_t rows, cols;
    } sizes[] = {{1, 1}, {1, 8}, {7, 1}, {4, 6}, {17, 12}, {64, 33}};
    for (const Size& s : sizes) {
        const std::vector<cx> x = random_complex(s.rows * s.cols, 5);
        std::vector<cx> a = x, ref(x.size());
        ASSERT_TRUE(dft2(a, s.rows, s.cols, Direction::forward));
        fftw_plan p = fftw_plan_dft_2d(static_cast<int>(s.rows), static_cast<int>(s.cols),
                                       reinterpret_cast<fftw_complex*>(const_cast<cx*>(x.data())),
                                       reinterpret_cast<fftw_complex*>(ref.data()), FFTW_FORWARD, FFTW_ESTIMATE);
        fftw_execute(p);
        fftw_destroy_plan(p);
        EXPECT_LE(max_error(a, ref), 1e-13) << s.rows << "x" << s.cols;
        ASSERT_TRUE(dft2(a, s.rows, s.cols, Direction::backward));
        EXPECT_LE(max_error(a, x), 1e-15 * 16) << s.rows << "x" << s.cols;
    }
}

TEST(FourierSpectrum, ParsevalAndKnownLines) {
    const std::vector<double> x = random_reals(1001, 9);
    auto p = power_spectrum(std::span<const double>(x));
    ASSERT_TRUE(p);
    ASSERT_EQ(p->size(), 501u);
    double energy = 0, total = (*p)[0];
    for (double v : x) energy += v * v;
    for (std::size_t k = 1; k < p->size(); ++k) total += 2 * (*p)[k];  // odd n: no Nyquist line
    EXPECT_NEAR(total, energy, 1e-12 * energy);
    // A cosine of 5 cycles in 64 samples puts n/4 into lines 5 (and 59).
    std::vector<cx> c(64);
    for (std::size_t j = 0; j < 64; ++j) c[j] = {std::cos(2 * std::numbers::pi * 5 * double(j) / 64), 0};
    auto q = power_spectrum(std::span<const cx>(c));
    ASSERT_TRUE(q);
    ASSERT_EQ(q->size(), 64u);
    for (std::size_t k = 0; k < 64; ++k) EXPECT_NEAR((*q)[k], k == 5 || k == 59 ? 16 : 0, 1e-12) << k;
}

std::vector<cx> direct(const std::vector<cx>& a, const std::vector<cx>& b) {
    std::vector<cx> c(a.size() + b.size() - 1, cx{0, 0});
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j) c[i + j] = c[i + j] + a[i] * b[j];
    return c;
}

// Both paths: the direct sum below the threshold, the transform above it
// (the sizes straddle min <= 64 and na·nb <= 65536).
TEST(FourierConvolution, BothPathsAgreeWithTheDirectSum) {
    struct Size {
        std::size_t a, b;
    } sizes[] = {{1, 1}, {3, 2}, {64, 2000}, {65, 1008}, {65, 1009}, {300, 300}, {1000, 777}};
    for (const Size& s : sizes) {
        const auto a = random_complex(s.a, 1), b = random_complex(s.b, 2);
        auto c = convolve(a, b);
        ASSERT_TRUE(c);
        const auto ref = direct(a, b);
        ASSERT_EQ(c->size(), ref.size());
        EXPECT_LE(max_error(*c, ref), 1e-13 * std::sqrt(double(std::min(s.a, s.b)))) << s.a << "x" << s.b;
    }
}

// NumPy's correlate(a, v, "full") for these: the lags run from -(nb-1).
TEST(FourierConvolution, CorrelationTable) {
    struct Case {
        std::vector<cx> a, b, want;
    } cases[] = {
        {{{1, 0}, {2, 0}, {3, 0}}, {{0, 0}, {1, 0}, {0.5, 0}}, {{0.5, 0}, {2, 0}, {3.5, 0}, {3, 0}, {0, 0}}},
        {{{1, 1}, {2, 0}}, {{0, 1}}, {{1, -1}, {0, -2}}},
        {{{1, 0}}, {{2, 0}, {3, 0}}, {{3, 0}, {2, 0}}},
    };
    for (const Case& c : cases) {
        auto r = correlate(c.a, c.b);
        ASSERT_TRUE(r);
        EXPECT_EQ(max_error(*r, c.want), 0);
    }
}

// numpy.hanning(5), numpy.hamming(5), numpy.blackman(5).
TEST(FourierWindow, AgreesWithNumpy) {
    struct Case {
        const char* name;
        std::vector<double> want;
    } cases[] = {
        {"hann", {0, 0.5, 1, 0.5, 0}},
        {"hamming", {0.08, 0.54, 1, 0.54, 0.08}},
        {"blackman", {-1.3877787807814457e-17, 0.34, 1, 0.34, -1.3877787807814457e-17}},
    };
    for (const Case& c : cases) {
        const std::vector<double> w = window(c.name, 5);
        ASSERT_EQ(w.size(), 5u);
        for (std::size_t k = 0; k < 5; ++k) EXPECT_NEAR(w[k], c.want[k], 0x1p-52) << c.name << k;  // one ulp of 1
    }
    EXPECT_EQ(window("hann", 1), std::vector<double>{1});
    EXPECT_TRUE(window("kaiser", 4).empty());
}

TEST(FourierFilter, Directives) {
    struct Case {
        const char* text;
        const char* error;  // empty: accepted
        double f;           // a frequency and the gain it should get
        double gain;
    } cases[] = {
        {"", "", 0.3, 1},
        {"# nothing but a comment\n\n", "", 0.1, 1},
        {"lowpass 0.2", "", 0.2, 1},
        {"lowpass 0.2", "", 0.21, 0},
        {"highpass 0.2\nbandstop 0.3 0.35", "", 0.32, 0},
        {"highpass 0.2\nbandstop 0.3 0.35", "", 0.4, 1},
        {"bandpass 0.1 0.2; bandpass 0.3 0.4", "", 0.35, 1},
        {"bandpass 0.1 0.2; bandpass 0.3 0.4", "", 0.25, 0},
        {"rate 1000\nlowpass 100  # Hz\ngain 0 50 0.5\ngain 40 60 4", "", 45, 2},
        {"rate 1000\nlowpass 100", "", 101, 0},
        {"lowpas 0.2", "line 1: unknown directive lowpas", 0, 0},
        {"lowpass", "line 1: lowpass takes 1 numbers", 0, 0},
        {"\nbandpass 0.3 0.1", "line 2: the band's low edge is above its high edge", 0, 0},
        {"gain 0 1 x", "line 1: not a number: x", 0, 0},
        {"rate 0", "line 1: the rate must be above 0", 0, 0},
        {"highpass -1", "line 1: frequencies cannot be negative", 0, 0},
        {"lowpass 1e999", "line 1: not a number: 1e999", 0, 0},
    };
    for (const Case& c : cases) {
        std::string error;
        auto f = parse_filter(c.text, &error);
        if (*c.error) {
            EXPECT_FALSE(f) << c.text;
            EXPECT_EQ(error, c.error) << c.text;
            continue;
        }
        ASSERT_TRUE(f) << c.text << ": " << error;
        EXPECT_EQ(f->gain(c.f), c.gain) << c.text << " at " << c.f;
    }
    EXPECT_TRUE(is_filter_text("lowpass 0.1"));
    EXPECT_FALSE(is_filter_text("lowpass.txt"));
    EXPECT_FALSE(read_filter("/nonexistent/fourier_filter_spec.txt"));
}

// Two tones, 3 and 20 cycles in 128 samples: the low pass keeps the first
// and removes the second to rounding.
TEST(FourierFilter, LowPassSeparatesTones) {
    std::vector<cx> x(128);
    for (std::size_t j = 0; j < 128; ++j) {
        const double t = 2 * std::numbers::pi * double(j) / 128;
        x[j] = {std::sin(3 * t) + 0.5 * std::cos(20 * t), 0};
    }
    auto f = parse_filter("lowpass 0.1");  // 0.1·128 = 12.8 cycles
    ASSERT_TRUE(f);
    ASSERT_TRUE(apply_filter(*f, x));
    for (std::size_t j = 0; j < 128; ++j) {
        EXPECT_NEAR(x[j].re, std::sin(3 * 2 * std::numbers::pi * double(j) / 128), 1e-14);
        EXPECT_NEAR(x[j].im, 0, 1e-15);
    }
}

double* vec(std::initializer_list<double> v) {
    double* out = Vector(static_cast<int32_t>(v.size()));
    int k = 1;
    for (double d : v) out[k++] = d;
    return out;
}

TEST(FourierFace, CountedVectorsAndReleases) {
    ostr::test::CountingAlloc counting;
    double* x = vec({1, 2, 3, 4});
    Complex* X = RealFFT(x);
    ASSERT_NE(X, nullptr);
    EXPECT_EQ(X[0].re, 3);
    EXPECT_EQ(X[2].re, -2);
    EXPECT_EQ(X[2].im, 2);
    Complex* full = VectorC(4);
    for (int k = 1; k <= 4; ++k) full[k] = {x[k], 0};
    Complex* F = FFTC(full);
    Complex* back = InverseFFTC(F);
    for (int k = 1; k <= 4; ++k) EXPECT_NEAR(back[k].re, k, 1e-15);
    double* r = InverseRealFFT(X, 4);
    for (int k = 1; k <= 4; ++k) EXPECT_NEAR(r[k], k, 1e-15);
    double* c = Convolve(x, x);
    EXPECT_EQ(c[0], 7);
    EXPECT_EQ(c[4], 20);  // 1·4 + 2·3 + 3·2 + 4·1
    double* w = Window(x, "hann");
    EXPECT_NEAR(w[2], 2 * 0.75, 1e-15);
    double* p = PowerSpectrum(x);
    EXPECT_EQ(p[0], 3);
    EXPECT_EQ(p[1], 25);  // 10²/4
    double* fl = FourierFilterText(x, "bandstop 0.2 0.5");
    for (int k = 1; k <= 4; ++k) EXPECT_NEAR(fl[k], 2.5, 1e-15);
    Complex** m = MatrixC(2, 2);
    m[1][1] = {1, 0}, m[1][2] = {2, 0}, m[2][1] = {3, 0}, m[2][2] = {4, 0};
    Complex** M = FFT2MC(m);
    EXPECT_EQ(M[1][1].re, 10);
    EXPECT_EQ(M[2][1].re, -4);
    Complex** mb = InverseFFT2MC(M);
    EXPECT_NEAR(mb[2][2].re, 4, 1e-15);
    // The refusals: NULL and empty inputs, unknown names, a missing file.
    double* empty = Vector(0);
    EXPECT_EQ(FFTC(nullptr), nullptr);
    EXPECT_EQ(RealFFT(empty), nullptr);
    EXPECT_EQ(Convolve(x, empty), nullptr);
    EXPECT_EQ(Window(x, "kaiser"), nullptr);
    EXPECT_EQ(WindowWeights(0, "hann"), nullptr);
    EXPECT_EQ(InverseRealFFT(X, 0), nullptr);
    EXPECT_EQ(FourierFilter(x, "/nonexistent/filter.txt"), nullptr);
    EXPECT_EQ(FourierFilterText(x, "lowpass"), nullptr);
    for (void* v : {(void*)x, (void*)c, (void*)w, (void*)p, (void*)fl, (void*)r, (void*)empty}) FreeVector(v);
    for (Complex* v : {X, full, F, back}) FreeVectorC(v);
    for (Complex** v : {m, M, mb}) FreeMatrixC(v);
    EXPECT_EQ(counting.live(), 0);
}

}  // namespace
