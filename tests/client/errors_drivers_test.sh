#!/bin/bash
# `orvo errors` and `orvo drivers`. With ORVO_DRIVER_PATH the libraries of that folder are looked at too.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# --- errors: the rows of the guide, in its order

guide=$here/../../docs/errors.md
go errors --format json
same "errors: exit code" 0 $status
same "errors: stderr" "" "$(cat err)"
jq -r '.[] | [.number, .name, .text] | map(tostring) | join("\t")' <out >told
# A cell of the guide without its marks.
cell() { sed -E 's/^[ `"]+//; s/[ `"]+$//; s/[` ]*$//' <<<"$1"; }
rows=0
row=0
while IFS='|' read -r _ first second third fourth fifth _; do
  case $first in
    *' `err'*) number=$(cell "$second") name=$(cell "$first") parts=("$(cell "$fourth")" "$(cell "$fifth")") ;;
    ' '[0-9]*' '| ' other ')
      number=$(cell "$first") name='*' parts=("$(cell "$second")" "$(cell "$third")") ;;
    *) continue ;;
  esac
  row=$((row + 1))
  IFS=$'\t' read -r told_number told_name told_text < <(sed -n "${row}p" told)
  same "errors: row $row" "$number" "$told_number"
  check "errors: the name of $number" [ "$name" = '*' -o "$name" = "$told_name" ]
  for part in "${parts[@]}"; do
    check "errors: the text of $number" contains "$told_text" "$part"
  done
done <"$guide"
check "errors: the guide has rows" [ $row -gt 30 ]
same "errors: no more rows than the guide's" $row "$(wc -l <told)"
check "errors: prefix and meaning are told apart" [ "$(grep -c 'codeAn' told)" = 0 ]

go errors --format csv
same "errors as csv: as many rows, and a header" $((row + 1)) "$(wc -l <out)"
go errors
same "errors as a table: as many rows, and a header" $((row + 2)) "$(wc -l <out)"

# One error, by each form of its number, with what to do.
for number in -2147221495 0x80040009 0x8004000 80040009; do
  go errors --format json -- $number
  case $number in
    -2147221495 | 0x80040009)
      same "errors $number: exit code" 0 $status
      same "errors $number" "-2147221495 0x80040009 errInvalidItemId true" \
        "$(jq -r '.[] | "\(.number) \(.hexadecimal) \(.name) \(.advice | length > 20)"' <out)"
      ;;
    *)
      same "errors $number: exit code" 3 $status
      same "errors $number: output" "" "$(cat out)"
      stderr_has "errors $number" "error $number is none of the system's"
      ;;
  esac
done
go errors -2147221495
same "a negative number without further ado: exit code" 0 $status
output_has "a negative number without further ado" "errInvalidItemId"
go errors 99
prints "a code of items" 0 <<'END'
  error       99
  ----------  -------------------------------------------------------------------
  name        item error
  text        The request never reached the device.
  what to do  Look at CommunicationStatus; close communication and open it again.
END
go errors noise
fails "no number" 3 "orvo: 'noise' is no error number: give one such as -2147221495, 0x80040009 or 53"

# --- drivers

go drivers --format csv
same "drivers: exit code" 0 $status
same "drivers: header" "identifier,description,library,state" "$(head -1 out)"
check "drivers: the built-in panel" grep -qx 'SimulatedPanel.Channel,Simulated panel driver,(built in),usable' out
go drivers --format json
check "drivers: json" [ "$(jq -r '.[0].identifier' <out)" = SimulatedPanel.Channel ]
go drivers
same "drivers as a table: exit code" 0 $status
output_has "drivers as a table" "SimulatedPanel.Channel  Simulated panel driver"

if [ -n "${ORVO_DRIVER_PATH:-}" ]; then
  mkdir broken
  echo "no library" >broken/Broken.Panel.so
  cp "$ORVO_DRIVER_PATH/Logged.Panel.so" broken/
  installed=$ORVO_DRIVER_PATH
  ORVO_DRIVER_PATH=$installed:$folder/broken
  go drivers --format json
  sed -i -E 's/(cannot be loaded: )[^"]*/\1WHY/' out
  prints_json "libraries of the path" 0 <<END
[{"identifier":"SimulatedPanel.Channel","description":"Simulated panel driver","library":"(built in)","state":"usable"},
{"identifier":"Logged.Panel","description":"The simulated panel, telling what is called",
 "library":"$installed/Logged.Panel.so","state":"usable"},
{"identifier":"Broken.Panel","description":"","library":"$folder/broken/Broken.Panel.so",
 "state":"refused: the library '$folder/broken/Broken.Panel.so' cannot be loaded: WHY"},
{"identifier":"Logged.Panel","description":"","library":"$folder/broken/Logged.Panel.so",
 "state":"not used: $installed/Logged.Panel.so comes first"}]
END
  go drivers
  output_has "where was looked" "$installed"

  printf '[Drivers]\nDataCommunication=Broken.Panel\n2=PanelB\n' >broken.ini
  go read --drivers broken.ini WO100
  same "a library that is none: exit code" 1 $status
  same "a library that is none: output" "" "$(cat out)"
  stderr_has "a library that is none" "orvo: error 429: "
  stderr_has "a library that is none" "$folder/broken/Broken.Panel.so"

  # A driver of a library is used like one that is built in, and told what a command needs and nothing else.
  export ORVO_LOGGED_PANEL=calls
  printf '[Drivers]\nDataCommunication=Logged.Panel\n2=PanelB?plant.panel\n' >logged.ini
  # called NAME CALL...: what the library was told since the last time.
  called() {
    local name=$1
    shift
    same "$name: calls" "$*" "$(paste -sd' ' calls)"
    : >calls
  }
  go read --drivers logged.ini --format csv WO106:bcd BI102.3
  prints "read through a library" 0 <<'END'
item,identifier,raw,value,error
Item_1,WO106,34 12,1234,0
Item_2,BI102.3,08 00,1,0
END
  called "read" OpenCommunication ReadItems CloseCommunication end
  go write --drivers logged.ini WO100=1
  same "write through a library: exit code" 0 $status
  called "write" OpenCommunication WriteItems CloseCommunication end
  go items --drivers logged.ini WO100
  called "items" end

  # Writes that fail in each way reach the device once.
  while IFS='|' read -r fault expected; do
    plant plant.panel <<<"$fault"
    go write --drivers logged.ini WO100=1
    same "write, $fault: exit code" "$expected" $status
    called "write, $fault" OpenCommunication WriteItems CloseCommunication end
  done <<'END'
fault WO100 fail 1 times 1|2
fault WO100 fail 3 times 1|2
fault WriteItems refuse times 1|2
fault WriteItems fail 5 times 1|2
fault WriteItems short 1 times 1|2
END
  # Reads that reached the device are not repeated either.
  while IFS='|' read -r fault expected; do
    plant plant.panel <<<"$fault"
    go read --drivers logged.ini WO100
    same "read, $fault: exit code" "$expected" $status
    called "read, $fault" OpenCommunication ReadItems CloseCommunication end
  done <<'END'
fault WO100 fail 1 times 1|2
fault ReadItems refuse times 1|2
END
fi

finish
