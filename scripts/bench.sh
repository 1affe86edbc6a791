#!/usr/bin/env bash
# Builds the benchmarks (needs libbenchmark-dev) and prints their table and
# the summary of ratios. Not part of the tests: it never fails on a figure.
# Extra arguments go to the benchmark program, e.g.
#   bash scripts/bench.sh --benchmark_filter=tcp
# With --server first, it runs the server's benchmark instead: what
# verda-server adds over the library, and receipts per second with 1, 4 and
# 16 simulated registers; its options follow, e.g.
#   bash scripts/bench.sh --server --seconds 20 --journal-dir /var/tmp
set -euo pipefail
cd "$(dirname "$0")/.."

dir=build/bench
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Release -DVERDA_BUILD_TESTS=OFF >/dev/null
if [ "${1:-}" = --server ]; then
  shift
  cmake --build "$dir" -j"${JOBS:-2}" --target verda_server_bench >/dev/null
  exec "$dir/bench/verda_server_bench" --journal-dir "$dir" "$@" </dev/null
fi
cmake --build "$dir" -j"${JOBS:-2}" --target verda_bench >/dev/null
if [ ! -x "$dir/bench/verda_bench" ]; then
  echo "Google Benchmark was not found: install libbenchmark-dev" >&2
  exit 1
fi
"$dir/bench/verda_bench" --benchmark_min_time=0.5 --benchmark_color=false "$@" </dev/null
