#!/bin/bash
# `orvo items` and `orvo info`.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# --- items: what the driver made of the identifiers; the addresses are those of the simulated panel

go items --panel plant.panel BI102.3 BY104 WO100:signed WO106:bcd DW108 FL112 ST0020010 RA036
prints "items" 0 <<'END'
  identifier  name    type            words  bytes  address  offset  signed  BCD
  ----------  ------  --------------  -----  -----  -------  ------  ------  ---
  BI102.3     Item_1  integer         1      0      1245286  0       no      no
  BY104       Item_2  integer         1      1      2097256  0       no      no
  WO100       Item_3  integer         1      2      3145828  0       yes     no
  WO106       Item_4  integer         1      2      3145834  0       no      yes
  DW108       Item_5  integer         2      4      4194412  0       no      no
  FL112       Item_6  floating point  2      4      5242992  0       no      no
  ST0020010   Item_7  string          5      10     6291656  0       no      no
  RA036       Item_8  raw             3      6      7373568  0       no      no
END

go items --panel plant.panel --format csv WO100:signed FL112
prints "items as csv" 0 <<'END'
identifier,name,type,words,bytes,address,offset,signed,bcd
WO100,Item_1,integer,1,2,3145828,0,true,false
FL112,Item_2,floating point,2,4,5242992,0,false,false
END
go items --panel plant.panel --format json WO106:bcd
prints_json "items as json" 0 <<'END'
[{"identifier":"WO106","name":"Item_1","type":"integer","words":1,"bytes":2,"address":3145834,"offset":0,"signed":false,"bcd":true}]
END

# A driver that cannot be opened compiles all the same.
plant dead.panel <<<'fault OpenCommunication fail 3 "no carrier"'
go items --panel dead.panel --format csv WO100
prints "items need no open communication" 0 <<'END'
identifier,name,type,words,bytes,address,offset,signed,bcd
WO100,Item_1,integer,1,2,3145828,0,false,false
END

cat >line.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
Line=False#False#500#0#9#
Other=False#False#500#0#
[Group:Line]
Speed=WO100#0#4#1#3145828#0#True#False#
[Group:Other]
Level=FL112#2#0#2#5242992#0#False#False#
END
go items --panel plant.panel --config line.cfg --format csv
prints "items of a configuration" 0 <<'END'
group,identifier,name,type,words,bytes,address,offset,signed,bcd
Line,WO100,Speed,integer,1,2,3145828,4,true,false
Other,FL112,Level,floating point,2,4,5242992,0,false,false
END

go items --panel plant.panel WO100 WO101
fails "an item that the driver does not take" 1 \
  "orvo: error -2147221495: Invalid ItemID: WO101: Group Name= itemsGroupHandle: 1
orvo: the driver said: 10: Item identifier 'WO101': the address 101 is odd, it must be even; write it like WO100"
go items --panel plant.panel
fails "no items" 3 "orvo: there are no items: name one, or a configuration with --config FILE"

# --- info: each property

plant line.panel <<'END'
set BoardDescription "Press, line 7"
set BootVersion 1.25
set BootDate "2024-02-29"
set FirmwareVersion 2.5
set BoardStatus 3
set CommunicationStatus 4
set BaudRate 38400
set ComPortNumber 5
set MajorVersion 2
set MinorVersion 7
set Description "Panel of line 7"
set Timeout 500
set WordIO 1
END
go info --panel line.panel
prints "info" 0 <<'END'
  property              value
  --------------------  ----------------------------------------
  Description           KEL Active Data Server / Panel of line 7
  MajorVersion          2
  MinorVersion          7
  BoardDescription      Press, line 7
  BootVersion           1.25
  BootDate              2024-02-29
  FirmwareVersion       2.5
  BoardStatus           3
  DeviceType            2
  DeviceName
  ProjectName
  ComPortNumber         5
  BaudRate              38400
  Timeout               500
  WordIO                1
  AutoDownloadFirmware  False
  AutoDownloadProject   False
  CommunicationStatus   4
  ServerStatus          3
END
go info --panel line.panel --format json
prints_json "info as json" 0 <<'END'
[{"property":"Description","value":"KEL Active Data Server / Panel of line 7"},
{"property":"MajorVersion","value":2},
{"property":"MinorVersion","value":7},
{"property":"BoardDescription","value":"Press, line 7"},
{"property":"BootVersion","value":1.25},
{"property":"BootDate","value":"2024-02-29"},
{"property":"FirmwareVersion","value":2.5},
{"property":"BoardStatus","value":3},
{"property":"DeviceType","value":2},
{"property":"DeviceName","value":""},
{"property":"ProjectName","value":""},
{"property":"ComPortNumber","value":5},
{"property":"BaudRate","value":38400},
{"property":"Timeout","value":500},
{"property":"WordIO","value":1},
{"property":"AutoDownloadFirmware","value":false},
{"property":"AutoDownloadProject","value":false},
{"property":"CommunicationStatus","value":4},
{"property":"ServerStatus","value":3}]
END

go info --panel line.panel --set BaudRate=19200 --set Timeout=250 --set WordIO=2 --set ComPortNumber=9 --format csv
same "info: what was set" 0 $status
for line in 'BaudRate,19200' 'Timeout,250' 'WordIO,2' 'ComPortNumber,9'; do
  check "info: --set $line" grep -qx "$line" out
done
go info --panel line.panel --device-type 1 --format csv
check "info: the device type" grep -qx 'DeviceType,1' out

# A property that fails leaves the others as they are.
plant broken.panel <<<'fault BootDate fail 3 "no date"'
go info --panel broken.panel --format csv
same "a property that fails: exit code" 1 $status
same "a property that fails: stderr" "orvo: error -2147221494: Communication error: no date" "$(cat err)"
check "a property that fails has no value" grep -qx 'BootDate,' out
check "a property that fails: those behind it come" grep -qx 'ServerStatus,3' out
same "a property that fails: all of them" 20 "$(wc -l <out)"
go info --panel dead.panel --format csv
same "info without communication: exit code" 1 $status
same "info without communication: all properties" 20 "$(wc -l <out)"
stderr_has "info without communication" "orvo: error -2147221494: Communication error: Can't open communication: no carrier"

# --- settings and devices that do not exist

settings="BaudRate, ComPortNumber, Timeout, WordIO, ProjectName, AutoDownloadFirmware, AutoDownloadProject"
go info --panel line.panel --set Baudrate=9600
fails "no such setting" 3 "orvo: --set: Baudrate: there is no such setting; there are $settings
orvo: run with --help for more information"
go info --panel line.panel --set BaudRate=12345
same "a baud rate that the panel refuses: exit code" 1 $status
stderr_has "a baud rate that the panel refuses" "orvo: error -2147221493: Invalid Value: "
go info --panel line.panel --set BaudRate=fast
fails "no number" 3 "orvo: --set BaudRate=fast: Type mismatch"
go info --panel line.panel --device-type 7
fails "no such device type" 1 "orvo: error -2147221499: Invalid device type: 7: '(the built-in simulated panel)' has 1, 2"

finish
