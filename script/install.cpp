// How the statement layer joins the evaluator: the globals are built by the
// evaluator and then completed here (hooks, the string type's printer,
// comparison and arithmetic, the "sigdigits" command), so the dependency
// stays one-way.
#include <cmath>

#include "lang/globals.hpp"
#include "grammar/scan.hpp"
#include "script/containers.hpp"
#include "script/files.hpp"
#include "script/help.hpp"
#include "script/history.hpp"
#include "script/matrices.hpp"
#include "script/script.hpp"
#include "script/session_notes.hpp"
#include "script/state.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

// A name: the lifted literal of this line, or an object in the scopes.
const obj::Object* lookup(Arbenv* env, std::string_view name) {
    if (is_placeholder(name)) {
        const Arbenv* top = obj::top_level_of(env);
        if (!top->placeholders) return nullptr;
        auto it = top->placeholders->find(name);
        return it == top->placeholders->end() ? nullptr : it->second;
    }
    const obj::Object* o = obj::resolve(env, name);
    return o || name != "ans" ? o : last_answer(env);
}

// Atoms the evaluator leaves to this layer: blocks used as values, and
// calls of user functions. A call of a name that is no function stays a
// formula, as a free name does.
//
// A plain call name(...) is told apart first, once: it is no container,
// member, method or block, and the calls of a recursion come here often.
bool plain_call(std::string_view text, std::size_t open, Arbenv* env, lang::Value* out) {
    if (new_instance(text, open, env, out)) return true;
    if (call_function(text, open, env, out)) return true;
    *out = lang::Value::formula_of(Text(text));
    return true;
}

bool atom(std::string_view text, Arbenv* env, lang::Value* out) {
    const std::size_t open = text.find('(');
    if (open != std::string_view::npos && open != 0 && text.back() == ')' &&
        lang::scan::is_plain_name(text.substr(0, open)) && lang::scan::matching_closer(text, open) == text.size() - 1)
        return plain_call(text, open, env, out);
    if (introspection_atom(text, env, out) || algebraic_method_atom(text, env, out)) return true;
    if (container_atom(text, env, out)) return true;
    if (object_atom(text, env, out)) return true;
    if (string_method_call(text, env, out)) return true;
    std::string_view kw = block_keyword(text);
    if (kw.empty()) return false;
    const StatementWord* w = statement_word(kw);
    if (!w || !w->block) return false;
    std::optional<lang::Value> v = statement_value(text, env);
    *out = v ? std::move(*v) : lang::Value::failure();
    return true;
}

// sigdigits(n): the count of significant digits shown, 1 to 15;
// sigdigits() answers the count.
lang::Value sigdigits(std::span<lang::Value> args, Arbenv* env) {
    if (args.empty()) return lang::Value::number({static_cast<double>(env->significant_digits), 0});
    if (args.size() > 1) return lang::Value::failure();
    const lang::Value& a = args[0];
    if (a.kind != lang::Value::Kind::number || a.num.im != 0 || a.num.re != std::floor(a.num.re) ||
        a.num.re < 1 || a.num.re > 15)
        return lang::Value::failure();
    for (Arbenv* e = env; e; e = e->parent) e->significant_digits = static_cast<std::int32_t>(a.num.re);
    return lang::Value::number(a.num);
}

}  // namespace

void install() {
    lang::Hooks& h = lang::hooks();
    h.lookup = lookup;
    h.atom = atom;
    h.call = plain_call;
    obj::TypeTable& t = obj::type_table();
    t.types[obj::string].print = print_string;
    t.types[obj::string].compare = string_compare;
    for (obj::Tag c : {obj::array, obj::map}) {
        t.types[c].print = print_container;
        t.types[c].compare = container_compare;
    }
    install_matrices();
    if (lang::globals()) {
        t.types[obj::string].binary[obj::string] = string_arithmetic;
        t.types[obj::string].binary[obj::numeric] = t.types[obj::numeric].binary[obj::string] = string_arithmetic;
        lang::register_builtin("sigdigits()", sigdigits);
        install_environment_files();
        install_plots();
        install_string_functions();
        install_help();
        install_why();
        install_introspection();
        install_files();
        install_history();
    }
    install_objects();
}

// The runtime record is made afresh, bottom up: the parts of the layers
// below first, so that this layer's part and hooks land on them.
bool initialize_globals(const char* init_script, std::uint32_t flag) {
    terminate_globals();
    obj::environment_hooks();
    if (!lang::initialize_globals(init_script, flag)) return false;
    state();
    install();
    load_init_script(init_script, flag);
    return true;
}

// Every part of the runtime record goes, top down: this layer's caches
// still hold analyses of the evaluator's, which go after them.
void terminate_globals() noexcept { core::free_runtime(); }

}  // namespace ostr::script
