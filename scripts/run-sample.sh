#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs the main job on
# the shipped sample.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release
./build/release/tools/lumknx trace
