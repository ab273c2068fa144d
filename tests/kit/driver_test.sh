#!/bin/bash
# orvo-driver-test as its users run it.
# Usage: driver_test.sh PROGRAM FOLDER_OF_THE_PANEL FOLDER_OF_ANOTHER_BUILD FOLDER_OF_ANOTHER_CONTRACT SCRATCH_FOLDER PAGE
set -u
program=$1
panel=$2
other_build=$3
other_contract=$4
scratch=$5
page=$6
rm -rf "$scratch" && mkdir -p "$scratch" && cd "$scratch" || exit 1
export ORVO_DRIVER_PATH=$panel

# run EXPECTED_EXIT_CODE ARGUMENTS...: the output is in $out and $err
run() {
  local expected=$1 code
  shift
  out=$("$program" "$@" 2>err.txt)
  code=$?
  err=$(cat err.txt)
  [ $code -eq "$expected" ] || fail "exit code $code instead of $expected: $*"
}
fail() {
  printf 'FAILED: %s\n%s\n%s\n' "$1" "${out-}" "${err-}" >&2
  exit 1
}
# has TEXT PATTERN
has() {
  grep -qE -- "$2" <<<"$1" || fail "nothing like '$2'"
}
board=(--item WO100 --item FL104 --timeout 10 --quiet 0.02)

run 0 --help
has "$out" 'orvo-driver-test SimulatedPanel.Channel --kind PanelB'
has "$out" 'Exit code: 0'
run 0 --list
checks=$(wc -l <<<"$out")
[ "$checks" -gt 50 ] || fail "only $checks checks are listed"
has "$out" '^answers-once +A read is answered exactly once\.$'

run 2 SimulatedPanel.Channel --frob
has "$err" '^orvo-driver-test: .*--frob'
grep -qv '^orvo-driver-test: ' <<<"$err" && fail "a line of the error output does not begin with the program's name"

run 0 SimulatedPanel.Channel --kind PanelB "${board[@]}" --write WO100=7 --write FL104=-2.5 --wrong-item XX1
has "$out" '^passed  answers-once$'
has "$out" '^passed  reads-back$'
has "$out" '^-       reads-groups +the driver transfers no whole groups$'
has "$out" "^$checks checks: [0-9]+ passed, 0 failed, [0-9]+ not applicable$"
[ "$(grep -c . <<<"$out")" -eq $((checks + 1)) ] || fail "not one line for each check"
[ -z "$err" ] || fail "something on the error output"

echo 'fault ReadItems twice' >twice.panel
run 1 SimulatedPanel.Channel --kind 'PanelB?twice.panel' "${board[@]}"
has "$out" '^FAILED  answers-once +2 answers instead of 1 to one read; asked: A read is answered exactly once\.$'
has "$out" '^-       writes +no value is given that may be written$'
has "$out" ' [1-9][0-9]* failed, '

# The page of the documents shows what the program prints: each line of its example, but for those that it leaves out.
echo 'fault ReadItems twice' >noisy.panel
command=$(sed -n 's/^    \$ \(orvo-driver-test .*\)$/\1/p' "$page")
[ "$(wc -l <<<"$command")" -eq 1 ] || fail "not one example in $page"
out=$(eval "${command/#orvo-driver-test/\"$program\"} --quiet 0.02")
shown=$(awk '/^    \$ orvo-driver-test / { on = 1; next } on && !/^    / { exit } on && !/^    \.\.\.$/ { print substr($0, 5) }' "$page")
[ "$(wc -l <<<"$shown")" -gt 5 ] || fail "no example in $page"
while IFS= read -r line; do
  grep -qxF -- "$line" <<<"$out" || fail "the page shows a line that is not printed: $line"
done <<<"$shown"
grep -q " $checks checks, each with a stable name" "$page" || fail "the page does not tell of $checks checks"

printf 'set GroupTransfer True\n' >groups.panel
printf '[Drivers]\nDataCommunication=SimulatedPanel.Channel\nNetworkType=1\n2=PanelB?groups.panel\n' >drivers.ini
head -c 3000 /dev/zero >firmware.bin
run 0 --drivers drivers.ini --device-type 2 "${board[@]}" --write WO100=7 --firmware firmware.bin --group 5
has "$out" '^passed  writes-groups$'
has "$out" '^passed  downloads-firmware$'
run 2 --drivers drivers.ini --device-type 3 "${board[@]}"
has "$err" "error 5: .*'drivers.ini' has no key 3 in its section Drivers"
run 2 --drivers none.ini "${board[@]}"
has "$err" "error 53: .*none.ini"

run 1 SimulatedPanel.Channel --kind PanelB "${board[@]}" --write WO100=seven
has "$out" "^FAILED  writes +'seven' cannot be written to 'WO100': it is no number"
run 1 SimulatedPanel.Channel --kind PanelB --item WO101 --timeout 10 --quiet 0.02
has "$out" '^FAILED  compiles-items '

run 2
has "$err" 'progid or --drivers'
run 2 SimulatedPanel.Channel --kind PanelB
has "$err" '--item is required'
run 2 SimulatedPanel.Channel --kind PanelB --item WO100 --write WO100
has "$err" "'WO100' is not ITEM=VALUE"
run 2 SimulatedPanel.Channel --no-such-option
run 2 No.Such --item WO100
has "$err" "error 429: .*no library 'No.Such.so' is in '$panel'"

run 2 Other.Channel --path "$other_build" --item R0
has "$err" "'$other_build/Other.Channel.so' was built with another compiler 1, 64 bits, this program with (g|clang)\+\+ "
run 2 Other.Channel --path "$other_contract" --item R0
has "$err" 'was made for version 999 of the driver contract, this program for version 1'
echo 'no library' >Torn.Channel.so
run 2 Torn.Channel --path "$scratch" --item R0
has "$err" "the library '$scratch/Torn.Channel.so' cannot be loaded: .*(file too short|invalid ELF header)"
# The folder that is given comes before those of the environment.
cp Torn.Channel.so SimulatedPanel.Channel.so
run 2 SimulatedPanel.Channel --path "$scratch" --item WO100
has "$err" 'cannot be loaded'
cd / && rm -rf "$scratch"
echo DONE
