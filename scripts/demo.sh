#!/usr/bin/env bash
# Masks the bundled examples and shows source and result side by side.
set -euo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
nidmask="$build/bin/nidmask"
if [ ! -x "$nidmask" ]; then
  echo "nidmask is not built yet; the provider's tests show what works: make test" >&2
  exit 0
fi
for file in examples/*.txt; do
  [ -e "$file" ] || continue
  cc=$(basename "$file" .txt | cut -c1-2 | tr a-z A-Z)
  echo "== $file (--country $cc)"
  paste -d'|' "$file" <("$nidmask" --country "$cc" --on-reject empty --quiet "$file") |
    awk -F'|' '{ printf "  %-24s -> %s\n", $1, $2 }'
done
