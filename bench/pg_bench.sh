#!/usr/bin/env bash
# The extension's cost inside the server, on a throwaway server:
#   bench/pg_bench.sh SOURCE_DIR BUILD_DIR [ROWS]     (make bench-pg; 10,000,000 rows)
# One table of ROWS United States SSNs (text), reloaded before each UPDATE so
# that every run starts from the same table:
#   UPDATE t SET ssn = ssn                      the floor: rewriting every row
#   UPDATE t SET ssn = nidmask.mask_ssn(ssn)
#   UPDATE t SET ssn = md5(ssn)                 a cheap built-in function
# then SELECT count(nidmask.mask_ssn(ssn)) FROM t with 0, 1 and 2 parallel
# workers (best of three). Prints elapsed seconds (psql's \timing), rows per
# second, and for the UPDATEs the CPU seconds of the backend that ran them
# (from its /proc/self/stat), which other load on the machine disturbs less.
set -euo pipefail
SOURCE_DIR=$(cd "$1" && pwd)
BUILD_DIR=$(cd "$2" && pwd)
ROWS=${3:-10000000}
export NIDMASK_PG_SETTINGS="shared_buffers = 4GB
max_wal_size = 32GB
checkpoint_timeout = 1h
autovacuum = off
jit = off"
# shellcheck source=../tests/pg/throwaway_server.sh
. "$SOURCE_DIR/tests/pg/throwaway_server.sh"
start_throwaway_server "$SOURCE_DIR" "$BUILD_DIR"
sql() { "${PSQL[@]}" -d postgres "$@"; }

echo "generating $ROWS SSNs"
"$NIDMASK" --country US --method random --count "$ROWS" -q -o "$TMP/ssn.txt"
sql -c "CREATE EXTENSION nidmask" \
    -c "CREATE UNLOGGED TABLE src (id bigserial, ssn text)" \
    -c "\\copy src (ssn) FROM '$TMP/ssn.txt'" \
    -c "CREATE TABLE t (id bigint, ssn text)"
rm -f "$TMP/ssn.txt"

# Elapsed seconds of a statement (psql's \timing, in milliseconds), and the
# CPU seconds its backend spent (user and system time from /proc/self/stat,
# read by the backend itself before and after): "elapsed cpu".
TICKS=$(getconf CLK_TCK)
timed() {
  local out
  out=$(sql -c "SELECT pg_read_file('/proc/self/stat')" -c '\timing on' -c "$1" -c '\timing off' \
            -c "SELECT pg_read_file('/proc/self/stat')")
  awk -v ticks="$TICKS" '/^Time:/ { ms = $2 } / \(postgres\) / { cpu[n++] = $14 + $15 }
       END { printf "%.2f %.2f", ms / 1000, (cpu[1] - cpu[0]) / ticks }' <<<"$out"
}
reload() {
  sql -c "TRUNCATE t" -c "INSERT INTO t SELECT id, ssn FROM src" -c "VACUUM ANALYZE t" -c "CHECKPOINT"
}

declare -A elapsed cpu
for run in floor mask md5 floor2 mask2; do
  case $run in
    floor*) statement="UPDATE t SET ssn = ssn" ;;
    mask*) statement="UPDATE t SET ssn = nidmask.mask_ssn(ssn)" ;;
    md5) statement="UPDATE t SET ssn = md5(ssn)" ;;
  esac
  reload
  read -r elapsed[$run] cpu[$run] <<<"$(timed "$statement")"
  printf '%-7s %-42s %7s s elapsed %9.0f rows/s   backend CPU %7s s\n' "$run" "$statement" "${elapsed[$run]}" \
    "$(awk -v n="$ROWS" -v s="${elapsed[$run]}" 'BEGIN { print n / s }')" "${cpu[$run]}"
done
awk -v f1="${elapsed[floor]}" -v f2="${elapsed[floor2]}" -v m1="${elapsed[mask]}" -v m2="${elapsed[mask2]}" \
    -v cf1="${cpu[floor]}" -v cf2="${cpu[floor2]}" -v cm1="${cpu[mask]}" -v cm2="${cpu[mask2]}" \
  'function min(a, b) { return a < b ? a : b }
   BEGIN { f = min(f1, f2); m = min(m1, m2); cf = min(cf1, cf2); cm = min(cm1, cm2);
           printf "masking adds %.0f%% to the floor elapsed (best of two: %.2f s against %.2f s), %.0f%% in backend CPU (%.2f s against %.2f s)\n",
                  100 * (m - f) / f, m, f, 100 * (cm - cf) / cf, cm, cf }'

reload
statement="SELECT count(nidmask.mask_ssn(ssn)) FROM t"
settings="SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET min_parallel_table_scan_size = 0"
for workers in 0 1 2; do
  best=
  for _ in 1 2 3; do
    read -r s _ <<<"$(timed "SET max_parallel_workers_per_gather = $workers; $settings; $statement")"
    best=$(awk -v a="$s" -v b="${best:-$s}" 'BEGIN { print (a < b ? a : b) }')
  done
  launched=$(sql -c "SET max_parallel_workers_per_gather = $workers" -c "$settings" \
                 -c "EXPLAIN (ANALYZE, COSTS OFF, TIMING OFF) $statement" | grep -o 'Workers Launched: [0-9]*' ||
             echo "Workers Launched: 0")
  printf 'parallel SELECT, %s workers: %7s s %9.0f rows/s  (%s; best of 3)\n' "$workers" "$best" \
    "$(awk -v n="$ROWS" -v s="$best" 'BEGIN { print n / s }')" "$launched"
done
