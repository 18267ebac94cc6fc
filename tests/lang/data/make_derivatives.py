#!/usr/bin/python3
"""Writes derivatives.txt: values of derivatives for the deriv tests.

    /usr/bin/python3 tests/lang/data/make_derivatives.py > tests/lang/data/derivatives.txt

Each line: formula f in x, order n, point a, real part, imaginary part,
tolerance, source; tab separated. The test evaluates deriv(f,x,a,n) and checks
|value - reference| <= tolerance * max(1, |reference|).

Source "mpmath": every predefined function of a real argument, its derivative
by mpmath.diff (a high-order finite difference at 40 digits) at points chosen
away from jumps and branch points. Source "sympy": a table of composite
formulas differentiated symbolically by SymPy and evaluated at 30 digits.
"""
import random
import mpmath
from mpmath import mp, mpf
import sympy as sp

mp.dps = 40
rng = random.Random(20261125)

# The language's functions on reals, as mpmath functions of x. The Legendre
# function of the language carries (-1)^m, as mpmath's legenp does.
ONE = {
    "abs(x)": abs, "airya(x)": mpmath.airyai, "airyb(x)": mpmath.airybi,
    "arccos(x)": mpmath.acos, "arccosh(x)": mpmath.acosh, "arcsin(x)": mpmath.asin,
    "arcsinh(x)": mpmath.asinh, "arctan(x)": mpmath.atan, "arctanh(x)": mpmath.atanh,
    "arctan2(x,2)": lambda x: mpmath.atan2(x, 2), "arctan2(3,x)": lambda x: mpmath.atan2(3, x),
    "arg(x^2+i*x)": lambda x: mpmath.arg(x * x + 1j * x),
    "besseli(x,1.5)": lambda x: mpmath.besseli(1.5, x), "besselj(x,2)": lambda x: mpmath.besselj(2, x),
    "besselk(x,0.5)": lambda x: mpmath.besselk(0.5, x), "bessely(x,1)": lambda x: mpmath.bessely(1, x),
    "besselj(2.5,x)": lambda x: mpmath.besselj(x, 2.5),
    "ceil(x)": mpmath.ceil, "comb(x,2)": lambda x: mpmath.binomial(x, 2),
    "cos(x)": mpmath.cos, "cosh(x)": mpmath.cosh, "exp(x)": mpmath.exp, "floor(x)": mpmath.floor,
    "hypot(x,3)": lambda x: mpmath.hypot(x, 3), "im(x^2+i*x^3)": lambda x: x ** 3,
    "legendre(x,3,1)": lambda x: mpmath.legenp(3, 1, x), "legendre(x,2,0)": lambda x: mpmath.legenp(2, 0, x),
    "ln(x)": mpmath.log, "log(x)": mpmath.log10, "max(x,1)": lambda x: max(x, 1),
    "mean(x,x^2,3)": lambda x: (x + x * x + 3) / 3, "median(x,2,5)": lambda x: sorted([x, 2, 5])[1],
    "min(x,1)": lambda x: min(x, 1), "mod(x^2,3)": lambda x: mpmath.fmod(x * x, 3) % 3,
    "perm(x,2)": lambda x: x * (x - 1), "re(x^2+i*x)": lambda x: x * x, "round(x)": mpmath.nint,
    "sign(x)": mpmath.sign, "sin(x)": mpmath.sin, "sinh(x)": mpmath.sinh, "sqrt(x)": mpmath.sqrt,
    "tan(x)": mpmath.tan, "tanh(x)": mpmath.tanh,
    "variance(x,1,4)": lambda x: ((x - (x + 5) / 3) ** 2 + (1 - (x + 5) / 3) ** 2 + (4 - (x + 5) / 3) ** 2) / 2,
    "gcd(x,4)": lambda x: 0 * x + 2,
}
# Where each is smooth, real and away from jumps (for floor and the like,
# the derivative 0 holds between the integers).
RANGE = {
    "arccos(x)": (-0.95, 0.95), "arcsin(x)": (-0.95, 0.95), "arctanh(x)": (-0.95, 0.95),
    "arccosh(x)": (1.1, 5), "besseli(x,1.5)": (0.2, 5), "besselk(x,0.5)": (0.2, 5), "bessely(x,1)": (0.2, 8), "ln(x)": (0.1, 10),
    "log(x)": (0.1, 10), "sqrt(x)": (0.1, 10), "legendre(x,3,1)": (-0.9, 0.9), "legendre(x,2,0)": (-0.9, 0.9),
    "tan(x)": (-1.4, 1.4), "comb(x,2)": (2.1, 9), "perm(x,2)": (2.1, 9), "arctan2(3,x)": (0.2, 4),
    "mod(x^2,3)": (0.1, 1.6), "arg(x^2+i*x)": (0.2, 4), "besselj(2.5,x)": (0.5, 3),
}
TOLERANCE = {"airya(x)": 1e-9, "airyb(x)": 1e-9, "max(x,1)": 1e-9, "min(x,1)": 1e-9, "median(x,2,5)": 1e-9,
             "comb(x,2)": 1e-9, "perm(x,2)": 1e-9, "besselj(2.5,x)": 1e-8}


