// Statement execution: the layer above the evaluator that runs whole script
// lines (ArbevalScript), blocks, assignments and user functions, and fills
// the evaluator's hook record at start-up.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "core/limits.hpp"
#include "lang/evaluate.hpp"
#include "lang/value.hpp"
#include "objects/environment.hpp"
#include "objects/types.hpp"

namespace ostr::script {

// Bounds that protect the process. Past any of them the line is aborted: the
// abort text of the environment is set, the line answers
// ">evaluation_aborted<", and the next top-level line starts afresh.
struct Limits {
    std::size_t max_line_bytes = std::size_t{4} << 20;     // a script text, after trimming
    std::size_t max_string_bytes = std::size_t{16} << 20;  // one string value
    int max_depth = ostr::limits::statement_depth;          // user calls and blocks nested together
    std::uint64_t max_loop_passes = 100'000'000;            // loop passes of one top-level line
    double max_seconds = 60.0;                              // loop time of one top-level line
    std::size_t max_shown_items = 1000;  // elements of an array or map printed in full
};
Limits& limits();

// Builds the evaluator's globals and installs this layer into them (hooks,
// string arithmetic, the "sigdigits" command); then runs the start-up
// script when flag is set and the file exists.
bool initialize_globals(const char* init_script, std::uint32_t flag);
void terminate_globals() noexcept;
// Fills the hook record and the table cells of this layer; idempotent.
void install();

// The "export" and "import" commands and the start-up script
// (envfiles.cpp): registered by install(); the script's lines are read by
// InitializeGlobals and run in every fresh top-level environment.
void install_environment_files();
void load_init_script(const char* name, std::uint32_t flag);
// A file opened for writing under the rule of "export": below the working
// directory and not through a link, unless the console was started with
// OSTRAVINE_WRITE_ANYWHERE=1. Null when refused; the caller closes it.
std::FILE* open_user_file_for_writing(const Text& name);
// plot, plotparam, plotdata, plotcomplex and plotfft (plots.cpp).
void install_plots();

// The whole of ArbevalScript: a new result text, never absent.
Text run_script(std::string_view text, Arbenv* env, bool top_level);

// ---- pieces shared by the files of this layer ----

// Normalisation of a script text. False when the text is to fail (an
// unterminated string, a reserved byte, a line past its bound).
bool normalise(std::string_view text, Arbenv* env, Text& out);
// The normalised text's strings turned back into quoted source form.
Text substitute(std::string_view text, Arbenv* env);
// A string literal lifted out of a script: its placeholder name.
// Placeholders are written "\xFF" digits "\xFF" and live for one line only,
// so an analysis of a text that holds one is never kept across lines; nor is
// one of a text longer than max_size.
inline bool cacheable(std::string_view text, std::size_t max_size) noexcept {
    return text.size() <= max_size && text.find('\xFF') == std::string_view::npos;
}
Text lift_string(std::string_view content, Arbenv* env);

// Wrapper pairs around the whole text, removed layer by layer.
std::string_view strip_wrappers(std::string_view text, char open, char close);
// Position of the assignment sign at depth zero (rightmost), or npos.
std::size_t assignment_sign(std::string_view text);
// True for exactly one assignment: a=b, not a=b=c, not =x or f(x)=.
bool assignment_form(std::string_view text);
// True when the text holds no "," at depth zero.
bool single_statement(std::string_view text);
// The statements of a script: split at depth-zero commas, parenthesised
// groups flattened into the sequence.
std::vector<std::string_view> split_statements(std::string_view text);
// keyword ":" ... ";" with the ":" matching the final ";": the keyword,
// else empty.
std::string_view block_keyword(std::string_view text);

// The words of the statement language, one row each. A block word opens
// "word:...;" ("while" runs as a "for"); the others stand alone as elements
// of a block. A reserved word cannot hold a value: it would lose its meaning
// as a statement.
enum class Word : std::uint8_t { none, if_, for_, private_, else_, elseif, break_, other };
struct StatementWord {
    std::string_view text;
    Word word;
    bool block;
    bool reserved;
};
inline constexpr StatementWord statement_words[] = {
    {"if", Word::if_, true, false},         {"for", Word::for_, true, false},
    {"while", Word::for_, true, false},     {"private", Word::private_, true, false},
    {"else", Word::else_, false, true},     {"elseif", Word::elseif, false, true},
    {"break", Word::break_, false, true},
};
// The row of a word, or null.
inline const StatementWord* statement_word(std::string_view text) noexcept {
    for (const StatementWord& w : statement_words)
        if (w.text == text) return &w;
    return nullptr;
}

// Statement status inside blocks.
enum class Status : std::uint8_t { failed = 0, done = 1, broke = 2 };

// The analysed form of a block or a body: its elements, each classified,
// with its expressions prepared for the evaluator. Kept by text.
struct Shape;
std::shared_ptr<const Shape> body_shape(std::string_view body);

// Runs one block statement (keyword form) in env.
Status run_block(std::string_view text, Arbenv* env);
Status run_shape(const Shape& block, Arbenv* env);
Status run_body(const Shape& body, Arbenv* env);
// The value of a statement that is an expression or a block; blocks give
// the value of the last plain expression they ran, if any.
// Nothing when a block ran well but set no value (a loop, say).
std::optional<lang::Value> statement_value(std::string_view text, Arbenv* env);
// The two halves of statement_value, for a caller that has stripped the
// wrappers already: whether the text is a block that runs as a statement
// ("if", "for", "while", "private"), and the value of one.
bool runs_as_block(std::string_view text);
std::optional<lang::Value> block_value(std::string_view text, Arbenv* env);
// Runs a list of block elements (a function body): the status.
Status run_elements(std::string_view body, Arbenv* env);

// Assignment of `right` to `left` in env. The answer is empty on success,
// else the error word to show.
Text assign(std::string_view left, std::string_view right, Arbenv* env);
// A name that may be assigned: a plain name or "i", not one of the words
// of the statement language.
bool assignable_name(std::string_view name);
// The assignment of an evaluated value to such a name: empty on success,
// else the error word.
Text assign_variable(std::string_view name, lang::Value&& v, Arbenv* env);
// Stores a value under a name with the level rule: a replaced object keeps
// the level of the object it replaces.
bool store_value(lang::Value&& v, std::string_view name, Arbenv* env);
// Calls the user function `name` visible from env, if there is one.
bool call_function(std::string_view text, std::size_t open, Arbenv* env, lang::Value* out);
// Runs a definition "name(p1,...)=body" with evaluated arguments in a new
// scope under `parent`; `self` (taken) is held there as "this". `text` is
// the call as written, the answer of a body that sets no value.
lang::Value invoke(std::string_view definition, std::vector<lang::Value>& args, Arbenv* parent, obj::Object* self,
                   Arbenv* env, std::string_view text);
// Class definitions (name=class_definition:...;) and member assignments
// (p.x=...): nothing when `left`/`right` are neither (classes.cpp).
inline bool defines_class(std::string_view right) noexcept {
    return right.starts_with("class_definition:") && right.back() == ';';
}
std::optional<Text> assign_class_or_member(std::string_view left, std::string_view right, Arbenv* env);
// Atoms of classes, instances, mutants and nodes: member reads, method
// calls, instance creation, "this" (classes.cpp).
bool object_atom(std::string_view text, Arbenv* env, lang::Value* out);
// c(args) with c a class: a new instance (its init run with the arguments).
// `open` is the place of the call's "(". False when c is no class.
bool new_instance(std::string_view text, std::size_t open, Arbenv* env, lang::Value* out);
// Registers the printers, comparisons and built-ins of these objects.
void install_objects();

// Abort handling: sets the abort text along env and its parents.
void abort(Arbenv* env, std::string_view reason);
bool aborted(const Arbenv* env) noexcept;
lang::Value abort_value(Arbenv* env, std::string_view reason);

// Runs fn(arg) on a thread with a stack for deep recursion, and waits for
// it; an exception of fn comes back through here. Where no such thread can
// be made, or the caller already runs on one, fn runs on the caller's
// stack.
void run_on_deep_stack(void (*fn)(void*), void* arg);
// True while the stack under way has room for one more level of user calls
// and blocks: on the deep stack, room above its reserve; elsewhere, a depth
// that any thread's stack holds.
bool stack_room() noexcept;

// Nesting of user calls and blocks; past the limit, or the room of the
// stack, the line is aborted.
class DepthGuard {
public:
    explicit DepthGuard(Arbenv* env);
    ~DepthGuard();
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;
    bool ok() const noexcept { return ok_; }

private:
    bool ok_;
};

// One more loop pass of the current line; false once a loop bound is hit
// (the line is then aborted).
bool count_pass(Arbenv* env);
// Starts the counters of a new top-level line.
void start_line();

// Strings: values, printing, arithmetic.
[[nodiscard]] obj::Object* make_string(std::string_view text, std::string_view name, Arbenv* env);
Text quoted(std::string_view text);
Text print_string(const obj::Object* o, int digits);
Text print_value(const lang::Value& v, Arbenv* env);
lang::Value string_arithmetic(lang::Value& l, lang::Value& r, char op, Arbenv* env, const lang::OperandTexts&);
int string_compare(const lang::Value& a, const lang::Value& b, lang::ops::Cond c);

// The text of a value as a condition sees it: "1", "0" or anything else.
int truth_text(const lang::Value& v, Arbenv* env);

inline bool is_placeholder(std::string_view name) noexcept {
    return !name.empty() && static_cast<unsigned char>(name.front()) == 0xFF;
}

}  // namespace ostr::script
