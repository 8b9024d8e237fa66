#!/bin/sh
# desktop_e2e.sh x11|wayland|weston path/to/yuzuha: Yuzuha on real desktops, driven from outside as a person would.
# x11: openbox and picom on Xvfb, a tray (trayer) that starts after her; wayland: nested mutter, she on its
# Xwayland over a Wayland window; weston: the same on weston, whose window manager she goes around.
# Ends by PID only what it started; a missing desktop skips. within()'s
# conditions are expanded when they run, so they are single-quoted on purpose.
# shellcheck disable=SC2016,SC2034,SC2154,SC2317
set -eu
mode=$1
app=$2

need() { for tool in "$@"; do command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }; done; }
need Xvfb xdotool xprop xwininfo xdpyinfo convert compare display
case "$mode" in
x11) need openbox picom trayer ;;
wayland) need mutter weston-eventdemo dbus-daemon Xwayland ;;
weston) need weston weston-eventdemo Xwayland ;;
*) echo "usage: desktop_e2e.sh x11|wayland|weston path/to/yuzuha" >&2; exit 2 ;;
esac

work=$(mktemp -d)
pids=""
started() { pids="$1 $pids"; }
stop() { if [ -n "$1" ]; then kill "$1" 2>/dev/null || true; fi; }
trap 'for pid in $pids; do stop "$pid"; done; rm -rf "$work"' EXIT INT TERM
fail() {
    echo "FAIL: $*"
    [ -n "${shot_display:-}" ] && DISPLAY=$shot_display import -window root "$work/fail.png" 2>/dev/null && echo "  (screen kept at ${YUZUHA_E2E_SHOTS:-nowhere})" &&
        [ -n "${YUZUHA_E2E_SHOTS:-}" ] && cp "$work/fail.png" "$YUZUHA_E2E_SHOTS/desktop-$mode-fail.png"
    exit 1
}
# Polls a shell condition for up to $1 tenths of a second.
within() {
    limit=$1 i=0
    shift
    until eval "$*"; do
        [ $i -ge "$limit" ] && return 1
        sleep 0.1 && i=$((i + 1))
    done
}

# A scratch home: settings that skip the welcome, and a private runtime folder for the instance socket.
home=$work/home
mkdir -p "$home/.config/Yuzuha" "$home/tmp" "$home/run" && chmod 700 "$home/run"
printf '[General]\nhasSeenWelcome=true\n' > "$home/.config/Yuzuha/Yuzuha.conf"
start_yuzuha() {
    env -u XDG_CONFIG_HOME -u QT_QUICK_BACKEND HOME="$home" TMPDIR="$home/tmp" XDG_RUNTIME_DIR="$home/run" QT_QPA_PLATFORM=xcb \
        "$app" > "$work/yuzuha.log" 2>&1 & started $!
    within 100 'pet=$(xdotool search --onlyvisible --name "^Yuzuha\$" 2>/dev/null | head -1); [ -n "$pet" ]' || fail "her window did not appear"
}

# The server takes a free display itself and names it: runs side by side never share one.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3> "$work/display" > /dev/null 2>&1 & started $!
within 50 '[ -s "$work/display" ]' || fail "Xvfb did not start"
screen=":$(head -1 "$work/display")"
export DISPLAY="$screen"
shot_display=$screen
# A coloured desktop, so a black box around her would show.
convert -size 1280x800 xc:'#5a7da0' "$work/desktop.png"
display -window root "$work/desktop.png" || true # it sets the background and answers 1

# Shell assignments of a window's place and size, each name prefixed by $2: eval "$(geometry "$pet")" sets x y w h.
geometry() { xwininfo -id "$1" | awk -v p="${2:-}" '/Absolute upper-left X/ { x = $NF } /Absolute upper-left Y/ { y = $NF } /Width/ { w = $NF } /Height/ { h = $NF } END { print p "x=" x, p "y=" y, p "w=" w, p "h=" h }'; }
pixel() { import -window root -crop "1x1+$1+$2" txt:- 2>/dev/null | sed -n 's/.*#\([0-9A-Fa-f]\{6\}\).*/\1/p' | head -1; }

