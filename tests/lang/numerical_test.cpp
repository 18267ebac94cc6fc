// sum, prod, int and root through the evaluator: ranges (empty, reversed,
// bounded), the bound variable, convergence and the bracket rule. Values
// are checked against mpmath in reference_test.cpp; the examples of
// docs/language.md are not repeated.
#include "eval_support.hpp"

namespace ostr::test {
namespace {

class Numerical : public EvalTest {};

TEST_F(Numerical, SumAndProductOverRanges) {
    const char* bad = ">invalid_expression<";
    check({
        {"sum(1/n^2,n,1,1000)", "1.64393456668156"}, {"sum(n,n,3,3)", "3"}, {"sum(n,n,5,4)", "0"},
        {"prod(n,n,1,20)", "2.43290200817664E+18"}, {"sum(n*i,n,0,3)", "6*i"}, {"prod(1+i,n,1,2)", "2*i"},
        {"sum(n,n,-3,3)", "0"}, {"sum(sum(m*n,m,1,n),n,1,3)", "25"}, {"sum(x,x,1,3)", "6"},
        {"sum(1/(k*(k+1)),k,1,999)", "0.999"}, {"prod(10^100,n,1,4)", "prod(10^100,n,1,4)"},
        {"sum(n,n,1,3+i)", bad}, {"sum(n,n,1,2000000)", bad}, {"sum(n,2,1,3)", bad}, {"sum(n,sin,1,3)", bad},
        {"sum(n,n,,3)", bad}, {"sum(>invalid_object<,n,1,3)", bad}, {"prod(n,n,1,3)+1", "7"},
        // Nested calls share one budget of samples, so nesting cannot multiply the bounds.
        {"sum(sum(sum(1,c,1,1000),b,1,1000),a,1,1000)", bad}, {"sum(sum(1,b,1,100),a,1,100)", "1E+4"},
    });
    // The bound variable shadows a stored one and leaves it alone.
    set("n", "100");
    check({{"sum(n,n,1,4)", "10"}, {"n", "100"}, {"sum(n,k,1,4)", "400"}});
}

TEST_F(Numerical, IntegralsAdaptFromTheInitialIntervals) {
    const char* bad = ">invalid_expression<";
    check({
        {"int(x^2,x,3,0)", "-9"}, {"int(x^2,x,1,1)", "0"}, {"int(x^2,x,0,3,10)", "9"},
        {"int(exp(-(x^2)),x,-10,10)", "1.77245385090552"}, {"int(sin(50*x)^2,x,0,pi,20)", "1.5707963267949"},
        {"int(1/x,x,-1,1)", "int(1/x,x,-1,1)"}, {"int(x,x,0,1,0)", bad}, {"int(x,x,0,1,1.5)", bad},
        {"int(x,x,0,1,100000)", bad}, {"int(x,x,0,i)", bad}, {"int(x,1,0,1)", bad},
    });
    // An end-point singularity converges more slowly but still to about 1e-12.
    lang::Value v = lang::evaluate("int(1/sqrt(x),x,0,1)", env);
    ASSERT_EQ(v.kind, lang::Value::Kind::number);
    EXPECT_NEAR(v.num.re, 2, 2e-12);
}

TEST_F(Numerical, RootsNeedASignChange) {
    const char* bad = ">invalid_expression<";
    check({
        {"root(x^2-2,2,0)", "1.4142135623731"}, {"root(x,0,1)", "0"}, {"root(1/(x-0.3),-1,2)", bad},
        {"root(1/x,-1,2)", "root(1/x,-1,2)"}, {"root(sqrt(x),-1,1)", bad}, {"root(x,0,i)", bad},
        {"root(x-1,0,2)*2", "2"},
    });
}

}  // namespace
}  // namespace ostr::test
