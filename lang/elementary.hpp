// The elementary functions and the power as the language computes them: a
// real argument inside the real domain of a function gets the real function
// of the C library (within one ulp), every other argument a complex kernel
// that neither overflows for large |z| nor cancels for small |z|.
#pragma once

#include "numeric/complex.hpp"

namespace ostr::lang::elementary {

// The power operator "^". A real base with an integer exponent, and a
// non-negative real base with any real exponent, give the real power (exact
// whenever the exact result is a double); 0 to a negative power is an
// infinity, so the caller keeps its text as it keeps 1/0. A negative base
// with a non-integer exponent, and complex operands, take the polar power of
// the numeric library.
Complex power(Complex base, Complex exponent) noexcept;

// The modulus, by hypot: no overflow or underflow of the squares.
double modulus(Complex z) noexcept;

// The functions of one argument. The cuts are those of the principal
// values; a point on a cut (the language's numbers carry no signed zero)
// takes the side on which the function is continuous counterclockwise
// around the branch point, as the language always did: sqrt(-4) is 2*i,
// arcsin(2) has a negative imaginary part, arctanh(2) a positive one.
Complex exp(Complex z) noexcept;
Complex ln(Complex z) noexcept;
Complex log10(Complex z) noexcept;
Complex sqrt(Complex z) noexcept;
Complex sin(Complex z) noexcept;
Complex cos(Complex z) noexcept;
Complex tan(Complex z) noexcept;
Complex sinh(Complex z) noexcept;
Complex cosh(Complex z) noexcept;
Complex tanh(Complex z) noexcept;
Complex arcsin(Complex z) noexcept;
Complex arccos(Complex z) noexcept;
Complex arctan(Complex z) noexcept;
Complex arcsinh(Complex z) noexcept;
Complex arccosh(Complex z) noexcept;
Complex arctanh(Complex z) noexcept;

}  // namespace ostr::lang::elementary
