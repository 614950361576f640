#!/usr/bin/env bash
# Rate and distortion of the picture coder beside libjpeg-turbo on natural photographs. The
# photographs come from a Debian package of desktop backgrounds, fetched into the build folder
# (never into the tree). Usage: scripts/picture-quality.sh [--curves] [BUILD]
set -euo pipefail
curves=()
if [ "${1:-}" = --curves ]; then curves=(--curves); shift; fi
build=${1:-build}
report=$build/native/bench/picture_quality_report
photos=$build/photos
if [ ! -x "$report" ]; then
  echo "picture-quality: $report is missing; run make native first" >&2
  exit 1
fi
if [ ! -d "$photos/usr" ]; then
  mkdir -p "$photos"
  (cd "$photos" && apt-get download mate-backgrounds >/dev/null) || {
    echo "picture-quality: could not fetch the package mate-backgrounds" >&2
    exit 1
  }
  dpkg-deb -x "$photos"/mate-backgrounds_*.deb "$photos"
fi
nature=$photos/usr/share/backgrounds/mate/nature
exec "$report" "${curves[@]}" "$nature/Garden.jpg" "$nature/Storm.jpg" "$nature/Wood.jpg"
