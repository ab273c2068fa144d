#!/bin/bash
# `orvo config check` and `orvo config save`.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

invalid="error -2147221501: Invalid file format:"

# --- save, and what becomes of the file

go config save line.cfg --panel plant.panel --set BaudRate=19200 --set Timeout=700 --set AutoDownloadProject=True \
  --group Line --rate 250 WO100:signed WO106:bcd ST0020010
same "save: exit code" 0 $status
same "save: stderr" "" "$(cat err)"
cat >expected <<'END'
[Communication Parameters]
BaudRate=19200
ComPortNumber=1
DeviceType=2
DeviceName=
QZPar1=0
QZPar2=700
AutoDownloadFirmware=False
AutoDownloadProject=True
[Groups]
Line=False#False#250#0#
[Group:Line]
Item_1=WO100#0#0#1#3145828#0#True#False#
Item_2=WO106#0#0#1#3145834#0#False#True#
Item_3=ST0020010#1#0#5#6291656#0#False#False#
END
tr -d '\r' <line.cfg | sed '/^$/d' >saved
differs "save" "the file" expected saved

go config check line.cfg --panel plant.panel
prints "what was saved is well" 0 <<<'no problems'
go read --panel plant.panel --config line.cfg --format csv
prints "what was saved can be read" 0 "orvo: the driver refused DownloadProject: 53: File not found: line.obj" <<'END'
group,item,identifier,raw,value,error
Line,Item_1,WO100,40 9C,-25536,0
Line,Item_2,WO106,34 12,1234,0
Line,Item_3,ST0020010,56 61 6E 69 6C 6C 61 20 33 25,Vanilla 3%,0
END
go config save again.cfg --panel plant.panel --config line.cfg
same "saved once more: exit code" 0 $status
check "saved once more: the same" cmp line.cfg again.cfg
go config save named.cfg --panel plant.panel WO100
check "the group has a name of its own" grep -q '^Group_1=' named.cfg

go config save nowhere/line.cfg --panel plant.panel WO100
same "no such folder: exit code" 1 $status
stderr_has "no such folder" "orvo: error 76: Path not found"
stderr_has "no such folder" "nowhere/line.cfg"
go config save line.cfg --panel plant.panel QQ
fails "no such item" 1 "orvo: error -2147221495: Invalid ItemID: QQ: Group Name= Group_1GroupHandle: 1
orvo: the driver said: 10: Item identifier 'QQ': the type code 'QQ' is none of BI, BY, WO, DW, FL, ST, RA; \
write it like WO100"
tr -d '\r' <line.cfg | sed '/^$/d' >saved
differs "a save that failed leaves the file" "the file" expected saved

# --- check: every problem with its line

