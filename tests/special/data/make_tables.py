#!/usr/bin/python3
"""Reference values for the special-function tests: mpmath (1.2) at 30 significant
digits (it raises its working precision itself where a hypergeometric sum
cancels), rounded to double; the Legendre values come from the degree
recurrence at 300 digits, checked against legenp (see that section).

One case per line:  name  a  b  c  want_re  want_im  scale
scale is 0 where the error is relative, else the local amplitude of the
function (docs/special.md, Accuracy).  Values beyond the double range are
written as +-inf; values that would be subnormal are left out.

Run:  /usr/bin/python3 make_tables.py > special.txt  (or one section: bessel,
airy, legendre or gamma; the committed table is all four in this order,
about 20 minutes on a loaded two-core machine)
"""
import random
import sys
import mpmath as mp

mp.mp.dps = 30
DBL_MAX = mp.mpf('1.7976931348623157e308')
TINY = mp.mpf('1e-290')


def fmt(v):
    v = mp.mpf(v)
    if abs(v) > DBL_MAX:
        return 'inf' if v > 0 else '-inf'
    return '%.17g' % float(v)


def emit(name, a, b, c, re, im=0, scale=0):
    # integer orders at negative x come back as complex with a zero part
    re, im = mp.re(re), mp.mpf(im)
    mag = max(abs(re), abs(im))
    if mag != 0 and mag < TINY:
        return
    print(' '.join([name, '%.17g' % a, '%.17g' % b, '%.17g' % c,
                    fmt(re), fmt(im), '%.17g' % float(scale)]), flush=True)


def dbl(v):
    return float(mp.mpf(v))


def ev(f, *args):
    # Python floats go in as exact mpf values (legenp, for one, computes
    # with a float argument in double precision somewhere).
    args = [mp.mpf(a) if isinstance(a, float) else a for a in args]
    # A few extreme cases (huge orders far from the argument) need more
    # working precision than mpmath grants by default; the rest are skipped.
    try:
        return f(*args)
    except ValueError:
        try:
            return f(*args, maxprec=40000, maxterms=10 ** 6)
        except ValueError:
            pass
    try:
        # exact zeros (P_l^m(0) with l - m odd) need zeroprec to be reported as 0
        return f(*args, zeroprec=400)
    except ValueError:
        return None


def amplitude(a, x):
    if x <= a:
        return 0
    J, Y = ev(mp.besselj, a, x), ev(mp.bessely, a, x)
    return 0 if J is None or Y is None else mp.sqrt(J ** 2 + Y ** 2)


def emit_bessel(nu, x, all4):
    amp = amplitude(abs(nu), x)
    funcs = [('besselj', mp.besselj), ('bessely', mp.bessely)]
    if all4:
        funcs += [('besseli', mp.besseli), ('besselk', mp.besselk)]
    for name, f in funcs:
        v = ev(f, nu, x)
        if v is not None:
            emit(name, nu, x, 0, v, 0, amp if name in ('besselj', 'bessely') else 0)


# --- Bessel functions ------------------------------------------------------
orders = [0, 1, 2, 3, 5, 10, 20, 50, 100, 0.5, 1.5, 2.5, 1 / 3, 2 / 3, 0.25,
          0.75, 4.2, 7.5, 12.7, 33.3, 75.5, 150.5, 200, 400, 1000,
          2 + 1e-10, 2 - 1e-10, 0.5 + 1e-9, 1e-12,
          -0.5, -1, -2, -1.5, -1 / 3, -2 / 3, -3.7, -10.2, -20.5, -50.5,
          -100.25, -3 + 1e-9, -7]
grid = [10.0 ** (k / 4.0) for k in range(-24, 17)]  # 1e-6 .. 1e4


def bessel_points(nu):
    a = abs(nu)
    xs = set(grid)
    for d in (-2, -1, -0.3, 0, 0.3, 1, 2, 5):
        x = a + d * max(a, 1) ** (1 / 3.0)
        if x > 0:
            xs.add(x)
    for f in (0.5, 0.9, 1.1, 1.5, 2, 3, 10, 30):
        if a > 0:
            xs.add(a * f)
    if a <= 100:
        for m in (1, 2, 5):
            z = dbl(mp.besseljzero(a, m))
            xs.update([z, z * (1 + 1e-9)])
            z = dbl(mp.besselyzero(a, m))
            xs.add(z)
    return sorted(xs)


