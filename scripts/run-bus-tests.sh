#!/usr/bin/env bash
# The live-bus stage: installs knxd and knxd-tools, keeps the packaged knxd
# service out of the way, builds the release preset and runs the bus tests.
# Fails when the knxd tests skipped themselves although knxd is installed.
set -euo pipefail
cd "$(dirname "$0")/.."

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

# On a systemd host the package would start its own knxd (TCP 6720, a
# multicast bus): mask it before installing, so that it never starts.
systemd_host=0
if [ -d /run/systemd/system ] && command -v systemctl >/dev/null; then
  systemd_host=1
  $SUDO systemctl mask --now knxd.service knxd.socket >/dev/null 2>&1 || true
fi

# The "bus" group: knxd and knxd-tools, after an apt-get update, with sudo when not root.
bash scripts/install-deps.sh bus
if [ "$systemd_host" -eq 1 ]; then
  for unit in knxd.service knxd.socket; do
    if systemctl is-active --quiet "$unit"; then
      echo "run-bus-tests: $unit is running although masked; stop it first" >&2
      exit 1
    fi
  done
fi
command -v knxd >/dev/null && command -v knxtool >/dev/null || { echo "run-bus-tests: knxd or knxtool missing after the install" >&2; exit 1; }

cmake --preset release >/dev/null
cmake --build --preset release -j2 --target lumknx LumBusAddressTest LumBusUnitTest LumBusToolTest LumBusKnxdTest LumBusDiscoverTest knxip-routing-live FuzzKnxdPacket FuzzKnxIpFrame FuzzCemi
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
status=0
ctest --preset release -R 'Bus|KnxAddress|FuzzReplay.(KnxdPacket|KnxIpFrame|Cemi)' --output-on-failure -V >"$log" 2>&1 || status=$?
grep -E '^[0-9]+/[0-9]+ Test|tests passed|tests failed|Skipped' "$log" || true
if [ "$status" -ne 0 ]; then
  grep -E -A40 '\*\*\*Failed|\[  FAILED  \]' "$log" | head -200
  exit "$status"
fi
# knxd is installed here: a test that skipped for want of it is a failure.
if grep -q 'knxd not on PATH' "$log"; then
  echo "run-bus-tests: the knxd tests were skipped although knxd is installed" >&2
  exit 1
fi
ran="$(grep -cE '^ *[0-9]+/[0-9]+ Test +#[0-9]+: BusKnxd\.[A-Za-z]+ \.+ +Passed' "$log" || true)"
if [ "$ran" -lt 10 ]; then
  echo "run-bus-tests: only $ran knxd tests passed; expected them all to run" >&2
  exit 1
fi
echo "run-bus-tests: $ran knxd tests passed"
