// Memory streams: a growable byte buffer with one position, and the exported
// MemFile functions. Serialisers reach them through Stream (stream.hpp).
#include "persist/memfile.hpp"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/memory.hpp"
#include "persist/persist.hpp"

namespace ostr::persist {

static_assert(offsetof(MemFile, data) == 0 && offsetof(MemFile, size) == sizeof(void*) &&
                  offsetof(MemFile, position) == sizeof(void*) + 4 && sizeof(MemFile) == sizeof(void*) + 8,
              "MemFile layout is part of the C face");

namespace {

std::int64_t next_size(std::int64_t size, std::int64_t n, Growth rule) noexcept {
    switch (rule) {
        case Growth::mem_write: return (n + size) * 2;
        case Growth::twice_plus_8: return size * 2 + 8;
        case Growth::integer: return (size + 4) * 2;
        case Growth::decimal: return (size + 8) * 2;
    }
    return size * 2 + 8;
}

// Streams carry user data (the state file is one), so a buffer is wiped
// before it is released.
void release_buffer(MemFile* m) noexcept {
    if (m->data && m->size > 0) wipe(m->data, static_cast<std::size_t>(m->size));
    mem_free(m->data);
    m->data = nullptr;
}

// Grows until n bytes fit at the position: one step of the rule, more only
// when the position was moved past the end. Zeroes everything new,
// including a gap before the position.
bool grow(MemFile* m, std::size_t n, Growth rule) noexcept {
    const std::int64_t need = static_cast<std::int64_t>(m->position) + static_cast<std::int64_t>(n);
    if (need > INT32_MAX) return false;
    const std::int64_t old = m->size > 0 ? m->size : 0;
    std::int64_t size = old;
    do {
        size = next_size(size, static_cast<std::int64_t>(n), rule);
    } while (size < need);
    if (size > INT32_MAX) size = INT32_MAX;
    // A new buffer rather than realloc: the old one may hold a serialised
    // environment, and it is wiped before it goes back to the allocator.
    // Zeroed by the allocator, which skips the clearing for fresh pages.
    auto* data = static_cast<unsigned char*>(mem_calloc(static_cast<std::size_t>(size), 1));
    if (!data) return false;
    advise_huge_pages(data, static_cast<std::size_t>(size));
    const std::int64_t from = rule == Growth::mem_write ? std::min<std::int64_t>(m->position, old) : old;
    if (from > 0) std::memcpy(data, m->data, static_cast<std::size_t>(from));
    release_buffer(m);
    m->data = data;
    m->size = static_cast<std::int32_t>(size);
    return true;
}

}  // namespace

bool mem_put(MemFile* m, const void* bytes, std::size_t n, Growth rule) noexcept {
    if (!m) return false;
    if (n == 0) return true;
    if (n > mem_remaining(m) && !grow(m, n, rule)) return false;
    std::memcpy(m->data + m->position, bytes, n);
    m->position += static_cast<std::uint32_t>(n);
    return true;
}

bool mem_get(MemFile* m, void* dest, std::size_t n) noexcept {
    if (!m || n > mem_remaining(m)) return false;
    if (n) std::memcpy(dest, m->data + m->position, n);
    m->position += static_cast<std::uint32_t>(n);
    return true;
}

MemFile* mem_wrap(void* bytes, std::int32_t size, std::uint32_t position) noexcept {
    auto* m = static_cast<MemFile*>(mem_alloc(sizeof(MemFile)));
    if (!m) return nullptr;
    m->data = static_cast<unsigned char*>(bytes);
    m->size = size;
    m->position = position;
    return m;
}

MemFile* mem_open(std::int32_t size) noexcept {
    if (size <= 0) return nullptr;
    OwnedBlock<unsigned char> data(static_cast<unsigned char*>(mem_alloc(static_cast<std::size_t>(size))));
    if (!data) return nullptr;
    MemFile* m = mem_wrap(data.get(), size, 0);
    if (m) data.release();
    return m;
}

void mem_close(MemFile* m) noexcept {
    if (!m) return;
    release_buffer(m);
    mem_free(m);
}

namespace {

MemFile* copy_mem(const MemFile* m) noexcept {
    if (!m || m->position == 0 || m->position > static_cast<std::uint32_t>(m->size > 0 ? m->size : 0))
        return nullptr;
    const std::uint32_t n = m->position;
    OwnedBlock<unsigned char> data(static_cast<unsigned char*>(mem_alloc(n)));
    if (!data) return nullptr;
    std::memcpy(data.get(), m->data, n);
    MemFile* copy = mem_wrap(data.get(), static_cast<std::int32_t>(n), n);
    if (copy) data.release();
    return copy;
}

// The rest of the file, measured by seeking to its end and back.
MemFile* read_rest(std::FILE* f) noexcept {
    if (!f) return nullptr;
    const long here = std::ftell(f);
    if (here < 0 || std::fseek(f, 0, SEEK_END) != 0) return nullptr;
    const long end = std::ftell(f);
    if (std::fseek(f, here, SEEK_SET) != 0 || end <= here || end - here > INT32_MAX) return nullptr;
    const auto n = static_cast<std::size_t>(end - here);
    OwnedBlock<unsigned char> data(static_cast<unsigned char*>(mem_alloc(n)));
    if (!data) return nullptr;
    const std::size_t got = std::fread(data.get(), 1, n, f);
    if (got == 0) return nullptr;  // the file shrank under us
    MemFile* m = mem_wrap(data.get(), static_cast<std::int32_t>(got), 0);
    if (m) data.release();
    return m;
}

void* dump(const MemFile* m, std::int32_t from, std::int32_t to) noexcept {
    if (!m || from < 0 || to <= from || to > m->size) return nullptr;
    const auto n = static_cast<std::size_t>(to - from);
    void* block = mem_alloc(n);
    if (block) std::memcpy(block, m->data + from, n);
    return block;
}

}  // namespace

void write_mem_file(const MemFile* m, Stream& out) noexcept {
    if (!m || !out) return;
    const std::uint32_t n = std::min<std::uint32_t>(m->position, static_cast<std::uint32_t>(m->size > 0 ? m->size : 0));
    out.put_u32(n);
    out.put_block(m->data, n);
}

// A stored empty byte array (n = 0) does not come back: n must be at least 1.
MemFile* read_mem_file(Stream& in) noexcept {
    std::uint32_t n = 0;
    if (!in || !in.get_u32(n) || n == 0 || n > INT32_MAX || !in.can_hold(n)) return nullptr;
    OwnedBlock<unsigned char> data(static_cast<unsigned char*>(mem_alloc(n)));
    if (!data || !in.get(data.get(), n)) return nullptr;
    MemFile* m = mem_wrap(data.get(), static_cast<std::int32_t>(n), n);
    if (m) data.release();
    return m;
}

}  // namespace ostr::persist

