// Every nesting and size bound of the core in one place, each with why it is
// this number. The layers name them through their own constants.
#pragma once

#include <cstddef>

namespace ostr::limits {

// The evaluator's analysis and evaluation recurse once per bracket,
// operator, condition and re-entry through the hooks; past this many levels
// together they answer ">invalid_expression<". The count starts afresh in
// the body of each user function call (those are bounded below). A level
// costs a few stack frames, so 1000 stays far inside the stack of any thread
// (also under the sanitizers), while no expression written by hand comes
// near it.
inline constexpr int evaluation_depth = 1000;

// User function calls and blocks nested in each other (a call counts one,
// each block one); past it, or past the room of the line's stack, the line
// aborts with "nesting too deep". A top-level line runs on a stack of its
// own that holds this depth: a recursive function written as
// f(n)=if:...,f(n-1); (two levels per call) recurses 50,000 calls deep.
inline constexpr int statement_depth = 100000;

// Blocks written inside each other in one line ("if:1,if:1,...;;"): past
// this the line is refused before it runs. Recursion nests blocks at run
// time only and is bounded by statement_depth instead.
inline constexpr int block_text_depth = 256;

// Nested blocks analysed together with the block that holds them; deeper
// ones are analysed when they run. Bounds the work spent ahead of running
// on a text that may never reach its inner blocks.
inline constexpr int block_analysis_depth = 32;

// The formula reader keeps text nested deeper than this as one bracketed
// atom, so no formula text makes its recursion unbounded; formulas written
// or built by the evaluator stay far shallower.
inline constexpr int formula_depth = 200;

// Typed trees nested in typed trees, read by recursion through the value
// handlers: a damaged stream could nest them without end. A saved
// environment nests a handful of levels; deeper reads as an absent value.
inline constexpr int tree_read_depth = 100;

// The two texts of one formula together: products and quotients of
// formulas repeat their operands, so a chain of them would grow
// exponentially; past this the result answers ">invalid_expression<".
inline constexpr std::size_t formula_text_bytes = 100000;

}  // namespace ostr::limits
