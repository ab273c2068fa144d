#!/bin/bash
# Builds the canary with clang, without anything else of the project's, and demands that the fuzzer finds its fault from an
# empty corpus within a minute:  canary.sh WORK_FOLDER
# Exit code 77, with the reason on the first line, where there is no fuzzer.
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
work=${1:?usage: canary.sh WORK_FOLDER}
compiler=$(command -v clang++-14 || command -v clang++) || {
  echo "skipped: there is no clang++ (packages clang-14 and libclang-rt-14-dev)"
  exit 77
}
rm -rf "$work"
mkdir -p "$work" || exit 1
cd "$work" || exit 1
if ! "$compiler" -std=c++20 -O1 -fsanitize=fuzzer -DORVO_FUZZ_TARGET=Canary -I"$here" -I"$here/../business" \
  "$here/Entry.cpp" "$here/Property.cpp" "$here/targets/Canary.cpp" -o canary >build.log 2>&1; then
  cat build.log
  if grep -q 'libclang_rt.fuzzer' build.log; then
    echo "skipped: this clang++ has no fuzzer (package libclang-rt-14-dev)"
    exit 77
  fi
  exit 1
fi
timeout 90 ./canary -seed=1 -max_total_time=60 -max_len=64 -artifact_prefix="$work/" >fuzz.log 2>&1
result=$?
if grep -q 'PROPERTY DOES NOT HOLD: the canary sings' fuzz.log && ls crash-* >/dev/null 2>&1; then
  runs=$(grep -oE '^#[0-9]+' fuzz.log | tail -1)
  echo "found after ${runs:-#0} runs; the input is kept in $work"
  exit 0
fi
tail -n 5 fuzz.log
echo "the fuzzer did not find the planted fault within a minute (exit code $result)"
exit 1
