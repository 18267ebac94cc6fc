// integrate, minimize, fit, linfit and odesolve through whole lines: bad
// input answers an error word and changes nothing, answers agree with
// closed forms, and the compiled formulas agree with the evaluator's own
// path (a user function in the formula forces that path).
#include <cmath>
#include <numbers>

#include "objects/matrix.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class Solvers : public ScriptTest {
protected:
    // Element (i, j), from 1, of the matrix stored under `name`.
    double at(const char* name, std::size_t i, std::size_t j) {
        const obj::Object* o = obj::find(env, name);
        if (!o || o->tag != obj::Tag::matrix) return NAN;
        const obj::MatrixValue* m = obj::matrix_of(o);
        if (i < 1 || j < 1 || i > m->rows || j > m->cols) return NAN;
        const obj::Item& it = m->at(i - 1, j - 1);
        return it.obj ? NAN : it.num.re;
    }
};

TEST_F(Solvers, BadInputAnswersAnErrorWordAndChangesNothing) {
    run("keep=7");
    const Line bad[] = {
        {"odesolve(-y,t,y,1,0)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,2,dopri,1e-8,3)", ">invalid_expression<"},
        {"odesolve([-y,-z],t,[y],[1,1],0,1)", ">invalid_expression<"},
        {"odesolve([-y,-z],t,[y,z],[1],0,1)", ">invalid_expression<"},
        {"odesolve([-y,],t,[y,z],[1,1],0,1)", ">invalid_expression<"},
        {"odesolve([-y,-y],t,[y,y],[1,1],0,1)", ">invalid_expression<"},
        {"odesolve(-y,sin,y,1,0,1)", ">invalid_expression<"},
        {"odesolve(-y,t,y+1,1,0,1)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,1,1)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,0)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,2.5)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,2,euler)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,100001)", ">invalid_expression<"},
        {"odesolve(-y,t,y,1,0,1,2,dopri,0)", ">invalid_expression<"},
        {"odesolve(-y,t,y,i,0,1)", ">invalid_expression<"},
        {"odesolve(-y,t,y,\"a\",0,1)", ">invalid_expression<"},
        {"odesolve(sqrt(y),t,y,-1,0,1)", ">invalid_expression<"},
        {"odesolve(1/(1-t),t,y,0,0,2)", ">invalid_expression<"},
        {"integrate(x,x,0)", ">invalid_expression<"},
        {"integrate(x,x,0,1,0)", ">invalid_expression<"},
        {"integrate(x,x,inf,inf)", ">invalid_expression<"},
        {"integrate(x,x,0,inf)", ">invalid_expression<"},
        {"integrate(sqrt(x),x,-1,1)", ">invalid_expression<"},
        {"integrate(x,pi,0,1)", "integrate(x,pi,0,1)"},
        {"integrate(x,sin,0,1)", ">invalid_expression<"},
        {"integrate(x,x,0,1,-1)", ">invalid_expression<"},
        {"minimize(x,x,1)", ">invalid_expression<"},
        {"minimize(x,x,1,1)", ">invalid_expression<"},
        {"minimize(x^2+y^2,[x,y],[1])", ">invalid_expression<"},
        {"minimize(x^2,[x],[1],newton)", ">invalid_expression<"},
        {"fit(a*x,x,[1,2],[1,2],[a],[1,2])", ">invalid_expression<"},
        {"fit(a*x,x,[1,2],[1,2,3],[a],[1])", ">invalid_expression<"},
        {"fit(a*x+b+c,x,[1,2],[1,2],[a,b,c],[1,1,1])", ">invalid_expression<"},
        {"fit(a*x,x,[1,2],[1,2],[a],[1],[1,0])", ">invalid_expression<"},
        {"fit(a*x,x,[1,i],[1,2],[a],[1])", ">invalid_expression<"},
        {"linfit([x,2*x],x,[1,2,3],[1,2,3])", ">invalid_expression<"},
        {"linfit([1,x],x,[1],[1])", ">invalid_expression<"},
        {"linfit([],x,[1,2],[1,2])", ">invalid_expression<"},
        {"keep", "7"},
    };
    for (const Line& l : bad) {
        EXPECT_EQ(run(l.line), l.answer) << l.line;
        EXPECT_EQ(run("keep"), "7") << l.line;
    }
}

