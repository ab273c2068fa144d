#!/bin/bash
# Installs the packages of package-lock.json into FOLDER:  install_packages.sh FOLDER
# FOLDER/installed tells that it worked. When it did not, FOLDER/unavailable.txt tells why, and the build goes on: the tests
# that need the packages skip with that reason, and the next build tries again.
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
folder=${1:?usage: install_packages.sh FOLDER}
mkdir -p "$folder" && cp "$here/package.json" "$here/package-lock.json" "$folder" && cd "$folder" || exit 1
rm -rf installed unavailable.txt node_modules
if ! command -v npm >/dev/null; then
  reason="there is no npm here"
elif output=$(timeout 120 npm ci --no-audit --no-fund --ignore-scripts --omit=optional --fetch-retries=1 \
  --fetch-timeout=20000 2>&1 </dev/null); then
  touch installed
  exit 0
else
  reason=$(grep -m 1 -E '^npm (ERR!|error)' <<<"$output")
  reason=${reason:-npm has not come to an end}
fi
rm -rf node_modules
echo "$reason" | tee unavailable.txt
