#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs the test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --workflow --preset release
