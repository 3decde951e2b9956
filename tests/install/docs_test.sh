#!/usr/bin/env bash
# docs_test.sh NIDMASK MAN_PAGE COMPLETION: the man page and the bash
# completion keep in step with `nidmask --help`. The man page renders without
# a groff warning and describes (in a .TP entry of OPTIONS) every option the
# help lists, and no other; the completion offers every option, the values of
# options that take one of a few names, and files where a FILE is expected.
set -euo pipefail
nidmask=$(realpath "$1")
man_page=$(realpath "$2")
completion=$(realpath "$3")
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# The options of the help: the first word of each indented line that starts
# with a dash, split at commas ("-o,--output FILE" gives -o and --output).
help_options=$("$nidmask" --help | sed -n 's/^ \{1,\}\(-[^ ]*\).*/\1/p' | tr ',' '\n' |
  grep -E '^(-[a-zA-Z]|--[a-z][a-z0-9-]*)$' | sort -u)
[ -n "$help_options" ] || { echo "FAIL: no option found in nidmask --help" >&2; exit 1; }

warnings=$(groff -ww -man -z "$man_page" 2>&1)
[ -z "$warnings" ] || fail "groff warns about $man_page: $warnings"
lexgrog "$man_page" >/dev/null 2>&1 || fail "$man_page: no whatis entry (NAME section)"

# The headings of the OPTIONS entries, fonts and escapes removed.
man_options=$(awk '/^\.SH /{ opts = ($0 ~ /^\.SH OPTIONS/) } opts && tp { print; tp = 0 } /^\.TP/{ tp = 1 }' \
  "$man_page" | sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' | grep -oE '(^|[ "])-{1,2}[a-zA-Z][a-z0-9-]*' |
  tr -d ' "' | sort -u)
while read -r option; do
  grep -qxF -- "$option" <<<"$man_options" || fail "the man page does not describe $option"
done <<<"$help_options"
while read -r option; do
  grep -qxF -- "$option" <<<"$help_options" || fail "the man page describes $option, which nidmask lacks"
done <<<"$man_options"

# complete WORD...: what the completion offers for the last word.
complete_words() {
  bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _nidmask; printf "%s\n" "${COMPREPLY[@]}"' \
    _ "$completion" "$nidmask" "$@"
}
offered=$(complete_words -)
while read -r option; do
  grep -qxF -- "$option" <<<"$offered" || fail "the completion does not offer $option"
done <<<"$help_options"
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT
touch masked.txt
cores=$(nproc)  # --jobs offers 0, 1 and the number of cores
[ "$cores" -gt 1 ] || cores=
while IFS='|' read -r words expected; do
  expected=$(tr ' ' '\n' <<<"${expected//CORES/$cores}" | grep . | sort | tr '\n' ' ')
  # shellcheck disable=SC2086  # the words of the command line
  got=$(complete_words $words "" | sort | tr '\n' ' ')
  [ "$got" = "$expected" ] || fail "completing '$words ': got '$got', expected '$expected'"
done <<'CASES'
--format|csv lines tsv 
--country|CA ES FR GB IT UK US 
--delimiter|, \; \| tab 
--on-reject|drop empty fail null 
--jobs|0 1 CORES 
--output|masked.txt 
--country FR|masked.txt 
CASES
[ "$failures" = 0 ] || exit 1
echo "man page and completion cover the $(wc -l <<<"$help_options") options of nidmask --help"
