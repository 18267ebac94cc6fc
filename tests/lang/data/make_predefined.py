#!/usr/bin/python3
"""Writes predefined.txt: the rest of the language's predefined functions of
real (and complex) arguments at the edges of their domains, in the format of
elementary.txt, with values from mpmath at 40 digits (mpmath raises its
working precision itself where a series cancels). Run with the Python that
has mpmath:

    /usr/bin/python3 tests/lang/data/make_predefined.py > tests/lang/data/predefined.txt

Each line: class, function, the arguments (repr of the double), the real and
imaginary part of the true value, and for class "wave" the local amplitude
of an oscillating function (sqrt(J^2+Y^2), sqrt(Ai^2+Bi^2), the envelope of
j_n and y_n): there the error counts in ulps of the amplitude, since next to
a zero the value itself is the rounding of a cancellation. Class "real"
counts in ulps of the value; "complex" in ulps of the larger part (the
normwise relative error). elementary_test.cpp holds the bounds.
"""
import math
import sys
import random
from mpmath import mp, mpf, mpc
import mpmath

mp.dps = 40
DBL_MAX = mpf('1.7976931348623157e308')
DBL_TINY = mpf('2.2250738585072014e-308')


def text(x):
    return repr(float(x))


def emit(cls, name, args, value, scale=None):
    if value is None:
        return
    v = mpc(value)
    if max(abs(v.real), abs(v.imag)) > DBL_MAX * 2:
        return
    if v != 0 and max(abs(v.real), abs(v.imag)) < DBL_TINY:
        return  # subnormal results are not held to the bound
    parts = "\t".join(text(a) for a in args)
    line = "%s\t%s\t%s\t%s\t%s" % (cls, name, parts, mpmath.nstr(v.real, 30), mpmath.nstr(v.imag, 30))
    if scale is not None:
        line += "\t" + mpmath.nstr(scale, 20)
    print(line)


def ev(f, *args, **kw):
    """f(*args), or None where mpmath cannot settle the value (huge orders
    far from the argument); those cases are left out."""
    try:
        return f(*args, **kw)
    except Exception:
        try:
            return f(*args, maxprec=20000, maxterms=10 ** 6, **kw)
        except Exception:
            return None


def m(x):
    return mpf(x) if isinstance(x, float) else x


TINY = [5e-324, 1e-300, 1e-100, 1e-20, 1e-8, 1e-3]


def bessel_rows():
    orders = [0.0, 1.0, 2.0, 0.5, 1.0 / 3, 2.5, 10.0, 50.0, 100.25, -0.5, -1.0, -2.5, 1000.0]
    xs = [1e-300, 1e-20, 1e-5, 0.1, 1.0, 2.0, 5.5, 19.9, 20.1, 50.0, 1e3, 1e5, 1e10, 1e300]
    for nu in orders:
        for x in xs:
            J, Y = ev(mpmath.besselj, m(nu), m(x)), ev(mpmath.bessely, m(nu), m(x))
            amp = mpmath.sqrt(J ** 2 + Y ** 2) if x > abs(nu) and J is not None and Y is not None else None
            emit("wave" if amp else "real", "besselj", (x, nu), J, amp)
            emit("wave" if amp else "real", "bessely", (x, nu), Y, amp)
            if x <= 1e5:
                emit("real", "besseli", (x, nu), ev(mpmath.besseli, m(nu), m(x)))
                emit("real", "besselk", (x, nu), ev(mpmath.besselk, abs(m(nu)), m(x)))
    # next to the first zeros of J_0, J_1 and Y_0
    for nu, k in [(0.0, 1), (0.0, 2), (1.0, 1), (0.0, 10)]:
        z = float(mpmath.besseljzero(m(nu), k))
        J, Y = mpmath.besselj(m(nu), m(z)), mpmath.bessely(m(nu), m(z))
        emit("wave", "besselj", (z, nu), J, mpmath.sqrt(J ** 2 + Y ** 2))
        zy = float(mpmath.besselyzero(m(nu), k))
        J, Y = mpmath.besselj(m(nu), m(zy)), mpmath.bessely(m(nu), m(zy))
        emit("wave", "bessely", (zy, nu), Y, mpmath.sqrt(J ** 2 + Y ** 2))


