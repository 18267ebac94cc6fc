// Internal interfaces shared by the files of the typed tree: entries, the
// type map lookup, string fields and the nesting bound of the readers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/limits.hpp"
#include "core/memory.hpp"
#include "core/runtime.hpp"
#include "ostravine/persist.h"
#include "persist/stream.hpp"

namespace ostr::persist {

// The record of a registered type, or nullptr. Builds the map on first use.
const ArbType* find_type(const char* name) noexcept;

// A value handler in its Stream form: what a built-in C handler does, on
// the caller's Stream (so a nested value shares its buffer).
using StreamWriteFn = void (*)(const void* value, Stream& out);
using StreamReadFn = void* (*)(Stream& in);
// The Stream form of a built-in C handler; nullptr for any other.
StreamWriteFn stream_writer(ArbWriteFn fn) noexcept;
StreamReadFn stream_reader(ArbReadFn fn) noexcept;

// Calls a value handler: the Stream form when there is one, else the C
// handler on the raw stream (brought up to date first).
inline void write_with(ArbWriteFn c, StreamWriteFn s, void* value, Stream& out) {
    if (s)
        s(value, out);
    else if (c)
        c(value, out.handoff(), out.mode());
}
inline void* read_with(ArbReadFn c, StreamReadFn s, Stream& in) {
    if (s) return s(in);
    return c ? c(in.handoff(), in.mode()) : nullptr;
}

// A registered type as the serialisers use it.
struct TypeInfo {
    const ArbType* record = nullptr;
    StreamWriteFn write = nullptr;
    StreamReadFn read = nullptr;
};

// Remembers the last lookup: the nodes of a tree mostly share few types.
class TypeCache {
public:
    const TypeInfo& find(const char* name) {
        static const TypeInfo none;
        if (!name) return none;
        if (!valid_ || last_ != name) {
            last_ = name;
            info_.record = find_type(name);
            info_.write = info_.record ? stream_writer(info_.record->write) : nullptr;
            info_.read = info_.record ? stream_reader(info_.record->read) : nullptr;
            valid_ = true;
        }
        return info_;
    }

private:
    std::string last_;
    TypeInfo info_;
    bool valid_ = false;
};

// The serialisers on a Stream the caller holds (the exported functions make
// one and call these; nested values share it).
void write_arbtree(ArbTree* tree, ArbNode* node, Stream& out);
[[nodiscard]] ArbTree* read_arbtree(Stream& in);
void write_rbtree(RBTree* tree, RBNode* node, Stream& out);
[[nodiscard]] RBTree* read_rbtree(Stream& in, ArbFreeFn f, ArbWriteFn w, ArbReadFn r, ArbCopyFn c);
void write_mem_file(const MemFile* m, Stream& out) noexcept;
[[nodiscard]] MemFile* read_mem_file(Stream& in) noexcept;

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

// Beyond this depth a nested tree reads as an absent value (core/limits.hpp).
constexpr int max_nesting = limits::tree_read_depth;
// The typed tree's part of the runtime record: the type map (built on first
// use, so the exported functions work without InitializeGlobals) and the
// nesting of the read under way. Null when memory runs out.
struct State {
    ArbTree* type_map = nullptr;
    int nesting = 0;
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();
};
inline State* state() noexcept { return core::part_or_null<State, core::persist_slot>(); }

class NestingGuard {
public:
    NestingGuard() noexcept : state_(state()) {
        if (state_) ++state_->nesting;
    }
    ~NestingGuard() {
        if (state_) --state_->nesting;
    }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;
    // Without a record to count in, every nesting counts as too deep.
    bool too_deep() const noexcept { return !state_ || state_->nesting > max_nesting; }

private:
    State* state_;
};

}  // namespace ostr::persist
