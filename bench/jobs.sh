#!/usr/bin/env bash
# --jobs N against one process, and one process against cat, end to end.
#
#   bench/jobs.sh [BUILD_DIR]      (ROWS=10000000 COUNTRIES="FR IT ..." JOBS=2 REPEAT=3 to change)
#
# For every country: ROWS generated identifiers (--method random), one per
# line; then a CSV of ROWS records with three identifier columns (FR, US,
# CA) masked by a rules file. On each input, `cat`, `nidmask --jobs 1` and
# `nidmask --jobs JOBS` run REPEAT times in turn; the ratios come from the
# best time of each (other work on the machine only ever slows a run down),
# and the load average is printed beside them. The outputs of --jobs 1 and
# --jobs JOBS are compared, and peak memory is measured again on a tenth of
# the first input (it must not grow with the input).
set -euo pipefail
build=${1:-build-bench}
rows=${ROWS:-10000000}
countries=${COUNTRIES:-"FR IT UK ES US CA"}
jobs=${JOBS:-2}
repeat=${REPEAT:-3}
cd "$(dirname "$0")/.."
. bench/three_columns.sh
nidmask="$build/bin/nidmask"
[ -x "$nidmask" ] || { echo "jobs: $nidmask is not built (make bench-jobs builds it)" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "jobs: /usr/bin/time is missing (Debian package: time)" >&2; exit 1; }
work=$(mktemp -d "${TMPDIR:-/tmp}/nidmask-jobs.XXXXXX")
trap 'rm -rf "$work"' EXIT

# command...: "wall_seconds cpu_seconds peak_kB" (the CPU time and peak of
# the workers included). Exit status 1 (rows rejected) still counts.
timed() {
  local status=0
  /usr/bin/time -f '%e %U %S %M' -o "$work/time" "$@" || status=$?
  [ "$status" -le 1 ] || { echo "jobs: failed ($status): $*" >&2; cat "$work/time" >&2; return 1; }
  tail -n 1 "$work/time" | awk '{ print $1, $2 + $3, $4 }'  # after "Command exited with non-zero status 1"
}

# best NAME command...: runs it; result[NAME] keeps "wall cpu peak_kB" of
# the run with the least wall time so far.
declare -A result
best() {
  local name=$1 wall cpu rss
  shift
  read -r wall cpu rss < <(timed "$@")
  local old=${result[$name]:-}
  if [ -z "$old" ] || awk -v a="$wall" -v b="${old%% *}" 'BEGIN { exit !(a < b) }'; then
    result[$name]="$wall $cpu $rss"
  fi
}

# measure LABEL INPUT ARGS...: cat, --jobs 1 and --jobs $jobs on INPUT, in turn.
measure() {
  local label=$1 in=$2
  shift 2
  result=()
  for ((i = 0; i < repeat; ++i)); do
    best cat sh -c 'cat "$1" > "$2"' cat "$in" "$work/cat.out"
    best one "$nidmask" -q "$@" --jobs 1 -o "$work/one.out" "$in"
    best many "$nidmask" -q "$@" --jobs "$jobs" -o "$work/many.out" "$in"
  done
  local same="same output"
  cmp -s "$work/one.out" "$work/many.out" || same="OUTPUTS DIFFER"
  awk -v label="$label" -v rows="$rows" -v jobs="$jobs" -v same="$same" -v load="$(cut -d' ' -f1 /proc/loadavg)" \
    -v c="${result[cat]}" -v o="${result[one]}" -v m="${result[many]}" 'BEGIN {
      split(c, C, " "); split(o, O, " "); split(m, M, " ")
      printf "%-10s cat %6.2f s | jobs 1 %6.2f s %5.2f M/s %5.1f MB | jobs %d %6.2f s %5.2f M/s %5.1f MB (CPU %6.2f s against %6.2f) | jobs %d / jobs 1 %.2fx | jobs 1 / cat %5.1fx | %s | load %s\n",
        label, C[1], O[1], rows / O[1] / 1e6, O[3] / 1024, jobs, M[1], rows / M[1] / 1e6, M[3] / 1024, M[2], O[2],
        jobs, O[1] / M[1], (C[1] > 0 ? O[1] / C[1] : 0), same, load }'
  rm -f "$work"/*.out
}

echo "rows per input: $rows; --jobs $jobs against --jobs 1, best of $repeat; $(nproc) cores; nidmask: $nidmask; $(date -u '+%Y-%m-%d %H:%M UTC')"
for cc in $countries; do
  "$nidmask" -q --country "$cc" --method random --count "$rows" -o "$work/$cc.txt"
  measure "$cc lines" "$work/$cc.txt" --country "$cc"
  if [ "$cc" = "$(set -- $countries; echo "$1")" ]; then  # peak memory on a tenth of the input
    head -n $((rows / 10)) "$work/$cc.txt" > "$work/tenth.txt"
    read -r _ _ rss < <(timed "$nidmask" -q --country "$cc" --jobs "$jobs" -o "$work/tenth.out" "$work/tenth.txt")
    echo "$cc lines, a tenth of the rows: jobs $jobs peak $((rss / 1024)) MB"
    rm -f "$work/tenth.txt" "$work/tenth.out"
  fi
  case " FR US CA " in *" $cc "*) ;; *) rm -f "$work/$cc.txt" ;; esac
done

# Three columns by a rules file (the countries not generated above are generated now).
three_columns "$nidmask" "$rows" "$work"
measure "CSV rules" "$work/in.csv" --rules "$work/rules.toml"
