// GMP as the oracle of the bit-array tests: conversions between records,
// engine numbers and mpz values, and operands in the shapes that break carry
// chains and splits.
#pragma once

#include <gmp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bignum/bitarray.hpp"
#include "ostravine/core.h"

namespace ostr::test {

// Operand sizes shrink under the sanitizers, which run the same tests about
// ten times slower.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OSTR_BIG_SANITIZED 1
#endif
#endif
#ifdef OSTR_BIG_SANITIZED
inline constexpr std::uint64_t big_scale = 8;
#else
inline constexpr std::uint64_t big_scale = 1;
#endif

struct Mpz {
    mpz_t v;
    Mpz() { mpz_init(v); }
    explicit Mpz(const char* dec) { mpz_init_set_str(v, dec, 10); }
    Mpz(const Mpz& o) { mpz_init_set(v, o.v); }
    Mpz& operator=(const Mpz& o) { mpz_set(v, o.v); return *this; }
    ~Mpz() { mpz_clear(v); }
    operator mpz_ptr() { return v; }
    operator mpz_srcptr() const { return v; }
    std::string str(int base = 10) const;
};

big::Nat nat_of(const Mpz& z);
Mpz mpz_of(const big::Nat& n);
// A reduced record of z (the test owns it).
big::OwnedBits to_bits(const Mpz& z);
Mpz from_bits(const BitArray* a);
bool same(const BitArray* a, const Mpz& z);  // value equal and record reduced

// Random operands of exactly `bits` bits (top bit set) in one of several
// shapes: uniform, long runs of ones and zeros, all ones, a power of two and
// its neighbours.
class Operands {
public:
    explicit Operands(unsigned long seed);
    ~Operands();
    Mpz make(std::uint64_t bits);
    Mpz uniform(std::uint64_t bits);
    unsigned long below(unsigned long n);

private:
    gmp_randstate_t state_;
    unsigned long pick_ = 0;
};

// Sizes from 1 bit to max_bits: every size up to 200, multiples of 64 and
// their neighbours, and a geometric ladder above.
std::vector<std::uint64_t> size_ladder(std::uint64_t max_bits);

// Lowers the algorithm thresholds for its lifetime.
struct LowThresholds {
    big::Tuning saved = big::tuning;
    LowThresholds();
    ~LowThresholds() { big::tuning = saved; }
};

}  // namespace ostr::test
