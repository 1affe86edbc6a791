#!/usr/bin/env bash
# Installs what the builds need on a Debian machine, then builds and tests the
# library three ways: native x86-64, 32-bit x86 (tests under qemu-i386), and
# native with AddressSanitizer and UndefinedBehaviorSanitizer. The tests of
# each build include the checks of the exported symbols, the API reference,
# the changelog and the files generated from capi/operations.txt; the native
# build also runs the Python package's tests and compares the C interface with
# its ABI baseline, and the TypeScript client's tests (Node's test runner,
# against verda-server). The native and 32-bit builds are then packaged as .deb files
# for amd64 and i386, and the packaged files are checked on their own: headers,
# the examples built with pkg-config and with CMake, run against the packaged
# simulator, and the packaged verda-server started (scripts/check-installed.sh).
# verda-server is built and tested in the native and sanitizer builds.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/packages.sh
install_missing cmake g++ g++-multilib googletest qemu-user locales pkg-config help2man \
  libcli11-dev nlohmann-json3-dev \
  clang libclang-rt-14-dev libbenchmark-dev \
  abigail-tools python3 python3-pytest \
  libcpp-httplib-dev libssl-dev libsqlite3-dev python3-requests python3-jsonschema python3-yaml \
  prometheus curl openssl \
  chromium chromium-driver python3-selenium
# clang to libbenchmark-dev: the fuzz targets and the benchmarks; abigail-tools:
# the ABI check of the C interface; python3-pytest: the Python package's tests;
# libcpp-httplib-dev to curl: verda-server, its tests over HTTP (prometheus for
# promtool, python3-yaml to read the alert rules) and the check of its
# package; libssl-dev: its HTTPS; openssl: the certificates of its HTTPS tests;
# chromium to python3-selenium: the
# web console's tests in a real browser

# The TypeScript client's npm packages, as its committed lock file names them
# (Node and npm are on the machine): its tests run in the native build.
(cd clients/typescript && npm ci --no-audit --no-fund --prefer-offline)
# axe-core, which the web console's browser tests inject into the page, as
# the lock file of tests/server/browser names it.
(cd tests/server/browser && npm ci --no-audit --no-fund --prefer-offline)

jobs=${JOBS:-2}
run() {
  local dir=$1; shift
  echo "== $dir: configure"
  cmake -S . -B "$dir" -DVERDA_WERROR=ON -DCMAKE_INSTALL_PREFIX=/usr "$@" >/dev/null
  echo "== $dir: build"
  cmake --build "$dir" -j"$jobs"
  echo "== $dir: test"
  (cd "$dir" && ctest -j"$jobs" --output-on-failure --timeout 300)
}

run build/native
bash scripts/check-installed.sh build/native
run build/i386 -DCMAKE_TOOLCHAIN_FILE=cmake/i386.cmake
bash scripts/check-installed.sh build/i386
ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 run build/sanitize -DVERDA_SANITIZE=ON
echo "== all three builds passed; the packages are in build/{native,i386}/installed-check/packages"
# The fuzz targets, about a minute in all; a finding fails the run.
bash scripts/fuzz.sh
