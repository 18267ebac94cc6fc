// The generator Ran2 (two multiplicative congruential generators combined
// through a shuffle table) and the integers, reals, texts, seeds and normal
// draws built on it. The shuffle table is the one process-wide state here.
#include "hash/random.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "ostravine/hash.h"

namespace ostr::rnd {
namespace {

// s <- a*s mod m by Schrage's method: with m = a*q + r and r < q,
// a*s = a*(s mod q) - r*(s div q) (mod m), and both terms stay below m, so
// nothing overflows 32 bits; a negative result gets m added. Seeds reach
// 2^31 (from a state of INT32_MIN), hence the 64-bit argument.
template <std::int32_t a, std::int32_t m>
std::int32_t schrage(std::int64_t s) noexcept {
    constexpr std::int32_t q = m / a, r = m % a;
    static_assert(r < q);
    const std::int64_t k = s / q;
    std::int64_t x = a * (s - k * q) - k * r;
    if (x < 0) x += m;
    return static_cast<std::int32_t>(x);
}

constexpr std::int32_t m1 = 2147483563;
constexpr std::int32_t imm1 = m1 - 1;
constexpr auto step1 = schrage<40014, m1>;
constexpr auto step2 = schrage<40692, 2147483399>;
constexpr double ndiv = 67108862.3125;  // 1 + imm1/32: maps 0..imm1 onto the 32 slots
constexpr double am = 4.656613057391769e-10;
constexpr double rnmx = 0.99999988;
constexpr std::int32_t warm_up = 40;  // the first 8 values are discarded

// Shared by every state; starts all zero; rewritten by each initialising draw.
std::array<std::int32_t, table_size> table{};

}  // namespace

// Every draw after initialisation restarts generator two at 123456789 and
// reads slot 0: the result is slot 0 (the previous generator-one value)
// minus a constant. This is deliberate and must be kept: stored salts and
// every sampled result depend on the exact sequence.
double ran2(std::int32_t& state) noexcept {
    std::int64_t s, t, y;
    if (state <= 0) {
        s = std::max<std::int64_t>(-std::int64_t{state}, 1);
        t = s;
        for (std::int32_t j = warm_up - 1; j >= 0; --j) {
            s = step1(s);
            if (j < table_size) table[j] = static_cast<std::int32_t>(s);
        }
        y = table[0];
    } else {
        s = state;
        t = 123456789;
        y = 0;
    }
    s = step1(s);
    state = static_cast<std::int32_t>(s);
    t = step2(t);
    const auto j = static_cast<std::size_t>(static_cast<double>(y) / ndiv);
    std::int64_t r = table[j] - t;
    table[j] = static_cast<std::int32_t>(s);
    if (r < 1) r += imm1;
    return std::min(static_cast<double>(r) * am, rnmx);
}

// The width is formed in double: hi - lo + 1 overflows 32 bits for wide
// bounds. The result always fits, since 0 < u < 1.
std::int32_t random_integer(std::int32_t lo, std::int32_t hi, std::int32_t& state) noexcept {
    const double u = ran2(state);
    return static_cast<std::int32_t>(u * (static_cast<double>(hi) - lo + 1) + lo);
}

double random_real(double lo, double hi, std::int32_t& state) noexcept {
    return ran2(state) * (hi - lo) + lo;
}

namespace {

char draw_char(Chars kind, std::int32_t& state) noexcept {
    const double u = ran2(state);
    switch (kind) {
    case Chars::any: return static_cast<char>(static_cast<int>(u * 127 + 1));
    case Chars::printable: return static_cast<char>(static_cast<int>(u * 95 + 32));
    case Chars::alphanumeric: break;
    }
    const int k = static_cast<int>(u * 62);
    return static_cast<char>(k < 10 ? '0' + k : k < 36 ? 'A' + (k - 10) : 'a' + (k - 36));
}

}  // namespace

OwnedText random_text(std::int32_t n, Chars kind, std::int32_t& state) noexcept {
    if (n < 0) return nullptr;
    const auto len = static_cast<std::size_t>(n);
    OwnedText out(static_cast<char*>(mem_alloc(len + 1)));
    if (!out) return out;
    std::memset(out.get(), '0', len);
    out.get()[len] = '\0';
    for (std::size_t i = 0; i < len; ++i) out.get()[i] = draw_char(kind, state);
    return out;
}

// Characters are signed bytes. Short texts add their packed characters;
// longer ones add one word per four characters, whose bytes come from the
// positions 4i, 4i+3, 4i+1, 4i+2 taken modulo the length (so the last word
// wraps round to the start). Sums wrap modulo 2^32.
std::int32_t seed_from_string(std::string_view text) noexcept {
    const std::size_t len = text.size();
    auto c = [&](std::size_t i) { return static_cast<std::int64_t>(static_cast<signed char>(text[i % len])); };
    std::uint32_t acc = static_cast<std::uint32_t>(len + 1);
    if (len < 4) {
        std::int64_t packed = 0;
        for (std::size_t i = 0; i < len; ++i) packed = packed * 256 + c(i);
        acc += static_cast<std::uint32_t>(packed);
    } else {
        for (std::size_t i = 0; i < (len + 3) / 4; ++i) {
            const std::size_t p = 4 * i + 1;
            acc += static_cast<std::uint32_t>(((c(4 * i) * 256 + c(p + 2)) * 256 + c(p)) * 256 + c(p + 1));
        }
    }
    return -static_cast<std::int32_t>(acc % 2147483646u);
}

std::int32_t seed_from_text(const char* text) noexcept { return seed_from_string(text ? text : ""); }

void set_seed(std::int32_t* holder, std::int32_t n) noexcept {
    if (holder) *holder = n == INT32_MIN ? n : -std::abs(n);
}

double box_muller_cos(double u1, double u2) noexcept {
    return std::sqrt(-2 * std::log(u1)) * std::cos(2 * std::numbers::pi * u2);
}

double box_muller_sin(double u1, double u2) noexcept {
    return std::sqrt(-2 * std::log(u1)) * std::sin(2 * std::numbers::pi * u2);
}

void box_muller(std::int32_t& state, double& z1, double& z2) noexcept {
    const double u1 = ran2(state);
    const double u2 = ran2(state);
    z1 = box_muller_cos(u1, u2);
    z2 = box_muller_sin(u1, u2);
}

// The second uniform comes from a local second state, the caller's state
// minus 161587 (wrapping), taken before the first draw. When the caller's
// state is <= 0 both draws initialise the table and the second one wins.
double random_normal(double mean, double sigma, std::int32_t& state) noexcept {
    std::int32_t second = static_cast<std::int32_t>(static_cast<std::uint32_t>(state) - 161587u);
    const double u1 = ran2(state);
    const double u2 = ran2(second);
    return mean + sigma * box_muller_cos(u1, u2);
}

void get_table(std::int32_t* out) noexcept {
    if (out) std::copy(table.begin(), table.end(), out);
}

bool set_table(const std::int32_t* in) noexcept {
    if (!in || !std::all_of(in, in + table_size, [](std::int32_t v) { return v >= 0 && v <= imm1; })) return false;
    std::copy(in, in + table_size, table.begin());
    return true;
}

}  // namespace ostr::rnd