def airy_rows():
    for x in [-1e4, -100.5, -10.0, -2.338107410459767, -1.0, -1e-10, 0.0, 1e-10, 0.5, 1.0, 2.0, 10.0, 50.0, 100.0]:
        ai, bi = mpmath.airyai(m(x)), mpmath.airybi(m(x))
        amp = mpmath.sqrt(ai ** 2 + bi ** 2) if x < -1 else None
        emit("wave" if amp else "real", "airya", (x,), ai, amp)
        emit("wave" if amp else "real", "airyb", (x,), bi, amp)


def legendre_ref(l, mm, x):
    """P_l^m(x) with the Condon-Shortley phase by the degree recurrence at
    100 digits (exact arithmetic on the double x)."""
    with mp.workdps(100):
        x = mpf(x)
        a = abs(mm)
        p = (-1) ** a * mpmath.fac2(2 * a - 1) * (1 - x * x) ** (mpf(a) / 2)
        p0, p1 = p, (2 * a + 1) * x * p
        if l == a:
            v = p0
        else:
            for k in range(a + 2, l + 1):
                p0, p1 = p1, ((2 * k - 1) * x * p1 - (k + a - 1) * p0) / (k - a)
            v = p1
        if mm < 0:
            v *= (-1) ** a * mpmath.factorial(l - a) / mpmath.factorial(l + a)
        return +v


def legendre_rows():
    for l, mm in [(0, 0), (1, 0), (1, 1), (2, 1), (5, -3), (10, 0), (10, 10), (50, 2), (200, 0), (200, 100)]:
        for x in [-1.0, -0.999999, -0.5, 0.0, 1e-10, 0.3, 0.9, 0.999999, 1.0]:
            v = legendre_ref(l, mm, x)
            # between the turning points the error counts against the largest
            # |P| over one oscillation, dx = pi sqrt(1 - x^2) / (l + 1/2)
            env = None
            if l > 1 and abs(x) < 0.99:
                dx = math.pi * math.sqrt(1 - x * x) / (l + 0.5)
                env = max(abs(legendre_ref(l, mm, x + k * dx / 16)) for k in range(-8, 9)
                          if abs(x + k * dx / 16) <= 1)
            emit("wave" if env else "real", "legendre", (x, float(l), float(mm)), v, env)


def gamma_rows():
    xs = [1e-300, 1e-20, 1e-8, 0.5, 1.0, 1.5, 2.0, 2.5, 3.0 + 1e-15, 10.1, 100.5, 170.6, 171.5, -0.5, -1.5,
          -2.5, -1e-10, -3.0000001, -31.11, -170.5, -184.5]
    for x in xs:
        emit("real", "gamma", (x, 0.0), mpmath.gamma(m(x)))
        emit("real", "fact", (x, 0.0), mpmath.gamma(m(x) + 1))
        if x > 0:
            emit("real", "lgamma", (x, 0.0), mpmath.loggamma(m(x)))
    for x in [0.9999999, 1.0000001, 1.9999999, 2.0000001, 1e5, 1e300, -2.4570247382208006, -2.5, -1e-10]:
        v = mpmath.loggamma(m(x)) if x > 0 else mpmath.loggamma(mpc(m(x), 0))
        emit("real" if x > 0 else "complex", "lgamma", (x, 0.0), v)
    zs = [(1, 1), (0.5, 10), (-0.5, 0.5), (-10.5, 1e-3), (-3.0000001, 1e-8), (150.2, 3), (5, 100), (0.1, -150),
          (1e-10, 1e-10), (-100.3, 2), (30, -30), (2, 1e-300), (-1500.5, 0.5), (170, 1), (3, 400)]
    for a, b in zs:
        z = mpc(m(float(a)), m(float(b)))
        emit("complex", "lgamma", (float(a), float(b)), mpmath.loggamma(z))
        emit("complex", "gamma", (float(a), float(b)), mpmath.gamma(z))
        emit("complex", "fact", (float(a), float(b)), mpmath.gamma(z + 1))
    for n, k in [(5.0, 2.0), (10.5, 3.25), (100.5, 50.0), (1029.0, 514.0), (1e4 + 0.5, 20.0), (2.5, 4.5), (0.5, 0.25),
                 (3000.5, 1500.25), (60.0, 30.0), (1e-10, 1e-10)]:
        emit("real", "comb", (n, k), mpmath.binomial(m(n), m(k)))
        emit("real", "perm", (n, k), mpmath.rf(m(n) - m(k) + 1, m(k)))
    for a, b in [(12.0, 18.0), (0.0, 5.0), (2.0 ** 53, 6.0), (-48.0, 180.0), (9007199254740881.0, 9007199254740847.0)]:
        emit("real", "gcd", (a, b), mpmath.mpf(math.gcd(int(a), int(b))))


