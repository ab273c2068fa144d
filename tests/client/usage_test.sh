#!/bin/bash
# What the client says of itself, and to whoever uses it wrongly.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

commands=(demo info items read write explain watch download config errors drivers completion)
deep=("download firmware" "download project" "config check" "config save")

go --help
same "--help: exit code" 0 $status
same "--help: stderr" "" "$(cat err)"
for command in "${commands[@]}"; do
  check "--help: $command" grep -qE "^  $command +[a-z]" out
done
for code in "0 success" "1 an error" "2 an item" "3 wrong usage" "4 config check" "5 watch" "130 Ctrl-C"; do
  output_has "--help: exit codes" "$code"
done
cp out help
go -h
prints "-h" 0 <help
go --version
prints "--version" 0 <<<"orvo 0.1.0"

# Each command's help ends with an example, which works as it stands.
echo "a file to load" >README.md
for command in "${commands[@]}" "${deep[@]}"; do
  go $command --help
  same "$command --help: exit code" 0 $status
  check "$command --help: options" grep -q '^Options:' out
  example=$(sed -n '$s/^Example: //p' out)
  check "$command --help: an example of $command" contains "$example" "orvo $command"
  read -ra words <<<"${example%%>*}"
  [ "${words[*]}" = "orvo config check plant.cfg" ] && go config save plant.cfg WO100
  go "${words[@]:1}"
  same "$example: exit code" 0 $status
  same "$example: stderr" "" "$(cat err)"
done

# wrong PART ARGUMENTS...: usage that is refused, with a message that has the part.
wrong() {
  local part=$1
  shift
  go "$@"
  same "orvo $*: exit code" 3 $status
  same "orvo $*: output" "" "$(cat out)"
  check "orvo $*: stderr begins with the name" [ "$(head -c 6 err)" = "orvo: " ]
  stderr_has "orvo $*" "$part"
  stderr_has "orvo $*" "--help"
}
wrong "command"
wrong "frobnicate" frobnicate
wrong "--frob" --frob
wrong "memory" download memory panel.fw
wrong "mend" config mend line.cfg
wrong "shell" completion
wrong "tcsh" completion tcsh
for command in info items "read WO100" "write WO100=1" "watch --count 1 WO100" errors drivers; do
  wrong "--frob" $command --frob
  [[ $command == errors || $command == drivers ]] || wrong "many" $command --device-type many
  [[ $command == write* ]] || wrong "xml" $command --format xml
done
wrong "--panel" info --panel
wrong "--config" read --group Line WO100
wrong "BaudRate" info --set Nonsense=1
wrong "NAME=VALUE" info --set BaudRate

finish
