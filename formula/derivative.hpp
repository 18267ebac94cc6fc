// The symbolic derivative of a formula text: the text is read by the one
// reader of the grammar, differentiated by the rules of calculus and written
// back simplified, as a person would write it (3*x^2, not 3*x^(3-1)*1).
#pragma once

#include <string_view>
#include <vector>

#include "core/memory.hpp"

namespace ostr::formula {

enum class DerivativeStatus : unsigned char {
    ok,
    // A part with no derivative: a condition, a postfix operator, an index,
    // a member, a string, a random number, or a function whose argument and
    // another of its arguments both hold the variable where no rule exists.
    not_differentiable,
    // The result grew past the bound on a formula's size.
    too_large,
    // core::should_stop() answered true.
    stopped,
};

struct Derivative {
    DerivativeStatus status = DerivativeStatus::ok;
    Text text;
    // True when some part has no closed form here (the Airy functions,
    // Bessel functions in their order, max, min, the numerical built-ins):
    // that part is written as the call deriv(g(x),x,u), the derivative of g
    // at u, which the evaluator computes numerically once u is a number.
    bool estimated = false;
};

// d/d(variable) of `expression`, a formula text as the evaluator carries it
// (the other names are constants: this is the partial derivative).
Derivative derivative(std::string_view expression, std::string_view variable);

// The expression read and written back through the same simplifier, so a
// test can compare a derivative with a hand-written formula.
Derivative simplified(std::string_view expression);

// The coefficients c0, c1, ... of a polynomial in `variable` whose other
// parts are numbers, lowest power first; found by differentiating and
// putting in 0, so any way of writing it works ((x-1)^3*x). Empty when the
// expression is not such a polynomial of degree at most max_degree.
std::vector<double> polynomial(std::string_view expression, std::string_view variable, int max_degree);

}  // namespace ostr::formula
