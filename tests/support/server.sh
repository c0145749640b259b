# Sourced by the scripts that run a command on a server of their own: a work
# folder removed at exit, the server (its process id in `server`) stopped by
# that id, and the tests' skip code for a server that cannot run here.
skip=77
work="$(mktemp -d)"
server=""
stop() {
  [ -n "$server" ] && kill "$server" 2>/dev/null && wait "$server" 2>/dev/null
  rm -rf "$work"
}
trap stop EXIT

# Skips unless every tool named is installed.
require() {
  for tool in "$@"; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit $skip; }
  done
}

# Runs a check every tenth of a second while the server lives, for up to ten
# seconds; skips, with the end of the log file given (or of the server's
# stderr, kept in $work/stderr), when it never passes.
await() {
  local name="$1" log="$2"
  shift 2
  for _ in $(seq 100); do
    "$@" && return 0
    kill -0 "$server" 2>/dev/null || break
    sleep 0.1
  done
  echo "SKIP: the $name did not start; its log ends:"
  tail -n 15 "$log" 2>/dev/null || tail -n 15 "$work/stderr" 2>/dev/null || true
  exit $skip
}
