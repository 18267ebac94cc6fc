# Writes float_reference.txt: big-float operations and functions on random
# dyadic arguments m*2^e, with mpmath's value at 40 more digits than the
# precision under test. Run with /usr/bin/python3 (mpmath); fixed seed.
#   line: name digits m1 e1 [m2 e2] value
import random
import sys

import mpmath

sys.set_int_max_str_digits(0)

random.seed(20261125)
BINARY = ["add", "sub", "mul", "div"]
UNARY = {
    "sqrt": (mpmath.sqrt, lambda: rnd(-3000, 3000, positive=True)),
    "exp": (mpmath.exp, lambda: rnd(-40, 14)),
    "log": (mpmath.log, lambda: rnd(-3000, 3000, positive=True)),
    "sin": (mpmath.sin, lambda: rnd(-60, 100)),
    "cos": (mpmath.cos, lambda: rnd(-60, 100)),
    "tan": (mpmath.tan, lambda: rnd(-60, 40)),
    "atan": (mpmath.atan, lambda: rnd(-200, 200)),
    "asin": (mpmath.asin, lambda: rnd(-60, 0, below_one=True)),
    "acos": (mpmath.acos, lambda: rnd(-60, 0, below_one=True)),
    "sinh": (mpmath.sinh, lambda: rnd(-80, 8)),
    "cosh": (mpmath.cosh, lambda: rnd(-80, 8)),
    "tanh": (mpmath.tanh, lambda: rnd(-80, 8)),
}
BITS = 0  # set per precision


def rnd(lo, hi, positive=False, below_one=False):
    """A random m*2^e with |value| ~ 2^t, t in [lo, hi], m of up to BITS bits."""
    nbits = random.randint(1, BITS)
    m = random.getrandbits(nbits) | 1
    t = random.randint(lo, hi)
    e = t - m.bit_length()
    if below_one:
        e = min(e, -m.bit_length())
    if not positive and random.random() < 0.5:
        m = -m
    return m, e


def value(m, e):
    return mpmath.mpf(m) * mpmath.mpf(2) ** e


def fmt(v, dps):
    return mpmath.nstr(v, dps, strip_zeros=False, min_fixed=1, max_fixed=0).replace("e", "e")


lines = []
# Near multiples of pi/2 for the argument reduction.
for digits, count in [(20, 40), (50, 30), (100, 20), (1000, 6), (10000, 1)]:
    BITS = digits * 3322 // 1000 + 8
    mpmath.mp.dps = digits + 40 + 60
    for _ in range(count):
        for name in BINARY:
            a = rnd(-3000, 3000)
            b = rnd(-3000, 3000) if random.random() < 0.7 else (random.choice([-1, 1]) * (a[0] | 1), a[1] + random.randint(-3, 3))
            x, y = value(*a), value(*b)
            r = {"add": x + y, "sub": x - y, "mul": x * y, "div": x / y}[name]
            if r == 0:
                continue
            lines.append(f"{name} {digits} {a[0]} {a[1]} {b[0]} {b[1]} {fmt(r, digits + 40)}")
        for name, (f, gen) in UNARY.items():
            if digits == 10000 and name not in ("exp", "log", "sin", "sqrt", "atan"):
                continue
            a = gen()
            lines.append(f"{name} {digits} {a[0]} {a[1]} {fmt(f(value(*a)), digits + 40)}")
    # sin and cos next to multiples of pi/2, and pi itself
    for k in [1, 3, 1001, 123456789]:
        mpmath.mp.dps = digits * 3 + 100
        near = mpmath.pi / 2 * k
        m = int(mpmath.floor(near * mpmath.mpf(2) ** (BITS + 2 * k.bit_length())))
        e = -(BITS + 2 * k.bit_length())
        mpmath.mp.dps = digits + 40 + 60
        for name, f in [("sin", mpmath.sin), ("cos", mpmath.cos)]:
            lines.append(f"{name} {digits} {m} {e} {fmt(f(value(m, e)), digits + 40)}")
    mpmath.mp.dps = digits + 60
    lines.append(f"pi {digits} 0 0 {fmt(mpmath.pi, digits + 40)}")

with open(__file__.replace("make_float_reference.py", "float_reference.txt"), "w") as out:
    out.write("\n".join(lines) + "\n")
