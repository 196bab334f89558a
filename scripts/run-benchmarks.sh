#!/usr/bin/env bash
# Runs every benchmark program in BIN_DIR; each prints its figures and the ratios to its peers.
# Each benchmark runs BENCH_REPETITIONS times (default 5), interleaved at random with the others
# of its program, and the ratios take the median of each side: on a small shared machine a
# peer measured a second later can see another load.
set -euo pipefail
bin_dir=$1
for bench in "$bin_dir"/*_bench; do
  [ -x "$bench" ] || continue
  echo "== $(basename "$bench")"
  "$bench" --benchmark_counters_tabular=true --benchmark_repetitions="${BENCH_REPETITIONS:-5}" \
    --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true
done