def bessel_section():
    for nu in orders:
        a = abs(nu)
        for x in bessel_points(nu):
            emit_bessel(nu, dbl(x), x <= 1000)

    # integer orders at negative x (parity)
    for n in (0, 1, 2, 3, 7, -3):
        for x in (-0.3, -2.5, -10.0, -40.0):
            amp = mp.sqrt(mp.besselj(abs(n), -x) ** 2 + mp.bessely(abs(n), -x) ** 2) if -x > abs(n) else 0
            emit('besselj', n, x, 0, mp.besselj(n, x), 0, amp)
            emit('besseli', n, x, 0, mp.besseli(n, x))

    # random orders and arguments over the working range
    rng = random.Random(1)
    for _ in range(700):
        nu = dbl(rng.uniform(-60, 120))
        x = dbl(10 ** rng.uniform(-3, 3.3))
        emit_bessel(nu, x, x <= 700)


# --- Airy functions --------------------------------------------------------
def airy_section():
    axs = set([0.0, 1e-8, -1e-8, 0.5, -0.5, 1, -1, 2, -2, 4.9, 5.1, 30, 99, 102.5,
               -9.9, -10.1, -1000.0, -12345.6])
    for k in range(-200, 101):
        axs.add(k / 2.0)
    for k in range(40):
        axs.add(-10 ** (k / 13.0))
        axs.add(10 ** (k / 20.0))
    for k in (1, 2, 3, 10, 50):
        for z in (mp.airyaizero(k), mp.airybizero(k), mp.airyaizero(k, 1)):
            axs.update([dbl(z), dbl(z) * (1 + 1e-10)])
    for x in sorted(axs):
        amp = mp.sqrt(mp.airyai(x) ** 2 + mp.airybi(x) ** 2) if x < 0 else 0
        emit('airyai', x, 0, 0, mp.airyai(x), 0, amp)
        if x < 700:
            emit('airybi', x, 0, 0, mp.airybi(x), 0, amp)


# --- Associated Legendre functions ---------------------------------------
# The reference is the three-term recurrence in the degree carried out at 300
# digits from the exact double x (P_l^m = (-1)^m (1-x^2)^(m/2) Q_l^m with
# Q_m^m = (2m-1)!!, (l-m) Q_l = (2l-1) x Q_{l-1} - (l+m-1) Q_{l-2}), whose
# rounding error at that precision is far below double resolution; legenp
# itself is slow at degree 500 and loses digits near x = -1 at 30 digits.
# Every value with l <= 50 and |x| <= 0.99 is checked against legenp at 60
# digits, to 1e-20. (Next to x = -1 legenp is off whatever the working
# precision: by 1e-10 relative for P_1^-1(-0.999999).)
def legendre_ref(l, a, x):
    """P_l^a(x) and P_{l-1}^a(x) for a >= 0 at 300 digits."""
    with mp.workdps(300):
        x = mp.mpf(x)
        q0 = mp.mpf(1)
        for k in range(1, a + 1):
            q0 *= 2 * k - 1
        if l == a:
            q, qm = q0, mp.mpf(0)
        else:
            qm, q = q0, (2 * a + 1) * x * q0
            for k in range(a + 2, l + 1):
                qm, q = q, ((2 * k - 1) * x * q - (k + a - 1) * qm) / (k - a)
        f = (-1) ** a * ((1 - x) * (1 + x)) ** (mp.mpf(a) / 2)
        return f * q, f * qm


def legendre_scale(l, a, x, P, Pm):
    # WKB envelope of u = sqrt(sin t) P in t = arccos x, where
    # u'' + k^2 u = 0 with k^2 = (l+1/2)^2 - (a^2-1/4)/sin^2 t; 0 outside the
    # oscillatory range (the error is then relative).
    if abs(x) >= 1:
        return 0
    with mp.workdps(60):
        x = mp.mpf(x)
        s2 = (1 - x) * (1 + x)
        k2 = (l + mp.mpf(1) / 2) ** 2 - (mp.mpf(a) ** 2 - mp.mpf(1) / 4) / s2
        if k2 <= 0:
            return 0
        dPdx = ((l + a) * Pm - l * x * P) / s2  # (1-x^2) P' = (l+a) P_{l-1} - l x P_l
        s = mp.sqrt(s2)
        u = mp.sqrt(s) * P
        du = -s * mp.sqrt(s) * dPdx + x / (2 * mp.sqrt(s)) * P  # d/dt, dx/dt = -sin t
        return mp.sqrt(u ** 2 + (du / mp.sqrt(k2)) ** 2) / mp.sqrt(s)


