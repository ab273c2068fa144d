#!/bin/bash
# The `test` command, with stubs in place of package tools, cmake, ctest and the clang tools.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
. "$here/stubs.sh"
Needs=(g++ cmake ninja-build libcli11-dev libgtest-dev libgmock-dev clang-format-14 clang-tidy-14)

set_up_tree() {
  set_up_stubs
  printf '%s\n' "${Needs[@]}" >"$scratch/installed"
  project=$scratch/project
  rm -rf "$project" "$scratch"/break_* "$scratch/skip" "$scratch"/*_calls
  mkdir -p "$project/tools" "$project/business" "$project/.ci"
  cp -r "$here/../../tools/setup" "$project/tools/"
  cp "$here/../../test" "$project/"
  cp "$here/../../.ci/run" "$project/.ci/"
  echo "int a;" >"$project/business/a.cpp"
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
same "all well: last line" "21 passed, 0 failed" "$last"
for name in format "debug build" "debug tests" "sanitizer build" "sanitizer tests" clang-tidy structure; do
  check "all well: $name" row "$name" ok
done
check "the sanitizers are on" grep -q "build/asan .*-DORVO_SANITIZE=ON" "$scratch/cmake_calls"
check "and off in the debug build" grep -q "build/test .*-DORVO_SANITIZE=OFF" "$scratch/cmake_calls"
check "leaks are looked for" grep -q "build/asan .*detect_leaks=1" "$scratch/ctest_calls"
check "the total time" contains "$output" "total time "
check "tests that passed are not listed" lacks "$output" "x/A.A"
same "nothing is installed" "" "$(cat "$scratch/calls")"
go native
same "native is the same" "0 21 passed, 0 failed" "$status $last"
output=$(CI=true PATH=$bin "$bin/bash" "$project/.ci/run" 2>&1)
same "the integration's command" "0 21 passed, 0 failed" "$? ${output##*$'\n'}"

go quick
same "quick" "0 7 passed, 0 failed" "$status $last"
check "quick says what it leaves out" contains "$output" "skipped because of 'quick': format"

go nonsense
same "an unknown mode" 2 $status

set_up_tree
touch "$scratch/break_ctest"
go
same "failing tests" "1 18 passed, 3 failed" "$status $last"
check "failing tests are shown" contains "$output" "x/A.Z"
check "failing tests do not stop the rest" row structure FAILED

for tool in clang-format-14 clang-tidy-14; do
  set_up_tree
  touch "$scratch/break_$tool"
  go
  same "$tool complains" "1 21 passed, 0 failed" "$status $last"
  check "$tool is shown" contains "$output" "a.cpp:1:1: error: ugly"
  check "$tool is named" contains "$output" "FAILED steps: "
done

set_up_tree
touch "$scratch/break_asan"
go
same "a broken sanitizer build" "1 14 passed, 0 failed" "$status $last"
check "a broken build is shown" contains "$output" "error: no build for build/asan"
check "its tests are not run" row "sanitizer tests" "NOT RUN"
check "the rest is" row structure ok

set_up_tree
touch "$scratch/break_test"
go
same "a broken debug build" "1 7 passed, 0 failed" "$status $last"

set_up_tree
touch "$scratch/skip"
go
same "skipped tests are not counted as passed" "0 18 passed, 0 failed" "$status $last"
check "skipped tests are named with the reason" contains "$output" \
  "skipped in debug tests: x/A.B: the moon is full"

set_up_tree
printf '%s\n' g++ cmake ninja-build libcli11-dev libgtest-dev libgmock-dev clang-format-14 >"$scratch/installed"
go
same "one package missing: calls" "apt-get update;apt-get install clang-tidy-14;" "$(tr '\n' ';' <"$scratch/calls")"
finish
