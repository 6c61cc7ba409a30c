#!/usr/bin/env bash
# Builds the library, its unit tests and its contract tests a second time, as PE files with undefined behaviour trapped
# and the standard library's own checks on, and runs them: checked-build.sh BUILD_DIR [ctest arguments]. BUILD_DIR is the
# ordinary build; the checked one lies in its folder "checked". The last line is "TESTS tests, BAD not clean".
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
flags="-O1 -g1 -fsanitize=undefined -fno-sanitize=vptr -fno-sanitize-recover=all"
flags="$flags -D_GLIBCXX_ASSERTIONS -D_GLIBCXX_DEBUG"
{
  cmake -G Ninja -S "$root" -B "$checked" --toolchain "$root/cmake/mingw-w64.toolchain.cmake" \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="-B$checked/ -L$checked" \
    -DCMAKE_SHARED_LINKER_FLAGS="-B$checked/ -L$checked" -DKAL_BUILD_TESTS=ON -DKAL_BUILD_BENCH=OFF
  # The programs of the two kinds, by the folders that CTest knows them from.
  mapfile -t programs < <(ctest --test-dir "$checked" --label-regex '^(unit|contract)$' --show-only |
    sed -nE 's/^ +Test +#[0-9]+: //p')
  cmake --build "$checked" --parallel "${KAL_JOBS:-$(nproc)}" --target "${programs[@]}" -- -k 0
} >"$checked/build.log" 2>&1 || { grep -E 'FAILED|error' "$checked/build.log" | head -n 40; exit 1; }

code=0
rm -rf "$checked/results"
export KAL_WINE_COLLECT=1 # see cmake/wine-run
ctest --test-dir "$checked" --parallel "${KAL_JOBS:-$(nproc)}" --output-on-failure --label-regex '^(unit|contract)$' "$@" \
  >"$checked/ctest.log" 2>&1 || code=$?
log=$checked/Testing/Temporary/LastTest.log
# A report counts even where a test expects its program to end badly.
reports=$(grep -caE 'undefined behaviour:|Error: attempt to|Assertion .* failed' "$log" || true)
grep -haE 'undefined behaviour:|Error: attempt to|Assertion .* failed' "$log" | sort | uniq -c || true
grep -aE '^\[  FAILED  \] [A-Za-z].* ms\)$' "$log" || true
[ $code -eq 0 ] || sed -n '/tests FAILED/,$p' "$checked/ctest.log"
tests=$(sed -nE 's/^\[==========\] ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | awk '{ all += $1 } END { print all + 0 }')
failed=$(sed -nE 's/^.*tests passed, ([0-9]+) tests? failed out of .*/\1/p' "$checked/ctest.log")
echo "$tests tests, $((${failed:-1} + reports)) not clean"
exit $code
