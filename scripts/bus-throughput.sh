#!/usr/bin/env bash
# How fast `lumknx monitor` decodes telegrams from a local knxd while another
# client floods it, none lost: the flood mode of the live-bus test.
#   scripts/bus-throughput.sh [COUNT, default 20000]
set -euo pipefail
cd "$(dirname "$0")/.."
count="${1:-20000}"
cmake --preset release >/dev/null
cmake --build --preset release -j2 --target lumknx LumBusKnxdTest >/dev/null
LUMBUS_FLOOD="$count" ./build/release/tests/bus/LumBusKnxdTest --gtest_filter='BusKnxd.MonitorKeepsUpWithAFlood' \
  | grep -E '^flood:|OK|FAILED|SKIPPED'
