#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs each for a short while from its seed corpus; any finding fails.
#   scripts/fuzz-smoke.sh [seconds per target, default 20] [build dir]
# Longer runs: see "Fuzzing" in the README.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
build_dir=${2:-${VELMO_BUILD_ROOT:-build/ci}/fuzz}

cmake -S . -B "${build_dir}" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVELMO_BUILD_FUZZ=ON -DVELMO_BUILD_TESTS=OFF -DVELMO_BUILD_TOOLS=OFF -DVELMO_BUILD_BENCH=OFF >/dev/null
cmake --build "${build_dir}" -j"$(nproc)" --target fuzz_targets

# Inputs the run discovers and any crash go to scratch space, never into the
# committed seed corpus.
scratch=$(mktemp -d)
trap 'rm -rf "${scratch}"' EXIT
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
status=0
for target in "${build_dir}"/tests/fuzz/fuzz_*; do
  [[ -x "${target}" ]] || continue
  name=$(basename "${target}")
  corpus=tests/fuzz/corpus/${name#fuzz_}
  mkdir -p "${scratch}/${name}"
  echo "=== ${name}: ${seconds} s"
  # Standard output is closed: refused calls print their line there.
  if ! "${target}" -max_total_time="${seconds}" -close_fd_mask=1 -print_final_stats=1 \
      -artifact_prefix="${scratch}/${name}-" "${scratch}/${name}" "${corpus}" \
      2> "${scratch}/${name}.log"; then
    tail -n 60 "${scratch}/${name}.log"
    for crash in "${scratch}/${name}"-*; do
      [[ -e "${crash}" ]] && echo "reproducer (base64): $(base64 -w0 "${crash}")"
    done
    status=1
  fi
  grep -E '^stat::number_of_executed_units' "${scratch}/${name}.log" || true
done
exit "${status}"
