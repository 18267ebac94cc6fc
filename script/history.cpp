// The history of the lines typed at the top level. ArbevalScript records
// each outermost line with its answer while the environment's history flag
// is set (the console sets it); history() shows the numbered entries and
// history(n) runs entry n again. The list travels with the environment
// record, so it survives the state file, bounded as history.hpp says.
#include "script/history.hpp"

#include <cmath>
#include <string>

#include "lang/evaluate.hpp"
#include "script/script.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

constexpr int max_history_nesting = 16;

std::size_t entry_bytes(const obj::HistoryEntry& e) noexcept { return e.script.size() + e.result.size(); }

// At most `n` bytes of `text`, not ending inside a UTF-8 character.
std::string_view cut(std::string_view text, std::size_t n) noexcept {
    if (text.size() <= n) return text;
    while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
    return text.substr(0, n);
}

// The list the lines of this session are recorded in.
std::vector<obj::HistoryEntry>& current(Arbenv* env) {
    if (std::vector<obj::HistoryEntry>* aside = history_aside()) return *aside;
    return obj::top_level_of(env)->history;
}

// One entry as shown: "n: script", then each non-empty line of the answer
// indented under the script.
void show_entry(Text& out, std::size_t number, const obj::HistoryEntry& e) {
    const std::string n = std::to_string(number);
    out += n;
    out += ": ";
    out += e.script;
    std::string_view answer = e.result;
    while (!answer.empty()) {
        const std::size_t nl = answer.find('\n');
        std::string_view line = answer.substr(0, nl);
        answer = nl == std::string_view::npos ? std::string_view() : answer.substr(nl + 1);
        if (line.empty()) continue;
        out += '\n';
        out.append(n.size() + 2, ' ');
        out += line;
    }
}

Text listing(const std::vector<obj::HistoryEntry>& list) {
    if (list.empty()) return Text("no history");
    Text out;
    for (std::size_t k = 0; k < list.size(); ++k) {
        if (k) out += '\n';
        show_entry(out, k + 1, list[k]);
    }
    return out;
}

// Entry n (1 the oldest; -1 the newest, -2 the one before), as an index;
// false for anything else.
bool entry_index(const lang::Value& v, std::size_t size, std::size_t& index) {
    if (v.kind != lang::Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re)) return false;
    const double n = v.num.re, count = static_cast<double>(size);
    if (n >= 1 && n <= count) index = static_cast<std::size_t>(n) - 1;
    else if (n <= -1 && n >= -count) index = size - static_cast<std::size_t>(-n);
    else return false;
    return true;
}

// history(): the entries; history(n): entry n run again as a line of the
// top-level environment, answering what that line answers now. An entry
// that runs history(m) nests; the bound of nested calls ends a cycle.
lang::Value history(std::span<lang::Value> args, Arbenv* env) {
    std::vector<obj::HistoryEntry>& list = current(env);
    if (args.empty()) return lang::Value::formula_of(listing(list));
    std::size_t index;
    if (args.size() != 1 || !entry_index(args[0], list.size(), index)) return lang::Value::failure();
    // Entries that run each other (line 1 history(2), line 2 history(1))
    // would nest until the stack ran out; a few levels are all a user needs.
    State& s = state();
    if (s.history_runs >= max_history_nesting) return abort_value(env, "history nested too deep");
    struct Nesting {
        int& n;
        ~Nesting() { --n; }
    } nesting{++s.history_runs};
    const Text script = list[index].script;
    Text answer = run_script(script, obj::top_level_of(env), false);
    // An error word stays that error for the expression around the call.
    for (std::size_t k = 0; k < obj::error_count; ++k)
        if (answer == lang::error_word(static_cast<lang::Error>(k)))
            return lang::Value::failure(static_cast<lang::Error>(k));
    return lang::Value::formula_of(std::move(answer));
}

}  // namespace

void record_history(std::vector<obj::HistoryEntry>& list, std::string_view script, std::string_view answer) {
    Text shown(cut(answer, max_history_answer));
    if (shown.size() < answer.size()) shown += "...";
    list.push_back({Text(script), std::move(shown)});
    std::size_t bytes = 0;
    for (const obj::HistoryEntry& e : list) bytes += entry_bytes(e);
    std::size_t drop = 0;
    // The newest entry stays whatever its size.
    while (drop + 1 < list.size() && (list.size() - drop > max_history_entries || bytes > max_history_bytes))
        bytes -= entry_bytes(list[drop++]);
    list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(drop));
}

void set_history_aside(std::vector<obj::HistoryEntry>* list) noexcept { state().history_aside = list; }
std::vector<obj::HistoryEntry>* history_aside() noexcept {
    const State* s = core::part_if_made<State, core::script_slot>();
    return s ? s->history_aside : nullptr;
}

void install_history() { lang::register_builtin("history()", history); }

}  // namespace ostr::script
