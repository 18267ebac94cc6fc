// What a console user reaches for after a line: "ans", the last answer of a
// top-level statement, and why(), one sentence on the last statement that
// went wrong (which part, at which column, and what to write instead).
#include <optional>
#include <string>
#include <vector>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "script/help.hpp"
#include "script/script.hpp"
#include "script/session_notes.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

// A reason found in a statement: the 1-based column and the sentence.
struct Finding {
    std::size_t column = 0;
    std::string text;
};

// Marks the characters inside quoted strings, which no rule below reads.
std::vector<bool> quoted_mask(std::string_view t) {
    std::vector<bool> in(t.size(), false);
    bool open = false;
    for (std::size_t k = 0; k < t.size(); ++k) {
        if (t[k] == '"' && (k == 0 || t[k - 1] != '\\')) open = !open;
        else in[k] = open;
    }
    return in;
}

// Operators of other languages that this one spells differently. "!="
// reads as a factorial and an assignment, so the line answers
// ">invalid_assignment<"; the others break the operator rules.
struct Misspelling {
    std::string_view written;
    std::string_view advice;
};
constexpr Misspelling misspellings[] = {
    {"!=", "use ~= for not equal"},    {"<>", "use ~= for not equal"}, {"&&", "use & for and"},
    {"||", "use | for or"},            {"**", "use ^ for powers"},     {"=>", "use >= for at least"},
    {"=<", "use <= for at most"},      {"...", "write ranges out"},
};

std::optional<Finding> misspelt_operator(std::string_view t, const std::vector<bool>& q) {
    for (const Misspelling& m : misspellings)
        for (std::size_t at = t.find(m.written); at != std::string_view::npos; at = t.find(m.written, at + 1))
            if (!q[at]) return Finding{at + 1, std::string(m.written) + " is not an operator; " + std::string(m.advice)};
    return std::nullopt;
}

constexpr std::string_view openers = "([:", closers = ")];";

std::optional<Finding> unpaired_bracket(std::string_view t, const std::vector<bool>& q) {
    std::vector<std::size_t> stack;
    for (std::size_t k = 0; k < t.size(); ++k) {
        if (q[k]) continue;
        if (openers.find(t[k]) != std::string_view::npos) {
            stack.push_back(k);
        } else if (std::size_t c = closers.find(t[k]); c != std::string_view::npos) {
            if (stack.empty() || t[stack.back()] != openers[c])
                return Finding{k + 1, std::string(1, t[k]) + " closes no open " + std::string(1, openers[c])};
            stack.pop_back();
        }
    }
    if (stack.empty()) return std::nullopt;
    std::size_t k = stack.back();
    return Finding{k + 1, std::string(1, t[k]) + " is never closed"};
}

bool is_name_char(char c) {
    return !lang::ops::in(lang::ops::delimiters, c) && c != '"' && c != ',';
}

bool user_callable(Arbenv* env, std::string_view name) {
    for (const Arbenv* e = env; e; e = e->parent)
        if (e->functions.count(name) || e->classes.count(name) || e->objects.count(name)) return true;
    return false;
}

// Of the help names closest to `name`, the one that shares the longest
// start with it, then the shortest: "sine" means sin.
std::string_view likeliest(std::string_view name) {
    std::string_view best;
    std::size_t best_prefix = 0;
    for (std::string_view n : closest_help_names(name)) {
        std::size_t p = 0;
        while (p < n.size() && p < name.size() && n[p] == name[p]) ++p;
        if (best.empty() || p > best_prefix || (p == best_prefix && n.size() < best.size()))
            best = n, best_prefix = p;
    }
    return best;
}

int argument_count(std::string_view inside) {
    if (inside.empty()) return 0;
    return static_cast<int>(lang::scan::split_commas(inside).size());
}

