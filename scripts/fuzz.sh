#!/usr/bin/env bash
# Builds the exchange fuzz target with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs it for a bounded time (FUZZ_SECONDS,
# 60 by default) from the seed corpus in fuzz/corpus. Any finding (a crash,
# a sanitizer report, an exception other than the short-frame length error,
# an input that hangs) fails the script; the input is left in
# build/fuzz/artifacts/ and can be replayed with
#   build/fuzz/fuzz/verda_exchange_fuzz build/fuzz/artifacts/<file>
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-60}
dir=build/fuzz
echo "== $dir: configure"
# Warnings are the GCC builds' business; clang's own need not stop the fuzzing.
CXX=clang++ cmake -S . -B "$dir" -DVERDA_FUZZ=ON -DVERDA_SANITIZE=ON -DVERDA_BUILD_TESTS=OFF -DVERDA_WERROR=OFF \
  >/dev/null
echo "== $dir: build"
cmake --build "$dir" -j"${JOBS:-2}" --target verda_exchange_fuzz

# New inputs go to a scratch corpus; the committed seeds stay as they are.
mkdir -p "$dir/corpus" "$dir/artifacts"
echo "== $dir: fuzz for ${seconds} s"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
set +e
"$dir/fuzz/verda_exchange_fuzz" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
  -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$dir/artifacts/" \
  "$dir/corpus" fuzz/corpus >"$dir/fuzz.log" 2>&1
status=$?
set -e
grep -E '^(Done|stat::number_of_executed_units|stat::new_units_added)|ERROR|SUMMARY' \
  "$dir/fuzz.log" || true
if [ $status -ne 0 ]; then
  echo "== fuzzing found a fault (exit $status); the end of its log:"
  tail -n 60 "$dir/fuzz.log"
  exit $status
fi
echo "== fuzzing found nothing"
