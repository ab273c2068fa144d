#!/bin/bash
# orvo-driver-test with the Modbus driver against a server that is none of ours.
# Usage: kit_test.sh PROGRAM DRIVER_FOLDER SERVERS_FOLDER MODULES_FOLDER pymodbus|modbus-serial|rtu
set -u
program=$1
export ORVO_DRIVER_PATH=$2
servers=$3
modules=$4
kind=$5
scratch=$(mktemp -d) || exit 1
started=()
trap 'kill "${started[@]}" 2>/dev/null; rm -rf "$scratch"' EXIT

fail() {
  echo "FAILED: $1" >&2
  cat "$scratch"/*.log >&2
  exit 1
}

if [ "$kind" = modbus-serial ] && [ ! -d "$modules/modbus-serial" ]; then
  # As GoogleTest says it.
  echo "kit_test.sh: Skipped"
  echo "the npm package modbus-serial could not be installed: $(cat "$(dirname "$modules")/unavailable.txt")"
  exit 77
fi

options=(--identify 'Meyer|Press|V2.5')
if [ "$kind" = rtu ]; then
  exec {log}< <(exec timeout 110 socat -d -d "pty,raw,echo=0,link=$scratch/driver" "pty,raw,echo=0,link=$scratch/device" 2>&1)
  started+=($!)
  while read -rt 30 -u "$log" line; do
    [[ $line != *'starting data transfer loop'* ]] || break
  done
  # Held open, so that the line stays when the driver lets go of it.
  exec {held}<>"$scratch/driver" || fail "no pseudo terminals"
  options+=(--rtu "$scratch/device")
fi
if [ "$kind" = modbus-serial ]; then
  command=(node "$servers/modbus_serial_server.js" --modules "$modules")
else
  command=(/usr/bin/python3 "$servers/pymodbus_server.py")
fi
# It ends with its standard input, the other end of which goes with this script.
coproc server { exec "${command[@]}" "${options[@]}" 2>"$scratch/server.log"; }
started+=("$server_PID")
read -rt 60 -u "${server[0]}" word port || fail "the server does not start"
[ "$word" = listening ] || fail "the server said '$word $port'"
connection="tcp://127.0.0.1:$port?timeout=2000&block01=40400"
[ "$kind" != rtu ] || connection="rtu://$scratch/driver?baud=115200&parity=none&timeout=2000&block01=40400"

result=$("$program" Modbus.Channel --kind "$connection" --item WO40001 --item FL40010 --item BI00003 --item ST4002010 \
  --item RA018 --write WO40100=7 --write FL40110=-2.5 --write BI00005=1 --write ST4002010=Cherry --write RA014=A1B2C3D4 \
  --wrong-item XX1 --wrong-item WO70001 --timeout 20 --quiet 0.05 2>&1)
code=$?
echo "$result"
[ $code -eq 0 ] || fail "exit code $code"
grep -qE '^passed  reads-back$' <<<"$result" || fail "nothing was written and read back"
passed=$(sed -nE 's/^[0-9]+ checks: ([0-9]+) passed, 0 failed, .*/\1/p' <<<"$result")
[ "${passed:-0}" -ge 35 ] || fail "only ${passed:-0} checks passed"
