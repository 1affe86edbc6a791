#!/usr/bin/env bash
# Prints the names of the functions that a header declares in the namespace
# VERDA, one a line: each declaration starts a line with its return type.
# Usage: verda-functions.sh HEADER
set -euo pipefail
sed -n '/^namespace VERDA/,/^}/p' "$1" | sed -e 's://.*$::' |
  grep -oE '^[[:space:]]*[A-Za-z_][A-Za-z0-9_:<>&* ]*[ &*][A-Za-z_][A-Za-z0-9_]*\(' |
  sed -E 's/.*[ &*]([A-Za-z_][A-Za-z0-9_]*)\($/\1/' | sort -u
