// The methods of strings: one table of {name, arity, function}, the UTF-8
// character walk the methods share, and the dispatcher that reads a text
// receiver.name(arguments), evaluates its parts and runs the table's row.
#include "script/string_methods.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>

#include "grammar/operators.hpp"
#include "grammar/scan.hpp"
#include "numtext/numtext_adapter.hpp"
#include "script/containers.hpp"
#include "script/script.hpp"

namespace ostr::script {

// ---- characters ----

namespace {

bool continuation(std::string_view s, std::size_t i, unsigned char lo = 0x80, unsigned char hi = 0xBF) noexcept {
    if (i >= s.size()) return false;
    auto c = static_cast<unsigned char>(s[i]);
    return c >= lo && c <= hi;
}

}  // namespace

// The well-formed sequences of UTF-8: no overlong forms (C0, C1, E0 80..9F,
// F0 80..8F), no surrogates (ED A0..BF), nothing past U+10FFFF (F4 90..).
std::size_t next_char(std::string_view s, std::size_t i) noexcept {
    auto c = static_cast<unsigned char>(s[i]);
    if (c < 0x80) return i + 1;
    if (c >= 0xC2 && c <= 0xDF) return continuation(s, i + 1) ? i + 2 : i + 1;
    if (c >= 0xE0 && c <= 0xEF) {
        unsigned char lo = c == 0xE0 ? 0xA0 : 0x80, hi = c == 0xED ? 0x9F : 0xBF;
        return continuation(s, i + 1, lo, hi) && continuation(s, i + 2) ? i + 3 : i + 1;
    }
    if (c >= 0xF0 && c <= 0xF4) {
        unsigned char lo = c == 0xF0 ? 0x90 : 0x80, hi = c == 0xF4 ? 0x8F : 0xBF;
        return continuation(s, i + 1, lo, hi) && continuation(s, i + 2) && continuation(s, i + 3) ? i + 4 : i + 1;
    }
    return i + 1;
}

namespace {

bool ascii8(const char* p) noexcept {
    std::uint64_t w;
    std::memcpy(&w, p, 8);
    return (w & 0x8080808080808080u) == 0;
}

}  // namespace

// Runs of ASCII are counted eight bytes at a time: find() on a long text
// is mostly this count.
std::size_t char_count(std::string_view s) noexcept {
    std::size_t n = 0;
    for (std::size_t i = 0; i < s.size();) {
        if (i + 8 <= s.size() && ascii8(s.data() + i)) {
            n += 8;
            i += 8;
            continue;
        }
        i = next_char(s, i);
        ++n;
    }
    return n;
}

namespace {

bool well_formed(std::string_view s) noexcept {
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t next = next_char(s, i);
        if (next == i + 1 && static_cast<unsigned char>(s[i]) >= 0x80) return false;
        i = next;
    }
    return true;
}

// Calls visit(at) for each occurrence of part (not empty) in s, from the
// left, not overlapping, that begins and ends on character boundaries, until
// visit answers false. A well-formed part cannot begin inside a character
// of s (it does not begin with a continuation byte) nor end inside one (its
// last sequence is complete), so every byte match counts and the search
// runs at the speed of find; only a part that holds stray bytes, which a
// decoded Base64 text may, needs the walk over the characters of s.
template <class Visit>
void each_occurrence(std::string_view s, std::string_view part, Visit visit) {
    const bool plain = well_formed(part);
    std::size_t cursor = 0;  // a character boundary at or before every candidate
    for (std::size_t at = s.find(part); at != std::string_view::npos;) {
        std::size_t end = at + part.size();
        if (!plain) {
            while (cursor < at) cursor = next_char(s, cursor);
            std::size_t stop = cursor;
            if (cursor == at)
                while (stop < end) stop = next_char(s, stop);
            if (cursor != at || stop != end) {
                at = s.find(part, at + 1);
                continue;
            }
            cursor = end;
        }
        if (!visit(at)) return;
        at = s.find(part, end);
    }
}

}  // namespace

std::vector<std::size_t> occurrences(std::string_view s, std::string_view part, std::size_t limit) {
    std::vector<std::size_t> found;
    if (limit == 0) return found;
    each_occurrence(s, part, [&](std::size_t at) {
        found.push_back(at);
        return found.size() < limit;
    });
    return found;
}

std::vector<std::string_view> split_pieces(std::string_view s, std::string_view sep) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    each_occurrence(s, sep, [&](std::size_t at) {
        pieces.push_back(s.substr(start, at - start));
        start = at + sep.size();
        return true;
    });
    pieces.push_back(s.substr(start));
    return pieces;
}

bool string_arg(const lang::Value& v, std::string_view& out) noexcept {
    if (v.kind != lang::Value::Kind::object || !v.obj || v.obj->tag != obj::string) return false;
    out = obj::text_value(v.obj.get());
    return true;
}

lang::Value string_result(std::string_view text, Arbenv* env) {
    if (text.size() > limits().max_string_bytes) return abort_value(env, "string too long");
    return lang::Value::object_of(lang::ObjectPtr(make_string(text, "", env)));
}