// name(...) where name is neither a predefined function nor a user's: the
// evaluator keeps such a call as a formula. A predefined function called
// with the wrong count is reported here too.
std::optional<Finding> unknown_call(std::string_view t, const std::vector<bool>& q, Arbenv* env) {
    const lang::Globals* g = lang::globals();
    for (std::size_t open = t.find('('); open != std::string_view::npos; open = t.find('(', open + 1)) {
        std::size_t start = open;
        while (start > 0 && !q[start - 1] && is_name_char(t[start - 1])) --start;
        std::string_view name = t.substr(start, open - start);
        if (q[open] || name.empty() || !lang::scan::is_plain_name(name)) continue;
        if (start > 0 && t[start - 1] == '.') continue;  // a method
        if (user_callable(env, name)) continue;
        if (!g) return std::nullopt;
        if (auto b = g->builtins.find(name); b != g->builtins.end()) {
            std::size_t close = lang::scan::matching_closer(t, open);
            if (close == std::string_view::npos || b->second.arity < 0) continue;
            int n = argument_count(t.substr(open + 1, close - open - 1));
            if (n == b->second.arity) continue;
            return Finding{start + 1, std::string(name) + " takes " + std::to_string(b->second.arity) +
                                          (b->second.arity == 1 ? " argument, not " : " arguments, not ") +
                                          std::to_string(n)};
        }
        std::string s = std::string(name) + " is not a function";
        if (std::string_view near = likeliest(name); !near.empty()) s += "; did you mean " + std::string(near) + "?";
        return Finding{start + 1, s};
    }
    return std::nullopt;
}

// Two operators side by side where the second cannot take the place of an
// operand ("1+*2").
std::optional<Finding> operator_pair(std::string_view t, const std::vector<bool>& q) {
    constexpr std::string_view binary = "*/^&|<>";
    constexpr std::string_view before = "+-*/^&|<>=~,(";
    if (!t.empty() && binary.find(t.front()) != std::string_view::npos)
        return Finding{1, std::string(1, t.front()) + " needs an operand before it"};
    for (std::size_t k = 1; k < t.size(); ++k) {
        if (q[k] || binary.find(t[k]) == std::string_view::npos) continue;
        char p = t[k - 1];
        if (before.find(p) == std::string_view::npos) continue;
        // The comparisons of two characters are one operator.
        if ((t[k] == '>' || t[k] == '<') && (p == '<' || p == '>' || p == '=' || p == '~')) continue;
        return Finding{k + 1, std::string(1, t[k]) + " cannot follow " + std::string(1, p)};
    }
    if (!t.empty() && std::string_view("+-*/^&|<>~").find(t.back()) != std::string_view::npos)
        return Finding{t.size(), std::string(1, t.back()) + " needs an operand after it"};
    return std::nullopt;
}

// The first name that stands for nothing: the base of a member or element
// path, or a name handed to delete.
std::optional<Finding> unknown_object(std::string_view t, const std::vector<bool>& q, Arbenv* env) {
    for (std::size_t k = 0; k < t.size(); ++k) {
        if (q[k] || (t[k] != '.' && t[k] != '[' && t[k] != ',' && t[k] != ')')) continue;
        std::size_t start = k;
        while (start > 0 && !q[start - 1] && is_name_char(t[start - 1])) --start;
        std::string_view name = t.substr(start, k - start);
        if (start > 0 && t[start - 1] == '.') continue;
        if (name.empty() || !lang::scan::is_plain_name(name) || name == "this") continue;
        if (!obj::resolve(env, name) && !(name == "ans" && last_answer(env)))
            return Finding{start + 1, std::string(name) + " names no object"};
    }
    return std::nullopt;
}

std::string sentence(std::string_view statement, const Finding& f) {
    return "column " + std::to_string(f.column) + " of " + std::string(statement) + ": " + f.text;
}

// The explanation of an error word that no rule above pins down.
std::string general(std::string_view statement, std::string_view answer, std::string_view reason) {
    std::string s = std::string(statement) + " answered " + std::string(answer) + ": ";
    if (answer == lang::error_word(lang::Error::evaluation_aborted))
        return s + "the line was stopped (" + (reason.empty() ? std::string("interrupted") : std::string(reason)) + ")";
    if (answer == lang::error_word(lang::Error::invalid_assignment))
        return s + "the left side is no name, member or element that can take a value";
    if (answer == lang::error_word(lang::Error::invalid_object)) return s + "it names no object that exists";
    return s + "an operand or argument is of a kind or outside the range that its operator or function takes";
}

