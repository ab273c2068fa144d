#!/bin/bash
# A folder as a user gets it, in a Windows where nothing is registered yet:
#   in_place.sh WITHOUT_REGISTRATION|MACHINE|USER SERVER_DLL PANEL_DLL CPP_SAMPLE
# The sample must fail at first, with the number that README.txt explains, and work after what the user does.
set -u -o pipefail
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$(readlink -f "$here/../..")
way=$1 server=$2 panel=$3 client=$4
scratch=$(mktemp -d)
export ORVO_WINE_PREFIX=$scratch/prefix
trap '"$root/tools/wine/prefix" end "$ORVO_WINE_PREFIX" >/dev/null 2>&1; rm -rf "$scratch"' EXIT
version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+) .*$/\1/p' "$root/CMakeLists.txt")
folder="$scratch/a folder"
mkdir -p "$folder"
cp "$server" "$panel" "$root/samples/drivers.ini" "$folder/"
cp "$client" "$folder/FirstClient.exe"
"$root/tools/release/registration_scripts" x64 "$folder"
cd "$folder" || exit 1

fail() {
  echo "FAILED: $1"
  exit 1
}
wine() { timeout 60 "$root/tools/wine/run" "$@" </dev/null; }
sample_works() { bash "$root/tests/samples/run_cpp.sh" "$root/tools/wine/run" FirstClient.exe || fail "$1"; }
sample_finds_no_server() {
  wine FirstClient.exe | tee "$scratch/output"
  grep -q '^FAILED: error 0x80040154' "$scratch/output" || fail "$1"
}
# has_key KEY: whether the registry has it. Another failure than its absence ends the test.
has_key() {
  local output
  output=$(wine reg.exe query "$1" 2>&1) && return 0
  grep -q 'Unable to find' <<<"$output" || fail "reg query $1 says: $output"
  return 1
}
script() { wine cmd.exe /c "$1" || fail "$1"; }

sample_finds_no_server "before anything is done there is a server"
case $way in
  WITHOUT_REGISTRATION)
    "$root/tools/release/manifest" x64 "$version" >ORVOBusiness.manifest || fail "no manifest"
    cat >FirstClient.exe.manifest <<MANIFEST
<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="FirstClient" version="1.0.0.0" processorArchitecture="amd64"/>
  <dependency><dependentAssembly>
    <assemblyIdentity type="win32" name="ORVOBusiness" version="$version.0" processorArchitecture="amd64"/>
  </dependentAssembly></dependency>
</assembly>
MANIFEST
    sample_works "the sample does not work by its manifest"
    ! has_key 'HKCR\ORVOBusiness.KELDataServer' || fail "something was registered"
    ;;
  MACHINE)
    script register-machine.cmd
    has_key 'HKLM\Software\Classes\ORVOBusiness.KELDataServer' || fail "the server is not registered for the machine"
    has_key 'HKLM\Software\Classes\SimulatedPanel.Channel.1' || fail "the panel is not registered for the machine"
    sample_works "the sample does not work after register-machine.cmd"
    sed -i 's/SimulatedPanel\.Channel/SimulatedPanel.Channel.1/' drivers.ini
    sample_works "the sample does not work with the panel as a driver of its own"
    script unregister-machine.cmd
    ! has_key 'HKLM\Software\Classes\ORVOBusiness.KELDataServer' || fail "the server stays registered"
    ! has_key 'HKLM\Software\Classes\SimulatedPanel.Channel.1' || fail "the panel stays registered"
    sample_finds_no_server "the server is found after unregister-machine.cmd"
    ;;
  USER)
    # Wine finds no classes of a user: the keys are what can be looked at.
    script register-user.cmd
    has_key 'HKCU\Software\Classes\ORVOBusiness.KELDataServer' || fail "the server is not registered for the user"
    has_key 'HKCU\Software\Classes\SimulatedPanel.Channel.1' || fail "the panel is not registered for the user"
    ! has_key 'HKLM\Software\Classes\ORVOBusiness.KELDataServer' || fail "the server is registered for the machine"
    script unregister-user.cmd
    ! has_key 'HKCU\Software\Classes\ORVOBusiness.KELDataServer' || fail "the server stays registered"
    ! has_key 'HKCU\Software\Classes\SimulatedPanel.Channel.1' || fail "the panel stays registered"
    ;;
  *) fail "unknown way $way" ;;
esac
echo "well: $way"
