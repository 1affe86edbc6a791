#!/usr/bin/env bash
# scripts/check-layers.sh against small trees made for each case, with the
# layer table of the real ARCHITECTURE.md: what it must let pass, and what it
# must refuse, with the file, line and header it names.
# Usage: layers_test.sh SOURCE-ROOT
set -euo pipefail
source=$(cd "${1:-$(dirname "$0")/..}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# check NAME pass|fail EXPECTED-MESSAGE [--exceptions TEXT] FILE=LINE...
#   Each FILE gets the one LINE ("\n" for more); the message must appear in
#   the output (empty: anything).
check() {
  local name=$1 expect=$2 message=$3
  shift 3
  local root=$work/$name
  mkdir -p "$root"
  cp "$source/ARCHITECTURE.md" "$root/"
  # The script's own list of exceptions is the real tree's: none here.
  : >"$work/$name.exceptions"
  if [ "${1:-}" = --exceptions ]; then
    printf '%b\n' "$2" >"$work/$name.exceptions"
    shift 2
  fi
  local file
  for file in "$@"; do
    mkdir -p "$root/$(dirname "${file%%=*}")"
    printf '%b\n' "${file#*=}" >"$root/${file%%=*}"
  done
  local status=0 output
  output=$(bash "$source/scripts/check-layers.sh" "$root" "$work/$name.exceptions" 2>&1) ||
    status=$?
  local got=pass
  [ $status -ne 0 ] && got=fail
  if [ $got != "$expect" ] || ! grep -qF -- "$message" <<<"$output"; then
    echo "FAILED: $name: expected $expect with \"$message\", got $got:" >&2
    sed 's/^/    /' <<<"$output" >&2
    failures=$((failures + 1))
  else
    echo "ok: $name"
  fi
}

# Allowed: lower layers, a folder's own files, the one header of the C
# interface for the programs, anything in the test folders.
check downward pass "keep to the layers of ARCHITECTURE.md; 0 known exceptions" \
  'device/Sale.cpp=#include "wire/Frame.h"\n#include "tools/log.h"\n#include "transport/Port.h"' \
  'api/Forwards.cpp=#include "device/VR35.h"\n#include "api/Globals.h"' \
  'capi/Device.cpp=#include "api/ResultCodes.h"\n#include "transport/SocketPort.h"' \
  'server/Worker.cpp=#include "Device.h"\n#include "sim/Simulator.h"\n#include "capi/verda.h"' \
  'cli/main.cpp=#include "capi/verda.h"\n#include "common/Help.h"\n#include "wire/Command.h"' \
  'tests/link_test.cpp=#include "device/VR35.h"\n#include "api/Globals.h"' \
  'sim/Link.cpp=#include <vector>\n#include "wire/DeviceSide.h"'

# Refused: every way upward or sideways, in sources and headers alike.
check core-reaches-up fail 'wire/ErrorCatalogue.cpp:2 includes "api/ResultCodes.h"' \
  'wire/ErrorCatalogue.cpp=#include <string>\n#include "api/ResultCodes.h"'
check device-reaches-api fail 'device/OperationShape.h:1 includes "api/CorteliaVERDA.h"' \
  'device/OperationShape.h=#include "api/CorteliaVERDA.h"'
check program-reaches-driver fail 'cli/Session.h:1 includes "device/VR35.h"' \
  'cli/Session.h=#include "device/VR35.h"'
check program-reaches-capi-inside fail 'server/Device.cpp:1 includes "capi/Wrapper.h"' \
  'server/Device.cpp=#include "capi/Wrapper.h"'
check capi-reaches-programs fail 'capi/Text.cpp:1 includes "common/Utf8.h"' \
  'capi/Text.cpp=#include "common/Utf8.h"'
check common-reaches-tools fail 'common/Readable.cpp:1 includes "tools/log.h"' \
  'common/Readable.cpp=#include "tools/log.h"'
check sim-reaches-capi fail 'sim/Register.h:1 includes "capi/verda.h"' \
  'sim/Register.h=#include "capi/verda.h"'
check spaced-directive fail 'tools/log.cpp:1 includes "device/VR35.h"' \
  'tools/log.cpp=  #  include   "device/VR35.h"'
check relative-path fail 'transport/Port.h:1 includes "../api/Globals.h"' \
  'transport/Port.h=#include "../api/Globals.h"'
check folder-without-row fail 'gadgets/ has sources but no row' \
  'gadgets/Widget.cpp=int widget;'

# Exceptions: one that occurs lets its include pass, and only that one; one
# that no longer occurs fails until it is removed.
check exception-used pass "1 known exceptions" \
  --exceptions '# the tool, until it moves\ncli/Session.h device/VR35.h' \
  'cli/Session.h=#include "device/VR35.h"'
check exception-is-narrow fail 'cli/Tool.cpp:1 includes "device/VR35.h"' \
  --exceptions 'cli/Session.h device/VR35.h' \
  'cli/Session.h=#include "device/VR35.h"' 'cli/Tool.cpp=#include "device/VR35.h"'
check exception-stale fail 'the exception "cli/Session.h device/VR35.h" no longer occurs' \
  --exceptions 'cli/Session.h device/VR35.h' \
  'cli/Session.h=#include "capi/verda.h"'

if [ $failures -ne 0 ]; then
  echo "$failures cases failed" >&2
  exit 1
fi
echo "all cases passed"
