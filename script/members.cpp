// Members and methods of classes, instances, mutants and nodes: p.x,
// p.x=3, p.move(1,2), this, point() and point.toclass(m), mutate(), and the
// printing and comparison of these objects.
#include <algorithm>

#include "grammar/scan.hpp"
#include "script/containers.hpp"
#include "script/objects.hpp"
#include "script/script.hpp"

namespace ostr::script {
namespace {

using lang::Error;
using lang::Value;

Value fail(Error e = Error::invalid_expression) { return Value::failure(e); }

// What a member path's base stands for. `object` is the object as it lies
// (in a variable, a member, or `keep` for a computed base); `scope` its
// scope for the scope objects.
struct Target {
    obj::Object* object = nullptr;
    Arbenv* scope = nullptr;
    bool is_this = false;  // the receiver of the running method: lent already
    Value keep;
};

bool member_form(std::string_view text, std::string_view* base, std::string_view* name) {
    const std::size_t dot = text.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    *base = text.substr(0, dot);
    *name = text.substr(dot + 1);
    return lang::scan::is_plain_name(*name);
}

const obj::Object* lookup(Arbenv* env, std::string_view name) {
    return lang::hooks().lookup ? lang::hooks().lookup(env, name) : obj::resolve(env, name);
}

// The instance whose method is running here, as its "this" view.
obj::Object* this_view(Arbenv* env) {
    obj::Object* o = obj::resolve(env, "this");
    return o && o->tag == obj::scoped && o->value ? o : nullptr;
}

// Private members are seen only from a method running on an instance of
// the same class.
bool inside_class(const Arbenv* scope, Arbenv* env) {
    const obj::Object* self = this_view(env);
    if (!self) return false;
    return scope_of(self) == scope || class_name(scope_of(self)) == class_name(scope);
}

obj::Object* statics_entry(Arbenv* env, std::string_view cls, std::string_view member) {
    if (cls.empty()) return nullptr;
    Arbenv* top = obj::top_level_of(env);
    Text key(cls);
    key += '.';
    key += member;
    auto it = top->statics.find(std::string_view(key));
    return it == top->statics.end() ? nullptr : it->second;
}

std::string_view class_of(const obj::Object* o) {
    if (o->tag == obj::class_definition) return class_name(scope_of(o));
    return o->tag == obj::scoped ? class_name(scope_of(o)) : std::string_view();
}

// The object a member stands for (a member of the scope, else a static of
// its class), or null; `hidden` tells a private member seen from outside.
obj::Object* member_object(const obj::Object* o, std::string_view name, Arbenv* env, bool* hidden) {
    *hidden = false;
    obj::Object* m = nullptr;
    if (o->tag != obj::class_definition) {
        auto it = scope_of(o)->objects.find(name);
        if (it != scope_of(o)->objects.end()) m = it->second;
    }
    if (!m) m = statics_entry(env, class_of(o), name);
    if (m && m->is_private && !inside_class(scope_of(o), env)) *hidden = true;
    return m;
}

// A member path is at most this many steps long: each step is a level of
// recursion here and a scan of the text.
constexpr std::ptrdiff_t max_path_steps = 64;

bool resolve_target(std::string_view base, Arbenv* env, Target& t, bool computed_ok) {
    if (std::count(base.begin(), base.end(), '.') > max_path_steps) return false;
    if (base == "this") {
        t.object = this_view(env);
        t.is_this = true;
    } else if (assignable_name(base)) {
        t.object = const_cast<obj::Object*>(lookup(env, base));
    } else if (std::string_view b, n; member_form(base, &b, &n) && b.find_first_of("()[]") == std::string_view::npos) {
        Target outer;
        if (!resolve_target(b, env, outer, false) || !outer.object || !holds_scope(outer.object) ||
            outer.object->tag == obj::class_definition || !outer.object->value)
            return false;
        bool hidden;
        t.object = member_object(outer.object, n, env, &hidden);
        if (hidden) t.object = nullptr;
    } else if (computed_ok) {
        t.keep = lang::evaluate(base, env);
        if (t.keep.kind != Value::Kind::object) return false;
        t.object = t.keep.obj.get();
    } else {
        return false;
    }
    if (t.object && holds_scope(t.object)) t.scope = scope_of(t.object);
    return t.object && (holds_scope(t.object) || obj::is_node(t.object));
}

Value read_member(const Target& t, std::string_view name, Arbenv* env) {
    if (!t.object->value) return fail(Error::invalid_object);
    if (t.object->tag == obj::node) return fail();
    bool hidden;
    const obj::Object* m = member_object(t.object, name, env, &hidden);
    if (!m || hidden) return fail(Error::invalid_object);
    return lang::value_of(m);
}

Value mutant_method(obj::Object* self, std::string_view name, std::vector<Value>& args) {
    Arbenv* s = scope_of(self);
    auto text_arg = [&](std::string_view* out) {
        if (args.size() != 1 || args[0].kind != Value::Kind::object || args[0].obj->tag != obj::string) return false;
        *out = obj::text_value(args[0].obj.get());
        return true;
    };
    std::string_view key;
    if (name == "size" && args.empty()) return Value::number({static_cast<double>(s->objects.size()), 0});
    if (name == "has" && text_arg(&key)) return Value::number({s->objects.count(key) ? 1.0 : 0.0, 0});
    if (name == "remove" && text_arg(&key)) {
        if (!obj::remove(s, key)) return fail(Error::invalid_object);
        return Value::number({static_cast<double>(s->objects.size()), 0});
    }
    if (name == "members" && args.empty()) {
        obj::ArrayValue* a = obj::new_array();
        if (!a) return fail();
        Value out = lang::array_value(a);
        for (const auto& [k, o] : s->objects) {
            Value v = Value::object_of(lang::ObjectPtr(make_string(k, "", nullptr)));
            obj::Item it;
            if (!lang::to_item(v, it)) return fail();
            a->items.push_back(it);
        }
        return out;
    }
    return fail(Error::invalid_object);
}

Value call_on(Target& t, std::string_view name, std::vector<Value>& args, Arbenv* env, std::string_view text) {
    obj::Object* o = t.object;
    if (!o->value) return fail(Error::invalid_object);
    if (o->tag == obj::node) return node_method(o, name, args, env);
    if (o->tag == obj::mutant) return mutant_method(o, name, args);
    if (o->tag == obj::class_definition) {
        if (name != "toclass" || args.size() != 1) return fail(Error::invalid_object);
        return to_class(o, args[0], env);
    }
    auto it = t.scope->functions.find(name);
    if (it == t.scope->functions.end()) return fail(Error::invalid_object);
    if (it->second->is_private && !inside_class(t.scope, env)) return fail(Error::invalid_object);
    return call_instance_method(t.is_this ? nullptr : o, t.scope, it->second, args, env, text);
}

}  // namespace

// name(args) where name is a class: a new instance; a class with a method
// "init" runs it with the arguments, one without takes none.
bool new_instance(std::string_view text, std::size_t open, Arbenv* env, Value* out) {
    std::string_view name = text.substr(0, open);
    const obj::Object* cls = lookup(env, name);
    if (!cls || cls->tag != obj::class_definition || !cls->value) return false;
    std::vector<Value> args = evaluate_arguments(text.substr(open + 1, text.size() - open - 2), env);
    for (Value& a : args)
        if (a.is_error()) return *out = std::move(a), true;
    cls = lookup(env, name);  // the arguments may have replaced it
    if (!cls || cls->tag != obj::class_definition || !cls->value) return *out = fail(), true;
    obj::OwnedObject made(make_instance(cls, env));
    if (!made) return *out = fail(), true;
    auto init = scope_of(made.get())->functions.find("init");
    if (init == scope_of(made.get())->functions.end()) {
        *out = args.empty() ? Value::object_of(std::move(made)) : fail();
        return true;
    }
    Value r = call_instance_method(made.get(), scope_of(made.get()), init->second, args, env, text);
    *out = r.is_error() ? std::move(r) : Value::object_of(std::move(made));
    return true;
}

namespace {

// base.name(args). A named receiver is looked up before the arguments run,
// to know whether the call is this file's, and again after them, since
// they may change it; a computed receiver (a[2].m()) is evaluated first.
Value method_call(std::string_view text, std::size_t open, Arbenv* env, bool* handled) {
    std::string_view head = text.substr(0, open), base, name;
    *handled = false;
    if (!member_form(head, &base, &name)) return fail();
    const bool computed = base.find_first_of("()[]") != std::string_view::npos;
    Target t;
    if (!resolve_target(base, env, t, computed)) {
        *handled = base == "this";
        return fail(Error::invalid_object);
    }
    *handled = true;
    std::vector<Value> args = evaluate_arguments(text.substr(open + 1, text.size() - open - 2), env);
    for (Value& a : args)
        if (a.is_error()) return std::move(a);
    if (!computed) {
        t = Target{};
        if (!resolve_target(base, env, t, false)) return fail(Error::invalid_object);
    }
    return call_on(t, name, args, env, text);
}

}  // namespace

Value method_on_value(Value& receiver, std::string_view name, std::vector<Value>& args, Arbenv* env) {
    if (receiver.kind != Value::Kind::object) return fail();
    Target t;
    t.object = receiver.obj.get();
    if (!holds_scope(t.object) && !obj::is_node(t.object)) return fail();
    if (holds_scope(t.object)) t.scope = scope_of(t.object);
    return call_on(t, name, args, env, name);
}

bool object_atom(std::string_view text, Arbenv* env, Value* out) {
    if (text == "this") {
        const obj::Object* self = this_view(env);
        *out = self ? lang::value_of(self) : fail(Error::invalid_object);
        return true;
    }
    if (text.size() < 3) return false;
    if (text.back() == ')') {
        if (text.find('.') == std::string_view::npos) return false;  // a plain call: the caller's
        const std::vector<std::uint32_t> jumps = lang::scan::bracket_jumps(text);
        if (jumps.empty()) return false;
        bool handled;
        Value v = method_call(text, text.size() - 1 - jumps.back(), env, &handled);
        if (handled) *out = std::move(v);
        return handled;
    }
    std::string_view base, name;
    if (!member_form(text, &base, &name)) return false;
    Target t;
    if (!resolve_target(base, env, t, base.back() == ']' || base.back() == ')')) {
        if (base != "this") return false;
        *out = fail(Error::invalid_object);
        return true;
    }
    *out = read_member(t, name, env);
    return true;
}

std::optional<Text> assign_member(std::string_view left, std::string_view right, Arbenv* env) {
    std::string_view base, name;
    if (!member_form(left, &base, &name) || base.find_first_of("()[]") != std::string_view::npos) return std::nullopt;
    auto word = [](Error e) { return Text(lang::error_word(e)); };
    Value v = lang::evaluate(right, env);
    if (v.is_error()) return word(aborted(env) ? Error::evaluation_aborted : v.error);
    Target t;
    if (!resolve_target(base, env, t, false) || !t.scope || !t.object->value) return word(Error::invalid_assignment);
    if (v.kind == Value::Kind::object && obj::item_depth(obj::Item{{0, 0}, v.obj.get()}) + 1 >= obj::max_container_depth)
        return word(Error::invalid_expression);
    if (t.object->tag == obj::mutant) {
        if (!store_value(std::move(v), name, t.scope)) return word(Error::invalid_expression);
        return Text();
    }
    bool hidden = false;
    obj::Object* m = member_object(t.object, name, env, &hidden);
    if (!m || hidden) return word(Error::invalid_assignment);
    // A member of the instance, else a static of its class.
    const bool own = t.object->tag != obj::class_definition && t.scope->objects.count(name);
    // A number replacing a number is written in place, as for variables:
    // methods update their counters and coordinates at every call.
    if (m->tag == obj::numeric && v.kind == Value::Kind::number) {
        *static_cast<Complex*>(m->value) = v.num;
        return Text();
    }
    Arbenv* into = own ? t.scope : obj::top_level_of(env);
    Text key(name);
    if (!own) key = Text(class_of(t.object)) + Text(".") + key;
    obj::Object* o = lang::to_object(std::move(v), into, name);
    if (!o) return word(Error::invalid_expression);
    o->is_private = m->is_private;
    o->level = m->level;
    obj::put(own ? into->objects : into->statics, key, o);
    return Text();
}

}  // namespace ostr::script
