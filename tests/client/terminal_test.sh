#!/bin/bash
# `orvo watch` and `orvo download` on a pseudo terminal: a table that is drawn over itself.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"
export TERM=xterm

# on_terminal ROWS COLUMNS ARGUMENTS...: runs the client there; leaves status, the file drawn (all that it wrote) and the
# file screen (what is to be seen at the end; screen.awk).
on_terminal() {
  local rows=$1 columns=$2
  shift 2
  timeout 30 script -qefc "stty rows $rows cols $columns; exec $(printf '%q ' "${client[@]}" "$@")" /dev/null \
    </dev/null >drawn 2>err
  status=$?
  awk -v rows="$rows" -v columns="$columns" -f "$here/screen.awk" drawn >screen
}

# shows NAME STATUS: what comes in is on the screen; numbers that move are N there.
shows() {
  same "$1: exit code" "$2" $status
  cat >expected
  differs "$1" screen expected screen
}

# --- a table that has room

plant moving.panel <<<'signal DW120 counter 1000 to 9000 every 20 ms'
on_terminal 12 78 watch --panel moving.panel --rate 100 --count 4 WO100:signed DW120 ST0020010
sed -i -E 's/ [1-9][0-9]{3} / NNNN /; s/[0-9]{2}:[0-9]{2}:[0-9]{2}(\.[0-9]+)?/TIME/; s/[0-9]+\.[0-9] s/N s/' screen
check "a table: drawn at least three times over" [ "$(sed -n 's/^# redrawn //p' screen)" -ge 3 ]
sed -i '/^# redrawn/d' screen
shows "a table" 0 <<'END'
  item    identifier    value         error  changed at
  ------  ------------  ------------  -----  ------------
  Item_1  WO100 signed  -25536               TIME
  Item_2  DW120         NNNN                 TIME
  Item_3  ST0020010     "Vanilla 3%"         TIME
  N s  4 DataChange events with 6 changed values
# cursor shown
# wrapped 0
# scrolled 0
# above the screen 0
END

# --- too little room

everything=(WO{200..238..2})
plant moving.panel <<<'signal WO200 counter 1000 to 9000 every 20 ms'
on_terminal 10 40 watch --panel moving.panel --rate 100 --count 5 "${everything[@]}" ST0020010
same "a small terminal: exit code" 0 $status
check "a small terminal: no row is too long" grep -qx '# wrapped 0' screen
check "a small terminal: nothing scrolls away while it is drawn over" grep -qx '# above the screen 0' screen
check "a small terminal: drawn at least four times over" [ "$(sed -n 's/^# redrawn //p' screen)" -ge 4 ]
check "a small terminal: the cursor is back" grep -qx '# cursor shown' screen
check "a small terminal: nothing unknown" lacks "$(cat screen)" "# unknown"
shown=$(grep -c '  Item_' screen)
check "a small terminal: as many rows as there is room for ($shown)" [ "$shown" -ge 4 ]
check "a small terminal: the others are counted" grep -qx "  ... $((21 - shown)) more rows do not fit" screen

on_terminal 3 20 watch --panel moving.panel --rate 100 --count 3 "${everything[@]}"
same "hardly a terminal: exit code" 0 $status
check "hardly a terminal: no row is too long" grep -qx '# wrapped 0' screen
check "hardly a terminal: nothing scrolls away" grep -qx '# above the screen 0' screen
check "hardly a terminal: the cursor is back" grep -qx '# cursor shown' screen

# --- the other formats stay lines

on_terminal 12 78 watch --panel moving.panel --rate 100 --count 2 --format csv WO200
same "csv on a terminal: exit code" 0 $status
check "csv on a terminal: nothing is drawn over" grep -qx '# redrawn 0' screen
check "csv on a terminal: lines" [ "$(tr -d '\r' <drawn | grep -c ',WO200,[0-9]*,0$')" = 2 ]

# --- silence, and the end by it

plant mute.panel <<<'fault ReadItems never after 2'
on_terminal 12 78 watch --panel mute.panel --rate 100 --for 3.5 WO100
same "silent: exit code" 5 $status
check "silent: it is said" grep -q "group 'watch' is silent: no answer since" screen
check "silent: the cursor is back" grep -qx '# cursor shown' screen

# The table itself tells it: what is said may go elsewhere.
plant pause.panel <<<'fault ReadItems delay 3 s after 3 times 1'
timeout 30 script -qefc "stty rows 12 cols 78; exec $(printf '%q ' "${client[@]}") watch --panel pause.panel --rate 100 \
  --for 5 WO100 2>said" /dev/null </dev/null >drawn
check "silent: the table says so" grep -qE '^  silent since [0-9]{2}:[0-9]{2}:[0-9]{2}: watch.?$' drawn
awk -v rows=12 -v columns=78 -f "$here/screen.awk" drawn >screen
check "answers again: the table no longer says silent" lacks "$(cat screen)" silent
check "answers again: the values are there" grep -q '40000' screen

# --- names that are wide, or mean something to a terminal

cat >wide.cfg <<'END'
[Communication Parameters]
DeviceType=2
[Groups]
Line=False#False#100#0#
[Group:Line]
温度センサー温度センサー温度センサー=WO100#0#0#1#3145828#0#False#False#
END
on_terminal 12 50 watch --panel plant.panel --config wide.cfg --count 4 --rate 50
check "wide names: nothing wraps" grep -qx '# wrapped 0' screen
check "wide names: nothing unknown" lacks "$(cat screen)" "# unknown"
check "wide names: one table" [ "$(grep -c -- '-----' screen)" = 1 ]

# --- a download

head -c 5000 /dev/zero >panel.fw
on_terminal 12 60 download firmware --panel plant.panel panel.fw
same "download: exit code" 0 $status
check "download: one line, drawn over" [ "$(grep -vc '^#' screen)" -le 2 ]
check "download: ends with 100 %" grep -q '100 %' screen
check "download: the cursor is back" grep -qx '# cursor shown' screen
check "download: no row is too long" grep -qx '# wrapped 0' screen

finish
