// The deliberate rules of the complex functions, one table row each, exact
// to the bit (signed zeros, infinities and NaN included); results written
// over their own operands; CompareFloats and NormC. Ordinary values are the
// long-double oracle's (complex_oracle_test.cpp).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "ostravine/numeric.h"

namespace {

const double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();
const double pi = 3.14159265358979323846;

// Equal as IEEE values with the sign of zero, or both NaN.
bool same(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
}

using Unary = Complex* (*)(Complex*, const Complex*);
using Binary = Complex* (*)(Complex*, const Complex*, const Complex*);

struct Row {
    std::string what;
    Complex got, want;
};

Complex un(Unary f, Complex z) {
    Complex r;
    return *f(&r, &z);
}
Complex bin(Binary f, Complex a, Complex b) {
    Complex r;
    return *f(&r, &a, &b);
}

TEST(ComplexRules, HoldExactly) {
    const double two_sqrt3 = std::log(2 + std::sqrt(3.0));
    const Row rows[] = {
        // A zero divisor: each part goes to +-inf by its own sign, NaN for 0.
        {"DivC(1-i, 0)", bin(DivC, {1, -1}, {0, 0}), {inf, -inf}},
        {"DivC(0, 0)", bin(DivC, {0, 0}, {0, 0}), {nan, nan}},
        {"DivC(-2, -0)", bin(DivC, {-2, 0}, {-0.0, -0.0}), {-inf, nan}},
        // A NaN real divisor part with zero imaginary part takes the same road.
        {"DivC(1+i, NaN)", bin(DivC, {1, 1}, {nan, 0}), {inf, inf}},
        // InvC has no zero test: 0/0 inside the scaling.
        {"InvC(0)", un(InvC, {0, 0}), {nan, nan}},
        {"InvC(-2i)", un(InvC, {0, -2}), {0, 0.5}},  // zeros keep their sign: the oracle does not see it
        // The root's sign test is y >= 0: the cut belongs to +i from both sides.
        {"SqrtC(-4)", un(SqrtC, {-4, 0}), {0, 2}},
        {"SqrtC(-4-0i)", un(SqrtC, {-4, -0.0}), {0, 2}},
        {"SqrtC(4-0i)", un(SqrtC, {4, -0.0}), {2, -0.0}},
        {"SqrtC(-0)", un(SqrtC, {-0.0, -0.0}), {0, 0}},
        // y*y overflows inside the scaling: the root of a huge z is infinite.
        {"SqrtC(1e300+1e200i)", un(SqrtC, {1e300, 1e200}), {inf, 0}},
        {"PowC(0, 0)", bin(PowC, {0, 0}, {0, 0}), {1, 0}},
        {"PowC(NaN, 0)", bin(PowC, {nan, 0}, {0, 0}), {1, 0}},
        {"PowC(0, 2)", bin(PowC, {0, 0}, {2, 0}), {0, 0}},
        {"PowC(0, -1)", bin(PowC, {0, 0}, {-1, 0}), {0, 0}},
        {"ArctanC(i)", un(ArctanC, {0, 1}), {0, inf}},
        {"ArctanC(-i)", un(ArctanC, {0, -1}), {0, -inf}},
        // The real part counts as zero by CompareFloats: -0 is taken as +0, so
        // both sides of the cut give the same value.
        {"ArctanC(2i)", un(ArctanC, {0, 2}), {pi / 2, std::log(3.0) / 2}},
        {"ArctanC(-0+2i)", un(ArctanC, {-0.0, 2}), {pi / 2, std::log(3.0) / 2}},
        {"ArctanC(-2i)", un(ArctanC, {0, -2}), {pi / 2, -std::log(3.0) / 2}},
        {"ArctanhC(1)", un(ArctanhC, {1, 0}), {inf, 0}},
        {"ArctanhC(2-0i)", un(ArctanhC, {2, -0.0}), {std::log(3.0) / 2, pi / 2}},
        // On the cut y = 0, x > 1 the bracket's -2xy is -0 or +0 and the root
        // rule makes both +i: the value is the lower side's for both zeros.
        {"ArcsinC(2)", un(ArcsinC, {2, 0}), {pi / 2, -two_sqrt3}},
        {"ArcsinC(2-0i)", un(ArcsinC, {2, -0.0}), {pi / 2, -two_sqrt3}},
        // iz + w cancels to 0 for a large imaginary z: the formula's own limit.
        {"ArcsinC(1e8i)", un(ArcsinC, {0, 1e8}), {0, inf}},
        // Once cosh 2y overflows the quotient is taken at its limit.
        {"TanC(0)", un(TanC, {0, 0}), {0, 0}},
        {"TanC(400i)", un(TanC, {0, 400}), {0, 1}},
        {"TanC(1-400i)", un(TanC, {1, -400}), {0, -1}},
        {"TanhC(400+i)", un(TanhC, {400, 1}), {1, 0}},
        {"TanhC(-400)", un(TanhC, {-400, 0}), {-1, 0}},
        // sin 0 * cosh 1000 = 0 * inf.
        {"SinC(1000i)", un(SinC, {0, 1000}), {nan, inf}},
        {"LogC(0)", un(LogC, {0, 0}), {-inf, 0}},
        {"LogC(-1-0i)", un(LogC, {-1, -0.0}), {0, -pi}},
        {"Log10C(-1)", un(Log10C, {-1, 0}), {0, pi / 2.302585092994046}},
        // Three products: the imaginary part rounds differently from
        // ad + bc (12.100000000000001 and 0.3 by four products).
        {"MulC three products", bin(MulC, {1.1, 2.2}, {3.3, 4.4}), {-6.050000000000002, 12.100000000000003}},
        {"MulC three products 2", bin(MulC, {0.1, 0.7}, {0.3, 0.9}), {-0.6, 0.2999999999999998}},
        {"ConjC", un(ConjC, {1, 0}), {1, -0.0}},
    };
    for (const auto& r : rows)
        EXPECT_TRUE(same(r.got.re, r.want.re) && same(r.got.im, r.want.im))
            << r.what << ": got {" << r.got.re << ", " << r.got.im << "}, want {" << r.want.re << ", "
            << r.want.im << "}";
}

TEST(ComplexRules, RealValuedAndRealOperandForms) {
    struct Real {
        std::string what;
        double got, want;
    };
    Complex r;
    const Complex z34{3, 4}, big{1e200, 1e200}, tiny{1e-200, 1e-200}, w2{2, 0};
    const Complex order{1.394963404000744, 1.1172384254676062};
    const Real rows[] = {
        // b*b/a/a, not (b/a)^2: the squared-ratio order gives ...736.
        {"AbsC order", AbsC(&order), 1.7872169979727361},
        {"AbsC overflow", AbsC(&big), inf},
        {"AbsC underflow", AbsC(&tiny), 1e-200},
        {"PhaC(-1-0i)", PhaC(&(r = {-1, -0.0})), -pi},
        // 0^w for a real base: L = -inf meets w.im = 0 as 0 * -inf.
        {"PowRC(0, 2).re", PowRC(&r, 0, &w2)->re, nan},
        {"DivCR", DivCR(&r, &z34, 0)->re, inf},
    };
    for (const auto& row : rows) EXPECT_TRUE(same(row.got, row.want)) << row.what << ": " << row.got;
}

// CompareFloats: equal to 15 digits against hypot(a, b).
TEST(ComplexRules, CompareFloatsTable) {
    struct Case {
        double a, b;
        int equal;
    };
    const Case cases[] = {
        {1, 1 + 1e-16, 1},   {1, 1 + 1e-14, 0},   {0, -0.0, 1},       {0, 1e-300, 0},
        {1e-300, 1e-300 * (1 + 2e-16), 1},        {-1, 1, 0},         {16.97, 16.97, 1},
        {nan, nan, 0},       {1, nan, 0},
        // inf - inf is NaN, so infinities are never equal.
        {inf, inf, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(CompareFloats(c.a, c.b), c.equal) << c.a << " vs " << c.b;
}

TEST(ComplexRules, NormSumsSquaredModuli) {
    Complex v[] = {{3, 0}, {3, 4}, {0, 0}, {1, 2}};
    EXPECT_EQ(NormC(v), std::sqrt(30.0));
    Complex empty[] = {{0, 0}};
    EXPECT_EQ(NormC(empty), 0);
    // Nine terms: past the unrolled block of four, in order.
    Complex nine[10] = {{9, 0}};
    double want = 0;
    for (int i = 1; i <= 9; ++i) nine[i] = {0.1 * i, -1.0 / i}, want += nine[i].re * nine[i].re + nine[i].im * nine[i].im;
    EXPECT_EQ(NormC(nine), std::sqrt(want));
}

// Every function reads its operands before it writes: the result record may
// be any operand.
TEST(ComplexRules, ResultMayAliasAnOperand) {
    const Unary unary[] = {CopyC,   ConjC,   InvC,    SqrC,    SqrtC,   ExpCC,    LogC,     Log10C,
                           SinC,    CosC,    TanC,    SinhC,   CoshC,   TanhC,    ArcsinC,  ArccosC,
                           ArctanC, ArcsinhC, ArccoshC, ArctanhC};
    const Binary binary[] = {AddC, SubC, MulC, DivC, PowC};
    const Complex a{0.7, -1.3}, b{-2.1, 0.4};
    for (Unary f : unary) {
        Complex fresh, alias = a;
        f(&fresh, &a);
        EXPECT_EQ(f(&alias, &alias), &alias);
        EXPECT_TRUE(same(alias.re, fresh.re) && same(alias.im, fresh.im)) << reinterpret_cast<void*>(f);
    }
    for (Binary f : binary) {
        Complex fresh, first = a, second = b, both = a;
        f(&fresh, &a, &b);
        f(&first, &first, &b);
        f(&second, &a, &second);
        Complex square;
        f(&square, &a, &a);
        f(&both, &both, &both);
        EXPECT_TRUE(same(first.re, fresh.re) && same(first.im, fresh.im));
        EXPECT_TRUE(same(second.re, fresh.re) && same(second.im, fresh.im));
        EXPECT_TRUE(same(both.re, square.re) && same(both.im, square.im));
    }
    Complex c{1, 1}, d = a;
    Add3C(&c, &c, &c, &c);
    EXPECT_TRUE(same(c.re, 3) && same(c.im, 3));
    PowCR(&d, &d, 2);
    MulCR(&d, &d, 2);
    DivCR(&d, &d, 2);
    Complex e;
    PowCR(&e, &a, 2);
    EXPECT_TRUE(same(d.re, e.re) && same(d.im, e.im));
}

}  // namespace
