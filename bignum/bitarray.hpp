// Internal C++ face of the bit arrays: the records as seen from C++, their
// conversion to and from the word engine (nat.hpp), and an owning handle.
#pragma once

#include <cstdint>
#include <memory>

#include "bignum/nat.hpp"
#include "ostravine/bignum.h"

namespace ostr::big {

// Results are refused above this many bits (512 MiB of words): a request that
// large is a typing slip, and refusing it beats exhausting the machine.
inline constexpr std::uint64_t max_bits = std::uint64_t{1} << 32;

struct BitArrayDeleter {
    void operator()(BitArray* a) const noexcept;
};
using OwnedBits = std::unique_ptr<BitArray, BitArrayDeleter>;

[[nodiscard]] BitArray* make(std::uint64_t bits) noexcept;
void release(BitArray* a) noexcept;

// Words of a that hold bits below the bit count (never more than allocated).
std::uint64_t used_words(const BitArray* a) noexcept;
// The value of a record (bits at and above the bit count ignored).
Nat to_nat(const BitArray* a);
// A reduced record of the value (one cleared bit for zero); null when memory
// runs out.
[[nodiscard]] BitArray* from_nat(const Nat& n) noexcept;
// A record of exactly `bits` bits (>= 1) holding n mod 2^bits.
[[nodiscard]] BitArray* from_nat_bits(const Nat& n, std::uint64_t bits) noexcept;

// Record helpers shared by the files of this folder (bitarray.cpp).
std::uint64_t value_bits(const BitArray* a) noexcept;  // bit length of the value
BitArray* reduce(BitArray** pa) noexcept;
void clean(BitArray* a) noexcept;
bool grow(BitArray* a, std::uint64_t bits) noexcept;  // new bits cleared
void shift_left_in_place(BitArray* a, std::uint64_t k) noexcept;
void shift_right_in_place(BitArray* a, std::uint64_t k) noexcept;
[[nodiscard]] BitArray* copy(const BitArray* a) noexcept;
[[nodiscard]] BitArray* crop(const BitArray* a, std::uint64_t pos, std::uint64_t k) noexcept;

// Runs f, turning an allocation failure inside the engine into null.
template <class F>
auto guarded(F&& f) noexcept -> decltype(f()) {
    try {
        return f();
    } catch (...) {
        return {};
    }
}

}  // namespace ostr::big