extern "C" {

double Ran2(std::int32_t* state) noexcept { return ostr::rnd::ran2(*state); }
std::int32_t RandomInteger(std::int32_t lo, std::int32_t hi, std::int32_t* state) noexcept {
    return ostr::rnd::random_integer(lo, hi, *state);
}
double RandomReal(double lo, double hi, std::int32_t* state) noexcept { return ostr::rnd::random_real(lo, hi, *state); }
char* RandomString(std::int32_t n, std::int32_t* state) noexcept {
    return ostr::rnd::random_text(n, ostr::rnd::Chars::any, *state).release();
}
char* RandomPrintableString(std::int32_t n, std::int32_t* state) noexcept {
    return ostr::rnd::random_text(n, ostr::rnd::Chars::printable, *state).release();
}
char* RandomStringAlphaNum(std::int32_t n, std::int32_t* state) noexcept {
    return ostr::rnd::random_text(n, ostr::rnd::Chars::alphanumeric, *state).release();
}
std::int32_t SeedFromString(const char* text) noexcept { return ostr::rnd::seed_from_text(text); }
void SetSeed(std::int32_t* holder, std::int32_t n) noexcept { ostr::rnd::set_seed(holder, n); }
double BoxMuller1(double u1, double u2) noexcept { return ostr::rnd::box_muller_cos(u1, u2); }
double BoxMuller2(double u1, double u2) noexcept { return ostr::rnd::box_muller_sin(u1, u2); }
void BoxMuller(std::int32_t* state, double* z1, double* z2) noexcept { ostr::rnd::box_muller(*state, *z1, *z2); }
double RandomRealNormal(double mean, double sigma, std::int32_t* state) noexcept {
    return ostr::rnd::random_normal(mean, sigma, *state);
}
void GetRandomTable(std::int32_t out[32]) noexcept { ostr::rnd::get_table(out); }
int SetRandomTable(const std::int32_t in[32]) noexcept { return ostr::rnd::set_table(in); }

}
