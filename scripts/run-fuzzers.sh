#!/usr/bin/env bash
# Runs each libFuzzer target in BIN_DIR for SECONDS, starting from its seed corpus under fuzz/corpus/.
set -euo pipefail
bin_dir=$1
seconds=${2:-20}
root=$(cd "$(dirname "$0")/.." && pwd)
status=0
for fuzzer in "$bin_dir"/*_fuzzer; do
  [ -x "$fuzzer" ] || continue
  name=$(basename "$fuzzer")
  work=$(mktemp -d)
  if [ -d "$root/fuzz/corpus/$name" ]; then cp -r "$root/fuzz/corpus/$name/." "$work/"; fi
  echo "== $name: ${seconds}s"
  # Crash inputs land beside the build's binaries, never in the source tree.
  mkdir -p "$bin_dir/fuzz-artifacts"
  if ! "$fuzzer" -max_total_time="$seconds" -rss_limit_mb=2048 -artifact_prefix="$bin_dir/fuzz-artifacts/" \
      "$work" 2>"$work.log"; then
    tail -n 60 "$work.log"
    status=1
  else
    grep -E '^#[0-9]+.*(DONE|pulse)' "$work.log" | tail -n 1 || true
  fi
  rm -rf "$work" "$work.log"
done
exit $status
