// Classes, instances and mutants: objects whose value is a scope of their
// own (an Arbenv) holding their members by name. Methods are user functions
// that run in a scope under the instance's, where "this" is the instance.
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

// The marks in a scope's class table: the class's own name, and the
// names of its prototypes (the lineage a cycle check needs).
constexpr std::string_view own_mark = "class";
constexpr std::string_view prototype_mark = "prototype";

bool mark_is(const obj::Object* o, std::string_view mark) { return o && obj::text_value(o) == mark; }

void free_scope_value(void* v) { obj::free_environment(static_cast<Arbenv*>(v)); }
void* copy_scope_value(void* v) { return obj::copy_environment(static_cast<const Arbenv*>(v), nullptr); }
constexpr obj::ValueHandlers scope_value_handlers{free_scope_value, nullptr, nullptr, copy_scope_value};

// Copies every entry of one table into another (replacing names there).
bool copy_table(const obj::ObjectTable& from, obj::ObjectTable& to, Arbenv* owner) {
    for (const auto& [key, o] : from) {
        obj::Object* c = obj::copy_object(o, owner);
        if (!c) return false;
        c->is_private = o->is_private;
        obj::put(to, key, c);
    }
    return true;
}

Text joined_word(Error e) { return Text(lang::error_word(e)); }

// ---- the class definition ----

struct Definition {
    Arbenv* scope;  // the class's own scope, being filled
    Arbenv* env;    // where the definition is evaluated
};

bool method_head(std::string_view left, std::string_view* name) {
    const std::size_t open = left.find('(');
    if (open == std::string_view::npos || open == 0 || left.back() != ')') return false;
    if (lang::scan::matching_closer(left, open) != left.size() - 1) return false;
    *name = left.substr(0, open);
    if (!lang::scan::is_plain_name(*name)) return false;
    std::string_view inside = left.substr(open + 1, left.size() - open - 2);
    if (inside.empty()) return true;
    auto params = lang::scan::split_commas(inside);
    for (std::size_t k = 0; k < params.size(); ++k) {
        if (!assignable_name(params[k]) || params[k] == "this") return false;
        for (std::size_t j = 0; j < k; ++j)
            if (params[j] == params[k]) return false;
    }
    return true;
}

// One element of the body: "m=default", "f(a,b)=body", or a "private:" /
// "static:" group of such elements.
bool add_element(Definition& d, std::string_view e, bool is_private, bool is_static, int nesting) {
    e = strip_wrappers(e, '(', ')');
    if (e.empty()) return true;
    std::string_view kw = block_keyword(e);
    if ((kw == "private" || kw == "static") && nesting == 0) {
        std::string_view inside = e.substr(kw.size() + 1, e.size() - kw.size() - 2);
        for (std::string_view p : lang::scan::split_commas(inside))
            if (!add_element(d, p, is_private || kw == "private", is_static || kw == "static", 1)) return false;
        return true;
    }
    const std::size_t at = assignment_sign(e);
    if (at == std::string_view::npos || at == 0 || at + 1 == e.size()) return false;
    std::string_view left = e.substr(0, at), right = e.substr(at + 1);
    if (left == "prototype") return nesting == 0;  // taken before the members
    std::string_view name;
    if (method_head(left, &name)) {
        if (is_static) return false;
        Text def(left);
        def += '=';
        def += substitute(right, d.env);
        obj::Object* f = obj::make_algebraic(def, name, d.scope);
        if (!f) return false;
        f->is_private = is_private;
        obj::put(d.scope->functions, name, f);
        return true;
    }
    if (!assignable_name(left)) return false;
    Value v = lang::evaluate(right, d.env);
    if (v.is_error()) return false;
    obj::Object* o = lang::to_object(std::move(v), d.scope, left);
    if (!o || nesting_of(o) >= obj::max_container_depth) return obj::free_object(o), false;
    o->is_private = is_private;
    obj::ObjectTable& table = is_static ? d.scope->statics : d.scope->objects;
    // A member is either static or not: the later kind replaces the earlier.
    obj::ObjectTable& other = is_static ? d.scope->objects : d.scope->statics;
    if (auto it = other.find(left); it != other.end()) {
        obj::free_object(it->second);
        other.erase(it);
    }
    obj::put(table, left, o);
    return true;
}

