#!/usr/bin/env bash
# A rules file against chained runs: a CSV of ROWS records with three
# identifier columns (FR, US, CA) masked in one pass with --rules, then with
# three chained single-column runs, with `cat` of the same file as the floor;
# records per second and peak resident memory of each.
#
#   bench/rules_e2e.sh [BUILD_DIR]        (ROWS=10000000 to change; BASELINE=OTHER_BUILD_DIR
#                                          times that build's one pass too, on the same file)
set -euo pipefail
build=${1:-build-bench}
rows=${ROWS:-10000000}
cd "$(dirname "$0")/.."
. bench/three_columns.sh
nidmask="$build/bin/nidmask"
[ -x "$nidmask" ] || { echo "rules_e2e: $nidmask is not built (make bench-e2e builds it)" >&2; exit 1; }
work=$(mktemp -d "${TMPDIR:-/tmp}/nidmask-rules.XXXXXX")
trap 'rm -rf "$work"' EXIT

timed() {  # command...: "wall cpu peak_kB" (exit 1, rows rejected, still counts)
  local status=0
  /usr/bin/time -v -o "$work/time" "$@" || status=$?
  [ "$status" -le 1 ] || { echo "rules_e2e: failed ($status): $*" >&2; cat "$work/time" >&2; return 1; }
  awk -F': ' '/Elapsed \(wall clock\)/ { n = split($2, p, ":"); for (i = 1; i <= n; i++) w = w * 60 + p[i] }
    /User time \(seconds\)/ { c += $2 } /System time \(seconds\)/ { c += $2 }
    /Maximum resident set size/ { r = $2 } END { print w + 0, c + 0, r + 0 }' "$work/time"
}
report() {
  awk -v what="$1" -v rows="$rows" -v wall="$2" -v cpu="$3" -v rss="$4" 'BEGIN {
    printf "%-28s %11.0f records/s %11.0f records/s (CPU) %8.2f s %7.1f MB\n", what,
      (wall > 0 ? rows / wall : 0), (cpu > 0 ? rows / cpu : 0), wall, rss / 1024 }'
}

echo "records: $rows; nidmask: $nidmask; $(date -u '+%Y-%m-%d %H:%M UTC')"
three_columns "$nidmask" "$rows" "$work"

read -r wall cpu rss < <(timed sh -c 'cat "$1" > "$2"' cat "$work/in.csv" "$work/out.csv")
report "cat (floor)" "$wall" "$cpu" "$rss"
read -r wall cpu rss < <(timed "$nidmask" -q --rules "$work/rules.toml" "$work/in.csv" -o "$work/out.csv")
report "rules, one pass" "$wall" "$cpu" "$rss"
if [ -n "${BASELINE:-}" ]; then
  read -r wall cpu rss < <(timed "$BASELINE/bin/nidmask" -q --rules "$work/rules.toml" "$work/in.csv" -o "$work/base.csv")
  report "rules, one pass (baseline)" "$wall" "$cpu" "$rss"
  cmp -s "$work/out.csv" "$work/base.csv" && echo "baseline output identical" || echo "baseline output DIFFERS"
  rm -f "$work/base.csv"
fi
chained() {
  "$1" -q --country FR --format csv --column fr_nir "$2" |
    "$1" -q --country US --format csv --column us_ssn |
    "$1" -q --country CA --format csv --column ca_sin > "$3"
}
read -r wall cpu rss < <(timed sh -c "$(declare -f chained); chained \"\$@\"" chained "$nidmask" "$work/in.csv" "$work/chained.csv")
report "three chained runs" "$wall" "$cpu" "$rss"
cmp -s "$work/out.csv" "$work/chained.csv" && echo "outputs identical" || echo "outputs DIFFER"
