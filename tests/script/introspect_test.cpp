// type, print, introspect, delete, restore, eval, the number and formula
// methods, "ans", comments and why(): sessions of lines with their answers.
#include <cmath>
#include <string>

#include "script/session_notes.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class Introspect : public ScriptTest {};

TEST_F(Introspect, TypeNamesEveryKindOfValue) {
    check({
        {"type(1)", "numeric"},
        {"type(1+2*i)", "numeric"},
        {"type(x+1)", "algebraic"},
        {"type(q)", "algebraic"},
        {"type(\"s\")", "string"},
        {"type([1,2])", "array"},
        {"type(matrix:[1,2];)", "matrix"},
        {"type(map:\"a\"=1;)", "map"},
        {"type(node(1,\"a\"))", "node"},
        {"type(mutate())", "mutant"},
        {"type(big(2))", "bignum"},
        {"c=class_definition:x=0;", "c <- class_definition:x=0;"},
        {"type(c)", "class_definition"},
        {"p=c()", "p <- c()"},
        {"type(p)", "c"},
        {"g(x)=x^2", "g(x) <- x^2"},
        {"type(g)", "function"},
        {"type(sin)", "predefined function"},
        {"type(1/0)", "algebraic"},
        {"type(>invalid_object<)", ">invalid_expression<"},
        {"type()", ">invalid_expression<"},
        {"type(1,2)", ">invalid_expression<"},
    });
}

// print gives a form that reads back as the same value.
TEST_F(Introspect, PrintIsTheFullForm) {
    check({
        {"print(1/3)", "0.3333333333333333"},
        {"print(0.1)", "0.1"},
        {"print(pi)", "3.141592653589793"},
        {"print(1/3+i)", "0.3333333333333333+i"},
        {"print(-2*i)", "-2*i"},
        {"print(x^2)", "x^2"},
        {"print(\"a\\\"b\")", "\"a\\\"b\""},
        {"print(map:\"k\"=[1,2];)", "map:\"k\"=[1,2];"},
        {"print()", ">invalid_expression<"},
    });
    // Past the shown bound a container is still printed whole.
    script::limits().max_shown_items = 4;
    EXPECT_NE(run("array:8;").find("..."), std::string::npos);
    EXPECT_EQ(run("print(array:8;)"), "[0,0,0,0,0,0,0,0]");
    EXPECT_EQ(script::limits().max_shown_items, 4u);
    // Every double of a sweep reads back equal.
    for (double x : {1e-300, 2.5e-8, 1.0 / 7, 123456.789, 9007199254740993.0, 1e300}) {
        std::string shown = run("print(" + run("print(" + std::to_string(x) + ")") + ")");
        EXPECT_EQ(run("print(" + shown + ")"), shown) << x;
    }
}

TEST_F(Introspect, EnvironmentListing) {
    check({
        {"introspect()", "e: numeric = 2.71828182845905\npi: numeric = 3.14159265358979"},
        {"s=\"0123456789012345678901234567890123456789xyz\"", "s <- \"0123456789012345678901234567890123456789xyz\""},
        {"f(a,b)=a+b", "f(a,b) <- a+b"},
        {"introspect()",
         "e: numeric = 2.71828182845905\npi: numeric = 3.14159265358979\n"
         "s: string = \"012345678901234567890123456789012345...\nf(a,b): function = a+b"},
        {"introspect(1)", ">invalid_expression<"},
    });
}

TEST_F(Introspect, ObjectListing) {
    check({
        {"c=class_definition:x=1,private:h=2;,f(a)=a+x,private:g()=0;;", "c <- class_definition:x=1,private:h=2;,f(a)=a+x,private:g()=0;;"},
        {"p=c()", "p <- c()"},
        {"p.introspect()", "p: c\nh: numeric: (private)\nx: numeric = 1\nmethods: f(1), g(0): (private)"},
        {"x=5", "x <- 5"},
        {"x.introspect()", "x: numeric = 5\nmethods: eval(0), shift(1), and(1), or(1), xor(1), not(0)"},
        {"m=map:\"a\"=1;", "m <- map:\"a\"=1;"},
        {"m.introspect()",
         "m: map = map:\"a\"=1;\nmethods: add(), get(1), keys(0), size(0), flush(0), exists(1), delete(1), values(0)"},
        {"zz.introspect()", "zz.introspect()"},
    });
    EXPECT_EQ(run("q=\"ab\",q.introspect()"),
              "q <- \"ab\"\n\nq: string = \"ab\"\nmethods: bytes(0), find(1), length(0), lower(0), number(0), "
              "replace(2), split(1), substring(), trim(0), upper(0)");
}

