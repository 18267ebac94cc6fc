// A counting allocator for the core's allocator pair: tests install it to
// catch leaks and to make the n-th allocation fail.
#pragma once

#include <cstddef>

namespace ostr::test {

// While alive, every core allocation goes through the counter. live() is the
// number of blocks not yet released; fail_after(n) makes the allocation after
// the next n ones fail (and every one after it), -1 switches failures off.
// With `count_new`, the blocks of operator new (standard containers, Text,
// shared_ptr) count and fail too (failing ones throw std::bad_alloc); that
// needs operator new routed here, which linking ostr_test_counting_new does
// (routes_new() says whether it is).
class CountingAlloc {
public:
    explicit CountingAlloc(bool count_new = false);
    ~CountingAlloc();
    CountingAlloc(const CountingAlloc&) = delete;
    CountingAlloc& operator=(const CountingAlloc&) = delete;

    long live() const;
    long total() const;
    void fail_after(long n);
    // Whether an allocation was refused since the last fail_after.
    bool refused() const;
    static bool routes_new();
};

namespace detail {
// The side of the counter that the routed operator new uses.
bool counting_new() noexcept;
bool spend() noexcept;
void count_block(long delta) noexcept;
}  // namespace detail

}  // namespace ostr::test
