// The assignment executor and user functions: x=... stores a value under a
// name, f(x,y)=... defines a function; a call runs the body in a fresh
// scope whose parent is the environment that holds the definition.
#include <memory>
#include <unordered_map>

#include "lang/globals.hpp"
#include "grammar/scan.hpp"
#include "script/containers.hpp"
#include "script/matrices.hpp"
#include "script/objects.hpp"
#include "script/script.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {


// Words that would lose their meaning as statements if they held values,
// and the names of predefined functions: "sin=3" would leave a variable
// that no call "sin(...)" can reach, so it is refused as an assignment.
bool reserved(std::string_view name) {
    const StatementWord* w = statement_word(name);
    if ((w && w->reserved) || is_placeholder(name)) return true;
    const lang::Globals* g = lang::globals();
    return g && g->builtins.count(name);
}

}  // namespace

// A definition "name(p1,p2)=body" taken apart once per text.
struct Function {
    std::vector<Text> params;
    Text body;
    std::shared_ptr<const Shape> shape;  // null when the body holds strings
    bool valid = false;
};

namespace {

std::shared_ptr<const Function> parse_definition(std::string_view def) {
    auto f = std::make_shared<Function>();
    std::size_t open = def.find('(');
    std::size_t close = open == std::string_view::npos ? open : lang::scan::matching_closer(def, open);
    if (close == std::string_view::npos || close + 1 >= def.size() || def[close + 1] != '=') return f;
    std::string_view inside = def.substr(open + 1, close - open - 1);
    if (!inside.empty())
        for (std::string_view p : lang::scan::split_commas(inside)) f->params.emplace_back(p);
    f->body = Text(def.substr(close + 2));
    // Strings are lifted afresh at every call (their placeholders live for
    // one line); any other body is analysed once.
    if (f->body.find('"') == Text::npos) f->shape = body_shape(f->body);
    f->valid = true;
    return f;
}

// Function definitions and call argument lists, analysed once per text.
// An analysis costs about as much as its text.
constexpr std::size_t max_cached_text = std::size_t{1} << 20;

template <class T, class Make>
std::shared_ptr<const T> cached(lang::TextCache<T>& cache, std::string_view text, Make make) {
    if (!cacheable(text, max_cached_text)) return make();
    return cache.get(text, make, [&](const T&) { return text.size(); });
}

std::shared_ptr<const Function> function_of(std::string_view def) {
    return cached(state().functions, def, [&]() -> std::shared_ptr<const Function> { return parse_definition(def); });
}

}  // namespace

// The argument texts of a call, analysed once per call text.
struct Arguments {
    std::vector<lang::Prepared> args;
};

