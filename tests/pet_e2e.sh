#!/bin/sh
# Runs the X11 end-to-end test of the pet under a private Xvfb with a scratch home holding one
# Claude Code session at 46 % (92,000 of a 200,000 window). Skips when Xvfb or xdotool is missing.
#   pet_e2e.sh path/to/tst_pet_e2e [path/to/yuzuha]
set -eu
test_binary=$1 app=${2:-}
for tool in Xvfb xdotool xwininfo; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done

home=$(mktemp -d) xvfb= first=
cleanup() {
    [ -n "$first" ] && kill "$first" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$home"
}
trap cleanup EXIT INT TERM

mkdir -p "$home/.claude/projects/-work-billing-api"
printf '{"type":"assistant","cwd":"/work/billing-api","message":{"model":"claude-sonnet-4-5","usage":{"input_tokens":2000,"cache_creation_input_tokens":10000,"cache_read_input_tokens":80000,"output_tokens":40}}}\n' \
    > "$home/.claude/projects/-work-billing-api/session.jsonl"

# The server takes a free display itself and names it: runs side by side never share one.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$home/display" >/dev/null 2>&1 & xvfb=$! i=0
until [ -s "$home/display" ] || [ $i -ge 50 ]; do sleep 0.1; i=$((i + 1)); done
display=":$(head -1 "$home/display")"

# Private runtime and temporary folders keep the single-instance socket apart from any Yuzuha already running.
mkdir -p "$home/tmp" && mkdir -m 700 "$home/run"
export DISPLAY="$display" HOME="$home" TMPDIR="$home/tmp" XDG_RUNTIME_DIR="$home/run" QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
unset XDG_CONFIG_HOME XDG_SESSION_TYPE || true
"$test_binary"

# One Yuzuha per user session: a second launch hands over to the first and exits.
if [ -n "$app" ]; then
    # Hidden at launch, so only the re-open request can bring her back (and store that she is visible).
    rm -rf "$home/.config" && mkdir -p "$home/.config/Yuzuha"
    printf '[General]\npetVisible=false\n' > "$home/.config/Yuzuha/Yuzuha.conf"
    "$app" >/dev/null 2>&1 & first=$!
    sleep 3
    kill -0 "$first" || { echo "FAIL: yuzuha did not stay up"; exit 1; }
    timeout 10 "$app" >/dev/null 2>&1 || { echo "FAIL: a second launch did not exit at once"; exit 1; }
    kill -0 "$first" || { echo "FAIL: the first yuzuha ended"; exit 1; }
    sleep 1
    grep -q '^petVisible=true' "$home/.config/Yuzuha/Yuzuha.conf" || { echo "FAIL: re-open did not show her"; exit 1; }
    xdotool search --name '^Yuzuha$' >/dev/null || { echo "FAIL: no pet window after re-open"; exit 1; }
    echo "PASS: second launch handed over to the running one"
fi
