// ArbevalScript: one script text run against an environment. Normalise,
// check, classify (single expression, assignment, several statements), run
// the branch, join the answers, and clean up; plus the bounds that abort a
// line and the failure path.
#include <algorithm>
#include <chrono>
#include <ctime>

#include "grammar/scan.hpp"
#include "script/script.hpp"
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
    if (env->history_flag) env->history.push_back({Text(script), r});
    return r;
}

Text expression_statement(std::string_view work, Arbenv* env) {
    std::optional<lang::Value> v = statement_value(work, env);
    if (!v) return {};
    if (v->is_error() && aborted(env)) return word(lang::Error::evaluation_aborted);
    return print_value(*v, env);
}

Text assignment_statement(std::string_view work, Arbenv* env) {
    std::size_t p = assignment_sign(work);
    std::string_view left = work.substr(0, p), right = work.substr(p + 1);
    Text shown_left = substitute(left, env), shown_right = substitute(right, env);
    Text err = assign(left, right, env);
    Text r = err.empty() ? shown_left + Text(" <- ") + shown_right : err;
    // An error name inside the answer collapses to the generic one, except
    // the two that tell the user something specific.
    if (r != lang::error_word(lang::Error::evaluation_aborted) &&
        r != lang::error_word(lang::Error::invalid_assignment) && lang::scan::has_error_segment(r))
        return word(lang::Error::invalid_expression);
    return r;
}

Text run_statement(std::string_view work, Arbenv* env);

// Several statements: each runs, in order, whatever the others answered.
// The first answer is taken as it stands, even when empty, so an empty
// first answer still starts the join ("\n\nx <- 1"); a later empty answer
// leaves no trace.
Text several(std::string_view work, Arbenv* env) {
    Text out;
    bool first = true;
    for (std::string_view piece : split_statements(work)) {
        Text r = run_statement(piece, env);
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

// Classification and the three branches, on normalised text.
Text run_statement(std::string_view work, Arbenv* env) {
    if (work.empty()) return {};
    bool single = single_statement(work);
    bool assignment = single && assignment_form(work);
    bool has_sign = single && assignment_sign(work) != std::string_view::npos;
    if (single && has_sign && !assignment) return failure(work, env);
    if (!single) return several(work, env);
    if (assignment) return assignment_statement(work, env);
    return expression_statement(work, env);
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
// the line are released.
void housekeeping(Arbenv* env) {
    Arbenv* top = obj::top_level_of(env);
    if (top->placeholders) obj::clear_table(*top->placeholders);
    obj::remove(top, "return");
}

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

DepthGuard::DepthGuard(Arbenv* env) : ok_(++state().depth <= limits().max_depth) {
    if (!ok_) abort(env, "nesting too deep");
}
DepthGuard::~DepthGuard() { --state().depth; }

void start_line() {
    State& s = state();
    s.passes = 0;
    s.line_start = now_seconds();
    core::clear_abort_request();
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

Text run_script(std::string_view text, Arbenv* env, bool top_level) {
    if (!env) return word(lang::Error::invalid_expression);
    if (top_level) {
        obj::top_level_of(env)->abort_text.clear();
        env->abort_text.clear();
        start_line();
    }
    Text result;
    Text work;
    if (!normalise(text, env, work) || !lang::scan::syntax_ok(work)) {
        result = failure(text, env);
    } else if (block_depth(work) > limits().max_depth) {
        // Blocks nested past the bound could never run to their end; the
        // line is refused before anything runs.
        abort(env, "nesting too deep");
        result = failure(text, env);
    } else {
        // Nested runs record into a scratch history; only this call's
        // script and answer reach the list that was set aside.
        std::uint8_t history = env->history_flag;
        std::vector<obj::HistoryEntry> saved;
        if (history) {
            saved.swap(env->history);
            env->history.assign(2, obj::HistoryEntry{});
        }
        result = run_statement(work, env);
        if (history) {
            env->history.swap(saved);
            env->history.push_back({Text(text), result});
        }
        env->history_flag = history;
    }
    if (top_level) housekeeping(env);
    return result;
}

}  // namespace ostr::script
