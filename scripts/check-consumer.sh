#!/usr/bin/env bash
# Checks the installed package the way an outside project uses it:
#   1. installs a built tree into a temporary prefix, then moves the prefix
#      (the package must not depend on where it was installed);
#   2. builds every examples/*.cpp against it with CMake (find_package) and
#      with pkg-config, linking with --as-needed as distributions do;
#   3. runs each program without LD_LIBRARY_PATH: it must exit 0 and write
#      nothing to stderr (the host log is quiet unless VELMO_LOG=1).
# Usage: scripts/check-consumer.sh BUILD_DIR   (a configured and built native tree)
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:?usage: scripts/check-consumer.sh BUILD_DIR}
work=$(mktemp -d "${TMPDIR:-/tmp}/velmo-consumer.XXXXXX")
trap 'rm -rf "${work}"' EXIT

echo "=== consumer: install ${build} and move the prefix"
cmake --install "${build}" --prefix "${work}/staged" >/dev/null
mv "${work}/staged" "${work}/prefix"
prefix=${work}/prefix

mapfile -t examples < <(find examples -maxdepth 1 -name '*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort)
((${#examples[@]})) || { echo "no examples found" >&2; exit 1; }

echo "=== consumer: build the examples with find_package(quentraVelmoUtil)"
cmake -S examples -B "${work}/cmake" -DCMAKE_PREFIX_PATH="${prefix}" \
  -DCMAKE_EXE_LINKER_FLAGS=-Wl,--as-needed >/dev/null
cmake --build "${work}/cmake" -j"$(nproc)"

echo "=== consumer: build the examples with pkg-config quentra-velmoUtil"
pc_file=$(find "${prefix}" -name quentra-velmoUtil.pc)
export PKG_CONFIG_PATH=${pc_file%/*}
read -r -a pc_flags <<<"$(pkg-config --cflags --libs quentra-velmoUtil)"
libdir=$(pkg-config --variable=libdir quentra-velmoUtil)
mkdir -p "${work}/pkg-config"
for name in "${examples[@]}"; do
  "${CXX:-c++}" -std=c++17 -O2 -Wall -Werror -Wl,--as-needed "examples/${name}.cpp" -o "${work}/pkg-config/${name}" \
    "${pc_flags[@]}" -Wl,-rpath,"${libdir}"
done

echo "=== consumer: run them"
failed=0
for kind in cmake pkg-config; do
  for name in "${examples[@]}"; do
    program=${work}/${kind}/${name}
    if [[ ! -x ${program} ]]; then
      echo "FAIL ${kind}/${name}: not built (is it listed in examples/CMakeLists.txt?)"; failed=1; continue
    fi
    if ! env -u LD_LIBRARY_PATH -u VELMO_LOG "${program}" >"${work}/out" 2>"${work}/err"; then
      echo "FAIL ${kind}/${name}: exit status"; cat "${work}/out" "${work}/err"; failed=1; continue
    fi
    if [[ -s ${work}/err ]]; then
      echo "FAIL ${kind}/${name}: wrote to stderr"; head -5 "${work}/err"; failed=1; continue
    fi
    echo "ok   ${kind}/${name}: $(head -1 "${work}/out")"
  done
done
exit "${failed}"