def new_function_rows():
    rnd = random.Random(22)
    for x in [1e-300, 1e-10, 0.1, 1.0, 1.4616321449683622, 1.46163214496836, 1.5, 2.0, 10.0, 1e5, 1e300, -0.5,
              -1e-10, -2.5, -10.3, -100.9] + [rnd.uniform(-20, 40) for _ in range(20)]:
        emit("real", "digamma", (x,), mpmath.digamma(m(x)))
    for k in range(0, 5):  # next to the negative zeros, in ulps of 1
        z = float(mpmath.findroot(mpmath.digamma, -k - 0.5 + 0.1 * (k > 0)))
        emit("wave", "digamma", (z,), mpmath.digamma(m(z)), 1)
    for a, b in [(2.0, 3.0), (0.5, 0.5), (1e-10, 1.0), (1e-300, 2.0), (100.0, 200.0), (1e4, 1e4), (1e6, 2.5),
                 (-0.5, 2.0), (-2.5, 0.7), (30.5, 1e5), (1e-5, 1e10), (3.0, -3.5)] + \
            [(rnd.uniform(0, 50), rnd.uniform(0, 50)) for _ in range(20)]:
        emit("real", "beta", (a, b), mpmath.beta(m(a), m(b)))
    for a in [1e-10, 0.01, 0.5, 1.0, 2.5, 10.0, 100.0, 1e4, 1e6]:
        for x in sorted({1e-10, 0.1, 1.4, 1.6, 0.5 * a, a, a + 1, 2 * a, 10 * a + 10, max(a - math.sqrt(a), 1e-3)}):
            p = ev(mpmath.gammainc, m(a), 0, m(x), regularized=True)
            q = ev(mpmath.gammainc, m(a), m(x), mpmath.inf, regularized=True)
            emit("real", "gammainc", (a, x), p)
            emit("real", "gammaincc", (a, x), q)
    for a in [0.1, 1.0, 2.5, 10.0, 100.0, 1e4]:
        for b in [0.1, 1.0, 2.5, 10.0, 100.0, 1e4]:
            for x in [1e-10, 0.01, 0.3, 0.5, 0.9, 0.999]:
                emit("real", "betainc", (a, b, x), ev(mpmath.betainc, m(a), m(b), 0, m(x), regularized=True))
    for x in [1e-300, 1e-10, 0.1, 0.5, 0.9, 1.0, 2.0, 5.0, 10.0, 26.0, -0.5, -3.0, -10.0] + \
            [rnd.uniform(-6, 6) for _ in range(20)]:
        emit("real", "erf", (x,), mpmath.erf(m(x)))
        emit("real", "erfc", (x,), mpmath.erfc(m(x)))
    for y in [1e-300, 1e-10, 0.1, 0.5, 0.9, 0.99, 0.999999, 1 - 2.0 ** -53, -0.7, -(1 - 1e-10)] + \
            [rnd.uniform(-1, 1) for _ in range(20)]:
        emit("real", "erfinv", (y,), mpmath.erfinv(m(y)))
    for s in [-400.5, -101.0, -41.0, -20.0, -19.5, -2.0, -1.0, -0.5, 1e-10, 0.5, 0.99, 1.0000001, 1 + 2.0 ** -40,
              2.0, 3.0, 10.0, 50.0, 64.0, 120.0] + [rnd.uniform(-30, 30) for _ in range(20)]:
        emit("real", "zeta", (s, 0.0), mpmath.zeta(m(s)))
    for a, b in [(0.5, 1.0), (2.0, 3.0), (-3.0, 4.0), (0.5, 100.0), (10.0, -20.0), (-20.5, 5.0), (0.5, 1000.0),
                 (1.0, 1e-10), (1e-3, 1e-3), (150.0, 1.0), (-0.5, -0.5)] + \
            [(rnd.uniform(-10, 10), rnd.uniform(-60, 60)) for _ in range(20)]:
        emit("complex", "zeta", (a, b), mpmath.zeta(mpc(m(a), m(b))))
    t0 = 14.134725141734695
    emit("wave", "zeta", (0.5, t0), mpmath.zeta(mpc(0.5, m(t0))), 1)
    for x in [-1e300, -1e10, -2.0, -1.0, -0.6, -0.5, -1e-10, 1e-300, 0.3, 0.5, 0.7, 0.99, 1 - 2.0 ** -53, 1.0,
              1.5, 2.0, 12.5, 1e10] + [rnd.uniform(-10, 1) for _ in range(20)]:
        emit("real" if x <= 1 else "complex", "li2", (x,), mpmath.polylog(2, m(x)))
    # the double next to -1/e inside the domain
    b = math.nextafter(float(-1 / mpmath.e), 0) if float(-1 / mpmath.e) < -1 / mpmath.e else float(-1 / mpmath.e)
    for x in [b, -0.3678794411, -0.3, -1e-300, 1e-300, 1e-10, 0.5, 1.0, 2.718281828459045,
              10.0, 1e10, 1e300] + [rnd.uniform(-0.36, 5) for _ in range(20)]:
        emit("real", "lambertw", (x, 0.0), mpmath.lambertw(m(x)))
    for x in [b, -0.3678794411, -0.3, -0.1, -1e-10, -1e-300] + \
            [rnd.uniform(-0.367, 0) for _ in range(20)]:
        emit("real", "lambertw", (x, -1.0), mpmath.lambertw(m(x), -1))
    for mm in [-1e300, -1e10, -10.0, -1.0, -1e-10, 0.0, 1e-10, 0.5, 0.9, 0.99999, 1 - 2.0 ** -52, 1 - 2.0 ** -53] + \
            [rnd.uniform(-5, 1) for _ in range(20)]:
        emit("real", "ellipk", (mm,), mpmath.ellipk(m(mm)))
        emit("real", "ellipe", (mm,), mpmath.ellipe(m(mm)))
    emit("real", "ellipe", (1.0,), mpmath.ellipe(1))
    for n in [0, 1, 2, 5, 10, 50, 100, 1000]:
        for x in [1e-10, 0.1, 1.0, 3.0, 10.0, 49.0, 100.0, 1e4, 1e10, -2.5]:
            if x < 0:
                emit("real", "sphbesselj", (x, float(n)), sphj(n, m(x)))
                continue
            j, y = sphj(n, m(x)), sphy(n, m(x))
            amp = mpmath.sqrt(j ** 2 + y ** 2) if x > n and j is not None and y is not None else None
            emit("wave" if amp else "real", "sphbesselj", (x, float(n)), j, amp)
            emit("wave" if amp else "real", "sphbessely", (x, float(n)), y, amp)
    for x in [-700.0, -50.0, -10.0, -1.0, -1e-10, -1e-300, 1e-300, 1e-10, 0.1, 0.3725074107813666, 0.37250741,
              0.4, 1.0, 10.0, 40.0, 50.0, 60.0, 100.0, 700.0, 716.0] + [rnd.uniform(-30, 60) for _ in range(20)]:
        emit("real", "ei", (x,), mpmath.ei(m(x)))
    for x in [1e-300, 1e-10, 0.1, 1.0, 1.5, 2.0, 10.0, 100.0, 700.0] + [rnd.uniform(0, 30) for _ in range(20)]:
        emit("real", "expint", (x,), mpmath.e1(m(x)))


def sphj(n, x):
    v = ev(mpmath.besselj, n + mpf(1) / 2, abs(x))
    return None if v is None else mpmath.sqrt(mpmath.pi / (2 * abs(x))) * v * (-1 if x < 0 and n % 2 else 1)


def sphy(n, x):
    v = ev(mpmath.bessely, n + mpf(1) / 2, x)
    return None if v is None else mpmath.sqrt(mpmath.pi / (2 * x)) * v


def main():
    print("# Made by make_predefined.py with mpmath %s at 40 digits; see the script." % mpmath.__version__)
    sections = [bessel_rows, airy_rows, legendre_rows, gamma_rows, new_function_rows]
    only = sys.argv[1:]
    for f in sections:
        if not only or f.__name__ in only:
            f()


main()
