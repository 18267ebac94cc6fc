#!/usr/bin/python3
"""Writes reference.txt: predefined-function calls with their values from
mpmath at 40 digits. Run with a Python that has mpmath 1.3:

    /usr/bin/python3 tests/lang/data/make_reference.py > tests/lang/data/reference.txt

Each line: call text, real part, imaginary part, scale, tolerance, class, tab
separated. The test evaluates the call through the evaluator and checks
|value - reference| / scale <= tolerance. The scale is |reference|, except in
the oscillatory regions of Bessel, Airy and Legendre functions, where it is
the local amplitude (sqrt(J^2 + Y^2) past the turning point, sqrt(Ai^2 + Bi^2)
for x < 0, and for Legendre functions a thousandth of the largest |P| on
[-1, 1] at least), since near a zero the value is the rounding of a
cancellation. Class "main" is held to the target accuracy; class "edge"
marks the regions where the prescribed complex formulas cancel (tiny
arguments, next to branch points, large arguments of tan, tanh, arcsin,
arccos and arcsinh): its
tolerance only guards against breakage, and the test reports its worst case.
Arguments are written with 17 significant digits, so the double the
evaluator reads is the one mpmath is given.
"""
import random
from mpmath import mp, mpf, mpc, besselj, bessely, besseli, besselk, airyai, airybi, legenp
import mpmath

mp.dps = 40
rng = random.Random(20261122)

ELEM = 1e-14
SPECIAL = 1e-12
EDGE = 0.1


def num(x):
    """A double as the evaluator reads it back exactly."""
    return repr(float(x))


def arg_text(z):
    z = complex(z)
    if z.imag == 0:
        return num(z.real)
    re = num(z.real)
    im = num(abs(z.imag))
    sign = "-" if z.imag < 0 else "+"
    return "%s%s%s*i" % (re, sign, im)


def out(call, value, scale=None, tol=ELEM, cls="main"):
    value = mpc(value)
    if scale is None:
        scale = abs(value)
    if scale == 0:
        scale = mpf(1)
    print("%s\t%s\t%s\t%s\t%.3g\t%s" % (call, mpmath.nstr(value.real, 25), mpmath.nstr(value.imag, 25),
                                          mpmath.nstr(scale, 6), tol, cls))


def exact(z):
    z = complex(z)
    return mpc(mpf(z.real), mpf(z.imag))


# Where a cut is met exactly (imaginary or real part zero on the cut) the
# language takes one side; the reference is taken on that side.
TINY = mpf(10) ** -35
ABOVE = mpc(0, TINY)
BELOW = mpc(0, -TINY)
RIGHT = mpc(TINY, 0)


def side(name, z):
    x, y = z.real, z.imag
    if y == 0:
        if name in ("sqrt", "ln", "log", "arccosh") and x < (1 if name == "arccosh" else 0):
            return ABOVE
        if name in ("arcsin", "arccos") and abs(x) > 1:
            return BELOW if x > 1 else ABOVE
        if name == "arctanh" and abs(x) > 1:
            return ABOVE
    if x == 0 and abs(y) > 1:
        if name == "arctan":
            return RIGHT
        if name == "arcsinh":
            return RIGHT if y > 1 else -RIGHT
    return 0


ELEMENTARY = {
    "sin": mpmath.sin, "cos": mpmath.cos, "tan": mpmath.tan,
    "sinh": mpmath.sinh, "cosh": mpmath.cosh, "tanh": mpmath.tanh,
    "exp": mpmath.exp, "ln": mpmath.ln, "log": lambda z: mpmath.log(z, 10), "sqrt": mpmath.sqrt,
    "arcsin": mpmath.asin, "arccos": mpmath.acos, "arctan": mpmath.atan,
    "arcsinh": mpmath.asinh, "arccosh": mpmath.acosh, "arctanh": mpmath.atanh,
    "abs": abs, "arg": mpmath.arg,
}

