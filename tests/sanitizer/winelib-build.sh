#!/usr/bin/env bash
# Builds the library, its unit tests and its contract tests under a sanitizer, as modules of Linux that Wine loads:
# winelib-build.sh BUILD_DIR address|thread. Prints the folder of the build.
set -euo pipefail

build=$(cd "$1" && pwd)
kind=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
folder=$build/winelib-$kind

case $kind in
  address) sanitizer=address,undefined ;;
  thread) sanitizer=thread ;;
  *) echo "usage: $0 BUILD_DIR address|thread" >&2; exit 2 ;;
esac
"$here/../../scripts/needs" wineg++=wine64-tools winebuild=wine64-tools g++

# ccache does not know wineg++ by its name.
export CCACHE_COMPILERTYPE=gcc
mkdir -p "$folder"
log=$folder/build.log
{
  [ -f "$folder/build.ninja" ] ||
    cmake -G Ninja -S "$here/winelib" -B "$folder" -DKAL_SANITIZER="$sanitizer" -DCMAKE_C_COMPILER=winegcc \
      -DCMAKE_CXX_COMPILER=wineg++ -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY
  cmake --build "$folder" --parallel "${KAL_JOBS:-$(nproc)}" -- -k 0 &&
    ninja -C "$folder" -t cleandead # programs that are no more
} >"$log" 2>&1 || { grep -E 'FAILED|[Ee]rror|undefined reference' "$log" | head -n 40 >&2; exit 1; }
echo "$folder"
