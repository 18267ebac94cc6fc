// Numbers a user can trust, at the console: assignments that never lose the
// old value silently, recursion tens of thousands of calls deep, and the
// statement forms the language's description promises (empty block
// elements, reserved names, bracketed lines). Exact powers and the accuracy
// of the elementary functions are measured in tests/lang/elementary_test.cpp.
#include <string>
#include <utility>
#include <vector>

#include "console.hpp"

namespace ostr::test {
namespace {

using Lines = std::vector<std::pair<std::string, std::string>>;

// One session: every line in order, then the blank line that ends it.
void expect_session(const Lines& lines) {
    std::string input;
    std::vector<std::string> answers;
    for (const auto& [line, answer] : lines) {
        input += line + "\n";
        answers.push_back(answer);
    }
    EXPECT_EQ(Scratch().run(input + "\n").out, msg_missing + transcript(answers));
}

// An assignment whose right side stays a formula in the assigned name is
// refused and the old value kept: the overflow of x*1e10, a loop that runs
// into it, an unset name and a cycle through another name.
TEST(Numbers, AnAssignmentNeverLosesTheOldValueSilently) {
    const std::string refused = ">invalid_assignment<";
    expect_session({
        {"x=1e300", "x <- 1e300"}, {"x=x*1e10", refused}, {"x", "1E+300"}, {"x=x*2", "x <- x*2"},
        {"x", "2E+300"}, {"y=1,while:1,y=y*1e10;", "y <- 1\n\n>invalid_expression<"}, {"y", "1.0E+300"},
        {"z=z+1", refused}, {"z", "z"}, {"a=b+1", "a <- b+1"}, {"b=a*2", refused}, {"b", "b"},
        {"c=b+1", "c <- b+1"}, {"e=2,e=e*q", "e <- 2\n\ne <- e*q"}, {"e", "2*q"},
    });
}

TEST(Numbers, UserFunctionsRecurseTensOfThousandsDeep) {
    const std::string deep_sum = "1+" + std::string(100000, '(') + "1" + std::string(100000, ')');
    std::string nested;
    for (int k = 0; k < 100000; ++k) nested += "(1+";
    nested += "0" + std::string(100000, ')');
    expect_session({
        {"fact(n)=if:n<2,1,else,n*fact(n-1);", "fact(n) <- if:n<2,1,else,n*fact(n-1);"},
        {"fact(170)", "7.25741561530799E+306"},
        {"down(n)=if:n<1,0,else,1+down(n-1);", "down(n) <- if:n<1,0,else,1+down(n-1);"},
        {"down(10000)", "1E+4"}, {"down(20000)", "2E+4"},
        // runaway recursion and expressions nested past the bounds answer
        // their words; the session goes on
        {"loop(n)=loop(n+1)", "loop(n) <- loop(n+1)"}, {"loop(1)", ">evaluation_aborted<"},
        {nested, ">invalid_expression<"}, {deep_sum, "2"}, {"fact(5)", "120"},
    });
}

TEST(Numbers, StatementFormsAnswerAsDescribed) {
    expect_session({
        {"if:1,;", "0"}, {"if:0,1,else,;", "0"}, {"f(a)=if:a>0,,a*2;", "f(a) <- if:a>0,,a*2;"}, {"f(3)", "6"},
        {"sin=3", ">invalid_assignment<"}, {"sin(x)=x", ">invalid_assignment<"}, {"g(sin)=1", ">invalid_assignment<"},
        {"sin(0)", "0"}, {"()", ""}, {"(1,2)", "1\n\n2"}, {"1+()", "1"}, {"1+(1,2)", ">invalid_expression<"},
    });
}

}  // namespace
}  // namespace ostr::test
