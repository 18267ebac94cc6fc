// Making, copying, naming and freeing objects of every tag, their type names
// and the method tables registered when an object is made.
#include "objects/object.hpp"

#include <array>
#include <new>

#include "bignum/bitarray.hpp"
#include "objects/environment.hpp"

namespace ostr::obj {
namespace {

constexpr std::array<std::string_view, tag_count> type_names{
    "node", "algebraic", "matrix", "mutant", "string", "array", "class_definition",
    "top_level", "", "", "map", "", "numeric", "bignum"};

constexpr std::string_view algebraic_methods[] = {"eval(0)", "shift(1)", "and(1)", "or(1)", "xor(1)", "not(0)"};
constexpr std::string_view matrix_methods[] = {
    "size(0)", "rank(0)", "mul(1)", "add(1)", "sub(1)", "dirmul(1)", "diradd(1)", "append()",
    "appendcol()", "insert(2)", "insertcol(2)", "enlarge(1)", "delete()", "deletecol()",
    "transpose(0)", "elem()", "invert(0)", "conj(0)", "dims(0)", "trace(0)", "vectorize(0)",
    "matricize(0)", "det(0)", "eigvals(0)", "eigvecs(0)", "array(0)", "writematrix()"};
// "matrix(0)" is registered twice; the second registration replaces the
// first under the same key, so the table keeps eight entries.
constexpr std::string_view array_methods[] = {"size(0)", "enlarge(1)", "matrix(0)", "append()", "insert(2)",
                                              "swap(2)", "delete()", "crop(2)", "matrix(0)"};
constexpr std::string_view node_methods[] = {"value(0)",  "label(0)",    "outedges(0)", "inedges(0)",
                                             "disconnect()", "isleaf(0)", "isempty(0)", "islocked(0)",
                                             "lock()",    "unlock()"};
constexpr std::string_view map_methods[] = {"add()", "get(1)", "keys(0)", "size(0)", "flush(0)", "exists(1)", "delete(1)"};
constexpr std::string_view class_methods[] = {"toclass(1)"};

void register_method(Members& m, std::string_view signature) {
    std::string_view name = signature.substr(0, signature.find('('));
    for (auto& e : m.methods)
        if (e.name == name) { e.signature = signature; return; }
    m.methods.push_back({name, signature});
}

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

const ValueHandlers text_value_handlers{free_text_value, nullptr, nullptr, copy_text};
const ValueHandlers complex_handlers{mem_free, nullptr, nullptr, copy_complex};
const ValueHandlers bignum_handlers{free_bignum, nullptr, nullptr, copy_bignum};
const ValueHandlers scope_handlers{free_scope, nullptr, nullptr, nullptr};

}  // namespace

TypeHooks& type_hooks() noexcept {
    static TypeHooks hooks;
    return hooks;
}

const ValueHandlers& text_handlers() noexcept { return text_value_handlers; }

std::span<const std::string_view> method_signatures(std::uint32_t tag) noexcept {
    switch (tag) {
    case algebraic: return algebraic_methods;
    case matrix: return matrix_methods;
    case array: return array_methods;
    case node: return node_methods;
    case map: return map_methods;
    case class_definition: return class_methods;
    default: return {};
    }
}

const MethodEntry* find_method(const Object* o, std::string_view name) noexcept {
    for (const auto& e : o->members->methods)
        if (e.name == name) return &e;
    return nullptr;
}

Object* make_object(Arbenv* env, std::uint32_t tag, std::string_view name, void* value,
                    const ValueHandlers& h) {
    auto* o = static_cast<Object*>(mem_alloc(sizeof(Object)));
    auto* m = static_cast<Members*>(mem_alloc(sizeof(Members)));
    char* n = dup_text(name);
    if (!o || !m || !n) {
        mem_free(o), mem_free(m), free_text(n);
        if (h.free && value) h.free(value);
        return nullptr;
    }
    new (m) Members{env ? &env->abort_text : nullptr, {}, {}};
    *o = Object{m, n, 0, 0, 1, tag, 0, env ? env->level : 0, env, value, h.free, h.write, h.read, h.copy};
    OwnedObject made(o);
    for (auto sig : method_signatures(tag)) register_method(*m, sig);
    return made.release();
}

Object* make_algebraic(std::string_view text, std::string_view name, Arbenv* env) {
    char* v = dup_text(text);
    return v ? make_object(env, algebraic, name, v, text_value_handlers) : nullptr;
}

Object* make_algebraic(const char* text, Arbenv* env) {
    return make_algebraic(text ? std::string_view(text) : std::string_view(), "", env);
}

Object* make_numeric(Complex value, std::string_view name, Arbenv* env) {
    auto* c = static_cast<Complex*>(mem_alloc(sizeof(Complex)));
    if (!c) return nullptr;
    *c = value;
    return make_object(env, numeric, name, c, complex_handlers);
}

Object* make_scoped(std::string_view name, Arbenv* creator) {
    Arbenv* scope = make_environment(creator);
    if (!scope) return nullptr;
    scope->parent_flag = 1;
    return make_object(creator, scoped, name, scope, scope_handlers);
}

Object* copy_object(const Object* s, Arbenv* env) {
    if (!s) return nullptr;
    if (!env) env = s->env;
    std::string_view name = s->name ? s->name : "";
    switch (s->tag) {
    case scoped: {
        Arbenv* scope = copy_environment(static_cast<const Arbenv*>(s->value), env);
        return scope ? make_object(env, scoped, name, scope, scope_handlers) : nullptr;
    }
    case algebraic: return make_algebraic(text_value(s), name, env);
    case numeric: return make_numeric(numeric_value(s), name, env);
    case bignum: {
        void* v = copy_bignum(s->value);
        return v ? make_object(env, bignum, name, v, bignum_handlers) : nullptr;
    }
    default: {
        if (s->value && !s->copy_value) return nullptr;
        void* v = s->value ? s->copy_value(s->value) : nullptr;
        if (s->value && !v) return nullptr;
        ValueHandlers h{s->free_value, s->write_value, s->read_value, s->copy_value};
        return make_object(env, s->tag, name, v, h);
    }
    }
}

void free_object(Object* o) noexcept {
    if (!o) return;
    if (o->tag == node) {
        for (Object** slot : o->members->references)
            if (slot) *slot = nullptr;
        if (auto remove = type_hooks().remove_node_edge)
            while (remove(o)) {}
    }
    if (o->value && o->free_value) o->free_value(o->value);
    free_text(o->name);
    o->members->~Members();
    mem_free(o->members);
    mem_free(o);
}

bool rename_object(Object* o, std::string_view name) {
    char* n = dup_text(name);
    if (!n) return false;
    free_text(o->name);
    o->name = n;
    return true;
}

std::string_view tag_type_name(std::uint32_t tag) noexcept {
    return tag < tag_count ? type_names[tag] : std::string_view();
}

Text type_name(const Object* o) {
    std::string_view n = tag_type_name(o->tag);
    if (n.empty()) n = o->name ? o->name : "";
    return Text(n);
}

}  // namespace ostr::obj
