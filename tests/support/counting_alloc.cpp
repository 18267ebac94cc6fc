#include "support/counting_alloc.hpp"

#include <cstdlib>

#include "core/memory.hpp"

namespace ostr::test {
namespace {

long live_blocks = 0;
long total_blocks = 0;
long budget = -1;  // allocations left before failures start; -1: unlimited

bool spend() {
    if (budget == 0) return false;
    if (budget > 0) --budget;
    return true;
}

void* counting_alloc(std::size_t n) {
    if (!spend()) return nullptr;
    void* p = std::malloc(n);
    if (p) ++live_blocks, ++total_blocks;
    return p;
}

void* counting_realloc(void* p, std::size_t n) {
    if (!spend()) return nullptr;
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

CountingAlloc::CountingAlloc() {
    live_blocks = total_blocks = 0;
    budget = -1;
    set_alloc_hooks(&counting);
}
CountingAlloc::~CountingAlloc() { set_alloc_hooks(nullptr); }
long CountingAlloc::live() const { return live_blocks; }
long CountingAlloc::total() const { return total_blocks; }
void CountingAlloc::fail_after(long n) { budget = n; }

}  // namespace ostr::test
