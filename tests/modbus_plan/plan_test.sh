#!/bin/bash
# orvo-modbus-plan as its users run it.
# Usage: plan_test.sh PROGRAM PAGE
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../structure/assert.sh"
program=$1
page=$2
cd "$scratch" || exit 2
export LC_ALL=C.UTF-8

# plan NAME STATUS ARGUMENTS...: the output is in $out and $err
plan() {
  local name=$1 expected=$2
  shift 2
  out=$(timeout 30 "$program" "$@" 2>err </dev/null)
  same "$name: exit code" "$expected" $?
  err=$(cat err)
}
# has NAME TEXT: a line of the output. says NAME TEXT: the whole error output.
has() { check "$1" grep -qxF -- "$2" <<<"$out"; }
says() { same "$1" "$2" "$err"; }
# value NAME JQ-PATH EXPECTED
value() { same "$1" "$3" "$(jq -r "$2" <<<"$out")"; }
# numbered FORMAT FIRST LAST: identifiers, separated by commas
numbered() { seq -s, -f "$1" "$2" "$3"; }

cat >drivers.ini <<'END'
[Drivers]
DataCommunication=Modbus.Channel
3=rtu:///dev/ttyS0?baud=9600&parity=even
1=tcp://127.0.0.1:502?gap=10
4=rtu:///dev/ttyS0?baud=38400&parity=none&stop=2
5=tcp://nowhere
6=rtu:///dev/ttyS0
7=tcp://127.0.0.1?block03=40100
END

# --- the page of the documents shows what the program prints

