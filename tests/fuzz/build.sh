#!/usr/bin/env bash
# Builds the fuzz targets for the build machine: build.sh BUILD_DIR replay|fuzzer|bare. Prints the folder of the programs.
# `replay` runs over kept inputs, `fuzzer` makes new ones, both under sanitizers; `bare` makes many more, without.
set -euo pipefail

build=$1
kind=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
folder=$build/native/fuzz-$kind
case $kind in
  replay) compiler=g++ fuzzer=OFF sanitize=ON ;;
  fuzzer) compiler=clang++ fuzzer=ON sanitize=ON ;;
  bare) compiler=clang++ fuzzer=ON sanitize=OFF ;;
  *) echo "usage: $0 BUILD_DIR replay|fuzzer|bare" >&2; exit 2 ;;
esac
"$here/../../scripts/needs" cmake ninja=ninja-build "$compiler=${compiler/clang++/clang}"
mkdir -p "$folder"
log=$folder/build.log
{
  [ -f "$folder/build.ninja" ] ||
    cmake -G Ninja -S "$here/native" -B "$folder" -DCMAKE_CXX_COMPILER="$compiler" -DKAL_FUZZER="$fuzzer" -DKAL_SANITIZE="$sanitize"
  cmake --build "$folder"
} >"$log" 2>&1 || { grep -E 'FAILED|[Ee]rror|undefined reference' "$log" | head -n 40 >&2; exit 1; }
echo "$folder"
