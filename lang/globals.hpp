// The process-wide globals record that InitializeGlobals builds: the binary
// operation table, the built-in function table and the analysis cache.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "lang/evaluate.hpp"
#include "lang/text_cache.hpp"
#include "objects/environment.hpp"

namespace ostr::lang {

struct Compiled;

struct Builtin {
    int arity = -1;  // -1: any number of arguments
    BuiltinFn fn = nullptr;
    CallFn call_fn = nullptr;  // set instead of fn for a built-in that sees its call
    bool evaluate_arguments = true;
};


struct Globals {
    BinaryHandler table[obj::tag_count][obj::tag_count]{};
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
// Fills the binary operation table (binary.cpp).
void fill_binary_table(Globals& g);
// The handler of every cell that holds no meaningful pair.
Value invalid_pair(Value& left, Value& right, char op, Arbenv* env, const OperandTexts& texts);

}  // namespace ostr::lang