namespace {

std::shared_ptr<const Arguments> arguments_of(std::string_view inside) {
    return cached(state().arguments, inside, [&]() -> std::shared_ptr<const Arguments> {
        auto a = std::make_shared<Arguments>();
        if (!inside.empty())
            for (std::string_view p : lang::scan::split_commas(inside)) a->args.push_back(lang::prepare(p));
        return a;
    });
}

// f(x,y): a plain name and a list of distinct plain names.
bool function_head(std::string_view left, std::string_view* name) {
    std::size_t open = left.find('(');
    if (open == std::string_view::npos || open == 0 || left.back() != ')') return false;
    if (lang::scan::matching_closer(left, open) != left.size() - 1) return false;
    *name = left.substr(0, open);
    if (!lang::scan::is_plain_name(*name) || reserved(*name)) return false;
    std::string_view inside = left.substr(open + 1, left.size() - open - 2);
    if (inside.empty()) return true;
    auto params = lang::scan::split_commas(inside);
    for (std::size_t k = 0; k < params.size(); ++k) {
        if (!assignable_name(params[k])) return false;
        for (std::size_t j = 0; j < k; ++j)
            if (params[j] == params[k]) return false;
    }
    return true;
}

Text define(std::string_view name, std::string_view left, std::string_view right, Arbenv* env) {
    lang::Globals* g = lang::globals();
    // A predefined function of that name would always be called first.
    if (g && g->builtins.count(name)) return Text(lang::error_word(lang::Error::invalid_assignment));
    // The definition keeps its strings in source form: the placeholders of
    // this line are gone when the function is called.
    Text def(left);
    def += '=';
    def += substitute(right, env);
    obj::Object* f = obj::make_algebraic(def, name, env);
    if (!f) return Text(lang::error_word(lang::Error::invalid_expression));
    if (auto it = env->functions.find(name); it != env->functions.end()) f->level = it->second->level;
    obj::put(env->functions, name, f);
    return {};
}

const obj::Object* find_function(Arbenv* env, std::string_view name) {
    for (; env; env = env->parent)
        if (auto it = env->functions.find(name); it != env->functions.end()) return it->second;
    return nullptr;
}

// The value of an object of another scope, held by env from now on: the
// types that have a value of their own (numbers, formulas) give it.
lang::Value value_in(const obj::Object* o, Arbenv* env) {
    if (obj::type_of(o->tag).value_of) return lang::value_of(o);
    return lang::Value::object_of(lang::ObjectPtr(obj::copy_object(o, env)));
}

struct ScopeDeleter {
    void operator()(Arbenv* e) const noexcept { obj::free_environment(e); }
};

// The body of invoke, for a definition taken apart already.
lang::Value run_function(const Function& f, std::vector<lang::Value>& args, Arbenv* parent, obj::Object* self,
                         Arbenv* env, std::string_view text);

}  // namespace

bool store_value(lang::Value&& v, std::string_view name, Arbenv* env) {
    auto it = env->objects.find(name);
    if (it == env->objects.end()) {
        obj::Object* o = lang::to_object(std::move(v), env, name);
        if (!o) return false;
        obj::store(env, o);
        return true;
    }
    obj::Object* old = it->second;
    // A number replacing a number is written in place: loops assign their
    // counters millions of times.
    if (old->tag == obj::numeric && v.kind == lang::Value::Kind::number) {
        *static_cast<Complex*>(old->value) = v.num;
        return true;
    }
    obj::Object* o = lang::to_object(std::move(v), env, name);
    if (!o) return false;
    o->level = old->level;
    obj::store(env, o);
    return true;
}

// A name that can hold a value: a plain name, or "i", which then shadows
// the imaginary unit.
bool assignable_name(std::string_view t) { return (t == "i" || lang::scan::is_plain_name(t)) && !reserved(t); }

namespace {

// True when the text holds `name` as a whole name (not inside a longer name
// or a number such as 1e10).
bool mentions(std::string_view text, std::string_view name) {
    for (std::size_t p = text.find(name); p != std::string_view::npos; p = text.find(name, p + 1)) {
        const std::size_t end = p + name.size();
        if (lang::scan::name_start(text, end) == p &&
            (end == text.size() || lang::scan::name_start(text, end + 1) == end + 1))
            return true;
    }
    return false;
}

// A right side that stays a formula in the assigned name (x=x*1e10 past the
// largest double keeps the text "x*1e10"; x=x+1 with x unset) would store a
// value defined by itself while the old value is lost: such an assignment is
// refused and the old value stays.
bool defined_by_itself(const lang::Value& v, std::string_view name) {
    if (v.kind != lang::Value::Kind::formula && v.kind != lang::Value::Kind::pair) return false;
    return mentions(v.text.re, name) || mentions(v.text.im, name);
}

}  // namespace

Text assign_variable(std::string_view name, lang::Value&& v, Arbenv* env) {
    if (v.is_error()) {
        if (aborted(env)) return Text(lang::error_word(lang::Error::evaluation_aborted));
        return Text(lang::error_word(v.error));
    }
    if (defined_by_itself(v, name)) return Text(lang::error_word(lang::Error::invalid_assignment));
    if (!store_value(std::move(v), name, env)) return Text(lang::error_word(lang::Error::invalid_expression));
    return {};
}

