#!/usr/bin/python3
"""Writes data/scipy_splines.txt, the reference values of the spline tests:
SciPy's CubicSpline (natural and clamped), Akima1DInterpolator and linear
interp1d, each extrapolating, on a few tables. One case per line:
kind;x...;y...;d1 dn;t:value ... (values printed with repr, 17 digits)."""
import numpy as np
from scipy.interpolate import Akima1DInterpolator, CubicSpline, interp1d

tables = [
    ([0, 1, 2.5, 3, 4.5, 6, 7.2, 9], [0.3, -1.2, 0.8, 2.0, 1.9, -0.5, 0.1, 3.0]),
    (list(range(11)), [0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0]),
    ([1, 3], [2, 5]),
    ([-2, 0.5, 4], [1e3, -2e3, 5e2]),
    ([1e-3 * k * k for k in range(1, 9)], [np.exp(-k) for k in range(1, 9)]),
]
ends = (0.7, -1.3)
lines = []
for x, y in tables:
    x, y = np.array(x, float), np.array(y, float)
    t = np.concatenate([x, (x[:-1] + x[1:]) / 2, [x[0] - 0.7, x[-1] + 1.1], x[0] + (x[-1] - x[0]) * np.array([0.123, 0.77])])
    makers = {
        "linear": lambda: interp1d(x, y, kind="linear", fill_value="extrapolate"),
        "natural": lambda: CubicSpline(x, y, bc_type="natural"),
        "clamped": lambda: CubicSpline(x, y, bc_type=((1, ends[0]), (1, ends[1]))),
        "akima": lambda: (lambda f: lambda v: f(v, extrapolate=True))(Akima1DInterpolator(x, y)),
    }
    for kind, make in makers.items():
        if kind == "akima" and len(x) < 3:
            continue
        f = make()
        v = f(t)
        cells = [kind, " ".join(repr(a) for a in x), " ".join(repr(a) for a in y), f"{ends[0]!r} {ends[1]!r}",
                 " ".join(f"{a!r}:{b!r}" for a, b in zip(t, v))]
        lines.append(";".join(cells))
with open("data/scipy_splines.txt", "w") as out:
    out.write("\n".join(lines) + "\n")
