#!/usr/bin/env bash
# install_test.sh SOURCE_DIR BUILD_DIR: installs the build with DESTDIR for a
# prefix, moves the installed tree elsewhere, and checks that it works there
# on its own: nidmask run from another directory with no library path gives
# the build tree's results on the bundled examples and names the provider it
# loaded; NIDMASK_PROVIDER is honoured; a project outside the tree builds
# against the host kit with find_package(nidmask), another with pkg-config,
# and both mask a value as nidmask does; no installed file names the source
# tree, the build tree or the prefix it was installed for.
set -euo pipefail
src=$(realpath "$1")
build=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
unset LD_LIBRARY_PATH NIDMASK_PROVIDER QRNP_TRACE

prefix=/opt/nidmask-install-test
DESTDIR="$work/stage" cmake --install "$build" --prefix "$prefix" >"$work/install.log"
[ -d "$work/stage$prefix" ] || fail "DESTDIR ignored: nothing in $work/stage$prefix"
moved="$work/moved"
mv "$work/stage$prefix" "$moved"

for f in bin/nidmask lib/nidmask/libQRNNIDPrvLib.so lib/nidmask/libQRNPOSLibUnix.so \
         lib/nidmask/libQRNPDataCnvLib.so lib/nidmask/libQRNProvider.so lib/nidmask/libhostkit.a \
         include/qrnp/qrnp.h include/nidmask/hostkit.h lib/cmake/nidmask/nidmaskConfig.cmake \
         lib/pkgconfig/nidmask.pc share/man/man1/nidmask.1.gz share/bash-completion/completions/nidmask \
         share/doc/nidmask/examples/fr.txt; do
  [ -e "$moved/$f" ] || fail "not installed: $f"
done

for path in "$src" "$build" "$prefix"; do
  if grep -rlF "$path" "$moved" >"$work/refs"; then
    fail "installed files name $path: $(tr '\n' ' ' <"$work/refs")"
  fi
done

installed="$moved/bin/nidmask"
mkdir "$work/elsewhere"
cd "$work/elsewhere"

# The same results as the build tree's nidmask, exit status included.
compare() {  # compare NAME ARGS...: the installed examples for one, the source's for the other
  local name=$1 status_build=0 status_installed=0
  shift
  "$build/bin/nidmask" "$@" "$src/examples/$name" >"$work/expected" 2>/dev/null || status_build=$?
  "$installed" "$@" "$moved/share/doc/nidmask/examples/$name" >"$work/actual" 2>"$work/stderr" ||
    status_installed=$?
  [ "$status_installed" = "$status_build" ] ||
    fail "$name $*: exit $status_installed, the build tree's $status_build: $(head -3 "$work/stderr")"
  cmp -s "$work/expected" "$work/actual" || fail "$name $*: the output differs from the build tree's"
}
for example in "$src"/examples/*.txt; do
  name=$(basename "$example")
  cc=$(echo "${name:0:2}" | tr a-z A-Z)
  compare "$name" --country "$cc" --validate --on-reject empty --quiet
done
compare people.csv --country FR --format csv --column fr_nir --on-reject empty --quiet

version=$("$installed" --version) || fail "--version: exit $?"
[ "$(sed -n 2p <<<"$version")" = "provider $(realpath "$moved/lib/nidmask/libQRNNIDPrvLib.so")" ] ||
  fail "--version does not name the installed provider: $version"

status=0
NIDMASK_PROVIDER="$work/none.so" "$installed" --country FR </dev/null >/dev/null 2>"$work/stderr" || status=$?
[ "$status" = 3 ] && grep -qF "$work/none.so" "$work/stderr" || fail "NIDMASK_PROVIDER ignored (exit $status)"

value=269037511604241
masked=$(echo "$value" | "$installed" --country FR --quiet)
[ -n "$masked" ] && [ "$masked" != "$value" ] || fail "nidmask did not mask $value"

cmake -S "$src/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$moved" \
  -DCMAKE_BUILD_TYPE=Release >"$work/consumer.log" 2>&1 || { cat "$work/consumer.log"; fail "find_package(nidmask)"; }
cmake --build "$work/consumer" >>"$work/consumer.log" 2>&1 || { cat "$work/consumer.log"; fail "consumer build"; }
[ "$("$work/consumer/mask_one" FR "$value")" = "$masked" ] || fail "the find_package consumer masks differently"

export PKG_CONFIG_PATH="$moved/lib/pkgconfig"
provider=$(pkg-config --variable=provider nidmask)
# shellcheck disable=SC2046  # the flags are words
c++ -std=c++17 -O0 -DNIDMASK_PROVIDER_FILE="\"$provider\"" "$src/tests/install/consumer/mask_one.cpp" \
  -o "$work/mask_one_pc" $(pkg-config --cflags --libs nidmask) || fail "pkg-config consumer build"
[ "$("$work/mask_one_pc" FR "$value")" = "$masked" ] || fail "the pkg-config consumer masks differently"
echo "installed tree works after a move: $moved"
