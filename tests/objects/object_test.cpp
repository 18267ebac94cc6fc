// The object layer: type names, copies that are deep and independent,
// environments that free what they own, strings that share one block.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <string>

#include "ostravine/environment.h"
#include "objects/environment.hpp"
#include "objects/types.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::obj {
namespace {

// The names a printed object shows.
TEST(Objects, TypeNamesOfTheTagTable) {
    const char* names[] = {"node", "algebraic", "matrix", "mutant", "string", "array", "class_definition",
                           "top_level", "", "", "map", "", "numeric", "bignum"};
    for (std::uint32_t tag = 0; tag < tag_count; ++tag) EXPECT_EQ(tag_type_name(tag), names[tag]) << tag;
    Object* o = make_object(nullptr, scoped, "point", nullptr, {});
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(std::string(type_name(o).c_str()), "point");  // tags 8 and 11 report their name
    o->tag = internal;
    EXPECT_EQ(std::string(type_name(o).c_str()), "point");
    o->tag = numeric;
    o->value = nullptr;
    EXPECT_EQ(std::string(type_name(o).c_str()), "numeric");
    free_object(o);
}

TEST(Objects, CopiesAreDeep) {
    Arbenv* env = make_top_level();
    Object* f = make_algebraic("2*x+1", "f", env);
    Object* g = copy_object(f);
    ASSERT_NE(g, nullptr);
    EXPECT_NE(f->value, g->value);
    EXPECT_EQ(text_value(g), "2*x+1");
    EXPECT_EQ(std::string(g->name), "f");
    free_object(f);
    EXPECT_EQ(text_value(g), "2*x+1");
    free_object(g);

    Object* s = make_scoped("box", env);
    store(static_cast<Arbenv*>(s->value), make_numeric({5, 0}, "inner", env));
    Object* t = copy_object(s);
    auto* scope = static_cast<Arbenv*>(t->value);
    EXPECT_NE(scope, s->value);
    EXPECT_EQ(scope->parent, env);
    ASSERT_NE(find(scope, "inner"), nullptr);
    EXPECT_EQ(numeric_value(find(scope, "inner")).re, 5);
    EXPECT_NE(find(scope, "inner"), find(static_cast<Arbenv*>(s->value), "inner"));
    EXPECT_EQ(resolve(scope, "pi"), find(env, "pi"));
    free_object(s);
    free_object(t);
    free_environment(env);
}

TEST(Environments, TopLevelDefaults) {
    Arbenv* env = InitializeTopLevelEnvironment();
    ASSERT_NE(env, nullptr);
    EXPECT_EQ(GetSignificantDigits(env), 15);
    SetSignificantDigits(env, 40);
    EXPECT_EQ(GetSignificantDigits(env), 40);
    EXPECT_LT(env->random_seed, 0);
    EXPECT_NE(env->placeholders, nullptr);
    EXPECT_EQ(env->parent, nullptr);
    EXPECT_EQ(numeric_value(find(env, "pi")).re, std::acos(-1.0));
    EXPECT_EQ(numeric_value(find(env, "e")).re, std::exp(1.0));
    store(env, make_numeric({1, 0}, "pi", env));
    EXPECT_TRUE(remove(env, "e"));
    RestoreDefaultAssignments(env);
    EXPECT_EQ(numeric_value(find(env, "pi")).re, std::acos(-1.0));
    EXPECT_NE(find(env, "e"), nullptr);
    TerminateEnvironment(env);
    TerminateEnvironment(nullptr);
    EXPECT_EQ(GetSignificantDigits(nullptr), 0);
}

TEST(Environments, ValueHandlersCopyTopLevel) {
    Arbenv* env = make_top_level();
    store(env, make_algebraic("x+1", "f", env));
    auto* copy = static_cast<Arbenv*>(copy_environment_value(env));
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->placeholders, nullptr);
    EXPECT_EQ(text_value(find(copy, "f")), "x+1");
    EXPECT_NE(find(copy, "f"), find(env, "f"));
    EXPECT_EQ(find(copy, "f")->env, copy);
    free_environment_value(env);
    free_environment_value(copy);
}

TEST(Environments, ClockSeed) {
    EXPECT_EQ(clock_seed(0), 0);
    EXPECT_EQ(clock_seed(12.34), -123);
    // 10 * 1.7e9 wraps modulo 2^32 before the magnitude is taken.
    std::int64_t wide = 17000000000;
    auto narrow = static_cast<std::int32_t>(static_cast<std::uint32_t>(wide));
    EXPECT_EQ(clock_seed(1.7e9), -std::abs(narrow));
    EXPECT_LE(clock_seed(static_cast<double>(std::time(nullptr))), 0);
}

TEST(Environments, NothingLeaksAcrossManyLifecycles) {
    test::CountingAlloc counter;
    for (int k = 0; k < 1000; ++k) {
        Arbenv* env = make_top_level();
        Object* s = make_scoped("scope", env);
        store(static_cast<Arbenv*>(s->value), make_algebraic("x+1", "f", env));
        store(env, s);
        store(env, copy_object(s));  // replaces the original
        free_environment(env);
    }
    EXPECT_EQ(counter.live(), 0);
}

// A string's copy adds a holder to the one block (no byte copied), each
// holder frees its own reference, and a string made by other handlers is
// copied by them. Failing allocations leave nothing behind.
TEST(Strings, HoldersShareOneBlock) {
    test::CountingAlloc counter;
    Object* a = make_string_object("h\xC3\xA9llo", "s", nullptr);
    ASSERT_NE(a, nullptr);
    Object* b = copy_object(a);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->value, a->value);
    EXPECT_EQ(text_value(b), "h\xC3\xA9llo");
    free_object(a);
    EXPECT_EQ(text_value(b), "h\xC3\xA9llo");
    free_object(b);

    Object* plain = make_object(nullptr, string, "", dup_text("xy"), text_handlers());
    Object* copy = copy_object(plain);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->value, plain->value);
    EXPECT_EQ(text_value(copy), "xy");
    free_object(plain);
    free_object(copy);

    struct Case {
        std::string_view first, second, want;
    };
    using namespace std::string_view_literals;
    for (const Case& c : {Case{"ab", "cd", "abcd"}, Case{"", "", ""}, Case{"a\0b"sv, "cd", "a"},
                          Case{"ab", "c\0d"sv, "abc"}}) {
        char* v = new_string_value(c.first, c.second);
        ASSERT_NE(v, nullptr);
        Object* o = make_object(nullptr, string, "", v, string_handlers());
        EXPECT_EQ(text_value(o), c.want);
        EXPECT_EQ(text_value(o).size(), std::strlen(v));
        free_object(o);
    }
    for (long k = 0; k < 4; ++k) {
        counter.fail_after(k);
        Object* o = make_string_object("abc", "n", nullptr);
        if (o) free_object(o);
    }
    counter.fail_after(-1);
    EXPECT_EQ(counter.live(), 0);
}

}  // namespace
}  // namespace ostr::obj
