#!/usr/bin/env bash
# Installs the Debian packages named on the command line that are missing.
# As root it runs apt-get; otherwise it says what to install and fails.
set -euo pipefail
missing=()
for pkg in "$@"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "missing Debian packages: ${missing[*]} (run: sudo apt-get install -y ${missing[*]})" >&2
  exit 1
fi
echo "installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null 2>&1 ||
  { apt-get update -qq && apt-get install -y --no-install-recommends "${missing[@]}"; }
