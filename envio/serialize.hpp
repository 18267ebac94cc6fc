// The environment stream: how a whole environment (its objects, user
// functions, classes, settings and the random generator's state) is written
// to a typed-tree stream and read back. The byte layout is in docs/session.md.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/memory.hpp"
#include "objects/environment.hpp"

namespace ostr::envio {

// The whole record as it lies in a stream: u32 length, then the body.
void write_environment(const Arbenv* env, void* stream, std::int32_t mode);
// Reads one record. Null when the record is damaged or cut short (then the
// stream has been read past its length field at most) or when memory runs
// out. With `restore_random` the process-wide shuffle table is set from the
// record, so the next draw continues the saved sequence.
[[nodiscard]] Arbenv* read_environment(void* stream, std::int32_t mode, bool restore_random);

// The body alone, appended to `out` / parsed from `bytes` (for tests and
// the file commands).
void write_body(const Arbenv* env, Text& out);
[[nodiscard]] Arbenv* read_body(std::string_view bytes, bool restore_random);

// Moves every object, function, class and static member of `from` into the
// top-level environment `into`, replacing objects of the same names; `from`
// is left empty. Returns the number of names moved.
std::size_t merge_into(Arbenv* into, Arbenv* from);

// The value bytes of one object as the record holds them (false when it
// cannot be saved), and the object rebuilt from them, held by no
// environment (null when damaged). For objects held inside containers.
bool put_object_bytes(Text& out, const obj::Object* o);
[[nodiscard]] obj::Object* object_from_bytes(std::uint32_t tag, std::string_view bytes);

}  // namespace ostr::envio
