// Environments: the top-level one and nested scopes. An environment owns the
// objects it holds by name, its user functions, classes and static members,
// and (the top-level one) the placeholder table of the script being run.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "objects/object.hpp"

namespace ostr::obj {

struct NameLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept { return a < b; }
};
// Objects by name, sorted; the table owns the objects.
using ObjectTable = std::map<Text, Object*, NameLess>;

struct HistoryEntry {
    Text script;
    Text result;
};

inline constexpr std::int32_t default_significant_digits = 15;

}  // namespace ostr::obj

struct Arbenv {
    ostr::obj::ObjectTable objects;
    ostr::obj::ObjectTable functions;  // user functions, as objects of the script layer
    ostr::obj::ObjectTable classes;
    ostr::obj::ObjectTable statics;
    Arbenv* parent = nullptr;
    std::uint8_t parent_flag = 0;  // 1 when the parent is reached through an object's scope
    std::int32_t level = 0;
    std::uint8_t history_flag = 0;
    std::vector<ostr::obj::HistoryEntry> history;
    ostr::Text abort_text;
    // Top-level only: generated names to the literals lifted out of the
    // script being run; emptied at the end of each top-level call.
    std::unique_ptr<ostr::obj::ObjectTable> placeholders;
    std::int32_t significant_digits = ostr::obj::default_significant_digits;
    std::int32_t random_seed = 0;
    // Top-level only, for the running session (neither copied nor saved):
    // the last answer of a top-level statement ("ans"), and the last
    // statement that went wrong, explained (why()).
    ostr::obj::OwnedObject answer;
    ostr::Text trouble;
};

namespace ostr::obj {

// A nested scope whose parent is `parent`.
[[nodiscard]] Arbenv* make_environment(Arbenv* parent);
// A fresh top-level environment: 15 significant digits, the clock seed, the
// placeholder table and the default assignments.
[[nodiscard]] Arbenv* make_top_level();
// make_top_level, then the higher layer's additions (environment_hooks()):
// what InitializeTopLevelEnvironment answers.
[[nodiscard]] Arbenv* make_fresh_top_level();
// A deep copy (objects, functions, classes, statics) under a new parent.
[[nodiscard]] Arbenv* copy_environment(const Arbenv* source, Arbenv* parent);
void free_environment(Arbenv* env) noexcept;

struct EnvironmentDeleter {
    void operator()(Arbenv* env) const noexcept { free_environment(env); }
};
using OwnedEnvironment = std::unique_ptr<Arbenv, EnvironmentDeleter>;

// The free and copy handlers of an environment as a typed-tree value
// ("arbeval_environment"); a copy of a top-level environment is top level.
void free_environment_value(void* env);
void* copy_environment_value(void* env);

// The seed of a new environment: minus the magnitude of ten times the clock
// time in seconds, taken as a 32-bit integer.
std::int32_t clock_seed(double seconds) noexcept;

// Stores pi and e (replacing objects of those names); throws std::bad_alloc
// when memory runs out.
void restore_defaults(Arbenv* env);
// The default assignments as (name, value) rows.
struct DefaultAssignment {
    std::string_view name;
    double value;
};
std::span<const DefaultAssignment> default_assignments() noexcept;

// Ownership passes to the environment; an object of the same name is freed.
// The object's name is its key. When memory runs out the object is freed
// and the table is as it was.
void store(Arbenv* env, Object* object);
// The same for any table: object goes in under name, replacing (and
// freeing) one of that name, or is freed when the table cannot grow.
void put(ObjectTable& table, std::string_view name, Object* object);
// Moves an entry taken out of another table (extract) in, under its key,
// replacing (and freeing) an object of that name. Allocates nothing, so a
// move of many entries cannot stop halfway for want of memory.
void put(ObjectTable& table, ObjectTable::node_type entry) noexcept;
// The object of that name in this environment, or null.
Object* find(const Arbenv* env, std::string_view name) noexcept;
// The object of that name here or in an enclosing environment, or null.
Object* resolve(const Arbenv* env, std::string_view name) noexcept;
bool remove(Arbenv* env, std::string_view name) noexcept;
Arbenv* top_level_of(Arbenv* env) noexcept;

void clear_table(ObjectTable& table) noexcept;

// What a higher layer adds to environments: `fresh_top_level` runs on every
// top-level environment that InitializeTopLevelEnvironment makes (the
// start-up script's lines). May stay null.
struct EnvironmentHooks {
    void (*fresh_top_level)(Arbenv* env) = nullptr;
};
EnvironmentHooks& environment_hooks();

}  // namespace ostr::obj
