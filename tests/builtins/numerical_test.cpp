// sum, prod, int and root through the evaluator: ranges (empty, reversed,
// bounded), the bound variable, convergence and the bracket rule.
#include <string>

#include "lang/eval_support.hpp"

namespace ostr::test {
namespace {

struct Row {
    const char* expression;
    const char* expected;
};

class Numerical : public EvalTest {
protected:
    void check(std::initializer_list<Row> rows) {
        for (const Row& r : rows) EXPECT_EQ(answer(r.expression), r.expected) << "expression: " << r.expression;
    }
};

TEST_F(Numerical, SumAndProductOverRanges) {
    check({
        {"sum(n,n,1,100)", "5050"}, {"sum(1/n^2,n,1,1000)", "1.64393456668156"}, {"sum(n,n,3,3)", "3"},
        {"sum(n,n,5,4)", "0"}, {"sum(n,n,5,1)", "0"}, {"prod(n,n,5,4)", "1"}, {"prod(n,n,1,20)", "2.43290200817664E+18"},
        {"sum(n*i,n,0,3)", "6*i"}, {"prod(1+i,n,1,2)", "2*i"}, {"sum(n,n,-3,3)", "0"},
        {"sum(sum(m*n,m,1,n),n,1,3)", "25"}, {"sum(x,x,1,3)", "6"}, {"sum(1/(k*(k+1)),k,1,999)", "0.999"},
        {"sum(1/n,n,0,3)", "sum(1/n,n,0,3)"}, {"prod(10^100,n,1,4)", "prod(10^100,n,1,4)"},
        {"sum(n,n,1.5,3)", ">invalid_expression<"}, {"sum(n,n,1,3+i)", ">invalid_expression<"},
        {"sum(n,n,1,2000000)", ">invalid_expression<"}, {"sum(n,2,1,3)", ">invalid_expression<"},
        {"sum(n,sin,1,3)", ">invalid_expression<"}, {"sum(n,n,,3)", ">invalid_expression<"},
        {"sum(>invalid_object<,n,1,3)", ">invalid_expression<"}, {"prod(n,n,1,3)+1", "7"},
        // Nested calls share one budget of samples, so nesting cannot multiply the bounds.
        {"sum(sum(sum(1,c,1,1000),b,1,1000),a,1,1000)", ">invalid_expression<"},
        {"sum(sum(1,b,1,100),a,1,100)", "1E+4"},
    });
    // The bound variable shadows a stored one and leaves it alone.
    set("n", "100");
    check({{"sum(n,n,1,4)", "10"}, {"n", "100"}, {"sum(n,k,1,4)", "400"}});
}

TEST_F(Numerical, IntegralsAdaptFromTheInitialIntervals) {
    check({
        {"int(x^2,x,0,3)", "9"}, {"int(x^2,x,3,0)", "-9"}, {"int(x^2,x,1,1)", "0"}, {"int(x^2,x,0,3,10)", "9"},
        {"int(sin(x),x,0,pi)", "2"}, {"int(exp(-(x^2)),x,-10,10)", "1.77245385090552"},
        {"int(exp(i*x),x,0,pi)", "2*i"}, {"int(sin(50*x)^2,x,0,pi,20)", "1.5707963267949"},
        {"int(1/x,x,-1,1)", "int(1/x,x,-1,1)"}, {"int(x,x,0,1,0)", ">invalid_expression<"},
        {"int(x,x,0,1,1.5)", ">invalid_expression<"}, {"int(x,x,0,1,100000)", ">invalid_expression<"},
        {"int(x,x,0,i)", ">invalid_expression<"}, {"int(x,1,0,1)", ">invalid_expression<"},
        {"int(sin(1/x),x,0,1)", ">invalid_expression<"},
    });
    // An end-point singularity converges more slowly but still to about 1e-12.
    lang::Value v = lang::evaluate("int(1/sqrt(x),x,0,1)", env);
    ASSERT_EQ(v.kind, lang::Value::Kind::number);
    EXPECT_NEAR(v.num.re, 2, 2e-12);
}

TEST_F(Numerical, RootsNeedASignChange) {
    check({
        {"root(x^2-2,0,2)", "1.41421356237309"}, {"root(x^2-2,2,0)", "1.41421356237309"},
        {"root(cos(x)-x,0,1)", "0.739085133215161"}, {"root(x,0,1)", "0"}, {"root(t^3-8,t,0,5)", "2"},
        {"root(x^2+1,-1,1)", ">invalid_expression<"}, {"root(1/(x-0.3),-1,2)", ">invalid_expression<"}, {"root(1/x,-1,2)", "root(1/x,-1,2)"},
        {"root(sqrt(x),-1,1)", ">invalid_expression<"}, {"root(x,0,i)", ">invalid_expression<"},
        {"root(x-1,0,2)*2", "2"},
    });
}

}  // namespace
}  // namespace ostr::test
