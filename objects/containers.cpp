// Array and map blocks: reference counts, copy on write, the value handlers
// of the two tags and the order of map keys.
#include "objects/containers.hpp"

#include <algorithm>
#include <new>

#include "objects/environment.hpp"
#include "objects/types.hpp"

namespace ostr::obj {
namespace {

template <class T>
T* new_block() {
    void* p = mem_alloc(sizeof(T));
    return p ? new (p) T() : nullptr;
}

template <class T>
void drop(T* block) noexcept {
    if (!block || --block->refs > 0) return;
    if constexpr (std::is_same_v<T, ArrayValue>) {
        for (Item& it : block->items) free_item(it);
    } else {
        for (auto& [key, it] : block->entries) free_item(it);
    }
    block->~T();
    mem_free(block);
}

// A block of its own for a holder whose block is shared: the items are
// copied, and nested containers among them are shared one level down.
ArrayValue* clone(const ArrayValue& a) {
    ArrayValue* c = new_block<ArrayValue>();
    if (!c) return nullptr;
    c->depth = a.depth;
    c->items.reserve(a.items.size());
    for (const Item& it : a.items) {
        Item copy;
        if (!copy_item(it, copy)) {
            drop(c);
            return nullptr;
        }
        c->items.push_back(copy);
    }
    return c;
}

MapValue* clone(const MapValue& m) {
    MapValue* c = new_block<MapValue>();
    if (!c) return nullptr;
    c->depth = m.depth;
    for (const auto& [key, it] : m.entries) {
        Item copy;
        if (!copy_item(it, copy)) {
            drop(c);
            return nullptr;
        }
        c->entries.emplace_hint(c->entries.end(), key, copy);
    }
    return c;
}

template <class T>
T* writable(Object* holder) {
    auto* block = static_cast<T*>(holder->value);
    if (block->refs == 1) return block;
    T* own = clone(*block);
    if (!own) return nullptr;
    drop(block);
    holder->value = own;
    return own;
}

}  // namespace

bool MapKeyLess::operator()(const MapKey& a, const MapKey& b) const noexcept {
    if (a.is_text != b.is_text) return b.is_text;
    if (a.is_text) return a.text < b.text;
    if (a.num.re != b.num.re) return a.num.re < b.num.re;
    return a.num.im < b.num.im;
}

std::uint32_t item_depth(const Item& it) noexcept {
    if (!it.obj || !it.obj->value) return 0;
    if (it.obj->tag == array) return array_of(it.obj)->depth;
    if (it.obj->tag == map) return map_of(it.obj)->depth;
    // A class, instance or mutant: one level above its deepest member.
    if (it.obj->tag == scoped || it.obj->tag == mutant || it.obj->tag == class_definition) {
        std::uint32_t d = 0;
        for (const auto& [key, m] : static_cast<const Arbenv*>(it.obj->value)->objects)
            d = std::max(d, item_depth(Item{{0, 0}, m}));
        return d + 1;
    }
    return 0;
}

bool storable(const Object* o) noexcept {
    switch (o->tag) {
    case algebraic:
    case string:
    case numeric: return true;
    case array:
    case map:
    case matrix:
    case bignum:
    case node:
    case mutant:
    case class_definition:
    case scoped: return o->value != nullptr;
    default: return false;
    }
}

bool copy_item(const Item& from, Item& to) {
    to.num = from.num;
    to.obj = nullptr;
    if (!from.obj) return true;
    to.obj = copy_object(from.obj, nullptr);
    return to.obj != nullptr;
}

void free_item(Item& it) noexcept {
    free_object(it.obj);
    it.obj = nullptr;
}

ArrayValue* new_array() { return new_block<ArrayValue>(); }
MapValue* new_map() { return new_block<MapValue>(); }

void release_array(void* v) noexcept { drop(static_cast<ArrayValue*>(v)); }
void release_map(void* v) noexcept { drop(static_cast<MapValue*>(v)); }

// Copying a container value takes a reference: the copy shares the block.
void* share_array(void* v) noexcept {
    ++static_cast<ArrayValue*>(v)->refs;
    return v;
}
void* share_map(void* v) noexcept {
    ++static_cast<MapValue*>(v)->refs;
    return v;
}

const ValueHandlers& array_handlers() noexcept { return type_of(array).handlers; }
const ValueHandlers& map_handlers() noexcept { return type_of(map).handlers; }

Object* make_array(ArrayValue* v, Arbenv* env, std::string_view name) {
    return v ? make_object(env, array, name, v, array_handlers()) : nullptr;
}

Object* make_map(MapValue* v, Arbenv* env, std::string_view name) {
    return v ? make_object(env, map, name, v, map_handlers()) : nullptr;
}

ArrayValue* writable_array(Object* holder) { return writable<ArrayValue>(holder); }
MapValue* writable_map(Object* holder) { return writable<MapValue>(holder); }

void refresh_depth(ArrayValue& a) noexcept {
    std::uint32_t d = 0;
    for (const Item& it : a.items) d = std::max(d, item_depth(it));
    a.depth = d + 1;
}

void refresh_depth(MapValue& m) noexcept {
    std::uint32_t d = 0;
    for (const auto& [key, it] : m.entries) d = std::max(d, item_depth(it));
    m.depth = d + 1;
}

}  // namespace ostr::obj
