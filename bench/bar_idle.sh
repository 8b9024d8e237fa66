#!/bin/sh
# Idle cost of a status-bar module: runs `yuzuha-books bar --follow` over a scratch home holding one
# Claude Code session, its output read by a pipe as a bar would, lets it settle, then prints the
# process CPU (percent of one core, averaged over the sample) and resident memory against the targets
# (under 0.1 % of a core, under 15 MB). The log does not change, so nothing is printed meanwhile.
#
#   bench/bar_idle.sh [path/to/yuzuha-books] [seconds] [format]
set -eu

tool=${1:-$(dirname "$0")/../build/release/src/cli/yuzuha-books}
seconds=${2:-60}
format=${3:-waybar}
settle=5

[ -x "$tool" ] || { echo "no yuzuha-books at $tool" >&2; exit 2; }

home=$(mktemp -d)
pid=
cleanup() {
    [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
    rm -rf "$home"
}
trap cleanup EXIT INT TERM

mkdir -p "$home/.claude/projects/-work-billing-api" "$home/config" "$home/out"
printf '{"type":"assistant","cwd":"/work/billing-api","message":{"model":"claude-sonnet-4-5","usage":{"input_tokens":2000,"cache_creation_input_tokens":10000,"cache_read_input_tokens":80000,"output_tokens":40}}}\n' \
    > "$home/.claude/projects/-work-billing-api/session.jsonl"
mkfifo "$home/out/pipe"
cat "$home/out/pipe" > "$home/out/lines" &
XDG_CONFIG_HOME="$home/config" "$tool" bar --format "$format" --follow --home "$home" > "$home/out/pipe" &
pid=$!
sleep "$settle"
kill -0 "$pid" 2>/dev/null || { echo "yuzuha-books exited during start-up" >&2; exit 1; }

# Nanoseconds on a CPU, summed over the threads: finer than the clock ticks of /proc/PID/stat.
cpu_ns() { cat "/proc/$pid/task/"*/schedstat | awk '{ s += $1 } END { printf "%.0f", s }'; }
before=$(cpu_ns)
sleep "$seconds"
after=$(cpu_ns)
rss=$(awk '/^VmRSS/ { print $2 }' "/proc/$pid/status")
lines=$(wc -l < "$home/out/lines")

awk -v b="$before" -v a="$after" -v s="$seconds" -v rss="$rss" -v lines="$lines" -v format="$format" 'BEGIN {
    cpu = (a - b) / 1e9 / s * 100
    printf "bar --format %s --follow: cpu %.3f %% of one core over %d s (target < 0.1 %%), resident %.1f MB (target < 15 MB), %d line(s) printed\n",
        format, cpu, s, rss / 1024, lines
}'