TEST_F(Solvers, AnswersAgainstClosedForms) {
    check({
        {"integrate(sin(x),x,0,pi)", "2"},
        {"integrate(1/x^2,x,1,inf)", "1"},
        {"integrate(exp(x),x,-inf,0)", "1"},
        {"integrate(x,x,1,0)", "-0.5"},
        {"integrate(x*exp(-x),x,0,inf)", "1"},
        {"round(1e12*integrate(ln(x)^2,x,0,1))/1e12", "2"},
        {"c=3", "c <- 3"},
        {"integrate(c*x^2,x,0,1)", "1"},
        {"minimize(x^2-2*x,x,-5,5)", "[1,-1]"},
        {"round(1e6*minimize(cos(x)+c,x,2,4))/1e6", "[3.141593,2]"},
        {"round(1e6*minimize((x-c)^2+(y-1)^2+(z+c)^2,[x,y,z],[0,0,0],bfgs))/1e6", "[3,1,-3,0]"},
        {"r=linfit([1,x],x,[0,1,2],[1,3,5],[1,1,1])", "r <- linfit([1,x],x,[0,1,2],[1,3,5],[1,1,1])"},
        {"r[1]", "[1,2]"},
    });
    // y'' = -y from (1, 0): cos and -sin, with every method.
    for (const char* method : {"auto", "dopri", "rosenbrock"}) {
        const std::string line = std::string("m=odesolve([v,-x],t,[x,v],[1,0],0,2*pi,8,") + method + ",1e-10)";
        run(line);
        const double bound = std::string(method) == "rosenbrock" ? 1e-5 : 1e-8;
        for (std::size_t i = 1; i <= 9; ++i) {
            const double t = 2 * std::numbers::pi * static_cast<double>(i - 1) / 8;
            EXPECT_NEAR(at("m", i, 1), t, 1e-15) << method;
            EXPECT_NEAR(at("m", i, 2), std::cos(t), bound) << method << " t=" << t;
            EXPECT_NEAR(at("m", i, 3), -std::sin(t), bound) << method << " t=" << t;
        }
    }
}

// The same equations through the compiled program and through the
// evaluator (a user function is not compiled) give the same samples.
TEST_F(Solvers, CompiledFormulasAgreeWithTheEvaluator) {
    run("g(u)=u");
    const Line pairs[][2] = {
        {{"a=odesolve([v,-x*(1+x^2)],t,[x,v],[1,0],0,3,3)", ""},
         {"b=odesolve([g(v),-x*(1+x^2)],t,[x,v],[1,0],0,3,3)", ""}},
        {{"a=odesolve(sin(t)*y-ln(1+y^2)+2^y,t,y,0.5,0,1,3)", ""},
         {"b=odesolve(sin(t)*g(y)-ln(1+y^2)+2^y,t,y,0.5,0,1,3)", ""}},
        {{"a=odesolve(-abs(y)^1.5+sqrt(t+1)/(1+tanh(y)),t,y,1,0,2,3)", ""},
         {"b=odesolve(-abs(g(y))^1.5+sqrt(t+1)/(1+tanh(y)),t,y,1,0,2,3)", ""}},
    };
    for (const auto& p : pairs) {
        run(p[0].line);
        run(p[1].line);
        for (std::size_t i = 1; i <= 4; ++i)
            for (std::size_t j = 2; j <= 3; ++j) {
                const double a = at("a", i, j), b = at("b", i, j);
                if (std::isnan(a) && std::isnan(b)) continue;  // a one-column system
                EXPECT_NEAR(a, b, 1e-12 * std::max(1.0, std::fabs(b))) << p[0].line;
            }
    }
}

// Robertson's kinetics: stiff, switched to the Rosenbrock method, within
// 1e-4 of SciPy's Radau at rtol 1e-12 (tests/solvers/ode_test.cpp).
TEST_F(Solvers, StiffSystemThroughTheLanguage) {
    run("m=odesolve([-0.04*a+1e4*b*c,0.04*a-1e4*b*c-3e7*b^2,3e7*b^2],t,[a,b,c],[1,0,0],0,40,1,auto,1e-7)");
    const double want[3] = {0.7158270687194167, 9.1855347645583132e-06, 0.28416374574582037};
    for (std::size_t j = 0; j < 3; ++j) EXPECT_NEAR(at("m", 2, j + 2), want[j], 1e-4 * want[j]) << j;
}

}  // namespace
}  // namespace ostr::test
