#!/usr/bin/env bash
# Installs a build of the plug-in into a fresh prefix, then builds and runs
# the example host against the installed package alone, headless.
# Usage: check.sh BUILD_DIR
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" > /dev/null
export PKG_CONFIG_PATH="$(dirname "$(find "$work/prefix" -name keloogl.pc)")"
echo "pkg-config keloogl: $(pkg-config --cflags --libs keloogl)"
plugins="$(pkg-config --variable=plugindir keloogl)"
test -f "$plugins/libKeloOGL.so" || { echo "no plug-in in $plugins" >&2; exit 1; }
cmake -S "$here" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" > /dev/null
cmake --build "$work/build" > /dev/null
SDL_VIDEODRIVER=offscreen "$work/build/example-host"
# The installed demo finds the installed plug-in on its own.
(cd "$work" && "$work/prefix/bin/kelo-demo" --headless --out "$work/demo.png" 2> /dev/null)
