// The byte fields of the environment stream: little writers that append to a
// record, and a reader that checks every field against the bytes that are
// really there. Shared by the environment record and the container values.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/memory.hpp"

namespace ostr::envio {

inline void put_raw(Text& out, const void* p, std::size_t n) { out.append(static_cast<const char*>(p), n); }
inline void put_u8(Text& out, std::uint8_t v) { out.push_back(static_cast<char>(v)); }
inline void put_u32(Text& out, std::uint32_t v) { put_raw(out, &v, 4); }
inline void put_i32(Text& out, std::int32_t v) { put_raw(out, &v, 4); }
inline void put_u64(Text& out, std::uint64_t v) { put_raw(out, &v, 8); }
// A length-prefixed text.
inline void put_text(Text& out, std::string_view s) {
    put_u32(out, static_cast<std::uint32_t>(s.size()));
    out.append(s);
}

class Reader {
public:
    explicit Reader(std::string_view bytes) noexcept : b_(bytes) {}
    bool take(void* dest, std::size_t n) noexcept {
        if (n > b_.size() - at_) return false;
        std::memcpy(dest, b_.data() + at_, n);
        at_ += n;
        return true;
    }
    template <class T>
    bool get(T& v) noexcept { return take(&v, sizeof v); }
    // A length-prefixed text as a view into the record.
    bool view(std::string_view& s) noexcept {
        std::uint32_t n;
        if (!get(n) || n > b_.size() - at_) return false;
        s = b_.substr(at_, n);
        at_ += n;
        return true;
    }
    std::size_t left() const noexcept { return b_.size() - at_; }
    void skip(std::size_t n) noexcept { at_ += std::min(n, left()); }

private:
    std::string_view b_;
    std::size_t at_ = 0;
};

}  // namespace ostr::envio
