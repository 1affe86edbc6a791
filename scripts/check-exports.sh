#!/usr/bin/env bash
# Checks the dynamic symbol table of the shared library against the installed
# headers:
#   - every exported name is declared in a public header: no internal helper,
#     no internal global (vr35, g_ResultCode), no standard library copy;
#   - every function that the public API header declares in the namespace
#     VERDA is exported;
#   - every function of the C interface (capi/verda.h) is exported under the
#     version node that the linker's script gives it (cmake/exports.map,
#     generated from the versions in capi/operations.txt), and no other
#     verda_ function is exported.
# Usage: check-exports.sh LIBRARY SOURCE-ROOT PUBLIC-HEADER...
#        (headers relative to SOURCE-ROOT, as installed)
set -euo pipefail
lib=$1 root=$2
shift 2
api=api/CorteliaVERDA.h
capi=capi/verda.h
map=cmake/exports.map

# The identifiers in the code of the public headers, comments removed: the
# names a client sees.
declared=$(cd "$root" && sed -e 's://.*$::' -e 's:/\*.*\*/::' "$@" | tr -c 'A-Za-z0-9_' '\n' |
           grep -E '^[A-Za-z_]' | sort -u)

# Names with their versions (name@@NODE), then without; the version nodes
# themselves are absolute symbols, not names.
versioned=$(nm -D --defined-only "$lib" | awk '$2 != "A" { print $NF }' |
            grep -v -E '^(_init|_fini)(@|$)' || true)
mangled=$(sed 's/@.*$//' <<<"$versioned")
if [ -z "$mangled" ]; then
  echo "check-exports: $lib exports nothing" >&2
  exit 1
fi
demangled=$(c++filt <<<"$mangled")

# Each symbol is reduced to the identifiers of its qualified name, all of
# which must be declared: "vtable for VR35" -> VR35; "VR35::~VR35()" -> VR35;
# "int fromString<int>(std::string const&)" -> fromString;
# "__odr_asan.kLogFileName" -> kLogFileName.
bad=0
awk -v declared="$declared" '
  BEGIN { n = split(declared, list, "\n"); for (i = 1; i <= n; i++) known[list[i]] = 1 }
  {
    name = $0
    sub(/^(vtable|typeinfo|typeinfo name|VTT|guard variable|construction vtable) for /, "", name)
    sub(/^(non-)?virtual thunk to /, "", name)
    sub(/^__odr_asan[._]/, "", name)  # AddressSanitizer marks each exported global
    gsub(/\[abi:[^]]*\]/, "", name)
    sub(/[(<].*$/, "", name)
    sub(/^.* /, "", name)
    gsub(/~/, "", name)
    n = split(name, parts, "::")
    for (i = 1; i <= n; i++) {
      if (parts[i] ~ /^operator/) continue
      if (!(parts[i] in known)) {
        print "check-exports: exported but not declared in a public header: " $0 > "/dev/stderr"
        failed = 1
        break
      }
    }
  }
  END { exit failed }' <<<"$demangled" || bad=1

verda=$("$(dirname "$0")/verda-functions.sh" "$root/$api")
if [ -z "$verda" ]; then
  echo "check-exports: no VERDA function found in $api" >&2
  exit 1
fi
for function in $verda; do
  if ! grep -q -E "^VERDA::$function\(" <<<"$demangled"; then
    echo "check-exports: VERDA::$function is declared in $api but not exported" >&2
    bad=1
  fi
done

# The C interface: each function a line "int verda_Name(" or "T* verda_name(".
c_functions=$(sed -e 's:/\*.*\*/::' "$root/$capi" |
              grep -oE '^(const )?[a-z_]+[ *]+verda_[A-Za-z0-9_]+\(' | sed -E 's/.*(verda_[A-Za-z0-9_]+)\($/\1/' |
              sort -u)
if [ -z "$c_functions" ]; then
  echo "check-exports: no verda_ function found in $capi" >&2
  exit 1
fi
# Their nodes in the linker's script, "verda_name@@VERDA_N", comments removed.
nodes=$(awk '
  { line = $0; out = ""
    while (line != "") {
      if (comment) { i = index(line, "*/"); if (!i) line = ""; else { line = substr(line, i + 2); comment = 0 } }
      else { i = index(line, "/*"); if (!i) { out = out line; line = "" }
             else { out = out substr(line, 1, i - 1); line = substr(line, i + 2); comment = 1 } }
    }
    $0 = out }
  $0 ~ /^[A-Za-z_][A-Za-z0-9_.]*[ \t]*\{/ { node = $1; next }
  $0 ~ /^\}/ { node = ""; next }
  node ~ /^VERDA_/ && $1 ~ /^verda_[A-Za-z0-9_]+;$/ { sub(/;$/, "", $1); print $1 "@@" node }
' "$root/$map" | sort -u)
mapped=$(sed 's/@.*$//' <<<"$nodes" | sort -u)
missing=$(comm -23 <(echo "$c_functions") <(echo "$mapped"))
extra=$(comm -13 <(echo "$c_functions") <(echo "$mapped"))
if [ -n "$missing" ]; then
  echo "check-exports: declared in $capi but in no version node of $map" \
       "(give each its version in capi/operations.txt):" $missing >&2
  bad=1
fi
if [ -n "$extra" ]; then
  echo "check-exports: in a version node of $map but not declared in $capi:" $extra >&2
  bad=1
fi
c_exported=$(grep -E '^verda_' <<<"$versioned" | sort -u || true)
wrong=$(comm -13 <(echo "$nodes") <(echo "$c_exported"))
absent=$(comm -23 <(echo "$nodes") <(echo "$c_exported"))
if [ -n "$wrong" ]; then
  echo "check-exports: exported, but not as $map says:" $wrong >&2
  bad=1
fi
if [ -n "$absent" ]; then
  echo "check-exports: not exported as $map says:" $absent >&2
  bad=1
fi
per_node=$(sed 's/^.*@@//' <<<"$nodes" | sort | uniq -c | awk '{ printf "%s%s: %s", sep, $2, $1; sep = ", " }')

[ $bad -eq 0 ] && echo "check-exports: $(wc -l <<<"$demangled") symbols exported," \
                       "all declared in the public headers; $(wc -w <<<"$verda") VERDA functions;" \
                       "$(wc -w <<<"$c_functions") C functions at their nodes ($per_node)"
exit $bad
