// The statement scanners: splitter, separator and assignment searches,
// the assignment-form test, wrapper removal and block keywords.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "script/script.hpp"

namespace ostr::test {
namespace {

std::vector<std::string> pieces(std::string_view t) {
    std::vector<std::string> out;
    for (auto p : script::split_statements(t)) out.emplace_back(p);
    return out;
}

TEST(Split, FlattensGroups) {
    using V = std::vector<std::string>;
    EXPECT_EQ(pieces(":a,b;"), (V{"a", "b"}));
    EXPECT_EQ(pieces("((a,(b,c))),d"), (V{"a", "b", "c", "d"}));
    EXPECT_EQ(pieces("f(a,b),if:c,d;"), (V{"f(a,b)", "if:c,d;"}));
    EXPECT_EQ(pieces("[1,2],x"), (V{"[1,2]", "x"}));
    EXPECT_EQ(pieces("(x)"), (V{"x"}));
    EXPECT_EQ(pieces(""), V{});
    EXPECT_EQ(pieces("a,,b"), (V{"a", "", "b"}));
    std::string deep = std::string(50000, '(') + "a,b" + std::string(50000, ')');
    EXPECT_EQ(pieces(deep), (V{"a", "b"}));
}

TEST(Split, AssignmentSignAndForm) {
    struct Row {
        const char* text;
        std::size_t sign;
        bool form;
    };
    constexpr auto none = std::string_view::npos;
    for (const Row& r : std::initializer_list<Row>{
             {"x=2", 1, true}, {"a=b=c", 3, false}, {"x==2", none, false}, {"x<=2", none, false},
             {"x>=2", none, false}, {"x~=2", none, false}, {"f(x)=x^2", 4, true}, {"f(x)=", 4, false},
             {"=x", 0, false}, {"x=a==b", 1, true}, {"if:x=1,y=2;", none, false}, {"x=if:a,b=1;", 1, true},
             {"x=1,y=2", 5, false}, {"(x=1)", none, false}, {"x=(1", none, false}, {"", none, false}}) {
        EXPECT_EQ(script::assignment_sign(r.text), r.sign) << r.text;
        EXPECT_EQ(script::assignment_form(r.text), r.form) << r.text;
    }
}

TEST(Split, SingleStatementsWrappersKeywords) {
    EXPECT_TRUE(script::single_statement("if:a,b;"));
    EXPECT_TRUE(script::single_statement(""));
    EXPECT_FALSE(script::single_statement("a,b"));
    EXPECT_FALSE(script::single_statement("(a,b"));
    EXPECT_EQ(script::strip_wrappers("((a+b))", '(', ')'), "a+b");
    EXPECT_EQ(script::strip_wrappers("(a)+(b)", '(', ')'), "(a)+(b)");
    EXPECT_EQ(script::strip_wrappers("::a;;", ':', ';'), "a");
    EXPECT_EQ(script::strip_wrappers("(", '(', ')'), "(");
    EXPECT_EQ(script::block_keyword("if:a,b;"), "if");
    EXPECT_EQ(script::block_keyword("while:a;;"), "");  // the ":" closes before the end
    EXPECT_EQ(script::block_keyword("array:0;"), "array");
    EXPECT_EQ(script::block_keyword("1:2;"), "");
    EXPECT_EQ(script::block_keyword(":a;"), "");
}

}  // namespace
}  // namespace ostr::test