def point(name):
    lo, hi = RANGE.get(name, (-3, 3))
    while True:
        a = float(rng.uniform(lo, hi))
        if abs(a - round(a)) > 0.05 and abs(a - 1) > 0.05 and abs(a - 2) > 0.05 and abs(a - 5) > 0.05:
            return a


def emit(f, n, a, value, tol, source):
    value = mpmath.mpc(value)
    print(f"{f}\t{n}\t{a!r}\t{mpmath.nstr(value.real, 25)}\t{mpmath.nstr(value.imag, 25)}\t{tol}\t{source}")


print("# Made by make_derivatives.py with mpmath and SymPy; see the script.")
for f, g in ONE.items():
    for _ in range(12):
        # gcd is flat where it is defined: at the integers.
        a = 2.0 if f == "gcd(x,4)" else point(f)
        emit(f, 1, a, mpmath.diff(g, mpf(a)), TOLERANCE.get(f, 1e-11), "mpmath")

X = sp.Symbol("x", real=True)
NAMES = {"ln": sp.log, "log": lambda z: sp.log(z, 10), "arcsin": sp.asin, "arccos": sp.acos, "arctan": sp.atan,
         "arcsinh": sp.asinh, "arccosh": sp.acosh, "arctanh": sp.atanh, "x": X, "abs": sp.Abs}
FORMULAS = [
    ("x^3*sin(x)", 1), ("exp(x^2)/(1+x)", 1), ("x^x", 1), ("ln(cos(x)^2+1)", 1), ("arctan(x/2)*sqrt(x+4)", 1),
    ("tanh(x)^3", 1), ("arcsinh(x^2)", 1), ("(x^2+1)^(1/3)", 1), ("sin(x)/x", 1), ("2^x*3^(x^2)", 1),
    ("log(x^2+2)*cos(3*x)", 1), ("exp(sin(x))*cosh(x)", 1), ("1/(1+exp(-x))", 1), ("sqrt(1+sqrt(x+5))", 1),
    ("x^3*sin(x)", 2), ("exp(-(x^2))", 3), ("x^x", 2), ("1/(x^2+1)", 4), ("tan(x)", 3), ("arctan(x)", 5),
    ("sin(x)^2+cos(x)^2", 2), ("x^5-4*x^3+x", 3), ("ln(x^2+1)", 2), ("abs(x)^3", 2),
]
for f, n in FORMULAS:
    expr = sp.sympify(f.replace("^", "**"), locals=NAMES)
    dn = sp.diff(expr, X, n)
    for _ in range(6):
        a = float(rng.uniform(0.2, 1.3))
        emit(f, n, a, sp.N(dn.subs(X, sp.Float(repr(a), 30)), 30), 1e-11 if n < 4 else 1e-10, "sympy")
