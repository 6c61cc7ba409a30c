#!/usr/bin/env bash
# Adds the inputs that a fuzzing run found to the kept corpus if they reach code that no kept input reaches:
# keep.sh BUILD_DIR [TARGET...].
set -euo pipefail

build=$1
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
programs=$("$here/build.sh" "$build" fuzzer)
[ $# -gt 0 ] || mapfile -t targets < <(cd "$here/targets" && printf '%s\n' *.cpp | sed 's/\.cpp$//')
for target in "${targets[@]:-$@}"; do
  new=$(mktemp -d)
  "$here/corpus.py" unpack "$target" "$new"
  "$programs/$target" -merge=1 -use_counters=0 -max_len=512 "$new" "$build/prove/fuzz/$target/found" >"$new.log" 2>&1
  "$here/corpus.py" add "$target" "$new"
  rm -rf "$new" "$new.log"
done
