#!/usr/bin/env bash
# Builds the Debian packages of a configured and built tree, unpacks them into
# a scratch root, and proves the installed files complete: each public header
# compiles on its own (the C interface's also as C99), no internal header is
# installed, and the examples build against the unpacked files alone, once
# with pkg-config and once with find_package(CorteliaVERDA), and run against
# the packaged simulator; on the build machine's own architecture the Python
# example runs too, with the packaged Python package.
# Usage: check-installed.sh BUILD-DIR
set -euo pipefail
source=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
work=$build/installed-check
say() { echo "== check-installed: $*"; }

cache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
toolchain=$(cache CMAKE_TOOLCHAIN_FILE)
case $toolchain in "" | /*) ;; *) toolchain=$source/$toolchain ;; esac
emulator=$(cache QEMU_I386)
cxxflags=()
[ -n "$toolchain" ] && cxxflags=(-m32)

rm -rf "$work"
mkdir -p "$work/root"
(cd "$build" && cpack -G DEB -B "$work/packages" >/dev/null)
rm -rf "$work/packages/_CPack_Packages"
for deb in "$work"/packages/*.deb; do
  say "$(basename "$deb"): $(dpkg-deb -f "$deb" Package Architecture Depends | tr '\n' ' ')"
  dpkg-deb -x "$deb" "$work/root"
done
usr=$work/root/usr
pcfile=$(find "$usr" -name CorteliaVERDA.pc)
libdir=$(dirname "$(dirname "$pcfile")")
# pkg-config reads the unpacked file and puts the scratch root before its paths.
export PKG_CONFIG_PATH=$(dirname "$pcfile") PKG_CONFIG_LIBDIR=$(dirname "$pcfile")
export PKG_CONFIG_SYSROOT_DIR=$work/root
major=$(cache CMAKE_PROJECT_VERSION_MAJOR)
[ -L "$libdir/libCorteliaVERDA.so" ] && [ -L "$libdir/libCorteliaVERDA.so.$major" ] || {
  echo "check-installed: libCorteliaVERDA.so and .so.$major links missing in $libdir" >&2; exit 1; }

include=$usr/include/CorteliaVERDA
# Of the protocol core only the frame format and the result codes are public.
for internal in device/OperationShape.h api/Globals.h capi/Wrapper.h \
    $(cd "$source" && ls wire/*.h | grep -vx -e wire/Frame.h -e wire/ResultCodes.h); do
  if [ -e "$include/$internal" ]; then
    echo "check-installed: internal header $internal is installed" >&2
    exit 1
  fi
done
headers=$(cd "$include" && find . -name '*.h' | sed 's:^\./::' | sort)
for header in $headers; do
  echo "#include \"$header\"" | g++ -std=c++17 "${cxxflags[@]}" -fsyntax-only -Wall -Wextra \
    -Werror $(pkg-config --cflags CorteliaVERDA) -x c++ -
done
# The headers that C programs include.
c_headers="capi/verda.h api/ResultCodes.h wire/ResultCodes.h"
for header in $c_headers; do
  gcc -std=c99 -pedantic "${cxxflags[@]}" -fsyntax-only -Wall -Wextra -Werror \
    $(pkg-config --cflags CorteliaVERDA) -x c - <<<"#include \"$header\""
done
say "$(wc -w <<<"$headers") headers compile on their own, $c_headers also as C99"

# sell_receipt needs the selling functions; a tree without them builds the
# other examples only.
examples=(check_connection)
missing=$(grep -oE 'VERDA::[A-Za-z_]+' "$source/examples/sell_receipt.cpp" | sed 's/VERDA:://' |
          sort -u | comm -23 - <("$source/scripts/verda-functions.sh" "$include/api/CorteliaVERDA.h"))
if [ -z "$missing" ]; then
  examples+=(sell_receipt)
else
  say "skip sell_receipt: the library does not declare $(echo $missing)"
fi

mkdir -p "$work/pkg-config"
for example in "${examples[@]}"; do
  g++ -std=c++17 "${cxxflags[@]}" -Wall -Wextra -Werror "$source/examples/$example.cpp" \
    $(pkg-config --cflags --libs CorteliaVERDA) -o "$work/pkg-config/$example"
done
gcc -std=c99 "${cxxflags[@]}" -Wall -Wextra -Werror "$source/examples/receipt.c" \
  $(pkg-config --cflags --libs CorteliaVERDA) -o "$work/pkg-config/receipt"
examples+=(receipt)
say "examples built with pkg-config: ${examples[*]}"
CXXFLAGS="-Wall -Wextra -Werror" cmake -S "$source/examples" -B "$work/cmake" \
  -DCMAKE_PREFIX_PATH="$usr" ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} \
  -DEXAMPLE_SELL_RECEIPT=$([ -z "$missing" ] && echo ON || echo OFF) >/dev/null
cmake --build "$work/cmake" >/dev/null
say "examples built with find_package(CorteliaVERDA)"

# The programs find the unpacked library, and only that one.
export LD_LIBRARY_PATH=$libdir
run() { ${emulator:+"$emulator"} "$@"; }
# Without arguments an example loads the library and prints its usage (status 2).
for example in "${examples[@]}"; do
  for variant in pkg-config cmake; do
    status=0
    run "$work/$variant/$example" >/dev/null 2>"$work/start.err" || status=$?
    if [ $status -ne 2 ]; then
      echo "check-installed: $variant/$example does not start:" >&2
      cat "$work/start.err" >&2
      exit 1
    fi
  done
done

# address_of NAME PID REGEX OUT ERR: the address that program NAME (process
# PID) prints first on OUT, as it matches REGEX; with its ERR when it prints none.
address_of() {
  local address=""
  for _ in $(seq 100); do
    address=$(grep -m1 -oE "$3" "$4" || true)
    [ -n "$address" ] && break
    kill -0 "$2" 2>/dev/null || break
    sleep 0.1
  done
  if [ -z "$address" ]; then
    echo "check-installed: $1 printed no address:" >&2
    cat "$5" >&2
    exit 1
  fi
  echo "$address"
}

# The examples sell against the packaged simulator.
against_simulator() {
  local sim address
  ${emulator:+"$emulator"} "$usr/bin/verda-sim" --tcp 127.0.0.1:0 --paper "$work/paper.txt" \
    >"$work/sim.out" 2>&1 &
  sim=$!
  trap "kill $sim 2>/dev/null || true" EXIT
  address=$(address_of verda-sim $sim '^[0-9.]+:[0-9]+$' "$work/sim.out" "$work/sim.out")
  for example in "${examples[@]}"; do
    for variant in pkg-config cmake; do
      say "$variant/$example against verda-sim at $address"
      HOME=$work run "$work/$variant/$example" tcp "${address%:*}" "${address##*:}"
    done
  done
  # The Python package is the build machine's: Debian's interpreter loads the
  # packaged library of its own architecture only.
  if [ -z "$emulator" ]; then
    say "examples/receipt.py with the packaged Python package against verda-sim at $address"
    PYTHONPATH=$(dirname "$(dirname "$(find "$usr/lib/python3" -path '*/verda/__init__.py')")") \
      /usr/bin/python3 "$source/examples/receipt.py" tcp "${address%:*}" "${address##*:}"
  fi
  kill $sim
  wait $sim 2>/dev/null || true
  say "the paper of the simulator:"
  cat "$work/paper.txt"
}
if [ -x "$usr/bin/verda-sim" ]; then
  against_simulator
