#!/bin/sh
# Idle cost of the desktop pet: starts Yuzuha under its own Xvfb with a scratch home holding one
# Claude Code session at 46 %, lets her settle, then prints the process CPU (percent of one core,
# averaged over the sample) and resident memory. She breathes the whole time; the log does not change.
#
#   bench/pet_idle.sh [path/to/yuzuha] [software|opengl] [seconds]
set -eu

app=${1:-$(dirname "$0")/../build/dev/src/app/yuzuha}
backend=${2:-software}
seconds=${3:-60}
settle=8

command -v Xvfb >/dev/null || { echo "Xvfb is not installed" >&2; exit 2; }
[ -x "$app" ] || { echo "no yuzuha at $app" >&2; exit 2; }

home=$(mktemp -d)
display=
xvfb=
pid=
cleanup() {
    [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$home"
}
trap cleanup EXIT INT TERM

mkdir -p "$home/.claude/projects/-work-billing-api" "$home/work/billing-api"
printf '{"type":"assistant","cwd":"%s/work/billing-api","message":{"model":"claude-sonnet-4-5","usage":{"input_tokens":2000,"cache_creation_input_tokens":10000,"cache_read_input_tokens":80000,"output_tokens":40}}}\n' "$home" \
    > "$home/.claude/projects/-work-billing-api/session.jsonl"

for n in $(seq 91 140); do
    if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then display=":$n"; break; fi
done
[ -n "$display" ] || { echo "no free X display" >&2; exit 2; }
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1

case "$backend" in
software) rhi="-u QSG_RHI_BACKEND" ;; # the program's default
opengl) rhi="QSG_RHI_BACKEND=opengl" ;;
*) echo "backend is software or opengl" >&2; exit 2 ;;
esac

mkdir -p "$home/tmp" && mkdir -m 700 "$home/run" # its own single-instance socket
# The program takes the account's home from the user database, not from $HOME. As root, a private
# mount namespace lays the scratch home over the real one so she reads the session above; otherwise
# she reads the account's own logs, which is fine for an idle figure as long as they do not change.
real_home=$(getent passwd "$(id -u)" | cut -d: -f6)
# shellcheck disable=SC2086
if [ "$(id -u)" = 0 ] && command -v unshare >/dev/null 2>&1 && [ -n "$real_home" ]; then
    unshare -m sh -c 'mount --bind "$0" "$1" && shift && exec "$@"' "$home" "$real_home" \
        env -u XDG_CONFIG_HOME -u XDG_SESSION_TYPE -u QT_QUICK_BACKEND $rhi HOME="$real_home" TMPDIR="$real_home/tmp" XDG_RUNTIME_DIR="$real_home/run" DISPLAY="$display" \
        QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 "$app" >/dev/null 2>&1 &
else
    env -u XDG_CONFIG_HOME -u XDG_SESSION_TYPE -u QT_QUICK_BACKEND $rhi HOME="$home" TMPDIR="$home/tmp" XDG_RUNTIME_DIR="$home/run" DISPLAY="$display" QT_QPA_PLATFORM=xcb \
        LIBGL_ALWAYS_SOFTWARE=1 "$app" >/dev/null 2>&1 &
fi
pid=$!
sleep "$settle"
kill -0 "$pid" 2>/dev/null || { echo "yuzuha exited during start-up" >&2; exit 1; }

ticks() { awk '{ print $14 + $15 }' "/proc/$pid/stat"; }
hz=$(getconf CLK_TCK)
before=$(ticks)
sleep "$seconds"
after=$(ticks)
rss=$(awk '/^VmRSS/ { print $2 }' "/proc/$pid/status")

awk -v b="$before" -v a="$after" -v hz="$hz" -v s="$seconds" -v rss="$rss" -v backend="$backend" 'BEGIN {
    printf "backend %s: cpu %.2f %% of one core over %d s, resident %.1f MB\n", backend, (a - b) / hz / s * 100, s, rss / 1024
}'
