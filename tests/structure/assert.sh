#!/bin/bash
# Sourced by the tests of scripts: a scratch folder that ends with the test, and checks that name what went wrong.

set -u
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
checks=0

# check NAME CONDITION...: the condition is a command.
check() {
  local name=$1
  shift
  checks=$((checks + 1))
  "$@" && return
  echo "FAILED: $name   ($*)"
  failures=$((failures + 1))
}

# same NAME EXPECTED ACTUAL
same() {
  checks=$((checks + 1))
  [ "$2" != "$3" ] || return 0
  printf 'FAILED: %s\n  expected: %s\n  actual:   %s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}

# contains TEXT PART, lacks TEXT PART: conditions.
contains() { [[ $1 == *"$2"* ]]; }
lacks() { [[ $1 != *"$2"* ]]; }

# stub FILE: makes a program of what comes in.
stub() {
  { echo '#!/bin/bash'; cat; } >"$1"
  chmod +x "$1"
}

# finish: the end of a test.
finish() {
  echo "$checks checks, $failures failed"
  [ $checks -gt 0 ] && [ $failures -eq 0 ]
  exit
}
