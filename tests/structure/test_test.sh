#!/bin/bash
# The `test` command, with stubs in place of package tools, cmake, ctest and the clang tools.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
. "$here/stubs.sh"
Needs=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev jq pkg-config dpkg-dev file
  groff-base libmodbus-dev socat python3-pymodbus nodejs npm clang-14 lld-14 libclang-rt-14-dev clang-format-14 clang-tidy-14)
NeedsForWindows=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools wine64 wine64-tools libwine-dev
  googletest fp-compiler fpc-source-3.2.2)

set_up_tree() {
  set_up_stubs
  printf '%s\n' "${Needs[@]}" "${NeedsForWindows[@]}" >"$scratch/installed"
  project=$scratch/project
  rm -rf "$project" "$scratch"/break_* "$scratch/skip" "$scratch/programs" "$scratch"/*_calls
  mkdir -p "$project/tools/wine" "$project/business" "$project/.ci"
  cp -r "$here/../../tools/setup" "$project/tools/"
  cp "$here/../../test" "$project/"
  cp "$here/../../.ci/run" "$project/.ci/"
  echo "int a;" >"$project/business/a.cpp"
  stub "$project/tools/wine/prefix" <<'STUB'
echo "$*" >>"$scratch/prefix_calls"
[ ! -f "$scratch/break_wine" ] || { echo "error: no prefix"; exit 1; }
mkdir -p "$2"
STUB
  stub "$bin/cmake" <<'STUB'
[ "$1" = --build ] && dir=$2 || dir=$6
echo "cmake $*"
echo "$*" >>"$scratch/cmake_calls"
if [ -f "$scratch/break_${dir##*/}" ]; then echo "error: no build for $dir"; exit 1; fi
mkdir -p "$dir"
: >"$dir/CTestTestfile.cmake"
printf '[\n{\n  "command": "g++",\n  "file": "%s/business/a.cpp"\n}\n]\n' "$PWD" >"$dir/compile_commands.json"
STUB
  # Seven tests in each run; one fails on demand, another is skipped on demand.
  stub "$bin/ctest" <<'STUB'
bad=0; left=0
echo "$2 ${ASAN_OPTIONS:-} ${UBSAN_OPTIONS:-}" >>"$scratch/ctest_calls"
for word in "$@"; do [[ $word != *results.xml ]] || file=$word; done
[ -f "$scratch/break_ctest" ] && bad=1
[ -f "$scratch/skip" ] && left=1
printf '<testsuite name="(empty)"\n\ttests="7"\n\tfailures="%s"\n\tdisabled="0"\n\tskipped="%s"\n\t>\n' $bad $left >"$file"
if [ $left = 1 ]; then
  printf '\t<testcase name="x/A.B" status="notrun">\n\t\t<system-out>\na.cpp:4: Skipped\nthe moon is full\n' >>"$file"
  printf '</system-out>\n\t</testcase>\n' >>"$file"
fi
# One of the seven is a program with four tests.
if [ -f "$scratch/programs" ]; then
  mkdir -p "$2/gtest"
  {
    printf '<testsuites tests="4">\n<testsuite name="A">\n<testcase name="A" status="run" result="completed" classname="A" />\n'
    if [ $bad = 1 ]; then
      for test in B D; do
        printf '<testcase name="%s" status="run" result="completed" classname="A">\n<failure message="x">\n<failure message="y">\n' $test
      done
    else
      printf '<testcase name="B" status="run" result="completed" classname="A" />\n'
      printf '<testcase name="D" status="run" result="completed" classname="A" />\n'
    fi
    printf '<testcase name="C" status="run" result="skipped" classname="A">\n<skipped message="a.cpp:4&#x0A;no moon">\n'
  } >"$2/gtest/unit.xml"
fi
echo "    Start 1: x/A.A"
echo "1/7 Test #1: x/A.A ....   Passed    0.00 sec"
[ $bad = 0 ] || echo "2/7 Test #2: x/A.Z ....***Failed    0.00 sec"
exit $bad
STUB
  for tool in clang-format-14 clang-tidy-14; do
    stub "$bin/$tool" <<STUB
[ ! -f "\$scratch/break_$tool" ] || { echo "$tool: \${!#}:1:1: error: ugly"; exit 1; }
STUB
  done
}

