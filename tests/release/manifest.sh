#!/bin/bash
# The manifest for use without registration says what the type library's source says:  manifest.sh x86|amd64 MANIFEST IDL
#   the processor; the creatable class with its identifier; a proxy for each dual interface, no more.
set -u
processor=$1 manifest=$2 idl=$3
status=0
offence() {
  echo "${manifest##*/}: $1"
  status=1
}
[ -s "$manifest" ] || { echo "there is no $manifest" >&2; exit 1; }

grep -q "processorArchitecture=\"$processor\"" "$manifest" || offence "is not for $processor"
[ "$(tr -dc '<' <"$manifest" | wc -c)" = "$(tr -dc '>' <"$manifest" | wc -c)" ] || offence "has tags that do not close"

# identifiers PATTERN: the identifiers of the declarations that match, one per line, as the manifest writes them.
identifiers() {
  awk -v wanted="$1" '
    match($0, /uuid\([0-9a-f-]+\)/) { id = "{" toupper(substr($0, RSTART + 5, RLENGTH - 6)) "}" }
    $0 ~ wanted { print id }' "$idl" | sort
}
class=$(identifiers '^  coclass KELDataServer ')
grep -qi "clsid=\"$class\"" "$manifest" || offence "does not name the class $class"
expected=$(identifiers '^  interface _[A-Za-z]+ : IDispatch')
found=$(grep -oi 'iid="{[0-9a-f-]*}"' "$manifest" | cut -d'"' -f2 | tr a-f A-F | sort)
[ -n "$expected" ] && [ "$found" = "$expected" ] ||
  offence "names other interfaces than the library has: $(diff <(echo "$expected") <(echo "$found") | grep '^[<>]' | xargs)"
[ $status -ne 0 ] || echo "well: $manifest"
exit $status