if [ "$mode" = x11 ]; then
    openbox --sm-disable > "$work/openbox.log" 2>&1 & started $!
    within 50 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window' || fail "openbox did not start"
    picom --backend xrender > "$work/picom.log" 2>&1 &
    picom=$!
    started $picom
    within 50 'xwininfo -root -tree | grep -q "(\"picom\" \"picom\")"' || fail "picom did not start"
    start_yuzuha

    state=$(xprop -id "$pet" _NET_WM_STATE)
    supported=$(xprop -root _NET_SUPPORTED)
    for wanted in STICKY SKIP_TASKBAR SKIP_PAGER ABOVE; do
        # A window manager keeps only the states it knows (openbox has no sticky: all desktops say it).
        echo "$supported" | grep -q "_NET_WM_STATE_$wanted" || continue
        echo "$state" | grep -q "_NET_WM_STATE_$wanted" || fail "_NET_WM_STATE lacks $wanted: $state"
    done
    echo "$state" | grep -q DEMANDS_ATTENTION && fail "she asks for attention: $state"
    xprop -id "$pet" _NET_WM_DESKTOP | grep -q '= 4294967295' || fail "not on all desktops: $(xprop -id "$pet" _NET_WM_DESKTOP)"
    xdotool set_desktop 2
    within 20 'xwininfo -id "$pet" | grep -q IsViewable' || fail "gone on desktop 3"
    xdotool set_desktop 0
    echo "PASS: on every desktop, above, off the taskbar and pager, no request for attention"

    # No compositor: her window is cut to what is drawn, so the desktop shows around her instead of black.
    eval "$(geometry "$pet")"
    # The empty side of her panel looks like the desktop just beside the panel.
    boxless() { [ "$(pixel $((x + 4)) $((y + h / 2)))" = "$(pixel $((x - 10)) $((y + h / 2)))" ]; }
    boxless || fail "with a compositor the empty side of her panel shows #$(pixel $((x + 4)) $((y + h / 2)))"
    stop $picom
    within 50 'xwininfo -shape -id "$pet" | grep -q "Window shape extents" && boxless' ||
        fail "without a compositor the empty side of her panel shows #$(pixel $((x + 4)) $((y + h / 2)))"
    [ -n "${YUZUHA_E2E_SHOTS:-}" ] && import -window root "$YUZUHA_E2E_SHOTS/desktop-openbox-no-compositor.png"
    picom --backend xrender > "$work/picom.log" 2>&1 & started $!
    within 50 'xwininfo -shape -id "$pet" | grep -q "No window shape defined"' || fail "the silhouette stayed after the compositor came back"
    echo "PASS: drawn without a box with and without a compositor, switched live"

    # A tray that starts after her, reserving a strip at the bottom: her item appears, and she steps off the strip.
    start_trayer() {
        trayer --edge bottom --align right --widthtype pixel --width 120 --heighttype pixel --height 30 --SetDockType true --SetPartialStrut true \
            > "$work/trayer.log" 2>&1 & trayer=$! && started $trayer
    }
    start_trayer
    # Her item is a window of class Yuzuha embedded somewhere below trayer's panel window.
    embedded() {
        xwininfo -root -tree | awk '
            /\("panel" "trayer"\)/ { depth = match($0, /[^ ]/); next }
            depth && match($0, /[^ ]/) <= depth { depth = 0 }
            depth && /"Yuzuha"\)/ { found = 1 }
            END { exit !found }'
    }
    within 100 embedded ||
        fail "her tray item did not appear in a tray that started after her"
    within 50 'eval "$(geometry "$pet")"; [ $((y + h)) -le 770 ]' || fail "she stands over the tray's strip: $(geometry "$pet")"
    echo "PASS: tray item and placement follow a tray that starts after her"

    # Her context menu closes when the user clicks elsewhere, and that click is not eaten.
    eval "$(geometry "$pet")"
    menus() { xdotool search --onlyvisible --class yuzuha | wc -l; }
    shown=$(menus)
    for closer in "mousemove 200 200 click 1" "key Escape"; do
        # Her jacket, well above the gap between her legs.
        xdotool mousemove $((x + w / 2)) $((y + h - 160)) click 3
        within 30 '[ "$(menus)" -gt "$shown" ]' || fail "right-click opened no menu"
        # shellcheck disable=SC2086
        xdotool $closer
        within 30 '[ "$(menus)" -eq "$shown" ]' || fail "the menu stayed open after: $closer"
    done
    echo "PASS: her menu closes on a click elsewhere and on Escape"

    # The tray restarted a second later, as a session restarts a panel: her item comes back in the new one.
    stop $trayer && sleep 1
    start_trayer
    within 100 embedded || fail "her tray item did not come back in a restarted tray"
    echo "PASS: her tray item comes back when the tray restarts"
    [ -n "${YUZUHA_E2E_SHOTS:-}" ] && import -window root "$YUZUHA_E2E_SHOTS/desktop-openbox-picom-trayer.png"
    exit 0
