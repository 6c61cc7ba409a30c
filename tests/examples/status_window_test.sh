#!/usr/bin/env bash
# Runs the tests of the status window on a screen of their own and takes the pictures that they request.
# Usage: status_window_test.sh WINE-RUN TEST-PROGRAM PICTURE [arguments of the test program]
# Ends what it started, by process id, and nothing else.
set -euo pipefail

wine_run=$1
program=$2
picture=$3
shift 3

"$(dirname "$0")/../../scripts/needs" Xvfb=xvfb import=imagemagick convert=imagemagick

folder=$(dirname "$program")
scratch=$(mktemp -d)
server=
desktop=
finish() {
  [ -z "$desktop" ] || kill "$desktop" 2>/dev/null || true
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$scratch"
}
trap finish EXIT
trap 'exit 1' INT TERM

# The server chooses a free display and tells its number when it is ready.
mkfifo "$scratch/display"
Xvfb -displayfd 3 -screen 0 1000x700x24 -nolisten tcp 3>"$scratch/display" >"$scratch/server.log" 2>&1 &
server=$!
read -r -t 60 number <"$scratch/display" || {
  echo "status_window_test.sh: Xvfb does not start:" >&2
  cat "$scratch/server.log" >&2
  exit 1
}
export DISPLAY=:$number

export KAL_WINE_PREFIX=${KAL_WINE_PREFIX:-$folder/wine}
"$wine_run" # makes the prefix when it is not there

windows_path() { printf 'Z:%s' "${1//\//\\}"; }

KAL_PICTURE_REQUEST=$(windows_path "$scratch/request")
export KAL_PICTURE_REQUEST
KAL_TEST_OUTPUT=$(windows_path "$scratch/output")
export KAL_TEST_OUTPUT
# Title bars and activation need a desktop window; its name is this run's own.
cd "$folder"
"$wine_run" explorer "/desktop=kal$$,1000x700" "$(basename "$program")" "$@" 2>"$scratch/desktop.log" &
desktop=$!

while kill -0 "$desktop" 2>/dev/null; do
  if [ -e "$scratch/request" ]; then
    sleep 0.5 # what was asked to be drawn is drawn
    name=$(tr -d '\r\n' <"$scratch/request") # none for the picture of the documents
    import -window root "$scratch/screen.png"
    mkdir -p "$(dirname "$picture")"
    convert "$scratch/screen.png" -trim +repage -strip "${picture%.png}${name:+-$name}.png"
    convert "$scratch/screen.png" -type truecolor "bmp3:$scratch/request.bmp" # for the test to look at
    rm "$scratch/request"
  fi
  sleep 0.1
done
wait "$desktop" || true
desktop=

# The desktop's exit code is not the tests'.
[ -f "$scratch/output" ] || {
  echo "status_window_test.sh: the test program did not run:" >&2
  cat "$scratch/desktop.log" >&2
  exit 1
}
tr -d '\r' <"$scratch/output"
grep -q '^exit code 0' "$scratch/output"
