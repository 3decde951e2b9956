#!/usr/bin/env bash
# Captures what nidmask and the provider write for a fixed set of inputs and
# option sets, traces included, so that a change meant to keep behaviour can
# be shown to change nothing: run it before and after, then diff the two
# directories.
#
#   bench/capture_traces.sh NIDMASK OUT_DIR
#
# For each country: its example file plus fixed extra values, masked under
# each parts, separator, form, area-table and processing-flag setting one at
# a time and in pairs, under several column types, with the method taken from
# the control block (other methods too), the error limit and in-place
# masking. Each run leaves its output, standard error, report and trace (with
# addresses replaced by PTR) in OUT_DIR/<country>-<n>.
set -uo pipefail
nidmask=$(realpath "$1")
out=$2
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

declare -A parts_key=([FR]=0x1801 [IT]=0x1803 [UK]=0x1804 [ES]= [US]=0x180E [CA]=0x1806)
declare -A sep_key=([FR]=0x1807 [IT]=0x1809 [UK]=0x180A [ES]=0x1808 [US]=0x180B [CA]=0x180C)
declare -A extra=(
  [FR]='185057800608491 1850578006084 91 2690375116042-41 2A0375116042 186072b12001535 286022a00407378 3850578006084 99 185139900608499 18505780060849x'
  [IT]='RSSMRA85T10A562S RSS MRA 85T10 A562S RSS-MRA-85T10-A562S rssmra85t10a562s RSSMRA85T10A56 RSSMRA85T10A562X MRTMTT25D09F205Z MRTMTTLPD09F20LZ'
  [UK]='AB123456C AB 12 34 56 C AB-12-34-56-C AB123456 AB.123456.C DA123456C AB1234567 ab123456c TN123456A'
  [ES]='12345678Z X1234567L 1234567L 12345678-Z X-1234567-L 12.345.678-Z 12345678A Y1234567X 00000000T'
  [US]='123-45-6789 123456789 123 45 6789 000-12-3456 666-12-3456 900-12-3456 123-00-4567 123-45-0000 078-05-1120 772-12-3456'
  [CA]='046 454 286 046454286 046-454-286 046.454.286 123456789 813456786 000000000 12345678 A46454286'
)

run=0
capture() {  # country, then nidmask arguments
  local cc=$1
  shift
  run=$((run + 1))
  local dir="$out/$cc-$(printf '%04d' $run)"
  mkdir -p "$dir"
  echo "$*" >"$dir/args"
  (cd "$work" && "$nidmask" --switch "$cc" "$@" --report report --trace trace input >"$dir/out" 2>"$dir/err")
  echo "exit $?" >>"$dir/err"
  mv "$work/report" "$dir/report" 2>/dev/null
  sed -E 's/=0x[0-9a-f]+/=PTR/g; s/[0-9.]+ s, [0-9]+ rows\/s/TIME/' "$work/trace" >"$dir/trace" 2>/dev/null
  sed -i -E 's/[0-9.]+ s, [0-9]+ rows\/s/TIME/' "$dir/err"
  rm -f "$work/trace"
}

for cc in FR IT UK ES US CA; do
  lower=$(echo "$cc" | tr A-Z a-z)
  { cat "$root/examples/$lower.txt"; printf '%s\n' ${extra[$cc]} | sed 's/_/ /g'; printf '\\N\n\n   \n'; } >"$work/input"
  # Values with blanks inside come from the example file; the extra list splits on blanks.
  run=0
  for flags in "" --validate --pass-invalid "--validate --pass-invalid"; do
    capture "$cc" $flags
    for type in "--type CHAR --length 20" "--type WVARCHAR" "--type VARCHAR_SZ" "--type WCHAR --length 18" \
                "--type U_LONG_LONG" "--type INTEGER" "--type DECIMAL_PKD" "--type VARNUM" "--in-place"; do
      capture "$cc" $flags $type
    done
    for value in 0 1 2 3 4 5 8 16 31 32 64; do
      [ -n "${parts_key[$cc]}" ] && capture "$cc" $flags --option "${parts_key[$cc]}=$value"
      capture "$cc" $flags --option "${sep_key[$cc]}=$value"
      [ "$cc" = UK ] && capture "$cc" $flags --option "0x180D=$value"
    done
    for value in 0 1 2 3 4 5 6 8; do
      [ "$cc" = US ] && capture "$cc" $flags --option "0x180E=$value" --option "0x180B=$((1 << (value % 5)))"
    done
  done
  capture "$cc" --method ctrl --ctrl-method 0x1409
  capture "$cc" --method ctrl --ctrl-method random --count 0
  capture "$cc" --method random --count 0 --option "${sep_key[$cc]}=8"
  capture "$cc" --error-limit 3 --batch 4
  capture "$cc" --batch 1 --separator keep
  capture "$cc" --option 0x1801=1 --option 0x1803=2 --option 0x1804=1 --option 0x1806=1 --option 0x180E=1
done
capture XX
capture FR --option 0x9999=1
echo "$(ls "$out" | wc -l) runs captured in $out"
