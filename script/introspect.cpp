// The commands that look at and change the environment as a whole: type(x),
// print(x), introspect() and x.introspect(), delete(x,...), restore() and
// eval(x). Their answers are plain text (formula values) where they
// describe, so the console shows them as they are.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "numtext/numtext_adapter.hpp"
#include "script/containers.hpp"
#include "script/matrices.hpp"
#include "script/objects.hpp"
#include "script/session_notes.hpp"
#include "script/state.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;

Value fail(Error e = Error::invalid_expression) { return Value::failure(e); }
Value text_answer(std::string_view s) { return Value::formula_of(Text(s)); }

// The type name of an object: an instance reports its class.
std::string type_of_object(const obj::Object* o) {
    if (o->tag == obj::scoped && o->value) {
        std::string_view c = class_name(scope_of(o));
        if (!c.empty()) return std::string(c);
    }
    Text t = obj::type_name(o);
    return std::string(t.data(), t.size());
}

std::string type_of_value(const Value& v) {
    switch (v.kind) {
    case Value::Kind::number: return "numeric";
    case Value::Kind::formula: return "algebraic";
    case Value::Kind::object: return type_of_object(v.obj.get());
    default: return {};
    }
}

bool is_user_function(Arbenv* env, std::string_view name) {
    for (const Arbenv* e = env; e; e = e->parent)
        if (e->functions.count(name)) return true;
    return false;
}

// type(x): a name is read as written (a function has no value to
// evaluate); anything else is evaluated.
Value type_command(const lang::Call& call, std::span<Value>) {
    if (call.args.size() != 1 || call.args[0].empty()) return fail();
    std::string_view a = call.args[0];
    if (lang::scan::is_plain_name(a) && !is_placeholder(a)) {
        if (const obj::Object* o = lang::hooks().lookup(call.env, a)) return text_answer(type_of_object(o));
        if (is_user_function(call.env, a)) return text_answer("function");
        const lang::Globals* g = lang::globals();
        if (g && g->builtins.count(a)) return text_answer("predefined function");
    }
    Value v = lang::evaluate(a, call.env);
    if (v.is_error()) return v;
    return text_answer(type_of_value(v));
}

// The shortest number text (15 to 17 significant digits) that reads back
// as the same double.
Text full_number(double x) {
    for (int d = 15; d < 17; ++d) {
        Text t = lang::number_text(x, d);
        double back = 0;
        if (lang::is_numeric_literal(t, &back) && back == x) return t;
    }
    return lang::number_text(x, 17);
}

Text full_complex(Complex c) {
    if (c.im == 0) return full_number(c.re);
    Text im = c.im == 1 || c.im == -1 ? Text("i") : full_number(std::fabs(c.im)) + Text("*i");
    Text sign(c.im < 0 ? "-" : "+");
    if (c.re == 0) return c.im < 0 ? sign + im : im;
    return full_number(c.re) + sign + im;
}

// Shows containers whole while it lives.
class AllItems {
public:
    AllItems() : saved_(limits().max_shown_items) { limits().max_shown_items = std::numeric_limits<std::size_t>::max(); }
    ~AllItems() { limits().max_shown_items = saved_; }
    AllItems(const AllItems&) = delete;
    AllItems& operator=(const AllItems&) = delete;

private:
    std::size_t saved_;
};

// print(x): the full form of a value. A number reads back as the same
// double; a container is shown whole, however long.
Value print_command(std::span<Value> args, Arbenv* env) {
    if (args.size() != 1) return fail();
    const Value& v = args[0];
    if (v.kind == Value::Kind::number) return text_answer(full_complex(v.num));
    AllItems all;
    return text_answer(print_value(v, env));
}

constexpr std::size_t short_width = 40;

Text shortened(Text t) {
    if (t.size() <= short_width) return t;
    std::size_t cut = short_width - 3;
    // Not inside a UTF-8 sequence.
    while (cut > 0 && (static_cast<unsigned char>(t[cut]) & 0xC0) == 0x80) --cut;
    return Text(std::string_view(t).substr(0, cut)) + Text("...");
}

