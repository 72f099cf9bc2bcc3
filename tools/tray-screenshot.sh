#!/usr/bin/env bash
# Takes docs/tray-menu.png: the real vigilmoth (the release build) with its tray menu open, on a
# virtual X display whose tray is gtk-sni-tray (a small StatusNotifierItem host that draws the
# item's dbusmenu with GTK). Everything runs on buses of its own in a temporary home: the session
# bus with the tray's watcher and a stand-in notification server, the system bus with a stand-in
# logind (python3-dbusmock), and two stand-in agents (copies of sleep named claude and codex) at
# work. Nothing here is needed to build or test vigilmoth, so it installs its own tools.
#   tools/tray-screenshot.sh [output.png]
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
output="${1:-$root/docs/tray-menu.png}"
vigilmoth="$root/build/release/bin/vigilmoth"
tools=(xvfb xdotool imagemagick dbus python3-dbusmock haskell-gtk-sni-tray-utils)

missing=()
for package in "${tools[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [ "${#missing[@]}" -gt 0 ]; then
    as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi
[ -x "$vigilmoth" ] || { cmake --preset release >/dev/null && cmake --build --preset release; }

work="$(mktemp -d)"
pids=()
finish() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
started() { pids+=("$!"); }

# Waits up to a minute for a command to succeed.
await() {
    for _ in $(seq 600); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
    echo "gave up waiting for: $*" >&2
    return 1
}

bus() {
    cat >"$work/$1.conf" <<CONF
<busconfig><type>session</type><listen>unix:path=$work/$1.socket</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
CONF
    dbus-daemon --config-file="$work/$1.conf" --nofork --nopidfile >/dev/null 2>&1 &
    started
    await test -S "$work/$1.socket"
    echo "unix:path=$work/$1.socket"
}
has_name() { dbus-send --bus="$1" --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "string:$2" | grep -q true; }

session="$(bus session)"
system="$(bus system)"
display=":$((90 + RANDOM % 100))"
Xvfb "$display" -screen 0 640x560x24 -wr -nolisten tcp >/dev/null 2>&1 &
started
DISPLAY="$display" await xdotool getdisplaygeometry
export DISPLAY="$display" DBUS_SESSION_BUS_ADDRESS="$session" DBUS_SYSTEM_BUS_ADDRESS="$system"
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_RUNTIME_DIR="$work" NO_AT_BRIDGE=1
unset XDG_DATA_HOME
mkdir -p "$HOME"

/usr/bin/python3 -m dbusmock --system --template logind >/dev/null 2>&1 &
started
/usr/bin/python3 -m dbusmock --template notification_daemon >/dev/null 2>&1 &
started
gtk-sni-tray-standalone --top --end --watcher --size 28 --color "#ececec" >/dev/null 2>&1 &
started
await has_name "$system" org.freedesktop.login1
await has_name "$session" org.freedesktop.Notifications
await has_name "$session" org.kde.StatusNotifierWatcher

# Two agents at work: Claude Code says so in its session file, Codex in its rollout.
mkdir -p "$HOME/bin" "$HOME/.claude/sessions" "$HOME/api-server" "$HOME/website"
for agent in claude codex; do cp /bin/sleep "$HOME/bin/$agent"; done
(cd "$HOME/api-server" && exec "$HOME/bin/claude" 600) &
started
echo "{\"status\":\"busy\",\"updatedAt\":$(date +%s)000,\"name\":\"api-server\"}" \
    >"$HOME/.claude/sessions/$!.json"
rollouts="$HOME/.codex/sessions/$(date +%Y/%m/%d)"
mkdir -p "$rollouts"
rollout="$rollouts/rollout-$(date +%Y-%m-%dT%H-%M-%S)-0199a1b2-c3d4-7e5f-8a9b-0c1d2e3f4a5b.jsonl"
printf '%s\n' "{\"type\":\"session_meta\",\"payload\":{\"cwd\":\"$HOME/website\"}}" \
    '{"type":"event_msg","payload":{"type":"task_started","turn_id":"t1"}}' >"$rollout"
(cd "$HOME/website" && exec "$HOME/bin/codex" 600 3<"$rollout") &
started

"$vigilmoth" </dev/null >"$work/vigilmoth.log" 2>&1 &
started
registered() {
    dbus-send --print-reply --dest=org.kde.StatusNotifierWatcher /StatusNotifierWatcher \
        org.freedesktop.DBus.Properties.Get string:org.kde.StatusNotifierWatcher \
        string:RegisteredStatusNotifierItems | grep -q '"'
}
await registered
# The panel follows the agents within a few seconds of their first sight.
sleep 8

# The icon is the last thing at the right of the bar; a click opens its menu.
read -r width _ < <(xdotool getdisplaygeometry)
xdotool mousemove $((width - 14)) 14 click 1
sleep 2
# Then the pointer rests on the first agent's row, which opens its sessions.
xdotool mousemove $((width - 200)) 94
sleep 2
import -window root "$work/screen.png"
# Keep the bar and the menu, cut the empty screen around them.
convert "$work/screen.png" -fuzz 2% -trim +repage "$output"
echo "Wrote $output"
