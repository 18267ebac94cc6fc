#!/usr/bin/python3
"""Writes elementary.txt: the language's elementary functions and power at
the edges of their domains, with values from mpmath at 800 digits. Run with
the Python that has mpmath:

    /usr/bin/python3 tests/lang/data/make_elementary.py > tests/lang/data/elementary.txt

Each line: function, the real and imaginary part of the argument (and of the
exponent for "pow"), written with repr so the double is exact, then the real
and imaginary part of the true value with 30 digits, tab separated.
elementary_test.cpp measures the kernels' error in ulps of each part. Real
arguments inside the real domain come first (class "real"), then complex
ones ("complex"). Points on a cut are taken on the side the language takes
(see lang/elementary.hpp).
"""
from mpmath import mp, mpf, mpc
import mpmath


F = {
    "exp": mpmath.exp, "ln": mpmath.ln, "log10": lambda z: mpmath.log(z, 10), "sqrt": mpmath.sqrt,
    "sin": mpmath.sin, "cos": mpmath.cos, "tan": mpmath.tan,
    "sinh": mpmath.sinh, "cosh": mpmath.cosh, "tanh": mpmath.tanh,
    "arcsin": mpmath.asin, "arccos": mpmath.acos, "arctan": mpmath.atan,
    "arcsinh": mpmath.asinh, "arccosh": mpmath.acosh, "arctanh": mpmath.atanh,
    "abs": abs,
}

HALF_PI = [1.5707963267948966, 1.57079632, 1.570796326, -1.5707963, 1.5707963267, 4.71238898038469,
           -4.71238898038469, 7.853981633974483]
TINY = [5e-324, 1e-310, 1e-300, 1e-200, 1e-20, 1e-10, 1e-8, 3.7e-5]
HUGE = [1e8, 1e15, 1e22, 1e155, 1e200, 1e300, 1.7976931348623157e308]

REAL = {
    "exp": TINY + [-x for x in TINY] + [1, -1, 0.5, 20, 100, 700, 709.78, -700, -745, -708.4],
    "ln": TINY + HUGE + [1 + 2**-52, 1 - 2**-53, 0.9999999, 1.0000001, 2, 0.5, 10],
    "log10": TINY + HUGE + [1 + 2**-52, 1 - 2**-53, 0.9999999, 1.0000001, 2, 0.5, 1000],
    "sqrt": TINY + HUGE + [2, 3, 0.5],
    "sin": TINY + HUGE + HALF_PI + [3.141592653589793, 3.14159265, 6.283185307179586, 1, 100, 1e5, 710],
    "cos": TINY + HUGE + HALF_PI + [3.141592653589793, 6.283185307179586, 1, 100, 1e5, 710],
    "tan": TINY + HUGE + HALF_PI + [3.141592653589793, 0.7853981633974483, 1, 100, 1e5, -1e5],
    "sinh": TINY + [-x for x in TINY] + [0.5, 1, 20, 100, 710, -710, 710.4, 0.1],
    "cosh": TINY + [0.5, 1, 20, 100, 710, -710, 710.4, 0.1],
    "tanh": TINY + [-x for x in TINY] + [0.5, 1, 2, 10, 18, 19.1, 30, -30, 0.1],
    "arcsin": TINY + [-x for x in TINY] + [0.5, 1, -1, 0.9999999, 1 - 2**-53, -(1 - 2**-53), 0.999, 0.1],
    "arccos": TINY + [0.5, 1, -1, 0.9999999, -0.9999999, 1 - 2**-53, -(1 - 2**-53), 0.999, 0.1, -0.5],
    "arctan": TINY + [-x for x in TINY] + HUGE + [-x for x in HUGE] + [1, 0.5, 2, 1e16],
    "arcsinh": TINY + [-x for x in TINY] + HUGE + [-x for x in HUGE] + [1, 0.5, 2, 0.1, -0.1],
    "arccosh": [1, 1 + 2**-52, 1.0000001, 1.5, 2, 10, 1e8] + HUGE,
    "arctanh": TINY + [-x for x in TINY] + [0.5, 0.9999999, -0.9999999, 1 - 2**-53, 0.1, -0.5, 0.999],
    "abs": [-1e300, 5e-324, -2.5],
}

