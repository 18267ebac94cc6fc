// Arrays: the literals "[a,b,...]" and "array:n;", the methods (one function
// per row of the method table) and the printer.
#include <algorithm>
#include <cmath>

#include "grammar/scan.hpp"
#include "lang/globals.hpp"
#include "script/containers.hpp"
#include "script/string_methods.hpp"
#include "script/matrices.hpp"

namespace ostr::script {
namespace {

using lang::Value;
using obj::ArrayValue;
using obj::Item;

Value fail() { return Value::failure(); }
Value number(double x) { return Value::number({x, 0}); }
Value size_of(const ArrayValue& a) { return number(static_cast<double>(a.items.size())); }

using BlockPtr = std::unique_ptr<ArrayValue, void (*)(void*)>;
BlockPtr new_block() { return BlockPtr(obj::new_array(), obj::array_handlers().free); }

// The arguments as items, all or none; false for a value an array cannot
// hold or one nested past the room.
bool items_of(std::span<Value> args, std::uint32_t room, std::vector<Item>& out) {
    for (Value& v : args) {
        Item it;
        if (!lang::to_item(v, it) || obj::item_depth(it) + 1 > room) {
            if (it.obj) obj::free_item(it);
            for (Item& done : out) obj::free_item(done);
            out.clear();
            return false;
        }
        out.push_back(it);
    }
    return true;
}

void raise_depth(ArrayValue& a, const std::vector<Item>& added) {
    for (const Item& it : added) a.depth = std::max(a.depth, obj::item_depth(it) + 1);
}

Value m_size(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) { return size_of(*obj::array_of(self)); }

// enlarge(n): grows the array to n elements with zeros; n below the size is
// an error.
Value m_enlarge(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    const std::size_t n = obj::array_of(self)->items.size();
    const Value& v = args[0];
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) ||
        v.num.re < static_cast<double>(n))
        return fail();
    if (v.num.re > static_cast<double>(obj::max_container_items)) return too_large(env);
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    a->items.resize(static_cast<std::size_t>(v.num.re));
    return size_of(*a);
}

Value m_matrix(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    return matrix_from_array(*obj::array_of(self));
}

Value m_append(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t room) {
    if (obj::array_of(self)->items.size() + args.size() > obj::max_container_items) return too_large(env);
    std::vector<Item> add;
    if (!items_of(args, room, add)) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) {
        for (Item& it : add) obj::free_item(it);
        return fail();
    }
    a->items.insert(a->items.end(), add.begin(), add.end());
    raise_depth(*a, add);
    return size_of(*a);
}

// insert(i, x): x becomes element i; i may be one past the end.
Value m_insert(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t room) {
    const std::size_t n = obj::array_of(self)->items.size();
    const std::size_t p = position(args[0], n, true);
    if (p == std::string_view::npos) return fail();
    if (n + 1 > obj::max_container_items) return too_large(env);
    std::vector<Item> add;
    if (!items_of(args.subspan(1), room, add)) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) {
        obj::free_item(add[0]);
        return fail();
    }
    a->items.insert(a->items.begin() + static_cast<std::ptrdiff_t>(p), add[0]);
    raise_depth(*a, add);
    return size_of(*a);
}

Value m_swap(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    const std::size_t n = obj::array_of(self)->items.size();
    const std::size_t p = position(args[0], n), q = position(args[1], n);
    if (p == std::string_view::npos || q == std::string_view::npos) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    std::swap(a->items[p], a->items[q]);
    return size_of(*a);
}

// delete(i, j, ...): the positions name elements of the array as it was;
// all must be valid and distinct, else nothing is deleted.
Value m_delete(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    const std::size_t n = obj::array_of(self)->items.size();
    std::vector<std::size_t> at;
    for (const Value& v : args) {
        const std::size_t p = position(v, n);
        if (p == std::string_view::npos) return fail();
        at.push_back(p);
    }
    std::sort(at.begin(), at.end());
    if (std::adjacent_find(at.begin(), at.end()) != at.end()) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    for (std::size_t k = at.size(); k-- > 0;) {
        obj::free_item(a->items[at[k]]);
        a->items.erase(a->items.begin() + static_cast<std::ptrdiff_t>(at[k]));
    }
    obj::refresh_depth(*a);
    return size_of(*a);
}

// crop(i, j): keeps the elements i to j.
Value m_crop(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    const std::size_t n = obj::array_of(self)->items.size();
    const std::size_t p = position(args[0], n), q = position(args[1], n);
    if (p == std::string_view::npos || q == std::string_view::npos || q < p) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    for (std::size_t k = 0; k < n; ++k)
        if (k < p || k > q) obj::free_item(a->items[k]);
    a->items.erase(a->items.begin() + static_cast<std::ptrdiff_t>(q) + 1, a->items.end());
    a->items.erase(a->items.begin(), a->items.begin() + static_cast<std::ptrdiff_t>(p));
    obj::refresh_depth(*a);
    return size_of(*a);
}

