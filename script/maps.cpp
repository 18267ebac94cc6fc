// Maps: the literal "map:key=value,...;" ("map:0;" is the empty map), keys
// that are numbers or strings, and the methods (one function per row).
#include "grammar/scan.hpp"
#include "script/containers.hpp"

namespace ostr::script {
namespace {

using lang::Value;
using obj::Item;
using obj::MapValue;

Value fail(lang::Error e = lang::Error::invalid_expression) { return Value::failure(e); }
Value size_of(const MapValue& m) { return Value::number({static_cast<double>(m.entries.size()), 0}); }

using MapPtr = std::unique_ptr<MapValue, void (*)(void*)>;

// Sets key to the value; false (and nothing changed) for a key or value a
// map cannot hold, or one nested past the room.
bool put(MapValue& m, Value& key, Value& v, std::uint32_t room) {
    obj::MapKey k;
    Item it;
    if (!map_key(key, k) || !lang::to_item(v, it)) return false;
    if (obj::item_depth(it) + 1 > room) {
        obj::free_item(it);
        return false;
    }
    auto [at, fresh] = m.entries.try_emplace(std::move(k), it);
    if (!fresh) {
        obj::free_item(at->second);
        at->second = it;
    }
    m.depth = std::max(m.depth, obj::item_depth(it) + 1);
    return true;
}

// add(k1, v1, k2, v2, ...): sets each key to the value after it.
Value m_add(obj::Object* self, std::span<Value> args, Arbenv* env, std::uint32_t room) {
    if (args.size() % 2) return fail();
    if (obj::map_of(self)->entries.size() + args.size() / 2 > obj::max_container_items) return too_large(env);
    // Checked before anything changes: the map takes all pairs or none.
    for (std::size_t k = 0; k < args.size(); k += 2) {
        obj::MapKey key;
        const Value& v = args[k + 1];
        if (!map_key(args[k], key) || v.is_error()) return fail();
        if (v.kind == Value::Kind::object) {
            Item probe{{0, 0}, v.obj.get()};
            if (!obj::storable(v.obj.get()) || obj::item_depth(probe) + 1 > room) return fail();
        }
    }
    MapValue* m = obj::writable_map(self);
    if (!m) return fail();
    for (std::size_t k = 0; k < args.size(); k += 2)
        if (!put(*m, args[k], args[k + 1], room)) return fail();
    return size_of(*m);
}

const Item* lookup(const obj::Object* self, const Value& key) {
    obj::MapKey k;
    if (!map_key(key, k)) return nullptr;
    const auto& e = obj::map_of(self)->entries;
    auto it = e.find(k);
    return it == e.end() ? nullptr : &it->second;
}

Value m_get(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    obj::MapKey k;
    if (!map_key(args[0], k)) return fail();
    const Item* it = lookup(self, args[0]);
    return it ? lang::item_value(*it) : fail(lang::Error::invalid_object);
}

Value listing(const MapValue& m, bool keys) {
    auto a = obj::new_array();
    if (!a) return fail();
    Value out = lang::array_value(a);
    if (out.is_error()) return out;
    a->items.reserve(m.entries.size());
    for (const auto& [key, it] : m.entries) {
        Item copy;
        if (keys) {
            Value k = key_value(key);
            if (!lang::to_item(k, copy)) return fail();
        } else if (!obj::copy_item(it, copy)) {
            return fail();
        }
        a->items.push_back(copy);
    }
    obj::refresh_depth(*a);
    return out;
}

Value m_keys(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) { return listing(*obj::map_of(self), true); }
Value m_values(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    return listing(*obj::map_of(self), false);
}
Value m_size(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) { return size_of(*obj::map_of(self)); }

Value m_flush(obj::Object* self, std::span<Value>, Arbenv*, std::uint32_t) {
    MapValue* m = obj::writable_map(self);
    if (!m) return fail();
    for (auto& [key, it] : m->entries) obj::free_item(it);
    m->entries.clear();
    m->depth = 1;
    return size_of(*m);
}

Value m_exists(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    obj::MapKey k;
    if (!map_key(args[0], k)) return fail();
    return Value::number({lookup(self, args[0]) ? 1.0 : 0.0, 0});
}

// delete(k): a missing key is an error and changes nothing.
Value m_delete(obj::Object* self, std::span<Value> args, Arbenv*, std::uint32_t) {
    obj::MapKey k;
    if (!map_key(args[0], k)) return fail();
    if (!lookup(self, args[0])) return fail(lang::Error::invalid_object);
    MapValue* m = obj::writable_map(self);
    if (!m) return fail();
    auto it = m->entries.find(k);
    obj::free_item(it->second);
    m->entries.erase(it);
    obj::refresh_depth(*m);
    return size_of(*m);
}

// The rows in the order of the type's method table, then the additions.
constexpr MethodRow rows[] = {
    {"add", 2, -1, true, m_add},       {"get", 1, 1, false, m_get},       {"keys", 0, 0, false, m_keys},
    {"size", 0, 0, false, m_size},     {"flush", 0, 0, true, m_flush},    {"exists", 1, 1, false, m_exists},
    {"delete", 1, 1, true, m_delete},  {"values", 0, 0, false, m_values},
};

}  // namespace

std::span<const MethodRow> map_methods() noexcept { return rows; }

const MethodRow* map_method(std::string_view name) noexcept {
    for (const MethodRow& r : rows)
        if (r.name == name) return &r;
    return nullptr;
}

bool map_key(const Value& v, obj::MapKey& key) {
    key = {};
    if (v.kind == Value::Kind::number) {
        key.num = {v.num.re + 0.0, v.num.im + 0.0};
        return true;
    }
    if (v.kind != Value::Kind::object || !v.obj || v.obj->tag != obj::string) return false;
    key.is_text = true;
    key.text = Text(obj::text_value(v.obj.get()));
    return true;
}

Value key_value(const obj::MapKey& key) {
    if (!key.is_text) return Value::number(key.num);
    return Value::object_of(lang::ObjectPtr(make_string(key.text, "", nullptr)));
}

// map:k1=v1,k2=v2,...; each piece is cut at its assignment sign; a key given
// twice keeps its last value.
Value map_literal(std::string_view inside, Arbenv* env) {
    MapPtr m(obj::new_map(), obj::map_handlers().free);
    if (!m) return fail();
    if (inside != "0") {
        std::vector<std::string_view> pieces = lang::scan::split_commas(inside);
        if (pieces.size() > obj::max_container_items) return too_large(env);
        for (std::string_view p : pieces) {
            const std::size_t at = assignment_sign(p);
            if (at == std::string_view::npos || at == 0 || at + 1 == p.size()) return fail();
            Value k = lang::evaluate(p.substr(0, at), env);
            if (k.is_error()) return k;
            Value v = lang::evaluate(p.substr(at + 1), env);
            if (v.is_error()) return v;
            if (!put(*m, k, v, obj::max_container_depth)) return fail();
        }
    }
    return Value::object_of(lang::ObjectPtr(obj::make_map(m.release(), nullptr)));
}

}  // namespace ostr::script
