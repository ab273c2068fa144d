#!/bin/bash
# What the README shows of the client: `orvo demo`, and a first configuration.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

# still FILE: the part that the README shows up to the changes, without the values that move. The request that waits is
# cancelled at its turn, which on a machine that is busy can come before the answer of the one ahead is handed over.
still() {
  awk '/^A synchronous read/ { on = 1 }
       on && $2 ~ /^(BI|BY|DW|FL)|^WO104/ { $0 = "  " $1 " " $2 }
       on && /^  event AsyncCancelComplete  transaction 4/ && last !~ /transaction 3/ { late = $0; next }
       on { print; last = $0 }
       late != "" && /transaction 3/ { print late; late = "" }
       /^DataChange events/ { exit }' "$1"
}

go demo --for 1.2
same "demo: exit code" 0 $status
same "demo: stderr" "" "$(cat err)"
same "demo: the driver configuration file comes first" "The driver configuration file:" "$(head -1 out)"
still "$here/../../README.md" >expected
still out >shown
check "demo: the README shows it" [ "$(wc -l <expected)" -gt 20 ]
differs "demo" "what the README shows" expected shown
sed '1,/^DataChange/d' out >changes
check "demo: changes" [ "$(grep -cE '^ +[0-9]+\.[0-9] s  [A-Z]' changes)" -ge 2 ]
check "demo: the count of them" grep -qxE "[0-9]+ DataChange events with [0-9]+ changed values" <(tail -1 changes)
check "demo: every item at first" grep -qE '^ +0\.[0-9] s  BI100.3=.*  BY103=.*  WO104=.*  WO106=1234  DW108=.*  FL112=.*  ST.*  RA036=' \
  changes

# --- the commands of the README's first configuration, in their order, and the file that it shows

block() { awk '/^```/ { on = 0 } on; /^```/ { getline; if (/^[$] cat plant[.]panel/) on = 1 }' "$here/../../README.md"; }
block | grep -v '^\$' >plant.panel
check "first configuration: a panel script" [ "$(wc -l <plant.panel)" -ge 3 ]
commands=0
while IFS= read -r line; do
  eval "words=(${line#*./run })"
  go "${words[@]}"
  same "$line: exit code" 0 $status
  same "$line: stderr" "" "$(cat err)"
  check "$line: output" [ -s out ]
  cp out "out_${words[0]}"
  commands=$((commands + 1))
done < <(block | grep '^\$ \./run ')
same "first configuration: commands" 3 $commands
check "first configuration: what is read" grep -qE ' WO100 .* 1500 +0$' out_read

finish
