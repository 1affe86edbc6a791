#!/usr/bin/env bash
# Compares the C interface of the built library (the functions verda_* and the
# types they reach, capi/abi.suppr) with its baseline capi/abi.xml, using
# libabigail (Debian abigail-tools). A changed or removed function fails: it
# calls for a new function name or a new soname (README, "Versions"), and a
# new baseline. A function added passes when it stands at a version node that
# the baseline does not have (its version in capi/operations.txt is one not
# yet released); added to a released node, it fails.
# Usage: check-abi.sh LIBRARY SOURCE-ROOT [--update]
#        --update writes the library's C interface as the new baseline.
# Needs a build with debug information (RelWithDebInfo, the default).
set -euo pipefail
lib=$1 root=$2
baseline=$root/capi/abi.xml
source=$(realpath "$root")

dump() {
  abidw --suppressions "$root/capi/abi.suppr" --header-file "$root/capi/verda.h" \
    --header-file "$root/wire/ResultCodes.h" --drop-private-types --drop-undefined-syms \
    --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash "$lib" |
    sed "s#path='$source/#path='#"  # sources named from the tree's root, wherever it is
}

if [ "${3:-}" = --update ]; then
  dump >"$baseline"
  echo "check-abi: wrote $baseline"
  exit 0
fi

current=$(mktemp)
trap 'rm -f "$current"' EXIT
dump >"$current"
status=0
report=$(abidiff "$baseline" "$current") || status=$?
[ -n "$report" ] && echo "$report"
if [ $status -eq 0 ]; then
  echo "check-abi: the C interface is the baseline's ($(grep -c '<elf-symbol ' "$baseline") functions)"
  exit 0
fi

# Functions added, and nothing else changed: each must stand at a version
# node that the baseline does not have, a version not yet released. Then a
# program built against the baseline sees nothing new, and the check passes;
# the baseline takes them when that version is released (--update).
if [ $status -eq 4 ] && ! grep -qE '^ *\[[DC]\]' <<<"$report" &&
   ! grep -E 'changes summary' <<<"$report" | grep -vqE ': 0 Removed, 0 Changed,'; then
  released=$(grep -oE "version='[^']+'" "$baseline" | sed -E "s/version='(.*)'/\1/" | sort -u)
  added=$(grep -E "^ *\[A\] 'function " <<<"$report" | grep -oE '\{[^}]+\}$' | tr -d '{}' || true)
  others=$(grep -E '^ *\[A\]' <<<"$report" | grep -vE "^ *\[A\] 'function " || true)
  ok=$([ -n "$added" ] && [ -z "$others" ] && echo 1 || echo 0)
  for function in $added; do
    node=${function##*@@}
    if [ "$node" = "$function" ]; then
      echo "check-abi: ${function%%@*} was added without a version node" >&2
      ok=0
    elif grep -qxF "$node" <<<"$released"; then
      echo "check-abi: ${function%%@*} was added to $node, a version already released:" \
           "give it the next version in capi/operations.txt" >&2
      ok=0
    fi
  done
  if [ "$ok" = 1 ]; then
    echo "check-abi: the C interface is the baseline's, with $(wc -w <<<"$added") function(s)" \
         "added at versions not yet released ($(sed 's/.*@@//' <<<"$added" | sort -u |
         paste -sd ' ')); when that version is released: scripts/check-abi.sh $lib $root --update"
    exit 0
  fi
  exit 1
fi
if [ $((status & 8)) -ne 0 ]; then
  echo "check-abi: the C interface changed incompatibly: keep the old function and add one" \
       "under a new name, or change the soname (README, Versions)" >&2
elif [ $((status & 4)) -ne 0 ]; then
  echo "check-abi: the C interface changed (above). A function or type changed: keep the old" \
       "one and add one under a new name, or change the soname; then write the baseline anew:" \
       "scripts/check-abi.sh $lib $root --update" >&2
else
  echo "check-abi: abidiff failed ($status)" >&2
fi
exit 1
