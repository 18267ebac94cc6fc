// Internal interfaces shared by the files of the typed tree: entries, the
// type map lookup, string fields and the nesting bound of the readers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "numeric/memory.hpp"
#include "ostravine/persist.h"
#include "persist/stream.hpp"

namespace ostr::persist {

// The record of a registered type, or nullptr. Builds the map on first use.
const ArbType* find_type(const char* name) noexcept;

// Remembers the last lookup: the nodes of a tree mostly share few types.
class TypeCache {
public:
    const ArbType* find(const char* name) {
        if (!name) return nullptr;
        if (!valid_ || last_ != name) {
            last_ = name;
            record_ = find_type(name);
            valid_ = true;
        }
        return record_;
    }

private:
    std::string last_;
    const ArbType* record_ = nullptr;
    bool valid_ = false;
};

// An entry and its type name in one block.
[[nodiscard]] ArbValue* make_entry(void* value, std::string_view type) noexcept;
// Frees the value (with tree_free when given, else the free operation
// registered for the entry's type, if any), then the entry.
void free_entry(ArbValue* entry, ArbFreeFn tree_free) noexcept;

// Reads a string field into out. False only when not even the length is
// there (the end of the data); a length whose bytes are not all there gives
// the empty text and leaves those bytes unread. The text ends at its first
// zero byte, so that wiping it later wipes all it holds.
bool read_text(Stream& in, Text& out);
// Writes a string field; an absent text writes nothing at all.
inline void write_text(Stream& out, const char* text) noexcept {
    if (text) out.put_text(text, std::char_traits<char>::length(text));
}

// Nested trees are read by recursion through the value handlers; a damaged
// stream could nest them without end. Beyond this depth a nested tree reads
// as an absent value.
constexpr int max_nesting = 100;
class NestingGuard {
public:
    NestingGuard() noexcept { ++depth_; }
    ~NestingGuard() { --depth_; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;
    bool too_deep() const noexcept { return depth_ > max_nesting; }

private:
    static inline int depth_ = 0;
};

}  // namespace ostr::persist
