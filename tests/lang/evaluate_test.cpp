// Evaluator tables: {expression, expected answer}, grouped by what they pin.
#include <cmath>

#include "support/counting_alloc.hpp"
#include "eval_support.hpp"
#include "persist/persist.hpp"

namespace ostr::test {
namespace {

struct Row {
    const char* expression;
    const char* expected;
};


class Evaluate : public EvalTest {
public:
    using EvalTest::answer;
};

void check_rows(Evaluate& t, std::initializer_list<Row> rows) {
    for (const Row& r : rows) EXPECT_EQ(t.answer(r.expression), r.expected) << "expression: " << r.expression;
}

TEST_F(Evaluate, PrecedenceAndGrouping) {
    check_rows(*this, {
        {"2^3^2", "512"}, {"8/4/2", "1"}, {"10-4-3", "3"}, {"2*3^2", "18"},
        {"(1+2)*(3+4)", "21"}, {"2*-3", "-6"}, {"1E-3+1", "1.001"}, {"2e+1-1", "19"},
        {"1-2+3", "2"}, {"12/3*2", "8"}, {"2*12/3", "8"}, {"2^-1", "0.5"},
        {"-2^2", "4"}, {"-(2^2)", "-4"}, {"--3", "3"}, {"+-+3", "-3"}, {"(((7)))", "7"},
        {"2^3*2", "16"}, {"1-(2-3)", "2"}, {"0x10+0b101", "21"}, {"0b1.1*2", "3"},
    });
}

TEST_F(Evaluate, ComplexNumbers) {
    check_rows(*this, {
        {"i", "i"}, {"i*i", "-1"}, {"-i", "-i"}, {"2*i", "2*i"}, {"1+2*i", "1+2*i"},
        {"(1+i)*(1-i)", "2"}, {"1/i", "-i"}, {"(3+4*i)/(1+2*i)", "2.2-0.4*i"},
        {"(-1)^0.5", "i"}, {"2^0.5", "1.41421356237309"}, {"-2^2", "4"},
    });
    lang::Value v = lang::evaluate("i*i", env);
    ASSERT_EQ(v.kind, lang::Value::Kind::number);
    EXPECT_EQ(v.num.re, -1.0);
    EXPECT_EQ(v.num.im, 0.0);
}

TEST_F(Evaluate, EmptyOperandsAreZero) {
    check_rows(*this, {{"", "0"}, {"()", "0"}, {"1+()", "1"}, {"2*()", "0"}});
}

TEST_F(Evaluate, NonFiniteResultsKeepTheirText) {
    check_rows(*this, {{"1/0", "1/0"}, {"0/0", "0/0"}, {"-1/0", "-1/0"}, {"10^400", "10^400"},
                       {"1/0+0", "1/0"}, {"1E999", "1E999"}});
}

TEST_F(Evaluate, Conditions) {
    check_rows(*this, {
        {"1<2", "1"}, {"2<1", "0"}, {"1<=1", "1"}, {"1>=2", "0"}, {"1==1", "1"}, {"1~=1", "0"},
        {"1<2|0", "1"}, {"1<2&0", "0"}, {"1|0&0", "1"}, {"(1|0)&0", "0"}, {"~1", "0"}, {"~0", "1"},
        {"~~1", "1"}, {"~(1<2)", "0"}, {"~1<2", "0"}, {"1+~0", "2"}, {"1&~0", "1"},
        {"2|0", ">invalid_expression<"}, {"0.5&1", ">invalid_expression<"}, {"~2", ">invalid_expression<"},
        {"1+2==3", "1"}, {"0.1+0.2==0.3", "1"}, {"i==i", "1"}, {"2*i<1", "1"}, {"1<2<3", "1"},
        {"1>a<2", ">invalid_expression<"}, {"1<a", "1<a"}, {"~a", "~a"},
    });
}

TEST_F(Evaluate, InvalidInput) {
    check_rows(*this, {
        {"(1+2", ">invalid_expression<"}, {"1+2]", ">invalid_expression<"}, {"(1]", ">invalid_expression<"},
        {"=1", ">invalid_expression<"}, {"a[]", ">invalid_expression<"}, {"1...2", ">invalid_expression<"},
        {"1+", ">invalid_expression<"}, {"*2", ">invalid_expression<"}, {"1+*2", ">invalid_expression<"},
        {"(1,2)", ">invalid_expression<"}, {"2(3)", ">invalid_expression<"}, {"@x", ">invalid_expression<"},
        {"#x", ">invalid_expression<"}, {"1=2", ">invalid_expression<"}, {"a.b", ">invalid_expression<"},
        {"\"s\"", ">invalid_expression<"}, {">invalid_expression<", ">invalid_expression<"},
        {"1+>invalid_object<", ">invalid_expression<"}, {"this", ">invalid_expression<"},
        {"f(1)", ">invalid_expression<"}, {"(1+)", ">invalid_expression<"},
    });
}

TEST_F(Evaluate, NamesAndFormulas) {
    check_rows(*this, {{"2*x+1", "2*x+1"}, {"x", "x"}, {"-x", "-x"}, {"x-x", "0"}, {"pi", "3.14159265358979"},
                       {"e", "2.71828182845905"}, {"x*0", "0"}, {"x^1", "x"}, {"(x+1)*2", "2*(x+1)"}});
    set("x", "3");
    check_rows(*this, {{"2*x+1", "7"}, {"x^2", "9"}, {"-x", "-3"}});
    set("y", "2*z+1");
    check_rows(*this, {{"y", "2*z+1"}});
    set("z", "1");
    check_rows(*this, {{"y*2", "2*(2*z+1)"}});
}

TEST_F(Evaluate, StoredErrorsAndAbortsPoison) {
    obj::store(env, obj::make_algebraic(">invalid_object<", "bad", env));
    check_rows(*this, {{"bad", ">invalid_object<"}, {"bad+1", ">invalid_expression<"}, {"-bad", ">invalid_expression<"}, {"bad!", ">invalid_expression<"}, {"~bad", ">invalid_expression<"}});
    env->abort_text = Text("stop");
    check_rows(*this, {{"1+1", ">evaluation_aborted<"}});
}

TEST_F(Evaluate, ComplexFormulasCollapse) {
    check_rows(*this, {{"x+i", "x+i"}, {"(x+i)*0", "0"}, {"x*i", "i*x"}, {"x*i*i", "-x"}});
}

TEST_F(Evaluate, Postfix) {
    check_rows(*this, {{"3!", "6"}, {"0!", "1"}, {"3!!", "720"}, {"2*3!", "12"}, {"3!^2", "36"}, {"2^3!", "64"},
                       {"0.5!", "0.886226925452758"}, {"(1+2)!", "6"}, {"-3!", "-3!"}, {"-(3!)", "-6"},
                       {"(1+2*i)'", "1-2*i"}, {"i'", "-i"}, {"x!", "x!"}, {"(x+1)'", "(x+1)'"},
                       {"(-2+1e-20*i)!", "(-2+1e-20*i)!"}});
}

TEST_F(Evaluate, SignificantDigitsShapeTheAnswer) {
    EXPECT_EQ(answer("1/3", 4), "0.3333");
    EXPECT_EQ(answer("2/3*10^6", 3), "6.67E+5");
}

TEST_F(Evaluate, BadBytesAndDeepNesting) {
    EXPECT_EQ(answer(std::string_view("1+\0", 3)), ">invalid_expression<");
    EXPECT_EQ(answer("\xc3\xa9+1"), "\xc3\xa9+1");
    std::string deep(100000, '(');
    deep += "1";
    deep += std::string(100000, ')');
    EXPECT_EQ(answer(deep), "1");
    std::string chain;
    for (int k = 0; k < 100000; ++k) chain += "1+(";
    chain += "1" + std::string(100000, ')');
    EXPECT_EQ(answer(chain), ">invalid_expression<");
    std::string cond;
    for (int k = 0; k < 5000; ++k) cond += "1<";
    EXPECT_EQ(answer(cond + "2"), ">invalid_expression<");
}

TEST_F(Evaluate, FormulaGrowthIsBounded) {
    // Complex products of formulas repeat their operands; a chain of them
    // stops at the formula size limit instead of growing without end.
    std::string text = "(a+i)";
    for (int k = 0; k < 60; ++k) text += "*(a+i)/(b-i)";
    std::string got = answer(text);
    EXPECT_TRUE(got == ">invalid_expression<" || got.size() <= lang::max_formula_text) << got.size();
}

TEST_F(Evaluate, LongChainsAreFolded) {
    std::string sum = "0";
    for (int k = 0; k < 200000; ++k) sum += "+1";
    EXPECT_EQ(answer(sum), "2E+5");
    std::string power = "1";
    for (int k = 0; k < 100000; ++k) power += "^1";
    EXPECT_EQ(answer(power), "1");
}

TEST_F(Evaluate, CacheGivesTheSameAnswers) {
    const char* texts[] = {"2*x+1", "1/0", "x^2-1", "1<2|0", "3!", "-2^2", "(1+i)^2"};
    std::string first[std::size(texts)];
    for (std::size_t k = 0; k < std::size(texts); ++k) first[k] = answer(texts[k]);
    for (std::size_t k = 0; k < std::size(texts); ++k) EXPECT_EQ(answer(texts[k]), first[k]);
    EXPECT_GE(lang::cache_stats().hits, std::size(texts));
    lang::set_cache_enabled(false);
    for (std::size_t k = 0; k < std::size(texts); ++k) EXPECT_EQ(answer(texts[k]), first[k]);
}

lang::Value twice(std::span<lang::Value> args, Arbenv*) {
    if (args[0].kind != lang::Value::Kind::number) return lang::Value::failure();
    return lang::Value::number({2 * args[0].num.re, 2 * args[0].num.im});
}

lang::Value count(std::span<lang::Value> args, Arbenv*) {
    return lang::Value::number({static_cast<double>(args.size()), 0});
}

TEST_F(Evaluate, BuiltinSlot) {
    ASSERT_TRUE(lang::register_builtin("twice(1)", twice));
    ASSERT_TRUE(lang::register_builtin("count()", count));
    EXPECT_FALSE(lang::register_builtin("bad(x)", count));
    check_rows(*this, {{"twice(3)+1", "7"}, {"twice(1,2)", ">invalid_expression<"}, {"-twice(2^2)", "-8"},
                       {"count()", "0"}, {"count(1,2,x)", "3"}, {"count(1,(2,3))", ">invalid_expression<"},
                       {"twice(1/0)", ">invalid_expression<"}});
}

TEST(EvaluateLifecycle, ThousandCyclesLeaveNothing) {
    CountingAlloc counter;
    for (int k = 0; k < 1000; ++k) {
        ASSERT_TRUE(lang::initialize_globals("init.txt", 0));
        Arbenv* env = obj::make_top_level();
        ASSERT_NE(env, nullptr);
        lang::Value v = lang::evaluate("2*x+pi", env);
        obj::store(env, lang::to_object(std::move(v), env, "y"));
        Text t = lang::display(lang::evaluate("y*2+1/0", env), 15);
        EXPECT_FALSE(t.empty());
        obj::free_environment(env);
        lang::terminate_globals();
    }
    EXPECT_EQ(counter.live(), 0);
}

TEST(EvaluateLifecycle, NoGlobalsNoValue) {
    Arbenv* env = obj::make_top_level();
    EXPECT_TRUE(lang::evaluate("1+1", env).is_error());
    obj::free_environment(env);
}

}  // namespace
}  // namespace ostr::test

namespace ostr::test {
namespace {

// The globals build the typed tree's type map with the core's own types:
// the environment with all four operations, the plot image types by name.
TEST_F(EvalTest, GlobalsRegisterTheCoreTypes) {
    const ArbType* env_type = persist::find_type("arbeval_environment");
    ASSERT_NE(env_type, nullptr);
    EXPECT_TRUE(env_type->free && env_type->read && env_type->write && env_type->copy);
    EXPECT_NE(persist::find_type("bitmap"), nullptr);
    EXPECT_NE(persist::find_type("color_matrix"), nullptr);
    EXPECT_NE(persist::find_type("matrix"), nullptr);
}

}  // namespace
}  // namespace ostr::test
