#!/usr/bin/env bash
# Builds and runs the whole test suite three ways; all must pass:
#   1. native Release, warnings as errors; then the package it installs is
#      used as an outside project would (scripts/check-consumer.sh);
#   2. native with AddressSanitizer and UndefinedBehaviorSanitizer (any report fails);
#   3. cross-compiled for aarch64 and run under qemu-user;
# then the thread test runs under ThreadSanitizer, and every fuzz target for
# 20 seconds with ASan and UBSan (clang).
# Both architectures check against the same expected data, so a pass on both
# means identical results.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh --cross --fuzz

jobs=$(nproc)
build_dir=${VELMO_BUILD_ROOT:-build/ci}

run_suite() {
  local name=$1; shift
  echo "=== ${name}: configure and build"
  cmake -S . -B "${build_dir}/${name}" -DVELMO_WERROR=ON "$@" >/dev/null
  cmake --build "${build_dir}/${name}" -j"${jobs}"
  echo "=== ${name}: test"
  ctest --test-dir "${build_dir}/${name}" --output-on-failure -j"${jobs}"
}

run_suite release -DCMAKE_BUILD_TYPE=Release
scripts/check-consumer.sh "${build_dir}/release"

ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
  run_suite sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMO_SANITIZE=ON -DVELMO_BUILD_BENCH=OFF

run_suite aarch64 -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake -DVELMO_BUILD_BENCH=OFF

echo "=== threads: ThreadSanitizer"
cmake -S . -B "${build_dir}/tsan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMO_SANITIZE_THREAD=ON \
  -DVELMO_BUILD_TOOLS=OFF -DVELMO_BUILD_BENCH=OFF -DVELMO_WERROR=ON >/dev/null
cmake --build "${build_dir}/tsan" -j"${jobs}" --target vwmt_thread_test
TSAN_OPTIONS=halt_on_error=1 "${build_dir}/tsan/tests/vwmt/vwmt_thread_test"

echo "=== fuzz smoke"
scripts/fuzz-smoke.sh 20 "${build_dir}/fuzz"

echo "=== all three suites, the consumer check, the thread test and the fuzz smoke passed"
