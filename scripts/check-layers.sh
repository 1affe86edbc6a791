#!/usr/bin/env bash
# Fails when an #include crosses the layers the wrong way. The rule is the
# table "Which folder may include which" in ARCHITECTURE.md (between its
# BEGIN/END LAYER TABLE lines), read from there so that the document and the
# check cannot differ: each folder of the tree with C or C++ sources has a
# row, and its files include, besides their own folder, only what the row
# names: a whole folder ("wire/") or one header ("capi/verda.h"). An include
# without a folder ("Metrics.h") is a file of the same folder.
#
# The crossings that the tree still has are listed below as exceptions. The
# list only shrinks: an exception that no longer occurs fails the check too,
# so that the work that removes a crossing also removes its line here.
#
# Usage: check-layers.sh [SOURCE-ROOT [EXCEPTIONS-FILE]]
#        EXCEPTIONS-FILE stands for the list below (the script's own test).
set -euo pipefail
root=${1:-$(dirname "$0")/..}

# "FILE INCLUDED-HEADER", one a line; a comment says what work ends it.
exceptions=$(cat <<'EOF'
EOF
)
if [ $# -ge 2 ]; then
  exceptions=$(cat "$2")
fi

table=$root/ARCHITECTURE.md
rows=$(sed -n '/<!-- BEGIN LAYER TABLE/,/<!-- END LAYER TABLE/p' "$table" |
       grep -E '^\| *`' || true)
if [ -z "$rows" ]; then
  echo "check-layers: no layer table in $table" >&2
  exit 1
fi

# allowed[folder]: what its files may include besides the folder itself;
# "*" for anything.
declare -A allowed
while IFS='|' read -r _ folders _ includes _; do
  entries=$(grep -oE '`[^`]+`' <<<"$includes" | tr -d '`' | tr '\n' ' ' || true)
  grep -qi 'anything' <<<"$includes" && entries='*'
  for folder in $(grep -oE '`[^`]+`' <<<"$folders" | tr -d '`/'); do
    allowed[$folder]=$entries
  done
done <<<"$rows"

status=0
fail() {
  echo "check-layers: $*" >&2
  status=1
}

# Every folder with sources has a row.
sources() {
  find "$1" \( -name node_modules -o -name '.*' \) -prune -o -type f \
    \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cc' -o -name '*.cpp' \) -print
}
for dir in "$root"/*/; do
  folder=$(basename "$dir")
  case $folder in build*) continue ;; esac
  if [ -z "${allowed[$folder]+set}" ] && [ -n "$(sources "$dir" | head -n1)" ]; then
    fail "$folder/ has sources but no row in the layer table of ARCHITECTURE.md"
  fi
done

declare -A excused
checked=0
for folder in "${!allowed[@]}"; do
  [ "${allowed[$folder]}" = '*' ] && continue
  [ -d "$root/$folder" ] || continue
  while IFS= read -r file; do
    relative=${file#"$root"/}
    while IFS=: read -r line included; do
      checked=$((checked + 1))
      [[ $included == */* ]] || continue
      top=${included%%/*}
      [ "$top" = "$folder" ] && continue
      ok=0
      for entry in ${allowed[$folder]}; do
        if [ "$entry" = "$top/" ] || [ "$entry" = "$included" ]; then
          ok=1
        fi
      done
      [ $ok -eq 1 ] && continue
      if grep -qxF "$relative $included" <<<"$exceptions"; then
        excused["$relative $included"]=1
        continue
      fi
      fail "$relative:$line includes \"$included\"; $folder/ may include only" \
           "${allowed[$folder]:-its own files} (ARCHITECTURE.md)"
    done < <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$file" |
             sed -E 's/^([0-9]+):[^"]*"([^"]*)".*/\1:\2/')
  done < <(sources "$root/$folder")
done

known=0
while IFS= read -r exception; do
  [[ -z $exception || $exception == \#* ]] && continue
  known=$((known + 1))
  if [ -z "${excused[$exception]+set}" ]; then
    fail "the exception \"$exception\" no longer occurs: remove it from scripts/check-layers.sh"
  fi
done <<<"$exceptions"

if [ $status -eq 0 ]; then
  echo "check-layers: $checked includes keep to the layers of ARCHITECTURE.md;" \
       "$known known exceptions"
fi
exit $status
