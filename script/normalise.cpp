// Normalisation of a script text before it is classified: trimming, quoted
// strings lifted into placeholders, white space removed, redundant
// parentheses removed, the implicit "," and "*" inserted, "[]" written as
// the empty array literal. And the way back: placeholders in a result text
// turned into quoted strings again.
#include <algorithm>
#include <charconv>

#include "grammar/scan.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

bool is_space(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// A double quote counts (opens or closes a string) when the run of
// backslashes directly before it has even length.
bool even_run(std::string_view t, std::size_t at) noexcept {
    std::size_t n = 0;
    while (n < at && t[at - 1 - n] == '\\') ++n;
    return n % 2 == 0;
}

// The escapes of a string literal: \" \\ \n \t; a backslash before any
// other character stays as written.
Text unescape(std::string_view s) {
    Text out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '\\' || i + 1 == s.size()) { out += s[i]; continue; }
        switch (s[i + 1]) {
        case '"': out += '"'; break;
        case '\\': out += '\\'; break;
        case 'n': out += '\n'; break;
        case 't': out += '\t'; break;
        default: out += s[i]; continue;
        }
        ++i;
    }
    return out;
}

// Outside strings, "%" starts a comment to the end of the line: no
// operator, bracket or separator uses it.
constexpr char comment_mark = '%';

// Lifts the strings out of t and drops white space. False for an
// unterminated string or a byte reserved for placeholder names.
bool lift(std::string_view t, Arbenv* env, Text& out) {
    out.reserve(t.size());
    bool seen_quote = false;
    for (std::size_t i = 0; i < t.size(); ++i) {
        char c = t[i];
        if (static_cast<unsigned char>(c) == 0xFF) return false;
        if (is_space(c)) continue;
        if (c == comment_mark) break;
        if (c != '"') { out += c; continue; }
        // The first quote of the text always opens a string, even after a
        // backslash; a later one outside a string only when unescaped.
        if (seen_quote && !even_run(t, i)) { out += c; continue; }
        seen_quote = true;
        std::size_t end = i + 1;
        while (end < t.size() && !(t[end] == '"' && even_run(t, end))) ++end;
        if (end == t.size()) return false;
        Text name = lift_string(unescape(t.substr(i + 1, end - i - 1)), env);
        if (name.empty()) return false;
        out += name;
        i = end;
    }
    return true;
}

// After ";" a "," is implied, after ")" a "*", after "]" a ",", unless
// what follows is "=", an operator, a closer or a separator. Openers do
// not stop it: (a)(b) is a product and if:c,s;(x) two statements; but "["
// after "]" is the next index of a[i][j], and "[" after the ")" of a call
// (a name or method name before its "(") indexes what the call answers:
// s.split(",")[2]. A bracketed expression times an array, (x)[1,2], stays
// a product.
constexpr std::string_view implicit_stop = ",+-*/^!'=)];:~&|<>.@#\"";

bool name_char(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Whether the ")" at i closes the argument list of a call.
bool closes_call(std::string_view t, std::size_t i, std::vector<std::uint32_t>& jumps) {
    if (jumps.empty()) jumps = lang::scan::bracket_jumps(t);
    if (jumps.empty() || jumps[i] > i) return false;
    const std::size_t open = i - jumps[i];
    return open > 0 && name_char(t[open - 1]);
}

Text insert_implicit(std::string_view t) {
    Text out;
    out.reserve(t.size() + t.size() / 8);
    std::vector<std::uint32_t> jumps;  // made at the first ")[" only
    for (std::size_t i = 0; i < t.size(); ++i) {
        char c = t[i];
        out += c;
        if (i + 1 == t.size() || implicit_stop.find(t[i + 1]) != std::string_view::npos) continue;
        if (c == ';' || (c == ']' && t[i + 1] != '[')) out += ',';
        else if (c == ')' && !(t[i + 1] == '[' && closes_call(t, i, jumps))) out += '*';
    }
    return out;
}

Text empty_arrays(Text t) {
    if (t.find("[]") == Text::npos) return t;
    Text out;
    out.reserve(t.size() + 16);
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (t[i] == '[' && i + 1 < t.size() && t[i + 1] == ']') {
            out += "array:0;";
            ++i;
        } else {
            out += t[i];
        }
    }
    return out;
}

obj::ObjectTable& placeholder_table(Arbenv* env) {
    Arbenv* top = obj::top_level_of(env);
    if (!top->placeholders) top->placeholders = std::make_unique<obj::ObjectTable>();
    return *top->placeholders;
}

}  // namespace

Text lift_string(std::string_view content, Arbenv* env) {
    obj::ObjectTable& table = placeholder_table(env);
    // "\xFF" digits "\xFF": a plain name to the evaluator that no user can
    // type (the byte is refused outside strings), closed at both ends so
    // that no name is the prefix of another.
    char digits[24];
    auto r = std::to_chars(digits, digits + sizeof digits, table.size());
    Text name("\xFF");
    name.append(digits, r.ptr);
    name += '\xFF';
    obj::Object* o = make_string(content, name, obj::top_level_of(env));
    if (!o) return {};
    obj::put(table, name, o);
    return name;
}

bool normalise(std::string_view text, Arbenv* env, Text& out) {
    std::size_t b = 0, e = text.size();
    while (b < e && is_space(text[b])) ++b;
    while (e > b && is_space(text[e - 1])) --e;
    std::string_view t = text.substr(b, e - b);
    if (t == ".") return false;
    if (t.size() > limits().max_line_bytes) {
        abort(env, "line too long");
        return false;
    }
    Text lifted;
    if (!lift(t, env, lifted)) return false;
    out = empty_arrays(insert_implicit(strip_wrappers(lifted, '(', ')')));
    return true;
}

// Every placeholder name is closed by its own "\xFF", so no name is the
// prefix of another and one left-to-right pass replaces them all: the same
// result as replacing name by name from the last in sorted order to the
// first, without a pass per name.
Text substitute(std::string_view text, Arbenv* env) {
    if (text.find('\xFF') == std::string_view::npos) return Text(text);
    const obj::ObjectTable& table = placeholder_table(env);
    Text out;
    out.reserve(text.size() + 16);
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::size_t end = i + 1 < text.size() ? text.find('\xFF', i + 1) : std::string_view::npos;
        if (text[i] != '\xFF' || end == std::string_view::npos) { out += text[i]; continue; }
        std::string_view name = text.substr(i, end - i + 1);
        auto it = table.find(name);
        if (it == table.end()) { out += name; i = end; continue; }
        // Only lifted strings live here: they print quoted.
        out += obj::print(it->second, 15);
        i = end;
    }
    return out;
}

}  // namespace ostr::script
