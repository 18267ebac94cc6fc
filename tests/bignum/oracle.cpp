// GMP conversions and operand shapes for the bit-array tests.
#include "oracle.hpp"

#include <cstring>

namespace ostr::test {

std::string Mpz::str(int base) const {
    std::unique_ptr<char, void (*)(void*)> s(mpz_get_str(nullptr, base, v), std::free);
    return s.get();
}

big::Nat nat_of(const Mpz& z) {
    big::Nat n((mpz_sizeinbase(z, 2) + 63) / 64);
    std::size_t count = 0;
    mpz_export(n.data(), &count, -1, 8, 0, 0, z);
    n.resize(count);
    return n;
}

Mpz mpz_of(const big::Nat& n) {
    Mpz z;
    mpz_import(z, n.size(), -1, 8, 0, 0, n.data());
    return z;
}

big::OwnedBits to_bits(const Mpz& z) { return big::OwnedBits(big::from_nat(nat_of(z))); }

Mpz from_bits(const BitArray* a) { return mpz_of(big::to_nat(a)); }

bool same(const BitArray* a, const Mpz& z) {
    if (!a) return false;
    const std::uint64_t want = mpz_sgn(z.v) ? mpz_sizeinbase(z, 2) : 1;
    return a->bits == want && a->nwords == (want + 63) / 64 && mpz_cmp(from_bits(a), z) == 0;
}

Operands::Operands(unsigned long seed) {
    gmp_randinit_mt(state_);
    gmp_randseed_ui(state_, seed);
}
Operands::~Operands() { gmp_randclear(state_); }

unsigned long Operands::below(unsigned long n) { return gmp_urandomm_ui(state_, n); }

Mpz Operands::uniform(std::uint64_t bits) {
    Mpz z;
    mpz_urandomb(z, state_, bits);
    mpz_setbit(z, bits - 1);
    return z;
}

Mpz Operands::make(std::uint64_t bits) {
    Mpz z;
    switch (pick_++ % 6) {
    case 0:
    case 1:
        return uniform(bits);
    case 2:
        mpz_rrandomb(z, state_, bits);  // long runs of ones and zeros
        break;
    case 3:
        mpz_setbit(z, bits);
        mpz_sub_ui(z, z, 1);  // all ones
        break;
    case 4:
        mpz_setbit(z, bits - 1);  // a power of two
        break;
    default:
        mpz_setbit(z, bits - 1);
        if (bits > 1) mpz_add_ui(z, z, 1);  // just above a power of two
        break;
    }
    return z;
}

std::vector<std::uint64_t> size_ladder(std::uint64_t max_bits) {
    std::vector<std::uint64_t> s;
    for (std::uint64_t b = 1; b <= 200 && b <= max_bits; ++b) s.push_back(b);
    for (std::uint64_t w = 4; 64 * w + 1 <= max_bits && w <= 64; w += 3)
        for (std::uint64_t b : {64 * w - 1, 64 * w, 64 * w + 1}) s.push_back(b);
    for (std::uint64_t b = 4500; b <= max_bits; b = b * 3 / 2) s.push_back(b);
    return s;
}

LowThresholds::LowThresholds() {
    big::tuning.mul_karatsuba = 2;
    big::tuning.sqr_karatsuba = 2;
    big::tuning.mul_toom3 = 9;
    big::tuning.sqr_toom3 = 9;
    big::tuning.div_newton = 2;
    big::tuning.radix_base = 2;
}

}  // namespace ostr::test
