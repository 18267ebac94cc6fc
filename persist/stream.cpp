// The buffered file side of Stream (stream.hpp): gathering writes into
// blocks, reading ahead and giving back what was not taken.
#include "persist/stream.hpp"

#include <cstdio>
#include <cstring>

#include "core/memory.hpp"

namespace ostr::persist {

Stream::~Stream() {
    sync();
    if (used_) wipe(buf_, cap_);  // it held user data
    if (owned_) mem_free(buf_);
}

void Stream::take_write_buffer() noexcept {
    if (auto* b = static_cast<unsigned char*>(mem_alloc(write_block))) {
        buf_ = b;
        cap_ = write_block;
        owned_ = true;
    } else {
        buf_ = lent_;
        cap_ = sizeof(FileBuffer::bytes);
    }
}

void Stream::flush() noexcept {
    std::fwrite(buf_, 1, out_, file());
    out_ = 0;
}

// Seeks back over the bytes read ahead and not taken (this clears the
// end-of-file flag too, as a short read does below).
void Stream::give_back() noexcept {
    std::fseek(file(), -static_cast<long>(ahead_), SEEK_CUR);
    at_ = ahead_ = 0;
    eof_ = false;
}

// The field is not all in the buffer: read ahead another block, keeping the
// bytes not yet taken. A large block, or a file that cannot tell its
// position, is read directly.
bool Stream::refill_get(void* dest, std::size_t n) noexcept {
    if (!buf_ && lent_) {
        buf_ = lent_;
        cap_ = sizeof(FileBuffer::bytes);
    }
    if (!buf_ || n > cap_ / 2) {
        sync();
        return file_get(dest, n);
    }
    if (seekable_ < 0) seekable_ = std::ftell(file()) >= 0;
    if (!seekable_) return file_get(dest, n);
    if (!eof_) {
        std::memmove(buf_, buf_ + at_, ahead_);
        at_ = 0;
        const std::size_t want = cap_ - ahead_;
        const std::size_t got = std::fread(buf_ + ahead_, 1, want, file());
        ahead_ += got;
        eof_ = got < want;
        used_ = true;
    }
    if (n > ahead_) {
        // Short: as fread does, the bytes that are there land in dest, but
        // none is taken.
        if (ahead_) std::memcpy(dest, buf_ + at_, ahead_);
        return false;
    }
    std::memcpy(dest, buf_ + at_, n);
    at_ += n;
    ahead_ -= n;
    return true;
}

bool Stream::file_get(void* dest, std::size_t n) noexcept {
    const std::size_t got = std::fread(dest, 1, n, file());
    if (got == n) return true;
    // Give back a partial read, so a short field is not consumed in a file
    // either (this clears the end-of-file flag too).
    std::fseek(file(), -static_cast<long>(got), SEEK_CUR);
    return false;
}

bool Stream::can_hold(std::uint64_t n) noexcept {
    constexpr std::uint64_t assumed_fit = 1 << 16;
    if (!p_) return false;
    if (!file_) return n <= mem_remaining(mem());
    if (n <= assumed_fit || n <= ahead_) return true;
    std::FILE* f = file();
    const long here = std::ftell(f);  // past the bytes read ahead
    if (here < 0 || std::fseek(f, 0, SEEK_END) != 0) return false;
    const long end = std::ftell(f);
    std::fseek(f, here, SEEK_SET);
    return end >= here && static_cast<std::uint64_t>(end - here) + ahead_ >= n;
}

}  // namespace ostr::persist
