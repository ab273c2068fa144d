#!/bin/bash
# The installation of packages, with stubs in place of the Debian tools.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
. "$here/stubs.sh"

# need PACKAGE...: runs need_packages; leaves status, output (both streams) and calls (one line, separated by ;).
need() {
  output=$(PATH=$bin "$bin/bash" -c '. "$1/../../tools/setup/packages.sh"; shift; need_packages testing "$@"' \
    - "$here" "$@" 2>&1)
  status=$?
  calls=$(tr '\n' ';' <"$scratch/calls")
}

set_up_stubs
printf '%s\n' one two >"$scratch/installed"
need one two
same "nothing missing: exit code" 0 $status
same "nothing missing: calls" "" "$calls"
same "nothing missing: output" "" "$output"

set_up_stubs
printf '%s\n' one three >"$scratch/installed"
need one two three
same "one missing: exit code" 0 $status
same "one missing: calls" "apt-get update;apt-get install two;" "$calls"
check "one missing: it is named" contains "$output" "two"
check "one missing: the others are not named" lacks "$output" "three"

set_up_stubs
need one two
same "two missing: calls" "apt-get update;apt-get install one two;" "$calls"
need one two
same "the second time: calls" "apt-get update;apt-get install one two;" "$calls"

set_up_stubs
echo "one (removed)" >"$scratch/installed"
need one
same "removed but known: calls" "apt-get update;apt-get install one;" "$calls"

set_up_stubs
echo 1000 >"$scratch/user"
need one
check "neither root nor sudo: exit code" test $status -ne 0
same "neither root nor sudo: calls" "" "$calls"
check "neither root nor sudo: the reason" contains "$output" "not root and there is no sudo"
check "neither root nor sudo: the way out" contains "$output" "apt-get install one"
check "neither root nor sudo: nothing is tried" lacks "$output" "installing"

set_up_stubs
echo 1000 >"$scratch/user"
echo one >"$scratch/installed"
need one
same "neither root nor sudo, nothing missing" "0 " "$status $output"

set_up_stubs
echo 1000 >"$scratch/user"
add_sudo
need one
same "with sudo: exit code" 0 $status
same "with sudo: calls" "sudo;apt-get update;sudo;apt-get install one;" "$calls"

for command in update install; do
  set_up_stubs
  echo $command >"$scratch/fail"
  need one
  check "$command fails: exit code" test $status -ne 0
  check "$command fails: its output is shown" contains "$output" "apt-get broke here"
done
same "no second try" "apt-get update;apt-get install one;" "$calls"

set_up_stubs
rm "$bin/dpkg-query"
need one two
same "no Debian: exit code" 0 $status
same "no Debian: calls" "" "$calls"
check "no Debian: the needs are named" contains "$output" "one two"
finish
