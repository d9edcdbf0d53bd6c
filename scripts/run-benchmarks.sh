#!/usr/bin/env bash
# Runs every benchmark binary the build produced and prints its figures.
set -euo pipefail
build_dir=${1:-build}
shopt -s nullglob
for bench in "$build_dir"/bench/bench_*; do
  [[ -x "$bench" && -f "$bench" ]] || continue
  echo "== $(basename "$bench")"
  "$bench"
done
