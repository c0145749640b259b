#!/usr/bin/env bash
# Runs a command on its own headless sway compositor: a Wayland desktop with
# one output and no GPU, screen or input device, drawn by pixman. sway refuses
# to run as root, so it runs as nobody in a runtime folder of its own, which
# the command (as the caller) reaches through XDG_RUNTIME_DIR and
# WAYLAND_DISPLAY. The compositor is stopped by its process id when the
# command ends. Exits with 77 (the tests' skip code) when it cannot start here.
# It prints each output the compositor offers, with its modes.
#   tests/wayland/run.sh COMMAND [ARGUMENT...]
set -euo pipefail
source "$(dirname "$0")/../support/server.sh"
require sway swaymsg grim setpriv

cat >"$work/config" <<'CONFIG'
xwayland disable
output HEADLESS-1 mode 1024x768 position 0 0 bg #000000 solid_color
CONFIG
chown -R nobody "$work"
chmod 755 "$work"
env -i PATH="$PATH" HOME="$work" XDG_RUNTIME_DIR="$work" WLR_BACKENDS=headless \
  WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
  setpriv --reuid=nobody --regid=nogroup --clear-groups sway -c "$work/config" \
  >"$work/sway.log" 2>&1 &
server=$!

socket=""
ipc=""
answers() {
  socket="$(cd "$work" && ls wayland-? 2>/dev/null | head -n 1)" &&
    ipc="$(ls "$work"/sway-ipc.*.sock 2>/dev/null | head -n 1)" &&
    [ -n "$socket" ] && [ -n "$ipc" ] && SWAYSOCK="$ipc" swaymsg -t get_outputs >/dev/null 2>&1
}
await "headless sway compositor" "$work/sway.log" answers

echo "headless sway (pid $server) on $socket"
SWAYSOCK="$ipc" swaymsg -p -t get_outputs |
  awk '/^Output/ { name = $2 } /Current mode:/ { print "  " name ": " $3 " at " $5 " Hz" }'
XDG_RUNTIME_DIR="$work" WAYLAND_DISPLAY="$socket" "$@"
