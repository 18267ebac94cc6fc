// The transform engine: twiddle tables, the Stockham passes of radix 2, 4
// and the odd primes up to 13, and Bluestein's method for the other lengths.
#include "fourier/fft.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "core/runtime.hpp"

namespace ostr::fourier {

cx unit_root(std::uint64_t t, std::uint64_t n) noexcept {
    // 4t = q·n + r: the angle is q quarter turns plus (π/2)·r/n, and the
    // rest beyond an eighth turn is taken from the complementary angle.
    const std::uint64_t q = (4 * t) / n, r = 4 * t - q * n;
    double c, s;
    if (2 * r <= n) {
        const double a = std::numbers::pi / 2 * (static_cast<double>(r) / static_cast<double>(n));
        c = std::cos(a), s = std::sin(a);
    } else {
        const double a = std::numbers::pi / 2 * (static_cast<double>(n - r) / static_cast<double>(n));
        c = std::sin(a), s = std::cos(a);
    }
    // e^(+iθ) turned by q quarters, then conjugated for the minus sign.
    switch (q & 3) {
    case 0: return {c, -s};
    case 1: return {-s, -c};
    case 2: return {-c, s};
    default: return {s, c};
    }
}

namespace {

// All the roots e^(-2πi·t/n) of one n from two short tables:
// w(t) = hi[t / k]·lo[t % k] with k about √n, so a table of n twiddles costs
// 2√n sines and cosines and one product (one more rounding) each.
class Roots {
public:
    explicit Roots(std::size_t n) : n_(n), k_(std::max<std::size_t>(1, static_cast<std::size_t>(std::sqrt(double(n))))) {
        lo_.resize(k_);
        hi_.resize(n / k_ + 1);
        for (std::size_t t = 0; t < k_; ++t) lo_[t] = unit_root(t, n);
        for (std::size_t t = 0; t < hi_.size(); ++t) hi_[t] = unit_root((t * k_) % n, n);
    }
    cx operator()(std::size_t t) const noexcept {
        t %= n_;
        const std::size_t a = t / k_, b = t % k_;
        return b == 0 ? hi_[a] : a == 0 ? lo_[b] : hi_[a] * lo_[b];
    }

private:
    std::size_t n_, k_;
    std::vector<cx> lo_, hi_;
};

template <bool Inverse>
inline cx turn(cx w) noexcept {
    return Inverse ? conj(w) : w;
}
// -i·a for the forward direction, +i·a for the backward one.
template <bool Inverse>
inline cx minus_i(cx a) noexcept {
    return Inverse ? cx{-a.im, a.re} : cx{a.im, -a.re};
}

// One pass of a Stockham transform for radix P: m sub-transforms' worth of
// butterflies over `s` interleaved sequences. Input element j + m·r of
// sequence q sits at x[q + s·(j + m·r)]; output k of butterfly j, times
// w_N^(jk) with N = P·m, goes to y[q + s·(P·j + k)], where the next pass
// (m' = m/P', s' = s·P) finds it as sequence q + s·k.

template <bool Inverse>
void pass2(std::size_t m, std::size_t s, const cx* x, cx* y, const cx* tw) {
    for (std::size_t j = 0; j < m; ++j) {
        const cx* a = x + s * j;
        const cx* b = a + s * m;
        cx* o = y + s * 2 * j;
        if (j == 0) {
            for (std::size_t q = 0; q < s; ++q) o[q] = a[q] + b[q], o[q + s] = a[q] - b[q];
            continue;
        }
        const cx w = turn<Inverse>(tw[j]);
        for (std::size_t q = 0; q < s; ++q) o[q] = a[q] + b[q], o[q + s] = (a[q] - b[q]) * w;
    }
}

template <bool Inverse>
void pass4(std::size_t m, std::size_t s, const cx* x, cx* y, const cx* tw) {
    const std::size_t sm = s * m;
    for (std::size_t j = 0; j < m; ++j) {
        const cx* a = x + s * j;
        cx* o = y + s * 4 * j;
        const bool plain = j == 0;
        const cx w1 = turn<Inverse>(tw[3 * j]), w2 = turn<Inverse>(tw[3 * j + 1]), w3 = turn<Inverse>(tw[3 * j + 2]);
        for (std::size_t q = 0; q < s; ++q) {
            const cx a0 = a[q], a1 = a[q + sm], a2 = a[q + 2 * sm], a3 = a[q + 3 * sm];
            const cx t0 = a0 + a2, t1 = a0 - a2, t2 = a1 + a3, t3 = minus_i<Inverse>(a1 - a3);
            o[q] = t0 + t2;
            if (plain) {
                o[q + s] = t1 + t3, o[q + 2 * s] = t0 - t2, o[q + 3 * s] = t1 - t3;
            } else {
                o[q + s] = (t1 + t3) * w1, o[q + 2 * s] = (t0 - t2) * w2, o[q + 3 * s] = (t1 - t3) * w3;
            }
        }
    }
}

// Radix 8 as two radix-4 butterflies on the even and the odd inputs joined
// by w8^k = e^(∓πik/4), whose products cost two additions and two
// multiplications by 1/√2 each: one pass of 8 where two passes of 4 and 2
// would read and write the array twice.
template <bool Inverse>
inline cx times_w8(cx z, int k) noexcept {
    constexpr double h = 0.70710678118654752440;
    switch (k) {
    case 1: return Inverse ? cx{(z.re - z.im) * h, (z.re + z.im) * h} : cx{(z.re + z.im) * h, (z.im - z.re) * h};
    case 2: return minus_i<Inverse>(z);
    default: return Inverse ? cx{-(z.re + z.im) * h, (z.re - z.im) * h} : cx{(z.im - z.re) * h, -(z.re + z.im) * h};
    }
}

template <bool Inverse>
inline void dft4(cx a0, cx a1, cx a2, cx a3, cx* out) noexcept {
    const cx t0 = a0 + a2, t1 = a0 - a2, t2 = a1 + a3, t3 = minus_i<Inverse>(a1 - a3);
    out[0] = t0 + t2, out[1] = t1 + t3, out[2] = t0 - t2, out[3] = t1 - t3;
}

template <bool Inverse>
void pass8(std::size_t m, std::size_t s, const cx* x, cx* y, const cx* tw) {
    const std::size_t sm = s * m;
    for (std::size_t j = 0; j < m; ++j) {
        const cx* a = x + s * j;
        cx* o = y + s * 8 * j;
        const cx* w = tw + 7 * j;
        cx wt[8];
        for (int k = 1; k < 8; ++k) wt[k] = turn<Inverse>(w[k - 1]);
        for (std::size_t q = 0; q < s; ++q) {
            cx e[4], d[4];
            dft4<Inverse>(a[q], a[q + 2 * sm], a[q + 4 * sm], a[q + 6 * sm], e);
            dft4<Inverse>(a[q + sm], a[q + 3 * sm], a[q + 5 * sm], a[q + 7 * sm], d);
            d[1] = times_w8<Inverse>(d[1], 1), d[2] = times_w8<Inverse>(d[2], 2), d[3] = times_w8<Inverse>(d[3], 3);
            o[q] = e[0] + d[0];
            if (j == 0) {
                for (int k = 1; k < 4; ++k) o[q + k * s] = e[k] + d[k];
                for (int k = 0; k < 4; ++k) o[q + (k + 4) * s] = e[k] - d[k];
            } else {
                for (int k = 1; k < 4; ++k) o[q + k * s] = (e[k] + d[k]) * wt[k];
                for (int k = 0; k < 4; ++k) o[q + (k + 4) * s] = (e[k] - d[k]) * wt[k + 4];
            }
        }
    }
}

// Odd prime P: with u_r = a_r + a_(P-r) and v_r = a_r - a_(P-r),
// X_k = a_0 + Σ cos(2πrk/P)·u_r ∓ i·Σ sin(2πrk/P)·v_r and X_(P-k) the same
// with the other sign, so each pair of outputs costs (P-1) real products
// per part instead of 2(P-1).
template <int P>
struct OddConstants {
    static constexpr int H = (P - 1) / 2;
    double c[H + 1][H + 1], s[H + 1][H + 1];
    OddConstants() {
        for (int k = 1; k <= H; ++k)
            for (int r = 1; r <= H; ++r) {
                const cx w = unit_root(static_cast<std::uint64_t>((r * k) % P), P);
                c[k][r] = w.re, s[k][r] = -w.im;
            }
    }
};

template <int P, bool Inverse>
void pass_odd(std::size_t m, std::size_t s, const cx* x, cx* y, const cx* tw) {
    static const OddConstants<P> k_;
    constexpr int H = OddConstants<P>::H;
    const std::size_t sm = s * m;
    for (std::size_t j = 0; j < m; ++j) {
        const cx* a = x + s * j;
        cx* o = y + s * P * j;
        const cx* w = tw + (P - 1) * j;
        for (std::size_t q = 0; q < s; ++q) {
            const cx a0 = a[q];
            cx u[H + 1], v[H + 1], sum = a0;
            for (int r = 1; r <= H; ++r) {
                const cx p = a[q + r * sm], n = a[q + (P - r) * sm];
                u[r] = p + n, v[r] = p - n;
                sum = sum + u[r];
            }
            o[q] = sum;
            for (int k = 1; k <= H; ++k) {
                cx c = a0, d{0, 0};
                for (int r = 1; r <= H; ++r) c = c + u[r] * k_.c[k][r], d = d + v[r] * k_.s[k][r];
                const cx e = minus_i<Inverse>(d);
                cx lo = c + e, hi = c - e;
                if (j != 0) lo = lo * turn<Inverse>(w[k - 1]), hi = hi * turn<Inverse>(w[P - k - 1]);
                o[q + k * s] = lo;
                o[q + (P - k) * s] = hi;
            }
        }
    }
}

template <bool Inverse>
void pass(int radix, std::size_t m, std::size_t s, const cx* x, cx* y, const cx* tw) {
    switch (radix) {
    case 2: return pass2<Inverse>(m, s, x, y, tw);
    case 3: return pass_odd<3, Inverse>(m, s, x, y, tw);
    case 4: return pass4<Inverse>(m, s, x, y, tw);
    case 5: return pass_odd<5, Inverse>(m, s, x, y, tw);
    case 8: return pass8<Inverse>(m, s, x, y, tw);
    case 7: return pass_odd<7, Inverse>(m, s, x, y, tw);
    case 11: return pass_odd<11, Inverse>(m, s, x, y, tw);
    case 13: return pass_odd<13, Inverse>(m, s, x, y, tw);
    }
}

}  // namespace

std::vector<int> radices(std::size_t n) {
    std::vector<int> out;
    if (n == 0) return out;
    // The power of two 2^k as passes of 8, with the rest of k/3 taken by
    // two passes of 4 (rest 1) or one (rest 2) rather than by a pass of 2.
    int k = 0;
    while (n % 2 == 0) ++k, n /= 2;
    const int rest = k % 3, eights = k / 3 - (rest == 1 && k >= 4 ? 1 : 0);
    for (int e = 0; e < eights; ++e) out.push_back(8);
    if (rest == 1 && k >= 4) out.push_back(4), out.push_back(4);
    else if (rest == 1) out.push_back(2);
    else if (rest == 2) out.push_back(4);
    for (int p : {3, 5, 7, 11, 13})
        while (n % p == 0) out.push_back(p), n /= static_cast<std::size_t>(p);
    if (n != 1) out.clear();
    return out;
}

std::size_t smooth_at_least(std::size_t n) noexcept {
    std::size_t best = std::size_t{1} << 62;
    for (std::size_t a = 1; a < best; a *= 5)
        for (std::size_t b = a; b < best; b *= 3) {
            std::size_t c = b;
            while (c < n) c *= 2;
            best = std::min(best, c);
        }
    return best;
}

// x·c_k in, the convolution with the conjugate chirp by two transforms of
// the padded length, then ·c_k out; c_k = e^(-πi·k²/n), its exponent
// k² mod 2n taken in integers so the angle stays exact.
struct Plan::Bluestein {
    explicit Bluestein(std::size_t n) : inner(smooth_at_least(2 * n - 1)), chirp(n), kernel(inner.size()), buf(inner.size()) {
        const std::size_t m = inner.size();
        for (std::size_t k = 0; k < n; ++k) chirp[k] = unit_root((static_cast<std::uint64_t>(k) * k) % (2 * n), 2 * n);
        std::fill(kernel.begin(), kernel.end(), cx{0, 0});
        const double scale = 1.0 / static_cast<double>(m);
        for (std::size_t k = 0; k < n; ++k) kernel[k] = conj(chirp[k]) * scale;
        for (std::size_t k = 1; k < n; ++k) kernel[m - k] = kernel[k];
        // Should this transform be stopped, the flag stays up for the rest
        // of the line and every run of the plan stops at once too, so a
        // half-made kernel is never used. Its cost is that of one transform.
        (void)inner.run(kernel.data(), Direction::forward);
    }
    bool forward(cx* x) {
        const std::size_t n = chirp.size();
        for (std::size_t k = 0; k < n; ++k) buf[k] = x[k] * chirp[k];
        std::fill(buf.begin() + static_cast<std::ptrdiff_t>(n), buf.end(), cx{0, 0});
        if (!inner.run(buf.data(), Direction::forward)) return false;
        for (std::size_t k = 0; k < buf.size(); ++k) buf[k] = buf[k] * kernel[k];
        if (!inner.run(buf.data(), Direction::backward)) return false;
        for (std::size_t k = 0; k < n; ++k) x[k] = buf[k] * chirp[k];
        return true;
    }
    Plan inner;
    std::vector<cx> chirp, kernel, buf;
};

Plan::Plan(std::size_t n) : n_(n) {
    if (n <= 1) return;
    const std::vector<int> r = radices(n);
    if (r.empty()) {
        bluestein_ = std::make_unique<Bluestein>(n);
        return;
    }
    const Roots roots(n);
    std::size_t N = n, s = 1;
    for (int p : r) {
        const std::size_t m = N / static_cast<std::size_t>(p), step = n / N;
        stages_.push_back({p, m, s, twiddles_.size()});
        for (std::size_t j = 0; j < m; ++j)
            for (std::size_t k = 1; k < static_cast<std::size_t>(p); ++k) twiddles_.push_back(roots(step * j * k));
        N = m, s *= static_cast<std::size_t>(p);
    }
    work_.resize(n);
}

Plan::~Plan() = default;

// The passes alternate between `out` and the scratch. Out of place, the
// first pass writes where the last one then lands in `out`. In place the
// first pass must go to the scratch (a Stockham pass cannot overwrite its
// input), so an odd count of passes ends in the scratch and is copied back.
template <bool Inverse>
bool Plan::stockham(const cx* in, cx* out) {
    bool to_out = in != out && stages_.size() % 2 == 1;
    const cx* src = in;
    for (const Stage& st : stages_) {
        if (core::should_stop()) return false;
        cx* dst = to_out ? out : work_.data();
        pass<Inverse>(st.radix, st.m, st.stride, src, dst, twiddles_.data() + st.twiddle);
        src = dst;
        to_out = !to_out;
    }
    if (src != out) std::copy(src, src + n_, out);
    return true;
}

bool Plan::run(const cx* in, cx* out, Direction d) {
    if (!bluestein_ && n_ > 1) return d == Direction::forward ? stockham<false>(in, out) : stockham<true>(in, out);
    std::copy(in, in + n_, out);
    return run(out, d);
}

bool Plan::run(cx* x, Direction d) {
    if (n_ <= 1) return true;
    if (!bluestein_) return d == Direction::forward ? stockham<false>(x, x) : stockham<true>(x, x);
    if (d == Direction::forward) return bluestein_->forward(x);
    // The backward transform is the conjugate of the forward one of the
    // conjugate.
    for (std::size_t k = 0; k < n_; ++k) x[k].im = -x[k].im;
    if (!bluestein_->forward(x)) return false;
    for (std::size_t k = 0; k < n_; ++k) x[k].im = -x[k].im;
    return true;
}

bool transform(std::vector<cx>& x, Direction d) {
    Plan p(x.size());
    return p.run(x.data(), d);
}

}  // namespace ostr::fourier
