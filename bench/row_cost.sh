#!/usr/bin/env bash
# Instructions per row through Service, counted by callgrind: the same count
# on an idle or a busy machine, so before/after comparisons are exact.
#
#   bench/row_cost.sh [BUILD_DIR] [ROWSETS]
#
# Prints one line per country, method and column type the provider serves.
set -euo pipefail
build=${1:-build-bench}
rowsets=${2:-20}
cd "$(dirname "$0")/.."
tool="$build/bin/nidmask_rowcost"
[ -x "$tool" ] || { echo "build $tool first (make bench)" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "valgrind is not installed" >&2; exit 1; }
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
printf '%-4s %-9s %-8s %12s\n' country method column instr/row
for cc in FR IT UK ES US CA; do
  types="VARCHAR"
  case $cc in US|CA) types="VARCHAR INTEGER" ;; esac
  for type in $types; do
    for method in mask validate random; do
      if ! valgrind --tool=callgrind --toggle-collect=MeasuredRowsets --callgrind-out-file="$out/cg" \
          "$tool" "$cc" "$method" "$type" "$rowsets" >"$out/log" 2>&1; then
        grep -q "Init failed" "$out/log" && continue 2
        echo "$cc $method $type: failed (see below)" >&2; cat "$out/log" >&2; exit 1
      fi
      total=$(sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$out/log")
      printf '%-4s %-9s %-8s %12d\n' "$cc" "$method" "$type" $((total / (rowsets * 1000)))
    done
  done
done
