// Access chains on arrays and maps: a[i], a[i][j], m["k"], a.size(),
// a[2].append(x), and the element assignment a[i][j]=x. Reading walks the
// blocks as they are, shared; a change first makes every block on the path
// from the variable its own (copy on write), so no other holder sees it.
#include <cmath>

#include "grammar/scan.hpp"
#include "lang/complex_adapter.hpp"
#include "lang/text_cache.hpp"
#include "numtext/numtext_adapter.hpp"
#include "script/containers.hpp"
#include "script/matrices.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

using lang::Value;

Value fail(lang::Error e = lang::Error::invalid_expression) { return Value::failure(e); }

bool is_container(const obj::Object* o) noexcept {
    return o && o->value && (o->tag == obj::array || o->tag == obj::map);
}

bool name_like(std::string_view t) { return t == "i" || lang::scan::is_plain_name(t); }

// The object a name stands for, as the evaluator resolves names.
const obj::Object* named(std::string_view name, Arbenv* env) {
    if (lang::hooks().lookup) return lang::hooks().lookup(env, name);
    return obj::resolve(env, name);
}

}  // namespace

// An index or argument text: prepared for the evaluator, and known when it
// is a number literal or a plain name (read without the evaluator).
struct Operand {
    lang::Prepared code;
    enum class Form : std::uint8_t { general, number, name } form = Form::general;
    double number = 0;
    std::string_view name;  // a view into the chain's text
};

// An access chain analysed once per text: the steps, with every index and
// argument text prepared for the evaluator. Kept by text, as the evaluator
// keeps its analyses, so a[k] in a loop is scanned once.
struct Chain {
    Text text;
    Access access;  // views into text
    std::vector<Operand> index;               // per step; empty for methods
    std::vector<std::vector<Operand>> args;   // per step; empty for indices
    bool malformed = false;                   // an empty index or argument
    bool named_base = false;  // the base is a plain name
    // Every index and argument is a number or a plain name: none can assign
    // a variable, so the base need not be looked up again after them.
    bool plain_operands = true;
};

