// Environments as typed-tree values: the writer and reader of the
// environment stream, and the "arbeval_environment" handlers of the C face.
//
// A record is framed by its byte length, so a reader takes the whole record
// into memory first and then parses it with every field checked against
// the bytes that are really there. Any byte sequence is safe to read: a
// damaged frame or header gives no environment; inside a sound frame an
// object that cannot be rebuilt (unknown tag, wrong value size) is skipped.
#include "envio/serialize.hpp"
#include "envio/bytes.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "bignum/bitarray.hpp"
#include "bignum/float.hpp"
#include "envio/containers_io.hpp"
#include "envio/graph_io.hpp"
#include "objects/nodes.hpp"
#include "ostravine/envio.h"
#include "ostravine/hash.h"
#include "persist/memfile.hpp"
#include "objects/types.hpp"
#include "persist/stream.hpp"

namespace ostr::envio {
namespace {

constexpr char magic[4] = {'O', 'E', 'N', 'V'};
constexpr std::uint32_t format = 1;
constexpr int random_slots = 32;
// Scopes nest environments inside objects; a damaged record could nest them
// without end.
constexpr int max_scope_depth = 16;

// A block that memory ran out for. Writer and reader fail as a whole then
// (the C face turns this into its failure value): a record that silently
// lacked an object, or an environment read without one, would lose it for
// good at the next save.
template <class T>
T* got(T* p) {
    if (!p) throw std::bad_alloc();
    return p;
}

// ---- writing ----


void put_bits(Text& out, const void* v) {
    auto* a = static_cast<const BitArray*>(v);
    put_u8(out, a ? 1 : 0);
    if (!a) return;
    const std::uint64_t n = a->words ? a->nwords : 0;
    put_u64(out, a->bits);
    put_u64(out, n);
    if (n) put_raw(out, a->words, n * 8);
}

// The value bytes of an object through its own write handler, or the
// handler registered for its tag. False when the value has no writer.
bool put_by_handler(Text& out, const obj::Object* o) {
    if (o->tag >= obj::tag_count) return false;
    obj::ValueWrite w = o->write_value ? o->write_value : obj::type_of(o->tag).handlers.write;
    if (!w) return false;
    struct Closer {
        void operator()(MemFile* m) const noexcept {
            wipe(m->data, static_cast<std::size_t>(m->size));
            persist::mem_close(m);
        }
    };
    std::unique_ptr<MemFile, Closer> m(got(persist::mem_open(64)));
    m->position = 0;
    if (o->value) w(o->value, m.get(), 0);
    out.append(reinterpret_cast<const char*>(m->data), m->position);
    return true;
}

void put_env(Text& out, const Arbenv* env, int depth);

// The value bytes of one object; false when its value cannot be saved.
bool put_value(Text& out, const obj::Object* o, int depth) {
    switch (o->tag) {
    case obj::numeric: put_raw(out, o->value, sizeof(Complex)); return o->value != nullptr;
    case obj::algebraic:
    case obj::string: out.append(obj::text_value(o)); return true;
    case obj::bignum: {
        auto* b = static_cast<const obj::BignumValue*>(o->value);
        if (!b) return false;
        put_u64(out, static_cast<std::uint64_t>(b->field));
        put_bits(out, b->mantissa);
        put_bits(out, b->exponent);
        return true;
    }
    case obj::array:
    case obj::map:
    case obj::matrix:
        if (!o->value) return false;
        put_container(out, o);
        return true;
    case obj::node:
        // A node record; an object of this tag with handlers of its own
        // saves through them.
        if (o->free_value != obj::release_node) return put_by_handler(out, o);
        return o->value && put_node(out, o);
    case obj::scoped:
    case obj::mutant:
    case obj::class_definition:
        if (!o->value || depth >= max_scope_depth) return false;
        put_env(out, static_cast<const Arbenv*>(o->value), depth + 1);
        return true;
    default: return put_by_handler(out, o);
    }
}

// An object: key, tag, the three flags, level, then its value as a string
// field. Objects whose value cannot be saved are left out (the count is
// patched afterwards).
void put_table(Text& out, const obj::ObjectTable& table, int depth) {
    const std::size_t count_at = out.size();
    put_u32(out, 0);
    std::uint32_t n = 0;
    Text value;
    for (const auto& [key, o] : table) {
        value.clear();
        if (!o || !put_value(value, o, depth)) continue;
        put_text(out, key);
        put_u32(out, o->tag);
        put_u8(out, o->is_private);
        put_u8(out, o->locked);
        put_u8(out, o->alive);
        put_i32(out, o->level);
        put_text(out, value);
        ++n;
    }
    std::memcpy(out.data() + count_at, &n, 4);
}

void put_env(Text& out, const Arbenv* env, int depth) {
    put_i32(out, env->significant_digits);
    put_i32(out, env->random_seed);
    put_u8(out, env->history_flag);
    put_u32(out, static_cast<std::uint32_t>(env->history.size()));
    for (const auto& h : env->history) {
        put_text(out, h.script);
        put_text(out, h.result);
    }
    put_table(out, env->objects, depth);
    put_table(out, env->functions, depth);
    put_table(out, env->classes, depth);
    put_table(out, env->statics, depth);
}

// ---- reading ----


// A text ends at its first zero byte, as every text of the core does.
std::string_view up_to_zero(std::string_view s) noexcept { return s.substr(0, s.find('\0')); }

struct EnvDeleter {
    void operator()(Arbenv* e) const noexcept { obj::free_environment(e); }
};
using EnvPtr = std::unique_ptr<Arbenv, EnvDeleter>;

bool get_bits(Reader& in, void*& out) {
    std::uint8_t present;
    if (!in.get(present)) return false;
    out = nullptr;
    if (!present) return true;
    std::uint64_t bits, n;
    // Exactly the words of the bit count: the one form the writer makes.
    if (!in.get(bits) || !in.get(n) || n > in.left() / 8 || bits == 0 || n != (bits + 63) / 64) return false;
    BitArray* a = got(big::make(bits));
    in.take(a->words, n * 8);
    out = a;
    return true;
}

void free_bignum_value(void* v) {
    auto* b = static_cast<obj::BignumValue*>(v);
    big::release(static_cast<BitArray*>(b->mantissa));
    big::release(static_cast<BitArray*>(b->exponent));
    mem_free(b);
}

Arbenv* get_env(Reader& in, Arbenv* parent, int depth);

// Rebuilds an object from its value bytes; null when the tag or the bytes
// make no object of this build.
obj::Object* make_from(std::uint32_t tag, std::string_view key, std::string_view v, Arbenv* env, int depth) {
    switch (tag) {
    case obj::numeric: {
        if (v.size() != sizeof(Complex)) return nullptr;
        Complex c;
        std::memcpy(&c, v.data(), sizeof c);
        return got(obj::make_numeric(c, key, env));
    }
    case obj::algebraic: return got(obj::make_algebraic(up_to_zero(v), key, env));
    case obj::string: return got(obj::make_string_object(up_to_zero(v), key, env));
    case obj::bignum: {
        Reader r(v);
        auto* b = got(static_cast<obj::BignumValue*>(mem_alloc(sizeof(obj::BignumValue))));
        *b = {nullptr, nullptr, 0};
        // Made first, so that it owns b whatever happens next; an object
        // whose bytes do not parse is dropped.
        obj::OwnedObject o(got(obj::make_object(env, tag, key, b, {free_bignum_value, nullptr, nullptr, nullptr})));
        std::uint64_t field;
        if (!r.get(field) || !get_bits(r, b->mantissa) || !get_bits(r, b->exponent)) return nullptr;
        b->field = static_cast<std::int64_t>(field);
        // A big number has one form; any other is damage of the record.
        if (!big::canonical(static_cast<BitArray*>(b->mantissa), static_cast<BitArray*>(b->exponent), b->field) ||
            r.left() != 0)
            return nullptr;
        // The object layer keeps its bignum handlers to itself; a copy of the
        // object carries them.
        return got(obj::copy_object(o.get(), env));
    }
    case obj::array:
    case obj::map:
    case obj::matrix: return read_container(tag, v, key, env);
    case obj::node: return read_node(v, key, env);
    case obj::scoped:
    case obj::mutant:
    case obj::class_definition: {
        if (depth >= max_scope_depth) return nullptr;
        Reader r(v);
        EnvPtr scope(get_env(r, env, depth + 1));
        if (!scope || r.left() != 0) return nullptr;
        scope->parent_flag = 1;
        return got(obj::make_object(env, tag, key, scope.release(), obj::type_of(tag).handlers));
    }
    default: {
        if (tag >= obj::tag_count) return nullptr;
        const obj::ValueHandlers& h = obj::type_of(tag).handlers;
        if (!h.read) return nullptr;
        MemFile* m = got(persist::mem_open(static_cast<std::int32_t>(std::max<std::size_t>(v.size(), 1))));
        if (!v.empty()) std::memcpy(m->data, v.data(), v.size());
        m->size = static_cast<std::int32_t>(v.size());
        m->position = 0;
        void* value = v.empty() ? nullptr : h.read(m, 0);
        wipe(m->data, v.size());
        persist::mem_close(m);
        return got(obj::make_object(env, tag, key, value, h));
    }
    }
}

bool get_table(Reader& in, obj::ObjectTable& table, Arbenv* env, int depth) {
    std::uint32_t n;
    if (!in.get(n)) return false;
    for (std::uint32_t k = 0; k < n; ++k) {
        std::string_view key, value;
        std::uint32_t tag;
        std::uint8_t flags[3];
        std::int32_t level;
        if (!in.view(key) || !in.get(tag) || !in.take(flags, 3) || !in.get(level) || !in.view(value))
            return false;
        key = up_to_zero(key);
        obj::Object* o = make_from(tag, key, value, env, depth);
        // A damaged array, map or matrix is damage of the record, not an object of
        // another build to skip.
        if (!o && (tag == obj::array || tag == obj::map || tag == obj::bignum || tag == obj::matrix || tag == obj::node))
            return false;
        if (!o) continue;
        o->is_private = flags[0];
        o->locked = flags[1];
        o->alive = flags[2];
        // An object is never deeper than the environment that holds it.
        o->level = std::clamp(level, 0, env->level);
        // Records come sorted by key, so each lands at the end of the table.
        obj::OwnedObject owned(o);
        const std::size_t before = table.size();
        table.try_emplace(table.end(), Text(key), o);
        if (table.size() != before) owned.release();
    }
    return true;
}

Arbenv* get_env(Reader& in, Arbenv* parent, int depth) {
    EnvPtr env(got(obj::make_environment(parent)));
    std::int32_t digits, seed;
    std::uint8_t history_flag;
    std::uint32_t history;
    if (!in.get(digits) || !in.get(seed) || !in.get(history_flag) || !in.get(history)) return nullptr;
    env->significant_digits = digits >= 1 && digits <= 15 ? digits : obj::default_significant_digits;
    env->random_seed = seed;
    env->history_flag = history_flag ? 1 : 0;
    for (std::uint32_t k = 0; k < history; ++k) {
        std::string_view script, result;
        if (!in.view(script) || !in.view(result)) return nullptr;
        env->history.push_back({Text(up_to_zero(script)), Text(up_to_zero(result))});
    }
    if (!get_table(in, env->objects, env.get(), depth) || !get_table(in, env->functions, env.get(), depth) ||
        !get_table(in, env->classes, env.get(), depth) || !get_table(in, env->statics, env.get(), depth))
        return nullptr;
    return env.release();
}

}  // namespace

bool put_object_bytes(Text& out, const obj::Object* o) { return put_value(out, o, 0); }

obj::Object* object_from_bytes(std::uint32_t tag, std::string_view bytes) {
    if (tag == obj::array || tag == obj::map || tag == obj::numeric || tag == obj::algebraic || tag == obj::string)
        return nullptr;  // these have item kinds of their own
    return make_from(tag, "", bytes, nullptr, 0);
}

void write_body(const Arbenv* env, Text& out) {
    NodeSession nodes;
    put_raw(out, magic, 4);
    put_u32(out, format);
    std::int32_t table[random_slots];
    GetRandomTable(table);
    put_raw(out, table, sizeof table);
    put_env(out, env, 0);
}

Arbenv* read_body(std::string_view bytes, bool restore_random) {
    Reader in(bytes);
    char m[4];
    std::uint32_t f;
    std::int32_t table[random_slots];
    if (!in.take(m, 4) || std::memcmp(m, magic, 4) != 0 || !in.get(f) || f != format || !in.take(table, sizeof table))
        return nullptr;
    NodeSession nodes;
    EnvPtr env(get_env(in, nullptr, 0));
    if (!env || in.left() != 0) return nullptr;
    env->placeholders = std::make_unique<obj::ObjectTable>();
    // A table the generator could not have made is refused and the current
    // one stays.
    if (restore_random) SetRandomTable(table);
    return env.release();
}

void write_environment(const Arbenv* env, void* stream, std::int32_t mode) {
    persist::Stream out(stream, mode);
    if (!out || !env) return;
    Text body;
    write_body(env, body);
    if (body.size() > INT32_MAX) return;
    auto* m = mode == 1 ? nullptr : static_cast<MemFile*>(stream);
    const std::uint32_t start = m ? m->position : 0;
    out.put_u32(static_cast<std::uint32_t>(body.size()));
    out.put_block(body.data(), body.size());
    // A memory stream that could not grow took only part of the record: it
    // is taken back, so the stream holds the whole record or none of it.
    if (m && m->position - start != 4 + body.size()) {
        wipe(m->data + start, m->position - start);
        m->position = start;
    }
}

Arbenv* read_environment(void* stream, std::int32_t mode, bool restore_random) {
    persist::Stream in(stream, mode);
    std::uint32_t n;
    if (!in || !in.get_u32(n) || n > INT32_MAX || !in.can_hold(n)) return nullptr;
    Text body(n, '\0');
    if (!in.get(body.data(), n)) return nullptr;
    return read_body(body, restore_random);
}

std::size_t merge_into(Arbenv* into, Arbenv* from) {
    std::size_t moved = 0;
    // Entries move whole, without allocating, so a merge never stops halfway.
    auto move_table = [&](obj::ObjectTable& src, obj::ObjectTable& dst) {
        while (!src.empty()) {
            auto entry = src.extract(src.begin());
            obj::Object* o = entry.mapped();
            o->env = into;
            o->members->abort_text = &into->abort_text;
            o->level = into->level;
            if (o->tag == obj::scoped && o->value) static_cast<Arbenv*>(o->value)->parent = into;
            obj::put(dst, std::move(entry));
            ++moved;
        }
    };
    move_table(from->objects, into->objects);
    move_table(from->functions, into->functions);
    move_table(from->classes, into->classes);
    move_table(from->statics, into->statics);
    return moved;
}

}  // namespace ostr::envio

extern "C" {

void writeArbenv(void* env, void* stream, int32_t mode) noexcept {
    ostr::or_nothing([&] { ostr::envio::write_environment(static_cast<const Arbenv*>(env), stream, mode); });
}

void* readTopArbenv(void* stream, int32_t mode) noexcept {
    return ostr::or_failure<void*>(nullptr, [&] { return ostr::envio::read_environment(stream, mode, true); });
}

void* copyArbenv(void* env) noexcept {
    return env ? ostr::or_failure<void*>(nullptr, [&] { return ostr::obj::copy_environment_value(env); }) : nullptr;
}

void freeArbenv(void* env) noexcept { ostr::obj::free_environment_value(env); }

}
