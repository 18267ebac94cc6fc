#!/usr/bin/env python3
"""Start-up and save times of the console, empty and with 10^5 assigned values.

Runs the program on a pseudo-terminal (so the prompt's line feed is flushed at
once): start-up is the time from spawning to the first prompt, save is the
time from the ending blank line to the exit (save and teardown). Both as wall
time and as the process's own CPU time (from /proc/PID/schedstat at the
prompt and the rusage at the exit), since on a shared, loaded machine the
wall time mostly measures the other processes. Medians of several runs.
Usage: session_timing.py PATH_TO_OSTRAVINE [RUNS]"""
import os, pty, select, shutil, statistics, subprocess, sys, tempfile, time

def session(exe, cwd):
    pid, fd = pty.fork()
    if pid == 0:
        os.chdir(cwd)
        os.execv(exe, [exe])
    t0 = time.perf_counter()
    buf = b""
    while b": " not in buf:
        select.select([fd], [], [])
        buf += os.read(fd, 65536)
    t1 = time.perf_counter()
    with open(f"/proc/{pid}/schedstat") as f:
        cpu1 = int(f.read().split()[0]) / 1e9
    os.write(fd, b"\n")
    try:
        while os.read(fd, 65536):
            pass
    except OSError:
        pass
    _, _, usage = os.wait4(pid, 0)
    t2 = time.perf_counter()
    cpu2 = usage.ru_utime + usage.ru_stime
    return t1 - t0, t2 - t1, cpu1, max(cpu2 - cpu1, 0.0)

def measure(exe, cwd, runs):
    s = [session(exe, cwd) for _ in range(runs)]
    return [statistics.median(x[k] for x in s) for k in range(4)]

def main():
    exe = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    for n in (0, 10**4, 10**5):
        d = tempfile.mkdtemp()
        lines = "".join(f"v{k}={k}.5\n" for k in range(n)) + "\n"
        subprocess.run([exe], cwd=d, input=lines.encode(), stdout=subprocess.DEVNULL, check=True)
        size = os.path.getsize(os.path.join(d, "ostravine_auto_save.core"))
        start, save, cpu_start, cpu_save = measure(exe, d, runs)
        print(f"{n:>7} values  state file {size:>9} bytes  start-up {start*1e3:7.1f} ms wall {cpu_start*1e3:7.1f} ms cpu"
              f"  save {save*1e3:7.1f} ms wall {cpu_save*1e3:7.1f} ms cpu")
        shutil.rmtree(d)

main()
