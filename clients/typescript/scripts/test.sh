#!/usr/bin/env bash
# The client's test: builds the client and its tests into OUT (default
# dist), checks that the generated types are what the server's OpenAPI
# document makes, and runs the tests with Node's test runner against
# verda-server and verda-sim (the programs that VERDA_SERVER and VERDA_SIM
# name). With VERDA_VERSION, also checks that the package has the project's
# version. Needs the packages of `npm ci`.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-dist}")
if [ ! -x node_modules/.bin/tsc ]; then
  echo "clients/typescript: no node_modules: run npm ci --no-audit --no-fund here" >&2
  exit 1
fi
if [ -n "${VERDA_VERSION:-}" ]; then
  version=$(node -p 'require("./package.json").version')
  if [ "$version" != "$VERDA_VERSION" ]; then
    echo "clients/typescript/package.json: version $version, the project's is $VERDA_VERSION" >&2
    exit 1
  fi
fi
node_modules/.bin/tsc --project tsconfig.json --outDir "$out"
# The compiled files find the packages from where they stand.
if [ "$(dirname "$out")" != "$PWD" ]; then
  ln -sfn "$PWD/node_modules" "$(dirname "$out")/node_modules"
fi
node scripts/check-generated.mjs
node --test --test-concurrency=1 "$out"/test/*.test.js
