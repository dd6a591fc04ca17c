#!/usr/bin/env bash
# Installs the release build into a scratch prefix, builds the README's code
# examples against it once through the CMake package and once through
# pkg-config, runs them, and builds the Debian package.
set -euo pipefail
cd "$(dirname "$0")/.."
root="$PWD"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cmake --install build/release --prefix "$work/prefix" >/dev/null

# Every ```cpp block of the README is one complete source file.
mkdir -p "$work/examples"
awk -v dir="$work/examples" '
  /^```cpp$/ { n++; file = sprintf("%s/readme_example_%d.cpp", dir, n); inside = 1; next }
  /^```$/    { inside = 0; next }
  inside     { print > file }
' README.md
count=$(ls "$work/examples" | wc -l)
[ "$count" -gt 0 ] || { echo "check-install: no cpp examples found in README.md" >&2; exit 1; }
echo "check-install: $count README examples"

cmake -S examples/consumer -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DLUM_README_EXAMPLES="$(ls "$work"/examples/*.cpp | paste -sd ';')" >/dev/null
cmake --build "$work/consumer"

export LD_LIBRARY_PATH="$work/prefix/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
export LUM_EXAMPLE_DATA="$root/examples"
pc_flags="$(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --cflags --libs lum-objectmodel)"
for example in "$work/examples"/*.cpp; do
  name="$(basename "$example" .cpp)"
  if ! grep -q 'int main(' "$example"; then
    # A fragment: it has compiled in the consumer project; once more through pkg-config.
    g++ -std=c++17 -Wall -Wextra -Werror -c "$example" -o "$work/$name.o" $pc_flags
    continue
  fi
  echo "== $name (CMake package)"
  "$work/consumer/$name"
  # The same source through pkg-config.
  g++ -std=c++17 -Wall -Wextra -Werror "$example" -o "$work/$name-pc" $pc_flags
  "$work/$name-pc" >/dev/null
done

(cd build/release && cpack -G DEB >/dev/null)
deb=$(ls build/release/*.deb | head -n 1)
dpkg-deb --info "$deb" | grep -E 'Package|Version|Architecture'
dpkg-deb --contents "$deb" | grep -E 'libLumObjectModel.so|LumObjectModelConfig.cmake|lum-objectmodel.pc|Lum/ObjectModel.h'
