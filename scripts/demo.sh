#!/usr/bin/env bash
# Masks the bundled examples with nidmask and shows source and result side
# by side: every examples/<cc>.txt with country <cc>, the columns of
# examples/people.csv and of a SQLite database built from examples/people.sql
# that are named <cc>_<what>. A country whose module is not in this build is
# named and skipped.
set -euo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
nidmask="$build/bin/nidmask"
if [ ! -x "$nidmask" ]; then
  echo "nidmask is not built: run make demo" >&2
  exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# True when the provider initialises for country $1 (Init fails with exit 3 otherwise).
has_module() { "$nidmask" --country "$1" --quiet </dev/null >/dev/null 2>&1; }

# The countries of the <cc>_ column names in a list of names.
country_of() { echo "${1%%_*}" | tr a-z A-Z; }

# Pairs lines of $1 (source) and $2 (result) and adds, for rejected rows
# (report $3), the reason instead of the empty result.
side_by_side() {
  paste -d '\t' "$1" "$2" | awk -F'\t' -v report="$3" -v width="$4" '
    BEGIN {
      while ((getline line < report) > 0)
        if (line ~ /"rejected":true/ && match(line, /"row":[0-9]+/)) {
          row = substr(line, RSTART + 6, RLENGTH - 6)
          if (match(line, /"text":"[^"]*"/)) why[row] = "rejected: " substr(line, RSTART + 8, RLENGTH - 9)
        }
    }
    { printf "  %-" width "s  %s\n", $1, (NR in why ? why[NR] : $2) }'
}

"$nidmask" --version | paste -sd' ' | sed 's/ provider /, provider /'

for file in examples/*.txt; do
  [ -e "$file" ] || continue
  cc=$(basename "$file" .txt | cut -c1-2 | tr a-z A-Z)
  echo
  if ! has_module "$cc"; then
    echo "== $file: no $cc module in this build yet"
    continue
  fi
  echo "== $file  (nidmask --country $cc --validate $file)"
  "$nidmask" --country "$cc" --validate --on-reject empty --quiet --report "$work/report" "$file" >"$work/out" || true
  printf '  %-24s  %s\n' source masked
  side_by_side "$file" "$work/out" "$work/report" 24
done

echo
echo "== Random identifiers (nidmask --country CC --method random --count 3)"
for cc in FR IT UK ES US CA; do
  has_module "$cc" || continue
  printf '  %s  %s\n' "$cc" "$("$nidmask" --country "$cc" --method random --count 3 --quiet | paste -sd' ')"
done

# CSV: each <cc>_ column of the header, one run per column.
csv=examples/people.csv
if [ -e "$csv" ]; then
  echo
  cp "$csv" "$work/masked.csv"
  masked=()
  for column in $(head -n1 "$csv" | tr -d '\r' | tr ',' ' '); do
    [[ $column =~ ^[a-z][a-z]_ ]] || continue
    cc=$(country_of "$column")
    if has_module "$cc"; then
      "$nidmask" --country "$cc" --format csv --column "$column" --on-reject empty --quiet \
        "$work/masked.csv" -o "$work/next.csv" || true
      mv "$work/next.csv" "$work/masked.csv"
      masked+=("$column")
    fi
  done
  echo "== $csv  (nidmask --format csv --column C --on-reject empty, for ${masked[*]:-no column})"
  tr -d '\r' <"$csv" >"$work/source.csv"
  tr -d '\r' <"$work/masked.csv" >"$work/result.csv"
  width=$(awk '{ if (length > w) w = length } END { print w }' "$work/source.csv")
  printf "  %-${width}s  %s\n" source masked
  paste -d '\t' "$work/source.csv" "$work/result.csv" | awk -F'\t' -v w="$width" '{ printf "  %-" w "s  %s\n", $1, $2 }'
fi

# Rules: the three identifier columns of the CSV example in one pass.
rules=examples/people.rules.toml
if [ -e "$rules" ] && [ -e "$csv" ]; then
  echo
  echo "== $csv with $rules  (nidmask --rules $rules $csv)"
  "$nidmask" --rules "$rules" "$csv" --quiet | tr -d '\r' | sed 's/^/  /' || true
fi

# SQLite: a database built from the SQL example, masked in place: every
# identifier column of the person table in one transaction.
sql=examples/people.sql
if [ -e "$sql" ] && [ -e "$rules" ]; then
  echo
  if ! command -v sqlite3 >/dev/null; then
    echo "== $sql: the sqlite3 program is missing (apt-get install sqlite3)"
    exit 0
  fi
  db="$work/people.db"
  sqlite3 "$db" <"$sql"
  cp "$db" "$work/before.db"
  select="p.id"
  for column in $(sqlite3 "$db" "SELECT name FROM pragma_table_info('person')" | grep -E '^[a-z][a-z]_' || true); do
    grep -q "^column = \"$column\"" "$rules" || continue
    select="$select, b.$column AS \"$column (source)\", p.$column AS \"$column (masked)\""
  done
  echo "== $sql: nidmask --rules $rules --db people.db  (one transaction for every rule)"
  "$nidmask" --rules "$rules" --db "$db" 2>&1 | sed 's/^/  /' || true
  echo
  sqlite3 -header -column -nullvalue NULL "$db" \
    "ATTACH '$work/before.db' AS old; SELECT $select FROM person p JOIN old.person b USING (id) ORDER BY p.id" |
    sed 's/^/  /'
fi