# go ARGS...: leaves status, output and the last line.
go() {
  output=$(PATH=$bin "$project/test" "$@" 2>&1)
  status=$?
  last=${output##*$'\n'}
}

# row STEP RESULT: condition on the table.
row() { grep -qE "^$1 +$2 +[0-9]+ s" <<<"$output"; }

set_up_tree
go
same "all well: exit code" 0 $status
same "all well: last line" "28 passed, 0 failed" "$last"
for name in format "sanitizer build" "sanitizer tests" clang-tidy structure wine \
  "x64 build" "x64 tests" "x86 build" "x86 tests"; do
  check "all well: $name" row "$name" ok
done
check "the sanitizers are on" grep -q "build/asan .*-DORVO_SANITIZE=ON" "$scratch/cmake_calls"
check "with the second compiler" grep -q "build/asan .*-DCMAKE_CXX_COMPILER=clang++-14" "$scratch/cmake_calls"
check "what is left out is said" contains "$output" "left to 'full': the tests in a debug build of g++"
check "no debug build" lacks "$(cat "$scratch/cmake_calls")" "build/test"
for bits in x64 x86; do
  check "$bits is built with its compiler" grep -q \
    "build/windows-$bits .*-DCMAKE_TOOLCHAIN_FILE=$project/cmake/mingw-$bits.cmake " "$scratch/cmake_calls"
done
check "undefined behaviour ends the tests under Wine" grep -q "build/windows-x64 .*-DORVO_SANITIZE=ON" "$scratch/cmake_calls"
same "the prefix is made first and ended at last" "make build/windows-x64/wine;end build/windows-x64/wine;" \
  "$(tr '\n' ';' <"$scratch/prefix_calls")"
check "leaks are looked for" grep -q "build/asan .*detect_leaks=1" "$scratch/ctest_calls"
check "the total time" contains "$output" "total time "
check "tests that passed are not listed" lacks "$output" "x/A.A"
same "nothing is installed" "" "$(cat "$scratch/calls")"
go native
same "native" "0 14 passed, 0 failed" "$status $last"
check "native says what it leaves out" contains "$output" "skipped because of 'native': the Windows builds"
go windows
same "windows" "0 14 passed, 0 failed" "$status $last"
check "windows says what it leaves out" contains "$output" "skipped because of 'windows': the checks of the portable core"
output=$(CI=true PATH=$bin "$bin/bash" "$project/.ci/run" 2>&1)
same "the integration's command" "0 28 passed, 0 failed" "$? ${output##*$'\n'}"

go quick
same "quick" "0 7 passed, 0 failed" "$status $last"
check "quick says what it leaves out" contains "$output" "skipped because of 'quick': format"
check "the sanitizers are off in the debug build" grep -q "build/test .*-DORVO_SANITIZE=OFF" "$scratch/cmake_calls"
go threads
same "threads" "0 7 passed, 0 failed" "$status $last"
check "threads says what it leaves out" contains "$output" "skipped because of 'threads': everything but"
check "the thread sanitizer is on" grep -q "build/threads .*-fsanitize=thread" "$scratch/cmake_calls"
go full
same "full" "0 42 passed, 0 failed" "$status $last"
check "full: the debug build" row "debug tests" ok
check "full: the thread sanitizer" row "threads tests" ok
check "full: the others" row "x86 tests" ok

go nonsense
same "an unknown mode" 2 $status

set_up_tree
touch "$scratch/break_ctest"
go
same "failing tests" "1 24 passed, 4 failed" "$status $last"
check "failing tests are shown" contains "$output" "x/A.Z"
check "failing tests do not stop the rest" row structure FAILED

for tool in clang-format-14 clang-tidy-14; do
  set_up_tree
  touch "$scratch/break_$tool"
  go
  same "$tool complains" "1 28 passed, 0 failed" "$status $last"
  check "$tool is shown" contains "$output" "a.cpp:1:1: error: ugly"
  check "$tool is named" contains "$output" "FAILED steps: "
done

set_up_tree
touch "$scratch/break_asan"
go
same "a broken sanitizer build" "1 14 passed, 0 failed" "$status $last"
check "a broken build is shown" contains "$output" "error: no build for build/asan"
check "its tests are not run" row "sanitizer tests" "NOT RUN"
check "the rest is" row "x64 tests" ok

set_up_tree
touch "$scratch/break_test"
go full
same "a broken debug build" "1 35 passed, 0 failed" "$status $last"

set_up_tree
touch "$scratch/skip"
go
same "skipped tests are not counted as passed" "0 24 passed, 0 failed" "$status $last"
check "skipped tests are named with the reason" contains "$output" \
  "skipped in sanitizer tests: x/A.B: the moon is full"

# A program of tests that runs as one: its report counts.
set_up_tree
touch "$scratch/programs"
go windows
same "programs of tests" "0 18 passed, 0 failed" "$status $last"
check "what a program skipped is named with the reason" contains "$output" \
  "skipped in x64 tests: A.C: no moon"
touch "$scratch/break_ctest"
go windows
same "a failing program of tests" "1 14 passed, 4 failed" "$status $last"

set_up_tree
touch "$scratch/break_windows-x64"
go
same "a broken Windows build" "1 21 passed, 0 failed" "$status $last"
check "its tests are not run either" row "x64 tests" "NOT RUN"
check "the other architecture is tested" row "x86 tests" ok

set_up_tree
touch "$scratch/break_wine"
go windows
same "no Wine prefix: exit code" 1 $status
check "it is shown" contains "$output" "error: no prefix"

set_up_tree
printf '%s\n' "${Needs[@]}" >"$scratch/installed"
echo install >"$scratch/fail"
go
same "no packages for Windows" "1 14 passed, 0 failed" "$status $last"
check "it says which" contains "$output" "error: could not install ${NeedsForWindows[*]}"
check "nothing of Windows is run" row "x64 tests" "NOT RUN"

set_up_tree
printf '%s\n' g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev jq pkg-config dpkg-dev file groff-base \
  libmodbus-dev socat python3-pymodbus nodejs npm clang-14 lld-14 libclang-rt-14-dev clang-format-14 >"$scratch/installed"
go native
same "one package missing: calls" "apt-get update;apt-get install clang-tidy-14;" "$(tr '\n' ';' <"$scratch/calls")"

set_up_tree
sed -i '/^npm$/d' "$scratch/installed"
stub "$bin/npm" </dev/null
go quick
same "an npm that came with another package is one" "0 " "$status $(tr '\n' ';' <"$scratch/calls")"
rm "$bin/npm"
go quick
same "no npm: calls" "apt-get update;apt-get install npm;" "$(tr '\n' ';' <"$scratch/calls")"
finish