fi

# Wayland: a compositor nested in the Xvfb window, a Wayland client filling it, she on its Xwayland.
mkdir -p "$work/run" && chmod 700 "$work/run"
export XDG_RUNTIME_DIR="$work/run"
socket="wl-e2e-$$"
auth=
if [ "$mode" = wayland ]; then
    dbus-daemon --session --nofork --print-address=3 --address="unix:path=$work/run/bus" 3> "$work/bus" 2> "$work/dbus.log" & started $!
    within 50 '[ -s "$work/bus" ]' || fail "no session bus"
    export DBUS_SESSION_BUS_ADDRESS="unix:path=$work/run/bus"
    mutter --nested --wayland --wayland-display "$socket" > "$work/compositor.log" 2>&1 & started $!
    within 150 'grep -q "Using public X11 display" "$work/compositor.log" && ls "$work"/run/.mutter-Xwaylandauth.* > /dev/null 2>&1' ||
        fail "mutter did not start: $(tail -3 "$work/compositor.log")"
    xwayland=$(sed -n 's/.*Using public X11 display \(:[0-9]*\).*/\1/p' "$work/compositor.log" | head -1)
    auth=$(find "$work/run" -maxdepth 1 -name '.mutter-Xwaylandauth.*' | head -1)
    desktop=mutter title=mutter
else
    # Its window leaves a margin of the screen free: weston follows the pointer only after it entered that window.
    xdotool mousemove 1279 799
    weston --backend=x11-backend.so --width=1240 --height=760 --xwayland --socket="$socket" > "$work/compositor.log" 2>&1 & started $!
    within 150 'grep -q "xserver listening on display" "$work/compositor.log" && [ -S "$work/run/$socket" ]' ||
        fail "weston did not start: $(tail -3 "$work/compositor.log")"
    xwayland=$(sed -n 's/.*xserver listening on display \(:[0-9]*\).*/\1/p' "$work/compositor.log" | head -1)
    desktop=weston title='Weston Compositor'
fi
WAYLAND_DISPLAY=$socket stdbuf -oL weston-eventdemo --log-button --width=1400 --height=900 > "$work/events.log" 2>&1 & started $!
within 50 'grep -q . "$work/events.log" || true; sleep 1; true'
# The nested compositor's own window on Xvfb: where its outputs's pixels are.
nested=$(xwininfo -root -tree | awk -v t="\"$title" 'index($0, t) { print $1; exit }')
[ -n "$nested" ] || fail "no window of $desktop on Xvfb"
eval "$(geometry "$nested" n)"

DISPLAY=$xwayland XAUTHORITY=$auth WAYLAND_DISPLAY=$socket XDG_SESSION_TYPE=wayland sh -c '
    export DISPLAY XAUTHORITY WAYLAND_DISPLAY XDG_SESSION_TYPE
    exec env -u XDG_CONFIG_HOME -u QT_QUICK_BACKEND HOME="$1" TMPDIR="$1/tmp" XDG_RUNTIME_DIR="$1/run" QT_QPA_PLATFORM=xcb "$2"' sh "$home" "$app" \
    > "$work/yuzuha.log" 2>&1 & started $!
pet=
within 100 'pet=$(DISPLAY=$xwayland XAUTHORITY=$auth xdotool search --onlyvisible --name "^Yuzuha\$" 2>/dev/null | head -1); [ -n "$pet" ]' ||
    fail "her window did not appear on Xwayland: $(tail -3 "$work/yuzuha.log")"
