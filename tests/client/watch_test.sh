#!/bin/bash
# `orvo watch` into a pipe: what moves, what falls silent, and how it ends.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# masked FILE: times as TIME, the moving values of DW120 as N, both after they were checked.
masked() {
  awk -F, -v OFS=, '
    NR == 1 { print; next }
    $1 !~ "^[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9][.][0-9][0-9][0-9]$" {
      print "no time: " $1
    }
    $1 < time { print "back in time: " $1 }
    { time = $1; $1 = "TIME" }
    $4 == "DW120" {
      if ($5 + 0 <= value) print "not risen: " $5
      value = $5
      $5 = "N"
    }
    { print }' "$1"
}

# --- what changes, in each format

plant moving.panel <<<'signal DW120 counter 1 to 1000000 every 20 ms'
go watch --panel moving.panel --rate 100 --count 3 --format csv WO100:signed DW120
masked out >shown
cp shown out
prints "csv: everything at first, then what changes" 0 <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO100,-25536,0
TIME,watch,Item_2,DW120,N,0
TIME,watch,Item_2,DW120,N,0
TIME,watch,Item_2,DW120,N,0
END

go watch --panel moving.panel --rate 100 --count 2 --format json ST0020010 FL112 RA036 DW120
check "json: one object per line" [ "$(wc -l <out)" = "$(jq -c . <out | wc -l)" ]
jq -c '.time |= (if test("^....-..-.. ..:..:..\\....$") then "TIME" else . end) |
       if .identifier == "DW120" and (.value | type) == "number" then .value = "N" else . end' <out >shown
cp shown out
prints_json "json lines" 0 <<'END'
{"time":"TIME","group":"watch","item":"Item_1","identifier":"ST0020010","value":"Vanilla 3%","error":0}
{"time":"TIME","group":"watch","item":"Item_2","identifier":"FL112","value":20.5,"error":0}
{"time":"TIME","group":"watch","item":"Item_3","identifier":"RA036","value":"A0 A1 A2 A3 A4 A5","error":0}
{"time":"TIME","group":"watch","item":"Item_4","identifier":"DW120","value":"N","error":0}
{"time":"TIME","group":"watch","item":"Item_4","identifier":"DW120","value":"N","error":0}
END

go watch --panel plant.panel --rate 100 --count 1 WO100:signed FL112 ST0020010
sed -i -E 's/^( *)[0-9]+\.[0-9] s/\1N s/' out
prints "lines for a person" 0 <<'END'
  N s  WO100=-25536  FL112=20.5  ST0020010="Vanilla 3%"
1 DataChange events with 3 changed values
END

cat >two.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
Fast=False#False#50#0#
Other=False#False#70#0#
[Group:Fast]
Speed=WO100#0#0#1#3145828#0#False#False#
[Group:Other]
Torque=WO104#0#0#1#3145832#0#True#False#
END
go watch --panel plant.panel --config two.cfg --count 2 --format csv
masked out | sort >shown
cp shown out
prints "the groups of a configuration" 0 <<'END'
TIME,Fast,Speed,WO100,40000,0
TIME,Other,Torque,WO104,-21555,0
time,group,item,identifier,value,error
END

go watch --panel moving.panel --rate 50 --for 0.6 DW120
same "for a time: exit code" 0 $status
same "for a time: stderr" "" "$(cat err)"
check "for a time: several changes" [ "$(grep -c DW120 out)" -ge 2 ]
go watch --panel plant.panel --rate 50 --count 1000 --for 0.6 --format csv WO106:bcd
masked out >shown
cp shown out
prints "a time and a count: what comes first" 0 <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO106,1234,0
END

# --- silence

plant pause.panel <<'END'
signal DW120 counter 1 to 1000000 every 20 ms
fault ReadItems delay 3 s after 3 times 1
END
go watch --panel pause.panel --rate 100 --for 5 --format csv DW120
same "silent and back: exit code" 0 $status
clock='[0-9]{2}:[0-9]{2}:[0-9]{2}'
sed -E "s/since $clock \(2\.[0-9] s\)/since TIME (2.N s)/" err >shown
same "silent and back: what it says" "orvo: group 'watch' is silent: no answer since TIME (2.N s)
orvo: group 'watch' answers again" "$(cat shown)"

plant ends.panel <<<'fault ReadItems never after 2'
go watch --panel ends.panel --rate 100 --for 3.5 --format csv WO100
masked out >shown
cp shown out
sed -E "s/since $clock \(2\.[0-9] s\)/since TIME (2.N s)/" err >shown
cp shown err
prints "silent at the end" 5 "orvo: group 'watch' is silent: no answer since TIME (2.N s)" <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO100,40000,0
END

