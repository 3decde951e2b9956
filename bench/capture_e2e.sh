#!/usr/bin/env bash
# Captures what nidmask writes end to end for large mixed inputs, lines, CSV
# and several-column rules, so that a change meant only to make it faster can
# be shown to change nothing: run it for two builds on the same inputs, then
# diff the two output directories.
#
#   bench/capture_e2e.sh NIDMASK INPUT_DIR OUT_DIR      (ROWS=80000 per country)
#
# INPUT_DIR is made on the first run (identifiers generated with NIDMASK's
# random method, which seeds from the clock) and reused as it is afterwards:
# give both builds the same one. Every 53rd row is replaced by one of a cycle
# of awkward values: spoiled identifiers, NULL, empty and blank values,
# separators, lower case, ISO-8859-1 and UTF-8 bytes, a NUL byte, a CR, long
# values (up to 40,000 bytes), and CSV records that are short, quoted or carry
# the NULL text in quotes. For every country and option set (column types,
# validation, pass-invalid, every --on-reject, separators, in place, small
# batches, error limits, a report with and without --show-values) each run
# leaves in OUT_DIR/<name>: its arguments, its exit status and standard error
# (timings replaced by TIME), and checksums of its output and report; a few
# smaller runs keep their trace (addresses replaced by PTR).
set -uo pipefail
nidmask=$(realpath "${1:?usage: capture_e2e.sh NIDMASK INPUT_DIR OUT_DIR}")
in=$(mkdir -p "${2:?}" && realpath "$2")
out=${3:?usage: capture_e2e.sh NIDMASK INPUT_DIR OUT_DIR}
rows=${ROWS:-80000}
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
countries="FR IT UK ES US CA"

# The awkward values, by index: a spoiled identifier (three kinds), then fixed texts.
awkward() {  # country's identifier on stdin lines; prints the same with every 53rd line replaced
  awk -v seed="$1" '
    BEGIN {
      long40 = sprintf("%040d", 7); long300 = sprintf("%0300d", 3)
      long40k = ""; for (i = 0; i < 40000; i++) long40k = long40k "9"
      fixed[0] = "\\N"; fixed[1] = ""; fixed[2] = "   "; fixed[3] = long40; fixed[4] = long300
      fixed[5] = long40k; fixed[6] = "caf\351"; fixed[7] = "caf\303\251"; fixed[8] = "ab@NUL@cd"
      fixed[9] = "12\r34"; fixed[10] = "NULL"; fixed[11] = "\"q\"uoted"; fixed[12] = "a,b"; nfixed = 13
    }
    NR % 53 != 0 { print; next }
    {
      k = int(NR / 53) + seed
      if (k % 4 == 0) { print fixed[int(k / 4) % nfixed]; next }
      v = $0; p = k % length(v) + 1
      if (k % 4 == 1) v = substr(v, 1, p - 1) (substr(v, p, 1) == "7" ? "X" : "7") substr(v, p + 1)
      else if (k % 4 == 2) v = substr(v, 1, p - 1) substr(v, p + 1)
      else if (k % 8 == 3) v = "  " tolower(v) " "
      else v = substr(v, 1, p) substr(v, p)
      print v
    }' | sed 's/@NUL@/\x00/'
}

