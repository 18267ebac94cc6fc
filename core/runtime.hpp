// The runtime record: the one place that holds the mutable state of the core
// (hook records, analysis caches, depth counters, limits, loop counters).
// Each component that keeps state owns one slot and defines the type of its
// part; this file only holds them type-erased, so no layer names a higher one.
#pragma once

#include <csignal>
#include <new>

namespace ostr::core {

// One slot per component that keeps state, bottom to top: parts are made in
// this order and freed in the reverse one, so a part may still use the parts
// below it while it is freed.
enum Slot : int { persist_slot, objects_slot, formula_slot, lang_slot, script_slot, slot_count };

struct Part {
    void* data = nullptr;
    void (*drop)(void*) noexcept = nullptr;
};

struct Runtime {
    Part parts[slot_count];
    // Set by RequestAbort, which a signal handler may call (Ctrl-C at the
    // console); the only field written outside the one thread, hence the
    // type. The statement layer's loop check and the evaluator's entry turn
    // it into the abort text of the line under way; a new top-level line
    // clears it.
    volatile std::sig_atomic_t abort_requested = 0;
    // Set by the statement layer while a top-level line runs: true once the
    // line has run past its time bound. Long work in any component polls
    // should_stop() so that a bounded line stops within its bound.
    bool (*line_expired)() noexcept = nullptr;
};

// The record itself. Reached only through part_of (and the functions below);
// it is a plain object so that a part costs one load to reach.
extern Runtime the_runtime;

inline void request_abort() noexcept { the_runtime.abort_requested = 1; }
inline bool abort_requested() noexcept { return the_runtime.abort_requested != 0; }
inline void clear_abort_request() noexcept { the_runtime.abort_requested = 0; }
// True when long work should give up: a stop was requested (Ctrl-C) or the
// line under way ran past its time. Costs a clock read when a line runs, so
// loops call it every few thousand steps, not at every one.
inline bool should_stop() noexcept {
    return abort_requested() || (the_runtime.line_expired && the_runtime.line_expired());
}

// Frees every part, top down. Harmless when none is made.
void free_runtime() noexcept;
// Frees one part; the next part_of makes it afresh.
void free_part(Slot s) noexcept;

// The part of slot S, of type T (a type of the component that owns the
// slot), made default on first use: code that runs without InitializeGlobals
// (an environment made before it, a test of one layer) sees a fresh part,
// never a dangling or missing one. Throws std::bad_alloc when the part
// cannot be made, as any other allocation inside.
template <class T, Slot S>
T& part_of() {
    void* p = the_runtime.parts[S].data;
    if (!p) [[unlikely]] {
        p = new T();
        the_runtime.parts[S] = Part{p, [](void* q) noexcept { delete static_cast<T*>(q); }};
    }
    return *static_cast<T*>(p);
}
// The same for code that may not throw: null when the part cannot be made.
template <class T, Slot S>
T* part_or_null() noexcept {
    try {
        return &part_of<T, S>();
    } catch (...) {
        return nullptr;
    }
}
// The part of slot S when it is made, else null; never makes it.
template <class T, Slot S>
T* part_if_made() noexcept {
    return static_cast<T*>(the_runtime.parts[S].data);
}

}  // namespace ostr::core
