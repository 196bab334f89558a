#!/usr/bin/env bash
# Runs every benchmark program in BIN_DIR; each prints its figures and the ratios to its peers.
set -euo pipefail
bin_dir=$1
for bench in "$bin_dir"/*_bench; do
  [ -x "$bench" ] || continue
  echo "== $(basename "$bench")"
  "$bench" --benchmark_counters_tabular=true
done
