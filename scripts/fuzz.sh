#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for SECONDS seconds over
# its seed corpus in tests/fuzz/corpus/<target>. Any crash, leak or sanitizer
# report fails the run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds="${1:-30}"

bash scripts/setup.sh build fuzz
shopt -s nullglob
ran=0
for target in build/fuzz/bin/fuzz_*; do
  name="$(basename "$target")"
  seeds="tests/fuzz/corpus/${name#fuzz_}"
  work="$(mktemp -d)"
  echo "fuzz: $name for ${seconds}s"
  if [ -d "$seeds" ]; then
    "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 "$work" "$seeds"
  else
    "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 "$work"
  fi
  rm -rf "$work"
  ran=$((ran + 1))
done
echo "fuzz: $ran targets ran"
