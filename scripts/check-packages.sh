#!/usr/bin/env bash
# Builds the three Debian packages of a build folder (default build/release)
# and checks each with lintian: any error or warning fails.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/release}"
bash scripts/install-deps.sh package
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >/dev/null)
for p in liblumobjectmodel1 liblumobjectmodel-dev lumknx; do
  deb="$(ls "$build"/"${p}"_*.deb)"
  dpkg-deb --field "$deb" Package Version Architecture Depends
  # Informational tags are printed, errors and warnings fail.
  tags="$(lintian --no-tag-display-limit "$deb" 2>/dev/null || true)"
  [ -z "$tags" ] || echo "$tags"
  if echo "$tags" | grep -qE '^[EW]: '; then
    echo "check-packages: lintian reports errors or warnings for $(basename "$deb")" >&2
    exit 1
  fi
done
echo "check-packages: $(ls "$build"/*.deb | wc -l) packages in $build, lintian without errors or warnings"
