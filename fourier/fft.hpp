// The discrete Fourier transform of any length on contiguous complex
// samples: plans (factors, twiddles, scratch) and their execution.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ostr::fourier {

// One complex sample. Plain arithmetic on the parts: std::complex's
// multiplication checks for NaN on every product, which costs the kernels
// half their speed.
struct cx {
    double re, im;
};
inline cx operator+(cx a, cx b) noexcept { return {a.re + b.re, a.im + b.im}; }
inline cx operator-(cx a, cx b) noexcept { return {a.re - b.re, a.im - b.im}; }
inline cx operator*(cx a, cx b) noexcept { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
inline cx operator*(cx a, double s) noexcept { return {a.re * s, a.im * s}; }
inline cx conj(cx a) noexcept { return {a.re, -a.im}; }

// Largest length a transform takes: counted vectors hold at most 2^31 - 1
// slots, and Bluestein's padded length must stay below that too.
inline constexpr std::size_t max_length = std::size_t{1} << 30;

enum class Direction : std::uint8_t { forward, backward };

// e^(-2πi·t/n) for 0 <= t < n, to within about one ulp in each part: the
// angle is folded into the first octant with integer arithmetic, so the
// only roundings are those of (π/2)·r/n, its sine and its cosine.
cx unit_root(std::uint64_t t, std::uint64_t n) noexcept;

// A transform of one length n, made once and run on any number of inputs.
//
// Lengths whose prime factors are all at most 13 run as a mixed-radix
// Stockham transform (radix 8 and 4 or 2, then 3, 5, 7, 11, 13): each pass reads the
// whole array and writes it, reordered, into the other of two buffers, so
// no bit reversal is needed and every access runs along memory. Cost about
// 5·n·log2 n flops for powers of two. Other lengths run through
// Bluestein's identity jk = (j² + k² - (k-j)²)/2, which turns the transform
// into a cyclic convolution of length m >= 2n - 1 (a product of 2, 3 and 5)
// done by two transforms of length m. The error of either stays near
// ε·log2 n relative to the norm of the data (measured against FFTW in
// tests/fourier).
//
// Making a plan allocates (std::bad_alloc on failure); running one does not.
// A plan keeps scratch space, so one plan runs one transform at a time.
class Plan {
public:
    explicit Plan(std::size_t n);
    ~Plan();
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;

    std::size_t size() const noexcept { return n_; }
    // x[0..n) replaced by its transform, unnormalised: forward
    // X_k = Σ x_j·e^(-2πi·jk/n), backward with e^(+2πi·jk/n). False, with x
    // left in an unspecified state, when core::should_stop() answered true.
    [[nodiscard]] bool run(cx* x, Direction d);
    // The same from in[0..n) into out[0..n) (which must not overlap); in is
    // left as it was. Saves the copy an in-place run makes when the count
    // of passes is odd.
    [[nodiscard]] bool run(const cx* in, cx* out, Direction d);

private:
    struct Stage {
        int radix;
        std::size_t m, stride;
        std::size_t twiddle;  // offset of its table in twiddles_
    };
    struct Bluestein;

    template <bool Inverse>
    bool stockham(const cx* in, cx* out);

    std::size_t n_;
    std::vector<Stage> stages_;
    std::vector<cx> twiddles_;
    std::vector<cx> work_;
    std::unique_ptr<Bluestein> bluestein_;
};

// The factors the Stockham passes take, or an empty list when n has a prime
// factor above 13 (then Bluestein's method is used). 1 has no factors.
std::vector<int> radices(std::size_t n);
// The smallest product of 2, 3 and 5 that is at least n.
std::size_t smooth_at_least(std::size_t n) noexcept;

// One-shot helpers on vectors: a plan is made for the call.
[[nodiscard]] bool transform(std::vector<cx>& x, Direction d);

}  // namespace ostr::fourier
