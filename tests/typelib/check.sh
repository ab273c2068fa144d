#!/bin/bash
# Checks the text of type libraries:  check.sh COMMAND TYPELIB_TEXT ARGS...   (TYPELIB_TEXT: the program of this folder)
#   golden  TEXT  FILE  GOLDEN   the library in FILE (.tlb, DLL or .idl) prints as GOLDEN holds it
#   contract TEXT FILE...        members, order, directions and types are those of published.txt
#   help    TEXT  FILE...        every type and every member has a helpstring
# An .idl is compiled first, by the compiler that WIDL names (and its WIDL_FLAGS).
# After a change that is meant:  check.sh print TEXT FILE > GOLDEN
set -eu -o pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
run=$here/../../tools/wine/run
command=$1
text=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

print() {
  local library=$1
  if [[ $library == *.idl ]]; then
    library=$scratch/$(basename "$1" .idl).tlb
    # shellcheck disable=SC2086
    "$WIDL" $WIDL_FLAGS -I /usr/include/wine/wine/windows -L /usr/lib/x86_64-linux-gnu/wine/x86_64-windows \
      -t -o "$library" "$1"
  fi
  # From its own folder, by a name without a folder: Windows wants no path of this system.
  (cd "$(dirname "$library")" && "$run" "$text" "$(basename "$library")")
}

# print_all FILE...: their texts, one behind the other.
print_all() {
  for file in "$@"; do
    print "$file" >"$scratch/one"
    cat "$scratch/one"
  done
}

case $command in
  print) print "$1" ;;
  golden)
    print "$1" >"$scratch/now"
    if ! diff "$2" "$scratch/now" >"$scratch/difference"; then
      echo "$1 is not what $2 holds (< that file, > the library):"
      cat "$scratch/difference"
      exit 1
    fi
    ;;
  contract)
    for file in "$@"; do
      print "$file" >"$scratch/one"
      [ ! -s "$scratch/now" ] || echo >>"$scratch/now"
      awk -f "$here/members.awk" "$scratch/one" >>"$scratch/now"
    done
    if ! diff <(grep -v '^#' "$here/published.txt") "$scratch/now" >"$scratch/difference"; then
      echo "the contract of published.txt is broken (< published, > the libraries):"
      cat "$scratch/difference"
      exit 1
    fi
    ;;
  help)
    print_all "$@" >"$scratch/now"
    if ! awk -v check=help -f "$here/members.awk" "$scratch/now" >"$scratch/members"; then
      grep '^no helpstring' "$scratch/members"
      exit 1
    fi
    ;;
  *)
    echo "unknown command $command" >&2
    exit 2
    ;;
esac
echo "well: $command $*"
