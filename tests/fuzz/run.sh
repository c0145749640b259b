#!/usr/bin/env bash
# Builds the image-decoding fuzzer with clang's libFuzzer, AddressSanitizer and
# UBSan and runs it for SECONDS (default 60), starting from generated images and
# the real files of ../shared/testimages (when present). Exits non-zero when an
# input, a seed included, crashes, leaks, shows undefined behaviour or needs
# more than 2 GB.
# KELO_FUZZ_SEED fixes the random seed (CI uses 1; 0 picks a new one) and
# KELO_FUZZ_RUNS bounds the number of inputs tried. Every run starts from the
# seeds alone.
#
# Legal images up to the pixel cap take up to a minute each under the
# sanitizers (a 113-byte run-length TGA decodes to 6168 x 6168), so inputs
# slower than 10 s are set aside, not reported: the fuzzing runs in child
# processes, a new one after each such input. The seed fixes what the children
# try, not how far each gets on a busy machine. A real hang goes unreported
# too; a run this short could not tell one from a slow image.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
seconds="${1:-60}"
out="${KELO_FUZZ_DIR:-$root/build/fuzz}"
rm -rf "$out/corpus"
mkdir -p "$out/corpus" "$out/seeds"

# The PNG reader copies an empty first data chunk from a null buffer; a copy
# of zero bytes, harmless, so that one check is left out.
clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize=nonnull-attribute \
  -fno-sanitize-recover=all \
  -I"$root" -I"$root/include" \
  "$root/textures/image_file.cpp" "$root/textures/jpeg_huffman_scan.cpp" \
  "$root/textures/psd_matte_scan.cpp" "$root/host/log/log.cpp" \
  "$root/tests/fuzz/image_file_fuzz.cpp" \
  -o "$out/image_file_fuzz"
clang++ -std=c++17 -O1 -I"$root" -I"$root/include" \
  "$root/tests/fuzz/make_seeds.cpp" "$root/tests/support/test_images.cpp" \
  -o "$out/make_seeds"
"$out/make_seeds" "$out/seeds"

seeds=("$out/seeds")
images="$root/../shared/testimages"
if [[ -d "$images" ]]; then
  seeds+=("$images")
else
  echo "no real images at $images: seeding with generated images only"
fi

cd "$out"
rm -f crash-* leak-* oom-* timeout-* slow-unit-*
./image_file_fuzz -fork=1 -ignore_timeouts=1 -ignore_ooms=0 -ignore_crashes=0 \
  -max_total_time="$seconds" -runs="${KELO_FUZZ_RUNS:--1}" -seed="${KELO_FUZZ_SEED:-0}" \
  -timeout=10 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 corpus "${seeds[@]}"
# The fork mode writes a failing seed down without reporting it.
shopt -s nullglob
findings=(crash-* leak-* oom-*)
if ((${#findings[@]})); then
  echo "the fuzzer found: ${findings[*]} (in $out)"
  exit 1
fi
