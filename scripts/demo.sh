#!/usr/bin/env bash
# Builds the plug-in and the demo host, then runs the demo: headless unless a
# display is available, writing the frame to demo.png. Extra arguments go to
# the demo (try --help).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${KELO_BUILD_DIR:-$root/build}/release"

bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$(nproc)" --target kelo-demo KeloOGL
"$build/bin/kelo-demo" "$@"
