// String values shared by their holders: one block per text, counted, so
// reading a variable that holds a string takes a reference and copies no
// byte. Strings never change in place, so a shared block is never copied.
#include <cstring>
#include <new>

#include "objects/types.hpp"

namespace ostr::obj {
namespace {

StringHeader* header_of(void* text) noexcept {
    return reinterpret_cast<StringHeader*>(static_cast<char*>(text) - sizeof(StringHeader));
}

constexpr ValueHandlers string_value_handlers{release_string, nullptr, nullptr, share_string};

}  // namespace

void* share_string(void* text) noexcept {
    if (text) ++header_of(text)->refs;
    return text;
}

void release_string(void* text) noexcept {
    if (!text) return;
    StringHeader* h = header_of(text);
    if (--h->refs > 0) return;
    wipe(h, sizeof(StringHeader) + h->size + 1);
    mem_free(h);
}

// A text ends at its first zero byte, as the language's strings do (no
// string can hold one), whatever the bytes handed in.
char* new_string_value(std::string_view first, std::string_view second) noexcept {
    // An empty view may hold no pointer at all, which memchr must not see.
    auto up_to_zero = [](std::string_view t) {
        const void* zero = t.empty() ? nullptr : std::memchr(t.data(), 0, t.size());
        return zero ? t.substr(0, static_cast<std::size_t>(static_cast<const char*>(zero) - t.data())) : t;
    };
    const std::size_t whole = first.size();
    first = up_to_zero(first);
    second = first.size() < whole ? std::string_view() : up_to_zero(second);
    const std::size_t size = first.size() + second.size();
    auto* h = static_cast<StringHeader*>(mem_alloc(sizeof(StringHeader) + size + 1));
    if (!h) return nullptr;
    new (h) StringHeader{1, size};
    char* text = reinterpret_cast<char*>(h + 1);
    if (!first.empty()) std::memcpy(text, first.data(), first.size());
    if (!second.empty()) std::memcpy(text + first.size(), second.data(), second.size());
    text[size] = '\0';
    return text;
}

const ValueHandlers& string_handlers() noexcept { return string_value_handlers; }

Object* make_string_object(std::string_view text, std::string_view name, Arbenv* env) {
    char* v = new_string_value(text);
    return v ? make_object(env, string, name, v, string_value_handlers) : nullptr;
}

// A copy through the object's own handlers: a string made with other
// handlers (by a caller of the C face) is copied as its maker copies it.
Object* copy_string_object(const Object* s, Arbenv* env) {
    if (s->value && !s->copy_value) return nullptr;
    void* v = s->value ? s->copy_value(s->value) : nullptr;
    if (s->value && !v) return nullptr;
    return make_object(env, s->tag, s->name ? s->name : "", v,
                       {s->free_value, s->write_value, s->read_value, s->copy_value});
}

}  // namespace ostr::obj
