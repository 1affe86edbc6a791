#!/usr/bin/env bash
# Checks that the API reference documents every function that the public API
# header declares in the namespace VERDA: each needs a "### VERDA::Name"
# heading in docs/api.md. Entries for functions that the header does not
# declare are listed as a note, not an error: the reference may run ahead.
# Usage: check-api-docs.sh [SOURCE-ROOT]
set -euo pipefail
root=${1:-$(dirname "$0")/..}
api=$root/api/CorteliaVERDA.h
reference=$root/docs/api.md

declared=$("$(dirname "$0")/verda-functions.sh" "$api")
documented=$(sed -n -E 's/^### VERDA::([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*$/\1/p' "$reference" | sort -u)

undocumented=$(comm -23 <(echo "$declared") <(echo "$documented"))
ahead=$(comm -13 <(echo "$declared") <(echo "$documented"))
if [ -n "$ahead" ]; then
  echo "check-api-docs: documented, not declared in this tree:" $ahead
fi
if [ -n "$undocumented" ]; then
  echo "check-api-docs: declared in api/CorteliaVERDA.h but missing from docs/api.md" \
       "(a \"### VERDA::Name\" entry each):" >&2
  echo "$undocumented" | sed 's/^/  /' >&2
  exit 1
fi
echo "check-api-docs: all $(wc -w <<<"$declared") VERDA functions are documented"