namespace {

Operand operand_of(std::string_view text) {
    Operand o;
    o.code = lang::prepare(text);
    if (lang::is_numeric_literal(text, &o.number)) o.form = Operand::Form::number;
    else if (lang::scan::is_plain_name(text) && text != "i") o.form = Operand::Form::name, o.name = text;
    return o;
}

// A number literal as itself, a name holding a number as that number;
// anything else as the evaluator reads it.
Value operand_value(const Operand& o, Arbenv* env) {
    if (o.form == Operand::Form::number) return Value::number({o.number, 0});
    if (o.form == Operand::Form::name) {
        const obj::Object* k = named(o.name, env);
        if (k && k->tag == obj::numeric) return Value::number(obj::numeric_value(k));
    }
    return lang::evaluate(o.code, env);
}

std::shared_ptr<const Chain> analyse_chain(std::string_view text) {
    auto c = std::make_shared<Chain>();
    c->text = Text(text);
    std::optional<Access> a = parse_access(c->text);
    if (!a) return nullptr;
    c->access = std::move(*a);
    for (const Step& st : c->access.steps) {
        c->index.emplace_back();
        c->args.emplace_back();
        if (!st.method) {
            c->malformed |= st.inside.empty();
            if (!st.inside.empty()) c->index.back() = operand_of(st.inside);
            c->plain_operands &= c->index.back().form != Operand::Form::general;
            continue;
        }
        if (st.inside.empty()) continue;
        for (std::string_view piece : lang::scan::split_commas(st.inside)) {
            c->malformed |= piece.empty();
            c->args.back().push_back(operand_of(piece));
            c->plain_operands &= c->args.back().back().form != Operand::Form::general;
        }
    }
    c->named_base = name_like(c->access.base);
    return c;
}

std::shared_ptr<const Chain> chain_of(std::string_view text) {
    constexpr std::size_t max_cached_text = std::size_t{1} << 12;
    lang::TextCache<Chain>& cache = state().chains;
    if (!cacheable(text, max_cached_text)) return analyse_chain(text);
    if (auto found = cache.find(text)) return found;
    auto made = analyse_chain(text);
    // Texts that are no chain are remembered as such too.
    cache.put(text, made ? made : std::make_shared<Chain>(), 2 * text.size() + 128);
    return made;
}

// The evaluated arguments of every step, in order, before anything walks:
// an argument may change the container (a.append(...) inside an index).
struct Args {
    std::vector<Value> index;              // per step; unused for methods
    std::vector<std::vector<Value>> call;  // per step; unused for indices
};

bool evaluate_steps(const Chain& c, Arbenv* env, Args& out, Value* error) {
    if (c.malformed) return *error = fail(), false;
    const std::size_t n = c.access.steps.size();
    out.index.resize(n);
    out.call.resize(n);
    for (std::size_t k = 0; k < n; ++k) {
        if (!c.access.steps[k].method) {
            out.index[k] = operand_value(c.index[k], env);
            if (out.index[k].is_error()) return *error = std::move(out.index[k]), false;
            continue;
        }
        out.call[k].reserve(c.args[k].size());
        for (const Operand& p : c.args[k]) {
            out.call[k].push_back(operand_value(p, env));
            if (out.call[k].back().is_error()) return *error = std::move(out.call[k].back()), false;
        }
    }
    return true;
}

// The item at an index of a container, or null.
obj::Item* element(obj::Object* c, const Value& index) {
    if (c->tag == obj::array) {
        auto& items = obj::array_of(c)->items;
        std::size_t p = position(index, items.size());
        return p == std::string_view::npos ? nullptr : &items[p];
    }
    obj::MapKey key;
    if (!map_key(index, key)) return nullptr;
    auto& entries = obj::map_of(c)->entries;
    auto it = entries.find(key);
    return it == entries.end() ? nullptr : &it->second;
}

const MethodRow* method_of(const obj::Object* c, std::string_view name) {
    return c->tag == obj::array ? array_method(name) : map_method(name);
}

void update_depths(std::vector<obj::Object*>& path) {
    for (std::size_t k = path.size(); k-- > 1;) {
        obj::Object* child = path[k];
        obj::Item probe{{0, 0}, child};
        std::uint32_t d = obj::item_depth(probe) + 1;
        obj::Object* parent = path[k - 1];
        if (parent->tag == obj::array) obj::array_of(parent)->depth = std::max(obj::array_of(parent)->depth, d);
        else obj::map_of(parent)->depth = std::max(obj::map_of(parent)->depth, d);
    }
}

// Makes the blocks from `root` along the index steps [0, n) its own; the
// objects of the path, root first. Empty when a step does not lead to a
// container or memory runs out.
std::vector<obj::Object*> writable_path(obj::Object* root, const Args& args, std::size_t n) {
    std::vector<obj::Object*> path{root};
    obj::Object* cur = root;
    for (std::size_t k = 0; k < n; ++k) {
        bool own = cur->tag == obj::array ? obj::writable_array(cur) != nullptr : obj::writable_map(cur) != nullptr;
        if (!own) return {};
        obj::Item* it = element(cur, args.index[k]);
        if (!it || !is_container(it->obj)) return {};
        cur = it->obj;
        path.push_back(cur);
    }
    bool own = cur->tag == obj::array ? obj::writable_array(cur) != nullptr : obj::writable_map(cur) != nullptr;
    if (!own) return {};
    return path;
}

Value call_method(obj::Object* self, const MethodRow* row, std::vector<Value>& args, Arbenv* env,
                  std::uint32_t room) {
    const int n = static_cast<int>(args.size());
    if (n < row->min_args || (row->max_args >= 0 && n > row->max_args)) return fail();
    return row->fn(self, args, env, room);
}

// The first method step: when it changes its container, the blocks from the
// variable to it are made writable.
std::size_t first_method(const Access& a) {
    std::size_t k = 0;
    while (k < a.steps.size() && !a.steps[k].method) ++k;
    return k;
}

// Steps from..end on a value that a step answered: each step on whatever
// type the one before it gave.
Value rest(Value cur, const Access& a, std::size_t from, Args& args, Arbenv* env) {
    for (std::size_t k = from; k < a.steps.size() && !cur.is_error(); ++k) {
        std::vector<Value> index;
        if (!a.steps[k].method) index.push_back(std::move(args.index[k]));
        cur = step_on_value(std::move(cur), a.steps[k], a.steps[k].method ? args.call[k] : index, env);
    }
    return cur;
}

Value walk(const Access& a, Args& args, obj::Object* root, bool variable, Arbenv* env) {
    std::vector<obj::Object*> path;
    std::size_t start = 0;
    obj::Object* cur = root;
    std::size_t m = first_method(a);
    std::vector<Value> keep;  // temporaries the walk stands on
    if (variable && m < a.steps.size()) {
        // Whether the method changes its container is known once the
        // container at step m is known: walk there read-only first.
        obj::Object* probe = root;
        for (std::size_t k = 0; k < m && probe; ++k) {
            obj::Item* it = element(probe, args.index[k]);
            probe = it && is_container(it->obj) ? it->obj : nullptr;
        }
        const MethodRow* row = probe ? method_of(probe, a.steps[m].name) : nullptr;
        if (row && row->changes) {
            path = writable_path(root, args, m);
            if (path.empty()) return fail();
            const std::uint32_t room = obj::max_container_depth - static_cast<std::uint32_t>(m);
            Value r = call_method(path.back(), row, args.call[m], env, room);
            update_depths(path);
            if (m + 1 == a.steps.size()) return r;
            if (!lang::is_array(r) && !lang::is_map(r)) return rest(std::move(r), a, m + 1, args, env);
            keep.push_back(std::move(r));
            cur = keep.back().obj.get();
            start = m + 1;
        }
    }
    for (std::size_t k = start; k < a.steps.size(); ++k) {
        const Step& s = a.steps[k];
        Value r;
        if (!s.method) {
            obj::Item* it = element(cur, args.index[k]);
            if (!it) return fail(lang::Error::invalid_object);
            if (k + 1 == a.steps.size()) return lang::item_value(*it);
            if (!is_container(it->obj)) return rest(lang::item_value(*it), a, k + 1, args, env);
            cur = it->obj;
            continue;
        }
        const MethodRow* row = method_of(cur, s.name);
        if (!row) return fail();
        if (row->changes) {
            // A change to a value that is no variable's works on a copy.
            Value tmp = Value::object_of(lang::ObjectPtr(obj::copy_object(cur, env)));
            if (tmp.is_error()) return tmp;
            r = call_method(tmp.obj.get(), row, args.call[k], env, obj::max_container_depth);
        } else {
            r = call_method(cur, row, args.call[k], env, obj::max_container_depth);
        }
        if (k + 1 == a.steps.size() || r.is_error()) return r;
        if (!lang::is_array(r) && !lang::is_map(r)) return rest(std::move(r), a, k + 1, args, env);
        keep.push_back(std::move(r));
        cur = keep.back().obj.get();
    }
    return fail();
}

}  // namespace

