// Global operator new and delete routed through the counting allocator, for
// the test binaries whose sweeps must see the standard containers'
// allocations too. Each block carries a small header that says whether it
// was counted, so a block made before counting began and freed during it
// (or the other way round) leaves the balance alone. The aligned forms stay
// the library's own; nothing here over-aligns.
#include <cstdlib>
#include <new>

#include "support/counting_alloc.hpp"

namespace {

constexpr std::size_t header = 16;  // keeps the 16-byte alignment of malloc
constexpr std::size_t counted = 0xC0C0C0C0u, plain = 0x9A9A9A9Au;

void* allocate(std::size_t n) noexcept {
    const bool counts = ostr::test::detail::counting_new();
    if (counts && !ostr::test::detail::spend()) return nullptr;
    auto* p = static_cast<unsigned char*>(std::malloc(n + header));
    if (!p) return nullptr;
    *reinterpret_cast<std::size_t*>(p) = counts ? counted : plain;
    if (counts) ostr::test::detail::count_block(1);
    return p + header;
}

void release(void* q) noexcept {
    if (!q) return;
    auto* p = static_cast<unsigned char*>(q) - header;
    if (*reinterpret_cast<std::size_t*>(p) == counted) ostr::test::detail::count_block(-1);
    std::free(p);
}

void* allocate_or_throw(std::size_t n) {
    void* p = allocate(n);
    if (!p) throw std::bad_alloc();
    return p;
}

}  // namespace

void* operator new(std::size_t n) { return allocate_or_throw(n); }
void* operator new[](std::size_t n) { return allocate_or_throw(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void operator delete(void* p) noexcept { release(p); }
void operator delete[](void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }
void operator delete[](void* p, std::size_t) noexcept { release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { release(p); }
