// What an interactive front end needs beside ArbevalScript: the names a
// word may complete to, and a stop of the line under way that a signal
// handler may request.
#include <algorithm>
#include <exception>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "ostravine/script.h"
#include "script/help.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

// The words of the statement language; a block keyword comes with its ":".

struct Names {
    std::string_view prefix;
    std::vector<Text> found;

    // Only names a user could type: placeholders and internal names are left out.
    void add(std::string_view name, std::string_view suffix = {}) {
        std::string_view bare = name.substr(0, name.find_first_of(":("));
        if (!name.starts_with(prefix) || !lang::scan::is_plain_name(bare)) return;
        Text t(name);
        t += suffix;
        found.push_back(std::move(t));
    }
    void add_table(const obj::ObjectTable& table, std::string_view suffix = {}) {
        for (const auto& [name, o] : table) add(name, suffix);
    }
};

// The methods of an object's type: the rows of its type record and the
// methods its layer adds (the help table knows them all); the members of a
// scope object (a class instance) too.
void add_members(const obj::Object* o, Names& names) {
    for (const obj::Method& m : obj::type_of(o->tag).methods) names.add(m.name, "(");
    const HelpKind kind = o->tag == obj::string ? HelpKind::string_method
                          : o->tag == obj::array ? HelpKind::array_method
                                                 : HelpKind::map_method;
    if (o->tag == obj::string || o->tag == obj::array || o->tag == obj::map)
        for (const HelpText& h : help_texts())
            if (h.kind == kind) names.add(h.name, "(");
    if (o->tag == obj::scoped && o->value) {
        const auto* scope = static_cast<const Arbenv*>(o->value);
        names.add_table(scope->objects);
        names.add_table(scope->functions, "(");
    }
}

// Built-in functions, statement words, and the objects, functions and
// classes of env and the environments around it.
void add_visible(const Arbenv* env, Names& names) {
    if (const lang::Globals* g = lang::globals())
        for (const auto& [name, b] : g->builtins) names.add(name, "(");
    for (const StatementWord& w : statement_words) names.add(w.text, w.block ? ":" : "");
    for (; env; env = env->parent) {
        names.add_table(env->objects);
        names.add_table(env->functions, "(");
        names.add_table(env->classes);
    }
}

// The completions of a word: a name prefix, or "object.prefix" for the
// members of an object. Sorted, each once.
std::vector<Text> visible_names(std::string_view word, const Arbenv* env) {
    Names names;
    std::size_t dot = word.rfind('.');
    if (dot == std::string_view::npos) {
        names.prefix = word;
        add_visible(env, names);
    } else if (const obj::Object* o = obj::resolve(env, word.substr(0, dot))) {
        names.prefix = word.substr(dot + 1);
        add_members(o, names);
    }
    std::sort(names.found.begin(), names.found.end());
    names.found.erase(std::unique(names.found.begin(), names.found.end()), names.found.end());
    return std::move(names.found);
}

}  // namespace
}  // namespace ostr::script

namespace {

// A string vector (texts closed by an empty text) released by FreeStringVector.
char** string_vector(const std::vector<ostr::Text>& texts) noexcept {
    auto** v = static_cast<char**>(ostr::mem_alloc((texts.size() + 1) * sizeof(char*)));
    if (!v) return nullptr;
    for (std::size_t i = 0; i <= texts.size(); ++i) {
        v[i] = ostr::dup_text(i < texts.size() ? std::string_view(texts[i]) : std::string_view());
        if (!v[i]) {
            while (i > 0) ostr::free_text(v[--i]);
            ostr::mem_free(v);
            return nullptr;
        }
    }
    return v;
}

}  // namespace

extern "C" {

char** ListVisibleNames(const char* word, Arbenv* env) noexcept {
    if (!word || !env) return nullptr;
    try {
        return string_vector(ostr::script::visible_names(word, env));
    } catch (const std::exception&) {
        return nullptr;
    }
}

void RequestAbort(void) noexcept { ostr::core::request_abort(); }

}
