#!/bin/bash
# What comes out of the client is what the device has and said: numbers to the last digit, texts that do a terminal no
# harm, each failure's own words.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# --- numbers

plant single.panel <<'END'
memory FL200 16777216
memory FL204 123456.789
memory FL208 0.1
END
go read --panel single.panel --format csv FL200 FL204 FL208
cut -d, -f4 out >shown
cp shown out
prints "csv: singles that read back exactly" 0 <<'END'
value
16777216
123456.79
0.1
END
go read --panel single.panel --format json FL200 FL204 FL208
jq -r '.[].value' out >/dev/null
check "json: 2^24" grep -qE '"value": 16777216,' out
check "json: 123456.79" grep -qE '"value": 123456.79,' out
check "json: 0.1" grep -qE '"value": 0.1,' out
go read --panel single.panel FL200 FL204
check "a table has seven digits" grep -q ' 123456.8 ' out

# --- texts

plant texts.panel <<'END'
memory RA036 41 90 9D 81 7F 0A
END
printf 'set BoardDescription "x\033[31m\302\233y é日"\n' >>texts.panel
go read --panel texts.panel ST3353606
output_has "control characters of a text" '"A\x90\x9D\x81\x7F\x0A'
check "nothing of them is left" lacks "$(cat out)" $'\302\220'
go info --panel texts.panel
output_has "control characters of a property" 'x\x1B[31m\x9By é日'
plant errors.panel <<<"fault OpenCommunication fail 3 \"no$(printf '\033\302\233')carrier\""
go read --panel errors.panel WO100
stderr_has "control characters of an error" 'no\x1B\x9Bcarrier'

# --- what the driver said of something else

cat >two.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
A=False#False#500#0#
B=False#False#500#0#
[Group:A]
a=WO100#0#0#1#3145828#1#False#False#
[Group:B]
b=WO104#0#0#1#3145832#1#False#False#
END
plant other.panel <<<'fault SetConfigurationMode fail 3 "irrelevant"'
go read --panel other.panel --config two.cfg --group nope
same "no such group: exit code" 1 $status
stderr_has "no such group" "nope"
check "no such group: nothing of an earlier failure" lacks "$(cat err)" irrelevant

finish
