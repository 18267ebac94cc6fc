// The allocator pair, text wiping and the exported text helpers.
#include "core/memory.hpp"

#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>

#include "ostravine/core.h"

namespace ostr {
namespace {

const AllocHooks c_heap{std::malloc, std::realloc, std::free};
const AllocHooks* hooks = &c_heap;

}  // namespace

void set_alloc_hooks(const AllocHooks* h) noexcept { hooks = h ? h : &c_heap; }

void* mem_alloc(std::size_t bytes) noexcept { return hooks->alloc(bytes ? bytes : 1); }

// The C heap's calloc knows when fresh memory is already zero (a large
// block straight from the system) and then skips the clearing.
void* mem_calloc(std::size_t count, std::size_t size) noexcept {
    if (size != 0 && count > SIZE_MAX / size) return nullptr;
    if (hooks == &c_heap) return count == 0 || size == 0 ? std::calloc(1, 1) : std::calloc(count, size);
    void* p = mem_alloc(count * size);
    if (p) std::memset(p, 0, count * size);
    return p;
}

void* mem_realloc(void* block, std::size_t bytes) noexcept {
    return hooks->realloc(block, bytes ? bytes : 1);
}

void mem_free(void* block) noexcept {
    if (block) hooks->free(block);
}

void advise_huge_pages([[maybe_unused]] void* p, [[maybe_unused]] std::size_t n) noexcept {
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t huge = std::uintptr_t{2} << 20;
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t from = (at + huge - 1) & ~(huge - 1), to = (at + n) & ~(huge - 1);
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#endif
}

void* map_pages([[maybe_unused]] std::size_t n) noexcept {
#if defined(MAP_ANONYMOUS)
    if (hooks != &c_heap) return nullptr;
    void* p = mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) return nullptr;
    advise_huge_pages(p, n);
    return p;
#else
    return nullptr;
#endif
}

void unmap_pages([[maybe_unused]] void* p, [[maybe_unused]] std::size_t n) noexcept {
#if defined(MAP_ANONYMOUS)
    if (p) munmap(p, n);
#endif
}

void wipe(void* p, std::size_t n) noexcept {
    if (!p || n == 0) return;
    std::memset(p, 0, n);
    // The empty asm claims to read the block through p, so the compiler must
    // keep the memset although the block is released right afterwards.
    __asm__ __volatile__("" : : "r"(p) : "memory");
}

void free_text(char* text) noexcept {
    if (!text) return;
    wipe(text, std::strlen(text));
    mem_free(text);
}

char* dup_text(std::string_view text) noexcept {
    auto* p = static_cast<char*>(mem_alloc(text.size() + 1));
    if (!p) return nullptr;
    if (!text.empty()) std::memcpy(p, text.data(), text.size());
    p[text.size()] = '\0';
    return p;
}

}  // namespace ostr

extern "C" {

char* StrDup(const char* text) noexcept { return text ? ostr::dup_text(text) : nullptr; }
void FreeString(char* text) noexcept { ostr::free_text(text); }
void FreeBlock(void* block) noexcept { ostr::mem_free(block); }

}
