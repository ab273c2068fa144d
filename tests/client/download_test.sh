#!/bin/bash
# `orvo download`.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

head -c 20480 /dev/zero >panel.fw
head -c 3000 /dev/zero >panel.obj
: >empty.fw

for kind in firmware project; do
  go download $kind --panel plant.panel panel.fw
  { printf "  $kind  %s %%\n" 0 10 20 30 40 50 60 70 80 90 100; echo "  $kind 'panel.fw' downloaded"; } >report
  prints "$kind of 20 blocks" 0 <report
done

go download project --panel plant.panel panel.obj
prints "few blocks" 0 <<'END'
  project  30 %
  project  60 %
  project  100 %
  project 'panel.obj' downloaded
END

# broken KIND FAULT TEXT
broken() {
  plant broken.panel <<<"fault $2"
  go download "$1" --panel broken.panel panel.fw
  same "$2: exit code" 1 $status
  same "$2: stderr" "$(printf "$3" "the $1 'panel.fw' was not downloaded")" "$(cat err)"
  check "$2: is not told to be complete" lacks "$(cat out)" "downloaded"
}
broken firmware 'DownloadFirmware break at block 11' \
  "orvo: error 4: %s: The download of 'panel.fw' broke off at block 11 of 20"
same "broken: what was reported before" "0 10 20 30 40 50" "$(awk '{ printf "%s%s", sep, $2; sep = " " }' out)"
broken project 'DownloadProject restart at block 1' \
  "orvo: error 4: %s: The download of 'panel.fw' broke off at block 1 of 20: the panel restarted"
broken firmware 'DownloadFirmware corrupt at block 2' \
  "orvo: error 4: %s: The download of 'panel.fw' was refused at block 2 of 20: its checksum is wrong"
broken firmware 'DownloadFirmware corrupt' \
  "orvo: error 4: %s: The download of 'panel.fw' was refused: the checksum of the image is wrong"
broken firmware 'DownloadFirmware fail 3 "line noise"' "orvo: error 3: %s: line noise"

go download firmware --panel plant.panel empty.fw
fails "an empty file" 1 "orvo: error 10: the firmware 'empty.fw' was not downloaded: 'empty.fw' is empty"
go download firmware --panel plant.panel nowhere.fw
fails "no file" 1 "orvo: error 53: the firmware 'nowhere.fw' was not downloaded: File not found: nowhere.fw"
go download firmware --panel plant.panel
same "no file name: exit code" 3 $status
go download memory --panel plant.panel panel.fw
same "neither firmware nor project: exit code" 3 $status
same "neither firmware nor project: output" "" "$(cat out)"
stderr_has "neither firmware nor project" "firmware"

finish
