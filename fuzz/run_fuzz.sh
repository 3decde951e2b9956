#!/usr/bin/env bash
# Fuzzes one target for a bounded time: run_fuzz.sh TARGET SEED_DIR WORK_DIR.
# QRNP_FUZZ_SECONDS sets the time (30 by default). New inputs go to WORK_DIR;
# the seeds are read, never written. Exits non-zero on any finding.
set -euo pipefail
target=$1 seeds=$2 work=$3
mkdir -p "$work"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:symbolize=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
exec "$target" -max_total_time="${QRNP_FUZZ_SECONDS:-30}" -timeout=20 -rss_limit_mb=3072 -print_final_stats=1 \
  -artifact_prefix="$work/../" "$work" "$seeds"
