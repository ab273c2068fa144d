#!/bin/bash
# What check.sh must find:  check_test.sh TYPELIB_TEXT PUBLIC_IDL DRIVER_IDL
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
text=$1 public=$2 driver=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0

# finds WHAT COMMAND SED_SCRIPT ARGS...: the command fails on a copy of the library that is changed so.
finds() {
  local what=$1 command=$2
  sed -E "$3" "$public" >"$scratch/${public##*/}"
  shift 3
  if cmp -s "$public" "$scratch/${public##*/}"; then
    echo "$what: the copy is not changed"
    status=1
  elif bash "$here/check.sh" "$command" "$text" "$scratch/${public##*/}" "$@" >"$scratch/output" 2>&1; then
    echo "$what: not found"
    status=1
  elif ! grep -qE '^(no helpstring|[<>] )' "$scratch/output"; then
    echo "$what: found for another reason:"
    cat "$scratch/output"
    status=1
  fi
}

golden=$here/ORVOBusiness.tlb.txt
finds "another text" golden 's/Number of groups/How many groups/' "$golden"
finds "another identifier" golden 's/70f2534d/70f2534e/' "$golden"
finds "another flag" golden 's/noncreatable, //' "$golden"
finds "another dispatch identifier" golden 's/id\(7\), helpstring\("Removes all groups/id(77), helpstring("Removes all groups/' "$golden"
finds "an argument by value" contract 's/\[in\] long\* Handle, \[out/[in] long Handle, [out/' "$driver"
finds "an argument that is not filled" contract 's/\[in, out\] SAFEARRAY\(long\)\* Errors\);/[in] SAFEARRAY(long)* Errors);/' "$driver"
finds "another kind of number" contract 's/HRESULT ServerStatus\(\[out, retval\] long/HRESULT ServerStatus([out, retval] short/' "$driver"
finds "another order" contract 's/ StartSpooler\(/ SwapSpooler(/; s/ StopSpooler\(/ StartSpooler(/; s/ SwapSpooler\(/ StopSpooler(/' "$driver"
finds "another name" contract 's/RT_ReadItemSync/RT_ReadItem/' "$driver"
finds "no text at a member" help 's/Number of groups//' "$driver"
finds "no text at a type" help 's/helpstring\("Events of the spooler"\)/hidden/' "$driver"
[ $status -ne 0 ] || echo "well: each change was found"
exit $status
