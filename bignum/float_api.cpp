// The C face of the big floats: BitArrayFloat records to and from the
// engine's values, and one thin wrapper per operation. Rounded results carry
// the inexact flag, and so does every result made from an inexact operand.
#include <cstring>

#include "bignum/bitarray.hpp"
#include "bignum/float.hpp"
#include "core/memory.hpp"

namespace ostr::big {
namespace {

constexpr std::int64_t known_flags = flag_negative | flag_negative_exponent | flag_inexact;

bool reduced(const BitArray* a) noexcept {
    if (!a || !a->words || a->bits == 0 || a->nwords != (a->bits + 63) / 64) return false;
    const std::uint64_t top_word = a->words[a->nwords - 1];
    const unsigned used = static_cast<unsigned>((a->bits - 1) % 64) + 1;
    if (used < 64 && (top_word >> used) != 0) return false;  // stored bits above the count
    return a->bits == 1 || ((top_word >> (used - 1)) & 1);
}

std::uint64_t small_value(const BitArray* a) noexcept { return a->bits <= 64 ? a->words[0] : ~std::uint64_t{0}; }

BitArrayFloat* record(const Float& x, bool inexact) noexcept {
    FloatParts p = to_parts(x, inexact);
    auto* r = static_cast<BitArrayFloat*>(mem_alloc(sizeof(BitArrayFloat)));
    if (!r || !p.mantissa || !p.exponent) {
        release(p.mantissa);
        release(p.exponent);
        mem_free(r);
        return nullptr;
    }
    *r = {p.mantissa, p.exponent, p.field};
    return r;
}

Float value(const BitArrayFloat* x) { return from_parts(x->mantissa, x->exponent, x->field); }
bool inexact(const BitArrayFloat* x) noexcept { return x->field & flag_inexact; }

// Runs f and makes the record of its result; null on any failure.
template <class F>
BitArrayFloat* run(bool inexact_result, F&& f) noexcept {
    try {
        return record(f(), inexact_result);
    } catch (...) {
        return nullptr;
    }
}

using Binary = Float (*)(const Float&, const Float&, std::uint64_t, Stop&);
using Unary = Float (*)(const Float&, std::uint64_t, Stop&);

BitArrayFloat* binary(const BitArrayFloat* a, const BitArrayFloat* b, std::uint64_t p, const char* abort, Binary f,
                      bool rounds) noexcept {
    if (!a || !b || p > max_precision || (rounds && p == 0)) return nullptr;
    Stop stop{abort};
    return run(inexact(a) || inexact(b) || (p && rounds), [&] { return f(value(a), value(b), p, stop); });
}

BitArrayFloat* unary(const BitArrayFloat* x, std::uint64_t p, const char* abort, Unary f) noexcept {
    if (!x || p == 0 || p > max_precision) return nullptr;
    Stop stop{abort};
    return run(true, [&] { return f(value(x), p, stop); });
}

}  // namespace

Float from_parts(const BitArray* mantissa, const BitArray* exponent, std::int64_t field) {
    if (!mantissa || !exponent) throw Refused{};
    Nat e = to_nat(exponent);
    if (bit_length(e) > 48) throw Refused{};
    const auto ev = static_cast<std::int64_t>(e.empty() ? 0 : e[0]);
    return normalised(field & flag_negative, to_nat(mantissa), field & flag_negative_exponent ? -ev : ev);
}

FloatParts to_parts(const Float& x, bool inexact) noexcept {
    FloatParts p;
    p.mantissa = from_nat(x.m);
    p.exponent = InitializeBitArrayFromUInt64(static_cast<std::uint64_t>(x.e < 0 ? -x.e : x.e));
    p.field = (x.neg ? flag_negative : 0) | (x.e < 0 ? flag_negative_exponent : 0) | (inexact ? flag_inexact : 0);
    return p;
}

bool canonical(const BitArray* mantissa, const BitArray* exponent, std::int64_t field) noexcept {
    // The high half is the holder's (the digits the language shows).
    if (!reduced(mantissa) || !reduced(exponent) || (field & 0xFFFFFFFF & ~known_flags)) return false;
    const std::uint64_t e = small_value(exponent);
    if (exponent->bits > 48 || (field >> 32) < 0 || (field >> 32) > max_shown_digits) return false;
    if (mantissa->bits == 1 && mantissa->words[0] == 0)  // zero
        return e == 0 && (field & (flag_negative | flag_negative_exponent)) == 0;
    if (!(mantissa->words[0] & 1)) return false;
    if (e == 0 && (field & flag_negative_exponent)) return false;
    const auto top = static_cast<std::int64_t>(mantissa->bits) + (field & flag_negative_exponent ? -1 : 1) * static_cast<std::int64_t>(e);
    return top <= max_exponent && top >= -max_exponent;
}

}  // namespace ostr::big