Value value_method(obj::Object* self, std::string_view name, std::vector<Value>& args, Arbenv* env) {
    const MethodRow* row = is_container(self) ? method_of(self, name) : nullptr;
    if (!row) return fail();
    if (!row->changes) return call_method(self, row, args, env, obj::max_container_depth);
    Value tmp = Value::object_of(lang::ObjectPtr(obj::copy_object(self, env)));
    if (tmp.is_error()) return tmp;
    return call_method(tmp.obj.get(), row, args, env, obj::max_container_depth);
}

std::optional<Access> parse_access(std::string_view t) {
    if (t.size() < 3) return std::nullopt;
    std::vector<std::uint32_t> jumps = lang::scan::bracket_jumps(t);
    if (jumps.empty()) return std::nullopt;
    std::vector<Step> rev;
    std::size_t end = t.size();
    while (end > 0) {
        const char c = t[end - 1];
        if (c != ']' && c != ')') break;
        const std::size_t open = end - 1 - jumps[end - 1];
        if (c == ']') {
            if (open == 0) break;  // the whole rest is a literal
            rev.push_back({false, {}, t.substr(open + 1, end - open - 2)});
            end = open;
            continue;
        }
        std::size_t s = open;
        while (s > 0 && !lang::ops::in(lang::ops::delimiters, t[s - 1])) --s;
        if (s == open || s < 2 || t[s - 1] != '.' || !lang::scan::is_plain_name(t.substr(s, open - s))) break;
        rev.push_back({true, t.substr(s, open - s), t.substr(open + 1, end - open - 2)});
        end = s - 1;
    }
    if (rev.empty() || end == 0) return std::nullopt;
    Access a{t.substr(0, end), {rev.rbegin(), rev.rend()}};
    return a;
}

