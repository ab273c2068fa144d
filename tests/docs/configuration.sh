#!/bin/bash
# The configuration that docs/configuration.md shows is one, and has what the page says.
# Usage: configuration.sh ORVO docs/configuration.md
set -u
file=$(mktemp -d)/example.cfg
trap 'rm -rf "$(dirname "$file")"' EXIT
awk '/^```ini$/ { on = 1; next } /^```/ { on = 0 } on' "$2" >"$file"
output=$("$1" config check "$file" && "$1" items --config "$file" --format csv)
expected='no problems
group,identifier,name,type,words,bytes,address,offset,signed,bcd
Press,WO100,Speed,integer,1,2,3145828,0,true,false
Press,FL112,Temperature,floating point,2,4,5242992,0,false,false
Recipes,ST0020010,Recipe,string,5,10,6291656,0,false,false
Recipes,WO106,Batch,integer,1,2,3145834,0,false,true'
diff <(echo "$expected") <(echo "$output")
