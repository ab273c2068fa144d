#!/bin/bash
# Sourced by `run` and `test`: installs Debian packages that are missing, and only those.
#
# need_packages WHY PACKAGE...   succeeds at once, silently and without a package list being read, when every package
#                                is installed. Otherwise: one update, one install of what is missing. Fails with a
#                                message on stderr when that is not possible.

package_is_installed() {
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

need_packages() {
  local why=$1 package
  local -a missing=() as_root=()
  shift
  if ! command -v dpkg-query >/dev/null; then
    echo "note: this is not a Debian system; ${why} needs what these packages hold: $*" >&2
    return 0
  fi
  for package in "$@"; do
    package_is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "error: ${why} needs these packages: ${missing[*]}" >&2
      echo "       You are not root and there is no sudo here. As root: apt-get install ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "installing for ${why}: ${missing[*]} ..." >&2
  as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=120)
  local output
  if ! output=$("${as_root[@]}" update 2>&1 </dev/null); then
    printf '%s\n' "$output" "error: the package lists could not be refreshed" >&2
    return 1
  fi
  if ! output=$("${as_root[@]}" install -y --no-install-recommends "${missing[@]}" 2>&1 </dev/null); then
    printf '%s\n' "$output" "error: could not install ${missing[*]}" >&2
    return 1
  fi
}