std::size_t position(const Value& v, std::size_t n, bool one_past) {
    if (v.kind != Value::Kind::number || v.num.im != 0) return std::string_view::npos;
    const double x = v.num.re;
    if (!(x >= 1) || x != std::floor(x) || x > static_cast<double>(n) + (one_past ? 1 : 0))
        return std::string_view::npos;
    return static_cast<std::size_t>(x) - 1;
}

bool literal_keyword(std::string_view kw) noexcept { return kw == "array" || kw == "map" || kw == "matrix"; }

bool container_atom(std::string_view text, Arbenv* env, Value* out) {
    if (text.size() >= 2 && text.front() == '[' && lang::scan::matching_closer(text, 0) == text.size() - 1) {
        *out = array_literal(text.substr(1, text.size() - 2), env);
        return true;
    }
    std::string_view kw = block_keyword(text);
    if (kw == "array" || kw == "map") {
        std::string_view inside = text.substr(kw.size() + 1, text.size() - kw.size() - 2);
        *out = kw == "array" ? sized_array(inside, env) : map_literal(inside, env);
        return true;
    }
    if (kw == "matrix") return *out = matrix_literal(text.substr(7, text.size() - 8), env), true;
    // A chain ends in an index or in a method call, which holds a ".": a
    // plain call f(x) is turned away before any lookup.
    if (text.back() != ']' && (text.back() != ')' || text.find('.') == std::string_view::npos)) return false;
    std::shared_ptr<const Chain> c = chain_of(text);
    if (!c || c->access.steps.empty()) return false;
    const Access* a = &c->access;
    Args args;
    if (c->named_base) {
        const obj::Object* root = named(a->base, env);
        if (root && root->tag == obj::matrix && root->value) return *out = matrix_chain(*a, nullptr, env), true;
        if (root && root->tag == obj::string && a->steps.size() >= 2) {
            // s.split(",")[2]: a string's chain goes on from its first step.
            if (!evaluate_steps(*c, env, args, out)) return true;
            const obj::Object* o = c->plain_operands ? root : obj::resolve(env, a->base);
            *out = o && o->tag == obj::string ? rest(lang::value_of(o), *a, 0, args, env) : fail();
            return true;
        }
        if (!is_container(root)) return false;
        if (c->plain_operands && a->steps.size() == 1 && !a->steps[0].method) {
            // name[k]: the read of a loop over an array, without the walk.
            Value index = operand_value(c->index[0], env);
            if (index.is_error()) return *out = std::move(index), true;
            const obj::Item* it = element(const_cast<obj::Object*>(root), index);
            *out = it ? lang::item_value(*it) : fail(lang::Error::invalid_object);
            return true;
        }
        if (!evaluate_steps(*c, env, args, out)) return true;
        // Looked up again when an argument may have replaced the variable.
        obj::Object* o = c->plain_operands ? const_cast<obj::Object*>(root) : obj::resolve(env, a->base);
        if (!is_container(o)) return *out = fail(), true;
        *out = walk(*a, args, o, true, env);
        return true;
    }
    Value base = lang::evaluate(a->base, env);
    if (base.is_error()) return *out = std::move(base), true;
    if (lang::is_matrix(base)) return *out = matrix_chain(*a, std::move(base), env), true;
    if (base.kind == Value::Kind::object && base.obj->tag == obj::string && a->steps.size() >= 2) {
        if (!evaluate_steps(*c, env, args, out)) return true;
        return *out = rest(std::move(base), *a, 0, args, env), true;
    }
    if (!lang::is_array(base) && !lang::is_map(base)) return false;
    if (!evaluate_steps(*c, env, args, out)) return true;
    *out = walk(*a, args, base.obj.get(), false, env);
    return true;
}

