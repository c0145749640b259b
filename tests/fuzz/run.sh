#!/usr/bin/env bash
# Fuzzes the image decoding with clang's libFuzzer, AddressSanitizer and UBSan.
#
#   run.sh                       the check: a fixed list of inputs, mutations of
#                                generated images, the same on every machine and
#                                every run; says in one line what failed
#   run.sh --long SECONDS [DIR]  fuzzing by hand from a new random seed, in
#                                child processes, for SECONDS, starting from the
#                                generated images and the files under DIR
#                                (default ../shared/testimages)
#
# Both fail on any crash, leak, undefined behaviour, and on any block or total
# of memory past what the decoder is allowed (textures/decoder_memory.h).
# KELO_FUZZ_DIR is where they build and write (default build/fuzz);
# KELO_FUZZ_RUNS sets how many inputs the check tries.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
out="${KELO_FUZZ_DIR:-$root/build/fuzz}"

# The decoder's bounds: a block of 528 MiB, 1320 MiB held. A block is measured
# whole (libFuzzer refuses from the next MiB up); the resident memory also
# holds the fuzzer, the sanitizers' shadow and their quarantine of freed blocks.
limits=(-malloc_limit_mb=529 -rss_limit_mb=$((1320 + 512)) -max_len=65536)

build() {
  mkdir -p "$out"
  # The PNG reader copies an empty first data chunk from a null buffer; a copy
  # of zero bytes, harmless, so that one check is left out.
  clang++ -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize=nonnull-attribute \
    -fno-sanitize-recover=all -fsanitize-ignorelist="$root/tests/fuzz/ubsan_ignore.txt" \
    -I"$root" -I"$root/include" \
    "$root"/textures/{image_file,decoder_memory,jpeg_huffman_scan,psd_matte_scan}.cpp \
    "$root/host/log/log.cpp" "$root/tests/fuzz/image_file_fuzz.cpp" \
    -o "$out/image_file_fuzz"
  clang++ -std=c++17 -O1 -I"$root" -I"$root/include" \
    "$root/tests/fuzz/make_seeds.cpp" "$root/tests/support/test_images.cpp" \
    -o "$out/make_seeds"
  rm -rf "$out/corpus" "$out/seeds" "$out"/{crash,leak,oom,timeout,slow-unit}-*
  mkdir -p "$out/corpus" "$out/seeds"
  "$out/make_seeds" "$out/seeds"
}

# The seed and the number of runs fix every input; nothing depends on time.
# Mutations from compared values are left out: some comparisons involve
# addresses, which differ from run to run.
# A legal image up to the pixel cap takes up to a minute under the sanitizers
# (a 113-byte run-length TGA decodes to 6168 x 6168), so only an input
# five times slower counts as hung.
check() {
  local log="$out/fuzz.log"
  if ! (cd "$out" && ./image_file_fuzz "${limits[@]}" -seed=1 -runs="${KELO_FUZZ_RUNS:-40000}" \
    -use_cmp=0 -reload=0 -timeout=300 -print_final_stats=1 -artifact_prefix="$out/" corpus seeds) \
    >"$log" 2>&1; then
    local kind input
    kind="$(grep -om1 -E 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer): [a-z-]+|runtime error|timeout' "$log" ||
      echo "failure")"
    input="$(grep -oP -m1 'Test unit written to \K.*' "$log" || echo "no input written")"
    echo "fuzz: $kind on input $input (the whole report: $log)"
    return 1
  fi
  echo "fuzz: $(grep -oP 'stat::number_of_executed_units: *\K\d+' "$log") inputs passed," \
    "$(grep -oP -m1 '^#\d+\s+DONE\s+\Kcov: \d+ ft: \d+ corp: \S+' "$log")"
}

# Inputs slower than 10 s are set aside, not reported: each costs a new child
# process. Failing inputs are written down and fuzzing goes on; they are
# listed at the end.
long() {
  local seconds="$1" images="${2:-$root/../shared/testimages}"
  (cd "$out" && ./image_file_fuzz "${limits[@]}" -fork=1 -ignore_timeouts=1 -ignore_ooms=1 -ignore_crashes=1 \
    -max_total_time="$seconds" -seed=0 -timeout=10 -print_final_stats=1 corpus seeds "$images")
  shopt -s nullglob
  local findings=("$out"/crash-* "$out"/leak-* "$out"/oom-*)
  if ((${#findings[@]})); then
    echo "the fuzzer found: ${findings[*]}"
    return 1
  fi
}

build
if [[ "${1:-}" == --long ]]; then
  long "${2:?how many seconds}" "${3:-}"
else
  check
fi
