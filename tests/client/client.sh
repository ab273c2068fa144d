#!/bin/bash
# Sourced by the tests of the command-line client, whose arguments are the command that runs it. They work in a folder of
# their own, and name files by their names alone: so the same test serves a client that knows other paths.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/../structure/assert.sh"
client=("$@")
[ ${#client[@]} -gt 0 ] || { echo "usage: $0 COMMAND-OF-THE-CLIENT..." >&2; exit 2; }
export LC_ALL=C.UTF-8 TZ=UTC
export XDG_CONFIG_HOME=$scratch HOME=$scratch
started=
folder=$scratch/work
mkdir "$folder" && cd "$folder" || exit 2
trap 'end_started; rm -rf "$scratch"' EXIT

# --- a client that runs to its end ------------------------------------------------------------------------------------

# go ARGUMENTS...: leaves status and the files out and err. No client of a test may take longer than half a minute.
go() {
  timeout 30 "${client[@]}" "$@" >out 2>err </dev/null
  status=$?
}

# differs NAME WHAT EXPECTED-FILE ACTUAL-FILE: a failure with the lines that differ.
differs() {
  checks=$((checks + 1))
  cmp -s "$3" "$4" && return
  echo "FAILED: $1: $2"
  diff -u --label expected --label actual "$3" "$4" | sed 's/^/  /'
  failures=$((failures + 1))
}

# ends NAME STATUS [STDERR]: how the latest run ended, and everything that it had to say about it.
ends() {
  same "$1: exit code" "$2" "$status"
  printf '%s' "${3:+$3$'\n'}" >expected_err
  differs "$1" stderr expected_err err
}

# prints NAME STATUS [STDERR]: as `ends`; the whole output is what comes in.
prints() {
  ends "$@"
  cat >expected_out
  differs "$1" output expected_out out
}

# fails NAME STATUS STDERR: as `ends`; there is no output.
fails() { prints "$@" </dev/null; }

# prints_json NAME STATUS [STDERR]: the output is one document or a sequence of them, with the values that come in;
# how they are laid out is left open.
prints_json() {
  ends "$@"
  jq -c . >expected_json || failures=$((failures + 1))
  jq -c . <out >actual_json 2>jq_err || cat jq_err >>actual_json
  differs "$1" json expected_json actual_json
}

# output_is NAME CONDITION...: of the text of the output, and of stderr, as with `check`.
output_has() { check "$1: output has '$2'" contains "$(cat out)" "$2"; }
stderr_has() { check "$1: stderr has '$2'" contains "$(cat err)" "$2"; }

# --- a client that runs beside the test -------------------------------------------------------------------------------

# start COMMAND...: its output is read by `await`, its input is that of `start`; `started` is its process. bash has a
# background process ignore Ctrl-C and read nothing; a user's shell does not.
start() {
  rm -f pipe
  mkfifo pipe
  : >lines
  env --default-signal=INT,QUIT,PIPE "$@" >pipe 2>err <&0 &
  started=$!
  exec 7<pipe
}

# await SECONDS PATTERN: reads until a line that the regular expression finds, which is left in `line`; every line goes
# to the file lines. Fails at the end of the output and after that time.
await() {
  local until=$((SECONDS + $1)) pattern=$2
  line=
  while [ $SECONDS -lt $until ]; do
    if ! IFS= read -r -t $((until - SECONDS)) -u 7 line; then
      [ -z "$line" ] || printf '%s' "$line" >>lines
      return 1
    fi
    printf '%s\n' "$line" >>lines
    [[ $line =~ $pattern ]] && return 0
  done
  return 1
}

# await_end SECONDS: reads to the end of the output and leaves the exit status in `status`. A client that is still
# there after that time is killed: 137.
await_end() {
  local before=$EPOCHREALTIME
  await "$1" '^never a line like this$'
  { [ -d /proc/$started ] && ! timeout "$1" tail --pid=$started -s 0.02 -f /dev/null; } && kill -KILL $started
  wait $started
  status=$?
  started=
  exec 7<&-
  took=$(awk -v from=$before -v to=$EPOCHREALTIME 'BEGIN { print to - from }')
}

# within SECONDS: whether `await_end` took no longer.
within() { awk -v took=$took -v most=$1 'BEGIN { exit !(took <= most) }'; }

end_started() {
  [ -z "$started" ] || kill -KILL $started 2>/dev/null
  started=
}

# --- a panel whose answers are known ----------------------------------------------------------------------------------

# plant FILE: a panel script with the usual memory, and what comes in.
plant() {
  {
    cat <<'SCRIPT'
set BoardDescription "Line 7"
memory WO102 0x0008
memory WO100 40000
memory WO104 0xABCD
memory WO106 0x1234
memory DW108 0xEFCDAB89
memory FL112 20.5
memory WO116 0x0018
memory ST0020010 "Vanilla 3%"
memory RA036 A0 A1 A2 A3 A4 A5
SCRIPT
    cat
  } >"$1"
}
plant plant.panel </dev/null
