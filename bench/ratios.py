#!/usr/bin/env python3
"""Time ratios ours/gmp from Google Benchmark JSON (medians when repeated).

usage: bench_bignum --benchmark_format=json --benchmark_repetitions=5 > out.json
       python3 bench/ratios.py out.json
"""
import json
import statistics
import sys
from collections import defaultdict

runs = defaultdict(list)
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("run_type") == "aggregate":
        continue
    op, who, size = b["run_name"].split("/")
    runs[(op, int(size), who)].append(b["real_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3}[b["time_unit"]])
keys = sorted({(op, size) for op, size, _ in runs})
print(f"{'operation':10} {'size':>9} {'ours':>12} {'gmp':>12} {'ratio':>7}")
for op, size in keys:
    ours, gmp = runs.get((op, size, "ours")), runs.get((op, size, "gmp"))
    if not ours or not gmp:
        continue
    o, g = statistics.median(ours), statistics.median(gmp)
    print(f"{op:10} {size:>9} {o*1e3:>10.3f}ms {g*1e3:>10.3f}ms {o/g:>7.2f}")
