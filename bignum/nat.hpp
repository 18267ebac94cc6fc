// Word-level arithmetic on little-endian arrays of 64-bit words: the engine
// under the bit-array records. A Nat is a normalised vector (no zero top word;
// zero is empty); the kernels work on raw spans so that the recursive
// algorithms can share one scratch area.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ostr::big {

using limb = std::uint64_t;
using u128 = unsigned __int128;

// Word buffers come from a per-thread cache of power-of-two blocks: the
// recursive algorithms allocate and release many short-lived buffers, and
// handing them back to the system (trimmed heap tops, unmapped large blocks)
// costs a page fault per page on every reuse. The cache keeps a bounded
// amount (see pool.cpp) and is switched off under the sanitizers so that
// they see every allocation.
void* pool_alloc(std::size_t bytes);
void pool_free(void* p, std::size_t bytes) noexcept;

template <class T>
struct PoolAllocator {
    using value_type = T;
    PoolAllocator() noexcept = default;
    template <class U>
    PoolAllocator(const PoolAllocator<U>&) noexcept {}
    T* allocate(std::size_t n) { return static_cast<T*>(pool_alloc(n * sizeof(T))); }
    void deallocate(T* p, std::size_t n) noexcept { pool_free(p, n * sizeof(T)); }
    template <class U>
    bool operator==(const PoolAllocator<U>&) const noexcept { return true; }
};

using Nat = std::vector<limb, PoolAllocator<limb>>;

// Algorithm thresholds in words. They are variables so that tests can lower
// them and compare the fast paths with the plain ones on small operands.
struct Tuning {
    std::size_t mul_karatsuba = 28;   // schoolbook below, Karatsuba at and above
    std::size_t sqr_karatsuba = 40;
    std::size_t mul_toom3 = 300;      // Toom-3 at and above (balanced operands)
    std::size_t sqr_toom3 = 400;
    std::size_t div_newton = 60;      // schoolbook division while quotient or divisor is shorter
    std::size_t radix_base = 24;      // decimal conversion by single-word steps below
    // Big floats, in bits of precision: exp by Newton's iteration on ln
    // above, sin and cos by binary splitting (bit-burst) above.
    std::uint64_t exp_newton_bits = 12'000;
    std::uint64_t sin_burst_bits = 8'000;
};
extern Tuning tuning;

// The caller's abort byte, read with a relaxed atomic load because another
// thread may set it. Once seen, `hit` stays set, so a result computed while
// the byte flickered is still discarded.
// A caller above the C face may also give a poll function (the line's stop
// check of the language), asked at the same points.
struct Stop {
    const char* byte = nullptr;
    bool hit = false;
    bool (*poll)() noexcept = nullptr;
    bool check() noexcept {
        if (!hit && byte && __atomic_load_n(byte, __ATOMIC_RELAXED)) hit = true;
        if (!hit && poll && poll()) hit = true;
        return hit;
    }
};

// ---- kernels (kernels.cpp) ----
limb add_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept;
limb sub_n(limb* r, const limb* a, const limb* b, std::size_t n) noexcept;
// r = a + b (an >= bn words), returns the carry out of word an-1.
limb add(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept;
limb sub(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept;
// Adds/subtracts one word into r[0..n), returns the carry/borrow out.
limb add_1(limb* r, std::size_t n, limb x) noexcept;
limb sub_1(limb* r, std::size_t n, limb x) noexcept;
limb mul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept;
limb addmul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept;
limb submul_1(limb* r, const limb* a, std::size_t n, limb b) noexcept;
// Shifts by 1..63 bits; return the bits shifted out (in the low/high end).
limb lshift(limb* r, const limb* a, std::size_t n, unsigned s) noexcept;
limb rshift(limb* r, const limb* a, std::size_t n, unsigned s) noexcept;
int cmp_n(const limb* a, const limb* b, std::size_t n) noexcept;
void mul_basecase(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn) noexcept;
void sqr_basecase(limb* r, const limb* a, std::size_t n) noexcept;
// Reciprocal of a normalised word (top bit set): floor((2^128-1)/d) - 2^64.
limb inverse_limb(limb d) noexcept;
// Divides <u1,u0> (u1 < d) by the normalised d with its reciprocal v.
limb div_2by1(limb& rem, limb u1, limb u0, limb d, limb v) noexcept;
// q = a / d for one word d != 0, returns the remainder. q may equal a.
limb divrem_1(limb* q, const limb* a, std::size_t n, limb d) noexcept;

// ---- Nat helpers ----
void trim(Nat& a) noexcept;
std::uint64_t bit_length(const Nat& a) noexcept;
int cmp(const Nat& a, const Nat& b) noexcept;
Nat add(const Nat& a, const Nat& b);
void add_in(Nat& a, const Nat& b);       // a += b
Nat sub(const Nat& a, const Nat& b);     // a - b, requires a >= b
void sub_in(Nat& a, const Nat& b);       // a -= b, requires a >= b
Nat shl(const Nat& a, std::uint64_t k);
Nat shr(const Nat& a, std::uint64_t k);
Nat low_bits(const Nat& a, std::uint64_t k);
void mul_small_in(Nat& a, limb m, limb add = 0);  // a = a*m + add
bool is_pow2(const Nat& a) noexcept;
std::uint64_t trailing_zeros(const Nat& a) noexcept;

// ---- multiplication (multiply.cpp) ----
// r[0..an+bn) = a*b. Neither operand may overlap r.
void mul(limb* r, const limb* a, std::size_t an, const limb* b, std::size_t bn, Stop& stop);
void sqr(limb* r, const limb* a, std::size_t n, Stop& stop);
Nat mul(const Nat& a, const Nat& b, Stop& stop);
Nat sqr(const Nat& a, Stop& stop);
// The plain schoolbook product, the reference of the fast paths in tests.
Nat mul_plain(const Nat& a, const Nat& b);

// ---- division and roots (divide.cpp) ----
// q = floor(a/b), r = a - q*b; b non-zero. Either output may be null.
void div_qr(Nat* q, Nat* r, const Nat& a, const Nat& b, Stop& stop);
// A divisor with its reciprocal x ~ 2^(bits(b) + m) / b, for dividing many
// numbers whose quotients have at most m - 64 bits by the same b.
struct Divisor {
    Nat b;
    Nat x;
    std::uint64_t m;
};
Divisor make_divisor(const Nat& b, std::uint64_t m, Stop& stop);
void div_qr_pre(Nat* q, Nat* r, const Nat& a, const Divisor& d, Stop& stop);
// Schoolbook division, the reference of the Newton path in tests.
void div_qr_plain(Nat* q, Nat* r, const Nat& a, const Nat& b);
// floor(2^k / d), d non-zero; exact.
Nat reciprocal(const Nat& d, std::uint64_t k, Stop& stop);
// floor(sqrt(a)).
Nat isqrt(const Nat& a, Stop& stop);

// ---- decimal text (radix.cpp) ----
// Digits of a, most significant first, without leading zeros ("0" for zero).
bool to_decimal(const Nat& a, std::vector<char>& out, Stop& stop);
// Value of a text of decimal digits (checked by the caller).
bool from_decimal(const char* digits, std::size_t n, Nat& out, Stop& stop);
// 10^n and 5^n.
Nat pow10(std::uint64_t n, Stop& stop);
Nat pow_nat(const Nat& a, std::uint64_t e, Stop& stop);

}  // namespace ostr::big
