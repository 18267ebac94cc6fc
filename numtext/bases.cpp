// Base-2 and base-16 writing: |x| = M * 2^E with a 53-bit integer M splits
// exactly into integer bits and fraction bits; hexadecimal groups them by
// four from the point. Rounding works on the bit string, so it is exact.
#include "numtext/bases.hpp"

#include <cmath>
#include <cstdint>

namespace ostr::text {
namespace {

// Adds one unit at the last place of a digit string of '0'/'1'; true when
// the carry runs out of the front.
bool increment(Text& bits) {
    for (std::size_t k = bits.size(); k-- > 0;) {
        if (bits[k] == '0') {
            bits[k] = '1';
            return false;
        }
        bits[k] = '0';
    }
    return true;
}

Text grouped(const Text& bits, int per_digit) {
    static constexpr char digits[] = "0123456789abcdef";
    Text out;
    for (std::size_t k = 0; k < bits.size(); k += per_digit) {
        int d = 0;
        for (int j = 0; j < per_digit; ++j) d = 2 * d + (bits[k + j] - '0');
        out += digits[d];
    }
    return out;
}

}  // namespace

Text base_text(double x, int bits, int fraction_digits) {
    if (!std::isfinite(x) || (bits != 1 && bits != 4)) return {};
    int e = 0;
    const double m = std::frexp(std::fabs(x), &e);  // |x| = m * 2^e, 0.5 <= m < 1
    const std::uint64_t M = static_cast<std::uint64_t>(std::ldexp(m, 53));
    const int E = e - 53;
    Text mantissa;
    for (int k = 52; k >= 0; --k) mantissa += ((M >> k) & 1) ? '1' : '0';
    Text whole, fraction;
    if (M == 0) {
        whole = "0";
    } else if (E >= 0) {
        whole = mantissa + Text(static_cast<std::size_t>(E), '0');
    } else if (-E >= 53) {
        whole = "0";
        fraction = Text(static_cast<std::size_t>(-E - 53), '0') + mantissa;
    } else {
        whole = mantissa.substr(0, static_cast<std::size_t>(53 + E));
        fraction = mantissa.substr(static_cast<std::size_t>(53 + E));
    }
    // Whole digits from the point leftwards, fraction digits rightwards.
    while (whole.size() % bits) whole.insert(whole.begin(), '0');
    while (fraction.size() % bits) fraction += '0';
    if (fraction_digits >= 0 && fraction.size() > static_cast<std::size_t>(fraction_digits) * bits) {
        const std::size_t keep = static_cast<std::size_t>(fraction_digits) * bits;
        const bool up = fraction[keep] == '1';
        fraction.resize(keep);
        if (up && increment(fraction) && increment(whole)) whole.insert(whole.begin(), bits, '0'), whole[bits - 1] = '1';
    }
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    while (fraction.size() % bits) fraction += '0';
    while (whole.size() > static_cast<std::size_t>(bits) && whole.compare(0, bits, Text(bits, '0')) == 0)
        whole.erase(0, bits);
    Text out = x < 0 ? Text("-") : Text();
    out += bits == 1 ? Text("0b") : Text("0x");
    out += grouped(whole, bits);
    if (!fraction.empty()) out += Text(".") + grouped(fraction, bits);
    return out;
}

}  // namespace ostr::text
