// Array and map values: reference-counted blocks shared by every holder and
// copied only when a holder that shares its block changes it (copy on write).
// Reading a variable that holds an array takes a reference, never a copy.
//
// An array is a vector of items; an item is a number held inline or an owned
// object (a formula, a string, an array or a map). A map is ordered by key:
// numbers before texts, numbers by real then imaginary part, texts by bytes.
// Both kinds nest; `depth` bounds the nesting so that every recursive walk
// (printing, freeing, saving) stays within a known stack depth.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "objects/object.hpp"

namespace ostr::obj {

// Bounds of one container: elements of one array or entries of one map, and
// levels of nesting (an array of numbers has depth 1).
inline constexpr std::size_t max_container_items = std::size_t{1} << 24;
inline constexpr std::uint32_t max_container_depth = 64;

struct Item {
    Complex num{0.0, 0.0};
    Object* obj = nullptr;  // owned; null for a number
};

struct ArrayValue {
    std::uint32_t refs = 1;
    std::uint32_t depth = 1;  // an upper bound of the nesting below this block
    std::vector<Item, WipingAllocator<Item>> items;
};

struct MapKey {
    bool is_text = false;
    Complex num{0.0, 0.0};
    Text text;
};
struct MapKeyLess {
    bool operator()(const MapKey& a, const MapKey& b) const noexcept;
};

struct MapValue {
    std::uint32_t refs = 1;
    std::uint32_t depth = 1;
    std::map<MapKey, Item, MapKeyLess> entries;
};

// The nesting depth an item adds to the container that holds it.
std::uint32_t item_depth(const Item& item) noexcept;
// The object kinds an item may hold.
bool storable(const Object* o) noexcept;
// A copy of an item: numbers as they are, objects through copy_object
// (which shares a nested container's block).
[[nodiscard]] bool copy_item(const Item& from, Item& to);
void free_item(Item& item) noexcept;

// New empty blocks, held once; null when memory runs out.
[[nodiscard]] ArrayValue* new_array();
[[nodiscard]] MapValue* new_map();

// The value handlers of the two tags, held in their records of the type
// table: free drops a reference, copy takes one. Saving is done by the
// environment stream, which knows both layouts.
const ValueHandlers& array_handlers() noexcept;
const ValueHandlers& map_handlers() noexcept;
void release_array(void* v) noexcept;
void release_map(void* v) noexcept;
[[nodiscard]] void* share_array(void* v) noexcept;
[[nodiscard]] void* share_map(void* v) noexcept;

// An object of tag array / map holding the block (whose reference passes
// to the object). Null when memory runs out (the reference is then dropped).
[[nodiscard]] Object* make_array(ArrayValue* value, Arbenv* env, std::string_view name = {});
[[nodiscard]] Object* make_map(MapValue* value, Arbenv* env, std::string_view name = {});

inline ArrayValue* array_of(const Object* o) noexcept { return static_cast<ArrayValue*>(o->value); }
inline MapValue* map_of(const Object* o) noexcept { return static_cast<MapValue*>(o->value); }

// The block of the holder, made its own first when it is shared: the one
// step before any change. Null when memory runs out.
[[nodiscard]] ArrayValue* writable_array(Object* holder);
[[nodiscard]] MapValue* writable_map(Object* holder);

// Recomputes the depth of a block from its items (after items left it).
void refresh_depth(ArrayValue& a) noexcept;
void refresh_depth(MapValue& m) noexcept;

}  // namespace ostr::obj
