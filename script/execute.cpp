// ArbevalScript: one script text run against an environment. Normalise,
// check, classify (single expression, assignment, several statements), run
// the branch, join the answers, and clean up; plus the bounds that abort a
// line and the failure path.
#include <algorithm>
#include <chrono>
#include <ctime>

#include "formula/formula.hpp"
#include "grammar/scan.hpp"
#include "lang/text_cache.hpp"
#include "script/history.hpp"
#include "script/script.hpp"
#include "script/session_notes.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

// Seconds on a monotonic clock. The coarse Linux clock costs a few
// nanoseconds and ticks every few milliseconds, which is plenty for a bound
// counted in seconds.
double now_seconds() noexcept {
#ifdef CLOCK_MONOTONIC_COARSE
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
#else
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
#endif
}

Text word(lang::Error e) { return Text(lang::error_word(e)); }

// The answer of a script that fails its pre-checks.
Text failure(std::string_view script, Arbenv* env) {
    Text r = word(aborted(env) ? lang::Error::evaluation_aborted : lang::Error::invalid_expression);
    if (env->history_flag) record_history(env->history, script, r);
    return r;
}

}  // namespace

// What a top-level statement is, decided once per text: the branch it takes
// and what that branch would otherwise look for in the text again. A line
// typed again (or a script line run in a loop of the console's caller) is
// split, checked and classified once, and its expressions are prepared.
struct Line {
    enum class Kind : std::uint8_t { empty, refused, several, assignment, expression };
    Kind kind = Kind::empty;
    Text text;
    std::size_t sign = 0;     // assignment: position of "="
    bool variable = false;    // assignment: the left side is a variable name
    bool block = false;       // expression: a block that runs as a statement
    std::size_t strip = 0;    // expression: wrapper brackets around it on each side
    lang::Prepared prepared;  // the expression, or the right side of a variable's assignment
    std::vector<Line> pieces;  // several: the statements
    std::string_view left() const { return std::string_view(text).substr(0, sign); }
    std::string_view right() const { return std::string_view(text).substr(sign + 1); }
    std::string_view inside() const { return std::string_view(text).substr(strip, text.size() - 2 * strip); }
};

Line classify_line(std::string_view work) {
    Line l;
    l.text = Text(work);
    if (work.empty()) return l;
    if (!single_statement(work)) {
        l.kind = Line::Kind::several;
        for (std::string_view piece : split_statements(work)) l.pieces.push_back(classify_line(piece));
        return l;
    }
    bool assignment = assignment_form(work);
    l.sign = assignment_sign(work);
    if (l.sign != std::string_view::npos && !assignment) {
        l.kind = Line::Kind::refused;
        return l;
    }
    if (assignment) {
        l.kind = Line::Kind::assignment;
        l.variable = assignable_name(l.left()) && !defines_class(l.right());
        if (l.variable) l.prepared = lang::prepare(l.right());
        return l;
    }
    l.kind = Line::Kind::expression;
    std::string_view inside = strip_wrappers(work, '(', ')');
    l.strip = static_cast<std::size_t>(inside.data() - work.data());
    l.block = runs_as_block(inside);
    if (!l.block) l.prepared = lang::prepare(inside);
    return l;
}

// A whole normalised line: its statements, and whether the line may run.
struct LineShape {
    bool syntax_ok = false;
    int block_depth = 0;
    Line line;
};

