#!/usr/bin/env bash
# Draws every window with sample content under a private X server, in the system palette
# and in a dark one: screenshots/light/*.png and screenshots/dark/*.png.
# Usage: scripts/take-screenshots.sh [build-dir] [output-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
out=${2:-screenshots}

bash scripts/install-deps.sh >/dev/null
cmake --build "$build" --target quillo-screenshots -j "$(nproc)" >/dev/null
tool="$build/tests/ui/quillo-screenshots"

rm -rf "$out"
for theme in light dark; do
  flags=()
  [[ $theme == dark ]] && flags=(--dark)
  # A fresh server per theme; -a picks a free display number.
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1600x1000x24" "$tool" "$out/$theme" "${flags[@]}"
done
echo "screenshots in $out/"