# Wait for the launch greeting to end: then only her figure and tag are drawn.
sleep 8
eval "$(DISPLAY=$xwayland XAUTHORITY=$auth geometry "$pet" p)"
echo "her window on Xwayland: ${pw}x${ph}+$px+$py (the panel is 270x372)"
{ [ "$pw" -lt 270 ] && [ "$ph" -lt 372 ]; } || fail "her window still covers the whole panel: ${pw}x${ph}"
# A point of the panel her old window covered, beside her figure: the Wayland window beneath gets the click.
clicks() { grep -c 'button: 272, state: pressed' "$work/events.log" || true; }
# The pointer travels there as a hand moves it, in steps: a compositor only tells a window it has the pointer on motion.
glide() {
    eval "$(xdotool getmouselocation --shell)"
    for step in 1 2 3 4 5 6 7 8; do xdotool mousemove $((X + ($1 - X) * step / 8)) $((Y + ($2 - Y) * step / 8)) && sleep 0.03; done
}
before=$(clicks)
# From the far side, so the way there does not cross her and bring her bubble up.
glide $((nx + 200)) $((ny + 200)) && glide $((nx + px + pw / 2)) $((ny + py - 40)) && xdotool click 1
within 30 '[ "$(clicks)" -gt "$before" ]' || fail "a click above her, inside her old panel, did not reach the window beneath"
[ -n "${YUZUHA_E2E_SHOTS:-}" ] && import -window root "$YUZUHA_E2E_SHOTS/desktop-$desktop-wayland.png"
echo "PASS: on a Wayland session her window covers only what is drawn; clicks beside her reach the Wayland window"

# Her menu cannot see a click on the Wayland window, but closes once the pointer went there; the click is not eaten.
menus() { DISPLAY=$xwayland XAUTHORITY=$auth xdotool search --onlyvisible --class yuzuha | wc -l; }
shown=$(menus)
glide $((nx + px + pw / 2)) $((ny + py + ph - 170)) && sleep 0.3 && xdotool click 3
within 30 '[ "$(menus)" -gt "$shown" ]' || fail "right-click opened no menu"
before=$(clicks)
glide $((nx + 200)) $((ny + 200)) && xdotool click 1
within 40 '[ "$(menus)" -eq "$shown" ] && [ "$(clicks)" -gt "$before" ]' || fail "her menu stayed open, or ate the click: $(menus) windows"
echo "PASS: her menu closes when the pointer went to a Wayland window, and the click there reaches it"
[ "$mode" = weston ] || exit 0

# weston's window manager would put her elsewhere, under other windows, and not move her: a drag takes her,
# drawn above the Wayland window that just took the clicks, from where she stood to where she was dropped.
shot() { import -window root -crop "${pw}x${ph}+$((nx + $1))+$((ny + $2))" "$work/$3.png"; }
changed() { compare -metric AE "$work/$1.png" "$work/$2.png" null: 2>&1 | awk '{ printf "%d", $1 }'; }
shot "$px" "$py" old-before && shot $((px - 300)) $((py - 200)) new-before
fromx=$((nx + px + pw / 2)) fromy=$((ny + py + ph - 170))
glide $fromx $fromy && sleep 0.3 && xdotool mousemove $((fromx + 1)) $fromy && sleep 0.2 && xdotool mousedown 1 && sleep 0.2
for step in 1 2 3 4 5 6 7 8 9 10; do xdotool mousemove $((fromx - step * 30)) $((fromy - step * 20)) && sleep 0.05; done
xdotool mouseup 1
# Her bottom centre is where the window stays put when the bubble comes and goes.
near() { [ $(($1 - $2)) -le 3 ] && [ $(($2 - $1)) -le 3 ]; }
within 30 'eval "$(DISPLAY=$xwayland geometry "$pet" d)"; near $((dx + dw / 2)) $((px + pw / 2 - 300)) && near $((dy + dh)) $((py + ph - 200))' ||
    fail "a drag by (-300, -200) did not move her window there: ${dw}x${dh}+$dx+$dy"
grep -q '^petOrigin=' "$home/.config/Yuzuha/Yuzuha.conf" || fail "the place she was dragged to was not kept"
glide $((nx + 100)) $((ny + ph)) && sleep 1.5
shot "$px" "$py" old-after && shot $((px - 300)) $((py - 200)) new-after
[ -n "${YUZUHA_E2E_SHOTS:-}" ] && import -window root "$YUZUHA_E2E_SHOTS/desktop-weston-dragged.png"
left=$(changed old-before old-after) arrived=$(changed new-before new-after)
echo "pixels changed where she stood: $left, where she was dropped: $arrived"
{ [ "$left" -gt 3000 ] && [ "$arrived" -gt 3000 ]; } || fail "she is not drawn where she was dropped"
echo "PASS: on weston a drag takes her where she is dropped, drawn above the Wayland window"