using namespace ostr::persist;

extern "C" {

MemFile* MemOpen(int32_t size) noexcept { return mem_open(size); }
MemFile* MemWrapperOpen(void* bytes, int32_t size) noexcept {
    return bytes && size > 0 ? mem_wrap(bytes, size, 0) : nullptr;
}
void MemClose(MemFile* stream) noexcept { mem_close(stream); }

size_t MemWrite(const void* source, size_t size, size_t count, MemFile* stream) noexcept {
    if (size != 0 && count > SIZE_MAX / size) return 0;
    return mem_put(stream, source, size * count, Growth::mem_write) ? count : 0;
}

size_t MemRead(void* dest, size_t size, size_t count, MemFile* stream) noexcept {
    if (size != 0 && count > SIZE_MAX / size) return 0;
    return mem_get(stream, dest, size * count) ? count : 0;
}

MemFile* MemFRead(FILE* file) noexcept { return read_rest(file); }
size_t MemFWrite(MemFile* stream, FILE* file) noexcept {
    if (!stream || !file || stream->position == 0) return 0;
    const std::uint32_t n = std::min<std::uint32_t>(stream->position, static_cast<std::uint32_t>(stream->size > 0 ? stream->size : 0));
    return std::fwrite(stream->data, 1, n, file);
}
void* MemDump(MemFile* stream, int32_t from, int32_t to) noexcept { return dump(stream, from, to); }
MemFile* CopyMemFile(MemFile* stream) noexcept { return copy_mem(stream); }
void WriteMemFile(MemFile* stream, void* target, int32_t mode) noexcept {
    Stream out(target, mode);
    write_mem_file(stream, out);
}
MemFile* ReadMemFile(void* source, int32_t mode) noexcept {
    Stream in(source, mode);
    return read_mem_file(in);
}

unsigned char* MemGetBufHandle(MemFile* stream) noexcept { return stream ? stream->data : nullptr; }
uint32_t MemGetBufPos(MemFile* stream) noexcept { return stream ? stream->position : 0; }
int32_t MemGetBufSize(MemFile* stream) noexcept { return stream ? stream->size : 0; }
void MemSetBufPos(MemFile* stream, uint32_t position) noexcept {
    if (stream) stream->position = position;
}
void MemSetRelativeBufPos(MemFile* stream, int32_t delta) noexcept {
    if (stream) stream->position += static_cast<uint32_t>(delta);
}

}
