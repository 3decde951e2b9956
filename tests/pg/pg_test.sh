#!/usr/bin/env bash
# The PostgreSQL extension on a real, throwaway server.
#   pg_test.sh SOURCE_DIR BUILD_DIR
#
# Builds a private copy of the server's tree in a temporary directory (the
# server finds extensions only beside its own executable), adds the built
# extension, starts a server there on a free port (as postgres when run as
# root), runs the SQL regression files of tests/pg/sql with pg_regress, then
# the checks that need data or processes:
#   - a 100,000-row table per country masked in place by one UPDATE equals
#     nidmask's output for the same input, byte for byte (bigint columns too);
#   - a parallel plan evaluates nidmask.mask in its workers;
#   - a backend killed in the middle of an UPDATE leaves the table as it was.
# The server is stopped and the directory removed on every exit.
set -euo pipefail

SOURCE_DIR=$(cd "$1" && pwd)
BUILD_DIR=$(cd "$2" && pwd)
ROWS=100000
# shellcheck source=throwaway_server.sh
. "$SOURCE_DIR/tests/pg/throwaway_server.sh"
start_throwaway_server "$SOURCE_DIR" "$BUILD_DIR"
W=$TMP/work
mkdir -p "$W"
"${PSQL[@]}" -d postgres -c "CREATE DATABASE nidmask_test" || fail "createdb"
sql() { "${PSQL[@]}" -d nidmask_test "$@"; }

# --- the regression files
# (extension first: it creates the extension the others use)
tests="extension $(cd "$SOURCE_DIR/tests/pg/sql" && ls -- *.sql | sed 's/\.sql$//' | grep -vx extension | sort | tr '\n' ' ')"
# shellcheck disable=SC2086
"$PG_LIB/pgxs/src/test/regress/pg_regress" --use-existing --bindir="$PG_BIN" --host="$PGHOST" --port="$PGPORT" \
  --user=postgres --dbname=nidmask_test --inputdir="$SOURCE_DIR/tests/pg" --outputdir="$TMP/regress" $tests ||
  { rm -rf "$BUILD_DIR/pg/regress" && cp -r "$TMP/regress" "$BUILD_DIR/pg/regress"
    cat "$TMP/regress/regression.diffs" >&2 2>/dev/null
    fail "pg_regress (results and diffs kept in $BUILD_DIR/pg/regress)"; }

# --- every country: one UPDATE against nidmask, byte for byte. The input
# holds generated values, values made invalid, empty values and NULLs;
# rejected rows become NULL on both sides.
for cc in FR IT UK ES US CA; do
  "$NIDMASK" --country "$cc" --method random --count "$ROWS" -q -o "$W/$cc.gen"
  # Every 97th value loses its last character (mostly invalid), every 1009th
  # is empty, every 1013th NULL.
  awk 'NR % 1013 == 0 { print "\\N"; next } NR % 1009 == 0 { print ""; next }
       NR % 97 == 0 { print substr($0, 1, length($0) - 1); next } { print }' "$W/$cc.gen" >"$W/$cc.in"
  "$NIDMASK" --country "$cc" --on-reject null -q "$W/$cc.in" -o "$W/$cc.expected" || [ $? -eq 1 ] ||
    fail "nidmask $cc"
  sql -c "CREATE TABLE t_$cc (id bigserial PRIMARY KEY, v text)" \
      -c "\\copy t_$cc (v) FROM '$W/$cc.in'" \
      -c "UPDATE t_$cc SET v = nidmask.mask('$cc', v, '{\"on_reject\": \"null\"}')" \
      -c "\\copy (SELECT v FROM t_$cc ORDER BY id) TO '$W/$cc.got'"
  cmp -s "$W/$cc.expected" "$W/$cc.got" || fail "$cc: nidmask.mask differs from nidmask (diff $W/$cc.expected $W/$cc.got)"
  [ "$(wc -l <"$W/$cc.got")" -eq "$ROWS" ] || fail "$cc: row count"
