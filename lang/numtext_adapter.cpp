// Stand-in for the number-text component until it is part of the build: the
// same rules for what counts as a numeric literal and how a double is
// written, kept small. Only this file changes when the component arrives.
#include "lang/numtext_adapter.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ostr::lang {
namespace {

// "0b" binary digits with an optional point and fraction; "0b" alone is 0.
bool binary_literal(std::string_view t, double* value) {
    if (t.size() < 2 || t[0] != '0' || t[1] != 'b') return false;
    double v = 0, w = 0.5;
    bool point = false;
    for (char c : t.substr(2)) {
        if (c == '.' && !point) { point = true; continue; }
        if (c != '0' && c != '1') return false;
        if (point) { v += (c == '1') * w; w *= 0.5; }
        else v = 2 * v + (c == '1');
    }
    if (value) *value = v;
    return true;
}

}  // namespace

bool is_numeric_literal(std::string_view t, double* value) {
    if (binary_literal(t, value)) return true;
    if (t.empty() || t.size() > 4096) return false;
    // Only the characters strtod can consume completely in a finite number;
    // this also keeps "inf", "nan" and leading spaces out.
    for (char c : t)
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '.' ||
              c == '+' || c == '-' || c == 'x' || c == 'X' || c == 'p' || c == 'P'))
            return false;
    Text copy(t);
    char* end = nullptr;
    double v = std::strtod(copy.c_str(), &end);
    if (end != copy.c_str() + copy.size() || !std::isfinite(v)) return false;
    if (value) *value = v;
    return true;
}

// Drops trailing fraction zeros and then a trailing point.
std::size_t clean_zeros(const char* m, std::size_t n) {
    if (std::string_view(m, n).find('.') == std::string_view::npos) return n;
    while (n > 0 && m[n - 1] == '0') --n;
    if (n > 0 && m[n - 1] == '.') --n;
    return n;
}

Text number_text(double v, int digits) {
    if (v == 0) return Text("0");
    if (!std::isfinite(v)) return Text(">invalid_expression<");
    if (digits < 1) digits = 1;
    if (digits > 17) digits = 17;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", digits - 1, v);
    char* e = std::strchr(buf, 'e');
    int k = std::atoi(e + 1);
    if (k >= 4 || k < -3) {
        Text out(buf, clean_zeros(buf, static_cast<std::size_t>(e - buf)));
        char exp[16];
        std::snprintf(exp, sizeof exp, k > 0 ? "E+%d" : "E%d", k);
        out += exp;
        return out;
    }
    int n = std::snprintf(buf, sizeof buf, "%.*f", digits - 1 - k, v);
    return Text(buf, clean_zeros(buf, static_cast<std::size_t>(n)));
}

}  // namespace ostr::lang
