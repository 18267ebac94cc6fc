#include "support/counting_alloc.hpp"

#include <cstdlib>
#include <new>

#include "core/memory.hpp"

namespace ostr::test {
namespace {

long live_blocks = 0;
long total_blocks = 0;
long budget = -1;  // allocations left before failures start; -1: unlimited
bool was_refused = false;
bool new_counts = false;

void* counting_alloc(std::size_t n) {
    if (!detail::spend()) return nullptr;
    void* p = std::malloc(n);
    if (p) ++live_blocks, ++total_blocks;
    return p;
}

void* counting_realloc(void* p, std::size_t n) {
    if (!detail::spend()) return nullptr;
    void* q = std::realloc(p, n);
    if (q && !p) ++live_blocks, ++total_blocks;
    return q;
}

void counting_free(void* p) {
    if (p) --live_blocks;
    std::free(p);
}

const AllocHooks counting{counting_alloc, counting_realloc, counting_free};

}  // namespace

namespace detail {
bool counting_new() noexcept { return new_counts; }
bool spend() noexcept {
    if (budget == 0) return !(was_refused = true);
    if (budget > 0) --budget;
    return true;
}
void count_block(long delta) noexcept {
    live_blocks += delta;
    if (delta > 0) total_blocks += delta;
}
}  // namespace detail

CountingAlloc::CountingAlloc(bool count_new) {
    live_blocks = total_blocks = 0;
    budget = -1;
    was_refused = false;
    set_alloc_hooks(&counting);
    new_counts = count_new;
}
CountingAlloc::~CountingAlloc() {
    new_counts = false;
    set_alloc_hooks(nullptr);
}
long CountingAlloc::live() const { return live_blocks; }
long CountingAlloc::total() const { return total_blocks; }
void CountingAlloc::fail_after(long n) {
    budget = n;
    was_refused = false;
}
bool CountingAlloc::refused() const { return was_refused; }

bool CountingAlloc::routes_new() {
    if (!new_counts) return false;
    const long before = live_blocks;
    // Called as functions: a new-expression paired with its delete may be
    // left out by the compiler.
    void* probe = ::operator new(16);
    const bool counted = live_blocks == before + 1;
    ::operator delete(probe);
    return counted;
}

}  // namespace ostr::test
