#!/bin/sh
# What a program has written before it is killed, as CTest kills one at its time limit, reaches the reader of cmake/wine-run:
# output_of_killed_program_test.sh WINE_RUN
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkfifo "$scratch/input"
exec 3<>"$scratch/input" # stays open, so that `pause` waits
KAL_WINE_COLLECT=1 "$1" cmd /c "echo begun& echo complaint 1>&2& pause >nul" <&3 >"$scratch/output" 2>"$scratch/errors" &
wine_run=$!

# killed PID...: kills each with its children, as CTest does.
killed() {
  for process in "$@"; do
    # shellcheck disable=SC2046 # a list of numbers
    killed $(cat "/proc/$process/task/$process/children" 2>/dev/null)
    kill -9 "$process" 2>/dev/null || true
  done
}

tries=0
until grep -q begun "$scratch/output" && grep -q complaint "$scratch/errors"; do
  tries=$((tries + 1))
  if [ "$tries" -gt 1200 ] || ! kill -0 "$wine_run" 2>/dev/null; then
    echo "nothing was copied while the program ran; its output holds: $(cat "$scratch/output" "$scratch/errors")" >&2
    killed "$wine_run"
    exit 1
  fi
  sleep 0.05
done
killed "$wine_run"
code=0
wait "$wine_run" || code=$?
[ "$code" -eq 137 ] || { echo "the program was not running any more: exit code $code" >&2; exit 1; }
