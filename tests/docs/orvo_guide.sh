#!/bin/bash
# Runs the transcripts of docs/orvo.md again:  orvo_guide.sh ORVO GUIDE
# What moves or depends on the system (times, values, bytes, folders) is not compared, the rest is, exit codes included.
set -u
orvo=$(readlink -f "${1:?usage: orvo_guide.sh ORVO GUIDE}")
guide=$(readlink -f "${2:?usage: orvo_guide.sh ORVO GUIDE}")
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/work" && cd "$scratch/work" || exit 2
unset ORVO_DRIVER_PATH

echo 'fault ReadItems never after 2' >mute.panel
head -c 5000 /dev/zero >panel.fw
cat >bad.cfg <<'END'
[Communication Parameters]
BaudRate=fast
DeviceType=2
[Groups]
Line=False#maybe#500#0#
[Group:Line]
Torque=XX7#0#0#1#1#0#False#False#
END

masked() {
  sed -E 's/looked for in [^ ]+/looked for in FOLDER/; s/\b[0-9A-F]{2}\b/N/g; s/-?[0-9][0-9A-Fx.]*/N/g; s/--+/-/g; s/  +/ /g
          s/ $//'
}

runs=0
failures=0
# compare EXPECTED-FILE: its first line is the command.
compare() {
  local command status
  command=$(sed -n '1s/^\$ orvo //p' "$1")
  [ -n "$command" ] || return
  runs=$((runs + 1))
  # The commands are the guide's own words: no quotation marks, nothing to expand.
  read -ra words <<<"$command"
  {
    echo "\$ orvo $command"
    timeout 30 "$orvo" "${words[@]}" 2>&1
    status=$?
    # shellcheck disable=SC2016
    [ $status -eq 0 ] || printf '$ echo $?\n(%s)\n' "$status"
  } >"$scratch/actual"
  # The code itself counts.
  sed -E '/^\$ echo \$\?$/{n;s/.*/(&)/}' "$1" >"$scratch/told"
  if ! diff -u --label guide --label actual <(masked <"$scratch/told") <(masked <"$scratch/actual") ||
    [ "$(grep -E '^\([0-9]+\)$' "$scratch/told")" != "$(grep -E '^\([0-9]+\)$' "$scratch/actual")" ]; then
    echo "FAILED: orvo $command"
    failures=$((failures + 1))
  fi
}

block=
while IFS= read -r line; do
  if [ "$line" = '```' ]; then
    if [ -z "$block" ]; then
      block=$scratch/block
      : >"$block"
    else
      compare "$block"
      block=
    fi
  elif [ -n "$block" ]; then
    printf '%s\n' "$line" >>"$block"
  fi
done <"$guide"
echo "$runs transcripts, $failures failed"
[ $runs -gt 15 ] && [ $failures -eq 0 ]
