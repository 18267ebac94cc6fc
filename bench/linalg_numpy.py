#!/usr/bin/env python3
"""NumPy at the sizes of bench_linalg: median of three runs per operation,
milliseconds. Debian's NumPy calls the libblas.so.3 / liblapack.so.3
alternatives, so it is the OpenBLAS anchor only where OpenBLAS is the chosen
alternative; with the netlib ones it measures the same libraries as
bench_linalg's peer plus NumPy's overhead. Set OPENBLAS_NUM_THREADS=1 to
compare one core with one core. Times are the process's CPU time, as
bench_linalg's CPU column: the machine is shared, and wall time mostly
measures the neighbours. Without OpenBLAS installed, its Debian package can
be unpacked anywhere (dpkg-deb -x libopenblas0-pthread_*.deb dir) and put
first with LD_LIBRARY_PATH=dir/usr/lib/x86_64-linux-gnu/openblas-pthread.
Run with /usr/bin/python3."""
import statistics
import time

import numpy as np

rng = np.random.default_rng(1)
for n in (100, 500, 1000):
    a = rng.uniform(-1, 1, (n, n))
    s = (a + a.T) / 2
    b = rng.uniform(-1, 1, n)
    ops = {
        "lu_solve": lambda: np.linalg.solve(a, b),
        "inverse": lambda: np.linalg.inv(a),
        "det": lambda: np.linalg.det(a),
        "symeig": lambda: np.linalg.eigvalsh(s),
        "eig": lambda: np.linalg.eigvals(a),
        "svd": lambda: np.linalg.svd(a, compute_uv=False),
        "gemm": lambda: a @ a,
    }
    for name, f in ops.items():
        times = []
        for _ in range(3):
            t = time.process_time()
            f()
            times.append(time.process_time() - t)
        print(f"{name:9} {n:5} {1e3 * statistics.median(times):10.2f} ms")