def legendre_case(l, m, x):
    a = abs(m)
    P, Pm = legendre_ref(l, a, x)
    scale = legendre_scale(l, a, x, P, Pm)
    if m < 0:
        c = (-1) ** a * mp.factorial(l - a) / mp.factorial(l + a)  # P_l^-a = c P_l^a
        P, scale = P * c, scale * abs(c)
    if l <= 50 and abs(x) <= 0.99 and P != 0:
        with mp.workdps(60):
            check = ev(mp.legenp, l, m, x)
        assert check is not None and abs(check - P) <= mp.mpf('1e-20') * max(abs(P), 1e-300), (l, m, x)
    emit('legendre', x, l, m, P, 0, scale)


def legendre_section():
    rng = random.Random(2)
    lxs = [-1.0, -0.999999, -0.99, -0.9, -0.5, -0.1, 0.0, 1e-9, 0.3, 0.5,
           0.7071067811865476, 0.9, 0.99, 0.999999, 1.0]
    for l in (0, 1, 2, 3, 5, 10, 20, 50, 100, 200, 300, 500):
        ms = sorted(set([0, 1, 2, l // 2, l - 1, l, -1, -(l // 2), -l]))
        for m in ms:
            if abs(m) > l:
                continue
            xs = list(lxs) + [dbl(rng.uniform(-1, 1)) for _ in range(6)]
            for x in xs:
                legendre_case(l, m, x)


# --- Gamma family ----------------------------------------------------------
def comb(n, k):
    return mp.gamma(n + 1) / (mp.gamma(k + 1) * mp.gamma(n - k + 1))

def gamma_section():
    rng = random.Random(3)
    gxs = set([1e-300, 1e-10, -1e-10, 0.5, 1, 1.5, 2, 2.5, 3, 10, 20.5, 100.25, 170,
               171.5, 171.7, -0.5, -1.5, -2.5, -1 + 1e-9, -2 - 1e-9, -5.25, -20.5,
               -100.3, -150.75, -169.9, -170.5, -175.25, -180.5])
    for k in range(-400, 401):
        x = k / 7.0 + 0.03
        if x < 171:
            gxs.add(x)
    for x in sorted(gxs):
        emit('gamma', x, 0, 0, mp.gamma(x))
        if (x - 1) + 1 == x:  # the argument x - 1 is exact
            emit('factorial', x - 1, 0, 0, mp.gamma(x))
    lxs2 = sorted(set(list(gxs) + [1e5, 1e10, 1e20, 1e100, 1e300, 3e307, -1e5 - 0.5, -1e10 - 0.25]))
    for x in lxs2:
        if x in (1.0, 2.0):
            continue  # zeros of log-gamma: covered by the exact checks
        emit('lgamma', x, 0, 0, mp.log(abs(mp.gamma(x))))
    for n in range(0, 171):
        emit('factorial', n, 0, 0, mp.factorial(n))

    for _ in range(500):
        re = dbl(rng.uniform(-25, 25))
        im = dbl(rng.uniform(-25, 25))
        g = mp.gamma(mp.mpc(re, im))
        mag = abs(g)
        if mag > TINY and mag < DBL_MAX:
            print('cgamma %.17g %.17g 0 %s %s %.17g' % (re, im, fmt(g.real), fmt(g.imag), float(mag)))
    for re, im in ((0.5, 1e-10), (-2.5, 0.5), (1e-8, 1e-8), (150.2, 3.0), (-150.5, 0.25),
                   (0.5, 80.0), (2.0, -100.0), (-10.0, 1.0), (1.0, 0.0), (-3.5, 0.0)):
        g = mp.gamma(mp.mpc(re, im))
        print('cgamma %.17g %.17g 0 %s %s %.17g' % (re, im, fmt(g.real), fmt(g.imag), float(abs(g))))

    for n in (0, 1, 5, 10, 20, 30, 52, 60, 100, 500, 1000, 1029):
        for k in sorted(set([0, 1, 2, n // 3, n // 2, n - 1, n])):
            if 0 <= k <= n:
                emit('comb', n, k, 0, mp.binomial(n, k))
                emit('perm', n, k, 0, mp.ff(n, k))
    for n, k in ((5.5, 2.0), (10.25, 3.5), (100.5, 50.25), (7.0, 2.5), (0.5, 0.25), (30.3, 29.9)):
        emit('comb', n, k, 0, comb(n, k))
        emit('perm', n, k, 0, mp.gamma(n + 1) / mp.gamma(n - k + 1))



SECTIONS = {'bessel': bessel_section, 'airy': airy_section,
            'legendre': legendre_section, 'gamma': gamma_section}

if __name__ == '__main__':
    for name in sys.argv[1:] or list(SECTIONS):
        SECTIONS[name]()
