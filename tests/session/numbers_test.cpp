// Numbers a user can trust, at the console: exact powers and real results
// for real arguments, assignments that never lose the old value silently,
// recursion tens of thousands of calls deep, and the statement forms the
// language's description promises (empty block elements, reserved names,
// bracketed lines).
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

TEST(Numbers, PowersOfRealNumbersAreRealAndExact) {
    expect_session({
        {"(-3)^30", "2.05891132094649E+14"}, {"(-1)^100", "1"}, {"(-1)^101", "-1"}, {"10^15", "1E+15"},
        {"2^53-9007199254740992", "0"}, {"3^10", "5.9049E+4"}, {"10^-10", "1E-10"}, {"(-2)^-2", "0.25"},
        {"sum((-1)^n,n,1,101)", "-1"}, {"int(x^3,x,-2,2)", "0"}, {"2^0.5", "1.4142135623731"},
        // a negative base with a fractional exponent is complex; 0 to a
        // negative power is kept as its text, as 1/0 is
        {"(-8)^(1/3)", "1+1.73205080756888*i"}, {"0^-1", "0^-1"}, {"0^0", "1"},
    });
}

TEST(Numbers, RealFunctionsOfRealArgumentsAreAccurate) {
    expect_session({
        {"tan(1.57079632)", "1.47169271761249E+8"}, {"tan(-1.5707963)", "-3.73205396343548E+7"},
        {"tan(1.570796326)", "1.25802517180667E+9"}, {"arcsinh(1e-10)", "1E-10"},
        {"arctanh(1e-20)*1e20", "1"}, {"arcsinh(-1e8)", "-19.1138279245123"},
        {"arcsinh(1e200)", "461.210165779369"}, {"arctan(1e155)", "1.5707963267949"},
        {"abs(1e200+1e200*i)", "1.4142135623731E+200"},
        {"sqrt(1e200+1e200*i)", "1.09868411346781E+100+4.55089860562227E+99*i"},
        {"arcsin(1e-8)", "1E-8"}, {"arccos(0.9999999)", "4.47213599109041E-4"},
        // outside the real domain the side of the cut is the one the
        // language always took
        {"arcsin(2)", "1.5707963267949-1.31695789692482*i"}, {"arccos(2)", "1.31695789692482*i"},
        {"arctanh(2)", "0.549306144334055+1.5707963267949*i"}, {"sqrt(-4)", "2*i"}, {"ln(-1)", "3.14159265358979*i"},
    });
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
