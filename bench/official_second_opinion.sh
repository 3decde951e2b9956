#!/usr/bin/env bash
# A second opinion on the official rule set: random identifiers of every
# country, generated and then masked with --official, checked by an
# independent validator (the npm package stdnum). Prints, per country and
# kind, how many values the validator accepts. Needs node and npm; it fetches
# stdnum into a temporary directory (it is no dependency of the product).
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

declare -A module=([FR]="FR.nir" [IT]="IT.codicefiscale" [UK]="GB.nino" [ES]="ES.nif" [US]="US.ssn" [CA]="CA.sin")
for cc in FR IT UK ES US CA; do
  for rules in "" "--official"; do
    "$nidmask" -q --country "$cc" $rules --method random --count "$rows" -o "$work/random.txt"
    "$nidmask" -q --country "$cc" $rules --validate --on-reject drop "$work/random.txt" -o "$work/masked.txt" || true
    for kind in random masked; do
      node -e '
        const { stdnum } = require(process.argv[1] + "/node_modules/stdnum");
        const path = process.argv[2].split(".");
        const validator = stdnum[path[0]][path[1]];
        const values = require("fs").readFileSync(process.argv[3], "utf8").split("\n").filter(v => v !== "");
        const valid = values.filter(v => validator.validate(v).isValid).length;
        console.log(`${process.argv[4]} ${process.argv[5].padEnd(10)} ${process.argv[6].padEnd(7)} ${valid}/${values.length} accepted (${(100 * valid / Math.max(values.length, 1)).toFixed(2)}%)`);
      ' "$work" "${module[$cc]}" "$work/$kind.txt" "$cc" "${rules:-provider}" "$kind"
    done
  done
done
