#!/usr/bin/env bash
# nidmask end to end: rows per second and peak resident memory on large
# generated inputs, lines and CSV, with `cat` of the same file as the I/O floor.
#
#   bench/e2e.sh [BUILD_DIR]        (ROWS=10000000 COUNTRIES="FR IT ..." to change)
#
# For every country: nidmask generates ROWS identifiers (--method random),
# then masks them as lines and as CSV (one column), each timed with
# /usr/bin/time -v; the input is also copied with cat. Files live in a
# temporary directory (TMPDIR) and are removed country by country.
set -euo pipefail
build=${1:-build-bench}
rows=${ROWS:-10000000}
countries=${COUNTRIES:-"FR IT UK ES US CA"}
cd "$(dirname "$0")/.."
nidmask="$build/bin/nidmask"
if [ ! -x "$nidmask" ]; then
  echo "e2e: $nidmask is not built (nidmask is not in this tree yet)" >&2
  exit 1
fi
[ -x /usr/bin/time ] || { echo "e2e: /usr/bin/time is missing (Debian package: time)" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/nidmask-e2e.XXXXXX")
trap 'rm -rf "$work"' EXIT

# Runs a command under /usr/bin/time -v; prints "seconds peak_kB".
timed() {
  /usr/bin/time -v -o "$work/time" "$@" || { echo "e2e: failed: $*" >&2; cat "$work/time" >&2; return 1; }
  local wall rss
  wall=$(sed -n 's/.*Elapsed (wall clock) time (h:mm:ss or m:ss): //p' "$work/time" |
    awk -F: '{ s = 0; for (i = 1; i <= NF; i++) s = s * 60 + $i; print s }')
  rss=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time")
  echo "$wall $rss"
}

# One result line: country, what, rows per second, peak resident memory.
report() {
  local cc=$1 what=$2 wall=$3 rss=$4
  awk -v cc="$cc" -v what="$what" -v rows="$rows" -v wall="$wall" -v rss="$rss" 'BEGIN {
    rate = wall > 0 ? rows / wall : 0
    printf "%-3s %-16s %12.0f rows/s %9.2f s %8.1f MB\n", cc, what, rate, wall, rss / 1024 }'
}

echo "rows per run: $rows; nidmask: $nidmask; $(date -u '+%Y-%m-%d %H:%M UTC')"
for cc in $countries; do
  in="$work/$cc.txt"
  if ! read -r wall rss < <(timed "$nidmask" --country "$cc" --method random --count "$rows" -o "$in"); then
    echo "$cc: generation failed, skipped" >&2
    continue
  fi
  report "$cc" "random (lines)" "$wall" "$rss"
  sed 's/^/"/; s/$/"/' "$in" > "$work/$cc.csv"

  read -r wall rss < <(timed sh -c 'cat "$1" > "$2"' cat "$in" "$work/out")
  report "$cc" "cat (floor)" "$wall" "$rss"
  read -r wall rss < <(timed "$nidmask" --country "$cc" -o "$work/out" "$in")
  report "$cc" "mask lines" "$wall" "$rss"
  read -r wall rss < <(timed "$nidmask" --country "$cc" --format csv -o "$work/out" "$work/$cc.csv")
  report "$cc" "mask csv" "$wall" "$rss"
  rm -f "$in" "$work/$cc.csv" "$work/out"
done
