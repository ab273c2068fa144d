#!/bin/bash
# Runs the C++ sample in the folder that holds drivers.ini, and looks for each step of its round:  run_cpp.sh RUNNER PROGRAM
set -u
output=$("$@" 2>&1 | tr -d '\r')
printf '%s\n' "$output"
# In this order, and nothing behind the last one.
awk '
  BEGIN {
    count = split("item 1 = 1500, error 0|item 2 = Vanilla 3%, error 0|DataChange:.* item 1 = 15[0-3]0|" \
                  "AsyncWriteComplete: transaction [1-9]|DataChange:.* item 1 = 1530|" \
                  "^error 0x80040009 from .*Invalid ItemID: XY100|^DONE$", step, "|")
  }
  count > seen && $0 ~ step[seen + 1] { seen++ }
  { last = $0 }
  END {
    if (seen < count) { print "missing: " step[seen + 1]; exit 1 }
    if (last != "DONE") { print "something follows DONE"; exit 1 }
  }' <<<"$output"