mkdir page && cd page || exit 2
awk '/^\$ cat / { file = $3; next }
     /^\$ orvo-modbus-plan / { file = "expected"; command = $0; sub(/^\$ orvo-modbus-plan /, "", command)
                               print command > "command"; next }
     /^```/ { file = ""; next }
     file { print > file }' <(awk '/^## Planning a line/ { on = 1; next } /^## / { on = 0 } on' "$page")
read -ra arguments <command
plan "the page" 0 "${arguments[@]}"
same "the page" "$(cat expected)" "$out"
cd ..

# --- figures

plan "ten registers at 9600 baud" 0 drivers.ini --items "$(numbered WO4%04.0f 1 10)" --rate 500 --json
value "it is the first device type of the file" .deviceType 3
value "one request" .groups[0].requests 1
value "its request: unit, function, start, count, check sum" .groups[0].requestBytes 8
value "its answer: unit, function, length, 20 bytes, check sum" .groups[0].answerBytes 25
# 33 characters of 11 bits, 2 silences of 3.5 characters, 5 ms: (33 + 7) * 1.145833 + 5
value "its time" '.groups[0].cycle * 1000 | round' 50833
value "its part of the line" '.lineLoad * 100000 | round' 10167
value "its part of the server" .serverLoad 0.2
plan "the same at 38400 baud" 0 drivers.ini --type 4 --items "$(numbered WO4%04.0f 1 10)" --rate 500 --latency 0 --json
# 33 characters of 11 bits, 2 silences of 1.75 ms
value "its time" '.groups[0].cycle * 1000 | round' 12953
plan "a thousand registers on TCP" 0 drivers.ini --type 1 --items "$(numbered WO4%04.0f 1 1000)" --rate 100 --json
value "8 requests" .groups[0].requests 8
value "of 12 bytes" .groups[0].requestBytes 96
value "answers of 259 bytes" .groups[0].answerBytes 2072
value "8 times 5 ms and 2168 bytes at 100 Mbit/s" '.groups[0].cycle * 1000 | round' 40173
plan "coils" 0 drivers.ini --type 1 --items BI00001,BI00020 --json
value "20 bits are 3 bytes" .groups[0].answerBytes 12
plan "the baud rate of the driver" 0 drivers.ini --type 6 --items WO40001
check "is 9600" grep -q '^RTU at 9600 baud: 1.146 ms for a character' <<<"$out"

# --- what costs a request

plan "reasons" 0 drivers.ini --type 1 --items "WO40112,WO40300,BI00001,BI00170,WO40123,DWH0085"
has "the gap" '  WO40300 costs a request of its own: 164 registers behind DWH0085, gap is 10'
has "at the gap exactly" '  WO40112 costs a request of its own: it is the first holding register, and areas share no request'
has "of bits" '  BI00170 costs a request of its own: 168 bits behind BI00001, gap is 160'
same "no other reason" 3 "$(grep -c 'costs a request of its own: ' <<<"$out")"
plan "the limit" 0 drivers.ini --type 1 --items "$(numbered WO4%04.0f 1 126)" --rate 1000
has "the limit" '  WO40126 costs a request of its own: with it the request from WO40001 on would have 126 registers, 125 is the limit'
plan "refused items" 0 drivers.ini --type 1 --items WO40001,WO40002,WO40003 --refused WO40002
has "a refused item" '  WO40002 costs a request of its own: the device refuses it, so it is asked for alone'
has "one behind it" '  WO40003 costs a request of its own: it lies behind WO40002, which the device refuses'

# --- a saved configuration; whether the line keeps up

cat >line.cfg <<'END'
[Communication Parameters]
DeviceType=6
BaudRate=1200
[Groups]
Fast=True#True#200#
Slow=True#True#10000#
Off=False#False#200#
[Group:Fast]
Speed=WO40001
Level=WO40002
[Group:Slow]
Text=ST4010020
[Group:Off]
Other=WO40500
END
plan "too slow a line" 1 drivers.ini --config line.cfg
# 17 characters and 7 of silence of 9.17 ms, and 5 ms; 33 characters and 7
check "the baud rate of the configuration" grep -q '^RTU at 1200 baud' <<<"$out"
check "Fast" grep -qE '^  Fast +2 +1 +17 +225\.0 +200 +112\.5 % +150\.0 %$' <<<"$out"
check "Slow" grep -qE '^  Slow +1 +1 +33 +371\.7 +10000 +3\.7 % +4\.0 %$' <<<"$out"
check "Off" grep -qE '^  Off +1 +1 +15 +206\.7 +- +0\.0 % +0\.0 %$' <<<"$out"
check "all" grep -qE '^  all +116\.2 % +154\.0 %$' <<<"$out"
has "the group" 'Group Fast cannot be refreshed each 200 ms: it takes 300.0 ms.'
has "the line" 'The line does not keep up.'
plan "the same as JSON" 1 drivers.ini --config line.cfg --json
value "the group" '[.groups[] | .keepsUp] | tostring' '[false,true,true]'
value "the line" .keepsUp false
sed -i 's/^Fast=.*/Fast=True#True#300#/' line.cfg
plan "more than the server sends" 1 drivers.ini --config line.cfg
check "each group keeps up" lacks "$out" "cannot be refreshed"
has "together they do not" 'The line would keep up, the server does not: the groups together ask for 104.0 % of what it can send.'
sed -i 's/^Fast=.*/Fast=True#True#400#/' line.cfg
plan "a slower rate" 0 drivers.ini --config line.cfg
has "keeps up" 'The line keeps up.'
plan "the rate 0" 0 drivers.ini --type 1 --items WO40001
check "the rate 0 fills the server" grep -qE "^  all +5\.0 % +100\.0 %\$" <<<"$out"

# --- no plan

plan "help" 0 --help
check "help" contains "$out" "--latency"
plan "nothing to plan" 2 drivers.ini
check "nothing to plan" contains "$err" "--config or --items is required"
plan "no file" 2
plan "a wrong option" 2 drivers.ini --items WO40001 --frob
same "every line of a complaint begins with the program's name" 0 "$(grep -cv '^orvo-modbus-plan: ' <<<"$err")"
plan "a rate without items" 2 drivers.ini --config line.cfg --rate 5
plan "no such driver file" 2 nowhere.ini --items WO40001
says "no such driver file" 'orvo-modbus-plan: error 53: File not found: nowhere.ini'
plan "no such configuration" 2 drivers.ini --config nowhere.cfg
says "no such configuration" 'orvo-modbus-plan: error 53: File not found: nowhere.cfg'
plan "no such type" 2 drivers.ini --type 9 --items WO40001
says "no such type" 'orvo-modbus-plan: drivers.ini: there is no device type 9'
plan "a wrong connection" 2 drivers.ini --type 5 --items WO40001
check "a wrong connection" contains "$err" "drivers.ini: Connection 'tcp://nowhere': the host 'nowhere' is no IPv4 address"
plan "a wrong item" 2 drivers.ini --items WO40001,WO1
check "a wrong item" contains "$err" "Item identifier 'WO1': "
plan "two types" 2 drivers.ini --type 1 --config line.cfg
says "two types" 'orvo-modbus-plan: --type 1: line.cfg is for device type 6'
plan "a refused item that is none" 2 drivers.ini --items WO40001 --refused WO40002
says "a refused item that is none" 'orvo-modbus-plan: --refused WO40002: no group has this item'
printf '[Communication Parameters]\nDeviceType=7\n[Groups]\nA=True#\n[Group:A]\nGood=WO40001\nBad=WO400\nRaw=RA0316#3#0#8#29360128\n' >bad.cfg
plan "wrong items of a configuration" 2 drivers.ini --config bad.cfg
same "each with its line" "bad.cfg:7 bad.cfg:8" "$(sed -nE 's/^orvo-modbus-plan: (bad.cfg:[0-9]+): .*/\1/p' err | xargs)"
check "in the driver's words" contains "$err" "Item identifier 'WO400': "
printf '[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n' >panel.ini
plan "another driver" 2 panel.ini --items WO40001
says "another driver" "orvo-modbus-plan: panel.ini: DataCommunication is 'SimulatedPanel.Channel'; plans are made for Modbus.Channel"
printf '[Drivers]\n1=tcp://127.0.0.1\n' >none.ini
plan "no driver" 2 none.ini --items WO40001
says "no driver" "orvo-modbus-plan: none.ini: DataCommunication is missing; plans are made for Modbus.Channel"

finish
