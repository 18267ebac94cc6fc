// The object record: every named thing a script holds (numbers, formulas,
// strings, matrices, nodes, maps, scopes) is one Object kept by name in an
// environment. Values are typed by a tag and carry their four value handlers.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "core/memory.hpp"
#include "ostravine/numeric.h"

struct Arbenv;

namespace ostr::obj {

// Type tags; 9 is unused. Tags 8 and 11 take their type name from the
// object's own name.
enum Tag : std::uint32_t {
    node = 0,
    algebraic = 1,
    matrix = 2,
    mutant = 3,
    string = 4,
    array = 5,
    class_definition = 6,
    top_level = 7,
    scoped = 8,
    map = 10,
    internal = 11,
    numeric = 12,
    bignum = 13,
};
inline constexpr std::uint32_t tag_count = 14;

// The value handlers of the typed tree: free, write to a stream in a mode
// (1 a FILE stream, else a memory stream), read back, copy.
using ValueFree = void (*)(void* value);
using ValueWrite = void (*)(void* value, void* stream, std::uint32_t mode);
using ValueRead = void* (*)(void* stream, std::uint32_t mode);
using ValueCopy = void* (*)(void* value);
struct ValueHandlers {
    ValueFree free = nullptr;
    ValueWrite write = nullptr;
    ValueRead read = nullptr;
    ValueCopy copy = nullptr;
};

struct Object;
struct Method;

// The member record made with every object. It shares (does not own) the
// abort text of the environment that made the object.
struct Members {
    const Text* abort_text = nullptr;
    std::vector<const Method*> methods;  // rows of the type table, keyed by name, in registration order
    std::vector<Object**> references;    // slots cleared when the object is freed
};

// Field order is the record's documented order.
struct Object {
    Members* members;
    char* name;
    std::uint8_t is_private;  // 0 on creation; the printer shows ": (private)"
    std::uint8_t locked;      // 0 on creation; a locked node refuses edits
    std::uint8_t alive;       // 1 on creation: the object is alive in its scope
    std::uint32_t tag;
    std::int32_t reserved;
    std::int32_t level;
    Arbenv* env;
    void* value;
    ValueFree free_value;
    ValueWrite write_value;
    ValueRead read_value;
    ValueCopy copy_value;
};

// The value of a bignum object: two bit-array parts and a 64-bit field.
struct BignumValue {
    void* mantissa;  // BitArray*
    void* exponent;  // BitArray*
    std::int64_t field;
};

// The handlers of text values (algebraic objects and the like).
const ValueHandlers& text_handlers() noexcept;

// Common set-up of a new object: level from the environment, alive set,
// private and locked clear, members with the environment's abort text, the
// method rows of its type registered. Null when memory runs out; the value is
// then released with the given free handler.
[[nodiscard]] Object* make_object(Arbenv* env, std::uint32_t tag, std::string_view name, void* value,
                                  const ValueHandlers& handlers);
[[nodiscard]] Object* make_algebraic(const char* text, Arbenv* env);
[[nodiscard]] Object* make_algebraic(std::string_view text, std::string_view name, Arbenv* env);
[[nodiscard]] Object* make_numeric(Complex value, std::string_view name, Arbenv* env);
[[nodiscard]] Object* make_scoped(std::string_view name, Arbenv* creator);

// A copy held by `env` (the source's environment when null).
[[nodiscard]] Object* copy_object(const Object* source, Arbenv* env = nullptr);
void free_object(Object* object) noexcept;

struct ObjectDeleter {
    void operator()(Object* o) const noexcept { free_object(o); }
};
// An object owned in C++ until a table or a value takes it.
using OwnedObject = std::unique_ptr<Object, ObjectDeleter>;
bool rename_object(Object* object, std::string_view name);

// The type name of a tag ("numeric", ...), empty for the tags that take
// their name from the object.
std::string_view tag_type_name(std::uint32_t tag) noexcept;
// A new text holding the type name of the object.
[[nodiscard]] Text type_name(const Object* object);

// The method row of that name registered on the object, or null.
const Method* find_method(const Object* object, std::string_view name) noexcept;

inline Complex numeric_value(const Object* o) noexcept { return *static_cast<const Complex*>(o->value); }
// A string's block: the count of its holders and the text's length, then
// the text and a zero byte. The value of a string object points at the
// text, so it reads as any zero-terminated text value does.
struct StringHeader {
    std::size_t refs;
    std::size_t size;
};
// The string value handlers: free drops a holder, copy adds one.
void release_string(void* text) noexcept;
[[nodiscard]] void* share_string(void* text) noexcept;
const ValueHandlers& string_handlers() noexcept;
// A new block holding first then second, up to the first zero byte; held
// once. Null when memory runs out.
[[nodiscard]] char* new_string_value(std::string_view first, std::string_view second = {}) noexcept;
// An object of tag string on a new block; null when memory runs out.
[[nodiscard]] Object* make_string_object(std::string_view text, std::string_view name, Arbenv* env);
// The copy of the string type: through the object's own value handlers.
[[nodiscard]] Object* copy_string_object(const Object* source, Arbenv* env);

inline std::string_view text_value(const Object* o) noexcept {
    if (!o->value) return {};
    // A shared string knows its length: a 10 MB string is read in O(1).
    if (o->free_value == release_string)
        return {static_cast<const char*>(o->value),
                reinterpret_cast<const StringHeader*>(static_cast<const char*>(o->value) - sizeof(StringHeader))->size};
    return std::string_view(static_cast<const char*>(o->value));
}

}  // namespace ostr::obj
