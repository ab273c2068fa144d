#!/bin/bash
# What sample_check must find in a sample:  check_test.sh SAMPLE_CHECK LIBRARY_TEXT SAMPLES_FOLDER
set -u
check=$1 library=$2 samples=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0

# finds FOLDER SED_SCRIPT MESSAGE: the check fails with the message on a copy of the sample that is changed so.
finds() {
  local folder=$1 script=$2 message=$3 output
  rm -rf "${scratch:?}/copy"
  cp -r "$samples/$folder" "$scratch/copy"
  sed -i -E "$script" "$scratch/copy"/*
  if diff -r "$samples/$folder" "$scratch/copy" >/dev/null; then
    echo "$folder: '$script' changes nothing"
    status=1
  elif output=$("$check" "$library" "$scratch/copy"/*); then
    echo "$folder: '$script' is not found"
    status=1
  elif ! grep -qF -- "$message" <<<"$output"; then
    printf '%s\n' "$folder: '$script' is found with another message than \"$message\":" "$output"
    status=1
  fi
}

for folder in vba csharp powershell python; do
  finds $folder 's/SyncRead/SyncReed/' "there is no member KELDataGroup.SyncReed"
  finds $folder 's/SyncRead *\(?(ref )?\$?handles, /&0, /' "SyncRead is called with 4 arguments; it takes 3"
  finds $folder 's/\.ServerStatus/.ServerState/' "there is no member KELDataServer.ServerState"
  finds $folder 's/([gG]roup\.)UpdateRate = /\1GroupId = /' "KELDataGroup.GroupId cannot be set"
  [ $folder = csharp ] || finds $folder 's/KELDataServer/KELDataServant/' "there is no class KELDataServant"
  finds $folder 's/OpenCommunication/CloseCommunication/' "does not show _KELDataServer.OpenCommunication"
done
finds vba 's/mGroup_DataChange/mGroup_DataChanged/' "there is no event DataChanged"
finds vba 's/(DataHandles\(\) As Long), USERValues\(\) As Variant/\1/' "the event DataChange has 2 arguments, not 1"
finds vba 's/items\.Add\("WO100", "Speed"\)/items.Add/' "Add is called with 0 arguments; it takes 1 to 2"
finds vba 's/Handle\b$/Handel/' "there is no member KELDataItem.Handel"
finds csharp 's/KELDataServer/KELDataServant/' "does not show _KELDataServer.DeviceType"
finds csharp 's/group\.DataChange \+=/group.DataChanges +=/' "there is no event DataChanges"
finds csharp 's/OnDataChange\(ref Array DataHandles, /OnDataChange(/' "the event DataChange has 2 arguments, not 1"
finds csharp 's/group\.KELDataItems;/group.KELDataItems();/' "is a property: it takes no arguments"
finds csharp 's/\.ItemName/.Name/' "there is no member KELDataItem.Name"
finds powershell 's/DispId\(5\)/DispId(6)/' "the event AsyncWriteComplete has the identifier 5"
finds powershell 's/f45283ea/f45283eb/' "the group's events have the identifier {F45283EA-"
finds powershell 's/\.BoardDescription/.BoardText/' "there is no member KELDataServer.BoardText"
finds powershell 's/OpenCommunication\(\)/OpenCommunication/' "is a method: it is called with brackets"
finds python 's/OnDataChange/OnDataChanges/' "there is no event DataChanges"
finds python 's/, USERValues\)/)/' "the event DataChange has 2 arguments, not 1"
finds python 's/CloseCommunication\(\)/CloseCommunication(1)/' "CloseCommunication is called with 1 arguments; it takes 0"
[ $status -ne 0 ] || echo "well: each mistake was found"
exit $status
