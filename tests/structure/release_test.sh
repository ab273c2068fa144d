#!/bin/bash
# What `./run release` says when it cannot, with stubs in place of package tools and cmake.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
. "$here/stubs.sh"

set_up_tree() {
  set_up_stubs
  printf '%s\n' g++ cmake ninja-build libcli11-dev nlohmann-json3-dev zip mingw-w64-tools libwine-dev g++-mingw-w64-x86-64-posix \
    g++-mingw-w64-i686-posix >"$scratch/installed"
  project="$scratch/project with a space"
  rm -rf "$project"
  mkdir -p "$project/tools"
  cp -r "$here/../../tools/setup" "$here/../../tools/release" "$project/tools/"
  cp "$here/../../run" "$here/../../CMakeLists.txt" "$project/"
  # The stub of cmake knows the targets in $scratch/targets, and builds nothing.
  stub "$bin/cmake" <<'STUB'
echo "cmake $*" >>"$scratch/cmake_calls"
if [[ "$*" == *"--target help" ]]; then
  while read -r target; do echo "$target: phony"; done <"$scratch/targets"
elif [ -f "$scratch/break" ]; then
  echo "the compiler is not amused"
  exit 1
fi
STUB
  printf '%s\n' error_list orvo ORVOBusiness SimulatedPanel >"$scratch/targets"
  rm -f "$scratch/cmake_calls" "$scratch/break"
}

# go ARGS...: leaves status and messages (both outputs).
go() {
  messages=$(PATH=$bin "$project/run" release "$@" 2>&1)
  status=$?
}

set_up_tree
go arm
same "an unknown architecture: exit code" 1 $status
check "an unknown architecture: it is named" contains "$messages" "there is no architecture arm; it is x64 or x86"
check "an unknown architecture: nothing is built" test ! -e "$scratch/cmake_calls"

sed -i '/SimulatedPanel/d' "$scratch/targets"
go x64
same "a target is missing: exit code" 1 $status
check "a target is missing: it is named" contains "$messages" "error: the build knows no target SimulatedPanel"
check "a target is missing: no checksums" test ! -e "$project/out/windows/SHA256SUMS"

set_up_tree
go x64
same "the build makes no library: exit code" 1 $status
check "the build makes no library: it is named" contains "$messages" "error: the build made no ORVOBusiness.dll"

touch "$scratch/break"
go x64
same "a broken build: exit code" 1 $status
check "a broken build: the output is shown" contains "$messages" "the compiler is not amused"

set_up_tree
sed -i '/i686/d' "$scratch/installed"
go x86
same "a compiler is missing: it is installed" "apt-get update;apt-get install g++-mingw-w64-i686-posix;" \
  "$(tr '\n' ';' <"$scratch/calls")"
finish
