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
        to.emplace(name, copy);
    }
    return true;
}

}  // namespace

std::span<const DefaultAssignment> default_assignments() noexcept { return defaults; }

EnvironmentHooks& environment_hooks() { return core::part_of<EnvironmentHooks, core::objects_slot>(); }

Arbenv* make_fresh_top_level() {
    Arbenv* env = make_top_level();
    if (env && environment_hooks().fresh_top_level) environment_hooks().fresh_top_level(env);
    return env;
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
    Arbenv* env = allocate_environment();
    if (!env) return nullptr;
    env->placeholders = std::make_unique<ObjectTable>();
    env->random_seed = clock_seed(static_cast<double>(std::time(nullptr)));
    restore_defaults(env);
    return env;
}

Arbenv* copy_environment(const Arbenv* s, Arbenv* parent) {
    Arbenv* env = make_environment(parent);
    if (!env) return nullptr;
    env->parent_flag = s->parent_flag;
    env->level = s->level;
    env->history_flag = s->history_flag;
    env->history = s->history;
    env->abort_text = s->abort_text;
    env->significant_digits = s->significant_digits;
    env->random_seed = s->random_seed;
    if (!copy_table(s->objects, env->objects, env) || !copy_table(s->functions, env->functions, env) ||
        !copy_table(s->classes, env->classes, env) || !copy_table(s->statics, env->statics, env)) {
        free_environment(env);
        return nullptr;
    }
    return env;
}

void free_environment_value(void* env) { free_environment(static_cast<Arbenv*>(env)); }

void* copy_environment_value(void* value) {
    auto* source = static_cast<const Arbenv*>(value);
    Arbenv* env = copy_environment(source, source->parent);
    if (env && source->placeholders) env->placeholders = std::make_unique<ObjectTable>();
    return env;
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

void restore_defaults(Arbenv* env) {
    for (const auto& d : defaults)
        if (Object* o = make_numeric({d.value, 0.0}, d.name, env)) store(env, o);
}

void store(Arbenv* env, Object* object) {
    std::string_view name = object->name ? object->name : "";
    object->env = env;
    object->members->abort_text = &env->abort_text;
    auto it = env->objects.find(name);
    if (it != env->objects.end()) {
        Object* old = it->second;
        it->second = object;
        free_object(old);
        return;
    }
    env->objects.emplace(Text(name), object);
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
