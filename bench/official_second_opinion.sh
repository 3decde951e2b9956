#!/usr/bin/env bash
# A second opinion on the official rule set and on keyed encryption: random
# identifiers of every country, generated, then masked and encrypted (each
# with full validation, refused rows dropped), with and without --official,
# checked by an independent validator (the npm package stdnum). Prints, per
# country and rule set, the share of values the validator accepts of each
# kind, as a Markdown table. Needs node and npm; it fetches stdnum into a
# temporary directory (it is no dependency of the product) and makes a key
# there.
#
#   bench/official_second_opinion.sh [BUILD_DIR]     (ROWS=20000 to change)
set -euo pipefail
build=${1:-build}
rows=${ROWS:-20000}
cd "$(dirname "$0")/.."
nidmask="$(pwd)/$build/bin/nidmask"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm install --silent --no-audit --no-fund stdnum >/dev/null)
(umask 077 && "$nidmask" keygen > "$work/key")

# "accepted/total" of the values of a file that stdnum's validator accepts.
accepted() {
  node -e '
    const { stdnum } = require(process.argv[1] + "/node_modules/stdnum");
    const path = process.argv[2].split(".");
    const validator = stdnum[path[0]][path[1]];
    const values = require("fs").readFileSync(process.argv[3], "utf8").split("\n").filter(v => v !== "");
    const valid = values.filter(v => validator.validate(v).isValid).length;
    const share = (100 * valid / Math.max(values.length, 1)).toFixed(2);
    console.log(`${share}% (${valid}/${values.length})`);
  ' "$work" "$1" "$2"
}

declare -A module=([FR]="FR.nir" [IT]="IT.codicefiscale" [UK]="GB.nino" [ES]="ES.nif" [US]="US.ssn" [CA]="CA.sin")
echo "| Country | Rules | Random | Masked | Encrypted |"
echo "|---|---|---|---|---|"
for cc in FR IT UK ES US CA; do
  for rules in "" "--official"; do
    "$nidmask" -q --country "$cc" $rules --method random --count "$rows" -o "$work/random.txt"
    "$nidmask" -q --country "$cc" $rules --validate --on-reject drop "$work/random.txt" -o "$work/masked.txt" || true
    "$nidmask" -q --country "$cc" $rules --method encrypt --key-file "$work/key" --on-reject drop \
      "$work/random.txt" -o "$work/encrypted.txt" || true
    line="| $cc | ${rules:-provider}"
    for kind in random masked encrypted; do line+=" | $(accepted "${module[$cc]}" "$work/$kind.txt")"; done
    echo "$line |"
  done
done
