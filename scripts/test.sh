#!/usr/bin/env bash
# Builds everything with warnings as errors and runs every test: the normal
# build, then the same suites under AddressSanitizer and UBSan, then a fixed
# fuzzing run of the image decoder and a host built against the installed
# package. Everything runs headless.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${KELO_BUILD_DIR:-$root/build}"
jobs="$(nproc)"

bash "$root/scripts/install-deps.sh"

echo "== build and test"
cmake -S "$root" -B "$build/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELO_WERROR=ON
cmake --build "$build/release" -j "$jobs"
(cd "$build/release" && ctest --output-on-failure -j "$jobs")

echo "== build and test under AddressSanitizer and UndefinedBehaviorSanitizer"
cmake -S "$root" -B "$build/sanitize" -DCMAKE_BUILD_TYPE=Debug -DKELO_WERROR=ON \
  -DKELO_SANITIZE=ON -DKELO_BUILD_BENCHMARKS=OFF
cmake --build "$build/sanitize" -j "$jobs"
(cd "$build/sanitize" && ctest --output-on-failure -j "$jobs")

echo "== fuzz the image decoding: the same inputs on every run"
KELO_FUZZ_DIR="$build/fuzz" bash "$root/tests/fuzz/run.sh"

echo "== build a host against the installed package"
bash "$root/examples/host/check.sh" "$build/release"
