#!/usr/bin/env bash
# deb_test.sh BUILD_DIR VERSION: builds the Debian package with CPack into a
# temporary directory (never installs it) and checks its name, its control
# fields, that every file lies under /usr with nothing naming the build
# tree, and that its nidmask, unpacked anywhere, runs and finds its provider.
set -euo pipefail
build=$(realpath "$1")
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
unset LD_LIBRARY_PATH NIDMASK_PROVIDER

(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; fail "cpack"; }
deb="$work/out/nidmask_${version}_$(dpkg --print-architecture).deb"
[ -f "$deb" ] || fail "no $(basename "$deb"); made: $(ls "$work/out")"

[ "$(dpkg-deb -f "$deb" Package)" = nidmask ] || fail "package name"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version"
depends=$(dpkg-deb -f "$deb" Depends)
packages=$(sed 's/ *([^)]*)//g; s/, */\n/g' <<<"$depends")
for library in libc6 libstdc++6 libsqlite3-0 libcsv3; do
  grep -qxF "$library" <<<"$packages" || fail "Depends lacks $library: $depends"
done
grep -q '^libssl' <<<"$packages" || fail "Depends lacks libssl (libcrypto): $depends"

dpkg-deb -c "$deb" | awk '{ print $6 }' >"$work/contents"
grep -v '^\./usr/' "$work/contents" && fail "files outside /usr"
for f in usr/bin/nidmask usr/lib/nidmask/libQRNNIDPrvLib.so usr/lib/nidmask/libhostkit.a \
         usr/share/man/man1/nidmask.1.gz usr/share/bash-completion/completions/nidmask \
         usr/lib/cmake/nidmask/nidmaskConfig.cmake usr/lib/pkgconfig/nidmask.pc; do
  grep -qxF "./$f" "$work/contents" || fail "the package lacks /$f"
done

dpkg-deb -x "$deb" "$work/root"
if grep -rlF "$build" "$work/root" >"$work/refs"; then fail "packaged files name $build: $(cat "$work/refs")"; fi
cd "$work"
version_text=$("$work/root/usr/bin/nidmask" --version) || fail "the packaged nidmask does not run"
[ "$(sed -n 2p <<<"$version_text")" = "provider $(realpath "$work/root/usr/lib/nidmask/libQRNNIDPrvLib.so")" ] ||
  fail "the packaged nidmask loads another provider: $version_text"
echo "$(basename "$deb"): Depends: $depends"

# The PostgreSQL extension's package, where the extension was built.
[ -f "$build/pg/nidmask.so" ] || exit 0
pgdeb="$work/out/postgresql-15-nidmask_${version}_$(dpkg --print-architecture).deb"
[ -f "$pgdeb" ] || fail "no $(basename "$pgdeb"); made: $(ls "$work/out")"
pgdepends=$(dpkg-deb -f "$pgdeb" Depends)
grep -qF "nidmask (= $version)" <<<"$pgdepends" || fail "$(basename "$pgdeb") does not depend on nidmask $version: $pgdepends"
grep -qF "postgresql-15" <<<"$pgdepends" || fail "$(basename "$pgdeb") does not depend on postgresql-15: $pgdepends"
dpkg-deb -c "$pgdeb" | awk '{ print ($7 == "->" ? $6 " -> " $8 : $6) }' >"$work/pgcontents"
for f in usr/lib/postgresql/15/lib/nidmask.so usr/share/postgresql/15/extension/nidmask.control \
         usr/share/postgresql/15/extension/nidmask--1.0.sql; do
  grep -q "^\./$f\$" "$work/pgcontents" || fail "$(basename "$pgdeb") lacks /$f"
done
grep -qxF "./usr/lib/postgresql/15/lib/nidmask -> ../../../nidmask" "$work/pgcontents" ||
  fail "$(basename "$pgdeb"): \$libdir/nidmask is not a link to /usr/lib/nidmask"
dpkg-deb -x "$pgdeb" "$work/pgroot"
if grep -rlF "$build" "$work/pgroot" >"$work/refs"; then fail "packaged files name $build: $(cat "$work/refs")"; fi
echo "$(basename "$pgdeb"): Depends: $pgdepends"