// prototype=base: the base's members, methods and statics come first; the
// class's own elements then add to them or replace them.
bool take_prototype(Definition& d, std::string_view name, std::string_view base, Arbenv* env) {
    if (!assignable_name(base) || base == name) return false;
    const obj::Object* b = obj::resolve(env, base);
    if (!b || b->tag != obj::class_definition || !b->value) return false;
    const Arbenv* k = scope_of(b);
    // A base that already descends from this name would close a cycle.
    if (k->classes.count(name)) return false;
    if (!copy_table(k->objects, d.scope->objects, d.scope) || !copy_table(k->functions, d.scope->functions, d.scope) ||
        !copy_table(k->statics, d.scope->statics, d.scope))
        return false;
    for (const auto& [key, o] : k->classes) {
        obj::Object* m = obj::make_algebraic(prototype_mark, key, d.scope);
        if (!m) return false;
        obj::put(d.scope->classes, key, m);
    }
    return true;
}

// The live static members of a class sit in the top-level environment
// under "class.member", shared by every instance and saved with it.
Text static_key(std::string_view cls, std::string_view member) {
    Text k(cls);
    k += '.';
    k += member;
    return k;
}

void reset_statics(Arbenv* top, std::string_view cls, const Arbenv* scope) {
    const Text prefix = static_key(cls, "");
    for (auto it = top->statics.lower_bound(std::string_view(prefix));
         it != top->statics.end() && std::string_view(it->first).starts_with(prefix);)
        it = (obj::free_object(it->second), top->statics.erase(it));
    for (const auto& [key, o] : scope->statics)
        if (obj::Object* c = obj::copy_object(o, top)) {
            c->is_private = o->is_private;
            obj::put(top->statics, static_key(cls, key), c);
        }
}

std::optional<Text> define_class(std::string_view name, std::string_view right, Arbenv* env) {
    std::string_view inside = right.substr(17, right.size() - 18);  // class_definition: ... ;
    obj::OwnedEnvironment scope(obj::make_environment(nullptr));
    if (!scope) return joined_word(Error::invalid_expression);
    Definition d{scope.get(), env};
    std::vector<std::string_view> elements;
    if (inside != "0") elements = lang::scan::split_commas(inside);
    for (std::string_view e : elements) {
        std::string_view s = strip_wrappers(e, '(', ')');
        const std::size_t at = assignment_sign(s);
        if (at != std::string_view::npos && s.substr(0, at) == "prototype" &&
            !take_prototype(d, name, s.substr(at + 1), env))
            return joined_word(Error::invalid_expression);
    }
    obj::Object* own = obj::make_algebraic(own_mark, name, scope.get());
    if (!own) return joined_word(Error::invalid_expression);
    obj::put(scope->classes, name, own);
    for (std::string_view e : elements)
        if (!add_element(d, e, false, false, 0)) return joined_word(aborted(env) ? Error::evaluation_aborted
                                                                                  : Error::invalid_expression);
    reset_statics(obj::top_level_of(env), name, scope.get());
    obj::Object* c = obj::make_object(env, obj::class_definition, name, scope.release(), scope_value_handlers);
    if (!c) return joined_word(Error::invalid_expression);
    if (auto it = env->objects.find(name); it != env->objects.end()) c->level = it->second->level;
    obj::store(env, c);
    return Text();
}

}  // namespace

// ---- shared with the node and mutant files ----

const obj::ValueHandlers& scope_handlers() noexcept { return scope_value_handlers; }

std::string_view class_name(const Arbenv* scope) noexcept {
    for (const auto& [key, o] : scope->classes)
        if (mark_is(o, own_mark)) return key;
    return {};
}