namespace {

using lang::Value;

// ---- arguments and results ----

// A real whole number (positions and counts).
bool whole_arg(const Value& v, std::int64_t& out) noexcept {
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) ||
        std::fabs(v.num.re) > 9007199254740992.0)
        return false;
    out = static_cast<std::int64_t>(v.num.re);
    return true;
}

Value count_result(std::size_t n) { return Value::number({static_cast<double>(n), 0}); }

// The byte offset of character `k` (0-based), or npos past the end + 1.
std::size_t char_offset(std::string_view s, std::int64_t k) noexcept {
    std::size_t at = 0;
    for (; k > 0 && at < s.size(); --k) at = next_char(s, at);
    return k == 0 ? at : std::string_view::npos;
}

// ---- the methods ----

Value length(std::string_view self, std::span<Value>, Arbenv*) { return count_result(char_count(self)); }

Value bytes(std::string_view self, std::span<Value>, Arbenv*) { return count_result(self.size()); }

// substring(i, n): n characters from the i-th (1-based). i may be one past
// the last character (giving the empty text); nothing may reach beyond.
Value substring(std::string_view self, std::span<Value> args, Arbenv* env) {
    std::int64_t i, n = -1;
    if (!whole_arg(args[0], i) || i < 1) return Value::failure();
    if (args.size() > 1 && (!whole_arg(args[1], n) || n < 0)) return Value::failure();
    std::size_t begin = char_offset(self, i - 1);
    if (begin == std::string_view::npos) return Value::failure();
    std::string_view rest = self.substr(begin);
    if (n < 0) return string_result(rest, env);
    std::size_t end = char_offset(rest, n);
    if (end == std::string_view::npos) return Value::failure();
    return string_result(rest.substr(0, end), env);
}

// find(t): the character position (1-based) of the first occurrence, 0 when
// there is none; the empty text is found at 1.
Value find(std::string_view self, std::span<Value> args, Arbenv*) {
    std::string_view t;
    if (!string_arg(args[0], t)) return Value::failure();
    if (t.empty()) return count_result(1);
    std::size_t first = std::string_view::npos;
    each_occurrence(self, t, [&](std::size_t at) {
        first = at;
        return false;
    });
    return count_result(first == std::string_view::npos ? 0 : char_count(self.substr(0, first)) + 1);
}

// replace(a, b): every occurrence of a, from the left, not overlapping.
// One pass counts, so an oversized result is refused before anything is
// built; a second pass builds.
Value replace(std::string_view self, std::span<Value> args, Arbenv* env) {
    std::string_view a, b;
    if (!string_arg(args[0], a) || !string_arg(args[1], b) || a.empty()) return Value::failure();
    std::size_t count = 0;
    each_occurrence(self, a, [&](std::size_t) {
        ++count;
        return true;
    });
    const std::size_t size = self.size() - count * a.size() + count * b.size();
    if (size > limits().max_string_bytes) return abort_value(env, "string too long");
    Text out;
    out.reserve(size);
    std::size_t start = 0;
    each_occurrence(self, a, [&](std::size_t at) {
        out.append(self.substr(start, at - start)).append(b);
        start = at + a.size();
        return true;
    });
    out.append(self.substr(start));
    return string_result(out, env);
}

// split(sep): the pieces between the occurrences of sep, as an array of
// strings (one more piece than occurrences, so "" gives [""]). The pieces
// are strings of no environment, as every element of an array is.
Value split(std::string_view self, std::span<Value> args, Arbenv* env) {
    std::string_view sep;
    if (!string_arg(args[0], sep) || sep.empty()) return Value::failure();
    std::vector<std::string_view> pieces = split_pieces(self, sep);
    if (pieces.size() > obj::max_container_items) return too_large(env);
    std::unique_ptr<obj::ArrayValue, void (*)(void*)> block(obj::new_array(), obj::array_handlers().free);
    if (!block) return Value::failure();
    block->items.reserve(pieces.size());
    for (std::string_view p : pieces) {
        obj::Object* o = make_string(p, "", nullptr);
        if (!o) return Value::failure();
        block->items.push_back({{0, 0}, o});
    }
    return lang::array_value(block.release());
}

// ASCII letters only: every other byte, and so every multi-byte character,
// stays as it is.
template <char From, char To>
Value fold_case(std::string_view self, std::span<Value>, Arbenv* env) {
    Text out(self);
    for (char& c : out)
        if (c >= From && c < From + 26) c = static_cast<char>(c - From + To);
    return string_result(out, env);
}

bool space(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view s) noexcept {
    while (!s.empty() && space(s.front())) s.remove_prefix(1);
    while (!s.empty() && space(s.back())) s.remove_suffix(1);
    return s;
}

Value trim(std::string_view self, std::span<Value>, Arbenv* env) { return string_result(trimmed(self), env); }

}  // namespace

std::optional<double> number_of_text(std::string_view s) {
    s = trimmed(s);
    bool negative = !s.empty() && s.front() == '-';
    if (!s.empty() && (s.front() == '-' || s.front() == '+')) s.remove_prefix(1);
    double v;
    if (!lang::is_numeric_literal(s, &v)) return std::nullopt;
    return negative ? 0.0 - v : v;
}

