// Predefined functions on strings: the library's digests, salted hashes and
// Base64 brought to the language, and the conversions text(x) and
// number(s). Registered into the evaluator's built-in table at start-up.
#include <cstring>

#include "hash/base64.hpp"
#include "hash/salted.hpp"
#include "hash/sha2.hpp"
#include "lang/evaluate.hpp"
#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using lang::Value;

bool is_formula(const Value& v) noexcept { return v.kind == Value::Kind::formula; }

Value owned_result(const OwnedText& text, Arbenv* env) {
    return text ? string_result(text.get(), env) : Value::failure();
}

// The strings of the arguments. A free name among them keeps the call as
// its text (computed once the name has a value), as the numeric functions
// do; any other argument that is not a string is an error.
template <std::size_t N>
std::optional<Value> strings(const lang::Call& call, std::span<Value> values, std::string_view (&out)[N]) {
    bool formula = false;
    for (std::size_t k = 0; k < N; ++k) {
        if (is_formula(values[k])) formula = true;
        else if (!string_arg(values[k], out[k])) return Value::failure();
    }
    if (formula) return Value::formula_of(Text(call.text));
    return std::nullopt;
}

hash::Bytes bytes_of(std::string_view s) noexcept { return hash::text_bytes(s.data(), s.size()); }

Value sha512(const lang::Call& call, std::span<Value> values) {
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    return owned_result(hash::sha512_hex(bytes_of(s[0])), call.env);
}

Value sha256(const lang::Call& call, std::span<Value> values) {
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    return owned_result(hash::sha256_hex(bytes_of(s[0])), call.env);
}

// The salt is drawn from the session's generator, as rand() draws, so a
// saved session continues the same sequence.
Value saltedhash(const lang::Call& call, std::span<Value> values) {
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    Arbenv* top = obj::top_level_of(call.env);
    return owned_result(hash::salted_hash(s[0], top->random_seed), call.env);
}

// 1 when the secret matches the salted-hash text, 0 otherwise (also when
// the second text is no salted hash at all).
Value testsaltedhash(const lang::Call& call, std::span<Value> values) {
    std::string_view s[2];
    if (auto v = strings(call, values, s)) return std::move(*v);
    return Value::number({hash::test_against_salted_hash(s[0], s[1]) ? 1.0 : 0.0, 0});
}

Value base64(const lang::Call& call, std::span<Value> values) {
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    // Four characters for every three bytes: refused before it is built.
    if (s[0].size() / 3 * 4 > limits().max_string_bytes) return abort_value(call.env, "string too long");
    hash::Alphabet a;
    hash::standard_alphabet(a);
    return owned_result(hash::encode(bytes_of(s[0]), a), call.env);
}

// A text that is not Base64, or whose bytes hold a zero (which no string
// can hold: strings end at their first zero byte), is an error.
Value unbase64(const lang::Call& call, std::span<Value> values) {
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    hash::Alphabet a;
    hash::standard_alphabet(a);
    std::uint64_t n = 0;
    OwnedBlock<unsigned char> block = hash::decode(s[0], a, n);
    if (!block || std::memchr(block.get(), 0, n)) {
        if (block) wipe(block.get(), n);
        return Value::failure();
    }
    std::string_view decoded(reinterpret_cast<const char*>(block.get()), n);
    Value v = string_result(decoded, call.env);
    wipe(block.get(), n);
    return v;
}

// text(x): what the console would show for x, as a string: numbers with the
// environment's significant digits, a formula as its text, a string as it
// is (not quoted).
Value text(const lang::Call& call, std::span<Value> values) {
    std::string_view s;
    if (string_arg(values[0], s)) return string_result(s, call.env);
    if (values[0].kind == Value::Kind::object) return Value::failure();
    return string_result(print_value(values[0], call.env), call.env);
}

// number(s): the number a string holds; a number stays itself.
Value number(const lang::Call& call, std::span<Value> values) {
    if (values[0].kind == Value::Kind::number) return Value::number(values[0].num);
    std::string_view s[1];
    if (auto v = strings(call, values, s)) return std::move(*v);
    std::optional<double> d = number_of_text(s[0]);
    return d ? Value::number({*d, 0}) : Value::failure();
}

struct Function {
    std::string_view signature;
    lang::CallFn fn;
};

constexpr Function functions[] = {
    {"base64(1)", base64},         {"number(1)", number},
    {"saltedhash(1)", saltedhash}, {"sha256(1)", sha256},
    {"sha512(1)", sha512},         {"testsaltedhash(2)", testsaltedhash},
    {"text(1)", text},             {"unbase64(1)", unbase64},
};

}  // namespace

void install_string_functions() {
    for (const Function& f : functions) lang::register_builtin(f.signature, f.fn);
}

}  // namespace ostr::script
