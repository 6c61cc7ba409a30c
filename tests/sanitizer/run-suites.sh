#!/usr/bin/env bash
# Runs the unit and contract tests with everything under a sanitizer: run-suites.sh BUILD_DIR address|thread [PROGRAM...].
# Prints a line for each program and each report once; the last line is "TESTS tests, BAD not clean". KAL_NAME_LEAKS=1
# names the code that leaked in a library that is unloaded by then (slow).
set -euo pipefail

build=$(cd "$1" && pwd)
kind=$2
shift 2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
folder=$("$here/winelib-build.sh" "$build" "$kind")
programs=("$@")
[ ${#programs[@]} -gt 0 ] ||
  mapfile -t programs < <(cd "$folder/programs" && printf '%s\n' *.exe.so | sed 's/\.exe\.so$//' | grep -vx deliberate)

# The tests' folders bear a name that Linux and Wine take for the same folder and that holds a backslash, without which
# the library takes a log's name for a bare one.
work=$folder/run
rm -rf "$work"
mkdir -p "$work/temporary/folder"
ln -s temporary/folder "$work/temporary\\folder"

export WINEPREFIX=${KAL_WINE_PREFIX:-$root/build/wine} WINEDEBUG=-all WINEDLLPATH=$folder/modules
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
# Not TMPDIR, by which Wine would take another server for one and the same prefix.
unset TMPDIR TMP TEMP
export TEMPDIR=$work/temporary\\folder
# A thread of Wine is none that anybody joins.
# Wine handles the signals; the stacks of its threads are not those that Linux knows.
common="handle_segv=0:handle_sigill=0:handle_sigbus=0:handle_sigfpe=0:use_sigaltstack=0:exitcode=66"
export ASAN_OPTIONS="$common:fast_unwind_on_malloc=0"
export LSAN_OPTIONS="suppressions=$here/leaks.supp:print_suppressions=0:leak_check_at_exit=0:use_stacks=0"
export UBSAN_OPTIONS="print_stacktrace=1"
export TSAN_OPTIONS="$common:suppressions=$here/races.supp:print_suppressions=0:report_signal_unsafe=0:atexit_sleep_ms=0:report_thread_leaks=0"
case $kind in
  address) runtime=libasan.so ;;
  thread) runtime=libtsan.so ;;
esac
# The C++ library with the sanitizer's, which else would not find the functions of it that it watches.
preload=$(readlink -f "$(g++ -print-file-name="$runtime")"):$(readlink -f "$(g++ -print-file-name=libstdc++.so)")

# Reports of the sanitizers; a warning about the stacks of Wine is none.
report='ERROR: (Address|Leak)Sanitizer|WARNING: ThreadSanitizer|FATAL: |runtime error:|CHECK failed'

# start PROGRAM FILTER LOG. To a file: processes of Wine that outlive the program would keep a pipe open.
start() {
  cd "$folder/programs"
  timeout 600 setarch -R env LD_PRELOAD="$preload" /usr/lib/wine/wine64 "./$1.exe.so" --gtest_filter="$2" \
    >"$3" 2>&1 </dev/null
}

# The tests of one program, one after the other in one process.
run_program() {
  local program=$1 code=0
  local log=$work/$program.log skip
  skip=$(awk -v program="$program" '$1 == program { print $2 }' "$here/skipped-tests" | paste -sd:)
  start "$program" "-$skip" "$log" || code=$?
  local tests failed reports
  tests=$(sed -nE 's/^\[==========\] ([0-9]+) tests? from .* ran\..*/\1/p' "$log")
  failed=$(sed -nE 's/^\[  FAILED  \] ([0-9]+) tests?, listed below:.*/\1/p' "$log")
  reports=$(grep -caE "$report" "$log" || true)
  # A program that ended before its tests did, or badly after them.
  [ -n "$tests" ] && { [ "$code" -eq 0 ] || [ -n "$failed" ] || [ "$reports" -gt 0 ]; } || failed=$((${failed:-0} + 1))
  printf '%s\t%d\t%d\t%d\n' "$program" "${tests:-0}" "${failed:-0}" "$reports" >>"$work/verdicts"
  printf '%-22s %4d tests, %d failed, %d reports\n' "$program" "${tests:-0}" "${failed:-0}" "$reports"
  if [ -z "$tests" ]; then
    echo "  ended with $code in: $(grep -a '^\[ RUN' "$log" | tail -n 1)"
  fi
  sed -nE 's/^\[  FAILED  \] ([A-Za-z].*) \([0-9]+ ms\)$/  failed: \1/p' "$log"
}
export -f start run_program
export preload report folder work here

: >"$work/verdicts"

# Wine starts up by itself with its first program, which must not be one that is watched.
env -u WINEDLLPATH KAL_WINE_PREFIX="$WINEPREFIX" "$root/cmake/wine-run" wineboot >"$work/wineboot.txt" 2>&1 || true

# First the instruments themselves: each deliberate defect of the kind must be reported, and what is in order must not.
case $kind in
  address) defects="HeapOverrun StackOverrun Leak SignedOverflow" ;;
  thread) defects="Race" ;;
esac
blind=0
for defect in $defects; do
  start deliberate "Reported.$defect" "$work/deliberate-$defect.txt" || true
  grep -qaE "$report" "$work/deliberate-$defect.txt" || { echo "a deliberate defect was not reported: $defect"; blind=$((blind + 1)); }
done
start deliberate "Clean.*" "$work/deliberate-clean.txt" || true
if grep -qaE "$report" "$work/deliberate-clean.txt" || ! grep -qa '^\[  PASSED  \] 2 tests' "$work/deliberate-clean.txt"; then
  echo "what is in order was reported: $work/deliberate-clean.txt"
  blind=$((blind + 1))
fi
# shellcheck disable=SC2016 # expanded by the inner shell
printf '%s\n' "${programs[@]}" | xargs -P "${KAL_JOBS:-$(nproc)}" -I '{}' bash -c 'run_program "$1"' _ '{}'
# Each report once, with its number.
grep -hasE '^SUMMARY|runtime error:' "$work"/*.log | sort | uniq -c | sort -rn | head -n 40 || true
awk -v programs="${#programs[@]}" -v bad="$blind" '{ tests += $2; bad += $3 + $4 }
  END { if (NR != programs) ++bad; printf "%d tests, %d not clean\n", tests, bad; exit bad != 0 || tests == 0 }' "$work/verdicts"