go watch --panel ends.panel --config two.cfg --for 3.5 --format csv
same "two groups are silent: exit code" 5 $status
same "two groups are silent: each is told once" "Fast Other" \
  "$(sed -nE "s/^orvo: group '([^']+)' is silent: no answer since $clock \([23]\.[0-9] s\)$/\1/p" err | sort | paste -sd' ')"
same "two groups are silent: nothing else is told" 2 "$(wc -l <err)"

plant mute.panel <<<'fault ReadItems never'
never_answers() {
  sed -E "s/since $clock \([0-9]+\.[0-9] s\)/since TIME (N s)/" err >shown
  cp shown err
  prints "$1" 5 "orvo: group 'watch' is silent: no answer since TIME (N s)" <<<'time,group,item,identifier,value,error'
}
go watch --panel mute.panel --rate 1000 --for 1.5 --format csv WO100
never_answers "no answer in the whole time"
go watch --panel mute.panel --rate 5000 --for 0.3 --format csv WO100
never_answers "no time for an answer"

plant paused.panel <<<'fault ReadItems delay 1200 ms after 1'
go watch --panel paused.panel --rate 1000 --for 2.5 --format csv WO100
masked out >shown
cp shown out
prints "three update rates are no silence yet" 0 <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO100,40000,0
END

plant failing.panel <<'END'
fault WO100 fail 5 after 2 times 2
fault WO104 fail 3
END
go watch --panel failing.panel --rate 100 --for 2.5 --format csv WO100 WO104
masked out >shown
cp shown out
prints "errors are no silence" 2 <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO100,40000,0
TIME,watch,Item_2,WO104,,3
TIME,watch,Item_1,WO100,,5
TIME,watch,Item_1,WO100,40000,0
END

plant failing.panel <<<'fault WO100 fail 5'
go watch --panel failing.panel --rate 50 --count 4 WO100
sed -i -E 's/^( *)[0-9]+\.[0-9] s/\1N s/' out
prints "a failure that stays is no changed value" 2 <<'END'
  N s  WO100=error 5
4 DataChange events with 1 changed values
END

# --- names that are the client's own, and texts that are not

sed 's/Fast/watch/' two.cfg >clash.cfg
go watch --panel plant.panel --config clash.cfg --rate 50 --count 1 --format csv WO106:bcd
masked out >shown
cp shown out
prints "a group of the configuration has the client's name" 0 <<'END'
time,group,item,identifier,value,error
TIME,watch2,Item_1,WO106,1234,0
END

sed "s/Fast/Fa$(printf '\302\233')st/" two.cfg >control.cfg
go watch --panel plant.panel --config control.cfg --rate 50 --count 2
check "a control character in a group's name" grep -qF 'Fa\x9Bst: ' out
check "a control character does not come out as it is" lacks "$(cat out)" $'\302\233'

# --- how it is used wrongly

go watch --panel plant.panel QQ --count 1
fails "no such item" 1 "orvo: error -2147221495: Invalid ItemID: QQ: Group Name= watchGroupHandle: 1
orvo: the driver said: 10: Item identifier 'QQ': the type code 'QQ' is none of BI, BY, WO, DW, FL, ST, RA; \
write it like WO100"
go watch --panel plant.panel --count 1
fails "no items" 3 "orvo: there are no items: name one, or a configuration with --config FILE"
for wrong in "--count 0" "--count many" "--for -1" "--rate -5" "--format xml"; do
  go watch --panel plant.panel WO100 $wrong
  same "watch $wrong: exit code" 3 $status
  same "watch $wrong: output" "" "$(cat out)"
  stderr_has "watch $wrong" "${wrong% *}"
done

# --- a reader that has enough, and an error output that nobody reads

plant mute.panel <<<'fault ReadItems never after 2'
{
  timeout 20 "${client[@]}" watch --panel mute.panel --rate 50 --for 3 --format csv WO100 2>&1 >out
  echo $? >code
} | head -0
masked out >shown
cp shown out
: >err
status=$(cat code)
prints "the reader of the errors has gone" 5 <<'END'
time,group,item,identifier,value,error
TIME,watch,Item_1,WO100,40000,0
END

timeout 20 "${client[@]}" watch --panel moving.panel --rate 50 --format csv DW120 2>err | head -1 >out
status=${PIPESTATUS[0]}
prints "the reader of the output has gone" 0 <<<'time,group,item,identifier,value,error'

finish
