#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for SECONDS seconds over
# its seed corpus in tests/fuzz/corpus/<target>. Any crash, leak or sanitizer
# report fails the run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds="${1:-30}"

bash scripts/setup.sh deps
# Share ccache results across clones, as the set-up script does.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$PWD}"
export CCACHE_NOHASHDIR="${CCACHE_NOHASHDIR:-1}"
cmake --preset fuzz >/dev/null
shopt -s nullglob
# Only the fuzz targets are built, so that a harness runs whether or not the
# rest of the tree (servers, tools) compiles with clang at the moment.
targets=()
for source in tests/fuzz/fuzz_*.cpp; do
  targets+=("$(basename "$source" .cpp)")
done
if [ "${#targets[@]}" -gt 0 ]; then
  cmake --build --preset fuzz -j "$(nproc)" --target "${targets[@]}"
fi
# The preset builds with -fno-sanitize-recover=all, so that a UBSan report
# stops the target like a crash; the options say the same to the runtimes.
export ASAN_OPTIONS="${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
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
