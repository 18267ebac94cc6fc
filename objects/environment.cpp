// Environment lifecycle: scopes and the top-level environment, their
// default assignments, and objects stored, found and removed by name.
#include "objects/environment.hpp"
#include "core/runtime.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <new>
#include <numbers>
#include <utility>

namespace ostr::obj {
namespace {

constexpr DefaultAssignment defaults[] = {
    {"pi", std::numbers::pi},
    {"e", std::numbers::e},
};

Arbenv* allocate_environment() {
    void* block = mem_alloc(sizeof(Arbenv));
    return block ? new (block) Arbenv() : nullptr;
}

bool copy_table(const ObjectTable& from, ObjectTable& to, Arbenv* env) {
    for (const auto& [name, object] : from) {
        Object* copy = copy_object(object, env);
        if (!copy) return false;
        copy->is_private = object->is_private;  // a private member stays private in a copied instance
        put(to, name, copy);
    }
    return true;
}

}  // namespace

std::span<const DefaultAssignment> default_assignments() noexcept { return defaults; }

EnvironmentHooks& environment_hooks() { return core::part_of<EnvironmentHooks, core::objects_slot>(); }

Arbenv* make_fresh_top_level() {
    OwnedEnvironment env(make_top_level());
    if (env && environment_hooks().fresh_top_level) environment_hooks().fresh_top_level(env.get());
    return env.release();
}

void clear_table(ObjectTable& table) noexcept {
    // Unlink first: freeing a scope may look names up again.
    ObjectTable doomed;
    doomed.swap(table);
    for (auto& entry : doomed) free_object(entry.second);
}

Arbenv* make_environment(Arbenv* parent) {
    Arbenv* env = allocate_environment();
    if (!env) return nullptr;
    env->parent = parent;
    if (parent) {
        env->level = parent->level;
        env->significant_digits = parent->significant_digits;
        env->random_seed = parent->random_seed;
    }
    return env;
}

std::int32_t clock_seed(double seconds) noexcept {
    // Ten times the clock in seconds does not fit 32 bits; it is taken
    // modulo 2^32 as a signed integer, and the seed is minus its magnitude.
    auto wide = static_cast<std::int64_t>(std::floor(10.0 * seconds));
    auto narrow = static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(wide)));
    std::int64_t magnitude = std::llabs(narrow);
    return static_cast<std::int32_t>(-std::min<std::int64_t>(magnitude, INT32_MAX));
}

Arbenv* make_top_level() {
    OwnedEnvironment env(allocate_environment());
    if (!env) return nullptr;
    env->placeholders = std::make_unique<ObjectTable>();
    env->random_seed = clock_seed(static_cast<double>(std::time(nullptr)));
    restore_defaults(env.get());
    return env.release();
}

Arbenv* copy_environment(const Arbenv* s, Arbenv* parent) {
    OwnedEnvironment env(make_environment(parent));
    if (!env) return nullptr;
    env->parent_flag = s->parent_flag;
    env->level = s->level;
    env->history_flag = s->history_flag;
    env->history = s->history;
    env->abort_text = s->abort_text;
    env->significant_digits = s->significant_digits;
    env->random_seed = s->random_seed;
    Arbenv* e = env.get();
    if (!copy_table(s->objects, e->objects, e) || !copy_table(s->functions, e->functions, e) ||
        !copy_table(s->classes, e->classes, e) || !copy_table(s->statics, e->statics, e))
        return nullptr;
    return env.release();
}

void free_environment_value(void* env) { free_environment(static_cast<Arbenv*>(env)); }

void* copy_environment_value(void* value) {
    auto* source = static_cast<const Arbenv*>(value);
    OwnedEnvironment env(copy_environment(source, source->parent));
    if (env && source->placeholders) env->placeholders = std::make_unique<ObjectTable>();
    return env.release();
}

void free_environment(Arbenv* env) noexcept {
    if (!env) return;
    clear_table(env->objects);
    clear_table(env->functions);
    clear_table(env->classes);
    clear_table(env->statics);
    if (env->placeholders) clear_table(*env->placeholders);
    env->~Arbenv();
    mem_free(env);
}

// A default that cannot be made is memory running out, which fails the
// whole environment rather than leaving it without pi.
void restore_defaults(Arbenv* env) {
    for (const auto& d : defaults) {
        Object* o = make_numeric({d.value, 0.0}, d.name, env);
        if (!o) throw std::bad_alloc();
        store(env, o);
    }
}

void store(Arbenv* env, Object* object) {
    object->env = env;
    object->members->abort_text = &env->abort_text;
    put(env->objects, object->name ? object->name : "", object);
}

// One search: the place found for the name is where a new entry goes.
void put(ObjectTable& table, std::string_view name, Object* object) {
    auto it = table.lower_bound(name);
    if (it != table.end() && std::string_view(it->first) == name) {
        free_object(std::exchange(it->second, object));
        return;
    }
    OwnedObject owned(object);
    table.emplace_hint(it, Text(name), object);
    owned.release();
}

void put(ObjectTable& table, ObjectTable::node_type entry) noexcept {
    auto r = table.insert(std::move(entry));
    if (!r.inserted) free_object(std::exchange(r.position->second, r.node.mapped()));
}

Object* find(const Arbenv* env, std::string_view name) noexcept {
    auto it = env->objects.find(name);
    return it == env->objects.end() ? nullptr : it->second;
}

Object* resolve(const Arbenv* env, std::string_view name) noexcept {
    for (; env; env = env->parent)
        if (Object* o = find(env, name)) return o;
    return nullptr;
}

bool remove(Arbenv* env, std::string_view name) noexcept {
    auto it = env->objects.find(name);
    if (it == env->objects.end()) return false;
    Object* o = it->second;
    env->objects.erase(it);
    free_object(o);
    return true;
}

Arbenv* top_level_of(Arbenv* env) noexcept {
    while (env && env->parent) env = env->parent;
    return env;
}

}  // namespace ostr::obj