cat >bad.cfg <<'END'
[Communication Parameters]
BaudRate=fast
Baudrate=9600
ComPortNumber=0
DeviceType=2
QZPar2=70000
[Groups]
Line=False#maybe#500#0#
[Group:Line]
Speed=WO100#0#0#1#3145828#0#False#False#
Speed=WO102#0#0#1#3145830#0#False#False#
Torque=XX7#0#0#1#1#0#False#False#
Level=WO104#0#zero#1#3145832#0#False#False#
[Group:Lime]
END
go config check bad.cfg --panel plant.panel
prints "every problem" 4 <<END
bad.cfg:2: $invalid bad.cfg, line 2, section 'Communication Parameters', key 'BaudRate': 'fast'
bad.cfg:3: $invalid key 'Baudrate' is not read: no parameter has this name
bad.cfg:4: error -2147221494: Communication error: Can't set COM port
bad.cfg:6: $invalid bad.cfg, line 6, section 'Communication Parameters', key 'QZPar2': '70000'
bad.cfg:8: $invalid bad.cfg, line 8, section 'Groups', key 'Line': 'maybe'
bad.cfg:11: error -2147221490: INTERNAL ERROR, please contact support. code-2147221497:Invalid Name: Speed:Name already \
used: Group Name= LineGroupHandle: 1 / :DataItem.Add(ItemId=WO102,ItemName=Speed
bad.cfg:12: error -2147221495: Invalid ItemID: XX7: Group Name= LineGroupHandle: 1; the driver said: Item identifier 'XX7': the type code \
'XX' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO100
bad.cfg:13: $invalid bad.cfg, line 13, section 'Group:Line', key 'Level': 'zero'
bad.cfg:14: $invalid section 'Group:Lime' is not read: section 'Groups' has no such group
9 problems
END

printf '[Groups]\n' >headless.cfg
go config check headless.cfg --panel plant.panel
prints "a problem of the whole file" 4 <<END
headless.cfg:0: $invalid headless.cfg: there is no section 'Communication Parameters'
1 problem
END

go config check nowhere.cfg --panel plant.panel
fails "no file" 1 "orvo: error 53: File not found: nowhere.cfg"
go config check bad.cfg --drivers nowhere.ini
fails "no driver configuration file" 1 "orvo: error 53: File not found: nowhere.ini"

# --- downloads on opening, which no call of the server raises

plant refuses.panel <<'END'
set FirmwareDownloadNeeded True
fault SetConfigurationMode refuse
END
go read --panel refuses.panel --set AutoDownloadFirmware=True --set ProjectName=press WO100 --format csv
ends "configuration mode is refused" 0 "orvo: the driver refused configuration mode: nothing was downloaded"
go read --panel refuses.panel --set ProjectName=press WO100 --format csv
ends "no download is wanted" 0 ""
go read --panel plant.panel --set AutoDownloadProject=True --set ProjectName=press WO100 --format csv
ends "the file is not there" 0 "orvo: the driver refused DownloadProject: 53: File not found: press.obj"

# --- a driver that transfers whole groups

plant whole.panel <<'END'
set GroupTransfer True
memory WO256 7
memory WO258 8
memory FL260 2.5
END
go config save whole.cfg --panel whole.panel WO256 WO258 FL260 --group Press --group-id 1
prints "each item of a whole group has its place" 0 <<<'saved whole.cfg: groups 1, items 3'
go watch --panel whole.panel --config whole.cfg --count 1 --rate 50 --format csv
same "a whole group is watched: exit code" 0 $status
same "a whole group is watched: values" "WO256,7,0;WO258,8,0;FL260,2.5,0;" \
  "$(tail -n +2 out | cut -d, -f4- | tr '\n' ';')"
go config save plain.cfg --panel plant.panel WO256 WO258
go watch --panel whole.panel --config plain.cfg --count 1
fails "items without a place are not watched as a whole" 3 "orvo: this driver refreshes whole groups: item 'Item_1' of \
group 'Group_1' ends at 2, the group's buffer at 0; 'config save' gives each its place"
sed -i 's/^Item_3=FL260#2#4#/Item_3=FL260#2#2#/' whole.cfg
go watch --panel whole.panel --config whole.cfg --count 1
fails "items that lie over each other are not watched" 3 "orvo: this driver refreshes whole groups: item 'Item_3' of \
group 'Press' lies over 'Item_2' in the group's buffer, at 2; 'config save' gives each its place"
go read --panel plant.panel --config line.cfg --device-type 1
fails "another device type than the configuration's" 3 \
  "orvo: --device-type 1: the configuration 'line.cfg' is for device type 2"

# --- facts that are not those of the device

cat >other.cfg <<'END'
[Communication Parameters]
[Groups]
Line=
[Group:Line]
Speed=WO100###2#3145928#0#True#True#
END
go config check other.cfg --panel plant.panel
prints "facts of another item" 4 <<END
other.cfg:5: $invalid key 'Speed': Signed and BCD are both True; BCD counts
other.cfg:5: $invalid key 'Speed': the word length is 2, but 'WO100' has 1, the compiled address is 3145928, but 'WO100' has 3145828
2 problems
END

# --- a configuration that cannot be loaded is not read from

go read --panel plant.panel --config bad.cfg
fails "read with a bad configuration" 1 "orvo: bad.cfg:3: Invalid file format: key 'Baudrate' is not read: no parameter has this name
orvo: bad.cfg:14: Invalid file format: section 'Group:Lime' is not read: section 'Groups' has no such group
orvo: error -2147221494: Communication error: Can't set COM port
orvo: the driver said: 10: Port 0 is not within 1..255"
go read --panel plant.panel --config line.cfg --group Lime
fails "no such group" 1 "orvo: error -2147221497: Invalid Name: Lime"

# --- usage

for wrong in "config" "config check" "config save" "config mend line.cfg"; do
  go $wrong
  same "$wrong: exit code" 3 $status
  same "$wrong: output" "" "$(cat out)"
done

finish
