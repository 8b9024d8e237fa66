#!/usr/bin/env bash
# Installs a built package into a fresh Debian 12 root and starts it there, the way a new user would.
# Needs root, debootstrap and network access to Debian's archive.
# Usage: packaging/fresh-install-check.sh build/release/yuzuha_*.deb
set -euo pipefail
deb=$(realpath "$1")
root=$(mktemp -d)
display=:73
cleanup() {
    pkill -f "Xvfb $display" 2>/dev/null || true
    umount "$root/tmp/.X11-unix" "$root/proc" 2>/dev/null || true
}
trap cleanup EXIT

debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian >/dev/null
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
sleep 1
mkdir -p "$root/tmp/.X11-unix"
mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"
exec_line=$(grep '^Exec=' "$root/usr/share/applications/yuzuha.desktop" | cut -d= -f2)
chroot "$root" env HOME=/root DISPLAY="$display" timeout 10 "$exec_line" >/dev/null 2>&1 &
sleep 6
DISPLAY=$display xwininfo -root -tree | grep -q '"Yuzuha": ("yuzuha" "Yuzuha")  270x372' && echo "fresh install check passed: she stands on the desktop"
