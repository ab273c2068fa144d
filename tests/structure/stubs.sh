#!/bin/bash
# Sourced after assert.sh: a PATH of stubs only, in which packages are "installed" without a Debian system being touched.
#   $scratch/installed   one package per line that dpkg-query reports as installed
#   $scratch/calls       one line per call of apt-get and sudo
#   $scratch/user        what id -u says
#   $scratch/fail        the apt-get command that fails (update or install), or nothing

tools=(awk bash cat cp dirname env flock grep mkdir mktemp nproc readlink rm sed sort timeout tr xargs find)

set_up_stubs() {
  bin=$scratch/bin
  rm -rf "$bin"
  mkdir -p "$bin"
  for tool in "${tools[@]}"; do ln -s "$(command -v "$tool")" "$bin/$tool"; done
  : >"$scratch/installed"
  : >"$scratch/calls"
  echo 0 >"$scratch/user"
  : >"$scratch/fail"
  export scratch
  stub "$bin/dpkg-query" <<'STUB'
package=${!#}
if grep -qx "$package" "$scratch/installed"; then printf installed
elif grep -qx "$package (removed)" "$scratch/installed"; then printf config-files
else echo "dpkg-query: no packages found matching $package" >&2; exit 1
fi
STUB
  stub "$bin/apt-get" <<'STUB'
words=()
for word in "$@"; do [[ $word == -* || $word == *::* ]] || words+=("$word"); done
echo "apt-get ${words[*]}" >>"$scratch/calls"
if [ "${words[0]}" = "$(cat "$scratch/fail")" ]; then echo "apt-get broke here"; exit 100; fi
[ "${words[0]}" != install ] || printf '%s\n' "${words[@]:1}" >>"$scratch/installed"
STUB
  stub "$bin/id" <<'STUB'
cat "$scratch/user"
STUB
}

add_sudo() {
  stub "$bin/sudo" <<'STUB'
echo "sudo" >>"$scratch/calls"
exec "$@"
STUB
}
