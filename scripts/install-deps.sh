#!/usr/bin/env bash
# Installs what building velmoUtil needs on Debian 12 (run as root).
#   scripts/install-deps.sh          native build, tools, Python package, tests and benchmarks
#   scripts/install-deps.sh --cross  also the aarch64 cross toolchain, qemu-user
#                                    and the arm64 test libraries
#   scripts/install-deps.sh --fuzz   also clang and its sanitizer and libFuzzer
#                                    runtimes (the fuzz targets)
# The options combine.
set -euo pipefail

packages=(cmake make g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev
          libhwy-dev nlohmann-json3-dev libcli11-dev
          pybind11-dev python3-dev python3-numpy python3-matplotlib python3-pytest)
for option in "$@"; do
  case "${option}" in
    --cross)
      if ! dpkg --print-foreign-architectures | grep -qx arm64; then
        dpkg --add-architecture arm64
      fi
      packages+=(g++-aarch64-linux-gnu qemu-user libgtest-dev:arm64 libgmock-dev:arm64 libhwy-dev:arm64)
      ;;
    --fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *) echo "unknown option ${option}" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if ((${#missing[@]})); then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