std::optional<Text> assign_element(std::string_view left, std::string_view right, Arbenv* env) {
    std::shared_ptr<const Chain> c = chain_of(left);
    if (!c || c->access.steps.empty() || !name_like(c->access.base)) return std::nullopt;
    const Access* a = &c->access;
    auto word = [](lang::Error e) { return Text(lang::error_word(e)); };
    for (const Step& s : a->steps)
        if (s.method) return word(lang::Error::invalid_assignment);
    Value v = lang::evaluate(right, env);
    if (v.is_error()) return word(aborted(env) ? lang::Error::evaluation_aborted : v.error);
    Args args;
    Value err;
    if (!evaluate_steps(*c, env, args, &err)) return word(err.error);
    obj::Object* root = obj::resolve(env, a->base);
    if (!is_container(root)) return word(lang::Error::invalid_assignment);
    const std::size_t n = a->steps.size();
    obj::Item item;
    if (!lang::to_item(v, item)) return word(lang::Error::invalid_expression);
    if (n + obj::item_depth(item) > obj::max_container_depth) {
        obj::free_item(item);
        return word(lang::Error::invalid_expression);
    }
    std::vector<obj::Object*> path = writable_path(root, args, n - 1);
    obj::Object* holder = path.empty() ? nullptr : path.back();
    if (holder && holder->tag == obj::array) {
        obj::Item* slot = element(holder, args.index[n - 1]);
        if (slot) {
            obj::free_item(*slot);
            *slot = item;
            obj::ArrayValue* b = obj::array_of(holder);
            b->depth = std::max(b->depth, obj::item_depth(item) + 1);
            update_depths(path);
            return Text();
        }
    } else if (holder) {
        obj::MapKey key;
        if (map_key(args.index[n - 1], key)) {
            obj::MapValue* m = obj::map_of(holder);
            auto [it, fresh] = m->entries.try_emplace(std::move(key), item);
            if (!fresh) {
                obj::free_item(it->second);
                it->second = item;
            }
            if (m->entries.size() > obj::max_container_items) {
                m->entries.erase(it);
                obj::free_item(item);
                too_large(env);
                return word(lang::Error::evaluation_aborted);
            }
            m->depth = std::max(m->depth, obj::item_depth(item) + 1);
            update_depths(path);
            return Text();
        }
    }
    obj::free_item(item);
    return word(lang::Error::invalid_assignment);
}

bool same_item(const obj::Item& a, const obj::Item& b) {
    return same_value(lang::item_value(a), lang::item_value(b));
}

bool same_value(const Value& a, const Value& b) {
    using K = Value::Kind;
    if (a.kind == K::number || b.kind == K::number)
        return a.kind == b.kind && lang::cx::equal(a.num.re, b.num.re) && lang::cx::equal(a.num.im, b.num.im);
    if (a.kind != K::object || b.kind != K::object)
        return (a.kind == K::formula || a.kind == K::pair) && (b.kind == K::formula || b.kind == K::pair) &&
               lang::joined(a.text) == lang::joined(b.text);
    const obj::Object *x = a.obj.get(), *y = b.obj.get();
    if (x->tag != y->tag) return false;
    if (x->tag == obj::string) return obj::text_value(x) == obj::text_value(y);
    if (x->tag == obj::array) {
        const auto &p = obj::array_of(x)->items, &q = obj::array_of(y)->items;
        if (p.size() != q.size()) return false;
        for (std::size_t k = 0; k < p.size(); ++k)
            if (!same_item(p[k], q[k])) return false;
        return true;
    }
    if (x->tag == obj::map) {
        const auto &p = obj::map_of(x)->entries, &q = obj::map_of(y)->entries;
        if (p.size() != q.size()) return false;
        for (auto i = p.begin(), j = q.begin(); i != p.end(); ++i, ++j) {
            if (obj::MapKeyLess{}(i->first, j->first) || obj::MapKeyLess{}(j->first, i->first)) return false;
            if (!same_item(i->second, j->second)) return false;
        }
        return true;
    }
    return obj::compare(a, b, lang::ops::Cond::eq) == 1;
}

int container_compare(const Value& a, const Value& b, lang::ops::Cond c) {
    const bool x = lang::is_array(a) || lang::is_map(a), y = lang::is_array(b) || lang::is_map(b);
    if (!x && !y) return -1;
    if (c != lang::ops::Cond::eq && c != lang::ops::Cond::ne) return -1;
    const bool same = same_value(a, b);
    return c == lang::ops::Cond::eq ? same : !same;
}

}  // namespace ostr::script