namespace {

int block_depth(std::string_view t);

std::shared_ptr<const LineShape> analyse_line(std::string_view work) {
    auto s = std::make_shared<LineShape>();
    s->syntax_ok = lang::scan::syntax_ok(work);
    if (!s->syntax_ok) return s;
    s->block_depth = block_depth(work);
    s->line = classify_line(work);
    return s;
}

// Lines by text (4 MiB). A line holding a lifted string carries names that
// live for this line only, so it is analysed afresh.
lang::TextCache<LineShape>& line_cache() { return state().lines; }

constexpr std::size_t max_cached_line = 1 << 16;

std::shared_ptr<const LineShape> line_of(std::string_view work) {
    if (!cacheable(work, max_cached_line)) return analyse_line(work);
    return line_cache().get(
        work, [&] { return analyse_line(work); },
        [&](const LineShape& s) { return 4 * work.size() + 64 * (s.line.pieces.size() + 1); });
}

Text expression_statement(const Line& l, Arbenv* env) {
    std::optional<lang::Value> v = l.block ? block_value(l.inside(), env) : lang::evaluate(l.prepared, env);
    if (!v) return {};
    Text shown = v->is_error() && aborted(env) ? word(lang::Error::evaluation_aborted) : print_value(*v, env);
    if (TopStatement::at_top(env)) note_statement(substitute(l.text, env), shown, &*v, env);
    return shown;
}

// The answer of a top-level assignment or refused statement, noted for why().
Text noted(const Line& l, Text answer, Arbenv* env) {
    if (TopStatement::at_top(env)) note_statement(substitute(l.text, env), answer, nullptr, env);
    return answer;
}

Text assignment_statement(const Line& l, Arbenv* env) {
    std::string_view left = l.left(), right = l.right();
    Text shown_left = substitute(left, env), shown_right = substitute(right, env);
    Text err = l.variable ? assign_variable(left, lang::evaluate(l.prepared, env), env) : assign(left, right, env);
    Text r = err.empty() ? shown_left + Text(" <- ") + shown_right : err;
    // An error name inside the answer collapses to the generic one, except
    // the two that tell the user something specific.
    if (r != lang::error_word(lang::Error::evaluation_aborted) &&
        r != lang::error_word(lang::Error::invalid_assignment) && lang::scan::has_error_segment(r))
        return word(lang::Error::invalid_expression);
    return r;
}

Text run_line(const Line& l, Arbenv* env);

// Several statements: each runs, in order, whatever the others answered.
// The first answer is taken as it stands, even when empty, so an empty
// first answer still starts the join ("\n\nx <- 1"); a later empty answer
// leaves no trace.
Text several(const Line& l, Arbenv* env) {
    Text out;
    bool first = true;
    for (const Line& piece : l.pieces) {
        Text r = run_line(piece, env);
        if (first) {
            out = std::move(r);
            first = false;
        } else if (!r.empty()) {
            out += "\n\n";
            out += r;
        }
    }
    return out;
}

// The three branches of a classified statement.
Text run_line(const Line& l, Arbenv* env) {
    switch (l.kind) {
    case Line::Kind::empty: return {};
    case Line::Kind::refused: return noted(l, failure(l.text, env), env);
    case Line::Kind::several: return several(l, env);
    case Line::Kind::assignment: return noted(l, assignment_statement(l, env), env);
    case Line::Kind::expression: return expression_statement(l, env);
    }
    return {};
}

// The deepest nesting of ":" ... ";" blocks in a balanced text.
int block_depth(std::string_view t) {
    int depth = 0, most = 0;
    for (char c : t) {
        if (c == ':') most = std::max(most, ++depth);
        else if (c == ';') --depth;
    }
    return most;
}

// End of a top-level line: the placeholders and the "return" scratch of
// the line are released, however the line ends (memory running out
// unwinds through here too).
class LineEnd {
public:
    LineEnd(Arbenv* env, bool top_level) noexcept : env_(top_level ? env : nullptr) {}
    ~LineEnd() {
        if (!env_) return;
        if (State* s = core::part_if_made<State, core::script_slot>()) s->line_running = false;
        formula::clear_stop();
        Arbenv* top = obj::top_level_of(env_);
        if (top->placeholders) obj::clear_table(*top->placeholders);
        obj::remove(top, "return");
    }
    LineEnd(const LineEnd&) = delete;
    LineEnd& operator=(const LineEnd&) = delete;

private:
    Arbenv* env_;
};

// Nested runs record into a scratch history; the list that was set aside
// comes back on every way out of the line, so a line that fails for want
// of memory loses none of it.
class SetAside {
public:
    explicit SetAside(Arbenv* env) : env_(env), flag_(env->history_flag) {
        if (!flag_) return;
        std::vector<obj::HistoryEntry> scratch(2);
        env->history.swap(scratch);
        saved_.swap(scratch);
        if (!history_aside()) {
            set_history_aside(&saved_);
            registered_ = true;
        }
    }
    ~SetAside() { restore(); }
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;
    void restore() noexcept {
        if (registered_) set_history_aside(nullptr);
        registered_ = false;
        if (flag_ && !restored_) env_->history.swap(saved_);
        env_->history_flag = flag_;
        restored_ = true;
    }

private:
    Arbenv* env_;
    std::uint8_t flag_;
    bool restored_ = false;
    bool registered_ = false;
    std::vector<obj::HistoryEntry> saved_;
};

}  // namespace

