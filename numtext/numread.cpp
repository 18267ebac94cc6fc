// Reading number texts: the rule by which a whole text is a numeric literal
// (TestNumericString), and the readers AtoF and AtoL built on it.
//
// The accepted set is that of strtod with full consumption and a finite
// value, plus the binary literals. Instead of calling strtod, a hand-written
// syntax scan decides acceptance and std::from_chars (exact, locale-free,
// several times faster) reads the value; only out-of-range results need a
// look at the text again, to tell an overflow from an underflow.
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

#include "numtext/numtext.hpp"
#include "ostravine/numtext.h"

namespace ostr::text {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex_digit(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool is_bit(char c) { return c == '0' || c == '1'; }
char lower(char c) { return static_cast<char>(c | 0x20); }

template <class Pred>
std::size_t skip(std::string_view s, std::size_t i, Pred pred) {
    while (i < s.size() && pred(s[i])) ++i;
    return i;
}

// ---- binary literals ------------------------------------------------------

// The value of the bit string int_bits.frac_bits, rounded to nearest (ties
// to even) like every other literal. The plain sum of weights that the
// literal denotes is exact up to 53 significant bits, and this is that sum;
// longer literals are rounded once instead of once per added weight.
// Too large for a double gives infinity (the caller then rejects it).
double round_bits(std::string_view int_bits, std::string_view frac_bits) {
    std::size_t lead = int_bits.find('1');
    long long e;  // binary exponent of the leading one
    std::string_view rest;
    if (lead != std::string_view::npos) {
        if (int_bits.size() - lead > 1024) return HUGE_VAL;
        e = static_cast<long long>(int_bits.size() - lead) - 1;
        rest = int_bits.substr(lead + 1);
    } else {
        lead = frac_bits.find('1');
        if (lead == std::string_view::npos || lead > 1080) return 0.0;
        e = -static_cast<long long>(lead) - 1;
        frac_bits.remove_prefix(lead + 1);
    }
    // Up to 64 bits from the leading one, then a sticky bit for the rest.
    std::uint64_t m = 1;
    int nbits = 1;
    bool sticky = false;
    for (std::string_view part : {rest, frac_bits}) {
        for (char c : part) {
            if (nbits < 64) {
                m = m << 1 | static_cast<std::uint64_t>(c == '1');
                ++nbits;
            } else if (c == '1') {
                sticky = true;
            }
        }
    }
    const long long lsb = e - nbits + 1;           // weight of m's last bit
    const long long q = std::max(e - 52, -1074LL);  // weight of the result's last bit
    const long long drop = q - lsb;
    if (drop <= 0) return std::ldexp(static_cast<double>(m), static_cast<int>(lsb));
    if (drop > 64) return 0.0;  // below half of the smallest subnormal
    std::uint64_t kept = drop == 64 ? 0 : m >> drop;
    const bool half = (m >> (drop - 1)) & 1;
    const bool below = sticky || (m & ((std::uint64_t{1} << (drop - 1)) - 1)) != 0;
    if (half && (below || (kept & 1))) ++kept;
    return std::ldexp(static_cast<double>(kept), static_cast<int>(q));  // exact or overflow
}

// "0b" then bits, optionally one "." and fraction bits; "0b" and "0b." are 0.
// Any other character rejects the text. (Reading the integer bits from the
// point leftwards and stopping the fraction at the first non-bit, accepting
// only at the end, comes to the same set.)
bool read_binary(std::string_view s, double& value) {
    std::string_view body = s.substr(2);
    const std::size_t point = body.find('.');
    std::string_view int_bits = body.substr(0, point);
    std::string_view frac_bits =
        point == std::string_view::npos ? std::string_view{} : body.substr(point + 1);
    if (skip(int_bits, 0, is_bit) != int_bits.size()) return false;
    if (skip(frac_bits, 0, is_bit) != frac_bits.size()) return false;
    value = round_bits(int_bits, frac_bits);
    return true;
}

// ---- decimal and hexadecimal numbers --------------------------------------

enum class Syntax { none, decimal, hex };

// Past an exponent's optional sign and digits (at least one), or npos.
// Without digits strtod leaves the exponent letter unread.
std::size_t skip_exponent(std::string_view s, std::size_t i) {
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    const std::size_t end = skip(s, i, is_digit);
    return end == i ? std::string_view::npos : end;
}

// The layout of a number: where the digits begin (after sign and "0x"),
// where the point and the exponent letter are (npos when absent).
struct Layout {
    Syntax syntax = Syntax::none;
    std::size_t digits = 0;
    std::size_t point = std::string_view::npos;
    std::size_t exponent = std::string_view::npos;
};

// The grammar strtod reads, anchored at both ends: [sign] digits [. digits]
// [e [sign] digits], or [sign] 0x hexdigits [. hexdigits] [p [sign] digits],
// with at least one mantissa digit. (The infinity and NaN words are left out:
// they are never finite.)
Layout scan_syntax(std::string_view s) {
    Layout lay;
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    const bool hex = s.size() - i >= 2 && s[i] == '0' && lower(s[i + 1]) == 'x';
    if (hex) i += 2;
    lay.digits = i;
    bool (*digit)(char) = hex ? is_hex_digit : is_digit;
    std::size_t end = skip(s, i, digit);
    std::size_t count = end - i;
    if (end < s.size() && s[end] == '.') {
        lay.point = end;
        const std::size_t frac_end = skip(s, end + 1, digit);
        count += frac_end - end - 1;
        end = frac_end;
    }
    if (count == 0) return lay;
    if (end < s.size() && lower(s[end]) == (hex ? 'p' : 'e')) {
        lay.exponent = end;
        end = skip_exponent(s, end + 1);
    }
    if (end == s.size()) lay.syntax = hex ? Syntax::hex : Syntax::decimal;
    return lay;
}

// from_chars reports a result beyond the double range without saying which
// way. Out of range means a decimal order beyond ±300 (a binary order beyond
// ±1000), so the sign of a rough order settles it: the exponent plus the
// position of the first non-zero digit relative to the point.
double out_of_range_value(std::string_view s, const Layout& lay) {
    long long exp = 0;
    if (lay.exponent != std::string_view::npos) {
        std::size_t i = lay.exponent + 1;
        const bool negative = s[i] == '-';
        if (s[i] == '+' || s[i] == '-') ++i;
        for (; i < s.size(); ++i) exp = std::min(exp * 10 + (s[i] - '0'), 1000000000LL);
        if (negative) exp = -exp;
    }
    const std::size_t mant_end = std::min(lay.exponent, s.size());
    const std::size_t int_end = std::min(lay.point, mant_end);
    long long lead = 0;  // digits before the point from the first non-zero one
    std::size_t first = lay.digits;
    while (first < int_end && s[first] == '0') ++first;
    if (first < int_end) {
        lead = static_cast<long long>(std::min<std::size_t>(int_end - first, 1000000000));
    } else if (int_end < mant_end) {
        std::size_t j = int_end + 1;
        while (j < mant_end && s[j] == '0') ++j;
        lead = -static_cast<long long>(std::min<std::size_t>(j - int_end, 1000000000));
    }
    const long long order = exp + lead * (lay.syntax == Syntax::hex ? 4 : 1);
    return order > 0 ? HUGE_VAL : 0.0;
}

double read_syntax(std::string_view s, const Layout& lay) {
    const char* first = s.data() + lay.digits;
    const char* last = s.data() + s.size();
    double v = 0;
    const auto fmt = lay.syntax == Syntax::hex ? std::chars_format::hex : std::chars_format::general;
    const auto [ptr, ec] = std::from_chars(first, last, v, fmt);
    if (ec == std::errc::result_out_of_range) {
        v = out_of_range_value(s, lay);
    } else if (ec != std::errc{} || ptr != last) {
        return std::numeric_limits<double>::quiet_NaN();  // the scan and the reader disagree
    }
    return s[0] == '-' ? -v : v;
}

}  // namespace

Literal scan_number(std::string_view s, double& value) noexcept {
    value = 0;
    if (s.empty()) return Literal::none;
    double v;
    if (s.size() >= 2 && s[0] == '0' && s[1] == 'b') {
        // strtod stops at the "b", so such a text is numeric only as binary.
        if (!read_binary(s, v) || !std::isfinite(v)) return Literal::none;
        value = v;
        return Literal::binary;
    }
    const Layout lay = scan_syntax(s);
    if (lay.syntax == Syntax::none) return Literal::none;
    v = read_syntax(s, lay);
    if (!std::isfinite(v)) return Literal::none;
    value = v;
    return Literal::decimal;
}

double ato_f(std::string_view s) noexcept {
    double v;
    switch (scan_number(s, v)) {
        case Literal::decimal: return v;
        case Literal::binary: return 0.0;  // what strtod reads of "0b…"
        case Literal::none: break;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

std::int64_t ato_l(std::string_view s) noexcept {
    double v;
    const Literal kind = scan_number(s, v);
    if (kind != Literal::decimal) return 0;  // a binary literal reads as 0, as in ato_f
    std::string_view digits = s[0] == '+' ? s.substr(1) : s;
    std::int64_t n;
    const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
    if (ec == std::errc{} && ptr == digits.data() + digits.size()) return n;
    constexpr double limit = 9223372036854775808.0;  // 2^63
    if (v >= limit) return INT64_MAX;
    if (v < -limit) return INT64_MIN;
    return static_cast<std::int64_t>(v);  // truncates toward zero
}

}  // namespace ostr::text

namespace {
std::string_view view(const char* text) { return text ? std::string_view(text) : std::string_view(); }

// The C face reads as strtod does, which skips leading white space (the
// C locale's " \t\n\v\f\r"). The binary reader skips none, and strtod stops
// at the "b" of " 0b1", so such a text is no literal.
std::string_view after_space(const char* text) {
    std::string_view s = view(text);
    std::size_t k = s.find_first_not_of(" \t\n\v\f\r");
    if (k == 0 || k == std::string_view::npos) return k == 0 ? s : std::string_view();
    s.remove_prefix(k);
    if (s.size() >= 2 && s[0] == '0' && s[1] == 'b') return "b";
    return s;
}
}  // namespace

extern "C" {

int TestNumericString(const char* text, double* value) noexcept {
    double v;
    const bool ok = ostr::text::read_number(after_space(text), v);
    if (value) *value = v;
    return ok;
}

double AtoF(const char* text) noexcept { return ostr::text::ato_f(after_space(text)); }

int64_t AtoL(const char* text) noexcept { return ostr::text::ato_l(after_space(text)); }

}
