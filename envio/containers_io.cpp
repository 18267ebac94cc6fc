// The value bytes of arrays and maps, written and read back with every
// count, length, nesting level and key order checked against the bytes that
// are there: a damaged encoding reads as nothing, never as a crash.
//
//   array:  u32 count, then count items
//   map:    u32 count, then count entries: key, item (keys strictly ascending)
//   matrix: u32 rows, u32 columns, then rows·columns items row by row, each
//           a number or a formula
//   item:  u8 kind: 0 number (2 x f64, finite), 1 formula text, 2 string
//          (u32 length and the bytes, no zero byte), 3 array, 4 map, 5 any
//          other object (u32 tag and its value bytes as a text)
//   key:   u8 0 and a number (2 x f64), or u8 1 and a text
#include "envio/containers_io.hpp"
#include "envio/bytes.hpp"
#include "envio/graph_io.hpp"

#include <cmath>
#include <cstring>

#include "objects/containers.hpp"
#include "objects/matrix.hpp"

namespace ostr::envio {
namespace {

enum Kind : std::uint8_t { number = 0, formula = 1, string = 2, array = 3, map = 4, held = 5 };


void put_map(Text& out, const obj::MapValue& m);

void put_array(Text& out, const obj::ArrayValue& a);

void put_item(Text& out, const obj::Item& it) {
    if (!it.obj) {
        out.push_back(static_cast<char>(number));
        put_raw(out, &it.num, sizeof(Complex));
        return;
    }
    switch (it.obj->tag) {
    case obj::array:
        out.push_back(static_cast<char>(array));
        put_array(out, *obj::array_of(it.obj));
        return;
    case obj::map:
        out.push_back(static_cast<char>(map));
        put_map(out, *obj::map_of(it.obj));
        return;
    case obj::string: out.push_back(static_cast<char>(string)); break;
    case obj::numeric:
        out.push_back(static_cast<char>(number));
        put_raw(out, it.obj->value, sizeof(Complex));
        return;
    case obj::matrix:
    case obj::bignum:
    case obj::node:
    case obj::mutant:
    case obj::class_definition:
    case obj::scoped:
        out.push_back(static_cast<char>(held));
        put_held_object(out, it.obj);
        return;
    default: out.push_back(static_cast<char>(formula)); break;
    }
    put_text(out, obj::text_value(it.obj));
}

void put_array(Text& out, const obj::ArrayValue& a) {
    put_u32(out, static_cast<std::uint32_t>(a.items.size()));
    for (const obj::Item& it : a.items) put_item(out, it);
}

void put_map(Text& out, const obj::MapValue& m) {
    put_u32(out, static_cast<std::uint32_t>(m.entries.size()));
    for (const auto& [key, it] : m.entries) {
        out.push_back(static_cast<char>(key.is_text ? 1 : 0));
        if (key.is_text) put_text(out, key.text);
        else put_raw(out, &key.num, sizeof(Complex));
        put_item(out, it);
    }
}

// A finite number.
bool get_number(Reader& in, Complex& c) noexcept {
    return in.get(c) && std::isfinite(c.re) && std::isfinite(c.im);
}
// A text with no zero byte inside (a text of the core ends at its first).
bool get_text(Reader& in, std::string_view& s) noexcept { return in.view(s) && s.find('\0') == std::string_view::npos; }

using ArrayPtr = std::unique_ptr<obj::ArrayValue, void (*)(void*)>;
using MapPtr = std::unique_ptr<obj::MapValue, void (*)(void*)>;

obj::ArrayValue* get_array(Reader& in, std::uint32_t depth);
obj::MapValue* get_map(Reader& in, std::uint32_t depth);

bool get_item(Reader& in, std::uint32_t depth, obj::Item& it) {
    std::uint8_t kind;
    if (!in.get(kind)) return false;
    it = {};
    std::string_view t;
    switch (kind) {
    case number: return get_number(in, it.num);
    case formula:
        if (!get_text(in, t) || t.empty()) return false;
        it.obj = obj::make_algebraic(t, "", nullptr);
        break;
    case string: {
        if (!get_text(in, t)) return false;
        it.obj = obj::make_string_object(t, "", nullptr);
        break;
    }
    case array: it.obj = obj::make_array(get_array(in, depth + 1), nullptr); break;
    case map: it.obj = obj::make_map(get_map(in, depth + 1), nullptr); break;
    case held: {
        std::uint32_t tag;
        if (!in.get(tag) || !in.view(t)) return false;
        it.obj = read_held_object(tag, t);
        break;
    }
    default: return false;
    }
    return it.obj != nullptr;
}

// Each item takes at least 5 bytes and each entry 10, so a count larger
// than the bytes left could hold is damage, found before anything grows.
obj::ArrayValue* get_array(Reader& in, std::uint32_t depth) {
    std::uint32_t n;
    if (depth > obj::max_container_depth || !in.get(n) || n > in.left() / 5 || n > obj::max_container_items)
        return nullptr;
    ArrayPtr a(obj::new_array(), obj::array_handlers().free);
    if (!a) return nullptr;
    a->items.reserve(n);
    for (std::uint32_t k = 0; k < n; ++k) {
        obj::Item it;
        if (!get_item(in, depth, it)) return nullptr;
        a->items.push_back(it);
    }
    obj::refresh_depth(*a);
    return a.release();
}

bool get_key(Reader& in, obj::MapKey& key) {
    std::uint8_t kind;
    if (!in.get(kind) || kind > 1) return false;
    key.is_text = kind == 1;
    if (!key.is_text) return get_number(in, key.num);
    std::string_view t;
    if (!get_text(in, t)) return false;
    key.text = Text(t);
    return true;
}

obj::MapValue* get_map(Reader& in, std::uint32_t depth) {
    std::uint32_t n;
    if (depth > obj::max_container_depth || !in.get(n) || n > in.left() / 10 || n > obj::max_container_items)
        return nullptr;
    MapPtr m(obj::new_map(), obj::map_handlers().free);
    if (!m) return nullptr;
    for (std::uint32_t k = 0; k < n; ++k) {
        obj::MapKey key;
        obj::Item it;
        if (!get_key(in, key)) return nullptr;
        if (!m->entries.empty() && !obj::MapKeyLess{}(m->entries.rbegin()->first, key)) return nullptr;
        if (!get_item(in, depth, it)) return nullptr;
        m->entries.emplace_hint(m->entries.end(), std::move(key), it);
    }
    obj::refresh_depth(*m);
    return m.release();
}

void put_matrix(Text& out, const obj::MatrixValue& m) {
    put_u32(out, static_cast<std::uint32_t>(m.rows));
    put_u32(out, static_cast<std::uint32_t>(m.cols));
    for (const obj::Item& it : m.items) put_item(out, it);
}

using MatrixPtr = std::unique_ptr<obj::MatrixValue, void (*)(void*)>;

obj::MatrixValue* get_matrix(Reader& in) {
    std::uint32_t r, c;
    if (!in.get(r) || !in.get(c) || r == 0 || c == 0 || r > obj::max_matrix_elements / c ||
        std::size_t{r} * c > in.left() / 5)
        return nullptr;
    MatrixPtr m(obj::new_matrix(r, c), obj::release_matrix);
    if (!m) return nullptr;
    for (obj::Item& slot : m->items) {
        if (!get_item(in, obj::max_container_depth, slot)) return nullptr;
        if (slot.obj && slot.obj->tag != obj::algebraic) return nullptr;
    }
    return m.release();
}

}  // namespace

void put_container(Text& out, const obj::Object* o) {
    if (o->tag == obj::matrix) put_matrix(out, *obj::matrix_of(o));
    else if (o->tag == obj::array) put_array(out, *obj::array_of(o));
    else put_map(out, *obj::map_of(o));
}

obj::Object* read_container(std::uint32_t tag, std::string_view bytes, std::string_view key, Arbenv* env) {
    Reader in(bytes);
    obj::Object* o = nullptr;
    if (tag == obj::array) o = obj::make_array(get_array(in, 1), env, key);
    else if (tag == obj::matrix) o = obj::make_matrix(get_matrix(in), env, key);
    else if (tag == obj::map) o = obj::make_map(get_map(in, 1), env, key);
    if (o && in.left() != 0) {
        obj::free_object(o);
        return nullptr;
    }
    return o;
}

}  // namespace ostr::envio
