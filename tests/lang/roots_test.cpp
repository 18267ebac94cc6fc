// findroots, findpeaks and complexroots through the evaluator: values
// against closed forms (roots of cos, of a Chebyshev polynomial, roots of
// unity), and the bad inputs. polyfit and hmstime, which take or give
// arrays, are checked by the examples of docs/language.md.
#include <cmath>
#include <string>
#include <vector>

#include "eval_support.hpp"
#include "lang/containers.hpp"

namespace ostr::test {
namespace {

class Roots : public EvalTest {
protected:
    // The numbers of an array answer; empty with a failure for anything else.
    std::vector<Complex> items(std::string_view text) {
        lang::Value v = lang::evaluate(text, env);
        std::vector<Complex> out;
        EXPECT_TRUE(lang::is_array(v)) << text << " gives " << answer(text);
        if (!lang::is_array(v)) return out;
        for (const obj::Item& it : obj::array_of(v.obj.get())->items) out.push_back(it.num);
        return out;
    }
};

TEST_F(Roots, FindrootsFindsEveryRootToFullAccuracy) {
    std::vector<Complex> r = items("findroots(cos(x),0,20)");
    ASSERT_EQ(r.size(), 6u);
    for (std::size_t k = 0; k < r.size(); ++k) EXPECT_NEAR(r[k].re, (k + 0.5) * M_PI, 4e-15 * r[k].re);
    r = items("findroots(x^3-x,-2,2)");
    ASSERT_EQ(r.size(), 3u);
    EXPECT_EQ(r[0].re, -1);
    EXPECT_EQ(r[1].re, 0);
    EXPECT_EQ(r[2].re, 1);
    // A double root touches 0 without a sign change: found as a minimum of |f|.
    r = items("findroots((x-0.3)^2*(x+2),-3,3)");
    ASSERT_EQ(r.size(), 2u);
    EXPECT_NEAR(r[0].re, -2, 1e-15);
    EXPECT_NEAR(r[1].re, 0.3, 1e-6);
    EXPECT_TRUE(items("findroots(x^2+1,-3,3)").empty());
    EXPECT_TRUE(items("findroots(1/(x-0.5),0,1)").empty());  // a pole is no root
}

TEST_F(Roots, FindpeaksGivesPlacesAndValues) {
    lang::Value v = lang::evaluate("findpeaks(sin(x),0,10)", env);
    ASSERT_TRUE(lang::is_array(v));
    const auto& peaks = obj::array_of(v.obj.get())->items;
    ASSERT_EQ(peaks.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k) {
        const auto& pair = obj::array_of(peaks[k].obj)->items;
        EXPECT_NEAR(pair[0].num.re, (k + 0.5) * M_PI, 4e-15 * pair[0].num.re);
        EXPECT_NEAR(pair[1].num.re, k % 2 ? -1 : 1, 1e-14);
    }
}

TEST_F(Roots, ComplexrootsOfPolynomials) {
    // The Chebyshev polynomial T8 written out: roots cos((2k-1)pi/16).
    std::vector<Complex> r = items("complexroots(128*x^8-256*x^6+160*x^4-32*x^2+1,x)");
    ASSERT_EQ(r.size(), 8u);
    for (std::size_t k = 0; k < 8; ++k) {
        EXPECT_NEAR(r[k].re, std::cos((15 - 2 * k) * M_PI / 16), 1e-14);
        EXPECT_EQ(r[k].im, 0);
    }
    // x^5 - 1 in factored and expanded forms alike; roots of unity.
    r = items("complexroots((x-1)*(x^4+x^3+x^2+x+1),x)");
    ASSERT_EQ(r.size(), 5u);
    for (const Complex& z : r) EXPECT_NEAR(std::hypot(z.re, z.im), 1, 1e-14);
    r = items("complexroots(x^3*(x-2),x)");
    ASSERT_EQ(r.size(), 4u);
    EXPECT_EQ(r[0].re, 0);
    EXPECT_NEAR(r[3].re, 2, 1e-15);
    // The names other than x take their values.
    set("c", "4");
    r = items("complexroots(x^2-c,x)");
    ASSERT_EQ(r.size(), 2u);
    EXPECT_NEAR(r[1].re, 2, 1e-15);
}

// Multiple roots come out to nearly full accuracy, not 16/m digits. The
// roots were confirmed with mpmath at 60 digits:
//   mp.polyroots(coefficients, maxsteps=2000, extraprec=2000)
// on the expanded integer or dyadic coefficients (sympy's Poly).
TEST_F(Roots, ComplexrootsSettlesMultipleRoots) {
    const std::pair<const char*, std::vector<Complex>> table[] = {
        {"(x-1)^5", {{1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}}},
        {"(x-2)^3*(x+1)^2", {{-1, 0}, {-1, 0}, {2, 0}, {2, 0}, {2, 0}}},
        {"(x^2+1)^3", {{0, -1}, {0, -1}, {0, -1}, {0, 1}, {0, 1}, {0, 1}}},
        {"(x-0.5)^3*(x+0.25)^2*(x-2)", {{-0.25, 0}, {-0.25, 0}, {0.5, 0}, {0.5, 0}, {0.5, 0}, {2, 0}}},
        {"(x-i)^3*(x+1)", {{-1, 0}, {0, 1}, {0, 1}, {0, 1}}},
        {"(x-1)^8*(x+2)", {{-2, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}, {1, 0}}},
        {"(x-3)^12", std::vector<Complex>(12, Complex{3, 0})},
        {"x^2*(x-1.5)^4", {{0, 0}, {0, 0}, {1.5, 0}, {1.5, 0}, {1.5, 0}, {1.5, 0}}},
    };
    for (const auto& [p, want] : table) {
        const std::vector<Complex> r = items("complexroots(" + std::string(p) + ",x)");
        ASSERT_EQ(r.size(), want.size()) << p;
        for (std::size_t k = 0; k < r.size(); ++k) {
            const double tol = 8e-16 * std::max(1.0, std::hypot(want[k].re, want[k].im));
            EXPECT_NEAR(r[k].re, want[k].re, tol) << p << " root " << k;
            EXPECT_NEAR(r[k].im, want[k].im, tol) << p << " root " << k;
        }
    }
    // Roots 1e-3 apart are no cluster: both stay, each as accurate as its
    // conditioning allows (a root 1e-3 from a double one loses about 9 digits).
    const std::vector<Complex> r = items("complexroots((x-1)*(x-1.001),x)");
    ASSERT_EQ(r.size(), 2u);
    EXPECT_NEAR(r[0].re, 1, 1e-13);
    EXPECT_NEAR(r[1].re, 1.001, 1e-13);
    const std::vector<Complex> q = items("complexroots((x-1)^2*(x-1.001),x)");
    ASSERT_EQ(q.size(), 3u);
    EXPECT_NEAR(q[0].re, 1, 1e-12);
    EXPECT_NEAR(q[2].re, 1.001, 1e-9);
}

TEST_F(Roots, BadInputIsAnErrorWord) {
    const char* bad = ">invalid_expression<";
    check({
        {"findroots(x,3,-3)", bad}, {"findroots(x,1,1)", bad}, {"findroots(x,0,i)", bad}, {"findpeaks(x,2,1)", bad},
        {"findroots(y,0,1)", "findroots(y,0,1)"}, {"findroots(x)", bad}, {"complexroots(sin(x),x)", bad},
        {"complexroots(x^0.5,x)", bad}, {"complexroots(5,x)", bad}, {"complexroots(x*y,x)", bad},
        {"polyfit(1,2,0)", bad}, {"hmstime(1,i,0)", bad},
    });
}

}  // namespace
}  // namespace ostr::test
