#!/bin/bash
# Scripts create the server by its identifier where nothing is registered, from a manifest beside the library:
#   registration_free.sh RUNNER SCRIPT_HOST SERVER_DLL
set -u -o pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$(readlink -f "$here/../..")
runner=$1 host=$2 server=$3
scratch=$(mktemp -d)
export ORVO_WINE_PREFIX=$scratch/prefix
trap '"$root/tools/wine/prefix" end "$ORVO_WINE_PREFIX" >/dev/null 2>&1; rm -rf "$scratch"' EXIT
cp "$server" "$root/samples/drivers.ini" "$scratch/"
version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+) .*$/\1/p' "$root/CMakeLists.txt")
"$root/tools/release/manifest" x64 "$version" >"$scratch/ORVOBusiness.manifest" || exit 1
cd "$scratch" || exit 1

# run SCRIPT OPTIONS...: its output by way of a file, as what Wine starts in the background may hold a pipe for ever.
run() {
  local script=$1 status
  shift
  timeout 60 "$runner" "$host" --marker --prelude "$here/support/checks.${script##*.}" "$@" "$here/$script" \
    >output 2>&1 </dev/null
  status=$?
  cat output
  return $status
}

run collections.vbs
if [ $? -ne 1 ] || ! grep -q "ActiveX component can't create object" output; then
  echo "FAILED: there is a server before there is a manifest"
  exit 1
fi
for script in collections.vbs round.vbs collections.js events.js; do
  echo "$script"
  run "$script" --actctx ORVOBusiness.manifest || exit 1
done
