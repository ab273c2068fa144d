#!/bin/bash
# `orvo completion`: the scripts are loaded into their shells, and keys are pressed.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/client.sh"

for shell in bash zsh fish; do
  go completion $shell
  same "completion $shell: exit code" 0 $status
  same "completion $shell: stderr" "" "$(cat err)"
  cp out orvo.$shell
  if command -v $shell >/dev/null; then
    check "completion $shell: its syntax" $shell -n orvo.$shell
  else
    echo "skipped: there is no $shell here that could load its script"
  fi
done

# --- bash, asked as it asks a completion function

bash -n orvo.bash || finish
. ./orvo.bash
same "bash: the function is registered" "complete -F _orvo orvo" "$(complete -p orvo)"
compopt() { :; }
# completes LINE EXPECTED...: the candidates for the last word of the line, which may be empty.
completes() {
  local line=$1
  shift
  read -ra COMP_WORDS <<<"$line"
  [[ $line != *' ' ]] || COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _orvo
  same "bash: $line" "$*" "${COMPREPLY[*]}"
}
mkdir files && cd files || exit 2
touch plant.panel plant.cfg panel.fw

completes "orvo re" read
completes "orvo wa" watch
completes "orvo d" demo download drivers
completes "orvo " demo info items read write explain watch download config errors drivers completion -h --help --version
completes "orvo download " firmware project -h --help
completes "orvo download firmware pa" panel.fw
completes "orvo config " check save -h --help
completes "orvo config check plant.c" plant.cfg
completes "orvo completion " bash zsh fish -h --help
completes "orvo read --fo" --format
completes "orvo read --format " table csv json
completes "orvo read --format j" json
completes "orvo read WO100 --panel plant.p" plant.panel
completes "orvo read WO100 --pa" --panel
completes "orvo watch --co" --config --count
completes "orvo watch --rate " ""
completes "orvo errors --f" --format
completes "orvo info --timeout" ""
cd ..

# --- bash, with the keys of a user

cat >rc <<'END'
PS1='ready> '
bind 'set bell-style none' 'set enable-bracketed-paste off'
orvo() { printf '<%s>' "$@"; echo; }
. ./orvo.bash
END
mkfifo keys
exec 8<>keys
export TERM=dumb
start script -qefc "stty cols 200; exec bash --noprofile --rcfile rc -i" /dev/null <&8
printf 'orvo wat\tFL112 --form\tc\t--pan\tplant.p\t\n' >&8
check "bash: keys" await 10 '^<'
same "bash: keys" "<watch><FL112><--format><csv><--panel><plant.panel>" "${line%$'\r'}"
printf 'exit\n' >&8
await_end 10

finish
