#!/usr/bin/env python3
"""Time ratios ours/peer from Google Benchmark JSON, medians of the repetitions
(the peer is whichever name is not "ours": gmp, mpfr).

usage: bench_bignum --benchmark_format=json --benchmark_repetitions=5 > out.json
       python3 bench/ratios.py out.json

Both CPU time and wall time are shown; on a shared machine the CPU-time
ratio is the steadier of the two.
"""
import json
import statistics
import sys
from collections import defaultdict

UNIT = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
runs = defaultdict(list)
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("run_type") == "aggregate":
        continue
    op, who, size = b["run_name"].split("/")[:3]
    scale = UNIT[b["time_unit"]]
    runs[(op, int(size), who)].append((b["cpu_time"] * scale, b["real_time"] * scale))

peer = next((who for _, _, who in runs if who != "ours"), "gmp")
print(f"{'operation':9} {'size':>8} {'ours cpu':>11} {peer + ' cpu':>11} {'cpu ratio':>9} {'wall ratio':>10}")
for op, size in sorted({(op, size) for op, size, _ in runs}):
    ours, gmp = runs.get((op, size, "ours")), runs.get((op, size, peer))
    if not ours or not gmp:
        continue
    oc, gc = statistics.median(t[0] for t in ours), statistics.median(t[0] for t in gmp)
    ow, gw = statistics.median(t[1] for t in ours), statistics.median(t[1] for t in gmp)
    print(f"{op:9} {size:>8} {oc*1e3:>9.3f}ms {gc*1e3:>9.3f}ms {oc/gc:>9.2f} {ow/gw:>10.2f}")