namespace {

Value number(std::string_view self, std::span<Value>, Arbenv*) {
    std::optional<double> v = number_of_text(self);
    return v ? Value::number({*v, 0}) : Value::failure();
}

// The table, in alphabetical order. Methods that take positions count
// characters; only bytes() counts bytes.
constexpr StringMethod methods[] = {
    {"bytes", 0, bytes},
    {"find", 1, find},
    {"length", 0, length},
    {"lower", 0, fold_case<'A', 'a'>},
    {"number", 0, number},
    {"replace", 2, replace},
    {"split", 1, split},
    {"substring", 1, substring},
    {"substring", 2, substring},
    {"trim", 0, trim},
    {"upper", 0, fold_case<'a', 'A'>},
};

// ---- the call syntax ----

struct MethodText {
    std::string_view receiver, name, args;
};

// The opener that pairs with the closer ending t, over the three bracket
// pairs together; the evaluator hands over balanced texts only.
std::size_t opener_of_last(std::string_view t) noexcept {
    std::size_t depth = 0;
    for (std::size_t i = t.size(); i-- > 0;) {
        if (lang::ops::in(lang::ops::closers, t[i])) ++depth;
        else if (lang::ops::in(lang::ops::openers, t[i]) && --depth == 0) return i;
    }
    return std::string_view::npos;
}

// receiver "." name "(" arguments ")" with a plain name and a receiver.
std::optional<MethodText> method_text(std::string_view t) {
    // Every call of a user function passes here: a text without a dot is
    // turned away before any bracket is walked.
    if (t.size() < 5 || t.back() != ')' || t.find('.') == std::string_view::npos) return std::nullopt;
    std::size_t open = opener_of_last(t);
    if (open == std::string_view::npos || open < 3 || t[open] != '(') return std::nullopt;
    std::size_t dot = t.rfind('.', open - 1);
    if (dot == std::string_view::npos || dot == 0) return std::nullopt;
    std::string_view name = t.substr(dot + 1, open - dot - 1);
    if (!lang::scan::is_plain_name(name)) return std::nullopt;
    return MethodText{t.substr(0, dot), name, t.substr(open + 1, t.size() - open - 2)};
}

// An error in the receiver or an argument is the call's value; an abort
// stays visible.
Value passed_on(const Value& v) {
    return Value::failure(v.error == lang::Error::evaluation_aborted ? v.error : lang::Error::invalid_expression);
}

}  // namespace

std::span<const StringMethod> string_methods() noexcept { return methods; }

const StringMethod* find_string_method(std::string_view name, std::size_t arity) noexcept {
    for (const StringMethod& m : methods)
        if (m.name == name && static_cast<std::size_t>(m.arity) == arity) return &m;
    return nullptr;
}

namespace {

// The evaluated arguments; an error among them is the call's value.
std::optional<Value> arguments(std::string_view text, Arbenv* env, std::vector<Value>& out) {
    out = lang::evaluate_list(text, env);
    for (const Value& a : out)
        if (a.is_error()) return passed_on(a);
    return std::nullopt;
}

Value run_row(std::string_view name, std::string_view self, std::span<Value> args, Arbenv* env) {
    const StringMethod* row = find_string_method(name, args.size());
    return row ? row->fn(self, args, env) : Value::failure();
}

// A receiver that is a formula (a free name) keeps the call as its text, as
// a call of a function on a free name does; any other value that is not a
// string has no methods here. A string held under a name is read where it
// lies, not copied, so s.length() in a loop costs no copy of s; its
// arguments are evaluated before it is looked up, since a block among them
// may assign the name.
Value call_method(const MethodText& m, std::string_view text, Arbenv* env) {
    std::vector<Value> args;
    const bool named = lang::scan::is_plain_name(m.receiver);
    if (named) {
        if (auto e = arguments(m.args, env, args)) return std::move(*e);
        const obj::Object* o = lang::hooks().lookup ? lang::hooks().lookup(env, m.receiver)
                                                    : obj::resolve(env, m.receiver);
        if (o && o->tag == obj::string) return run_row(m.name, obj::text_value(o), args, env);
    }
    Value self = lang::evaluate(m.receiver, env);
    if (self.is_error()) return passed_on(self);
    if (self.kind == Value::Kind::formula) return Value::formula_of(Text(text));
    std::string_view s;
    if (lang::is_array(self) || lang::is_map(self)) {
        // A container made by the receiver ("s.split(",").join("-")").
        if (!named)
            if (auto e = arguments(m.args, env, args)) return std::move(*e);
        return value_method(self.obj.get(), m.name, args, env);
    }
    if (!string_arg(self, s)) return Value::failure();
    if (!named)
        if (auto e = arguments(m.args, env, args)) return std::move(*e);
    return run_row(m.name, s, args, env);
}

}  // namespace

bool string_method_call(std::string_view text, Arbenv* env, lang::Value* out) {
    std::optional<MethodText> m = method_text(text);
    if (!m) return false;
    *out = call_method(*m, text, env);
    return true;
}

}  // namespace ostr::script
