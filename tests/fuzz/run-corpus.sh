#!/usr/bin/env bash
# Runs every fuzz target over its corpus: run-corpus.sh BUILD_DIR. Quick; no fuzzer is needed.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
programs=$("$here/build.sh" "$1" replay)
notes=$(mktemp)
trap 'rm -f "$notes"' EXIT
status=0
for source in "$here"/targets/*.cpp; do
  target=$(basename "$source" .cpp)
  printf '%-16s ' "$target"
  "$programs/$target" "$here/corpus/$target.txt" 2>"$notes" || {
    echo "FAILED at the last input named here:"
    tail -n 40 "$notes"
    status=1
  }
done
exit $status
