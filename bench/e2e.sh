#!/usr/bin/env bash
# nidmask end to end: rows per second and peak resident memory on large
# generated inputs, lines and CSV, with `cat` of the same file as the I/O floor.
#
#   bench/e2e.sh [BUILD_DIR]        (ROWS=10000000 COUNTRIES="FR IT ..." to change)
#
# With BASELINE=OTHER_BUILD_DIR every masking run is made by both builds in
# turn on the same file, so that their ratio comes from one run of the
# machine whatever else it is doing.
#
# For every country: nidmask generates ROWS identifiers (--method random),
# then masks them as lines and as CSV (a row number and the identifier,
# column "nid"), each timed with /usr/bin/time -v; the input is also copied
# with cat. Files live in a temporary directory (TMPDIR) and are removed
# country by country.
set -euo pipefail
build=${1:-build-bench}
rows=${ROWS:-10000000}
countries=${COUNTRIES:-"FR IT UK ES US CA"}
cd "$(dirname "$0")/.."
nidmask="$build/bin/nidmask"
if [ ! -x "$nidmask" ]; then
  echo "e2e: $nidmask is not built (make bench-e2e builds it)" >&2
  exit 1
fi
[ -x /usr/bin/time ] || { echo "e2e: /usr/bin/time is missing (Debian package: time)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/nidmask-e2e.XXXXXX")
trap 'rm -rf "$work"' EXIT

# Runs a command under /usr/bin/time -v; prints "wall_seconds cpu_seconds
# peak_kB". Exit status 1 is nidmask's "rows rejected" (a generated Italian
# number may carry day 00, which masking refuses): the run still counts.
timed() {
  local status=0
  /usr/bin/time -v -o "$work/time" "$@" || status=$?
  if [ "$status" -gt 1 ]; then
    echo "e2e: failed ($status): $*" >&2
    cat "$work/time" >&2
    return 1
  fi
  awk -F': ' '
    /Elapsed \(wall clock\)/ { n = split($2, p, ":"); for (i = 1; i <= n; i++) wall = wall * 60 + p[i] }
    /User time \(seconds\)/ { cpu += $2 }
    /System time \(seconds\)/ { cpu += $2 }
    /Maximum resident set size/ { rss = $2 }
    END { print wall + 0, cpu + 0, rss + 0 }' "$work/time"
}

# One result line: country, what, rows per second of elapsed and of CPU
# time (the machine may be busy with other work), peak resident memory.
report() {
  local cc=$1 what=$2 wall=$3 cpu=$4 rss=$5
  awk -v cc="$cc" -v what="$what" -v rows="$rows" -v wall="$wall" -v cpu="$cpu" -v rss="$rss" 'BEGIN {
    printf "%-3s %-26s %11.0f rows/s %11.0f rows/s (CPU) %8.2f s %7.1f MB\n", cc, what,
      (wall > 0 ? rows / wall : 0), (cpu > 0 ? rows / cpu : 0), wall, rss / 1024 }'
}

echo "rows per run: $rows; nidmask: $nidmask; $(date -u '+%Y-%m-%d %H:%M UTC')"
for cc in $countries; do
  in="$work/$cc.txt"
  if ! read -r wall cpu rss < <(timed "$nidmask" --quiet --country "$cc" --method random --count "$rows" -o "$in"); then
    echo "$cc: generation failed, skipped" >&2
    continue
  fi
  report "$cc" "random (lines)" "$wall" "$cpu" "$rss"
  awk 'BEGIN { print "n,nid" } { print NR "," $0 }' "$in" > "$work/$cc.csv"

  read -r wall cpu rss < <(timed sh -c 'cat "$1" > "$2"' cat "$in" "$work/out")
  report "$cc" "cat (floor)" "$wall" "$cpu" "$rss"
  for run in "" ${BASELINE:+baseline}; do
    bin=$nidmask
    [ -n "$run" ] && bin="$BASELINE/bin/nidmask"
    read -r wall cpu rss < <(timed "$bin" --quiet --country "$cc" -o "$work/out" "$in")
    report "$cc" "mask lines${run:+ ($run)}" "$wall" "$cpu" "$rss"
  done
  for run in "" ${BASELINE:+baseline}; do
    bin=$nidmask
    [ -n "$run" ] && bin="$BASELINE/bin/nidmask"
    read -r wall cpu rss < <(timed "$bin" --quiet --country "$cc" --format csv --column nid -o "$work/out" "$work/$cc.csv")
    report "$cc" "mask csv${run:+ ($run)}" "$wall" "$cpu" "$rss"
  done
  rm -f "$in" "$work/$cc.csv" "$work/out"
done
