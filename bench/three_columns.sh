# Sourced by the benchmarks of a rules pass: the input and rules they share.
#
# three_columns NIDMASK ROWS DIR: writes DIR/in.csv (a header, then ROWS
# records: a number and generated FR, US and CA identifiers) and
# DIR/rules.toml (a rule for each identifier column). Identifiers already
# generated into DIR/FR.txt, US.txt or CA.txt are used; those files are
# removed.
three_columns() {
  local nidmask=$1 rows=$2 dir=$3 cc
  for cc in FR US CA; do
    [ -f "$dir/$cc.txt" ] || "$nidmask" -q --country "$cc" --method random --count "$rows" -o "$dir/$cc.txt"
  done
  { echo "id,fr_nir,us_ssn,ca_sin"; paste -d, "$dir/FR.txt" "$dir/US.txt" "$dir/CA.txt" | awk '{ print NR "," $0 }'; } > "$dir/in.csv"
  rm -f "$dir/FR.txt" "$dir/US.txt" "$dir/CA.txt"
  cat > "$dir/rules.toml" <<'RULES'
format = "csv"
[[rule]]
column = "fr_nir"
country = "FR"
[[rule]]
column = "us_ssn"
country = "US"
[[rule]]
column = "ca_sin"
country = "CA"
RULES
}
