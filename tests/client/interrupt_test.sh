#!/bin/bash
# Ctrl-C, SIGTERM: whatever the client does, communication is closed and it ends within a second. The driver that tells
# what it is called is needed: ORVO_DRIVER_PATH names its folder.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# What the driver is called comes through a pipe, which this test holds open.
mkfifo calls keys
exec 8<>keys 9<>calls
export ORVO_LOGGED_PANEL=calls
cat >logged.ini <<'END'
[Drivers]
DataCommunication=Logged.Panel
2=PanelB?logged.panel
END

# called OPERATION: waits until the driver is called so.
called() {
  local call
  while IFS= read -r -t 10 -u 9 call; do
    [ "$call" != "$1" ] || return 0
  done
  return 1
}

# ends_by_signal NAME SIGNAL STATUS [STDERR]
ends_by_signal() {
  kill -"$2" $started
  await_end 10
  same "$1: exit code" "$3" $status
  check "$1: within a second ($took s)" within 1
  check "$1: communication is closed" called CloseCommunication
  check "$1: the driver is released" called end
  same "$1: stderr" "${4-}" "$(cat err)"
}

# --- a read and a write that wait for their answer

plant logged.panel <<<'fault ReadItems never'
start "${client[@]}" read --drivers logged.ini WO100
check "a read waits" called ReadItems
ends_by_signal "a waiting read" INT 130
same "a waiting read: output" "" "$(cat lines)"

start "${client[@]}" read --drivers logged.ini WO100
check "a read waits" called ReadItems
ends_by_signal "SIGTERM at a waiting read" TERM 143

plant logged.panel <<<'fault ReadItems delay 30 s'
start "${client[@]}" read --drivers logged.ini --format json WO100
check "a read waits" called ReadItems
ends_by_signal "a read that the close answers" INT 130
same "a read that the close answers: output" "" "$(cat lines)"

plant logged.panel <<<'fault WriteItems never'
start "${client[@]}" write --drivers logged.ini WO100=1
check "a write waits" called WriteItems
ends_by_signal "a waiting write" INT 130 \
  "orvo: the outcome of a write with error 1 is unknown: read the items back before you write again"

# --- a driver whose line breaks

plant logged.panel </dev/null
start env ORVO_BROKEN_LINE=yes "${client[@]}" write --drivers logged.ini --format csv WO100=1
check "a broken line: the write is answered" await 10 '^WO100,1,0$'
await_end 10
same "a broken line: exit code" 0 $status
plant logged.panel <<<'fault WriteItems fail 3 "line noise"'
start env ORVO_BROKEN_LINE=yes "${client[@]}" write --drivers logged.ini --format csv WO100=1
check "a broken line: the write's error is shown" await 10 '^WO100,1,99$'
await_end 10
same "a broken line: exit code of the error" 2 $status
while IFS= read -r -t 0.1 -u 9 _; do :; done

# --- watch

plant logged.panel <<<'signal DW120 counter 1 to 1000000 every 20 ms'
for signal in "INT 130" "TERM 143" "HUP 129"; do
  read -r signal code <<<"$signal"
  start "${client[@]}" watch --drivers logged.ini --rate 50 --format csv DW120
  check "watch $signal: header" await 10 '^time,group,item,identifier,value,error$'
  check "watch $signal: first line" await 10 ',DW120,[0-9]+,0$'
  ends_by_signal "watch $signal" "$signal" "$code"
  check "watch $signal: whole lines" [ -z "$(grep -vE '^(time|.*,DW120,[0-9]+,0)' lines)" ]
done

plant logged.panel <<<'fault ReadItems never after 1'
start "${client[@]}" watch --drivers logged.ini --rate 50 --format csv WO100
check "watch: the first answer" await 10 ',WO100,40000,0$'
check "watch: the second request" called ReadItems
ends_by_signal "watch with a request that is never answered" INT 130

# --- a download that stands still

plant logged.panel </dev/null
echo firmware >slow.fw
start "${client[@]}" download firmware --drivers logged.ini slow.fw
check "a download runs" called DownloadFirmware
ends_by_signal "a download" INT 130

# A driver that does not even break off then is left.
cp slow.fw stuck.fw
start "${client[@]}" download firmware --drivers logged.ini stuck.fw
check "a download that does not break off runs" called DownloadFirmware
kill -INT $started
check "a download that does not break off: communication is closed" called CloseCommunication
kill -INT $started
await_end 10
same "a download that does not break off: exit code" 130 $status
check "a download that does not break off: within a second ($took s)" within 1

# --- the key itself, on a terminal

start script -qefc "stty rows 12 cols 60; exec $(printf '%q ' "${client[@]}") watch --drivers logged.ini --rate 50 WO100" \
  /dev/null <&8
check "watch on a terminal" await 10 WO100
printf '\003' >&8
await_end 10
same "Ctrl-C on a terminal: exit code" 130 $status
check "Ctrl-C on a terminal: within a second ($took s)" within 1
check "Ctrl-C on a terminal: communication is closed" called CloseCommunication
awk -v rows=12 -v columns=60 -f "$here/screen.awk" lines >screen
check "Ctrl-C on a terminal: the cursor is back" grep -qx '# cursor shown' screen

finish
