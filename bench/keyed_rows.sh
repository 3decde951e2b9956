#!/usr/bin/env bash
# Keyed encryption and decryption, rows per second of CPU time, per country
# and option set: each run serves a fresh instance 100 rowsets of 1,000
# valid identifiers (its first 100,000 rows, any table it builds included),
# in a process of its own (a US area table is the process's), best of RUNS.
#
#   bench/keyed_rows.sh [BUILD_DIR] [RUNS]
#
# Option sets are operands (see bench/row_cost.cpp): 0x1920=1 the official
# rules, 0x1801/0x1803/0x1804/0x180E/0x1806 the parts (and US area table).
set -euo pipefail
build=${1:-build}
runs=${2:-3}
cd "$(dirname "$0")/.."
tool="$build/bin/nidmask_rowcost"
[ -x "$tool" ] || { echo "build $tool first" >&2; exit 1; }

sets=(
  "FR default" "FR all-parts 0x1801=31" "FR official 0x1920=1"
  "IT default" "IT all-parts 0x1803=7" "IT official 0x1920=1"
  "UK default" "UK prefix 0x1804=1" "UK official 0x1920=1"
  "ES default" "ES official 0x1920=1"
  "US default" "US area 0x180E=1" "US table-2006 0x180E=2" "US table-2008 0x180E=4" "US official 0x1920=1"
  "CA default" "CA head 0x1806=1" "CA official 0x1920=1"
)
printf '%-4s %-12s %12s %12s\n' country options encrypt decrypt
for set in "${sets[@]}"; do
  read -r cc name operands <<<"$set"
  line=$(printf '%-4s %-12s' "$cc" "$name")
  for method in encrypt decrypt; do
    best=0
    for ((i = 0; i < runs; ++i)); do
      rate=$("$tool" "$cc" "$method" VARCHAR 100 $operands | sed -n 's/.* \([0-9.]*\) million rows\/s/\1/p')
      best=$(echo "$rate $best" | awk '{print ($1 > $2) ? $1 : $2}')
    done
    line+=$(printf ' %10s M' "$best")
  done
  echo "$line"
done