// "name: type = short value", or "name: type: (private)".
void describe(Text& out, std::string_view name, const obj::Object* o, Arbenv* env) {
    if (!out.empty()) out += '\n';
    out += name;
    out += ": ";
    out += type_of_object(o);
    if (o->is_private) {
        out += ": (private)";
        return;
    }
    out += " = ";
    out += shortened(print_value(lang::value_of(o), env));
}

// A user function object's text is "f(a,b)=body".
void describe_function(Text& out, const obj::Object* f) {
    std::string_view t = obj::text_value(f);
    std::size_t open = t.find('(');
    std::size_t close = open == std::string_view::npos ? open : lang::scan::matching_closer(t, open);
    if (!out.empty()) out += '\n';
    if (close == std::string_view::npos || close + 1 >= t.size()) {
        out += t;
        out += ": function";
        return;
    }
    out += t.substr(0, close + 1);
    out += ": function";
    if (f->is_private) {
        out += ": (private)";
        return;
    }
    out += " = ";
    out += shortened(Text(t.substr(close + 2)));
}

bool listed(std::string_view name) { return name != "return" && !is_placeholder(name); }

// introspect(): what the environment of the call holds, sorted by name:
// the objects, then the user functions.
Value introspect_command(std::span<Value> args, Arbenv* env) {
    if (!args.empty()) return fail();
    Text out;
    for (const auto& [name, o] : env->objects)
        if (listed(name)) describe(out, name, o, env);
    for (const auto& [name, f] : env->functions) describe_function(out, f);
    if (out.empty()) out = Text("(nothing)");
    return text_answer(out);
}

// A signature from a row of one of the method tables: the count, or
// nothing between the brackets when it varies.
void add_signature(Text& out, std::string_view name, int min_args, int max_args) {
    out += out.empty() || out.back() == ' ' ? "" : ", ";
    out += name;
    out += '(';
    if (min_args == max_args) out += std::to_string(min_args);
    out += ')';
}

Text method_list(const obj::Object* o) {
    Text m("methods: ");
    std::size_t start = m.size();
    auto rows = [&](std::span<const MethodRow> r) {
        for (const MethodRow& row : r) add_signature(m, row.name, row.min_args, row.max_args);
    };
    auto type_rows = [&](std::uint32_t tag) {
        for (const obj::Method& row : obj::type_of(tag).methods)
            if (std::string_view(m).find(std::string(row.name) + "(") == std::string_view::npos)
                add_signature(m, row.name, row.arity, row.arity);
    };
    switch (o->tag) {
    case obj::array: rows(array_methods()); break;
    case obj::map: rows(map_methods()); break;
    case obj::matrix: rows(matrix_methods()); break;
    case obj::string:
        for (auto all = string_methods(), k = all; !k.empty(); k = k.subspan(1)) {
            // A name with rows for several counts is listed once, open.
            const StringMethod& s = k.front();
            if (&s != &all.front() && (&s - 1)->name == s.name) continue;
            const bool several = k.size() > 1 && k[1].name == s.name;
            add_signature(m, s.name, s.arity, several ? s.arity + 1 : s.arity);
        }
        break;
    case obj::numeric: type_rows(obj::algebraic); break;
    default: type_rows(o->tag); break;
    }
    if (holds_scope(o) && o->value)
        for (const auto& [name, f] : scope_of(o)->functions) {
            std::string_view t = obj::text_value(f);
            std::size_t open = t.find('('), close = lang::scan::matching_closer(t, open);
            int n = close == std::string_view::npos ? 0 : static_cast<int>(lang::scan::split_commas(t.substr(open + 1, close - open - 1)).size());
            if (close == open + 1) n = 0;
            add_signature(m, name, n, n);
            if (f->is_private) m += ": (private)";
        }
    if (m.size() == start) m += "none";
    return m;
}

// x.introspect(): the type, the members of an object with a scope (or
// the size of a container), and the methods with their signatures.
Value introspect_object(std::string_view name, const obj::Object* o, Arbenv* env) {
    Text out(name);
    out += ": ";
    out += type_of_object(o);
    if (holds_scope(o) && o->value) {
        for (const auto& [key, m] : scope_of(o)->objects)
            if (listed(key)) describe(out, key, m, env);
        if (o->tag == obj::class_definition)
            for (const auto& [key, m] : scope_of(o)->statics) describe(out, Text("static ") + Text(key), m, env);
    } else {
        out += " = ";
        out += shortened(print_value(lang::value_of(o), env));
    }
    out += '\n';
    out += method_list(o);
    return text_answer(out);
}