BRANCH_POINTS = {
    "arcsin": (1, -1), "arccos": (1, -1), "arctan": (1j, -1j), "arcsinh": (1j, -1j),
    "arccosh": (1, -1), "arctanh": (1, -1), "ln": (0,), "log": (0,), "sqrt": (0,),
}


def elementary_class(name, z):
    """'edge' where the prescribed formula cancels."""
    r = abs(z)
    if name.startswith("arc") and r < 0.1:
        return "edge"
    for b in BRANCH_POINTS.get(name, ()):
        if abs(z - b) < 0.1 and b != 0:
            return "edge"
    if name in ("ln", "log") and abs(abs(z) - 1) < 0.1:
        return "edge"  # log of a modulus near 1
    if name in ("tan", "tanh") and r > 4:
        return "edge"  # 2z rebuilt through hypot and atan2
    if name in ("arcsin", "arccos", "arcsinh") and r > 10:
        return "edge"  # z^2 swamps the 1 under the root, and z + root cancels
    if name.startswith("arc") and r > 1e6:
        return "edge"
    return "main"


def elementary_points():
    pts = []
    for e in range(-8, 4):
        for m in (1.0, 2.5, 7.25):
            pts.append(m * 10.0 ** e)
            pts.append(-m * 10.0 ** e)
    for _ in range(40):
        pts.append(complex(rng.uniform(-6, 6), rng.uniform(-6, 6)))
    for _ in range(20):
        pts.append(complex(rng.uniform(-1.5, 1.5), rng.uniform(-1.5, 1.5)))
    for _ in range(10):
        r = 10 ** rng.uniform(-6, 8)
        t = rng.uniform(-3.14, 3.14)
        pts.append(complex(r * mpmath.cos(t), r * mpmath.sin(t)))
    # On and next to the cuts, and near the branch points.
    for v in (0.5, 0.999, 1.001, 1.5, 2, 10, 1e5):
        pts += [v, -v, complex(0, v), complex(0, -v), complex(v, 1e-3), complex(-v, -1e-3),
                complex(1e-3, v), complex(-1e-3, -v)]
    return pts


def elementary():
    for name, f in ELEMENTARY.items():
        for p in elementary_points():
            z = complex(p)
            if name in ("exp", "sinh", "cosh") and abs(z.real) > 700:
                continue
            if name in ("sin", "cos", "tan") and abs(z.imag) > 700:
                continue
            if name in ("sinh", "cosh", "tanh", "exp", "sin", "cos", "tan") and abs(z) > 1e6:
                continue
            if name in ("ln", "log") and z == 0:
                continue
            if name == "arctan" and z in (1j, -1j):
                continue
            if name == "arctanh" and z in (1, -1):
                continue
            zz = exact(z)
            value = f(zz + side(name, z))
            cls = elementary_class(name, z)
            out("%s(%s)" % (name, arg_text(z)), value, tol=ELEM if cls == "main" else EDGE, cls=cls)