# Hard complex arguments: large and tiny moduli, next to the branch points,
# just off the cuts and the real axis.
COMPLEX = [
    complex(1e200, 1e200), complex(-1e300, 1e300), complex(1e-200, -1e-200), complex(1e-10, 1e-10),
    complex(3e-310, 4e-310), complex(1e308, 1e308), complex(0.5, 1e-300), complex(-0.5, 1e-20),
    complex(1, 1e-10), complex(-1, -1e-10), complex(1 + 1e-10, 1e-20), complex(1e-10, 1),
    complex(-1e-20, 1 + 1e-10), complex(0.0, 2.0), complex(0.0, -2.0), complex(2.0, 1e-300),
    complex(3, 4), complex(-3, 4), complex(0.1, -20), complex(20, 0.1), complex(710, 1), complex(1, 710),
    complex(1e8, -1e-8), complex(0.9999999, 1e-7),
]
SKIP = {
    # no finite value: the language keeps the call's text
    ("exp", complex(1e200, 1e200)), ("exp", complex(1e308, 1e308)), ("exp", complex(710, 1)),
}
TRIG = ("exp", "sin", "cos", "sinh", "cosh")

# The power: real with integer and with real exponents, negative bases,
# and complex operands.
POWERS = [
    (-3, 30), (-1, 100), (-1, 101), (10, 15), (2, 53), (3, 10), (10, -10), (2, -1074), (0.5, 1075 - 1),
    (-2, 1023), (1.0000001, 1e7), (10, 0.5), (2, 0.5), (1e300, 1.01), (7, -3), (-7, -3), (1.1, 7000),
    (0.1, 3), (-0.1, 3), (123456789, 2), (1e-300, 1.5), (2, 1e-10),
]
CPOWERS = [
    (complex(-8, 0), complex(1 / 3, 0)), (complex(-2, 0), complex(0.5, 0)), (complex(1, 1), complex(2, 0)),
    (complex(0, 1), complex(0, 1)), (complex(2, 3), complex(-1.5, 0.5)),
]


def text(x):
    return repr(float(x))


def exact(z):
    z = complex(z)
    return mpc(mpf(z.real), mpf(z.imag))


def side(name, z):
    """The language's side of a cut for a point on it."""
    x, y = z.real, z.imag
    eps = mpf(10) ** -700
    if y == 0:
        if name in ("arcsin", "arccos") and abs(x) > 1:
            return mpc(0, -eps if x > 0 else eps)
        if name in ("sqrt", "ln", "log10") and x < 0 or name == "arccosh" and x < 1 or name == "arctanh" and abs(x) > 1:
            return mpc(0, eps)
    if x == 0 and abs(y) > 1:
        if name == "arctan":
            return mpc(eps, 0)
        if name == "arcsinh":
            return mpc(eps if y > 0 else -eps, 0)
    return 0


def value_line(name, cls, args, f):
    # 800 digits: the formulas mpmath uses cancel for |z| down to 1e-310,
    # whose square must still count against 1.
    with mp.workdps(800):
        v = mpc(f())
    parts = "\t".join(text(a) for a in args)
    print("%s\t%s\t%s\t%s\t%s" % (cls, name, parts, mpmath.nstr(v.real, 30), mpmath.nstr(v.imag, 30)))


def main():
    print("# Made by make_elementary.py with mpmath %s at 800 digits; see the script." % mpmath.__version__)
    for name, xs in REAL.items():
        for x in xs:
            value_line(name, "real", (x, 0.0), lambda: F[name](mpf(x)))
    for name in F:
        for z in COMPLEX:
            if (name, z) in SKIP or name in TRIG and abs(z) > 800:
                continue
            value_line(name, "complex", (z.real, z.imag), lambda: F[name](exact(z) + side(name, z)))
    for a, b in POWERS:
        value_line("pow", "real", (a, 0.0, b, 0.0), lambda: mpmath.power(mpf(a), mpf(b)))
    for a, b in CPOWERS:
        value_line("pow", "complex", (a.real, a.imag, b.real, b.imag), lambda: mpmath.power(exact(a), exact(b)))


main()