// An answer that is exactly one error word.
bool is_error_word(std::string_view a) {
    for (auto e : {lang::Error::invalid_expression, lang::Error::invalid_object, lang::Error::invalid_assignment,
                   lang::Error::evaluation_aborted})
        if (a == lang::error_word(e)) return true;
    return false;
}

lang::Value why(std::span<lang::Value> args, Arbenv* env) {
    if (!args.empty()) return lang::Value::failure();
    const Arbenv* top = obj::top_level_of(env);
    if (top->trouble.empty()) return lang::Value::formula_of(Text("no error to explain"));
    return lang::Value::formula_of(Text(top->trouble));
}

}  // namespace

TopStatement::TopStatement(Arbenv* env) noexcept : saved_(state().top_statement), outermost_(env && !saved_) {
    state().top_statement = env;
}
TopStatement::~TopStatement() {
    State& s = state();
    s.top_statement = saved_;
    if (outermost_) s.buried.clear();
}
bool TopStatement::at_top(const Arbenv* env) noexcept {
    const State* s = core::part_if_made<State, core::script_slot>();
    return s && env && s->top_statement == env;
}

std::string explain(std::string_view statement, std::string_view answer, Arbenv* env, std::string_view reason) {
    const bool error = is_error_word(answer);
    // A statement of many kilobytes is named by its start and not read:
    // the line that was stopped for its length must not cost more here.
    constexpr std::size_t max_read = 4096, shown = 60;
    if (statement.size() > max_read) {
        if (!error) return {};
        std::string start(statement.substr(0, shown));
        while (!start.empty() && (static_cast<unsigned char>(start.back()) & 0xC0) == 0x80) start.pop_back();
        return general(start + "...", answer, reason);
    }
    std::vector<bool> q = quoted_mask(statement);
    if (error && answer != lang::error_word(lang::Error::evaluation_aborted)) {
        if (auto f = misspelt_operator(statement, q)) return sentence(statement, *f);
        if (auto f = unpaired_bracket(statement, q)) return sentence(statement, *f);
        if (!statement.empty() && statement.front() == '=')
            return sentence(statement, {1, "a statement cannot begin with ="});
        if (auto f = operator_pair(statement, q)) return sentence(statement, *f);
    }
    if (auto f = unknown_call(statement, q, env)) return sentence(statement, *f);
    if (!error) return {};
    if (answer != lang::error_word(lang::Error::evaluation_aborted))
        if (auto f = unknown_object(statement, q, env)) return sentence(statement, *f);
    return general(statement, answer, reason);
}

void note_statement(std::string_view statement, const Text& answer, const lang::Value* value, Arbenv* env) {
    Arbenv* top = obj::top_level_of(env);
    if (value && !value->is_error()) {
        lang::Value copy;
        if (value->kind == lang::Value::Kind::object) {
            copy = lang::Value::object_of(lang::ObjectPtr(obj::copy_object(value->obj.get(), top)));
        } else {
            copy.kind = value->kind;
            copy.num = value->num;
            copy.text = value->text;
        }
        if (!copy.is_error()) top->answer.reset(lang::to_object(std::move(copy), top, "ans"));
    }
    // Only an error word, or a formula that holds a call of an unknown
    // name, is something to explain; a clean answer leaves the last
    // explanation in place, so that why() may come a line later.
    const bool error = is_error_word(answer);
    if (!error && !(value && value->kind == lang::Value::Kind::formula)) return;
    std::string s = explain(statement, answer, env, top->abort_text);
    if (!s.empty()) top->trouble = Text(s);
}

const obj::Object* last_answer(Arbenv* env) noexcept { return obj::top_level_of(env)->answer.get(); }

void install_why() { lang::register_builtin("why(0)", why); }

}  // namespace ostr::script
