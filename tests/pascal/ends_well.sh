#!/bin/bash
# Runs a client and passes its output on:  ends_well.sh COMMAND...
# Succeeds when it ended with exit code 0 and its last line begins with DONE; either alone can be there by accident.
set -u
output=$("$@" </dev/null)
code=$?
output=${output//$'\r'/}
printf '%s\n' "$output"
[ $code -eq 0 ] || echo "exit code $code"
[[ ${output##*$'\n'} == DONE* ]] || echo "the client did not reach its last line"
[ $code -eq 0 ] && [[ ${output##*$'\n'} == DONE* ]]
