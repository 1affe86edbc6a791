#!/usr/bin/env bash
# Records the golden sessions again, tests/golden/NAME.session, one for each
# area (tests/support/Golden.cpp): calls run through the library against a
# fresh verda-sim whose clock stands, every exchange's bytes with what each
# call handed back and logged; recording twice gives the same files.
# tests/golden_test.cpp replays them against the driver and the simulator.
#
# Run it only when the simulator changes on purpose (its replies, numbers or
# texts), then read the difference (git diff tests/golden) before committing
# it: a change of the driver's requests, outputs or log lines is a change of
# the library's behaviour. Not part of the test command.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/packages.sh
install_missing cmake g++ googletest libcli11-dev nlohmann-json3-dev

build=${1:-build/golden}
cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j"${JOBS:-2}" --target verda_golden_record >/dev/null
"$build/tests/verda_golden_record" tests/golden
git --no-pager status --short -- tests/golden