else
  say "skip the run: the packages hold no verda-sim (no simulator in this tree)"
fi

# The server's package: its sample configuration (a conffile) and systemd
# unit are there, and the server starts from that configuration with its
# built-in simulated register and answers.
against_server() {
  local server url deb
  deb=$(ls "$work"/packages/corteliaverda-server_*.deb)
  dpkg-deb -I "$deb" conffiles | grep -qx /etc/verda/verda-server.conf || {
    echo "check-installed: the server's configuration is not a conffile" >&2; exit 1; }
  local monitoring=usr/share/corteliaverda/monitoring
  for file in etc/verda/verda-server.conf usr/lib/systemd/system/verda-server.service \
              usr/share/man/man1/verda-server.1.gz $monitoring/verda-alerts.yml \
              $monitoring/verda-alerts.test.yml $monitoring/verda-dashboard.json; do
    [ -f "$work/root/$file" ] || { echo "check-installed: $file is not packaged" >&2; exit 1; }
  done
  # The alert rules as packaged pass their tests where they lie.
  if command -v promtool >/dev/null; then
    (cd "$work/root/$monitoring" && promtool test rules verda-alerts.test.yml >/dev/null) || {
      echo "check-installed: the packaged alert rules fail their tests" >&2; exit 1; }
  fi
  mkdir -p "$work/server"
  "$usr/bin/verda-server" --config "$work/root/etc/verda/verda-server.conf" \
    --listen 127.0.0.1:0 --journal "$work/server/journal.db" >"$work/server.out" 2>"$work/server.err" &
  server=$!
  trap "kill $server 2>/dev/null || true" EXIT
  url=$(address_of verda-server $server '^http://[0-9.]+:[0-9]+$' "$work/server.out" "$work/server.err")
  curl -fsS "$url/health" | grep '"ok"' >/dev/null
  # The web console is built into the program, not read from the source tree.
  curl -fsS "$url/" | grep '/console/console.js' >/dev/null && curl -fsS "$url/console/console.js" >/dev/null || {
    echo "check-installed: the packaged server does not serve its console" >&2; exit 1; }
  for _ in $(seq 100); do
    curl -fsS "$url/devices/sim" | grep '"state":"online"' >/dev/null && break
    sleep 0.1
  done
  curl -fsS "$url/devices/sim" | grep '"state":"online"' >/dev/null || {
    echo "check-installed: the server's simulated register is not online" >&2; exit 1; }
  # Stopped as systemd stops it (SIGTERM): a clean stop is status 0.
  kill $server
  status=0
  wait $server || status=$?
  [ $status -eq 0 ] || { echo "check-installed: verda-server ended with $status on SIGTERM" >&2; exit 1; }
  say "verda-server from the packaged configuration answers /health, serves its console, its register online, stops cleanly"
}
if [ -x "$usr/bin/verda-server" ]; then
  against_server
else
  say "skip the server: the packages hold no verda-server (its libraries are missing in this build)"
fi

# In CI (CI=true) the packages are also installed for real with apt, as a user
# installs them, an example is built against /usr, and they are removed again.
if [ "${CI:-}" = true ] && [ "$(dpkg-deb -f "$(ls "$work"/packages/libcorteliaverda[0-9]*.deb)" \
    Architecture)" = "$(dpkg --print-architecture)" ]; then
  names=$(for deb in "$work"/packages/*.deb; do dpkg-deb -f "$deb" Package; done)
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --reinstall "$work"/packages/*.deb \
    >/dev/null
  unset PKG_CONFIG_PATH PKG_CONFIG_LIBDIR PKG_CONFIG_SYSROOT_DIR LD_LIBRARY_PATH
  g++ -std=c++17 "$source/examples/check_connection.cpp" \
    $(pkg-config --cflags --libs CorteliaVERDA) -o "$work/apt-check_connection"
  status=0
  "$work/apt-check_connection" >/dev/null 2>&1 || status=$?
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get purge -y -qq $names >/dev/null
  [ $status -eq 2 ] || { echo "check-installed: the example does not run against /usr" >&2; exit 1; }
  say "installed with apt-get, example built against /usr, packages removed"
fi