bool all_numbers(const ArrayValue& a) {
    return std::all_of(a.items.begin(), a.items.end(), [](const Item& it) { return !it.obj; });
}

// sort(): numbers by real, then imaginary part; strings by their bytes. A
// mix, or other kinds, cannot be sorted.
Value m_sort(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    const ArrayValue& r = *obj::array_of(self);
    const bool numbers = all_numbers(r);
    const bool strings = std::all_of(r.items.begin(), r.items.end(),
                                     [](const Item& it) { return it.obj && it.obj->tag == obj::string; });
    if (!numbers && !strings) return fail();
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    if (numbers)
        std::stable_sort(a->items.begin(), a->items.end(), [](const Item& x, const Item& y) {
            return x.num.re < y.num.re || (x.num.re == y.num.re && x.num.im < y.num.im);
        });
    else
        std::stable_sort(a->items.begin(), a->items.end(), [](const Item& x, const Item& y) {
            return obj::text_value(x.obj) < obj::text_value(y.obj);
        });
    return size_of(*a);
}

Value m_reverse(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    ArrayValue* a = obj::writable_array(self);
    if (!a) return fail();
    std::reverse(a->items.begin(), a->items.end());
    return size_of(*a);
}

// find(x): the index of the first element equal to x, 0 when none is.
Value m_find(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    const auto& items = obj::array_of(self)->items;
    for (std::size_t k = 0; k < items.size(); ++k)
        if (same_value(lang::item_value(items[k]), args[0])) return number(static_cast<double>(k + 1));
    return number(0);
}

Value m_contains(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t room) {
    Value k = m_find(self, args, env, room);
    return number(k.num.re > 0 ? 1 : 0);
}

// sum(): the elements added with "+" from 0, so formulas and nested arrays
// of one size add as they would in an expression.
Value m_sum(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) {
    const ArrayValue& a = *obj::array_of(self);
    if (all_numbers(a)) {
        Complex s{0, 0};
        for (const Item& it : a.items) s.re += it.num.re, s.im += it.num.im;
        return Value::number({s.re + 0.0, s.im + 0.0});
    }
    if (!lang::globals()) return fail();
    Value acc = number(0);
    for (const Item& it : a.items) {
        Value v = lang::item_value(it);
        acc = obj::binary_handler(acc.tag(), v.tag())(acc, v, '+', env, lang::OperandTexts{});
        if (acc.is_error()) return acc;
    }
    return acc;
}

// min(), max(), mean(): the predefined statistics over the elements.
Value statistic(std::string_view name, obj::Object* self, Arbenv* env) {
    lang::Globals* g = lang::globals();
    if (!g) return fail();
    auto b = g->builtins.find(name);
    if (b == g->builtins.end() || !b->second.call_fn) return fail();
    const auto& items = obj::array_of(self)->items;
    std::vector<Value> vals;
    vals.reserve(items.size());
    for (const Item& it : items) vals.push_back(lang::item_value(it));
    std::vector<std::string_view> texts(vals.size(), "x");
    Text call(name);
    call += "(array)";
    Value r = b->second.call_fn(lang::Call{call, texts, env}, vals);
    // A formula element leaves the statistic open; it has no text of its own.
    if (r.kind == Value::Kind::formula) return fail();
    return r;
}

Value m_min(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) { return statistic("min", self, env); }
Value m_max(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) { return statistic("max", self, env); }
Value m_mean(obj::Object* self, std::span<Value>, Arbenv* env, std::uint32_t) { return statistic("mean", self, env); }

// join(sep): the elements' texts with sep between them (no sep: nothing
// between). A string gives its text, a number what "+" writes into a string
// (the significant digits); any other element is an error. The length is
// known before anything is built, so an oversized result is refused first.
Value m_join(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t) {
    std::string_view sep;
    if (!args.empty() && !string_arg(args[0], sep)) return fail();
    const auto& items = obj::array_of(self)->items;
    std::vector<Text> numbers;  // the texts of the number elements, in order
    std::size_t size = items.empty() ? 0 : sep.size() * (items.size() - 1);
    for (const Item& it : items) {
        if (!it.obj) numbers.push_back(lang::display(Value::number(it.num), env->significant_digits));
        else if (it.obj->tag != obj::string) return fail();
        size += it.obj ? obj::text_value(it.obj).size() : numbers.back().size();
    }
    if (size > limits().max_string_bytes) return abort_value(env, "string too long");
    Text out;
    out.reserve(size);
    std::size_t next_number = 0;
    for (std::size_t k = 0; k < items.size(); ++k) {
        if (k) out += sep;
        out += items[k].obj ? obj::text_value(items[k].obj) : std::string_view(numbers[next_number++]);
    }
    return string_result(out, env);
}

