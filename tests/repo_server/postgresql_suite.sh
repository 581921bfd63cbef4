#!/bin/sh
# The repository server's end-to-end suite on PostgreSQL: run inside pg_virtualenv (a
# throw-away cluster, its address in the PG* variables), in parallel shards because most of
# the time goes to waiting for the server processes. Usage: postgresql_suite.sh TEST_PROGRAM
set -u
program="$1"
shards=4
export KURVALUX_TEST_ENGINE=postgresql GTEST_TOTAL_SHARDS=$shards
pids=""
i=0
while [ $i -lt $shards ]; do
  GTEST_SHARD_INDEX=$i "$program" --gtest_brief=1 &
  pids="$pids $!"
  i=$((i + 1))
done
status=0
for pid in $pids; do
  wait "$pid" || status=1
done
exit $status
