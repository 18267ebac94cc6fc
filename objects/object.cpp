// Making, copying, naming and freeing objects of every tag through the
// records of the type table (types.cpp), and their type names.
#include "objects/object.hpp"

#include <cstring>
#include <new>

#include "objects/environment.hpp"
#include "objects/types.hpp"

namespace ostr::obj {
namespace {

void register_method(Members& m, const Method& row) {
    for (auto& e : m.methods)
        if (e->name == row.name) { e = &row; return; }
    m.methods.push_back(&row);
}

// An object, its member record and its name share one block: every number
// a loop or a call stores is one allocation less than three. A name given
// later by rename_object lives in a block of its own.
constexpr std::size_t members_at = (sizeof(Object) + alignof(Members) - 1) / alignof(Members) * alignof(Members);
constexpr std::size_t name_at = members_at + sizeof(Members);

bool name_inline(const Object* o) noexcept { return o->name == reinterpret_cast<const char*>(o) + name_at; }

void free_name(Object* o) noexcept {
    if (!name_inline(o)) return free_text(o->name);
    wipe(o->name, std::strlen(o->name));
}

}  // namespace

const Method* find_method(const Object* o, std::string_view name) noexcept {
    for (const Method* e : o->members->methods)
        if (e->name == name) return e;
    return nullptr;
}

Object* make_object(Arbenv* env, std::uint32_t tag, std::string_view name, void* value,
                    const ValueHandlers& h) {
    auto* block = static_cast<char*>(mem_alloc(name_at + name.size() + 1));
    if (!block) {
        if (h.free && value) h.free(value);
        return nullptr;
    }
    auto* o = reinterpret_cast<Object*>(block);
    auto* m = reinterpret_cast<Members*>(block + members_at);
    char* n = block + name_at;
    if (!name.empty()) std::memcpy(n, name.data(), name.size());
    n[name.size()] = '\0';
    new (m) Members{env ? &env->abort_text : nullptr, {}, {}};
    *o = Object{m, n, 0, 0, 1, tag, 0, env ? env->level : 0, env, value, h.free, h.write, h.read, h.copy};
    OwnedObject made(o);
    for (const Method& row : type_of(tag).methods) register_method(*m, row);
    return made.release();
}

Object* make_algebraic(std::string_view text, std::string_view name, Arbenv* env) {
    char* v = dup_text(text);
    return v ? make_object(env, algebraic, name, v, type_of(algebraic).handlers) : nullptr;
}

Object* make_algebraic(const char* text, Arbenv* env) {
    return make_algebraic(text ? std::string_view(text) : std::string_view(), "", env);
}

Object* make_numeric(Complex value, std::string_view name, Arbenv* env) {
    auto* c = static_cast<Complex*>(mem_alloc(sizeof(Complex)));
    if (!c) return nullptr;
    *c = value;
    return make_object(env, numeric, name, c, type_of(numeric).handlers);
}

Object* make_scoped(std::string_view name, Arbenv* creator) {
    Arbenv* scope = make_environment(creator);
    if (!scope) return nullptr;
    scope->parent_flag = 1;
    return make_object(creator, scoped, name, scope, type_of(scoped).handlers);
}

// The type's own copy, else the value copied by the type's handlers (or,
// for a type whose record has none, by the object's own) into a new object.
Object* copy_object(const Object* s, Arbenv* env) {
    if (!s) return nullptr;
    if (!env) env = s->env;
    const TypeRecord& type = type_of(s->tag);
    if (type.copy) return type.copy(s, env);
    ValueHandlers h = type.handlers;
    if (!h.copy) h = {s->free_value, s->write_value, s->read_value, s->copy_value};
    if (s->value && !h.copy) return nullptr;
    void* v = s->value ? h.copy(s->value) : nullptr;
    if (s->value && !v) return nullptr;
    return make_object(env, s->tag, s->name ? s->name : "", v, h);
}

void free_object(Object* o) noexcept {
    if (!o) return;
    for (Object** slot : o->members->references)
        if (slot) *slot = nullptr;
    if (auto release = type_of(o->tag).release) release(o);
    if (o->value && o->free_value) o->free_value(o->value);
    free_name(o);
    o->members->~Members();
    mem_free(o);
}

bool rename_object(Object* o, std::string_view name) {
    char* n = dup_text(name);
    if (!n) return false;
    free_name(o);
    o->name = n;
    return true;
}

std::string_view tag_type_name(std::uint32_t tag) noexcept { return type_of(tag).name; }

Text type_name(const Object* o) {
    std::string_view n = tag_type_name(o->tag);
    if (n.empty()) n = o->name ? o->name : "";
    return Text(n);
}

}  // namespace ostr::obj