bool is_instance(const obj::Object* o) noexcept {
    return o && o->value && o->tag == obj::scoped && !class_name(scope_of(o)).empty();
}

std::uint32_t nesting_of(const obj::Object* o) noexcept {
    if (!o || !o->value) return 0;
    if (o->tag == obj::array || o->tag == obj::map) {
        obj::Item probe{{0, 0}, const_cast<obj::Object*>(o)};
        return obj::item_depth(probe);
    }
    if (o->tag != obj::scoped && o->tag != obj::mutant && o->tag != obj::class_definition) return 0;
    std::uint32_t d = 0;
    for (const auto& [key, m] : scope_of(o)->objects) d = std::max(d, nesting_of(m));
    return d + 1;
}

obj::Object* make_instance(const obj::Object* cls, Arbenv* env) {
    const Arbenv* k = scope_of(cls);
    obj::OwnedEnvironment s(obj::make_environment(nullptr));
    if (!s || !copy_table(k->objects, s->objects, s.get()) || !copy_table(k->functions, s->functions, s.get()) ||
        !copy_table(k->classes, s->classes, s.get()))
        return nullptr;
    s->parent_flag = 1;
    return obj::make_object(env, obj::scoped, class_name(k), s.release(), scope_value_handlers);
}

std::optional<Text> assign_class_or_member(std::string_view left, std::string_view right, Arbenv* env) {
    if (block_keyword(right) == "class_definition") {
        if (!assignable_name(left)) return joined_word(Error::invalid_assignment);
        return define_class(left, right, env);
    }
    return assign_member(left, right, env);
}

// A method of an instance: the receiver's scope is lent to the call (the
// object that holds it keeps an empty value meanwhile, so that nothing the
// body does to the variable can free the scope under it), then given back,
// or freed when the holder went away during the call.
Value call_instance_method(obj::Object* self, Arbenv* scope, const obj::Object* method, std::vector<Value>& args,
                           Arbenv* env, std::string_view text) {
    obj::Object* watch = self;
    if (self) {
        self->value = nullptr;
        self->members->references.push_back(&watch);
    }
    scope->parent = obj::top_level_of(env);
    // "this" inside the body: a view of the scope that frees nothing.
    obj::Object* view = obj::make_object(env, obj::scoped, class_name(scope), scope, {});
    Value r = view ? invoke(obj::text_value(method), args, scope, view, env, text) : fail();
    scope->parent = nullptr;
    if (!self) return r;
    if (watch) {
        auto& refs = watch->members->references;
        refs.erase(std::find(refs.begin(), refs.end(), &watch));
        watch->value = scope;
    } else {
        obj::free_environment(scope);
    }
    return r;
}

// toclass(x): a new instance of the class whose members take the values of
// the same names in x (an instance, a mutant, or a map with string keys);
// a name the class does not have is an error.
Value to_class(const obj::Object* cls, const Value& x, Arbenv* env) {
    obj::OwnedObject made(make_instance(cls, env));
    if (!made) return fail();
    Arbenv* s = scope_of(made.get());
    auto set = [&](std::string_view name, Value v) {
        auto it = s->objects.find(name);
        if (it == s->objects.end()) return false;
        const bool hidden = it->second->is_private;
        if (!store_value(std::move(v), name, s)) return false;
        s->objects.find(name)->second->is_private = hidden;
        return true;
    };
    if (lang::is_map(x)) {
        for (const auto& [key, it] : obj::map_of(x.obj.get())->entries)
            if (!key.is_text || !set(key.text, lang::item_value(it))) return fail();
    } else if (x.kind == Value::Kind::object && x.obj->value &&
               (x.obj->tag == obj::scoped || x.obj->tag == obj::mutant)) {
        for (const auto& [key, o] : scope_of(x.obj.get())->objects)
            if (!set(key, lang::value_of(o))) return fail();
    } else {
        return fail();
    }
    return Value::object_of(std::move(made));
}

}  // namespace ostr::script
