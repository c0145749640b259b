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
skip=77

for tool in sway swaymsg grim setpriv; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit $skip; }
done

runtime="$(mktemp -d)"
compositor=""
stop() {
  [ -n "$compositor" ] && kill "$compositor" 2>/dev/null && wait "$compositor" 2>/dev/null
  rm -rf "$runtime"
}
trap stop EXIT

cat >"$runtime/config" <<'CONFIG'
xwayland disable
output HEADLESS-1 mode 1024x768 position 0 0 bg #000000 solid_color
CONFIG
chown -R nobody "$runtime"
chmod 755 "$runtime"
env -i PATH="$PATH" HOME="$runtime" XDG_RUNTIME_DIR="$runtime" WLR_BACKENDS=headless \
  WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
  setpriv --reuid=nobody --regid=nogroup --clear-groups sway -c "$runtime/config" \
  >"$runtime/sway.log" 2>&1 &
compositor=$!

socket=""
for _ in $(seq 100); do
  socket="$(cd "$runtime" && ls wayland-* 2>/dev/null | grep -v lock | head -n 1)" || true
  ipc="$(ls "$runtime"/sway-ipc.*.sock 2>/dev/null | head -n 1)" || true
  [ -n "$socket" ] && [ -n "$ipc" ] && SWAYSOCK="$ipc" swaymsg -t get_outputs >/dev/null 2>&1 && break
  kill -0 "$compositor" 2>/dev/null || break
  socket=""
  sleep 0.1
done
if [ -z "$socket" ]; then
  echo "SKIP: the headless sway compositor did not start; its log ends:"
  tail -n 15 "$runtime/sway.log"
  exit $skip
fi

echo "headless sway (pid $compositor) on $socket"
SWAYSOCK="$ipc" swaymsg -p -t get_outputs |
  awk '/^Output/ { name = $2 } /Current mode:/ { print "  " name ": " $3 " at " $5 " Hz" }'
XDG_RUNTIME_DIR="$runtime" WAYLAND_DISPLAY="$socket" "$@"
