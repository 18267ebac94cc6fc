// Stand-in number text for the formula module until the number-text component is in
// the tree: the same literal forms (binary "0b", anything strtod reads completely and
// finitely) and the same written form ("0"; plain decimal for magnitudes in [1e-3, 1e4);
// otherwise mantissa, "E", signed exponent; no trailing zeros), at 15 digits.
#include "lang/formula_number.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace ostr::formula::detail {
namespace {

bool read_binary(std::string_view t, double* value) {
    if (t.size() < 2 || t[0] != '0' || t[1] != 'b') return false;
    std::string_view rest = t.substr(2);
    std::size_t point = rest.find('.');
    std::string_view whole = rest.substr(0, point);
    double v = 0;
    for (char c : whole) {
        if (c != '0' && c != '1') return false;
        v = 2 * v + (c - '0');
    }
    if (point != std::string_view::npos) {
        double w = 0.5;
        for (char c : rest.substr(point + 1)) {
            if (c != '0' && c != '1') return false;
            v += (c - '0') * w;
            w /= 2;
        }
    }
    *value = v;
    return true;
}

void clean_zeros(Text& t) {
    if (t.find('.') == Text::npos) return;
    while (t.back() == '0') t.pop_back();
    if (t.back() == '.') t.pop_back();
}

}  // namespace

bool read_number(std::string_view t, double* value) {
    *value = 0;
    if (t.empty()) return false;
    if (read_binary(t, value)) return true;
    char c = t[0] == '+' || t[0] == '-' ? (t.size() > 1 ? t[1] : ' ') : t[0];
    if (!((c >= '0' && c <= '9') || c == '.')) return false;  // no strtod on names
    Text z(t);
    char* end = nullptr;
    double v = std::strtod(z.c_str(), &end);
    if (end != z.c_str() + z.size() || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

Text number_text(double v) {
    if (v == 0) return Text("0");
    if (!std::isfinite(v)) return Text(">invalid_expression<");
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.14e", std::fabs(v));
    Text e(buf);
    std::size_t at = e.find('e');
    int k = std::atoi(e.c_str() + at + 1);
    Text out(v < 0 ? "-" : "");
    if (k >= 4 || k < -3) {
        Text m = e.substr(0, at);
        clean_zeros(m);
        out += m;
        out += 'E';
        if (k > 0) out += '+';
        out += std::to_string(k).c_str();
        return out;
    }
    std::snprintf(buf, sizeof buf, "%.*f", 14 - k, std::fabs(v));
    Text plain(buf);
    clean_zeros(plain);
    return out + plain;
}

}  // namespace ostr::formula::detail