done
# Numeric columns: the bigint shorthands against nidmask's U_LONG_LONG column.
for cc in US CA; do
  fn=$([ "$cc" = US ] && echo mask_ssn || echo mask_sin)
  sql -c "CREATE TABLE n_$cc AS SELECT id, regexp_replace(v, '[^0-9]', '', 'g')::bigint AS v
            FROM t_$cc WHERE v ~ '[0-9]' ORDER BY id" \
      -c "\\copy (SELECT v FROM n_$cc ORDER BY id) TO '$W/n_$cc.in'" \
      -c "UPDATE n_$cc SET v = nidmask.$fn(v)" \
      -c "\\copy (SELECT v FROM n_$cc ORDER BY id) TO '$W/n_$cc.got'"
  "$NIDMASK" --country "$cc" --type U_LONG_LONG -q "$W/n_$cc.in" -o "$W/n_$cc.expected" || fail "nidmask $cc numeric"
  cmp -s "$W/n_$cc.expected" "$W/n_$cc.got" || fail "$cc: nidmask.$fn(bigint) differs from nidmask"
done
echo "ok: 6 countries x $ROWS rows and 2 bigint columns masked as nidmask masks them"

# --- a parallel plan: the function runs in the workers.
sql -c "CREATE TABLE big AS SELECT id, v FROM t_FR, generate_series(1, 3) WHERE v IS NOT NULL" -c "ANALYZE big"
plan=$(sql -c "SET parallel_setup_cost = 0" -c "SET parallel_tuple_cost = 0" \
           -c "SET min_parallel_table_scan_size = 0" -c "SET max_parallel_workers_per_gather = 2" \
           -c "EXPLAIN (ANALYZE, VERBOSE, COSTS OFF, TIMING OFF) SELECT count(nidmask.mask('FR', v)) FROM big")
grep -Eq 'Workers Launched: [12]' <<<"$plan" || fail "no parallel worker launched: $plan"
grep -q 'Parallel Seq Scan' <<<"$plan" || fail "no parallel scan: $plan"
grep -Eq 'Output: PARTIAL count\(nidmask\.mask\(' <<<"$plan" || fail "nidmask.mask not in the workers' part: $plan"
grep -Eq 'Worker [01]:.*rows=[1-9]' <<<"$plan" || fail "the workers served no rows: $plan"
echo "ok: nidmask.mask evaluated in parallel workers"

# --- a backend killed in the middle of an UPDATE. Another session holds
# the lock of the row the UPDATE's scan reaches last, so the UPDATE has
# rewritten every other row when it waits, and is killed there.
before=$(sql -c "SELECT md5(string_agg(v, ',' ORDER BY id, v)) FROM big")
sql -c "SELECT 1 FROM big WHERE ctid = (SELECT ctid FROM big ORDER BY ctid DESC LIMIT 1) FOR UPDATE;
        SELECT pg_sleep(300)" >/dev/null 2>&1 &
locker=$!
for _ in $(seq 100); do
  [ -n "$(sql -c "SELECT pid FROM pg_stat_activity WHERE query LIKE '%FOR UPDATE%' AND wait_event = 'PgSleep'")" ] && break
  sleep 0.05
done
"${PSQL[@]}" -d nidmask_test -c "SET synchronize_seqscans = off" -c "UPDATE big SET v = nidmask.mask('FR', v)" \
  >"$W/update.out" 2>&1 &
update=$!
pid=
for _ in $(seq 600); do
  pid=$(sql -c "SELECT pid FROM pg_stat_activity WHERE query LIKE 'UPDATE big%' AND wait_event_type = 'Lock'")
  [ -n "$pid" ] && break
  sleep 0.05
done
[ -n "$pid" ] || fail "the UPDATE never reached the locked row"
kill -KILL "$pid"
wait "$update" && fail "the killed UPDATE reported success"
wait "$locker" || true
for _ in $(seq 100); do
  "$PG_BIN/pg_isready" -q -d nidmask_test && sql -c "SELECT 1" >/dev/null 2>&1 && break
  sleep 0.2
done
grep -q "was terminated by signal 9" "$SERVER_LOG" || fail "the server did not see the backend die"
after=$(sql -c "SELECT md5(string_agg(v, ',' ORDER BY id, v)) FROM big")
[ "$before" = "$after" ] || fail "the table changed after the killed UPDATE"
[ -n "$(sql -c "SELECT nidmask.mask_nir('269037511604241')")" ] || fail "no masking after recovery"
echo "ok: a backend killed mid-UPDATE left the table unchanged after recovery"

# --- the server log: the regression files' rejected values never appear
# in an error message (the statements' own text is the server's to log).
if grep 'ERROR:' "$SERVER_LOG" | grep -F -e 385057800608491 -e 1234567890123 -e 123456789 -e 666-12-3456; then
  fail "a value in clear in the server log's error messages"
fi
echo "pg: all checks passed"
