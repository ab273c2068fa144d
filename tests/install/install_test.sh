#!/bin/bash
# What an installation is good for: installs a build into an empty folder, and builds and runs clients and a driver with
# what is there; the Debian package of it too.
# Usage: install_test.sh BUILD_FOLDER SAMPLES_FOLDER SCRATCH_FOLDER
set -u -o pipefail
build=$1
samples=$2
scratch=$3

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# expect WHAT PATTERN TEXT
expect() {
  grep -qE -- "$2" <<<"$3" || fail "$1: nothing like '$2' in: $3"
  echo "ok: $1"
}

rm -rf "$scratch"
mkdir -p "$scratch"
here=$(dirname "$(readlink -f "$0")")
cd "$scratch" || exit 1
unset ORVO_DRIVER_PATH
export PKG_CONFIG_PATH=

cmake --install "$build" --prefix "$scratch/first" >install.log || fail "the installation"
# Everything must be found from where it is now: nothing may remember where it was built or first put.
mv first moved
prefix=$scratch/moved
lib=$(dirname "$(find "$prefix" -name liborvobusiness.a)")
[ -n "$lib" ] || fail "no library"
PATH=$prefix/bin:$PATH

cp -r "$samples/cpp-linux" "$samples/driver" .
output=$(cmake -G Ninja -S cpp-linux -B client -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" 2>&1 && cmake --build client 2>&1) ||
  fail "the client by find_package: $output"
output=$(cd cpp-linux && ../client/first_client 2>&1)
expect "the client by find_package runs to its end" '^DONE$' "$output"
expect "the client reads what it wrote" '^Speed  1500$' "$output"
expect "the client sees the change" '^changed: item 1 is 1500$' "$output"

output=$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --cflags --libs orvobusiness) || fail "pkg-config"
# Its words are meant to be split.
# shellcheck disable=SC2086
c++ cpp-linux/FirstClient.cpp $output -o by_pkg_config || fail "the client by pkg-config ($output)"
expect "the client by pkg-config runs to its end" '^DONE$' "$(cd cpp-linux && ../by_pkg_config 2>&1)"
# shellcheck disable=SC2086
c++ "$here/KitInOwnTests.cpp" $output -o kit_in_own_tests || fail "the kit in own tests"
expect "the kit runs in an author's own tests" '^passed [1-9][0-9]$' "$(./kit_in_own_tests)"
expect "pkg-config knows the version" '^[0-9]+\.[0-9]+\.[0-9]+$' "$(PKG_CONFIG_PATH=$lib/pkgconfig pkg-config --modversion orvobusiness)"

output=$(cmake -G Ninja -S driver -B driver/build -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" 2>&1 &&
  cmake --build driver/build 2>&1) || fail "the driver: $output"
expect "the client finds the installed driver" 'SimulatedPanel\.Channel\.so .*not used: the one that is built in' "$(orvo drivers)"
expect "the client names the folder of installed drivers" "$lib/orvobusiness/drivers" "$(orvo drivers)"
expect "the client finds the installed Modbus driver" 'Modbus\.Channel' "$(orvo drivers)"
printf '[Drivers]\nDataCommunication=Modbus.Channel\n1=tcp://127.0.0.1\n' >modbus.ini
expect "the planning tool is installed" 'The line keeps up' "$("$prefix/bin/orvo-modbus-plan" modbus.ini --items WO40001 2>&1)"
export ORVO_DRIVER_PATH=$scratch/driver/build
expect "the client finds the new driver" 'Sample\.Channel' "$(orvo drivers)"
bash driver/check.sh >kit.log 2>&1 || fail "the driver test kit: $(cat kit.log)"
expect "the driver passes the test kit" '[1-9][0-9]* passed, 0 failed' "$(cat kit.log)"
expect "the client reads through the new driver" '"value":0,"error":0' \
  "$(cd driver && orvo read WO0 --drivers drivers.ini --device-type 1 --format json 2>&1 | tr -d ' \n')"

for link in $(grep -oE '\]\((docs|samples)/[a-z./-]+\)' "$prefix/share/doc/orvobusiness/README.md" | tr -d '()]'); do
  [ -e "$prefix/share/doc/orvobusiness/$link" ] || fail "the README's link to $link leads nowhere"
done

[ -f "$prefix/share/bash-completion/completions/orvo" ] || fail "no completion for bash"
[ -f "$prefix/share/zsh/vendor-completions/_orvo" ] || fail "no completion for zsh"
[ -f "$prefix/share/fish/vendor_completions.d/orvo.fish" ] || fail "no completion for fish"
commands=$(orvo --help | awk '/^Subcommands:/ { on = 1; next } !NF { on = 0 } on { print $1 }')
[ "$(wc -w <<<"$commands")" -ge 12 ] || fail "orvo --help lists only: $commands"
for command in $commands; do
  grep -qE "^\\.SS \"?$command[ \"\\\\]" "$prefix/share/man/man1/orvo.1" || fail "the manual page does not tell of '$command'"
  for option in $(orvo "$command" --help | grep -oE -- '^ +(-h,)?--[a-z-]+' | grep -oE -- '--[a-z-]+'); do
    # In the pages hyphens of options are written as minus signs.
    grep -qF -- "${option//-/\\-}" "$prefix/share/man/man1/orvo.1" || fail "the manual page does not tell of '$command $option'"
  done
done
echo "ok: the manual page tells of each command and option"

# A package for a test is not compressed well.
cpack --config "$build/CPackConfig.cmake" -B "$scratch/package" -D CPACK_DEBIAN_COMPRESSION_TYPE=gzip >cpack.log 2>&1 ||
  fail "the Debian package: $(cat cpack.log)"
deb=$(find package -maxdepth 1 -name '*.deb')
expect "the package is named as Debian names packages" '^package/orvobusiness_[0-9.]+_[a-z0-9]+\.deb$' "$deb"
expect "the package names what it needs" 'libc6' "$(dpkg-deb -f "$deb" Depends)"
dpkg-deb -x "$deb" root || fail "the package cannot be unpacked"
output=$(root/usr/bin/orvo read WO104:signed) || fail "the packaged client: $output"
expect "the packaged client reads" 'WO104' "$output"
[ ! -e root/usr/local ] || fail "the package puts files into /usr/local"
cd / && rm -rf "$scratch"
echo "DONE"