if [ ! -s "$in/done" ]; then
  root=$(cd "$(dirname "$0")/.." && pwd)
  for cc in $countries; do
    lower=$(echo "$cc" | tr A-Z a-z)
    "$nidmask" -q --country "$cc" --method random --count "$rows" -o "$work/$cc.ids" || exit 1
    { awkward 0 < "$work/$cc.ids"; cat "$root/examples/$lower.txt"; } > "$in/$cc.txt"
    # CRLF line ends and a byte-order mark on a copy of the first 2,000 lines.
    head -n 2000 "$in/$cc.txt" | sed 's/$/\r/' | { printf '\357\273\277'; cat; } > "$in/$cc.crlf.txt"
    # CSV: a number, the value (quoted every 7th record, or when it must be), a
    # text with a quoted comma; every 89th record ends after the number.
    awk 'BEGIN { print "n,nid,note" }
      {
        v = $0; q = (NR % 7 == 0 || v ~ /[",\r]/)
        gsub(/"/, "\"\"", v)
        if (NR % 89 == 0) { print NR; next }
        if (NR % 97 == 0 && v == "\\N") q = 1
        print NR "," (q ? "\"" v "\"" : v) ",\"row " NR ", kept\""
      }' "$in/$cc.txt" > "$in/$cc.csv"
    tr ',' '\t' < "$in/$cc.csv" | sed 's/"row \([0-9]*\)\t kept"/row \1 kept/' > "$in/$cc.tsv"
  done
  # Three identifier columns, as the rules benchmark has them, with a name between.
  paste -d, <(awkward 1 < "$work/FR.ids") <(awkward 2 < "$work/US.ids") <(awkward 3 < "$work/CA.ids") |
    awk -F, 'BEGIN { print "id,fr_nir,name,us_ssn,ca_sin" }
      { for (i = 1; i <= 3; i++) { if ($i ~ /["\r]/) { gsub(/"/, "\"\"", $i); $i = "\"" $i "\"" } }
        print NR "," $1 ",\"Name " NR "\"," $2 "," $3 }' > "$in/rules.csv"
  printf 'format = "csv"\n[[rule]]\ncolumn = "fr_nir"\ncountry = "FR"\n[[rule]]\ncolumn = "us_ssn"\ncountry = "US"\n[[rule]]\ncolumn = "ca_sin"\ncountry = "CA"\n' > "$in/rules.toml"
  cp "$root/examples/people.rules.toml" "$in/people.rules.toml"
  printf 'format = "csv"\n[[rule]]\ncolumn = "ca_sin"\ncountry = "CA"\nseparator = "dash"\non_reject = "drop"\n[[rule]]\ncolumn = "fr_nir"\ncountry = "FR"\nvalidate = true\npass_invalid = true\n[[rule]]\ncolumn = "us_ssn"\ncountry = "US"\ntype = "CHAR"\nlength = 14\n' > "$in/mixed.rules.toml"
  echo "$rows" > "$in/done"
fi

capture() {  # name, then nidmask arguments (run in $work; "trace" keeps the trace)
  local name=$1
  shift
  local dir="$out/$name"
  mkdir -p "$dir"
  echo "$*" > "$dir/args"
  (cd "$work" && "$nidmask" "$@" > "$work/out" 2> "$dir/err")
  echo "exit $?" >> "$dir/err"
  sed -i -E 's/[0-9.]+ s, [0-9]+ rows\/s/TIME/; s/[0-9.]+ s, [0-9]+ records\/s/TIME/' "$dir/err"
  sha256sum < "$work/out" | cut -c1-64 > "$dir/out.sha"
  wc -c < "$work/out" >> "$dir/out.sha"
  if [ -f "$work/report" ]; then sha256sum < "$work/report" | cut -c1-64 > "$dir/report.sha"; rm -f "$work/report"; fi
  if [ -f "$work/trace" ]; then sed -E 's/=0x[0-9a-f]+/=PTR/g; s/0x[0-9a-f]{6,}/PTR/g' "$work/trace" > "$dir/trace"; rm -f "$work/trace"; fi
}

for cc in $countries; do
  t="$in/$cc.txt"
  c="$in/$cc.csv"
  n=0
  for flags in "" "--validate" "--pass-invalid" "--validate --pass-invalid" "--on-reject drop" "--on-reject null" \
               "--on-reject fail" "--separator keep" "--separator dash" "--separator none" "--null NULL" \
               "--type CHAR --length 20" "--type VARCHAR_SZ" "--type WVARCHAR" "--type WCHAR --length 18" \
               "--type WVARCHAR_SZ --pass-invalid" "--type VARCHAR --length 12" "--in-place" "--in-place --type CHAR --length 16" \
               "--batch 7 --error-limit 300" "--batch 1000000" "--report report" "--report report --show-values --validate"; do
    n=$((n + 1))
    capture "$cc-lines-$(printf '%02d' $n)" --country "$cc" $flags "$t"
  done
  if [ "$cc" = US ] || [ "$cc" = CA ]; then
    for flags in "--type INTEGER" "--type U_LONG_LONG --pass-invalid" "--type DECIMAL_PKD" "--type VARNUM --in-place"; do
      n=$((n + 1))
      capture "$cc-lines-$(printf '%02d' $n)" --country "$cc" $flags "$t"
    done
  fi
  capture "$cc-lines-crlf" --country "$cc" "$in/$cc.crlf.txt"
  capture "$cc-lines-crlf-wide" --country "$cc" --type WVARCHAR "$in/$cc.crlf.txt"
  capture "$cc-lines-stdin" --country "$cc" --validate - < "$t"
  n=0
  for flags in "" "--validate --pass-invalid" "--on-reject drop" "--on-reject null --null NULL" "--on-reject fail" \
               "--type CHAR --length 20" "--type WVARCHAR" "--type VARCHAR_SZ --in-place" "--separator dash" \
               "--batch 3" "--report report --validate"; do
    n=$((n + 1))
    capture "$cc-csv-$(printf '%02d' $n)" --country "$cc" --format csv --column nid $flags "$c"
  done
  capture "$cc-tsv" --country "$cc" --format tsv --column 2 "$in/$cc.tsv"
  capture "$cc-csv-col3" --country "$cc" --format csv --column note "$c"
  # Traced: the first 600 lines (awkward values included) as lines and as CSV.
  head -n 600 "$t" > "$work/small.txt"
  head -n 600 "$c" > "$work/small.csv"
  cp "$work/small.txt" "$in/$cc.small.txt"
  cp "$work/small.csv" "$in/$cc.small.csv"
  capture "$cc-trace-lines" --country "$cc" --trace trace --show-values "$in/$cc.small.txt"
  capture "$cc-trace-lines-validate" --country "$cc" --validate --pass-invalid --trace trace --show-values "$in/$cc.small.txt"
  capture "$cc-trace-csv" --country "$cc" --format csv --column nid --trace trace --show-values "$in/$cc.small.csv"
done
r="$in/rules.csv"
capture "rules-default" --rules "$in/rules.toml" "$r"
capture "rules-people" --rules "$in/people.rules.toml" "$r"
capture "rules-mixed" --rules "$in/mixed.rules.toml" "$r"
capture "rules-batch" --rules "$in/rules.toml" --batch 13 --report report "$r"
capture "rules-fail" --rules "$in/rules.toml" --on-reject fail "$r"
capture "rules-limit" --rules "$in/rules.toml" --error-limit 40 "$r"
head -n 400 "$r" > "$in/rules.small.csv"
capture "rules-trace" --rules "$in/rules.toml" --trace trace --show-values "$in/rules.small.csv"
echo "$(ls "$out" | wc -l) runs captured in $out"
