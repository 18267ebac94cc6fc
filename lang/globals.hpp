// The process-wide globals record that InitializeGlobals builds: the binary
// operation table, the built-in function table and the analysis cache.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "lang/evaluate.hpp"
#include "script/environment.hpp"

namespace ostr::lang {

struct Compiled;

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};
struct TextEq {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept { return a == b; }
};

struct Builtin {
    int arity = -1;  // -1: any number of arguments
    BuiltinFn fn = nullptr;
};


struct Globals {
    BinaryHandler table[obj::tag_count][obj::tag_count]{};
    std::map<Text, Builtin, obj::NameLess> builtins;
    std::unordered_map<Text, std::shared_ptr<const Compiled>, TextHash, TextEq> cache;
    std::size_t cache_bytes = 0;
    CacheStats stats;
    bool cache_enabled = true;
    Text init_script;
    std::uint32_t init_flag = 0;
};

// The globals, or null before InitializeGlobals and after TerminateGlobals.
Globals* globals() noexcept;
bool initialize_globals(const char* init_script, std::uint32_t flag);
void terminate_globals() noexcept;

// Fills the binary operation table (binary.cpp).
void fill_binary_table(Globals& g);
// The handler of every cell that holds no meaningful pair.
Value invalid_pair(Value& left, Value& right, char op, Arbenv* env, const OperandTexts& texts);

}  // namespace ostr::lang
