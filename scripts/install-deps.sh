#!/usr/bin/env bash
# Installs every Debian package that building, testing and benchmarking Quillo need.
# Idempotent: installs only what is missing, and refreshes the package lists only then.
# With --live it also makes sure Node.js and npm are there, for the reference Bluesky PDS
# of `make test-live` (a Node.js from another source, such as NodeSource, is kept).
set -euo pipefail

live=0
[[ "${1:-}" == "--live" ]] && live=1

packages=(
  build-essential cmake pkg-config git
  # Rebuilds after a branch switch or in a second checkout reuse earlier objects.
  ccache
  qt6-base-dev qt6-base-dev-tools libgl-dev
  qcoro-qt6-dev
  nlohmann-json3-dev
  libxml2-dev
  libavformat-dev libavcodec-dev libavfilter-dev libavutil-dev libswscale-dev libswresample-dev
  libcpp-httplib-dev
  libgtest-dev libgmock-dev
  libbenchmark-dev
  # The ffmpeg command line is the yardstick of the export benchmark; the fonts draw burned-in captions.
  ffmpeg fonts-dejavu-core
  # Emoji in posts, as the screenshots under Xvfb show them.
  fonts-noto-color-emoji
  # A private session bus for the notification and shortcut portal tests.
  dbus-daemon
  # Global shortcuts on X11: key grabs through xcb, keysym lookup; the test server and
  # the synthetic key presses of the shortcut test.
  libxcb1-dev libxcb-keysyms1-dev libxcb-xtest0-dev xvfb
)

missing=()
for pkg in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$pkg")
done
if [[ $live -eq 1 ]] && ! { command -v node && command -v npm; } >/dev/null; then
  missing+=(nodejs npm)
fi

if [[ ${#missing[@]} -eq 0 ]]; then
  echo "install-deps: everything is installed"
  exit 0
fi

sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "install-deps: run as root or install sudo" >&2; exit 1; }
  sudo_cmd=(sudo)
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
