#!/usr/bin/env bash
# Takes what a fuzzing run found into the kept corpus, as far as it reaches code that nothing kept reaches:
# keep.sh BUILD_DIR [TARGET...].
set -euo pipefail

build=$1
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
programs=$("$here/build.sh" "$build" fuzzer)
[ $# -gt 0 ] || mapfile -t targets < <(cd "$here/targets" && printf '%s\n' *.cpp | sed 's/\.cpp$//')
for target in "${targets[@]:-$@}"; do
  new=$(mktemp -d)
  cp "$here/corpus/$target"/* "$new"
  "$programs/$target" -merge=1 -use_counters=0 -max_len=512 "$new" "$build/prove/fuzz/$target/found" >"$new.log" 2>&1
  for input in "$new"/*; do
    name=$(basename "$input")
    [ -e "$here/corpus/$target/${name:0:12}" ] || { cp "$input" "$here/corpus/$target/${name:0:12}" && echo "$target: ${name:0:12}"; }
  done
  rm -rf "$new" "$new.log"
done