def bessel():
    orders = [0, 1, 2, 0.5, 1.5, 2.5, 3.3, 5, 10, 17.25, 40, 100, -0.5, -1, -2.75, -7]
    args = [1e-3, 0.05, 0.3, 1, 1.9, 2.1, 3.7, 5, 8.65, 12.3, 19.9, 20.1, 33, 50, 75.5, 120, 300, 1000, 5000]
    for nu in orders:
        for x in args:
            xm, num_ = mpf(x), mpf(nu)
            j, y = besselj(num_, xm), bessely(num_, xm)
            amp = mpmath.sqrt(j * j + y * y)
            # J and Y: the amplitude past the turning point, and for
            # negative non-integer orders (a combination of J and Y) always.
            osc = x > abs(nu) or (nu < 0 and nu != int(nu))
            jscale = max(abs(j), amp) if osc else abs(j)
            yscale = max(abs(y), amp) if osc else abs(y)
            if abs(j) > 1e-300 and abs(j) < 1e300:
                out("besselj(%s,%s)" % (num(x), num(nu)), j, jscale, SPECIAL)
            if abs(y) < 1e300:
                out("bessely(%s,%s)" % (num(x), num(nu)), y, yscale, SPECIAL)
            i = besseli(num_, xm)
            k = besselk(num_, xm)
            if 1e-300 < abs(i) < 1e300:
                out("besseli(%s,%s)" % (num(x), num(nu)), i, None, SPECIAL)
            if 1e-300 < abs(k) < 1e300:
                out("besselk(%s,%s)" % (num(x), num(nu)), k, None, SPECIAL)
    # Integer orders at negative arguments follow their parity.
    for nu in (0, 1, 2, 5):
        for x in (-0.7, -3.2, -25.0):
            j = besselj(nu, mpf(x))
            out("besselj(%s,%s)" % (num(x), num(nu)), j, mpmath.sqrt(j * j + bessely(nu, -mpf(x)) ** 2), SPECIAL)
            out("besseli(%s,%s)" % (num(x), num(nu)), besseli(nu, mpf(x)), None, SPECIAL)


def airy():
    for x in [-200, -50.5, -20, -7.3, -2.338107410459767, -1.2, -1, -0.4, 0, 0.3, 1, 1.7, 3, 6.5, 12, 25, 60, 100]:
        xm = mpf(x)
        a, b = airyai(xm), airybi(xm)
        amp = mpmath.sqrt(a * a + b * b)
        out("airya(%s)" % num(x), a, max(abs(a), amp) if x < 0 else None, SPECIAL)
        out("airyb(%s)" % num(x), b, max(abs(b), amp) if x < 0 else None, SPECIAL)


def legenp_recurrence(l, m, x):
    """P_l^m(x) with the Condon-Shortley phase at the working precision: the
    closed form of P_m^m, then the three-term recurrence in the degree. At 40
    digits the recurrence loses nothing that matters for the degrees used."""
    am = abs(m)
    p = (-1) ** am * mpmath.fac2(2 * am - 1) * (1 - x * x) ** (mpf(am) / 2)
    if l > am:
        prev, p = p, x * (2 * am + 1) * p
        for n in range(am + 2, l + 1):
            prev, p = p, ((2 * n - 1) * x * p - (n + am - 1) * prev) / (n - am)
    if m < 0:
        p = (-1) ** am * mpmath.factorial(l - am) / mpmath.factorial(l + am) * p
    return p


def legenp0(l, m, x):
    # mpmath's hypergeometric form is slow for high degrees and does not
    # settle at exact zeros (P_3(0)); the two agree where both are used.
    if l > 30:
        return legenp_recurrence(l, m, x)
    try:
        return legenp(l, m, x)
    except ValueError:
        return legenp_recurrence(l, m, x)


for _l, _m, _x in ((30, 7, "0.3"), (13, -5, "-0.77"), (30, 30, "0.9")):
    _a, _b = legenp(_l, _m, mpf(_x)), legenp_recurrence(_l, _m, mpf(_x))
    assert abs(_a - _b) <= abs(_a) * mpf(10) ** -30, (_l, _m, _x)


