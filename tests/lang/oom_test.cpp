// Memory running out anywhere in the evaluator: each allocation in turn
// fails (the standard containers' too), and every time ArbevalExpression
// answers null, an error word or the right answer, and nothing is left
// allocated. The statement layer's sweeps are in tests/script/oom_test.cpp.
#include <string>

#include <gtest/gtest.h>

#include "lang/globals.hpp"
#include "objects/environment.hpp"
#include "ostravine/core.h"
#include "ostravine/environment.h"
#include "ostravine/lang.h"
#include "support/sweep.hpp"

namespace ostr::test {
namespace {

struct Row {
    const char* expression;
    const char* expected;
};

TEST(OutOfMemory, Expressions) {
    const Row rows[] = {
        {"2*(3+4)^2-1", "97"},
        {"(1+2*i)*(3-i)/x", "1.66666666666667+1.66666666666667*i"},
        {"a*b+sin(a)-x", "a*b+sin(a)-3"},
        {"sum(k^2,k,1,10)+max(x,1)", "388"},
        {"x>2", "1"},
    };
    struct State {
        Arbenv* env = nullptr;
        char* answer = nullptr;
    };
    CountingAlloc counter(true);
    ASSERT_TRUE(CountingAlloc::routes_new());
    for (const Row& r : rows) {
        sweep_allocations(
            counter, r.expression,
            [] {
                EXPECT_TRUE(lang::initialize_globals(nullptr, 0));
                State s{InitializeTopLevelEnvironment(), nullptr};
                if (s.env) obj::store(s.env, obj::make_numeric({3, 0}, "x", s.env));
                return s;
            },
            [&](State& s) { s.answer = ArbevalExpression(r.expression, s.env); },
            [&](State& s, bool failed) {
                const std::string a = s.answer ? s.answer : "(null)";
                FreeString(s.answer);
                if (failed) {
                    EXPECT_TRUE(a == "(null)" || a == r.expected || a.find(">invalid_") != std::string::npos)
                        << r.expression << " answers " << a;
                } else {
                    EXPECT_EQ(a, r.expected);
                }
                TerminateEnvironment(s.env);
                lang::terminate_globals();
            });
        if (::testing::Test::HasFailure()) break;
    }
}

}  // namespace
}  // namespace ostr::test
