#!/bin/bash
# What the client makes of a device and a driver that misbehave, and of panel scripts that are wrong.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# reads NAME STATUS STDERR FAULT...: two words with the fault; the columns value and error of both.
reads() {
  local name=$1 expected=$2 message=$3
  shift 3
  printf '%s\n' "$@" | plant fault.panel
  go read --panel fault.panel --format csv WO100 WO104
  cut -d, -f4,5 out >shown
  cp shown out
  prints "$name" "$expected" "$message"
}

reads "an answer that comes twice" 0 "" 'fault ReadItems twice' <<'END'
value,error
40000,0
43981,0
END
reads "an answer that comes late" 0 "" 'fault ReadItems late 400 ms' <<'END'
value,error
40000,0
43981,0
END
reads "an answer that is delayed" 0 "" 'fault ReadItems delay 400 ms' <<'END'
value,error
40000,0
43981,0
END
reads "an answer that is too short" 2 "" 'fault ReadItems short 1' <<'END'
value,error
40000,0
,9
END
reads "an answer that is too long" 0 "" 'fault ReadItems long 1' <<'END'
value,error
40000,0
43981,0
END
reads "a line that is cut" 2 "" 'link cut at 0 s' <<'END'
value,error
,5
,5
END
reads "a driver that fails" 2 'orvo: the driver refused ReadItems: 3: line noise' 'fault ReadItems fail 3 "line noise"' <<'END'
value,error
,99
,99
END
reads "one item that fails" 2 "" 'fault WO104 fail 4' <<'END'
value,error
40000,0
,4
END

reads "a driver of whole groups" 0 "" 'set GroupTransfer True' <<'END'
value,error
40000,0
43981,0
END

# raises NAME NUMBER-AND-TEXT FAULT: the whole command fails.
raises() {
  plant fault.panel <<<"$3"
  go read --panel fault.panel WO100
  fails "$1" 1 "orvo: error $2"
}

raises "communication cannot be opened" \
  "-2147221494: Communication error: Can't open communication: no carrier" 'fault OpenCommunication fail 3 "no carrier"'
raises "no device" "-2147221499: Invalid device type: 2: the driver does not know the kind 'PanelB?fault.panel' that \
'(the built-in simulated panel)' names" 'fault CreateDevice refuse'
raises "an item that the device refuses" \
  "-2147221495: Invalid ItemID: WO100: Group Name= readGroupHandle: 1" 'fault WO100 refuse'
raises "no room in the device" "-2147221495: Invalid ItemID: WO100: Group Name= readGroupHandle: 1" \
  'set MaximumGroupWords 0'

# --- scripts that are wrong

plant wrong.panel <<'END'
memory WO101 1
sett BaudRate 9600
fault ReadItems fail
END
go read --panel wrong.panel WO100
fails "a wrong script" 1 \
  "orvo: error 10: The panel script 'wrong.panel' has 3 mistakes:
orvo:   line 11: Item identifier 'WO101': the address 101 is odd, it must be even; write it like WO100
orvo:   line 12: 'sett' is no statement: seed, answer, set, memory, signal, fault or link
orvo:   line 13: the error number is missing; write it like: fault ReadItems fail 3 \"line noise\""
go read --panel nowhere.panel WO100
same "no script: exit code" 1 $status
same "no script: output" "" "$(cat out)"
stderr_has "no script" "nowhere.panel"
go read --panel plant.panel --drivers drivers.ini WO100
same "two panels: exit code" 3 $status
stderr_has "two panels" "--drivers"
stderr_has "two panels" "--panel"

# --- a driver configuration file that names it

printf '[Drivers]\nDataCommunication=SimulatedPanel.Channel\n2=PanelB?plant.panel\n' >drivers.ini
go read --drivers drivers.ini --format csv WO106:bcd
prints "the panel by a driver configuration file" 0 <<'END'
item,identifier,raw,value,error
Item_1,WO106,34 12,1234,0
END
printf '[Drivers]\n2=PanelB\n' >headless.ini
go read --drivers headless.ini WO100
same "no driver is named: exit code" 1 $status
stderr_has "no driver is named" "DataCommunication"
printf '[Drivers]\nDataCommunication=Nobody.Knows\n2=PanelB\n' >unknown.ini
go read --drivers unknown.ini WO100
same "an unknown driver: exit code" 1 $status
stderr_has "an unknown driver" "orvo: error 429: "
stderr_has "an unknown driver" "Nobody.Knows"
go read --drivers nowhere.ini WO100
fails "no driver configuration file" 1 "orvo: error 53: File not found: nowhere.ini"

finish
