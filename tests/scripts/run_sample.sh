#!/bin/bash
# Runs a script sample in the folder that holds drivers.ini, and looks for each step of its round:
#   run_sample.sh RUNNER SCRIPT_HOST SCRIPT
set -u
# By way of a file: what Wine starts in the background may hold a pipe for ever.
scratch=$(mktemp)
trap 'rm -f "$scratch"' EXIT
timeout 50 "$@" >"$scratch" 2>&1 </dev/null
status=$?
output=$(tr -d '\r' <"$scratch")
printf '%s\n' "$output"
[ $status -eq 0 ] || { echo "exit code $status"; exit 1; }
# In this order, and nothing behind the last one.
awk '
  BEGIN {
    count = split("^  Speed = 1500, error 0$|^  Recipe = Vanilla 3%, error 0$|^  DataChange: .* = 15[0-3]0|" \
                  "^  AsyncWriteComplete: transaction [1-9]|^  DataChange: .* = 1530|" \
                  "^error 0x80040009.*: Invalid ItemID: XY100|^DONE$", step, "|")
  }
  count > seen && $0 ~ step[seen + 1] { seen++ }
  { last = $0 }
  END {
    if (seen < count) { print "missing: " step[seen + 1]; exit 1 }
    if (last != "DONE") { print "something follows DONE"; exit 1 }
  }' <<<"$output"
