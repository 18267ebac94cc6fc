// The process-wide globals record that InitializeGlobals builds: the built-in
// function table and the analysis cache; it fills the evaluator's rows of the
// type table.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "lang/evaluate.hpp"
#include "lang/text_cache.hpp"
#include "objects/environment.hpp"
#include "objects/types.hpp"

namespace ostr::lang {

struct Compiled;

struct Builtin {
    int arity = -1;  // -1: any number of arguments
    BuiltinFn fn = nullptr;
    CallFn call_fn = nullptr;  // set instead of fn for a built-in that sees its call
    bool evaluate_arguments = true;
};


struct Globals {
    std::map<Text, Builtin, obj::NameLess> builtins;
    TextCache<Compiled> cache{std::size_t{4} << 20};
    CacheStats stats;
    bool cache_enabled = true;
    Text init_script;
    std::uint32_t init_flag = 0;
};

// The globals, or null before InitializeGlobals and after TerminateGlobals.
Globals* globals() noexcept;
bool initialize_globals(const char* init_script, std::uint32_t flag);
void terminate_globals() noexcept;

// Registers the predefined functions (builtins.cpp).
bool register_predefined_functions();
// Fills the evaluator's rows of the type table (binary.cpp).
void fill_type_table(obj::TypeTable& types);

}  // namespace ostr::lang
