// A counting allocator for the core's allocator pair: tests install it to
// catch leaks and to make the n-th allocation fail.
#pragma once

#include <cstddef>

namespace ostr::test {

// While alive, every core allocation goes through the counter. live() is the
// number of blocks not yet released; fail_after(n) makes the allocation after
// the next n ones fail (and every one after it), -1 switches failures off.
class CountingAlloc {
public:
    CountingAlloc();
    ~CountingAlloc();
    CountingAlloc(const CountingAlloc&) = delete;
    CountingAlloc& operator=(const CountingAlloc&) = delete;

    long live() const;
    long total() const;
    void fail_after(long n);
};

}  // namespace ostr::test
