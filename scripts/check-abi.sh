#!/usr/bin/env bash
# Compares the C interface of the built library (the functions verda_* and the
# types they reach, capi/abi.suppr) with its baseline capi/abi.xml, using
# libabigail (Debian abigail-tools). Any difference fails: a changed or
# removed function calls for a new function name or a new soname (README,
# "Versions"); an added function for a new version node in cmake/exports.map;
# both for a new baseline.
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
abidiff "$baseline" "$current" || status=$?
if [ $status -eq 0 ]; then
  echo "check-abi: the C interface is the baseline's ($(grep -c '<elf-symbol ' "$baseline") functions)"
  exit 0
fi
if [ $((status & 8)) -ne 0 ]; then
  echo "check-abi: the C interface changed incompatibly: keep the old function and add one" \
       "under a new name, or change the soname (README, Versions)" >&2
elif [ $((status & 4)) -ne 0 ]; then
  echo "check-abi: the C interface changed (above). A function added: give it a new version" \
       "node in cmake/exports.map. A function or type changed: keep the old one and add one" \
       "under a new name, or change the soname. Then write the baseline anew:" \
       "scripts/check-abi.sh $lib $root --update" >&2
else
  echo "check-abi: abidiff failed ($status)" >&2
fi
exit 1
