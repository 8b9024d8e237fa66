#!/usr/bin/env bash
# Installs a built package into a fresh Debian 12 root and starts it there, the way a new user would.
# Needs root, debootstrap and the Debian mirror this machine's own apt sources name.
# Usage: packaging/fresh-install-check.sh build/release/yuzuha_*.deb
set -euo pipefail
deb=$(realpath "$1")
root=$(mktemp -d)
display=:73
xvfb=
cleanup() {
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    umount "$root/tmp/.X11-unix" "$root/proc" 2>/dev/null || true
}
trap cleanup EXIT

# The mirror comes from this machine's apt sources (deb822 or one-line form), never from this script.
mirror=$(sed -n 's/^URIs:[[:space:]]*\([^[:space:]]*\).*/\1/p' /etc/apt/sources.list.d/*.sources 2>/dev/null | head -n 1)
[ -n "$mirror" ] || mirror=$(awk '$1 == "deb" { print ($2 ~ /^\[/) ? $3 : $2; exit }' /etc/apt/sources.list 2>/dev/null)
[ -n "$mirror" ] || { echo "no Debian mirror in this machine's apt sources" >&2; exit 1; }
debootstrap --variant=minbase bookworm "$root" "$mirror" >/dev/null
cp /etc/resolv.conf "$root/etc/"
mount -t proc proc "$root/proc"
cp "$deb" "$root/root/"
chroot "$root" bash -c "apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq ./root/$(basename "$deb")" >/dev/null

# A session log at 62 % so she has something to show.
mkdir -p "$root/root/.claude/projects/-home-a-api-server"
printf '%s\n' '{"type":"assistant","cwd":"/home/a/api-server","message":{"model":"claude-sonnet-4-5","usage":{"input_tokens":4000,"cache_creation_input_tokens":20000,"cache_read_input_tokens":100000}}}' \
    >"$root/root/.claude/projects/-home-a-api-server/session.jsonl"
chroot "$root" yuzuha-books

# Start the desktop entry's command on a virtual display and look for her window.
Xvfb "$display" -screen 0 1280x800x24 >/dev/null 2>&1 &
xvfb=$!
sleep 1
mkdir -p "$root/tmp/.X11-unix"
mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"
exec_line=$(grep '^Exec=' "$root/usr/share/applications/yuzuha.desktop" | cut -d= -f2)
chroot "$root" env HOME=/root DISPLAY="$display" timeout 10 "$exec_line" >/dev/null 2>&1 &
sleep 6
DISPLAY=$display xwininfo -root -tree | grep -q '"Yuzuha": ("yuzuha" "Yuzuha")  270x372' && echo "fresh install check passed: she stands on the desktop"
