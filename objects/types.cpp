// The records of the built-in types (names, value handlers, copies, values,
// method rows) as constant data, the table that starts from them, and the
// few operations that go through a record.
#include "objects/types.hpp"

#include <charconv>
#include <cstring>

#include "bignum/bitarray.hpp"
#include "grammar/scan.hpp"
#include "objects/containers.hpp"
#include "objects/environment.hpp"
#include "objects/matrix.hpp"
#include "objects/nodes.hpp"

namespace ostr::obj {
namespace {

constexpr int any = any_arity;

constexpr Method algebraic_methods[] = {{"eval", 0}, {"shift", 1}, {"and", 1}, {"or", 1}, {"xor", 1}, {"not", 0}};
constexpr Method matrix_methods[] = {
    {"size", 0},      {"rank", 0},    {"mul", 1},        {"add", 1},       {"sub", 1},       {"dirmul", 1},
    {"diradd", 1},    {"append", any}, {"appendcol", any}, {"insert", 2},   {"insertcol", 2}, {"enlarge", 1},
    {"delete", any},  {"deletecol", any}, {"transpose", 0}, {"elem", any},  {"invert", 0},    {"conj", 0},
    {"dims", 0},      {"trace", 0},   {"vectorize", 0},  {"matricize", 0}, {"det", 0},       {"eigvals", 0},
    {"eigvecs", 0},   {"array", 0},   {"writematrix", any}};
// "matrix(0)" is registered twice; the second registration replaces the
// first in its place, so an array keeps eight entries.
constexpr Method array_methods[] = {{"size", 0},   {"enlarge", 1}, {"matrix", 0}, {"append", any}, {"insert", 2},
                                    {"swap", 2},   {"delete", any}, {"crop", 2},  {"matrix", 0}};
constexpr Method node_methods[] = {{"value", 0},   {"label", 0},   {"outedges", 0}, {"inedges", 0},
                                   {"disconnect", any}, {"isleaf", 0}, {"isempty", 0}, {"islocked", 0},
                                   {"lock", any},  {"unlock", any}};
constexpr Method map_methods[] = {{"add", any},  {"get", 1},    {"keys", 0},  {"size", 0},
                                  {"flush", 0},  {"exists", 1}, {"delete", 1}};
constexpr Method class_methods[] = {{"toclass", 1}};

void* copy_text(void* v) { return v ? dup_text(static_cast<const char*>(v)) : nullptr; }
void free_text_value(void* v) { free_text(static_cast<char*>(v)); }

void* copy_complex(void* v) {
    auto* c = static_cast<Complex*>(mem_alloc(sizeof(Complex)));
    if (c) *c = *static_cast<const Complex*>(v);
    return c;
}

void* copy_bitarray(const void* v) {
    if (!v) return nullptr;
    auto* a = static_cast<const BitArray*>(v);
    BitArray* b = big::make(a->bits);
    if (b && b->nwords == a->nwords && a->words)
        std::memcpy(b->words, a->words, a->nwords * sizeof *a->words);
    return b;
}

void* copy_bignum(void* v) {
    auto* a = static_cast<const BignumValue*>(v);
    auto* b = static_cast<BignumValue*>(mem_alloc(sizeof(BignumValue)));
    if (!b) return nullptr;
    *b = {copy_bitarray(a->mantissa), copy_bitarray(a->exponent), a->field};
    return b;
}

void free_bignum(void* v) {
    if (!v) return;
    auto* b = static_cast<BignumValue*>(v);
    big::release(static_cast<BitArray*>(b->mantissa));
    big::release(static_cast<BitArray*>(b->exponent));
    mem_free(b);
}

void free_scope(void* v) { free_environment(static_cast<Arbenv*>(v)); }

constexpr ValueHandlers text_value_handlers{free_text_value, nullptr, nullptr, copy_text};
constexpr ValueHandlers complex_handlers{mem_free, nullptr, nullptr, copy_complex};
constexpr ValueHandlers bignum_handlers{free_bignum, nullptr, nullptr, copy_bignum};
constexpr ValueHandlers scope_handlers{free_scope, nullptr, nullptr, nullptr};
constexpr ValueHandlers array_value_handlers{release_array, nullptr, nullptr, share_array};
constexpr ValueHandlers map_value_handlers{release_map, nullptr, nullptr, share_map};
constexpr ValueHandlers matrix_value_handlers{release_matrix, nullptr, nullptr, share_matrix};

// A scope is copied with its environment, whose parent becomes env.
Object* copy_scoped(const Object* s, Arbenv* env) {
    if (!s->value) return nullptr;  // a scope lent to a method call
    Arbenv* scope = copy_environment(static_cast<const Arbenv*>(s->value), env);
    return scope ? make_object(env, s->tag, s->name ? s->name : "", scope, scope_handlers) : nullptr;
}

Value numeric_value_of(const Object* o) { return Value::number(numeric_value(o)); }

Value error_from_text(std::string_view t) {
    for (std::size_t k = 0; k < error_count; ++k)
        if (t == error_word(static_cast<Error>(k))) return Value::failure(static_cast<Error>(k));
    return Value::failure();
}

// A stored formula: an error word stays that error, a number text becomes
// the number, anything else a formula.
Value algebraic_value_of(const Object* o) {
    std::string_view t = text_value(o);
    if (lang::scan::has_error_segment(t)) return error_from_text(t);
    if (double v; formula::is_number(t, &v)) return Value::number({v, 0});
    return Value::formula_of(Text(t));
}

Text print_text(const Object* o, int) { return Text(text_value(o)); }

// Tags without a named row (9) keep the empty record: the object's name is
// its type name, and it has no handlers, arithmetic or methods.
constexpr TypeTable builtin_types{{
    {.name = "node", .handlers = {release_node, nullptr, nullptr, share_node}, .methods = node_methods},
    {.name = "algebraic", .handlers = text_value_handlers, .value_of = algebraic_value_of, .print = print_text,
     .methods = algebraic_methods},
    {.name = "matrix", .handlers = matrix_value_handlers, .methods = matrix_methods},
    {.name = "mutant", .handlers = scope_handlers, .copy = copy_scoped},
    {.name = "string", .handlers = {release_string, nullptr, nullptr, share_string}, .copy = copy_string_object},
    {.name = "array", .handlers = array_value_handlers, .methods = array_methods},
    {.name = "class_definition", .handlers = scope_handlers, .copy = copy_scoped, .methods = class_methods},
    {.name = "top_level"},
    {.handlers = scope_handlers, .copy = copy_scoped},
    {},
    {.name = "map", .handlers = map_value_handlers, .methods = map_methods},
    {},
    {.name = "numeric", .handlers = complex_handlers, .value_of = numeric_value_of},
    {.name = "bignum", .handlers = bignum_handlers},
}};

}  // namespace

constinit TypeTable detail::the_type_table = builtin_types;
const TypeRecord detail::no_type{};

const ValueHandlers& text_handlers() noexcept { return text_value_handlers; }

Text signature(const Method& m) {
    Text s(m.name);
    s += '(';
    if (m.arity != any_arity) {
        char digits[12];
        auto r = std::to_chars(digits, digits + sizeof digits, m.arity);
        s.append(digits, r.ptr);
    }
    s += ')';
    return s;
}

Value invalid_pair(Value&, Value&, char, Arbenv*, const OperandTexts&) { return Value::failure(); }

Text print(const Object* o, int digits) {
    if (auto p = type_of(o->tag).print) return p(o, digits);
    return type_name(o);
}

int compare(const Value& a, const Value& b, lang::ops::Cond c) {
    for (std::uint32_t tag : {a.tag(), b.tag()})
        if (auto f = type_of(tag).compare)
            if (int r = f(a, b, c); r >= 0) return r;
    return -1;
}

}  // namespace ostr::obj