// Objects taken out of their tables live on until the top-level line
// ends: an evaluation under way may still stand on one.
void bury(obj::Object* o) {
    obj::OwnedObject owned(o);
    if (state().line_running) state().buried.push_back(std::move(owned));
}

struct Found {
    obj::ObjectTable* table = nullptr;
    obj::ObjectTable::iterator it;
};

// The table entry a name stands for, seen from env: an object, else a
// user function. A scope that the call runs inside is never found, so
// that no running method loses its object.
std::optional<Found> find_entry(std::string_view name, Arbenv* env) {
    for (Arbenv* e = env; e; e = e->parent) {
        for (obj::ObjectTable* t : {&e->objects, &e->functions}) {
            auto it = t->find(name);
            if (it == t->end()) continue;
            if (holds_scope(it->second))
                for (const Arbenv* s = env; s; s = s->parent)
                    if (s == scope_of(it->second)) return std::nullopt;
            return Found{t, it};
        }
    }
    return std::nullopt;
}

// delete(x,...): removes the named objects and user functions (a node's
// edges go first, as its release does); answers how many. A name that
// stands for nothing removes none of them.
Value delete_command(const lang::Call& call, std::span<Value>) {
    if (call.args.empty()) return fail();
    std::vector<std::string_view> names;
    for (std::string_view a : call.args) {
        if (!lang::scan::is_plain_name(a) || is_placeholder(a) || a == "this") return fail();
        if (!find_entry(a, call.env)) return fail(Error::invalid_object);
        if (std::find(names.begin(), names.end(), a) == names.end()) names.push_back(a);
    }
    Arbenv* top = obj::top_level_of(call.env);
    for (std::string_view n : names) {
        std::optional<Found> f = find_entry(n, call.env);
        if (!f) continue;
        obj::Object* o = f->it->second;
        // "ans" holding the same node would keep its edges alive.
        if (o->tag == obj::node && top->answer && top->answer->tag == obj::node && top->answer->value == o->value)
            top->answer.reset();
        f->table->erase(f->it);
        bury(o);
    }
    return Value::number({static_cast<double>(names.size()), 0});
}

// restore(): pi and e take their default values again (an object of
// either name is replaced); nothing else changes. Answers how many.
Value restore_command(std::span<Value> args, Arbenv* env) {
    if (!args.empty()) return fail();
    Arbenv* top = obj::top_level_of(env);
    for (const obj::DefaultAssignment& d : obj::default_assignments()) {
        auto it = top->objects.find(d.name);
        if (it == top->objects.end()) continue;
        obj::Object* o = it->second;
        top->objects.erase(it);
        bury(o);
    }
    obj::restore_defaults(top);
    return Value::number({static_cast<double>(obj::default_assignments().size()), 0});
}

}  // namespace

Value evaluate_again(Value v, Arbenv* env) {
    if (v.kind != Value::Kind::formula) return v;
    Text t = lang::display(v, 15);
    Value r = lang::evaluate(t, env);
    return r;
}

namespace {

Value eval_command(std::span<Value> args, Arbenv* env) {
    if (args.size() != 1) return fail();
    return evaluate_again(std::move(args[0]), env);
}

}  // namespace

bool introspection_atom(std::string_view text, Arbenv* env, Value* out) {
    constexpr std::string_view call = ".introspect()";
    if (!text.ends_with(call)) return false;
    std::string_view name = text.substr(0, text.size() - call.size());
    if (!lang::scan::is_plain_name(name)) return false;
    const obj::Object* o = lang::hooks().lookup(env, name);
    if (!o) return false;
    // A class of the user's own may define introspect itself.
    if (holds_scope(o) && o->value && scope_of(o)->functions.count("introspect")) return false;
    *out = introspect_object(name, o, env);
    return true;
}

void install_introspection() {
    lang::register_builtin("type(1)", type_command, false);
    lang::register_builtin("print(1)", print_command);
    lang::register_builtin("introspect(0)", introspect_command);
    lang::register_builtin("delete()", delete_command, false);
    lang::register_builtin("restore(0)", restore_command);
    lang::register_builtin("eval(1)", eval_command);
}

}  // namespace ostr::script
