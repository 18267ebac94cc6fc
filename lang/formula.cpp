// A minimal formula arithmetic that keeps the evaluator buildable until the
// formula component lands: numbers are folded, the identities with 0 and 1
// are applied, and every other operand is parenthesised. Correct, not pretty.
#include "lang/formula.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ostr::formula {
namespace {

bool atom(std::string_view t) {
    if (t.empty()) return false;
    if (is_number(t) && t.front() != '-' && t.front() != '+') return true;
    for (char c : t)
        if (std::string_view(",+-*/^!'()=[]:;~&|<>.@#\"").find(c) != std::string_view::npos) return false;
    return true;
}

Text wrap(std::string_view t) {
    if (atom(t)) return Text(t);
    Text w("(");
    w += t;
    w += ')';
    return w;
}

Text number(double v) {
    if (v == 0) v = 0;  // no "-0"
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.15g", v);
    return Text(buf);
}

bool is(std::string_view t, double want) {
    double v;
    return is_number(t, &v) && v == want;
}

}  // namespace

bool is_number(std::string_view t, double* value) {
    if (t.empty() || t.size() > 64) return false;
    char buf[80];
    std::memcpy(buf, t.data(), t.size());
    buf[t.size()] = '\0';
    for (char c : t)
        if (!((c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-')) return false;
    char* end = nullptr;
    double v = std::strtod(buf, &end);
    if (end != buf + t.size() || !std::isfinite(v)) return false;
    if (value) *value = v;
    return true;
}

Text negate(std::string_view a) {
    double v;
    if (is_number(a, &v)) return number(-v);
    if (a.size() > 1 && a.front() == '-' && atom(a.substr(1))) return Text(a.substr(1));
    Text t("-");
    t += wrap(a);
    return t;
}

Text combine(std::string_view a, char op, std::string_view b) {
    double x, y;
    if (is_number(a, &x) && is_number(b, &y)) {
        double r = op == '+' ? x + y : op == '-' ? x - y : op == '*' ? x * y : op == '/' ? x / y : std::pow(x, y);
        if (std::isfinite(r)) return number(r);
    }
    switch (op) {
    case '+':
        if (is(a, 0)) return Text(b);
        if (is(b, 0)) return Text(a);
        break;
    case '-':
        if (is(b, 0)) return Text(a);
        if (is(a, 0)) return negate(b);
        break;
    case '*':
        if (is(a, 0) || is(b, 0)) return Text("0");
        if (is(a, 1)) return Text(b);
        if (is(b, 1)) return Text(a);
        break;
    case '/':
        if (is(b, 1)) return Text(a);
        break;
    case '^':
        if (is(b, 1)) return Text(a);
        if (is(b, 0)) return Text("1");
        break;
    }
    Text t(op == '+' || op == '-' ? Text(a) : wrap(a));
    t += op;
    t += op == '+' ? Text(b) : wrap(b);
    return t;
}

std::optional<TextPair> combine_pair(const TextPair& a, char op, const TextPair& b) {
    bool real = is(a.im, 0) && is(b.im, 0);
    switch (op) {
    case '+':
    case '-': return TextPair{combine(a.re, op, b.re), combine(a.im, op, b.im)};
    case '*':
        if (real) return TextPair{combine(a.re, '*', b.re), Text("0")};
        return TextPair{combine(combine(a.re, '*', b.re), '-', combine(a.im, '*', b.im)),
                        combine(combine(a.re, '*', b.im), '+', combine(a.im, '*', b.re))};
    case '/': {
        if (is(b.im, 0)) return TextPair{combine(a.re, '/', b.re), combine(a.im, '/', b.re)};
        Text den = combine(combine(b.re, '^', "2"), '+', combine(b.im, '^', "2"));
        Text re = combine(combine(a.re, '*', b.re), '+', combine(a.im, '*', b.im));
        Text im = combine(combine(a.im, '*', b.re), '-', combine(a.re, '*', b.im));
        return TextPair{combine(re, '/', den), combine(im, '/', den)};
    }
    case '^': {
        if (real) return TextPair{combine(a.re, '^', b.re), Text("0")};
        double n;
        if (!is(b.im, 0) || !is_number(b.re, &n) || n < 0 || n > 16 || n != std::floor(n)) return std::nullopt;
        TextPair r{Text("1"), Text("0")};
        for (int k = 0; k < static_cast<int>(n); ++k) r = *combine_pair(r, '*', a);
        return r;
    }
    default: return std::nullopt;
    }
}

TextPair conjugate(const TextPair& a) { return {a.re, negate(a.im)}; }

}  // namespace ostr::formula
