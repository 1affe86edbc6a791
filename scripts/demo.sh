#!/usr/bin/env bash
# One whole shift against the simulated register, from a fresh Debian
# machine: installs what the build needs, builds the tool and the simulator,
# starts the simulator, opens a shift, sells a receipt of several lines with
# a discount and change, prints an X report, and stops the simulator. The
# simulated paper ("paper |") and the library's log ("  log |") are shown as
# they are written, between the commands and what they print; the log is
# shown through "verda log -f", which makes the library's single-byte
# Russian text readable (the file itself stays as the library writes it).
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/packages.sh
install_missing cmake g++ pkg-config libcpp-httplib-dev nlohmann-json3-dev libsqlite3-dev \
  libcli11-dev curl

build=build/demo
echo "== building verda, verda-sim and verda-server in $build"
cmake -S . -B "$build" -DVERDA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"${JOBS:-2}" --target verda verda-sim verda-server >/dev/null

work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# The library logs to the home directory of the user's account.
log="$(getent passwd "$(id -u)" | cut -d: -f6)/CorteliaVERDA.log"
touch "$log"
: >"$work/paper"

"$build/sim/verda-sim" --tcp 0 --paper "$work/paper" >"$work/sim" 2>&1 &
pids+=($!)
address=""
for _ in $(seq 100); do
  address=$(head -n1 "$work/sim" 2>/dev/null || true)
  [ -n "$address" ] && break
  sleep 0.1
done
[ -n "$address" ] || { echo "verda-sim did not start:"; cat "$work/sim"; exit 1; }
echo "== verda-sim listens on $address"

# Each follower's own pid is kept (not that of the sed after it), so that the
# cleanup stops it.
tail -n0 -F "$work/paper" 2>/dev/null > >(sed -u 's/^/     paper | /') &
pids+=($!)
"$build/cli/verda" log -f -n 0 "$log" > >(sed -u 's/^/       log | /') &
pids+=($!)
sleep 0.5  # the followers have read to the end before the first command writes

# Prints a command as one would type it, quoted where the shell needs it.
typed() {
  printf '$ %s' "$1"
  shift
  local a
  for a in "$@"; do
    if [[ -z $a || $a =~ [^A-Za-z0-9_./:=@%+,-] ]]; then
      printf " '%s'" "${a//\'/\'\\\'\'}"
    else
      printf ' %s' "$a"
    fi
  done
  echo
}

verda() {
  echo
  typed verda "$@"
  "$build/cli/verda" --tcp "$address" "$@"
  sleep 0.5  # let the paper and the log catch up before the next command
}

verda info
verda shift open --cashier 'Иванова А. В.'
verda receipt 'Хлеб ржаной=45.50x2' 'Молоко 3,2%=89.90' 'Сыр=412.30x0.35:2' \
  --discount 5% --pay cash:1000
verda x-report

# The same through verda-server, with its own simulated register: one
# request for a whole receipt, repeated with the same key, and its record
# in the server's journal.
echo
echo "== verda-server with its built-in simulated register"
mkdir "$work/server"
"$build/server/verda-server" --listen 127.0.0.1:0 --journal "$work/server/journal.db" \
  >"$work/server.out" 2>"$work/server.log" &
pids+=($!)
url=""
for _ in $(seq 100); do
  url=$(grep -m1 -oE '^http://[0-9.:]+$' "$work/server.out" 2>/dev/null || true)
  [ -n "$url" ] && break
  sleep 0.1
done
[ -n "$url" ] || { echo "verda-server did not start:"; cat "$work/server.log"; exit 1; }
echo "== verda-server listens on $url"
show() {
  echo
  typed curl "$@"
  curl -sS "$@"
  echo
}
until curl -sS "$url/devices/sim" | grep '"reading":{' >/dev/null; do sleep 0.1; done
show -X POST -H 'Idempotency-Key: demo-shift' -d '' "$url/devices/sim/shift/open"
receipt='{"cashier": "Иванова",
  "lines": [{"name": "Хлеб", "price": 45.50, "quantity": 2, "discount": {"percent": 5}},
            {"name": "Молоко", "price": 89.90}],
  "payments": [{"mode": "cash", "amount": 1000.00}]}'
show -X POST -H 'Idempotency-Key: demo-receipt' -H 'Content-Type: application/json' \
  -d "$receipt" "$url/devices/sim/receipts"
echo "(the same request again: the recorded answer, the register is not touched)"
show -X POST -H 'Idempotency-Key: demo-receipt' -H 'Content-Type: application/json' \
  -d "$receipt" "$url/devices/sim/receipts"
show "$url/requests/demo-receipt"
echo
echo "== the server's paper:"
curl -sS "$url/devices/sim/paper" | sed -n 's/.*"text":"\(.*\)"}$/\1/p' | sed 's/\\n/\n/g' | tail -n 22
echo
echo "== done; the simulator and the server stop"
