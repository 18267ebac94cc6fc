// Realistic console sessions with the commands that look at the session:
// define, inspect, delete, restore, ans and why(), and what of them a
// restart keeps (the objects) and forgets (ans and the last explanation).
#include "console.hpp"

namespace ostr::test {
namespace {

TEST(Inspect, DefineInspectDeleteRestore) {
    Scratch s;
    Outcome r = s.run(
        "v=[1,2,3] % a vector\n"
        "type(v)\n"
        "f(x)=x^2+1\n"
        "introspect()\n"
        "v.introspect()\n"
        "delete(v,f)\n"
        "introspect()\n"
        "pi=3\n"
        "restore()\n"
        "pi\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({
                                       "v <- [1,2,3]",
                                       "array",
                                       "f(x) <- x^2+1",
                                       "e: numeric = 2.71828182845905\npi: numeric = 3.14159265358979\n"
                                       "v: array = [1,2,3]\nf(x): function = x^2+1",
                                       "v: array = [1,2,3]\nmethods: size(0), enlarge(1), matrix(0), append(), "
                                       "insert(2), swap(2), delete(), crop(2), sort(0), reverse(0), find(1), "
                                       "contains(1), sum(0), min(0), max(0), mean(0), join()",
                                       "2",
                                       "e: numeric = 2.71828182845905\npi: numeric = 3.14159265358979",
                                       "pi <- 3",
                                       "2",
                                       "3.14159265358979",
                                   }));
    EXPECT_EQ(r.code, 0);
}

// ans and why() belong to the running session: after a restart the saved
// objects are back, ans is a free name again and there is nothing to
// explain.
TEST(Inspect, AnsAndWhyDoNotSurviveARestart) {
    Scratch s;
    Outcome first = s.run("x=6\nx*7\nans+1\nsine(1)\nwhy()\n\n");
    EXPECT_EQ(first.out, msg_missing + transcript({"x <- 6", "42", "43", "sine(1)",
                                                   "column 1 of sine(1): sine is not a function; did you mean sin?"}));
    Outcome second = s.run("ans\nwhy()\nx\n\n");
    EXPECT_EQ(second.out, transcript({"ans", "no error to explain", "6"}));
}

TEST(Inspect, BitMethodsAndEvalAtTheConsole) {
    Scratch s;
    Outcome r = s.run("n=12\nn.and(10)\nn.shift(-2)\ng=(m+1).xor(n)\nm=2\ng.eval()\nprint(ans/7)\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({"n <- 12", "8", "3", "g <- (m+1).xor(n)", "m <- 2", "15",
                                               "2.142857142857143"}));
}

}  // namespace
}  // namespace ostr::test
