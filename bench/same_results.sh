#!/usr/bin/env bash
# Shows that two builds of the provider give the same results: the outputs
# of ROWS rows per country and option set (nidmask_capture's hashes), and the
# trace file of a smaller run with tracing on (pointer values masked).
#
#   bench/same_results.sh BEFORE_BUILD AFTER_BUILD [ROWS]
#
# Build BEFORE_BUILD from the commit before a change, AFTER_BUILD after it,
# both with nidmask_capture. The random generators seed rand() from the
# clock before the capture sets its fixed seed, so the two traced runs start
# together (the same second) and are retried if they straddle one.
set -euo pipefail
before=${1:?usage: same_results.sh BEFORE_BUILD AFTER_BUILD [ROWS]}
after=${2:?usage: same_results.sh BEFORE_BUILD AFTER_BUILD [ROWS]}
rows=${3:-1000000}
work=$(mktemp -d "${TMPDIR:-/tmp}/nidmask-same.XXXXXX")
trap 'rm -rf "$work"' EXIT

"$before/bin/nidmask_capture" "$rows" > "$work/before.txt"
"$after/bin/nidmask_capture" "$rows" > "$work/after.txt"
if ! diff "$work/before.txt" "$work/after.txt"; then
  echo "outputs differ" >&2
  exit 1
fi
echo "outputs: identical ($(grep -c hash "$work/after.txt") runs of $rows rows)"

for attempt in 1 2 3; do
  rm -f "$work"/trace.*
  QRNP_TRACE="$work/trace.before" "$before/bin/nidmask_capture" 300 > /dev/null &
  QRNP_TRACE="$work/trace.after" "$after/bin/nidmask_capture" 300 > /dev/null &
  wait
  for t in before after; do sed -E 's/0x[0-9a-f]+/PTR/g' "$work/trace.$t" > "$work/trace.$t.txt"; done
  if cmp -s "$work/trace.before.txt" "$work/trace.after.txt"; then
    echo "traces: identical ($(wc -l < "$work/trace.after.txt") lines)"
    exit 0
  fi
  sleep 1
done
echo "traces differ:" >&2
diff "$work/trace.before.txt" "$work/trace.after.txt" | head -20 >&2
exit 1
