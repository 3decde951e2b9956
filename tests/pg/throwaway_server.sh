# A throwaway PostgreSQL server with the built extension, for the tests and
# the benchmark (sourced). start_throwaway_server SOURCE_DIR BUILD_DIR:
#   - copies the server's binaries into a private tree in a temporary
#     directory (the server finds its share and lib directories, and so the
#     extensions, from its executable's real path) and links the rest of
#     Debian's postgresql-15 there, leaving out any installed nidmask;
#   - adds the built extension, with $libdir/nidmask pointing at the build
#     tree's libraries, and nidmask.provider naming the build's provider;
#   - runs initdb and starts the server on a free port, listening on a
#     socket in the directory only (as postgres when run as root), with the
#     settings of $NIDMASK_PG_SETTINGS added;
#   - stops the server and removes the directory on exit, whatever happens.
# Afterwards: PGHOST, PGPORT, PGUSER exported; PSQL (an array: psql, quiet,
# stopping at the first error, unaligned); TMP, SERVER_LOG, PG_BIN, PG_LIB,
# NIDMASK (the nidmask executable); fail MESSAGE prints the server log's end
# and exits 1.

PG_BIN=${NIDMASK_PG_BIN:-/usr/lib/postgresql/15/bin}
PG_SHARE=${NIDMASK_PG_SHARE:-/usr/share/postgresql/15}

as_server() {
  if [ "$(id -u)" -eq 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}

cleanup_throwaway_server() {
  [ -n "${TMP:-}" ] || return 0
  if [ -f "$TMP/data/postmaster.pid" ]; then
    as_server "$TMP/usr/lib/postgresql/15/bin/pg_ctl" -D "$TMP/data" -m immediate -w stop >/dev/null 2>&1 || true
  fi
  rm -rf "$TMP"
}

fail() {
  echo "FAIL: $*" >&2
  if [ -f "${SERVER_LOG:-}" ]; then
    echo "--- server log (last lines)" >&2
    tail -20 "$SERVER_LOG" >&2
  fi
  exit 1
}

start_throwaway_server() {
  local source_dir=$1 build_dir=$2 f entry p
  PG_LIB=$("$PG_BIN/pg_config" --pkglibdir)
  NIDMASK=$build_dir/bin/nidmask
  local module=$build_dir/pg/nidmask.so provider=$build_dir/lib/libQRNNIDPrvLib.so
  for f in "$module" "$provider" "$NIDMASK" "$PG_BIN/postgres"; do
    [ -e "$f" ] || { echo "missing $f (make pg builds the extension)" >&2; exit 1; }
  done

  TMP=$(mktemp -d /tmp/nidmask-pg.XXXXXX)
  trap cleanup_throwaway_server EXIT
  trap "exit 1" INT TERM HUP
  chmod 755 "$TMP"
  local bin=$TMP/usr/lib/postgresql/15/bin lib=$TMP/usr/lib/postgresql/15/lib share=$TMP/usr/share/postgresql/15
  mkdir -p "$bin" "$lib" "$share/extension"
  cp "$PG_BIN/postgres" "$PG_BIN/initdb" "$PG_BIN/pg_ctl" "$bin/"
  for entry in "$PG_SHARE"/*; do
    [ "$(basename "$entry")" = extension ] || ln -s "$entry" "$share/"
  done
  for entry in "$PG_SHARE"/extension/*; do
    case $(basename "$entry") in nidmask*) ;; *) ln -s "$entry" "$share/extension/" ;; esac
  done
  for entry in "$PG_LIB"/*; do
    case $(basename "$entry") in nidmask*) ;; *) ln -s "$entry" "$lib/" ;; esac
  done
  cp "$module" "$lib/"
  ln -s "$build_dir/lib" "$lib/nidmask"
  cp "$source_dir/pg/nidmask.control" "$source_dir/pg/nidmask--1.0.sql" "$share/extension/"

  PGPORT=
  for p in $(shuf -i 20000-60000 -n 50); do
    if ! (exec 3<>"/dev/tcp/127.0.0.1/$p") 2>/dev/null; then PGPORT=$p; break; fi
  done
  [ -n "$PGPORT" ] || fail "no free port"
  SERVER_LOG=$TMP/server.log
  mkdir -p "$TMP/data" "$TMP/sock"
  touch "$SERVER_LOG"
  if [ "$(id -u)" -eq 0 ]; then chown postgres "$TMP/data" "$TMP/sock" "$SERVER_LOG"; fi
  as_server "$bin/initdb" -D "$TMP/data" -E UTF8 --locale=C.UTF-8 -U postgres --auth=trust >"$TMP/initdb.log" 2>&1 ||
    { cat "$TMP/initdb.log" >&2; fail "initdb"; }
  cat >>"$TMP/data/postgresql.conf" <<EOF
port = $PGPORT
listen_addresses = ''
unix_socket_directories = '$TMP/sock'
fsync = off
synchronous_commit = off
lc_messages = 'C'
max_worker_processes = 8
max_parallel_workers = 4
nidmask.provider = '$provider'
${NIDMASK_PG_SETTINGS:-}
EOF
  as_server "$bin/pg_ctl" -D "$TMP/data" -l "$SERVER_LOG" -w start >/dev/null || fail "the server did not start"
  export PGHOST=$TMP/sock PGPORT PGUSER=postgres
  PSQL=("$PG_BIN/psql" -X -q -v ON_ERROR_STOP=1 -At)
}