Limits& limits() { return state().limits; }

void abort(Arbenv* env, std::string_view reason) {
    for (; env; env = env->parent)
        if (env->abort_text.empty()) env->abort_text = Text(reason);
}

bool aborted(const Arbenv* env) noexcept {
    if (!env->abort_text.empty()) return true;
    while (env->parent) env = env->parent;
    return !env->abort_text.empty();
}

lang::Value abort_value(Arbenv* env, std::string_view reason) {
    abort(env, reason);
    return lang::Value::failure(lang::Error::evaluation_aborted);
}

DepthGuard::DepthGuard(Arbenv* env) : ok_(++state().depth <= limits().max_depth && stack_room()) {
    if (!ok_) abort(env, "nesting too deep");
}
DepthGuard::~DepthGuard() { --state().depth; }

// The formula module's stop check: the top-level line under way has run past its time,
// or a stop was requested (RequestAbort).
bool line_expired() noexcept {
    const State* s = core::part_if_made<State, core::script_slot>();
    if (!s || !s->line_running) return false;
    return core::abort_requested() || now_seconds() - s->line_start > s->limits.max_seconds;
}

void start_line() {
    State& s = state();
    s.passes = 0;
    s.line_start = now_seconds();
    core::clear_abort_request();
    s.line_running = true;
    formula::set_stop_check(&line_expired);
    core::the_runtime.line_expired = &line_expired;
    formula::clear_stop();
}

bool count_pass(Arbenv* env) {
    State& s = state();
    if (core::abort_requested()) {
        abort(env, "interrupted");
        return false;
    }
    if (++s.passes > s.limits.max_loop_passes) {
        abort(env, "loop limit");
        return false;
    }
    // The clock is read on every pass: one pass may cost anything from a
    // microsecond to a second (a formula that doubles each pass), so a
    // sampled check could overshoot the bound by any amount.
    if (now_seconds() - s.line_start > s.limits.max_seconds) {
        abort(env, "time limit");
        return false;
    }
    return true;
}

namespace {

Text run_here(std::string_view text, Arbenv* env, bool top_level);

struct ScriptRun {
    std::string_view text;
    Arbenv* env;
    Text result;
};

}  // namespace

// A top-level line runs on the deep stack, so that user functions may
// recurse far deeper than the caller's stack would hold. Handing the line
// to the worker costs some microseconds; a line without a bracket calls
// nothing by its text and runs where it is (should it still reach a deep
// recursion, through a stored formula, the guard of an ordinary stack stops
// it cleanly).
Text run_script(std::string_view text, Arbenv* env, bool top_level) {
    if (!top_level || !env || text.find('(') == std::string_view::npos) return run_here(text, env, top_level);
    ScriptRun run{text, env, {}};
    run_on_deep_stack(
        [](void* p) {
            auto* r = static_cast<ScriptRun*>(p);
            r->result = run_here(r->text, r->env, true);
        },
        &run);
    return std::move(run.result);
}

namespace {

Text run_here(std::string_view text, Arbenv* env, bool top_level) {
    if (!env) return word(lang::Error::invalid_expression);
    if (top_level) {
        obj::top_level_of(env)->abort_text.clear();
        env->abort_text.clear();
        start_line();
    }
    LineEnd end(env, top_level);
    TopStatement top(top_level ? env : nullptr);
    Text result;
    Text work;
    std::shared_ptr<const LineShape> shape;
    if (normalise(text, env, work)) shape = line_of(work);
    if (!shape || !shape->syntax_ok) {
        result = failure(text, env);
        if (top_level) note_statement(shape ? substitute(work, env) : Text(text), result, nullptr, env);
    } else if (shape->block_depth > ostr::limits::block_text_depth) {
        // Blocks written inside each other past the bound are refused
        // before anything runs: each level would analyse the rest of the
        // text again.
        abort(env, "nesting too deep");
        result = failure(text, env);
    } else {
        // Only this call's script and answer reach the list set aside.
        SetAside aside(env);
        result = run_line(shape->line, env);
        aside.restore();
        if (env->history_flag) record_history(env->history, text, result);
    }
    return result;
}

}  // namespace

}  // namespace ostr::script
