#!/bin/bash
# `orvo read` and `orvo write`.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# --- read: what the panel holds, in each format

everything=(BI102.3 BI102.4 BY104 BY105 WO100 WO100:signed WO106:bcd WO116:bcd DW108 DW108:signed FL112 ST0020010 RA036)
go read --panel plant.panel "${everything[@]}"
prints "each kind of item" 0 <<'END'
  item     identifier    raw bytes                      client value       error
  -------  ------------  -----------------------------  -----------------  -----
  Item_1   BI102.3       08 00                          1                  0
  Item_2   BI102.4       08 00                          0                  0
  Item_3   BY104         CD AB                          171                0
  Item_4   BY105         CD AB                          205                0
  Item_5   WO100         40 9C                          40000              0
  Item_6   WO100 signed  40 9C                          -25536             0
  Item_7   WO106 BCD     34 12                          1234               0
  Item_8   WO116 BCD     18 00                          28                 0
  Item_9   DW108         89 AB CD EF                    4023233417         0
  Item_10  DW108 signed  89 AB CD EF                    -271733879         0
  Item_11  FL112         00 00 A4 41                    20.5               0
  Item_12  ST0020010     56 61 6E 69 6C 6C 61 20 33 25  "Vanilla 3%"       0
  Item_13  RA036         A0 A1 A2 A3 A4 A5              A0 A1 A2 A3 A4 A5  0
END

plant texts.panel <<'SCRIPT'
memory ST0030012 "say ""hi"", ok"
memory WO120 7
fault WO120 fail 5
SCRIPT
go read --panel texts.panel --format csv BI102.3 WO100:signed FL112 RA036 ST0030012 WO120
prints "csv: an item that fails has no value" 2 <<'END'
item,identifier,raw,value,error
Item_1,BI102.3,08 00,1,0
Item_2,WO100,40 9C,-25536,0
Item_3,FL112,00 00 A4 41,20.5,0
Item_4,RA036,A0 A1 A2 A3 A4 A5,A0 A1 A2 A3 A4 A5,0
Item_5,ST0030012,73 61 79 20 22 68 69 22 2C 20 6F 6B,"say ""hi"", ok",0
Item_6,WO120,,,5
END

go read --panel texts.panel --format json BI102.3 WO100:signed DW108 FL112 RA036 ST0030012 WO120
prints_json "json: numbers, texts, bytes and nothing" 2 <<'END'
[{"item":"Item_1","identifier":"BI102.3","raw":"08 00","value":1,"error":0},
{"item":"Item_2","identifier":"WO100","raw":"40 9C","value":-25536,"error":0},
{"item":"Item_3","identifier":"DW108","raw":"89 AB CD EF","value":4023233417,"error":0},
{"item":"Item_4","identifier":"FL112","raw":"00 00 A4 41","value":20.5,"error":0},
{"item":"Item_5","identifier":"RA036","raw":"A0 A1 A2 A3 A4 A5","value":"A0 A1 A2 A3 A4 A5","error":0},
{"item":"Item_6","identifier":"ST0030012","raw":"73 61 79 20 22 68 69 22 2C 20 6F 6B","value":"say \"hi\", ok","error":0},
{"item":"Item_7","identifier":"WO120","raw":null,"value":null,"error":5}]
END

# --- read: items that fail, requests that fail

plant faults.panel <<<'fault WO104 fail 5'
go read --panel faults.panel WO100 WO104
prints "one item of two fails" 2 <<'END'
  item    identifier  raw bytes  client value  error
  ------  ----------  ---------  ------------  -----
  Item_1  WO100       40 9C      40000         0
  Item_2  WO104       -          -             5
END

plant refuses.panel <<<'fault ReadItems refuse'
go read --panel refuses.panel WO100
prints "the driver refuses" 2 "orvo: the driver refused ReadItems: 1: The panel is busy and refuses ReadItems" <<'END'
  item    identifier  raw bytes  client value  error
  ------  ----------  ---------  ------------  -----
  Item_1  WO100       -          -             99
END

plant once.panel <<<'fault WO100 fail 1 times 1'
go read --panel once.panel WO100
prints "an error 1 that the device gave is an answer" 2 <<'END'
  item    identifier  raw bytes  client value  error
  ------  ----------  ---------  ------------  -----
  Item_1  WO100       -          -             1
END

# --- read: a spooler that is busy. The refreshes of the first group keep the line in use while the second one is read.

cat >busy.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
Fast=True#False#20#0#
Other=False#False#500#0#
[Group:Fast]
Speed=WO100#0#0#1#3145828#0#False#False#
[Group:Other]
Torque=WO104#0#0#1#3145832#0#False#False#
END
plant slow.panel <<<'fault WO100 delay 300 ms times 2'
go read --panel slow.panel --config busy.cfg
prints "a busy read is tried again" 0 <<'END'
  group  item    identifier  raw bytes  client value  error
  -----  ------  ----------  ---------  ------------  -----
  Fast   Speed   WO100       40 9C      40000         0
  Other  Torque  WO104       CD AB      43981         0
END
plant slow.panel <<<'fault WO100 delay 3 s after 1 times 1'
go read --panel slow.panel --config busy.cfg --timeout 1
same "and no longer than asked" 2 $status
output_has "the first group was read" "Fast   Speed   WO100       40 9C      40000         0"
output_has "the second one is refused" "Other  Torque  WO104       -          -             1"

go read --panel plant.panel --config busy.cfg --group Other
prints "one group of a configuration" 0 <<'END'
  group  item    identifier  raw bytes  client value  error
  -----  ------  ----------  ---------  ------------  -----
  Other  Torque  WO104       CD AB      43981         0
END

# --- write

