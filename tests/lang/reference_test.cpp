// The predefined functions against mpmath: every call of data/reference.txt
// (made by data/make_reference.py) is evaluated through the evaluator, text
// in and value out, and its error measured against the reference value.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "eval_support.hpp"

namespace ostr::test {
namespace {

struct Worst {
    double error = 0;
    std::string call;
    int cases = 0;
};

class Reference : public EvalTest {};

// strtod rather than stod: a reference value may be subnormal.
double number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

TEST_F(Reference, AgreesWithMpmath) {
    std::ifstream in(OSTR_TEST_DATA "/reference.txt");
    ASSERT_TRUE(in);
    std::map<std::string, Worst> worst;  // by function and class
    std::string line;
    int cases = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string call, re, im, scale, tol, cls;
        ASSERT_TRUE(std::getline(fields, call, '\t') && std::getline(fields, re, '\t') &&
                    std::getline(fields, im, '\t') && std::getline(fields, scale, '\t') &&
                    std::getline(fields, tol, '\t') && std::getline(fields, cls))
            << line;
        lang::Value v = lang::evaluate(call, env);
        ASSERT_EQ(v.kind, lang::Value::Kind::number) << call << " gives " << answer(call);
        double dre = v.num.re - number(re), dim = v.num.im - number(im);
        double error = std::hypot(dre, dim) / number(scale);
        EXPECT_LE(error, number(tol)) << call << " gives " << answer(call, 17) << ", want " << re << " " << im;
        Worst& w = worst[call.substr(0, call.find('(')) + (cls == "main" ? "" : " (" + cls + ")")];
        ++w.cases;
        if (error >= w.error) w = {error, call, w.cases};
        ++cases;
    }
    EXPECT_GT(cases, 4000);
    for (const auto& [name, w] : worst)
        std::printf("%-20s %5d cases, worst %.2e at %s\n", name.c_str(), w.cases, w.error, w.call.c_str());
}

}  // namespace
}  // namespace ostr::test
