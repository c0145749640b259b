#!/usr/bin/env bash
# Runs a command on its own Xorg server with the dummy video driver: a real X
# server that switches modes (RandR) with no GPU and no screen, unlike Xvfb.
# The server takes a free display number, listens on no TCP port, logs to a
# file of its own, and is stopped by its process id when the command ends.
# Exits with 77 (the tests' skip code) when no such server can start here.
#   tests/xorg/run.sh COMMAND [ARGUMENT...]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
skip=77

for tool in Xorg xrandr; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit $skip; }
done
[ -e /usr/lib/xorg/modules/drivers/dummy_drv.so ] ||
  { echo "SKIP: the dummy video driver is not installed"; exit $skip; }

work="$(mktemp -d)"
server=""
stop() {
  [ -n "$server" ] && kill "$server" 2>/dev/null && wait "$server" 2>/dev/null
  rm -rf "$work"
}
trap stop EXIT

# Xorg picks the display number itself and writes it to descriptor 3 once it
# takes connections.
Xorg -config "$here/dummy.conf" -logfile "$work/Xorg.log" -nolisten tcp -noreset -sharevts \
  -displayfd 3 3>"$work/display" >"$work/stderr" 2>&1 &
server=$!

display=""
for _ in $(seq 100); do
  [ -s "$work/display" ] && display=":$(head -n 1 "$work/display")" &&
    DISPLAY="$display" xrandr --current >/dev/null 2>&1 && break
  kill -0 "$server" 2>/dev/null || break
  display=""
  sleep 0.1
done
if [ -z "$display" ]; then
  echo "SKIP: the dummy Xorg server did not start; its log ends:"
  tail -n 15 "$work/Xorg.log" 2>/dev/null || tail -n 15 "$work/stderr"
  exit $skip
fi

echo "dummy Xorg server (pid $server) on display $display"
DISPLAY="$display" "$@"