using namespace ostr::big;

extern "C" {

void FreeBitArrayFloat(BitArrayFloat* x) noexcept {
    if (!x) return;
    release(x->mantissa);
    release(x->exponent);
    ostr::mem_free(x);
}

BitArrayFloat* CopyBitArrayFloat(const BitArrayFloat* x) noexcept {
    return x ? run(inexact(x), [&] { return value(x); }) : nullptr;
}

int TestCanonicalBitArrayFloat(const BitArrayFloat* x) noexcept {
    return x && canonical(x->mantissa, x->exponent, x->field) ? 1 : 0;
}

BitArrayFloat* BitArrayToBitArrayFloat(const BitArray* a, int negative) noexcept {
    return a ? run(false, [&] { return normalised(negative != 0, to_nat(a), 0); }) : nullptr;
}

BitArrayFloat* DoubleToBitArrayFloat(double x) noexcept {
    return run(false, [&] { return from_double(x); });
}

double BitArrayFloatToDouble(const BitArrayFloat* x) noexcept {
    if (!x) return 0.0;
    try {
        return to_double(value(x));
    } catch (...) {
        return 0.0;
    }
}

int CompareBitArrayFloats(const BitArrayFloat* a, const BitArrayFloat* b) noexcept {
    if (!a || !b) return 0;
    try {
        return cmp(value(a), value(b));
    } catch (...) {
        return 0;
    }
}

BitArrayFloat* DecimalStringToBitArrayFloat(const char* text, std::uint64_t p, const char* abort) noexcept {
    if (!text || p == 0 || p > max_precision) return nullptr;
    Stop stop{abort};
    try {
        Float x;
        bool exact = true;
        if (!from_text(text, p, x, stop, &exact)) return nullptr;
        return record(x, !exact);
    } catch (...) {
        return nullptr;
    }
}

char* BitArrayFloatToDecimalString(const BitArrayFloat* x, std::uint64_t digits, const char* abort) noexcept {
    if (!x) return nullptr;
    try {
        Stop stop{abort};
        const Float v = value(x);
        if (digits == 0 && !is_integer(v)) return nullptr;
        const ostr::Text s = digits == 0 ? integer_text(v, stop) : decimal_text(v, digits, stop);
        return ostr::dup_text(s);
    } catch (...) {
        return nullptr;
    }
}

BitArrayFloat* AddBitArrayFloats(const BitArrayFloat* a, const BitArrayFloat* b, std::uint64_t p,
                                 const char* abort) noexcept {
    return binary(a, b, p, abort, add, false);
}
BitArrayFloat* SubtractBitArrayFloats(const BitArrayFloat* a, const BitArrayFloat* b, std::uint64_t p,
                                      const char* abort) noexcept {
    return binary(a, b, p, abort, sub, false);
}
BitArrayFloat* MultiplyBitArrayFloats(const BitArrayFloat* a, const BitArrayFloat* b, std::uint64_t p,
                                      const char* abort) noexcept {
    return binary(a, b, p, abort, mul, false);
}
BitArrayFloat* DivideBitArrayFloats(const BitArrayFloat* a, const BitArrayFloat* b, std::uint64_t p,
                                    const char* abort) noexcept {
    return binary(a, b, p, abort, div, true);
}

BitArrayFloat* SquareRootBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, sqrt);
}
BitArrayFloat* ExpBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, exp);
}
BitArrayFloat* LogBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, log);
}
BitArrayFloat* SinBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, sin);
}
BitArrayFloat* CosBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, cos);
}
BitArrayFloat* TanBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, tan);
}
BitArrayFloat* ArcTanBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, atan);
}
BitArrayFloat* ArcSinBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, asin);
}
BitArrayFloat* ArcCosBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, acos);
}
BitArrayFloat* SinhBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, sinh);
}
BitArrayFloat* CoshBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, cosh);
}
BitArrayFloat* TanhBitArrayFloat(const BitArrayFloat* x, std::uint64_t p, const char* abort) noexcept {
    return unary(x, p, abort, tanh);
}

BitArrayFloat* PiBitArrayFloat(std::uint64_t p, const char* abort) noexcept {
    if (p == 0 || p > max_precision) return nullptr;
    Stop stop{abort};
    return run(true, [&] { return pi(p, stop); });
}

}  // extern "C"
