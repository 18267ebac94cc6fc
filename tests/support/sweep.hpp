// Out-of-memory sweeps: an operation runs with its n-th allocation failing,
// for n = 0, 1, 2, ... until it runs with none failing, and after each run
// every block it made is released again.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/counting_alloc.hpp"

namespace ostr::test {

// Each step: `arrange()` makes a state with every allocation granted,
// `act(state)` runs with allocation n failing, `check(state, failed)` (all
// granted again) judges what act left and releases everything. The balance
// of live blocks must come back to where the step began. One whole step
// runs first, so that what lives on from a first run (function-local
// caches, the buckets of emptied hash tables) is there before any balance
// is taken. Answers the number of allocations act makes when none fails
// (the points swept), also recorded as the test property "points: <name>".
template <class Arrange, class Act, class Check>
long sweep_allocations(CountingAlloc& counter, const std::string& name, Arrange arrange, Act act, Check check) {
    constexpr long max_points = 200000;
    {
        auto state = arrange();
        act(state);
        check(state, false);
    }
    long n = 0;
    for (; n < max_points; ++n) {
        const long before = counter.live();
        auto state = arrange();
        counter.fail_after(n);
        act(state);
        const bool failed = counter.refused();
        counter.fail_after(-1);
        check(state, failed);
        if (counter.live() != before) {
            ADD_FAILURE() << name << ": " << counter.live() - before << " blocks left with allocation " << n
                          << " failing";
            break;
        }
        if (!failed || ::testing::Test::HasFailure()) break;
    }
    EXPECT_LT(n, max_points) << name;
    EXPECT_GT(n, 0) << name << " made no allocation";
    ::testing::Test::RecordProperty("points: " + name, static_cast<int>(n));
    return n;
}

}  // namespace ostr::test
