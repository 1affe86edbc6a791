#!/usr/bin/env bash
# Builds the fuzz targets with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs each for a bounded time from its seed
# corpus: the exchange (fuzz/corpus) for half of FUZZ_SECONDS (60 by
# default), the reply scanner (fuzz/scanner_corpus) and the server's reading
# of a request (fuzz/request_corpus) for a quarter each. Any finding (a
# crash, a sanitizer report, a broken check, an exception other than the
# short-frame length error or a refusal naming its field, an input that
# hangs or takes memory without bound) fails the script; the input is left
# in build/fuzz/artifacts/ and can be replayed with
#   build/fuzz/fuzz/verda_exchange_fuzz build/fuzz/artifacts/<file>
#   build/fuzz/fuzz/verda_scanner_fuzz build/fuzz/artifacts/<file>
#   build/fuzz/fuzz/verda_request_fuzz build/fuzz/artifacts/<file>
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-60}
dir=build/fuzz
echo "== $dir: configure"
# Warnings are the GCC builds' business; clang's own need not stop the fuzzing.
CXX=clang++ cmake -S . -B "$dir" -DVERDA_FUZZ=ON -DVERDA_SANITIZE=ON -DVERDA_BUILD_TESTS=OFF -DVERDA_WERROR=OFF \
  >/dev/null
echo "== $dir: build"
cmake --build "$dir" -j"${JOBS:-2}" --target verda_exchange_fuzz verda_scanner_fuzz \
  verda_request_fuzz

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
mkdir -p "$dir/artifacts"
# fuzz TARGET SECONDS SEEDS: new inputs go to a scratch corpus; the committed
# seeds stay as they are.
fuzz() {
  local target=$1 time=$2 seeds=$3 status
  mkdir -p "$dir/corpus-$target"
  echo "== $dir: fuzz $target for ${time} s"
  set +e
  "$dir/fuzz/verda_${target}_fuzz" -max_total_time="$time" -max_len=8192 -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$dir/artifacts/" \
    "$dir/corpus-$target" "$seeds" >"$dir/$target.log" 2>&1
  status=$?
  set -e
  grep -E '^(Done|stat::number_of_executed_units|stat::new_units_added)|ERROR|SUMMARY' \
    "$dir/$target.log" || true
  if [ $status -ne 0 ]; then
    echo "== fuzzing $target found a fault (exit $status); the end of its log:"
    tail -n 60 "$dir/$target.log"
    exit $status
  fi
}
fuzz exchange $((seconds / 2)) fuzz/corpus
fuzz scanner $((seconds / 4)) fuzz/scanner_corpus
fuzz request $((seconds - seconds / 2 - seconds / 4)) fuzz/request_corpus
echo "== fuzzing found nothing"