// A class of the user's own may define introspect: its method runs.
TEST_F(Introspect, OwnIntrospectMethodWins) {
    check({
        {"k=class_definition:introspect()=42;", "k <- class_definition:introspect()=42;"},
        {"o=k()", "o <- k()"},
        {"o.introspect()", "42"},
    });
}

TEST_F(Introspect, DeleteAndRestore) {
    check({
        {"a=1,b=[1,2],f(x)=x", "a <- 1\n\nb <- [1,2]\n\nf(x) <- x"},
        {"delete(a,b,f)", "3"},
        {"a", "a"},
        {"f(2)", "f(2)"},
        {"c=3", "c <- 3"},
        {"delete(c,nothing)", ">invalid_object<"},
        {"c", "3"},
        {"delete(c,c)", "1"},
        {"delete(1)", ">invalid_expression<"},
        {"delete()", ">invalid_expression<"},
        {"pi=3,e=2,u=7", "pi <- 3\n\ne <- 2\n\nu <- 7"},
        {"restore()", "2"},
        {"pi+e+u", "12.8598744820488"},
        {"delete(pi),restore(),pi", "1\n\n2\n\n3.14159265358979"},
        {"restore(1)", ">invalid_expression<"},
    });
}

// A node goes with its edges: the node it pointed to loses the in-edge.
TEST_F(Introspect, DeletingANodeTakesItsEdges) {
    check({
        {"a=node(1,\"a\"),b=node(2,\"b\")", "a <- node(1,\"a\")\n\nb <- node(2,\"b\")"},
        {"a.connect(b,3)", "1"},
        {"b.inedges().size()", "1"},
        {"a", "node(1,\"a\")"},  // ans holds the node now
        {"delete(a)", "1"},
        {"b.inedges().size()", "0"},
        {"b.isempty()", "1"},
    });
}

// Deleting an object while a line still stands on it frees nothing under
// the line: the object goes at the line's end.
TEST_F(Introspect, DeleteDuringUse) {
    check({
        {"c=class_definition:x=1,f()=delete(p)+x;", "c <- class_definition:x=1,f()=delete(p)+x;"},
        {"p=c()", "p <- c()"},
        {"p.f()", "2"},
        {"p", "p"},
        {"a=[1,2,3]", "a <- [1,2,3]"},
        {"a.append(delete(a))", ">invalid_expression<"},
        {"a", "a"},
        {"for:k=1,k<3,k=k+1,delete(k);", ">invalid_expression<"},
        {"k", "k"},
    });
}

TEST_F(Introspect, EvalComputesAFormulaAgain) {
    check({
        {"f=x^2+y", "f <- x^2+y"},
        {"eval(f)", "x^2+y"},
        {"x=3", "x <- 3"},
        {"eval(f)", "y+9"},
        {"y=1", "y <- 1"},
        {"eval(f)", "10"},
        {"f.eval()", "10"},
        {"f", "x^2+y"},
        {"eval(7)", "7"},
        {"eval(\"s\")", "\"s\""},
        {"eval()", ">invalid_expression<"},
        {"f.eval(1)", ">invalid_expression<"},
    });
}

TEST_F(Introspect, BitMethods) {
    check({
        {"x=5", "x <- 5"},
        {"x.shift(3)", "40"},
        {"x.shift(-1)", "2"},
        {"(-5).shift(-1)", "-3"},
        {"(-5).shift(-100)", "-1"},
        {"x.shift(100)", ">invalid_expression<"},
        {"(2^52).shift(1)==2^53", "1"},
        {"(2^52).shift(2)", ">invalid_expression<"},
        {"x.and(6)", "4"},
        {"x.or(10)", "15"},
        {"x.xor(-1)", "-6"},
        {"(-1).and(255)", "255"},
        {"x.not()", "-6"},
        {"(0).not()", "-1"},
        {"(2.5).shift(1)", ">invalid_expression<"},
        {"i.and(1)", ">invalid_expression<"},
        {"x.and(1.5)", ">invalid_expression<"},
        {"x.and()", ">invalid_expression<"},
        {"x.not(1)", ">invalid_expression<"},
        {"(2^60).and(1)", ">invalid_expression<"},
        // A formula stays a formula, and eval computes it later.
        {"w.shift(2)", "w.shift(2)"},
        {"g=(y+1).and(x)", "g <- (y+1).and(x)"},
        {"y=6", "y <- 6"},
        {"g.eval()", "5"},
        {"x.or(v)", "(5).or(v)"},
        {"h=x.or(v),v=2,h.eval()", "h <- x.or(v)\n\nv <- 2\n\n7"},
    });
}

