// Evaluator tables: {expression, expected answer}, grouped by what they pin.
// The examples of docs/language.md (run by docs_test.cpp) are not repeated.
#include "eval_support.hpp"
#include "persist/persist.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

class Evaluate : public EvalTest {};

TEST_F(Evaluate, Table) {
    const char* bad = ">invalid_expression<";
    check({
        // grouping within one level, literals of every base
        {"2e+1-1", "19"}, {"1-2+3", "2"}, {"12/3*2", "8"}, {"2*12/3", "8"}, {"+-+3", "-3"}, {"(((7)))", "7"},
        {"2^3*2", "16"}, {"1-(2-3)", "2"}, {"0x10+0b101", "21"}, {"0b1.1*2", "3"}, {"", "0"}, {"2*()", "0"},
        // complex arithmetic and its printing
        {"-i", "-i"}, {"2*i", "2*i"}, {"(1+i)*(1-i)", "2"}, {"1/i", "-i"}, {"(3+4*i)/(1+2*i)", "2.2-0.4*i"},
        {"-1/0", "-1/0"}, {"1/0+0", "1/0"}, {"1E999", "1E999"},
        // conditions
        {"2<1", "0"}, {"1>=2", "0"}, {"1==1", "1"}, {"1<2&0", "0"}, {"~(1<2)", "0"}, {"1&~0", "1"},
        {"0.5&1", bad}, {"i==i", "1"}, {"1<a", "1<a"}, {"~a", "~a"},
        // malformed or reserved
        {"*2", bad}, {"2(3)", bad}, {"#x", bad}, {"1=2", bad}, {"a.b", bad}, {"\"s\"", bad},
        {">invalid_expression<", bad}, {"this", bad}, {"f(1)", bad}, {"(1+)", bad},
        // postfix operators
        {"0!", "1"}, {"3!^2", "36"}, {"2^3!", "64"}, {"(1+2)!", "6"}, {"i'", "-i"}, {"x!", "x!"},
        {"(x+1)'", "(x+1)'"},
        // free names, and formulas with the imaginary unit
        {"x", "x"}, {"-x", "-x"}, {"(x+i)*0", "0"}, {"x*i", "i*x"}, {"x*i*i", "-x"},
    });
    set("x", "3");
    check({{"x^2", "9"}, {"-x", "-3"}});
    // A stored formula is a copy: giving its names values later does not
    // change it.
    set("y", "2*z+1");
    set("z", "1");
    check({{"y", "2*z+1"}, {"y*2", "2*(2*z+1)"}});
}

TEST_F(Evaluate, StoredErrorsAndAbortsPoison) {
    obj::store(env, obj::make_algebraic(">invalid_object<", "bad", env));
    check({{"bad", ">invalid_object<"}, {"bad+1", ">invalid_expression<"}, {"-bad", ">invalid_expression<"},
           {"bad!", ">invalid_expression<"}, {"~bad", ">invalid_expression<"}});
    env->abort_text = Text("stop");
    check({{"1+1", ">evaluation_aborted<"}});
}

TEST_F(Evaluate, SignificantDigitsShapeTheAnswer) {
    EXPECT_EQ(answer("1/3", 4), "0.3333");
    EXPECT_EQ(answer("2/3*10^6", 3), "6.67E+5");
}

