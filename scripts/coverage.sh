#!/usr/bin/env bash
# Line coverage of the whole test suite, by part, with a floor for each:
#   the library (transport/ device/ api/ tools/ and the protocol core wire/)
#   at least 97 %, the C interface (capi/, its generated wrappers included)
#   at least 90 %, the simulator (sim/) and the tool (cli/) at least 89 %,
#   verda-server (server/) at least 85 %.
# Builds into build/coverage (or $1) with gcc's --coverage at -O0, runs every
# test there, and prints one line a part; exits 1 when a part is below its
# floor. The simulator's and the tool's main.cpp are left out of the figures:
# the tests run the simulator and the tool inside their own process, through
# the libraries that main() only wraps. The server's main.cpp counts: its
# tests run the real process and stop it as systemd does (SIGTERM), so that
# its counts are written, and its main() holds the start's checks and the
# stop. Not part of the test command: another build would cost it minutes.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/packages.sh
install_missing cmake g++ googletest gcovr

build=${1:-build/coverage}
flags="--coverage -fprofile-update=atomic"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$build" -j"${JOBS:-2}"
find "$build" -name '*.gcda' -delete
# Left out: the export check (the instrumented library exports gcov's own
# names), and the server's load and browser tests, which reach no line that
# server_api does not and take too long in an instrumented build.
(cd "$build" && ctest -j"${JOBS:-2}" --timeout 600 --output-on-failure \
  -E '^(exports|server_load|server_console)$') || {
  echo "coverage: the tests failed; no figures" >&2
  exit 1
}

gcovr --root . --object-directory "$build" --json-summary "$build/coverage.json" \
  --filter 'transport/' --filter 'device/' --filter 'api/' --filter 'tools/' \
  --filter 'wire/' --filter 'capi/' --filter 'sim/' --filter 'cli/' --filter 'server/' \
  --exclude '.*/(sim|cli)/main\.cpp$' >/dev/null 2>&1

/usr/bin/python3 - "$build/coverage.json" <<'EOF'
import json
import sys

# part: (folders, floor in per cent or None to report only)
parts = {
    "library": (("transport/", "device/", "api/", "tools/", "wire/"), 97.0),
    "C interface": (("capi/",), 90.0),
    "simulator": (("sim/",), 89.0),
    "tool": (("cli/",), 89.0),
    "server": (("server/",), 85.0),
}
files = json.load(open(sys.argv[1]))["files"]
failed = False
for name, (folders, floor) in parts.items():
    covered = total = 0
    for entry in files:
        if entry["filename"].startswith(folders):
            covered += entry["line_covered"]
            total += entry["line_total"]
    if total == 0:
        continue
    percent = 100.0 * covered / total
    verdict = ""
    if floor is not None:
        verdict = "ok" if percent >= floor else "BELOW %.0f %%" % floor
        failed |= percent < floor
    print("%-12s %6.1f %%  (%d of %d lines)  %s" % (name, percent, covered, total, verdict))
sys.exit(1 if failed else 0)
EOF
