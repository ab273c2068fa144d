#!/bin/bash
# Checks the rules of the source tree that no compiler checks:  check.sh ROOT
# Prints each offence as file:line: what is wrong. Exit code 0: none, 1: offences, 2: nothing was checked.
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
cd "${1:?usage: check.sh ROOT}" || exit 2

mapfile -t files < <(find . \( -path ./build -o -path ./out -o -path ./.git \) -prune -o -type f \
  \( -name '*.cpp' -o -name '*.h' -o -name '*.inc' -o -name '*.idl' -o -name '*.rc' -o -name '*.def' -o -name '*.cmake' \
  -o -name CMakeLists.txt -o -name '*.sh' -o -name '*.awk' -o -name '*.py' -o -name '*.md' -o -path ./run \
  -o -path ./test -o -path ./.ci/run \) -print | sed 's|^\./||' | sort)
if ! printf '%s\n' "${files[@]}" | grep -qE '^business/.*\.(cpp|h)$'; then
  echo "no source below business/ in $PWD: nothing was checked" >&2
  exit 2
fi

status=0
awk -f "$here/sources.awk" "${files[@]}" || status=1
if [ -f .clang-tidy ]; then
  awk -f "$here/lint_reasons.awk" .clang-tidy || status=1
fi
exit $status
