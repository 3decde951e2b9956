#!/usr/bin/env python3
"""Cost of tracing while it is off: rows per second of the same benchmarks in
a build with the tracing calls and one with them compiled out (QRNP_NO_TRACE).

    bench/trace_cost.py TRACED_BENCH NOTRACE_BENCH [ROUNDS] [FILTER]

Runs the two binaries in turn, ROUNDS times each (default 5), and keeps each
benchmark's best CPU time, the run least disturbed by other work on the
machine. Prints rows per second of both and the cost in per cent.
"""
import json
import subprocess
import sys


def best_times(binary, bench_filter, rounds, best):
    out = subprocess.run([binary, f"--benchmark_filter={bench_filter}", "--benchmark_min_time=0.3",
                          "--benchmark_format=json"], check=True, capture_output=True, text=True).stdout
    for b in json.loads(out)["benchmarks"]:
        ns_per_row = b["cpu_time"] * {"us": 1e3, "ns": 1.0, "ms": 1e6}[b["time_unit"]] / 1000.0
        key = (binary, b["name"])
        best[key] = min(best.get(key, float("inf")), ns_per_row)


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    traced, notrace = sys.argv[1], sys.argv[2]
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    bench_filter = sys.argv[4] if len(sys.argv) > 4 else "^(Mask|Random)/"
    best = {}
    for _ in range(rounds):
        for binary in (traced, notrace):
            best_times(binary, bench_filter, rounds, best)
    names = sorted({name for (_, name) in best})
    print(f"{'benchmark':28s} {'tracing off':>12s} {'compiled out':>13s} {'cost':>7s}")
    for name in names:
        t, u = best.get((traced, name)), best.get((notrace, name))
        if t is None or u is None:
            continue
        print(f"{name:28s} {1e3 / t:10.2f}M/s {1e3 / u:11.2f}M/s {100 * (t - u) / u:6.1f}%")
    return 0


if __name__ == "__main__":
    sys.exit(main())
