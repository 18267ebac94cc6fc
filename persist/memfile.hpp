// Memory streams inside the core: the growth rules and the all-or-nothing
// read that the exported MemFile functions and the serialisers share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ostravine/persist.h"

namespace ostr::persist {

// How a buffer grows when a write does not fit. MemWrite grows to
// (bytes + size) * 2; the serialisers grow before their own fixed-width fields
// by one of the other rules. The rules differ on purpose and are kept as they
// are: they decide the capacity a written stream ends with.
enum class Growth {
    mem_write,     // (bytes + size) * 2
    twice_plus_8,  // size * 2 + 8: lengths, counts, headers, colours
    integer,       // (size + 4) * 2
    decimal,       // (size + 8) * 2
};

// Bytes between the position and the end of the buffer (0 when the position
// was moved past the end).
inline std::size_t mem_remaining(const MemFile* m) noexcept {
    return m->size > 0 && m->position < static_cast<uint32_t>(m->size)
               ? static_cast<uint32_t>(m->size) - m->position
               : 0;
}

// Writes n bytes at the position, growing first by the rule when they do not
// fit. False (nothing written) when the buffer would pass INT32_MAX bytes or
// memory runs out.
bool mem_put(MemFile* m, const void* bytes, std::size_t n, Growth rule) noexcept;

// Copies n bytes when they all remain and advances; otherwise takes nothing.
bool mem_get(MemFile* m, void* dest, std::size_t n) noexcept;

[[nodiscard]] MemFile* mem_open(std::int32_t size) noexcept;
// A stream that takes ownership of `bytes` (a mem_alloc block of size bytes).
[[nodiscard]] MemFile* mem_wrap(void* bytes, std::int32_t size, std::uint32_t position) noexcept;
void mem_close(MemFile* m) noexcept;

}  // namespace ostr::persist