TEST_F(Introspect, AnsHoldsTheLastAnswer) {
    check({
        {"ans", "ans"},
        {"6*7", "42"},
        {"ans+1", "43"},
        {"ans", "43"},
        {"x=2", "x <- 2"},
        {"ans", "43"},
        {"1/0", "1/0"},
        {"[1,2,3]", "[1,2,3]"},
        {"ans.size()", "3"},
        {"y=ans", "y <- ans"},
        {"y", "3"},
        {"(1,ans)", "1\n\n1"},
        {"2+*3", ">invalid_expression<"},
        {"ans", "1"},
        {"\"t\"", "\"t\""},
        {"ans+\"u\"", "\"tu\""},
    });
}

TEST_F(Introspect, CommentsRunToTheEndOfTheLine) {
    check({
        {"1+2 % three", "3"},
        {"% a line of its own", ""},
        {"x=4%set x", "x <- 4"},
        {"\"50%\"", "\"50%\""},
        {"\"a\\\"%\"+\"b\" % \"", "\"a\\\"%b\""},
        {"(1+2 % )", ">invalid_expression<"},
    });
}

TEST_F(Introspect, WhyExplainsTheLastError) {
    check({
        {"why()", "no error to explain"},
        {"sine(1)", "sine(1)"},
        {"why()", "column 1 of sine(1): sine is not a function; did you mean sin?"},
        {"1+1", "2"},
        {"why()", "column 1 of sine(1): sine is not a function; did you mean sin?"},
        {"1!=2", ">invalid_assignment<"},
        {"why()", "column 2 of 1!=2: != is not an operator; use ~= for not equal"},
        {"1 <> 2", ">invalid_expression<"},
        {"why()", "column 2 of 1<>2: <> is not an operator; use ~= for not equal"},
        {"2**3", ">invalid_expression<"},
        {"why()", "column 2 of 2**3: ** is not an operator; use ^ for powers"},
        {"(1+2", ">invalid_expression<"},
        {"why()", "column 1 of (1+2: ( is never closed"},
        {"1+2]", ">invalid_expression<"},
        {"why()", "column 4 of 1+2]: ] closes no open ["},
        {"1+*2", ">invalid_expression<"},
        {"why()", "column 3 of 1+*2: * cannot follow +"},
        {"sin(1,2)", ">invalid_expression<"},
        {"why()", "column 1 of sin(1,2): sin takes 1 argument, not 2"},
        {"q.w", ">invalid_expression<"},
        {"why()", "column 1 of q.w: q names no object"},
        {"x=1,3*fooo(2)", "x <- 1\n\n3*fooo(2)"},
        {"why()", "column 3 of 3*fooo(2): fooo is not a function; did you mean floor?"},
        {"qqqqq(1)", "qqqqq(1)"},
        {"why()", "column 1 of qqqqq(1): qqqqq is not a function"},
        {"=1", ">invalid_expression<"},
        {"why()", "column 1 of =1: a statement cannot begin with ="},
        {"sqrt(\"a\")", ">invalid_expression<"},
        {"why()",
         "sqrt(\"a\") answered >invalid_expression<: an operand or argument is of a kind or outside the range that its "
         "operator or function takes"},
        {"\"a!=b\"", "\"a!=b\""},
        {"why(1)", ">invalid_expression<"},
    });
}

// A long statement is named by its start, whatever its size.
TEST_F(Introspect, WhyOfAVeryLongStatement) {
    EXPECT_EQ(run("1+" + std::string(5000, '2') + "+*3"), ">invalid_expression<");
    EXPECT_EQ(run("why()"), "1+" + std::string(58, '2') +
                                "... answered >invalid_expression<: an operand or argument is of a kind or outside "
                                "the range that its operator or function takes");
}

TEST_F(Introspect, WhyNamesTheReasonOfAStop) {
    script::limits().max_loop_passes = 10;
    check({
        {"for:k=0,k<100,k=k+1;", ">evaluation_aborted<"},
        {"why()", "for:k=0,k<100,k=k+1; answered >evaluation_aborted<: the line was stopped (loop limit)"},
    });
}

}  // namespace
}  // namespace ostr::test
