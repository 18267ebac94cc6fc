// The one allocator pair of the core and the owning types built on it.
// Every block that crosses the C face comes from mem_alloc (malloc-compatible)
// and every text that held user data is wiped before it is released.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace ostr {

// The allocator behind mem_alloc/mem_realloc/mem_free. Tests install a
// counting or failing allocator here; the default is the C heap, so that
// blocks handed to C callers are ordinary malloc blocks.
struct AllocHooks {
    void* (*alloc)(std::size_t);
    void* (*realloc)(void*, std::size_t);
    void (*free)(void*);
};
void set_alloc_hooks(const AllocHooks* hooks) noexcept;  // nullptr restores the C heap

[[nodiscard]] void* mem_alloc(std::size_t bytes) noexcept;
[[nodiscard]] void* mem_calloc(std::size_t count, std::size_t size) noexcept;
[[nodiscard]] void* mem_realloc(void* block, std::size_t bytes) noexcept;
void mem_free(void* block) noexcept;

// Asks the system to back the 2 MiB pages that lie wholly inside a block
// with huge pages, where it grants them on request: the first touches of a
// fresh 64 MiB block then take 32 page faults instead of 16,384.
void advise_huge_pages(void* p, std::size_t n) noexcept;

// Zeroed pages straight from the system for a large internal block (never
// one handed to C callers), with huge pages advised. nullptr when refused,
// when the system has no anonymous mappings, or while a test allocator is
// installed (the caller then takes a block from mem_alloc, which the test
// sees). unmap_pages gives back exactly what map_pages(n) gave.
[[nodiscard]] void* map_pages(std::size_t n) noexcept;
void unmap_pages(void* p, std::size_t n) noexcept;

// Overwrites n bytes with zeros in a way the compiler may not drop.
void wipe(void* p, std::size_t n) noexcept;

// Wipes the text over its length, then releases it. nullptr is ignored.
void free_text(char* text) noexcept;
// A new zero-terminated heap copy, or nullptr when memory runs out.
[[nodiscard]] char* dup_text(std::string_view text) noexcept;

// The C face's one answer to memory running out inside C++: runs body and
// answers what it answers, or `failed` when a standard container, a
// shared_ptr or a Text could not get memory (std::bad_alloc). Every wrapper
// of a function that can allocate that way is one call of this, so no
// exception crosses the face; what the body made is released by the
// unwinding itself (RAII). `undo` (optional) runs after a failure, for a
// function whose half-built state must go as a whole.
template <class T, class Body>
T or_failure(T failed, Body&& body, void (*undo)() noexcept = nullptr) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        if (undo) undo();
        return failed;
    }
}
// The same for a function that answers nothing: a failure leaves what it
// would have made unmade.
template <class Body>
void or_nothing(Body&& body) noexcept {
    try {
        body();
    } catch (const std::bad_alloc&) {
    }
}

struct TextDeleter {
    void operator()(char* p) const noexcept { free_text(p); }
};
struct BlockDeleter {
    void operator()(void* p) const noexcept { mem_free(p); }
};

// A heap text owned in C++ and handed to C with release().
using OwnedText = std::unique_ptr<char, TextDeleter>;
template <class T>
using OwnedBlock = std::unique_ptr<T, BlockDeleter>;

// Allocator for C++ containers that hold user data: every block is wiped on
// release, including the old buffer a growing string leaves behind.
template <class T>
struct WipingAllocator {
    using value_type = T;
    WipingAllocator() noexcept = default;
    template <class U>
    WipingAllocator(const WipingAllocator<U>&) noexcept {}
    T* allocate(std::size_t n) { return std::allocator<T>{}.allocate(n); }
    void deallocate(T* p, std::size_t n) noexcept {
        wipe(p, n * sizeof(T));
        std::allocator<T>{}.deallocate(p, n);
    }
    template <class U>
    bool operator==(const WipingAllocator<U>&) const noexcept { return true; }
};

using WipedString = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;

// The working string of the core: a std::string whose buffers are all wiped.
// Heap buffers are wiped by the allocator; a short text lives inside the
// string object itself (which may sit in a heap block such as a vector or a
// map node), so the destructor wipes that inline buffer too — whole, since a
// string moved from keeps its old characters behind the new terminator.
class Text : public WipedString {
public:
    using WipedString::WipedString;
    Text() noexcept = default;
    Text(const WipedString& s) : WipedString(s) {}
    Text(WipedString&& s) noexcept : WipedString(std::move(s)) {}
    Text(const Text&) = default;
    Text(Text&&) noexcept = default;
    Text& operator=(const Text&) = default;
    Text& operator=(Text&&) noexcept = default;
    using WipedString::operator=;
    ~Text() { wipe_inline(); }

private:
    void wipe_inline() noexcept {
        auto* self = reinterpret_cast<const char*>(this);
        const char* d = data();
        if (d >= self && d < self + sizeof(*this)) wipe(const_cast<char*>(d), capacity() + 1);
    }
};

}  // namespace ostr
