#!/usr/bin/env bash
# Adding an operation passes every check: in a scratch copy of the tree, a
# throwaway operation (its member, its VERDA function, its row since the
# version not yet released) and a throwaway C function written by hand (its
# line under [by hand]) are added as ARCHITECTURE.md says; the files are
# generated, the library is built, and the checks of the exports, the API
# reference, the generated files, the layers and the ABI pass. The same C
# function given the released version fails the ABI check.
# Usage: new_operation_test.sh SOURCE-ROOT
set -euo pipefail
source=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
mkdir "$tree"
(cd "$source" && tar --exclude='./build*' --exclude=./.git --exclude=node_modules -cf - .) |
  tar -xf - -C "$tree"
cd "$tree"

# insert FILE ANCHOR TEXT: TEXT as a line before the first line that is ANCHOR.
insert() {
  grep -qxF -- "$2" "$1" || { echo "new_operation_test: no line \"$2\" in $1" >&2; exit 1; }
  awk -v anchor="$2" -v text="$3" '$0 == anchor && !done { print text; done = 1 } { print }' \
    "$1" >"$1.new" && mv "$1.new" "$1"
}

# The member, in the shape of every operation, and its VERDA function.
insert device/VR35.h '    int CheckConnection();' '    int Throwaway(int Value, std::string& Answer);'
cat >device/Throwaway.cpp <<'EOF'
#include "device/OperationShape.h"

int VR35::Throwaway(int Value, std::string& Answer) {
    return cmd::run(
        *this, "Throwaway", wire::Command::CheckConnection, cmd::Request().number(Value),
        [&](cmd::Fields& f) { Answer = f.text(); }, cmd::Plain{"Throwaway"});
}
EOF
insert api/CorteliaVERDA.h '}  // namespace VERDA' 'bool Throwaway(int Value, std::string& Answer);'
# A C function by hand.
insert capi/verda.h \
  '/* BEGIN GENERATED OPERATIONS (capi/generate.py from capi/operations.txt) */' \
  'int verda_throwaway_count(void);'
echo 'extern "C" int verda_throwaway_count(void) { return 0; }' >capi/Throwaway.cpp
# Their rows.
insert capi/operations.txt '[by hand]' 'Throwaway  CheckConnection  int  1.1  forward  A throwaway.
  Value   int           in   -      a number
  Answer  std::string&  out  as-is  the answer
> Asks nothing of use.
'
echo 'verda_throwaway_count   1.1' >>capi/operations.txt

/usr/bin/python3 capi/generate.py >/dev/null
grep -q 'verda_Throwaway;' cmake/exports.map && grep -q 'verda_throwaway_count;' cmake/exports.map
grep -q '^bool VERDA::Throwaway(int Value, std::string& Answer) {$' api/Forwards.cpp
grep -q '^### VERDA::Throwaway$' docs/api.md

cmake -S . -B build -DVERDA_WERROR=ON >"$work/configure.log" 2>&1 ||
  { cat "$work/configure.log" >&2; exit 1; }
cmake --build build -j"${JOBS:-2}" --target CorteliaVERDA >"$work/build.log" 2>&1 ||
  { cat "$work/build.log" >&2; exit 1; }
checks='^(exports|api_docs|layers|capi_generated|capi_abi)$'
(cd build && ctest -R "$checks" --output-on-failure) >"$work/checks.log" 2>&1 ||
  { cat "$work/checks.log" >&2; echo "new_operation_test: an added operation fails a check" >&2
    exit 1; }
ran=$(grep -cE 'Test +#[0-9]+: ' "$work/checks.log")
if [ "$ran" -ne 5 ]; then
  cat "$work/checks.log" >&2
  echo "new_operation_test: $ran of the five checks ran" >&2
  exit 1
fi
(cd build && ctest -R '^(exports|capi_abi)$' -V) | grep -E 'check-(exports|abi): ' | sed 's/^[0-9]*: //'

# The same function at the released version changes that version: refused.
sed -i 's/^verda_throwaway_count   1\.1$/verda_throwaway_count   1/' capi/operations.txt
/usr/bin/python3 capi/generate.py >/dev/null
cmake --build build -j"${JOBS:-2}" --target CorteliaVERDA >"$work/build.log" 2>&1 ||
  { cat "$work/build.log" >&2; exit 1; }
if output=$(cd build && ctest -R '^capi_abi$' -V 2>&1); then
  echo "$output" >&2
  echo "new_operation_test: a function added to the released node passed the ABI check" >&2
  exit 1
fi
grep -q 'verda_throwaway_count was added to VERDA_1, a version already released' <<<"$output" ||
  { echo "$output" >&2; exit 1; }
echo "new_operation_test: added at the released node, the ABI check refuses it"
