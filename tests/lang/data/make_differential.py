#!/usr/bin/python3
"""Makes differential.txt: random expression trees of every arithmetic
operator, numbers, signs, the imaginary unit and the postfix operators,
printed as expression text and valued with mpmath at 50 digits.

Run with /usr/bin/python3 (it needs mpmath):
    /usr/bin/python3 tests/lang/data/make_differential.py > tests/lang/data/differential.txt

Each line: expression TAB real TAB imaginary TAB scale, where scale is the
largest magnitude met on the way (it bounds the rounding error that the
double evaluation may carry after cancellation).

The printer writes the fewest parentheses that keep the tree under the
language's grouping: + and - group from the left with "+" cut first (so the
left operand of "-" is bracketed when it is a sum), * and / likewise with
"*" cut first, ^ groups from the right, and a leading sign binds tighter
than ^ (a negative literal before ^ is its base)."""
import random
import mpmath

mpmath.mp.dps = 50
rng = random.Random(20261122)

def literal():
    k = rng.random()
    if k < 0.45:
        n = rng.randint(0, 20)
        return str(n), mpmath.mpf(n)
    if k < 0.65:
        t = "%d.%d" % (rng.randint(0, 9), rng.randint(1, 99))
        return t, mpmath.mpf(t)
    if k < 0.75:
        t = "%d.%dE%s%d" % (rng.randint(1, 9), rng.randint(0, 9), rng.choice("+-"), rng.randint(0, 3))
        return t, mpmath.mpf(t.replace("E", "e"))
    if k < 0.80:
        n = rng.randint(1, 255)
        return "0x%X" % n, mpmath.mpf(n)
    if k < 0.92:
        return "i", mpmath.mpc(0, 1)
    n = rng.randint(1, 9)
    return "-%d" % n, mpmath.mpf(-n)

class Bad(Exception):
    pass

def build(depth):
    """Returns (text, kind, value, scale); kind is the top operator or
    'atom', 'neg' (a leading sign), 'num-' (a negative literal)."""
    if depth == 0 or rng.random() < 0.25:
        t, v = literal()
        kind = "num-" if t.startswith("-") else "atom"
        if kind == "atom" and rng.random() < 0.08 and t.isdigit() and int(t) <= 8:
            return t + "!", "atom", mpmath.gamma(v + 1), abs(mpmath.gamma(v + 1))
        return t, kind, v, abs(v)
    k = rng.random()
    if k < 0.08:
        t, kind, v, s = build(depth - 1)
        return "-(" + t + ")", "neg", -v, s
    if k < 0.13:
        t, kind, v, s = build(depth - 1)
        return "(" + t + ")'", "atom", mpmath.conj(v), s
    op = rng.choice("+-*/^")
    lt, lk, lv, ls = build(depth - 1)
    rt, rk, rv, rs = build(depth - 1)
    def par(t):
        return "(" + t + ")"
    if op == "+":
        if rk in "+-": rt = par(rt)
        v = lv + rv
    elif op == "-":
        if lk == "+": lt = par(lt)
        if rk in "+-": rt = par(rt)
        v = lv - rv
    elif op == "*":
        if lk in "+-": lt = par(lt)
        if rk in "+-*": rt = par(rt)
        v = lv * rv
    elif op == "/":
        if lk in "+-*": lt = par(lt)
        if rk in "+-*/": rt = par(rt)
        if abs(rv) < mpmath.mpf("1e-6"):
            raise Bad()
        v = lv / rv
    else:
        if lk in "+-*/^" or lk == "neg": lt = par(lt)
        if rk in "+-*/": rt = par(rt)
        if abs(rv) > 12 or abs(lv) > 1e6:
            raise Bad()
        lvc = mpmath.mpc(lv)
        # Keep away from the branch cut, where the sign of a zero imaginary
        # part (which exact arithmetic does not have) decides the answer.
        if lvc.real < 0 and abs(lvc.imag) < mpmath.mpf("1e-9") and mpmath.mpc(rv) != mpmath.nint(mpmath.re(rv)):
            raise Bad()
        if lvc == 0:
            raise Bad()
        v = mpmath.power(lvc, rv)
    s = max(ls, rs, abs(v))
    if s > mpmath.mpf("1e60"):
        raise Bad()
    return lt + op + rt, op, v, s

def fmt(x):
    return mpmath.nstr(mpmath.mpf(x), 20, min_fixed=-30, max_fixed=30)

count = 0
while count < 1500:
    try:
        t, _, v, s = build(rng.randint(1, 5))
    except Bad:
        continue
    v = mpmath.mpc(v)
    print("%s\t%s\t%s\t%s" % (t, fmt(v.real), fmt(v.imag), fmt(s)))
    count += 1
