// A fixture for evaluator tests: globals and one top-level environment, the
// answer of an expression as the text the C face would return, and tables of
// {expression, answer} checked in order.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "lang/evaluate.hpp"
#include "lang/globals.hpp"
#include "objects/environment.hpp"

namespace ostr::test {

struct Row {
    const char* expression;
    const char* expected;
};

class EvalTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(lang::initialize_globals(nullptr, 0));
        env = obj::make_top_level();
        ASSERT_NE(env, nullptr);
    }
    void TearDown() override {
        obj::free_environment(env);
        lang::terminate_globals();
    }
    std::string answer(std::string_view text, int digits = 15) {
        Text t = lang::display(lang::evaluate(text, env), digits);
        return std::string(t.data(), t.size());
    }
    void check(std::initializer_list<Row> rows) {
        for (const Row& r : rows) EXPECT_EQ(answer(r.expression), r.expected) << "expression: " << r.expression;
    }
    void set(std::string_view name, std::string_view expression) {
        obj::store(env, lang::to_object(lang::evaluate(expression, env), env, name));
    }
    Arbenv* env = nullptr;
};

}  // namespace ostr::test
