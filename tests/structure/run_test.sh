#!/bin/bash
# The `run` command, with stubs in place of package tools, cmake and orvo.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
. "$here/stubs.sh"
Needs=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev pkg-config libmodbus-dev)

set_up_tree() {
  set_up_stubs
  printf '%s\n' "${Needs[@]}" >"$scratch/installed"
  rm -rf "$scratch/project with a space"
  project="$scratch/project with a space"
  mkdir -p "$project/tools"
  cp -r "$here/../../tools/setup" "$project/tools/"
  cp "$here/../../run" "$project/"
  # The stub of cmake "builds" an orvo that tells its arguments and ends with 7.
  stub "$bin/cmake" <<'STUB'
echo "cmake $*" >>"$scratch/cmake_calls"
echo "noise of the build"
[ ! -f "$scratch/break" ] || { echo "the compiler is not amused"; exit 1; }
[ "$1" = --build ] || exit 0
mkdir -p "$2/tools"
printf '#!%s\nprintf "<%%s>" "$@"\nexit 7\n' "$(readlink -f "$(type -p bash)")" >"$2/tools/orvo"
chmod +x "$2/tools/orvo"
STUB
  stub "$bin/chmod" <<STUB
exec $(command -v chmod) "\$@"
STUB
  rm -f "$scratch/cmake_calls" "$scratch/break"
}

# go COMMAND...: leaves status, output, messages (stderr).
go() {
  output=$(PATH=$bin "$@" 2>"$scratch/stderr")
  status=$?
  messages=$(cat "$scratch/stderr")
}

set_up_tree
go "$project/run"
same "no arguments: the demonstration" "<demo>" "$output"
same "the exit code is orvo's" 7 $status
same "one line of progress at the first time" \
  "building (first time about 3 minutes; the output is in build/run.log) ..." "$messages"
same "nothing is installed" "" "$(cat "$scratch/calls")"
check "a release build without tests" contains "$(cat "$scratch/cmake_calls")" \
  "-DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVO_TESTS=OFF"

go "$project/run" read "a b" '' '*' --help
same "arguments as they are" "<read><a b><><*><--help>" "$output"
same "silent the second time" "" "$messages"

cd /
go "$project/run" x
same "from another folder" "<x> 7" "$output $status"
ln -s "$project/run" "$scratch/link"
go "$scratch/link" y
same "through a link" "<y> 7" "$output $status"
cd "$scratch" || exit 1
go ./link z
same "through a relative link" "<z> 7" "$output $status"

mkdir -p "$project/tools/release"
stub "$project/tools/release/make" <<'STUB'
printf '<release>'
[ $# -eq 0 ] || printf '<%s>' "$@"
exit 9
STUB
go "$project/run" release x64 "x 86"
same "a release is made by its own command" "<release><x64><x 86> 9" "$output $status"
go "$project/run" release
same "a release of everything" "<release> 9" "$output $status"
for row in package:tools/release/package bench:bench/run soak:tests/simulation/soak fuzz:fuzz/run \
  modbus:tools/modbus/demo; do
  name=${row%%:*}
  mkdir -p "$(dirname "$project/${row#*:}")"
  stub "$project/${row#*:}" <<STUB
printf '<$name>'
[ \$# -eq 0 ] || printf '<%s>' "\$@"
exit 8
STUB
  go "$project/run" "$name" "a b"
  same "$name is a command of its own" "<$name><a b> 8" "$output $status"
done
go "$project/run" read release
same "release as an argument is orvo's" "<read><release> 7" "$output $status"

touch "$scratch/break"
go "$project/run"
same "a broken build: exit code" 125 $status
same "a broken build: orvo is not started" "" "$output"
check "a broken build: the log is shown" contains "$messages" "the compiler is not amused"

set_up_tree
printf '%s\n' g++ cmake ninja-build nlohmann-json3-dev pkg-config libmodbus-dev >"$scratch/installed"
go "$project/run" x
same "one package missing: calls" "apt-get update;apt-get install libcli11-dev;" "$(tr '\n' ';' <"$scratch/calls")"
same "one package missing: it goes on" "<x> 7" "$output $status"

set_up_tree
: >"$scratch/installed"
echo 1000 >"$scratch/user"
go "$project/run" x
same "packages missing and not root: exit code" 125 $status
check "packages missing and not root: no build" test ! -e "$scratch/cmake_calls"
finish
