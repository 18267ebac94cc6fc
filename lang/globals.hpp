// The evaluator's part of the runtime record: the globals that
// InitializeGlobals builds (built-in function table, analysis cache), the
// hooks the layers above fill in, and the counters of the evaluation under
// way; it fills the evaluator's rows of the type table.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>

#include "lang/evaluate.hpp"
#include "lang/text_cache.hpp"
#include "core/runtime.hpp"
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
    bool plain_arithmetic = true;  // numbers-only subtrees on doubles first
    Text init_script;
    std::uint32_t init_flag = 0;
};

// The evaluator's slot of the runtime record. The hooks and counters exist
// without InitializeGlobals too (an evaluation without globals fails
// cleanly, but a test may fill the hooks first); the globals do not.
struct State {
    Hooks hooks;
    Globals* globals = nullptr;  // owned; see initialize_globals
    int depth = 0;               // analyses and evaluations nested, across the hooks
    int numeric_calls = 0;       // numerical built-ins under way (sum, int, root...)
    std::uint64_t samples_taken = 0;  // their samples since the outermost began
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();
};
inline State& state() { return core::part_of<State, core::lang_slot>(); }

// The globals, or null before InitializeGlobals and after TerminateGlobals.
inline Globals* globals() noexcept {
    State* s = core::part_if_made<State, core::lang_slot>();
    return s ? s->globals : nullptr;
}
bool initialize_globals(const char* init_script, std::uint32_t flag);
void terminate_globals() noexcept;

// Registers the predefined functions (builtins.cpp).
bool register_predefined_functions();
// Fills the evaluator's rows of the type table (binary.cpp).
void fill_type_table(obj::TypeTable& types);
// The arithmetic of the numeric cell of that table: false when a part of
// the result is infinite or NaN (the cell then keeps the expression's text)
// or the operator is none of + - * / ^. The cell itself, so that a fast
// path can tell that the table still holds it.
bool numeric_operation(char op, Complex a, Complex b, Complex* out) noexcept;
BinaryHandler numeric_handler() noexcept;

}  // namespace ostr::lang
