// Arrays, maps and matrices in the environment stream: the value bytes of an
// object of tag 5 "array", 10 "map" or 2 "matrix". The layout is in docs/session.md.
#pragma once

#include <string_view>

#include "core/memory.hpp"
#include "objects/environment.hpp"

namespace ostr::envio {

// Appends the value bytes of an array, map or matrix object.
void put_container(Text& out, const obj::Object* o);

// The object of that tag rebuilt from exactly these bytes, held by env under
// the key; null when the bytes are not a sound encoding (damaged, cut
// short, trailing bytes, nested past the bound, keys out of order) or memory
// runs out.
[[nodiscard]] obj::Object* read_container(std::uint32_t tag, std::string_view bytes, std::string_view key,
                                          Arbenv* env);

}  // namespace ostr::envio
