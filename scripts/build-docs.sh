#!/usr/bin/env bash
# Builds the API reference (Doxygen) from the public headers into
# build/release/docs/html and fails on any Doxygen warning, an undocumented
# public declaration included.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh docs
cmake --preset release
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! cmake --build --preset release --target docs 2>&1 | tee "$log"; then
  echo "build-docs: the docs target failed" >&2
  exit 1
fi
# Doxygen already fails on a warning; a line that slipped through fails too.
if grep -qE '(warning|error):' "$log"; then
  echo "build-docs: Doxygen reported warnings" >&2
  exit 1
fi
echo "build-docs: API reference in build/release/docs/html/index.html"
