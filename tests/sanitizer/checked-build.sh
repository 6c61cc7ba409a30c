#!/usr/bin/env bash
# Builds the library and its unit tests a second time, as PE files with undefined behaviour trapped and the standard
# library's own checks on, and runs them: checked-build.sh BUILD_DIR [ctest arguments]. BUILD_DIR is the ordinary build,
# whose contract programs run with the checked library where they load it and have none of it inside; the checked build
# lies in its folder "checked". The last line is "TESTS tests, BAD not clean".
set -euo pipefail

build=$(cd "$1" && pwd)
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
checked=$build/checked

mkdir -p "$checked"
runtime=$checked/libubsan.a # the name under which the linker asks for it
if [ ! "$runtime" -nt "$here/UndefinedBehaviourRuntime.cpp" ]; then
  x86_64-w64-mingw32-g++-posix -std=c++20 -O1 -c "$here/UndefinedBehaviourRuntime.cpp" -o "$checked/runtime.o"
  x86_64-w64-mingw32-ar rcs "$runtime" "$checked/runtime.o"
fi
# What the compiler's driver reads to learn how a sanitizer is linked; for Windows GCC brings none.
for name in asan hwasan tsan lsan; do printf '*link_lib%s:\n\n\n' "$name"; done >"$checked/libsanitizer.spec"
printf '*link_libubsan:\n-lubsan\n\n' >>"$checked/libsanitizer.spec"

# Virtual tables are not checked, as that needs a runtime that knows the C++ ABI.
flags="-O1 -fsanitize=undefined -fno-sanitize=vptr -fno-sanitize-recover=all"
flags="$flags -D_GLIBCXX_ASSERTIONS -D_GLIBCXX_DEBUG"
# LLVM's linker lays import tables at multiples of four, where the tests' reading of them is reported; GNU's links here.
{
  cmake -G Ninja -S "$root" -B "$checked" --toolchain "$root/cmake/mingw-w64.toolchain.cmake" \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="-B$checked/ -L$checked" \
    -DCMAKE_SHARED_LINKER_FLAGS="-B$checked/ -L$checked" -DKAL_BUILD_TESTS=ON -DKAL_BUILD_BENCH=OFF \
    -DKAL_LLD=OFF -DKAL_ORDINARY_BUILD="$build" -DCMAKE_PROJECT_kal_INCLUDE="$root/cmake/KalVariant.cmake"
  cmake --build "$checked" --parallel "${KAL_JOBS:-$(nproc)}" --target kal_exercise -- -k 0
} >"$checked/build.log" 2>&1 || { grep -E 'FAILED|error' "$checked/build.log" | head -n 40; exit 1; }

export KAL_WINE_COLLECT=1 # see cmake/wine-run
report='undefined behaviour:|Error: attempt to|Assertion .* failed'

# First the instruments themselves: each deliberate defect must be reported, and what is in order must not.
blind=0
# shellcheck disable=SC2086 # lists of words
x86_64-w64-mingw32-g++-posix -std=c++20 $flags "$here/DeliberateDefects.cpp" -static -B"$checked/" -L"$checked" \
  -o "$checked/deliberate.exe"
for defect in overflow index iterator none; do
  "$root/cmake/wine-run" "$checked/deliberate.exe" "$defect" >"$checked/deliberate.txt" 2>&1 || true
  case $defect:$(grep -qaE "$report" "$checked/deliberate.txt" && echo reported) in
    none: | [!n]*:reported) ;;
    *) echo "a deliberate defect was not reported, or what is in order was: $defect"; blind=$((blind + 1)) ;;
  esac
done

# What the checks of containers cannot do: their locks take memory when they are first used, where no exception may leave.
without=(KalCaptureAlertsTest.WithoutMemoryNothingStaysOpenOrRegistered)
for test in "${without[@]}"; do
  grep -rqE "^TEST(_F|_P)?\\(${test%.*}, ${test#*.}\\)" "$root/tests" && continue
  echo "left out, but there is no such test: $test"
  blind=$((blind + 1))
done
GTEST_FILTER=-$(IFS=: && echo "${without[*]}")
export GTEST_FILTER

code=0
rm -rf "$checked/results"
ctest --test-dir "$checked" --parallel "${KAL_JOBS:-$(nproc)}" --output-on-failure --label-regex '^(unit|contract)$' "$@" \
  >"$checked/ctest.log" 2>&1 || code=$?
"$root/tests/support/unended" "$checked" || blind=$((blind + 1))
log=$checked/Testing/Temporary/LastTest.log
# A report counts even where a test expects its program to end badly.
reports=$(grep -caE "$report" "$log" || true)
grep -haE "$report" "$log" | sort | uniq -c || true
grep -aE '^\[  FAILED  \] [A-Za-z].* ms\)$' "$log" || true
[ $code -eq 0 ] || sed -n '/tests FAILED/,$p' "$checked/ctest.log"
tests=$(sed -nE 's/^\[==========\] ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | awk '{ all += $1 } END { print all + 0 }')
failed=$(sed -nE 's/^.*tests passed, ([0-9]+) tests? failed out of .*/\1/p' "$checked/ctest.log")
echo "$tests tests, $((${failed:-1} + reports + blind)) not clean"
[ $blind -eq 0 ] || exit 1
exit $code