// The rows in the order of the type's method table, then the additions.
constexpr MethodRow rows[] = {
    {"size", 0, 0, false, m_size},       {"enlarge", 1, 1, true, m_enlarge}, {"matrix", 0, 0, false, m_matrix},
    {"append", 1, -1, true, m_append},   {"insert", 2, 2, true, m_insert},   {"swap", 2, 2, true, m_swap},
    {"delete", 1, -1, true, m_delete},   {"crop", 2, 2, true, m_crop},       {"sort", 0, 0, true, m_sort},
    {"reverse", 0, 0, true, m_reverse},  {"find", 1, 1, false, m_find},      {"contains", 1, 1, false, m_contains},
    {"sum", 0, 0, false, m_sum},         {"min", 0, 0, false, m_min},        {"max", 0, 0, false, m_max},
    {"mean", 0, 0, false, m_mean},       {"join", 0, 1, false, m_join},
};

}  // namespace

std::span<const MethodRow> array_methods() noexcept { return rows; }

const MethodRow* array_method(std::string_view name) noexcept {
    for (const MethodRow& r : rows)
        if (r.name == name) return &r;
    return nullptr;
}

Value too_large(Arbenv* env) { return abort_value(env, "container too large"); }

Value array_literal(std::string_view inside, Arbenv* env) {
    if (inside.empty()) return fail();
    std::vector<std::string_view> pieces = lang::scan::split_commas(inside);
    if (pieces.size() > obj::max_container_items) return too_large(env);
    BlockPtr a = new_block();
    if (!a) return fail();
    a->items.reserve(pieces.size());
    for (std::string_view p : pieces) {
        if (p.empty()) return fail();
        Value v = lang::evaluate(p, env);
        if (v.is_error()) return v;
        Item it;
        if (!lang::to_item(v, it)) return fail();
        a->items.push_back(it);
    }
    obj::refresh_depth(*a);
    if (a->depth > obj::max_container_depth) return fail();
    return lang::array_value(a.release());
}

Value sized_array(std::string_view count, Arbenv* env) {
    Value v = lang::evaluate(count, env);
    if (v.is_error()) return v;
    if (v.kind != Value::Kind::number || v.num.im != 0 || v.num.re != std::floor(v.num.re) || v.num.re < 0)
        return fail();
    if (v.num.re > static_cast<double>(obj::max_container_items)) return too_large(env);
    BlockPtr a = new_block();
    if (!a) return fail();
    a->items.resize(static_cast<std::size_t>(v.num.re));
    return lang::array_value(a.release());
}

Text print_item(const Item& it, int digits) {
    if (!it.obj) return lang::display(Value::number(it.num), digits);
    switch (it.obj->tag) {
    case obj::string: return quoted(obj::text_value(it.obj));
    case obj::array:
    case obj::map: return print_container(it.obj, digits);
    default: return obj::print(it.obj, digits);
    }
}

// Past limits().max_shown_items elements, the first and the last three are
// shown around "...", which no literal may hold: the elided text cannot be
// taken back in for the whole.
Text print_container(const obj::Object* o, int digits) {
    constexpr std::size_t edge = 3;
    const std::size_t shown = limits().max_shown_items;
    Text out;
    auto each = [&](std::size_t n, auto&& piece) {
        const bool elide = n > shown && n > 2 * edge;
        for (std::size_t k = 0; k < n; ++k) {
            if (elide && k == edge) {
                out += ",...";
                k = n - edge;
            }
            if (k) out += ',';
            piece(k);
        }
    };
    if (o->tag == obj::array) {
        const auto& items = obj::array_of(o)->items;
        if (items.empty()) return Text("[]");
        out += '[';
        each(items.size(), [&](std::size_t k) { out += print_item(items[k], digits); });
        out += ']';
        return out;
    }
    const auto& entries = obj::map_of(o)->entries;
    if (entries.empty()) return Text("map:0;");
    out += "map:";
    auto it = entries.begin();
    std::size_t pos = 0;
    each(entries.size(), [&](std::size_t k) {
        std::advance(it, static_cast<std::ptrdiff_t>(k - pos));
        pos = k;
        out += lang::display(key_value(it->first), digits);
        out += '=';
        out += print_item(it->second, digits);
    });
    out += ';';
    return out;
}

}  // namespace ostr::script
