// Classes, instances and mutants as values: their printed text (a private
// member shows as "name: (private)"), equality, mutate(), and the install
// step that puts them into the type table.
#include "lang/globals.hpp"
#include "script/containers.hpp"
#include "script/objects.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;

Text member_text(std::string_view key, const obj::Object* o, int digits) {
    Text t(key);
    if (o->is_private) return t + Text(": (private)");
    obj::Item it;
    if (o->tag == obj::numeric) it.num = obj::numeric_value(o);
    else it.obj = const_cast<obj::Object*>(o);
    t += '=';
    t += print_item(it, digits);
    return t;
}

Text print_scope(const obj::Object* o, int digits) {
    if (!o->value) return Text(lang::error_word(Error::invalid_object));
    const Arbenv* s = scope_of(o);
    Text out(o->tag == obj::scoped ? class_name(s) : obj::tag_type_name(o->tag));
    out += ':';
    bool first = true;
    auto add = [&](const Text& piece) {
        if (!first) out += ',';
        out += piece;
        first = false;
    };
    for (const auto& [key, m] : s->objects) add(member_text(key, m, digits));
    if (o->tag == obj::class_definition) {
        for (const auto& [key, m] : s->statics) add(Text("static:") + member_text(key, m, digits) + Text(";"));
        for (const auto& [key, f] : s->functions)
            add(f->is_private ? Text(key) + Text("(): (private)") : Text(obj::text_value(f)));
    }
    if (first) out += '0';
    out += ';';
    return out;
}

bool same_members(const Arbenv* a, const Arbenv* b) {
    if (class_name(a) != class_name(b) || a->objects.size() != b->objects.size()) return false;
    for (auto i = a->objects.begin(), j = b->objects.begin(); i != a->objects.end(); ++i, ++j)
        if (i->first != j->first || !same_value(lang::value_of(i->second), lang::value_of(j->second))) return false;
    return true;
}

// "==" and "~=" between two instances or two mutants: the same class and
// the same members with equal values.
int scope_compare(const Value& a, const Value& b, lang::ops::Cond c) {
    auto scope = [](const Value& v) -> const Arbenv* {
        if (v.kind != Value::Kind::object || !v.obj->value) return nullptr;
        return v.obj->tag == obj::scoped || v.obj->tag == obj::mutant ? scope_of(v.obj.get()) : nullptr;
    };
    if (c != lang::ops::Cond::eq && c != lang::ops::Cond::ne) return -1;
    const Arbenv *x = scope(a), *y = scope(b);
    if (!x && !y) return -1;
    const bool same = x && y && a.obj->tag == b.obj->tag && same_members(x, y);
    return c == lang::ops::Cond::eq ? same : !same;
}

// mutate(): an empty mutant; mutate(x): a mutant with the public members
// of an instance or mutant, or the string-keyed entries of a map.
Value mutate(std::span<Value> args, Arbenv* env) {
    if (args.size() > 1) return Value::failure();
    obj::OwnedEnvironment s(obj::make_environment(nullptr));
    if (!s) return Value::failure();
    s->parent_flag = 1;
    if (args.size() == 1) {
        const Value& x = args[0];
        if (lang::is_map(x)) {
            for (const auto& [key, it] : obj::map_of(x.obj.get())->entries)
                if (!key.is_text || !assignable_name(key.text) || !store_value(lang::item_value(it), key.text, s.get()))
                    return Value::failure();
        } else if (x.kind == Value::Kind::object && x.obj->value &&
                   (x.obj->tag == obj::scoped || x.obj->tag == obj::mutant)) {
            for (const auto& [key, o] : scope_of(x.obj.get())->objects)
                if (!o->is_private && !store_value(lang::value_of(o), key, s.get())) return Value::failure();
        } else {
            return Value::failure();
        }
    }
    return Value::object_of(lang::ObjectPtr(obj::make_object(env, obj::mutant, "", s.release(), scope_handlers())));
}

}  // namespace

void install_objects() {
    obj::TypeTable& t = obj::type_table();
    for (obj::Tag c : {obj::scoped, obj::mutant, obj::class_definition}) t.types[c].print = print_scope;
    for (obj::Tag c : {obj::scoped, obj::mutant}) t.types[c].compare = scope_compare;
    t.types[obj::node].print = print_node;
    if (lang::globals()) {
        lang::register_builtin("mutate()", mutate);
        install_graphs();
    }
}

}  // namespace ostr::script
