#!/usr/bin/env bash
# Runs every fuzz target for a bounded time from its committed seed corpus.
# Usage: run_all.sh BUILD_FUZZ_DIR SECONDS
set -euo pipefail
dir=$1
seconds=$2
here=$(cd "$(dirname "$0")" && pwd)
status=0
for bin in "$dir"/fuzz_*; do
  [ -x "$bin" ] || continue
  name=$(basename "$bin")
  seeds="$here/corpus/$name"
  work=$(mktemp -d)
  [ -d "$seeds" ] && cp -r "$seeds"/. "$work"/
  echo "== $name for ${seconds}s"
  if ! "$bin" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$dir/$name-" "$work" 2>"$dir/$name.log"; then
    tail -n 60 "$dir/$name.log"
    echo "FUZZ FAILURE in $name"
    status=1
  else
    grep -E '^(stat::number_of_executed_units|Done)' "$dir/$name.log" || true
  fi
  rm -rf "$work"
done
exit $status
