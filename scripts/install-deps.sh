#!/usr/bin/env bash
# Installs the Debian packages the project builds with. Idempotent: when every
# package is present it only checks and returns.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config g++ clang-14 libclang-rt-14-dev
  clang-format
  libboost-dev libboost-thread-dev libboost-chrono-dev libboost-date-time-dev
  libboost-timer-dev libboost-system-dev libboost-filesystem-dev
  liblog4cplus-dev libnsl-dev librapidxml-dev libutfcpp-dev
  libzip-dev libpugixml-dev libcsv-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev time help2man
)
# Extra groups, selected by arguments: "armhf" for the cross build, "bus" for
# the live-bus tests against a real knxd, "docs" for the API reference,
# "package" for checking the Debian packages.
for group in "$@"; do
  case "$group" in
    armhf) packages+=(crossbuild-essential-armhf qemu-user) ;;
    bus) packages+=(knxd knxd-tools) ;;
    docs) packages+=(doxygen) ;;
    package) packages+=(lintian) ;;
    *) echo "install-deps: unknown group '$group'" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
# A mirror caught mid-sync fails the update of one architecture's lists;
# the install below still works from the lists that did arrive.
$SUDO apt-get update -qq || echo "install-deps: apt-get update reported errors; going on" >&2
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
