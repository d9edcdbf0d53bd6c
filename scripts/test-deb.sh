#!/usr/bin/env bash
# Proves the Debian package on a clean Debian 12: builds it with cpack, installs it with apt
# into a fresh minimal chroot (so apt resolves its dependencies from the archive), then runs
# `quillo --mcp-stdio` and `quillo --headless` there and checks that neither loads Qt Widgets.
# Needs root (debootstrap, chroot, mount). The base chroot is kept for the next run.
# Usage: scripts/test-deb.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
base=${QUILLO_DEB_BASE:-$PWD/$build/deb-base}

[[ $(id -u) -eq 0 ]] || { echo "test-deb: run as root (debootstrap, chroot and mount need it)" >&2; exit 1; }
command -v debootstrap >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq debootstrap

cmake --build "$build" -j "$(nproc)"
rm -f "$build"/quillo_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/quillo_*.deb)
echo "test-deb: built $deb"
dpkg-deb -f "$deb" Depends

if [[ ! -x $base/usr/bin/apt-get ]]; then
  echo "test-deb: creating the base system in $base (once)"
  debootstrap --variant=minbase bookworm "$base" http://deb.debian.org/debian >/dev/null
fi

root=$(mktemp -d "${TMPDIR:-/tmp}/quillo-deb.XXXXXX")
cleanup() {
  umount "$root/proc" 2>/dev/null || true
  umount "$root/dev" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap cleanup EXIT
cp -a "$base/." "$root/"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/resolv.conf"
cp "$deb" "$root/tmp/quillo.deb"

in_root() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 "$@"; }

in_root apt-get update -qq
in_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends /tmp/quillo.deb >/dev/null
echo "test-deb: installed into a clean Debian 12"

if in_root ldd /usr/bin/quillo | grep -q libQt6Widgets; then
  echo "test-deb: quillo links Qt Widgets" >&2
  exit 1
fi

reply=$(printf '%s\n' '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2024-11-05"}}' \
  | in_root env QUILLO_HOME=/tmp/home-mcp quillo --mcp-stdio)
grep -q '"serverInfo"' <<<"$reply" || { echo "test-deb: unexpected MCP reply: $reply" >&2; exit 1; }
echo "test-deb: quillo --mcp-stdio answers initialize"

set +e
log=$(in_root env QUILLO_HOME=/tmp/home-headless timeout 5 quillo --headless 2>&1)
status=$?
set -e
# Still running after five seconds is the headless instance doing its job.
if [[ $status -ne 124 ]]; then
  echo "test-deb: quillo --headless ended with $status:" >&2
  echo "$log" >&2
  exit 1
fi
echo "test-deb: quillo --headless runs"
echo "test-deb: passed"
