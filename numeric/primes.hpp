// Number theory on 64-bit integers: a segmented sieve for the primes of a
// range, primality by Miller-Rabin with a deterministic set of bases, and
// factorisation by trial division and Pollard's rho.
#pragma once

#include <cstdint>
#include <vector>

namespace ostr::num {

enum class ListStatus : unsigned char { ok, too_many, stopped };

// The primes p with a <= p <= b, ascending, appended to `out`; stops with
// too_many once there would be more than `limit`, and with stopped when
// core::should_stop() answers true (polled once per segment).
ListStatus primes_between(std::uint64_t a, std::uint64_t b, std::size_t limit, std::vector<std::uint64_t>& out);

// The number of primes p with a <= p <= b, by the same sieve without
// building the list.
ListStatus count_primes(std::uint64_t a, std::uint64_t b, std::uint64_t& count);

// Exact for every n below 2^64.
bool is_prime(std::uint64_t n) noexcept;

// The prime factors of n >= 1 with multiplicity, ascending (none for 1).
std::vector<std::uint64_t> prime_factors(std::uint64_t n);

// The positive divisors of n >= 1, ascending.
std::vector<std::uint64_t> divisors(std::uint64_t n);

}  // namespace ostr::num
