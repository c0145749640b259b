#!/usr/bin/env bash
# Runs a command on its own Xorg server with the dummy video driver: a real X
# server that switches modes (RandR) with no GPU and no screen, unlike Xvfb.
# The server takes a free display number, listens on no TCP port, logs to a
# file of its own, and is stopped by its process id when the command ends.
# Exits with 77 (the tests' skip code) when no such server can start here.
# It prints each output the server offers, where it is and its modes.
#   tests/xorg/run.sh [--config FILE] COMMAND [ARGUMENT...]
# FILE defaults to dummy.conf beside this script; a config with a `Virtual`
# size gets a screen of that size once the server is up.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../support/server.sh"
config="$here/dummy.conf"
if [ "${1:-}" = --config ]; then
  config="$2"
  shift 2
fi

require Xorg xrandr
[ -e /usr/lib/xorg/modules/drivers/dummy_drv.so ] ||
  { echo "SKIP: the dummy video driver is not installed"; exit $skip; }

# Xorg picks the display number itself and writes it to descriptor 3 once it
# takes connections.
Xorg -config "$config" -logfile "$work/Xorg.log" -nolisten tcp -noreset -sharevts \
  -displayfd 3 3>"$work/display" >"$work/stderr" 2>&1 &
server=$!

display=""
answers() {
  [ -s "$work/display" ] && display=":$(head -n 1 "$work/display")" &&
    DISPLAY="$display" xrandr --current >/dev/null 2>&1
}
await "dummy Xorg server" "$work/Xorg.log" answers

echo "dummy Xorg server (pid $server) on display $display"
virtual="$(awk '$1 == "Virtual" { print $2 "x" $3 }' "$config")"
[ -z "$virtual" ] || DISPLAY="$display" xrandr --fb "$virtual"
DISPLAY="$display" xrandr --current | awk '
  / connected/ { if (line) print line; line = "  " $1 " " ($3 == "primary" ? $4 : $3) ":" }
  /^   / && line { for (i = 2; i <= NF; i++) { rate = $i; gsub(/[*+]/, "", rate); line = line " " $1 "@" rate } }
  / disconnected/ { if (line) print line; line = "" }
  END { if (line) print line }'
DISPLAY="$display" "$@"
