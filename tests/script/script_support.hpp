// A fixture for statement tests: globals with the statement layer installed,
// one top-level environment, and whole lines run as the console runs them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "script/script.hpp"

namespace ostr::test {

struct Line {
    const char* line;
    const char* answer;
};

class ScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        saved_limits = script::limits();
        ASSERT_TRUE(script::initialize_globals(nullptr, 0));
        env = obj::make_top_level();
        ASSERT_NE(env, nullptr);
    }
    void TearDown() override {
        obj::free_environment(env);
        script::terminate_globals();
        script::limits() = saved_limits;
    }
    std::string run(std::string_view line) {
        Text t = script::run_script(line, env, true);
        return std::string(t.data(), t.size());
    }
    // Lines in order, each answer checked; later lines see what earlier
    // ones stored.
    void check(std::initializer_list<Line> lines) {
        for (const Line& l : lines) EXPECT_EQ(run(l.line), l.answer) << "line: " << l.line;
    }
    Arbenv* env = nullptr;
    script::Limits saved_limits;
};

}  // namespace ostr::test
