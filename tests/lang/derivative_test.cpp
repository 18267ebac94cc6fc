// deriv through the evaluator: every predefined function's derivative
// against mpmath's high-order finite differences and a table of formulas
// against SymPy (data/derivatives.txt, made by data/make_derivatives.py),
// the forms of the call, and its errors.
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "eval_support.hpp"

namespace ostr::test {
namespace {

class Deriv : public EvalTest {};

TEST_F(Deriv, AgreesWithMpmathAndSympy) {
    std::ifstream in(OSTR_TEST_DATA "/derivatives.txt");
    ASSERT_TRUE(in);
    std::string line;
    int cases = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string f, n, a, re, im, tol, source;
        ASSERT_TRUE(std::getline(fields, f, '\t') && std::getline(fields, n, '\t') && std::getline(fields, a, '\t') &&
                    std::getline(fields, re, '\t') && std::getline(fields, im, '\t') &&
                    std::getline(fields, tol, '\t') && std::getline(fields, source))
            << line;
        const std::string call = "deriv(" + f + ",x," + a + "," + n + ")";
        lang::Value v = lang::evaluate(call, env);
        EXPECT_EQ(v.kind, lang::Value::Kind::number) << call << " gives " << answer(call);
        const double want_re = std::strtod(re.c_str(), nullptr), want_im = std::strtod(im.c_str(), nullptr);
        const double error = std::hypot(v.num.re - want_re, v.num.im - want_im) /
                             std::fmax(1.0, std::hypot(want_re, want_im));
        EXPECT_LE(error, std::strtod(tol.c_str(), nullptr))
            << source << ": " << call << " gives " << answer(call, 17) << ", want " << re << " " << im;
        ++cases;
    }
    EXPECT_GT(cases, 600);
}

TEST_F(Deriv, FormsOfTheCall) {
    const char* bad = ">invalid_expression<";
    check({
        {"deriv(x^3,x)", "3*x^2"}, {"deriv(x^3,x,2)", "12"}, {"deriv(x^3,x,2,2)", "12"}, {"deriv(x^3,x,x,3)", "6"},
        {"deriv(x^3,x,x,2)", "6*x"}, {"deriv(x^3,x,5,0)", "125"}, {"deriv(x^2*y,y)", "x^2"},
        {"deriv(deriv(x^2*y^3,x),y)", "6*x*y^2"}, {"deriv(sin(x),x,0)", "1"}, {"deriv(x^2,x,y)", "2*y"},
        {"deriv(i*x^2,x,3)", "6*i"}, {"deriv(5,x)", "0"}, {"round(deriv(airya(x),x,0)*1000)", "-259"},
        {"deriv(x^2,x)+1", "2*x+1"},
        {"deriv(x,2)", bad}, {"deriv(x,sin)", bad}, {"deriv(x)", bad}, {"deriv(x,x,1,2,3)", bad},
        {"deriv(x,x,1,-1)", bad}, {"deriv(x,x,1,1.5)", bad}, {"deriv(x,x,1,65)", bad}, {"deriv(x<1,x)", bad},
        {"deriv(x!,x)", bad}, {"deriv(,x)", bad}, {"deriv(x,x,[1])", bad}, {"deriv(>invalid_object<,x)", bad},
        {"deriv(rand(0,x),x)", bad},
    });
    // The variable is free inside f whatever it holds outside; the other
    // names are used with their values.
    set("x", "10");
    set("c", "3");
    check({{"deriv(c*x^2,x)", "6*x"}, {"deriv(c*x^2,x,x)", "60"}, {"x", "10"}});
}

}  // namespace
}  // namespace ostr::test
