// The one stream interface of the serialisers. Every exported serialiser
// takes (void* stream, mode): mode 1 is a FILE*, anything else a MemFile*.
// Stream hides that switch so each value writer and reader is written once.
//
// In file mode a Stream may be lent a buffer (FileBuffer) by the exported
// function that made it: fields are then gathered and written in blocks, or
// read ahead in blocks, instead of one stdio call per field. A writing
// Stream gathers in a larger heap block of its own when it can get one
// (fewer system calls), else in the lent buffer. What the FILE
// holds and where it stands are brought up to date by sync(): buffered bytes
// are written out, bytes read ahead are given back by seeking. sync() runs
// before the stream is handed to any outside code (handoff()) and when the
// Stream ends, so callers and value handlers never see the difference. Read
// ahead is used only on a file that can tell its position, since giving
// back needs a seek.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "ostravine/persist.h"
#include "persist/memfile.hpp"

namespace ostr::persist {

// The encoding is little-endian; fields are copied as they lie in memory.
static_assert(std::endian::native == std::endian::little, "the stream encoding assumes a little-endian host");

struct FileBuffer {
    unsigned char bytes[8192];
};
constexpr std::size_t write_block = 1 << 16;

class Stream {
public:
    Stream(void* stream, std::int32_t mode) noexcept : p_(stream), file_(mode == 1) {}
    // Buffered through b in file mode; b must outlive the Stream.
    Stream(void* stream, std::int32_t mode, FileBuffer& b) noexcept : Stream(stream, mode) {
        if (file_ && p_) lent_ = b.bytes;
    }
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    explicit operator bool() const noexcept { return p_ != nullptr; }
    // The stream pointer and mode for a C value handler, with the FILE
    // brought up to date first.
    void* handoff() noexcept {
        sync();
        return p_;
    }
    std::int32_t mode() const noexcept { return file_ ? 1 : 0; }

    // Fixed-width fields, grown by the given rule in a memory stream.
    void put_u32(std::uint32_t v, Growth rule = Growth::twice_plus_8) noexcept { put_field(&v, 4, rule); }
    void put_i32(std::int32_t v, Growth rule = Growth::twice_plus_8) noexcept { put_field(&v, 4, rule); }
    void put_f64(double v, Growth rule) noexcept { put_field(&v, 8, rule); }
    // A block of elements: MemWrite's growth rule in a memory stream.
    void put_block(const void* bytes, std::size_t n) noexcept { put_field(bytes, n, Growth::mem_write); }
    // A string: u32 length, then the bytes without terminator.
    void put_text(const char* text, std::size_t n) noexcept {
        put_u32(static_cast<std::uint32_t>(n));
        put_block(text, n);
    }

    // Takes n bytes only when all of them are there; otherwise consumes
    // nothing. dest then keeps what it had in a memory stream; from a file
    // it receives the bytes that were there (as stdio's fread leaves them).
    bool get(void* dest, std::size_t n) noexcept {
        if (file_) return buffered_get(dest, n);
        MemFile* m = mem();
        if (n > mem_remaining(m)) return false;
        std::memcpy(dest, m->data + m->position, n);
        m->position += static_cast<std::uint32_t>(n);
        return true;
    }
    bool get_u32(std::uint32_t& v) noexcept { return get(&v, 4); }
    bool get_i32(std::int32_t& v) noexcept { return get(&v, 4); }
    bool get_f64(double& v) noexcept { return get(&v, 8); }

    // Whether n more bytes can be there. Exact for a memory stream. For a
    // file, small requests are assumed to fit (a short read then fails
    // cheaply); larger ones are checked against the rest of the file, and a
    // file that cannot tell its size holds no large value. Readers ask this
    // before allocating for a length taken from the stream, so a damaged
    // length never makes them allocate for bytes that are not there.
    bool can_hold(std::uint64_t n) noexcept;

    // Writes out what is gathered, gives back what was read ahead.
    void sync() noexcept {
        if (out_) flush();
        if (ahead_ || eof_) give_back();
    }

private:

    MemFile* mem() const noexcept { return static_cast<MemFile*>(p_); }
    std::FILE* file() const noexcept { return static_cast<std::FILE*>(p_); }
    void put_field(const void* bytes, std::size_t n, Growth rule) noexcept {
        if (n == 0) return;
        if (file_) return put_file(bytes, n);
        MemFile* m = mem();
        if (n > mem_remaining(m)) {
            mem_put(m, bytes, n, rule);  // grows first
            return;
        }
        std::memcpy(m->data + m->position, bytes, n);
        m->position += static_cast<std::uint32_t>(n);
    }
    void put_file(const void* bytes, std::size_t n) noexcept {
        if (!buf_ && lent_) take_write_buffer();
        if (buf_) {
            if (n > cap_ - out_) flush();
            if (n <= cap_) {
                std::memcpy(buf_ + out_, bytes, n);
                out_ += n;
                used_ = true;
                return;
            }
        }
        std::fwrite(bytes, 1, n, file());
    }
    bool buffered_get(void* dest, std::size_t n) noexcept {
        if (buf_ && n <= ahead_) {  // an unbuffered Stream has no buf_ even for n == 0
            std::memcpy(dest, buf_ + at_, n);
            at_ += n;
            ahead_ -= n;
            return true;
        }
        return refill_get(dest, n);
    }
    void take_write_buffer() noexcept;
    void flush() noexcept;
    void give_back() noexcept;
    bool refill_get(void* dest, std::size_t n) noexcept;
    bool file_get(void* dest, std::size_t n) noexcept;

    void* p_;
    bool file_;
    bool eof_ = false;           // a read ahead came back short
    bool used_ = false;          // the buffer has held bytes
    signed char seekable_ = -1;  // unknown until the first read ahead
    bool owned_ = false;         // buf_ is a heap block of this Stream
    unsigned char* lent_ = nullptr;
    unsigned char* buf_ = nullptr;  // the buffer in use: lent_ or a heap block
    std::size_t cap_ = 0;
    std::size_t out_ = 0;    // bytes gathered for writing
    std::size_t at_ = 0;     // where the bytes read ahead start in buf_
    std::size_t ahead_ = 0;  // bytes read ahead and not yet taken
};

}  // namespace ostr::persist