TEST_F(Evaluate, BadBytesAndDeepNesting) {
    EXPECT_EQ(answer(std::string_view("1+\0", 3)), ">invalid_expression<");
    EXPECT_EQ(answer("\xc3\xa9+1"), "\xc3\xa9+1");
    EXPECT_EQ(answer(std::string(100000, '(') + "1" + std::string(100000, ')')), "1");
    std::string chain;
    for (int k = 0; k < 100000; ++k) chain += "1+(";
    EXPECT_EQ(answer(chain + "1" + std::string(100000, ')')), ">invalid_expression<");
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
    std::string sum = "0", power = "1";
    for (int k = 0; k < 200000; ++k) sum += "+1";
    for (int k = 0; k < 100000; ++k) power += "^1";
    EXPECT_EQ(answer(sum), "2E+5");
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

// Plain arithmetic runs on doubles before the general path: both give the
// same answer byte for byte, at the edges of the doubles (overflow, NaN,
// signed zeros), of the truth values, of name binding and of the depth bound.
TEST_F(Evaluate, PlainArithmeticMatchesTheGeneralPath) {
    set("x", "1E308");
    set("z", "0");
    set("m", "-4");
    set("f", "2*w+1");
    std::vector<std::string> texts = {
        "x*10", "-x*10", "x*10-x*10", "1.7976931348623157E308+1E292", "x+x-x", "(x*10)*0", "0/0", "1/0+2",
        "2/-4", "0*-1", "-z", "(0*-1)^0.5", "-z^0.5", "(2/-4)^0.5", "0^-1", "0^0", "2^3^2", "(-8)^(1/3)", "m^0.5",
        "~(1+1E-16)", "~(1+1E-14)", "(1+1E-16)|0", "(1+2E-15)&1", "~(0*i)", "~(1+i)", "1+i==1+i", "i<1",
        "(1+1E-16)==1", "1<=0/0", "~z", "~~z", "z<1&m<0|0", "f+1", "f*0", "w+1", "i*2", "(1+2)*sin(1)",
        "(w+x*10)*(2+3)", "-(-(3-4)*-2)", "2*-3^2", "1E-3+1", "x*x/x",
    };
    std::string nest = "1";
    for (int k = 1; k < 1003; ++k) {
        nest = "1+(" + nest + ")";
        if (k >= 994) texts.push_back(nest);
    }
    std::vector<std::string> general;
    lang::set_plain_arithmetic(false);
    for (const std::string& t : texts) general.push_back(answer(t));
    lang::set_plain_arithmetic(true);
    for (std::size_t k = 0; k < texts.size(); ++k) EXPECT_EQ(answer(texts[k]), general[k]) << texts[k].substr(0, 40);
    // The variable i shadows the imaginary unit on both paths.
    set("i", "5");
    EXPECT_EQ(answer("i*2+1"), "11");
    check({{"x*10", "x*10"}, {"2/-4", "-0.5"}, {"~(1+1E-16)", "0"}, {"~(1+1E-14)", ">invalid_expression<"}});
}

lang::Value count(std::span<lang::Value> args, Arbenv*) {
    return lang::Value::number({static_cast<double>(args.size()), 0});
}

// A function of the slot gets every argument as a value, formulas included;
// the predefined functions (builtins suite) are rows of the same slot.
TEST_F(Evaluate, BuiltinSlot) {
    ASSERT_TRUE(lang::register_builtin("count()", count));
    EXPECT_FALSE(lang::register_builtin("bad(x)", count));
    check({{"count()", "0"}, {"count(1,2,x)", "3"}, {"-count(1,2)", "-2"},
           {"count(1,(2,3))", ">invalid_expression<"}});
}

// The globals build the typed tree's type map with the core's own types:
// the environment with all four operations, the plot image types by name.
TEST_F(Evaluate, GlobalsRegisterTheCoreTypes) {
    const ArbType* env_type = persist::find_type("arbeval_environment");
    ASSERT_NE(env_type, nullptr);
    EXPECT_TRUE(env_type->free && env_type->read && env_type->write && env_type->copy);
    for (const char* name : {"bitmap", "color_matrix", "matrix"}) EXPECT_NE(persist::find_type(name), nullptr) << name;
}

TEST(EvaluateLifecycle, ThousandCyclesLeaveNothing) {
    CountingAlloc counter;
    for (int k = 0; k < 1000; ++k) {
        ASSERT_TRUE(lang::initialize_globals("init.txt", 0));
        Arbenv* env = obj::make_top_level();
        ASSERT_NE(env, nullptr);
        obj::store(env, lang::to_object(lang::evaluate("2*x+pi", env), env, "y"));
        EXPECT_FALSE(lang::display(lang::evaluate("y*2+1/0", env), 15).empty());
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