def legendre():
    degrees = [0, 1, 2, 3, 5, 8, 13, 30, 50, 100, 200]
    xs = [-1, -0.999, -0.9, -0.5, -0.1, 0, 0.05, 0.3, 0.7071067811865476, 0.95, 0.9999, 1]
    for l in degrees:
        orders = sorted({0, 1, 2, l // 2, l, -1, -l, -(l // 3)})
        for m in orders:
            if abs(m) > l:
                continue
            # At x = +-1 the function is 0 for m != 0 (and +-1 for m = 0),
            # where mpmath's series does not settle.
            grid = [legenp0(l, m, mpf(k) / 40 - 1) for k in range(1, 80)] + [mpf(1)]
            big = max(abs(v) for v in grid)
            for x in xs:
                if abs(x) == 1:
                    v = (mpf(x) ** l) if m == 0 else mpf(0)
                else:
                    v = legenp0(l, m, mpf(x))
                if abs(v) > 1e300:
                    continue
                out("legendre(%s,%d,%d)" % (num(x), l, m), v, max(abs(v), big * mpf("1e-3")), SPECIAL)


def rest():
    for _ in range(60):
        y, x = rng.uniform(-50, 50), rng.uniform(-50, 50)
        out("arctan2(%s,%s)" % (num(y), num(x)), mpmath.atan2(mpf(y), mpf(x)))
        out("hypot(%s,%s)" % (num(y), num(x)), mpmath.hypot(mpf(y), mpf(x)))
    for n in (0, 1, 5, 10, 20, 52, 60, 100, 1000):
        for k in sorted({0, 1, 2, n // 3, n // 2, n}):
            for name, v in (("comb", mpmath.binomial(n, k)), ("perm", mpmath.ff(n, k))):
                if v < 1e300:
                    out("%s(%d,%d)" % (name, n, k), v)
    for n, k in ((4.5, 2), (7.25, 3.5), (10, 2.5)):
        out("comb(%s,%s)" % (num(n), num(k)), mpmath.binomial(mpf(n), mpf(k)))
    for _ in range(40):
        a, b = rng.randint(-10**9, 10**9), rng.randint(1, 10**6)
        import math
        out("gcd(%d,%d)" % (a, b), math.gcd(a, b))
    for _ in range(40):
        n = rng.randint(1, 9)
        xs = [round(rng.uniform(-100, 100), 3) for _ in range(n)]
        args = ",".join(num(x) for x in xs)
        m = [mpf(x) for x in xs]
        out("max(%s)" % args, max(m))
        out("min(%s)" % args, min(m))
        out("mean(%s)" % args, mpmath.fsum(m) / n)
        s = sorted(m)
        out("median(%s)" % args, s[n // 2] if n % 2 else (s[n // 2 - 1] + s[n // 2]) / 2)
        if n > 1:
            mean = mpmath.fsum(m) / n
            out("variance(%s)" % args, mpmath.fsum((v - mean) ** 2 for v in m) / (n - 1))


def numerical():
    """int and root against mpmath's quadrature and root finder."""
    cases = [("x^2", 0, 3, lambda x: x ** 2), ("sin(x)", 0, 3.141592653589793, mpmath.sin),
             ("exp(-(x^2))", -5, 5, lambda x: mpmath.exp(-x * x)), ("1/(1+x^2)", 0, 100, lambda x: 1 / (1 + x * x)),
             ("sqrt(x)", 0, 2, mpmath.sqrt), ("besselj(x,0)", 0, 30, lambda x: besselj(0, x)),
             ("ln(x)", 1, 10, mpmath.ln), ("cos(10*x)^2", 0, 1, lambda x: mpmath.cos(10 * x) ** 2)]
    for text, a, b, f in cases:
        out("int(%s,x,%s,%s)" % (text, num(a), num(b)), mpmath.quad(f, [a, (a + b) / 2, b]), None, SPECIAL)
    roots = [("x^2-2", 0, 2, lambda x: x * x - 2, 1.4), ("cos(x)-x", 0, 1, lambda x: mpmath.cos(x) - x, 0.7),
             ("besselj(x,0)", 2, 3, lambda x: besselj(0, x), 2.4), ("exp(x)-10", 0, 5, lambda x: mpmath.exp(x) - 10, 2.3),
             ("x^3-x-1", 1, 2, lambda x: x ** 3 - x - 1, 1.3)]
    for text, a, b, f, guess in roots:
        out("root(%s,%s,%s)" % (text, num(a), num(b)), mpmath.findroot(f, guess), None, ELEM)


print("# Made by make_reference.py with mpmath %s at %d digits; see the script." % (mpmath.__version__, mp.dps))
elementary()
bessel()
airy()
legendre()
rest()
numerical()
