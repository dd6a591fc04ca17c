#!/usr/bin/env bash
# Builds a sysroot with the armhf builds of our Debian dependencies under
# build/armhf-sysroot. Multiarch installation can fail while the mirror's
# architectures are out of step, so the packages are fetched with
# "apt-get download" and unpacked with "dpkg -x" instead of installed.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh armhf

sysroot="${1:-$PWD/build/armhf-sysroot}"
stamp="$sysroot/.complete"
packages=(
  libboost1.74-dev
  libboost-thread1.74-dev libboost-thread1.74.0
  libboost-chrono1.74-dev libboost-chrono1.74.0
  libboost-date-time1.74-dev libboost-date-time1.74.0
  libboost-timer1.74-dev libboost-timer1.74.0
  libboost-system1.74-dev libboost-system1.74.0
  libboost-filesystem1.74-dev libboost-filesystem1.74.0
  libboost-atomic1.74-dev libboost-atomic1.74.0
  liblog4cplus-dev liblog4cplus-2.0.5
  libgtest-dev libgmock-dev
  libbenchmark-dev libbenchmark1debian
  libzip-dev libzip4 zlib1g-dev zlib1g libbz2-1.0 libssl3
  libpugixml-dev libpugixml1v5
  libcsv-dev libcsv3
)
# The C and C++ runtimes come with the cross compiler; their armhf packages
# are only unpacked beside the sysroot, for their symbols files.
control_only=(libc6 libgcc-s1 libstdc++6)
# Header-only, architecture-independent.
all_packages=(librapidxml-dev libutfcpp-dev libcli11-dev)
# The layout's name is part of the stamp, so that a sysroot unpacked before
# the merge below is made again.
contents="${packages[*]} ${all_packages[*]} ${control_only[*]} merged-usr control"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$contents" ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
if ! dpkg --print-foreign-architectures | grep -qx armhf; then
  $SUDO dpkg --add-architecture armhf
fi
$SUDO apt-get update -qq || echo "armhf-sysroot: apt-get update reported errors; going on" >&2

debs="$(mktemp -d)"
trap 'rm -rf "$debs"' EXIT
(cd "$debs" && chmod 777 . && apt-get download -qq "${packages[@]/%/:armhf}" "${control_only[@]/%/:armhf}" "${all_packages[@]}")
rm -rf "$sysroot"
mkdir -p "$sysroot"
# Each package also whole with its control files in a folder of its own:
# dpkg-shlibdeps reads the runtime libraries' symbols files there when the
# Debian packages of the cross build are made (see cmake/LumPackaging.cmake).
rm -rf "$sysroot-packages"
mkdir -p "$sysroot-packages"
for deb in "$debs"/*.deb; do
  package="$(dpkg-deb -f "$deb" Package)"
  dpkg-deb -R "$deb" "$sysroot-packages/$package"
  case " ${control_only[*]} " in
    *" $package "*) ;;
    *) dpkg -x "$deb" "$sysroot" ;;
  esac
done
# Some runtime libraries (zlib, bzip2) ship in /lib; the linker and the
# emulator look only in usr/lib, as on a merged-/usr system.
if [ -d "$sysroot/lib/arm-linux-gnueabihf" ]; then
  cp -a "$sysroot/lib/arm-linux-gnueabihf/." "$sysroot/usr/lib/arm-linux-gnueabihf/"
fi
echo "$contents" > "$stamp"
echo "armhf-sysroot: ready in $sysroot"