go write --panel plant.panel WO100=65535 WO104:signed=-5 WO106:bcd=4711 FL112=1.5 ST0020010=Cherry RA036=01,0a,FF BI102.0=1
prints "each kind of value" 0 \
  "orvo: WO106 was written as the number 4711, not as decimal digits: it reads as 1267" <<'END'
  identifier    written   error
  ------------  --------  -----
  WO100         65535     0
  WO104 signed  -5        0
  WO106 BCD     4711      0
  FL112         1.5       0
  ST0020010     "Cherry"  0
  RA036         01 0A FF  0
  BI102.0       1         0
END

go write --panel plant.panel WO100=0x10 WO106:bcd=0x1234 ST0020010=abcdefghijklm
prints "what becomes of a value is told" 0 "orvo: WO106 was written as the number 4660, not as decimal digits: it reads as 1234
orvo: ST0020010: not the whole text was written, it reads as \"abcdefghij\"" <<'END'
  identifier  written          error
  ----------  ---------------  -----
  WO100       16               0
  WO106 BCD   4660             0
  ST0020010   "abcdefghijklm"  0
END

plant once.panel <<<'fault WO100 fail 3 times 1'
go write --panel once.panel WO100=1 WO104=2
prints "an item that fails is not written again" 2 <<'END'
  identifier  written  error
  ----------  -------  -----
  WO100       1        3
  WO104       2        0
END

unknown="orvo: the outcome of a write with error 1 is unknown: read the items back before you write again"
plant once.panel <<<'fault WO100 fail 1 times 1'
go write --panel once.panel WO100=1
prints "outcome unknown" 2 "$unknown" <<'END'
  identifier  written  error
  ----------  -------  -----
  WO100       1        1
END

plant refuses.panel <<<'fault WriteItems refuse times 1'
go write --panel refuses.panel WO100=1
prints "a refused write is not sent again" 2 \
  "orvo: the driver refused WriteItems: 1: The panel is busy and refuses WriteItems" <<'END'
  identifier  written  error
  ----------  -------  -----
  WO100       1        99
END

go write --panel plant.panel --format csv WO100=5 ST0020010='a,"b"' RA036=01,02
prints "what was written as csv" 0 <<'END'
identifier,written,error
WO100,5,0
ST0020010,"a,""b""",0
RA036,01 02,0
END
plant faults.panel <<<'fault WO104 fail 4'
go write --panel faults.panel --format json WO100:signed=-5 FL112=1.5 ST0020010='a,"b"' RA036=01,02 WO104=1
prints_json "what was written as json" 2 <<'END'
[{"identifier":"WO100","written":-5,"error":0},
{"identifier":"FL112","written":1.5,"error":0},
{"identifier":"ST0020010","written":"a,\"b\"","error":0},
{"identifier":"RA036","written":"01 02","error":0},
{"identifier":"WO104","written":1,"error":4}]
END

# --- a device that never answers

plant mute.panel <<'END'
fault ReadItems never
fault WriteItems never
END
go read --panel mute.panel --timeout 0.3 WO100
prints "a read that is never answered" 2 <<'END'
  item    identifier  raw bytes  client value  error
  ------  ----------  ---------  ------------  -----
  Item_1  WO100       -          -             1
END
go write --panel mute.panel WO100=1
prints "a write that is never answered" 2 "$unknown" <<'END'
  identifier  written  error
  ----------  -------  -----
  WO100       1        1
END

# --- what is refused before anything is sent

# refused COMMAND ITEM TEXT: the server refuses the identifier, and the driver says why.
refused() {
  go "$1" --panel plant.panel "$2"
  fails "$1 $2" 1 "orvo: error -2147221495: Invalid ItemID: ${2%=*}: Group Name= $1GroupHandle: 1
orvo: the driver said: 10: Item identifier '${2%=*}': $3; write it like WO100"
}
refused read QQ "the type code 'QQ' is none of BI, BY, WO, DW, FL, ST, RA"
refused write WO101=1 "the address 101 is odd, it must be even"
format="orvo: error -2147221489: INVALID FORMAT Invalid format:"
go write --panel plant.panel WO100=70000
fails "write: out of range" 1 "$format index=0 (WO100=70000: Overflow)"
go write --panel plant.panel WO104=1 WO100=fast
fails "write: no number" 1 "$format index=1 (WO100=fast: this is no number; decimals stand behind a point)"
go read --panel plant.panel WO100:octal
fails "read: no such option of an item" 3 "orvo: 'WO100:octal' is no item: an item is ID, ID:signed or ID:bcd"
go write --panel plant.panel WO100
fails "write: no value" 3 "orvo: 'WO100' is not ITEM=VALUE, for example WO104:signed=-5"
go write --panel plant.panel RA036=A0,GG
fails "write: no byte" 3 "orvo: RA036=: 'GG' is no byte in hexadecimal; a raw item takes bytes such as A0,A1,FF"
go read --panel plant.panel
fails "read: no items" 3 "orvo: there are no items: name one, or a configuration with --config FILE"

# --- the command line, and an output that takes nothing

go read --panel plant.panel --format csv --set ProjectName=plant --set BaudRate=19200 FL112 BI102.3
prints "--set before the items" 0 <<'END'
item,identifier,raw,value,error
Item_1,FL112,00 00 A4 41,20.5,0
Item_2,BI102.3,08 00,1,0
END
if [ -c /dev/full ] && [ ${#client[@]} = 1 ]; then
  "${client[@]}" read --panel plant.panel WO100 2>err >/dev/full
  status=$?
  : >out
  fails "the output cannot be written" 1 "orvo: the output could not be written"
else
  echo "skipped: an output that takes nothing"
fi

finish
