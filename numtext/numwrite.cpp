// Writing number texts: DoubleString and its steps, and the further writers
// of the family (exponential, fixed-point, space-padded).
//
// Every digit comes from an exact decimal expansion: std::to_chars with a
// precision is correctly rounded from the exact binary value (as printf).
// The rounding to the requested digits then happens on that decimal text,
// half away from zero, in two steps: the exact value is first rounded to
// digits+2 significant digits, that text to digits. Together: a number is
// rounded up when the part cut off is at least 0.495 units of the last kept
// digit, so a value typed as 2.675 shows as 2.68 at 3 digits although its
// double lies a little below 2.675. Every written text is within 0.505
// units of the last digit of the exact value.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "numtext/numtext.hpp"
#include "ostravine/numtext.h"

static_assert(sizeof(Complex) == 16 && offsetof(Complex, im) == 8);

namespace ostr::text {
namespace {

// The first n significant digits of a positive finite double, rounded from
// the exact value, and the decimal exponent of the first one.
struct Digits {
    char d[max_digits + 2];
    int n;
    int exp;
};

int parse_exponent(const char* e, const char* end) {
    int exp = 0;
    std::from_chars(e + 1 + (e[1] == '+'), end, exp);
    return exp;
}

Digits exact_digits(double a, int n) {
    char buf[48];
    const auto r = std::to_chars(buf, buf + sizeof buf, a, std::chars_format::scientific, n - 1);
    Digits g;
    g.n = n;
    g.d[0] = buf[0];
    if (n > 1) std::memcpy(g.d + 1, buf + 2, static_cast<std::size_t>(n - 1));
    g.exp = parse_exponent(buf + (n > 1 ? n + 1 : 1), r.ptr);
    return g;
}

// floor(log10(a)), exactly. 31 significant digits cannot round a double up
// to the next power of ten: no double lies closer than 1.6e-19 (relative)
// to a power of ten it is not equal to (checked over all of them in tests).
int decimal_order(double a) {
    char buf[64];
    const auto r = std::to_chars(buf, buf + sizeof buf, a, std::chars_format::scientific, 30);
    return parse_exponent(std::find(buf, r.ptr, 'e'), r.ptr);
}

// Adds one unit in the last digit of the decimal text t[begin, end), which
// holds digits and at most one point. Returns true when the carry ran out
// of the front (all nines); the caller then puts a "1" in front.
bool increment(char* begin, char* end) {
    for (char* p = end; p != begin;) {
        --p;
        if (*p == '.') continue;
        if (*p != '9') {
            ++*p;
            return false;
        }
        *p = '0';
    }
    return true;
}

// Rounds g to d < g.n digits, half away from zero on the digit text.
// Returns true when it carried into a new power of ten.
bool round_digits(Digits& g, int d) {
    const bool up = g.d[d] >= '5';
    g.n = d;
    if (!up || !increment(g.d, g.d + d)) return false;
    g.d[0] = '1';  // the rest are zeros now
    ++g.exp;
    return true;
}

bool is_power_of_ten(const Digits& g) {
    return g.d[0] == '1' && std::all_of(g.d + 1, g.d + g.n, [](char c) { return c == '0'; });
}

// Whether the digits, read as a number, round to infinity: the largest
// double is 1.7976931348623157E+308 and anything from halfway to the next
// power of two up overflows.
bool rounds_past_max(const Digits& g) {
    if (g.exp > 308) return true;
    static constexpr char threshold[] = "17976931348623158079";  // ...0799e308 rounds down
    return std::string_view(g.d, static_cast<std::size_t>(g.n)) > threshold;
}

struct Writer {
    NumberText t{};
    void put(char c) { t.data[t.size++] = c; }
    void put(const char* s, int n) {
        std::memcpy(t.data + t.size, s, static_cast<std::size_t>(n));
        t.size = static_cast<unsigned char>(t.size + n);
    }
    NumberText done() {
        t.data[t.size] = '\0';
        return t;
    }
};

NumberText fixed(std::string_view s) {
    Writer w;
    w.put(s.data(), static_cast<int>(s.size()));
    return w.done();
}

// 10^-3 <= |v| < 10^4: digits around the point, zeros as needed.
void write_plain(Writer& w, const Digits& g) {
    if (g.exp < 0) {
        w.put("0.000", 1 - g.exp);
        w.put(g.d, g.n);
        return;
    }
    const int whole = g.exp + 1;
    w.put(g.d, std::min(whole, g.n));
    for (int i = g.n; i < whole; ++i) w.put('0');
    if (g.n > whole) {
        w.put('.');
        w.put(g.d + whole, g.n - whole);
    }
}

// Mantissa, "E", signed exponent. A mantissa that carried to the next power
// of ten is written "1.0": the ".0" tells that rounding went up to it.
void write_exponent(Writer& w, const Digits& g, bool carried) {
    w.put(g.d[0]);
    if (carried) {
        w.put(".0", 2);
    } else if (g.n > 1) {
        w.put('.');
        w.put(g.d + 1, g.n - 1);
    }
    w.put('E');
    w.put(g.exp < 0 ? '-' : '+');
    char buf[8];
    const auto r = std::to_chars(buf, buf + sizeof buf, std::abs(g.exp));
    w.put(buf, static_cast<int>(r.ptr - buf));
}

NumberText write_number(double v, int digits, bool always_exponent) {
    if (!std::isfinite(v)) return fixed(invalid_expression);
    if (v == 0) return fixed(always_exponent ? "0E+0" : "0");
    digits = std::clamp(digits, 1, max_digits);
    const double a = std::fabs(v);
    // The form follows the value itself, not its rounded text: 0.001 as a
    // double lies just above 10^-3, its predecessor just below.
    const bool plain = !always_exponent && a >= 1e-3 && a < 1e4;
    // The first rounding keeps digits+2 significant digits; in the plain
    // form it cannot drop integer digits (it is "%.Nf"), so one digit of
    // 1000..9999 is rounded from all four.
    const int first = plain && a >= 1000 ? std::max(digits + 2, 4) : digits + 2;
    Digits g = exact_digits(a, first);
    // The first rounding may itself have carried up to a power of ten.
    bool carried = !plain && is_power_of_ten(g) && decimal_order(a) < g.exp;
    carried = round_digits(g, digits) || carried;
    // Near the top of the range a text rounded up may lie beyond the largest
    // double and read back as infinity, which is no numeric literal; such a
    // text is cut instead (still within one unit of the last digit).
    if (g.exp >= 308 && rounds_past_max(g)) {
        g = exact_digits(a, max_digits + 2);
        g.n = digits;
        carried = false;
    }
    while (g.n > 1 && g.d[g.n - 1] == '0') --g.n;
    Writer w;
    if (v < 0) w.put('-');
    if (plain) {
        write_plain(w, g);
    } else {
        write_exponent(w, g, carried);
    }
    return w.done();
}

// Rounds the fixed-point text s (digits, point, at least two fraction
// digits) by dropping its last two digits, half away from zero.
void drop_two_digits(Text& s) {
    const bool up = s[s.size() - 2] >= '5';
    s.resize(s.size() - 2);
    if (s.back() == '.') s.pop_back();
    if (up && increment(s.data(), s.data() + s.size())) s.insert(s.begin(), '1');
}

// "e" or "E", an optional sign and at least one digit.
bool is_exponent(std::string_view s) {
    if (s.size() < 2 || (s[0] | 0x20) != 'e') return false;
    const std::size_t i = 1 + (s[1] == '+' || s[1] == '-');
    return i < s.size() && s.find_first_not_of("0123456789", i) == std::string_view::npos;
}

// The exponent letter of a number text: "p" after a "0x" prefix, else "e".
std::size_t exponent_position(std::string_view s) {
    const std::size_t i = !s.empty() && (s[0] == '+' || s[0] == '-');
    const bool hex = s.size() - i >= 2 && s[i] == '0' && (s[i + 1] | 0x20) == 'x';
    return s.find_first_of(hex ? "pP" : "eE");
}

}  // namespace

NumberText number_text(double value, int digits) noexcept { return write_number(value, digits, false); }

NumberText exponential_text(double value, int digits) noexcept {
    return write_number(value, digits, true);
}

Text decimal_text(double value, int digits) {
    if (!std::isfinite(value)) return Text(invalid_expression);
    if (value == 0) return Text("0");
    digits = std::clamp(digits, 1, 800);
    const double a = std::fabs(value);
    const int decimals = std::max(0, digits - 1 - decimal_order(a));
    Text t(static_cast<std::size_t>(decimals) + 340, '\0');
    const auto r = std::to_chars(t.data() + 1, t.data() + t.size(), a, std::chars_format::fixed, decimals);
    t.resize(static_cast<std::size_t>(r.ptr - t.data()));
    if (value < 0) {
        t[0] = '-';
        return t;
    }
    return t.substr(1);
}

Text round_text(std::string_view s, int digits) {
    digits = std::max(digits, 1);
    Text t(s);
    const std::size_t sign = !t.empty() && (t[0] == '+' || t[0] == '-');
    // The mantissa [sign, end): digits and at most one point.
    std::size_t end = sign;
    std::size_t point = std::string_view::npos;
    for (; end < t.size(); ++end) {
        if (t[end] == '.' && point == std::string_view::npos) {
            point = end;
        } else if (t[end] < '0' || t[end] > '9') {
            break;
        }
    }
    const std::string_view suffix = std::string_view(t).substr(end);
    if (!suffix.empty() && !is_exponent(suffix)) return t;
    if (point == std::string_view::npos) point = end;
    // Past the last kept significant digit, then the first dropped digit.
    std::size_t keep = t.find_first_of("123456789", sign);
    if (keep >= end) return t;
    for (int count = 0; keep < end && count < digits; ++keep) count += t[keep] != '.';
    std::size_t next = keep < end && t[keep] == '.' ? keep + 1 : keep;
    if (next >= end) return t;
    const bool up = t[next] >= '5';
    Text out(t.data(), keep);
    if (up && increment(out.data() + sign, out.data() + out.size())) out.insert(sign, 1, '1');
    if (keep < point) out.append(point - keep, '0');
    out.append(suffix);
    return out;
}

Text clean_zeros(std::string_view s) {
    const std::size_t exp = std::min(exponent_position(s), s.size());
    std::string_view mantissa = s.substr(0, exp);
    if (mantissa.find('.') == std::string_view::npos) return Text(s);
    while (!mantissa.empty() && mantissa.back() == '0') mantissa.remove_suffix(1);
    if (!mantissa.empty() && mantissa.back() == '.') mantissa.remove_suffix(1);
    Text t(mantissa);
    if (t.empty() || t == "-" || t == "+") t += '0';  // ".000" is still a number
    t.append(s.substr(exp));
    return t;
}

Text fixed_text(double value, int decimals) {
    if (!std::isfinite(value)) return Text(invalid_expression);
    decimals = std::clamp(decimals, 0, 99);
    // Room for 309 integer digits, the point and the fraction.
    char buf[420];
    const auto r = std::to_chars(buf, buf + sizeof buf, std::fabs(value), std::chars_format::fixed,
                                 decimals + 2);
    Text t(buf, r.ptr);
    drop_two_digits(t);
    const bool zero = t.find_first_of("123456789") == Text::npos;
    if (std::signbit(value) && !zero) t.insert(t.begin(), '-');
    return t;
}

Text padded_fixed_text(double value, int decimals, int width) {
    Text t = fixed_text(value, decimals);
    const std::size_t w = static_cast<std::size_t>(std::clamp(width, 0, 1024));
    if (t.size() < w) t.insert(0, w - t.size(), ' ');
    return t;
}

char** complex_strings(const Complex& z, int digits) noexcept {
    digits = std::min(digits, 15);
    OwnedBlock<char*> list(static_cast<char**>(mem_alloc(3 * sizeof(char*))));
    OwnedText re(dup_text(number_text(z.re, digits).view()));
    OwnedText im(dup_text(number_text(z.im, digits).view()));
    OwnedText end(dup_text(""));
    if (!list || !re || !im || !end) return nullptr;
    list.get()[0] = re.release();
    list.get()[1] = im.release();
    list.get()[2] = end.release();
    return list.release();
}

}  // namespace ostr::text

extern "C" {

char* DoubleString(double value, int digits) noexcept {
    return ostr::dup_text(ostr::text::number_text(value, digits).view());
}

char* DoubleStringExponential(double value, int digits) noexcept {
    return ostr::dup_text(ostr::text::exponential_text(value, digits).view());
}

char* DoubleStringDecimal(double value, int digits) noexcept {
    return ostr::dup_text(ostr::text::decimal_text(value, digits));
}

char* DoubleStringRound(const char* text, int digits) noexcept {
    return text ? ostr::dup_text(ostr::text::round_text(text, digits)) : nullptr;
}

char* DoubleStringCleanZeros(const char* text) noexcept {
    return text ? ostr::dup_text(ostr::text::clean_zeros(text)) : nullptr;
}

char* RoundDoubleString(double value, int decimals) noexcept {
    return ostr::dup_text(ostr::text::fixed_text(value, decimals));
}

char* RoundDoubleStringWithSpacePadding(double value, int decimals, int width) noexcept {
    return ostr::dup_text(ostr::text::padded_fixed_text(value, decimals, width));
}

char** ComplexString(const Complex* z, int digits) noexcept {
    return z ? ostr::text::complex_strings(*z, digits) : nullptr;
}

}