Text assign(std::string_view left, std::string_view right, Arbenv* env) {
    if (left == "\x01" "1") return {};  // the dummy step of a "while"
    std::string_view name;
    if (auto r = assign_class_or_member(left, right, env)) return std::move(*r);
    if (assignable_name(left)) return assign_variable(left, lang::evaluate(right, env), env);
    if (function_head(left, &name)) return define(name, left, right, env);
    if (auto r = assign_matrix_element(left, right, env)) return std::move(*r);
    if (auto r = assign_element(left, right, env)) return std::move(*r);
    return Text(lang::error_word(lang::Error::invalid_assignment));
}

std::vector<lang::Value> evaluate_arguments(std::string_view inside, Arbenv* env) {
    std::shared_ptr<const Arguments> shape = arguments_of(inside);
    std::vector<lang::Value> values;
    values.reserve(shape->args.size());
    for (const lang::Prepared& p : shape->args) values.push_back(lang::evaluate(p, env));
    return values;
}

bool call_function(std::string_view text, std::size_t open, Arbenv* env, lang::Value* out) {
    const obj::Object* fo = find_function(env, text.substr(0, open));
    if (!fo) return false;
    std::shared_ptr<const Arguments> shape = arguments_of(text.substr(open + 1, text.size() - open - 2));
    std::shared_ptr<const Function> f = function_of(obj::text_value(fo));
    if (!f->valid || shape->args.size() != f->params.size()) {
        *out = lang::Value::failure();
        return true;
    }
    std::vector<lang::Value> args;
    args.reserve(shape->args.size());
    for (const lang::Prepared& p : shape->args) {
        args.push_back(lang::evaluate(p, env));
        if (args.back().is_error()) {
            *out = std::move(args.back());
            return true;
        }
    }
    *out = run_function(*f, args, fo->env, nullptr, env, text);
    return true;
}

lang::Value invoke(std::string_view definition, std::vector<lang::Value>& args, Arbenv* parent, obj::Object* self,
                   Arbenv* env, std::string_view text) {
    obj::OwnedObject held(self);
    std::shared_ptr<const Function> f = function_of(definition);
    return run_function(*f, args, parent, held.release(), env, text);
}

namespace {

lang::Value run_function(const Function& fn, std::vector<lang::Value>& args, Arbenv* parent, obj::Object* self,
                         Arbenv* env, std::string_view text) {
    obj::OwnedObject held(self);
    const Function* f = &fn;
    if (!f->valid || args.size() != f->params.size()) return lang::Value::failure();
    // Every call counts against the line's pass and time bounds, as a loop
    // pass does: a recursion that branches stays within the depth bound and
    // could still run for ever.
    DepthGuard depth(env);
    if (aborted(env) || !depth.ok() || !count_pass(env)) return lang::Value::failure(lang::Error::evaluation_aborted);
    std::unique_ptr<Arbenv, ScopeDeleter> scope(obj::make_environment(parent));
    if (!scope) return lang::Value::failure();
    if (held) obj::put(scope->objects, "this", held.release());
    for (std::size_t k = 0; k < args.size(); ++k)
        if (!store_value(std::move(args[k]), f->params[k], scope.get())) return lang::Value::failure();
    // The body's expressions nest from the evaluator's depth zero: how deep
    // calls go is bounded by the depth guard above and the room of the stack,
    // not by the evaluator's bound on the nesting of one expression.
    struct FreshEvaluatorDepth {
        int& depth = lang::state().depth;
        int saved = depth;
        FreshEvaluatorDepth() { depth = 0; }
        ~FreshEvaluatorDepth() { depth = saved; }
    } fresh;
    Status st;
    if (f->shape) {
        st = run_body(*f->shape, scope.get());
    } else {
        Text work;
        st = normalise(f->body, scope.get(), work) ? run_elements(work, scope.get()) : Status::failed;
    }
    if (st == Status::failed)
        return lang::Value::failure(aborted(env) ? lang::Error::evaluation_aborted : lang::Error::invalid_expression);
    // A body that set no value leaves the call as a formula.
    const obj::Object* r = obj::find(scope.get(), "return");
    return r ? value_in(r, env) : lang::Value::formula_of(Text(text));
}

}  // namespace

}  // namespace ostr::script
