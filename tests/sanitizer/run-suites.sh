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
everything=
if [ ${#programs[@]} -eq 0 ]; then
  everything=yes
  # The largest first: one that runs long must not begin last.
  mapfile -t programs < <(find "$folder/programs" -name '*.exe.so' -printf '%s %f\n' | sort -rn |
    sed -E 's/^[0-9]+ (.*)\.exe\.so$/\1/' | grep -vx deliberate)
fi

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
# Wine handles the signals; the stacks of its threads are not those that Linux knows, and nobody joins its threads.
common="handle_segv=0:handle_sigill=0:handle_sigbus=0:handle_sigfpe=0:use_sigaltstack=0:exitcode=66"
export ASAN_OPTIONS="$common:fast_unwind_on_malloc=0"
export LSAN_OPTIONS="suppressions=$here/leaks.supp:print_suppressions=1:leak_check_at_exit=0:use_stacks=0"
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

# start PROGRAM FILTER LOG [ARGUMENT...]. To a file: processes of Wine that outlive the program would keep a pipe open.
start() {
  cd "$folder/programs"
  timeout 600 setarch -R env LD_PRELOAD="$preload" /usr/lib/wine/wine64 "./$1.exe.so" --gtest_filter="$2" "${@:4}" \
    >"$3" 2>&1 </dev/null
}

# The patterns of the tests of a program that are left out.
skipped() {
  awk -v program="$1" '$1 == program { print $2 }' "$here/skipped-tests"
}

# Those of them that fit no test of the program any more.
stale() {
  local list=$work/$1.list pattern name names
  start "$1" '*' "$list" --gtest_list_tests || true
  mapfile -t names < <(awk '/^[^ ].*\.$/ { suite = $1 } /^  / { print suite $1 }' "$list")
  while read -r pattern; do
    for name in "${names[@]}"; do
      # shellcheck disable=SC2053 # a pattern
      [[ $name != $pattern ]] || continue 2
    done
    echo "$pattern"
  done
}

# The tests of one program, one after the other in one process.
run_program() {
  local program=$1 code=0 begin=$SECONDS
  local log=$work/$program.log skip old
  skip=$(skipped "$program")
  old=$([ -z "$skip" ] || stale "$program" <<<"$skip")
  start "$program" "-${skip//$'\n'/:}" "$log" || code=$?
  local tests failed absent reports
  tests=$(sed -nE 's/^\[==========\] ([0-9]+) tests? from .* ran\..*/\1/p' "$log")
  # What is written between the start of a test and its failure says whether it found what it meant to replace.
  awk -v absent="$work/$program.absent" -v failed="$work/$program.failed" '
    BEGIN { printf "" > absent; printf "" > failed }
    /^\[ RUN / { missing = "" }
    match($0, /"not imported: (malloc|TlsSetValue|_beginthreadex)"/) { missing = substr($0, RSTART + 15, RLENGTH - 16) }
    /^\[  FAILED  \] .* \([0-9]+ ms\)$/ { print (missing != "" ? missing " " : "") $4 > (missing != "" ? absent : failed) }' "$log"
  failed=$(wc -l <"$work/$program.failed")
  absent=$(wc -l <"$work/$program.absent")
  reports=$(grep -caE "$report" "$log" || true)
  # A program that ended before its tests did, or badly after them: 1 is what failed tests end with.
  local expected=0
  [ $((failed + absent)) -eq 0 ] || expected=1
  if [ -z "$tests" ] || { [ "$code" -ne $expected ] && [ "$reports" -eq 0 ]; }; then
    failed=$((failed + 1))
  fi
  [ -z "$old" ] || failed=$((failed + 1))
  printf '%s\t%d\t%d\t%d\n' "$program" "$((${tests:-0} - absent))" "$failed" "$reports" >>"$work/verdicts"
  printf '%-27s %4d tests, %d failed, %d reports, %d s\n' "$program" "$((${tests:-0} - absent))" "$failed" "$reports" \
    $((SECONDS - begin))
  [ -n "$tests" ] || echo "  ended with $code in: $(grep -a '^\[ RUN' "$log" | tail -n 1)"
  sed 's/^/  failed: /' "$work/$program.failed"
  [ "$absent" -eq 0 ] || sed -E 's/ .*//' "$work/$program.absent" | sort | uniq -c |
    awk '{ print "  not run, as Linux has no function to replace: " $2 ", tests: " $1 }'
  [ -z "$old" ] || printf '  left out, but there is no such test: %s\n' "$old"
}
export -f start skipped stale run_program
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
old=0
if [ -n "$everything" ]; then
  while read -r program pattern _; do
    [ ! -e "$folder/programs/$program.exe.so" ] || continue
    echo "left out, but there is no such program: $program $pattern"
    old=$((old + 1))
  done < <(grep -v '^#' "$here/skipped-tests")
  if [ "$kind" = address ]; then
    while read -r pattern; do
      grep -qasE "^ +[0-9]+ +[0-9]+ +${pattern#leak:}\$" "$work"/*.log && continue
      echo "suppressed, but it does not leak any more: $pattern"
      old=$((old + 1))
    done < <(grep '^leak:' "$here/leaks.supp")
  fi
fi
awk -v programs="${#programs[@]}" -v bad="$((blind + old))" '{ tests += $2; bad += $3 + $4 }
  END { if (NR != programs) ++bad; printf "%d tests, %d not clean\n", tests, bad; exit bad != 0 || tests == 0 }' "$work/verdicts"
