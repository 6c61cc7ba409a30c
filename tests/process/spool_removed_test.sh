#!/usr/bin/env bash
# The spool folder goes in mid-job, wholly, as only the host can remove it: the job under way is told, the next one is
# printed, and a job at another spool is not touched.
# Usage: spool_removed_test.sh WINE-RUN JOB-PRINTER
set -euo pipefail

wine_run=$1
program=$2
scratch=$(mktemp -d)
first=
other=
finish() {
  [ -z "$first" ] || kill "$first" 2>/dev/null || true
  [ -z "$other" ] || kill "$other" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$scratch"
}
trap finish EXIT

windows_path() { printf 'Z:%s' "${1//\//\\}"; }
print_to() { # SPOOL ARGUMENTS...
  KAL_SIMULATOR_SPOOL=$(windows_path "$scratch/$1") exec "$wine_run" "$program" "${@:2}"
}
wait_for() {
  for _ in $(seq 6000); do
    [ -e "$1" ] && return
    sleep 0.05
  done
  echo "$1 does not come" >&2
  exit 1
}

export KAL_SIMULATOR_CONFIG
KAL_SIMULATOR_CONFIG=$(windows_path "$scratch/comc.json")
cat >"$scratch/comc.json" <<'JSON'
{ "printers": [ { "handle": 1, "transport": "USB1", "port": "USB001", "device": "BpdPrinter", "printingMs": 0 } ] }
JSON

cd "$(dirname "$program")"
print_to gone 1 2 100 "$(windows_path "$scratch/marker")" >"$scratch/first.log" &
first=$!
print_to kept 1 1 100 "$(windows_path "$scratch/other-marker")" >"$scratch/other.log" &
other=$!
wait_for "$scratch/marker"
wait_for "$scratch/other-marker"
rm -rf "$scratch/gone"
rm "$scratch/marker" "$scratch/other-marker"

failed=0
wait "$first" || failed=$?
first=
lost=0
wait "$other" || lost=$?
other=
tr -d '\r' <"$scratch/first.log"
# One job failed with KAL_FAIL (1), the one behind it is whole; the other spool has lost nothing.
[ "$failed" -eq 1 ] || { echo "$failed jobs failed instead of 1" >&2; exit 1; }
tr -d '\r' <"$scratch/first.log" | grep -qx '[0-9]*-0 1' || { echo "the job under way was told otherwise" >&2; exit 1; }
tr -d '\r' <"$scratch/first.log" | grep -qx '[0-9]*-1 0' || { echo "the next job failed" >&2; exit 1; }
[ "$(cat "$scratch"/gone/*.prn | grep -c ' piece ')" -eq 100 ] || { echo "the next job is not whole" >&2; exit 1; }
[ "$lost" -eq 0 ] || { echo "the job at another spool failed" >&2; exit 1; }
[ "$(cat "$scratch"/kept/*.prn | grep -c ' piece ')" -eq 100 ] || { echo "the job at another spool is not whole" >&2; exit 1; }
echo "spool removed in mid-job: 1 job told, 2 whole"
