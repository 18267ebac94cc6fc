# Prints the {line, answer} rows of bignum_test.cpp's mpmath table: each big
# function at 30 and at 60 digits, formatted as the language shows a big
# value (significant digits rounded to nearest, trailing zeros dropped, plain
# for 1e-6 <= |x| < 10^digits). Run with /usr/bin/python3.
import mpmath

CASES = [
    ("sqrt", "2", mpmath.sqrt), ("exp", "1", mpmath.exp), ("ln", "2", mpmath.log),
    ("log", "2", mpmath.log10), ("sin", "1", mpmath.sin), ("cos", "1", mpmath.cos),
    ("tan", "1", mpmath.tan), ("arctan", "\\\"0.5\\\"", mpmath.atan),
    ("arcsin", "\\\"0.5\\\"", mpmath.asin), ("arccos", "\\\"-0.25\\\"", mpmath.acos),
    ("sinh", "\\\"-0.001\\\"", mpmath.sinh), ("cosh", "3", mpmath.cosh), ("tanh", "\\\"0.5\\\"", mpmath.tanh),
    ("exp", "-1000", mpmath.exp), ("sin", "\\\"1e22\\\"", mpmath.sin), ("ln", "\\\"1e-500\\\"", mpmath.log),
]


def shown(v, digits):
    if v == 0:
        return "0"
    s = "-" if v < 0 else ""
    v = abs(v)
    k = int(mpmath.floor(mpmath.log10(v)))
    n = int(mpmath.nint(v * mpmath.mpf(10) ** (digits - 1 - k)))
    if n >= 10 ** digits:
        n //= 10
        k += 1
    d = str(n).rstrip("0") or "0"
    if -6 <= k < digits:
        if k < 0:
            return s + "0." + "0" * (-k - 1) + d
        return s + (d[: k + 1] + "." + d[k + 1:] if len(d) > k + 1 else d + "0" * (k + 1 - len(d)))
    return s + d[0] + ("." + d[1:] if len(d) > 1 else "") + ("e-" if k < 0 else "e+") + str(abs(k))


for digits in (30, 60):
    mpmath.mp.dps = digits + 50
    for name, arg, f in CASES:
        x = mpmath.mpf(arg.replace('\\"', ""))
        print(f'{{"bigdigits={digits},{name}(big({arg}))", "bigdigits <- {digits}\\n\\n{shown(f(x), digits)}"}},')
