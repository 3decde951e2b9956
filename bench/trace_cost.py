#!/usr/bin/env python3
"""Cost of tracing while it is off: rows per second of the same benchmarks in
a build with the tracing calls and one with them compiled out (QRNP_NO_TRACE).

    bench/trace_cost.py TRACED_BENCH NOTRACE_BENCH [ROUNDS] [FILTER]

Runs each benchmark in the two binaries in turn, ROUNDS times (default 7),
and keeps each one's best CPU time: the run least disturbed by other work on
a shared machine. Prints rows per second of both and the cost in per cent.
"""
import json
import re
import subprocess
import sys


def names(binary, bench_filter):
    out = subprocess.run([binary, f"--benchmark_filter={bench_filter}", "--benchmark_list_tests=true"],
                         check=True, capture_output=True, text=True).stdout
    return [line.strip() for line in out.splitlines() if line.strip()]


def ns_per_row(binary, name):
    out = subprocess.run([binary, f"--benchmark_filter=^{re.escape(name)}$", "--benchmark_min_time=0.2",
                          "--benchmark_format=json"], check=True, capture_output=True, text=True).stdout
    b = json.loads(out)["benchmarks"][0]
    return b["cpu_time"] * {"us": 1e3, "ns": 1.0, "ms": 1e6}[b["time_unit"]] / 1000.0


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    traced, notrace = sys.argv[1], sys.argv[2]
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 7
    bench_filter = sys.argv[4] if len(sys.argv) > 4 else "^(Mask|Random)/"
    print(f"{'benchmark':28s} {'tracing off':>12s} {'compiled out':>13s} {'cost':>7s}")
    for name in names(traced, bench_filter):
        t = u = float("inf")
        for _ in range(rounds):
            t = min(t, ns_per_row(traced, name))
            u = min(u, ns_per_row(notrace, name))
        print(f"{name:28s} {1e3 / t:10.2f}M/s {1e3 / u:11.2f}M/s {100 * (t - u) / u:6.1f}%", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
