// The expression evaluator: one expression text (no statements, no
// assignment) in an environment to one value. See docs/language.md for the
// language and docs/architecture.md for how the layers meet here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "core/limits.hpp"
#include "grammar/operators.hpp"
#include "lang/value.hpp"

namespace ostr::lang {

// Bounds of the evaluator; their reasons are in core/limits.hpp.
inline constexpr int max_depth = limits::evaluation_depth;
inline constexpr std::size_t max_formula_text = limits::formula_text_bytes;

// The three texts a binary handler sees, and the handler of one cell of the
// binary operation table (the rows live in the type table, objects/types.hpp).
using obj::BinaryHandler;
using obj::OperandTexts;
using BuiltinFn = Value (*)(std::span<Value> args, Arbenv* env);

// What a built-in sees of its own call: the call as written ("max(1,y)",
// which a call whose arguments are not all numbers keeps as its formula),
// the argument texts as written (cut at the depth-zero commas) and the
// environment.
struct Call {
    std::string_view text;
    std::span<const std::string_view> args;
    Arbenv* env;
};
// A built-in that sees its call. `values` holds the evaluated arguments, or
// nothing when the built-in was registered to take its argument texts
// unevaluated (sum, int, root: an expression in a bound variable).
using CallFn = Value (*)(const Call& call, std::span<Value> values);

// What the layers above fill in at start-up. Every hook may stay null.
struct Hooks {
    // The object a plain name stands for, or null for a free name. Null
    // hook: the name is looked up in env and its enclosing environments.
    const obj::Object* (*lookup)(Arbenv* env, std::string_view name) = nullptr;
    // Atoms the evaluator does not resolve itself: user function calls,
    // array and matrix literals, strings, members, "this". Answers false
    // when it does not know the atom either.
    bool (*atom)(std::string_view text, Arbenv* env, Value* out) = nullptr;
    // A call name(args) whose name is no built-in, with the "(" at `open`
    // and the matching ")" last: the atom hook's answer, told apart by the
    // reader already. Null: the atom hook gets it.
    bool (*call)(std::string_view text, std::size_t open, Arbenv* env, Value* out) = nullptr;
};
Hooks& hooks();

// The value of an expression text in env.
Value evaluate(std::string_view text, Arbenv* env);
struct Compiled;
// An expression text analysed once, for a caller that evaluates the same
// text many times (a loop body, a function body): evaluating it skips the
// cache lookup. The analysis depends on the text alone and holds its own
// copy of it.
using Prepared = std::shared_ptr<const Compiled>;
Prepared prepare(std::string_view text);
Value evaluate(const Prepared& expression, Arbenv* env);

// The values of a comma list ("1,x,2*y"), one per piece; an empty text is
// an empty list. Used for argument lists.
std::vector<Value> evaluate_list(std::string_view text, Arbenv* env);

// Registers a built-in function under its signature text: the name and the
// argument count in parentheses ("sin(1)"), or empty parentheses for any
// count ("max()"). A signature of a registered name replaces it. False for a
// malformed signature or when the globals are not built.
bool register_builtin(std::string_view signature, BuiltinFn fn);
// The same for a built-in that sees its call; with evaluate_arguments false
// it receives no values and evaluates the argument texts itself. An error
// among evaluated arguments is the call's value before the built-in runs.
bool register_builtin(std::string_view signature, CallFn fn, bool evaluate_arguments = true);

// Statistics of the analysis cache (analysed texts are kept by text, so a
// repeated expression is scanned once).
struct CacheStats {
    std::size_t entries = 0;
    std::size_t hits = 0;
    std::size_t misses = 0;
};
CacheStats cache_stats() noexcept;
void clear_cache() noexcept;
// Switches the cache off (every evaluation analyses the text afresh); for
// tests that compare the two paths.
void set_cache_enabled(bool on) noexcept;
// Switches off the evaluation of plain arithmetic (numbers, names holding
// numbers, signs, operators, conditions) on doubles alone, so every node goes
// the general way; for tests that compare the two paths.
void set_plain_arithmetic(bool on) noexcept;

}  // namespace ostr::lang
