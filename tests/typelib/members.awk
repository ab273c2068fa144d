# Turns the text of a type library (typelib_text) into the form of published.txt: names, order, directions and types, without
# identifiers, flags and helpstrings. With -v check=help it prints instead what has no helpstring, and fails if any.

function flush_class() {
  if (class != "") classes = classes class ": " implemented "\n"
  class = implemented = ""
}

# The position of a member in its interface: slots begin behind those of IUnknown or IDispatch.
function position(slot) { return base == "IUnknown" ? slot - 2 : slot - 6 }

{ text = $0; quoted = "" }
match(text, / ?".*"$/) { quoted = substr(text, RSTART); text = substr(text, 1, RSTART - 1) }
# Values of an enumeration cannot have one.
check == "help" && /"/ && quoted ~ /^ ?""$/ { print "no helpstring: " (text ~ /^  helpstring/ ? name : name text); missing++ }

/^library / { print $2; next }
/^(interface|dispinterface|enum|coclass) / {
  flush_class()
  kind = $1
  name = $2
  events = 0
  if (kind == "coclass") class = name
  else print "\n" name
}
/^  base / { base = $2 }
/^  flags .*cancreate/ { creatable = creatable "creatable " name "\n" }
/^  implements / {
  implemented = implemented (implemented == "" ? "" : ", ") ($0 ~ / source$/ ? "events " : "") $2
}
kind == "enum" && / = / { print "= " $3 " " $1 }
text ~ / (method|propget|propput|propputref) [A-Za-z0-9]+ id / || text ~ /^  method / {
  word = 1
  slot = kind == "dispinterface" ? "" : $(word++)
  invoke = $(word++)
  sub(/^prop/, "", invoke)
  member = $(word++)
  identifier = $(word + 1)
  if (kind == "dispinterface") { invoke = "event"; slot = identifier }
  else slot = position(slot)
  arguments = text
  sub(/^[^(]*\(/, "", arguments)
  sub(/( \{[a-z ]*\})?$/, "", arguments)
  sub(/\)$/, "", arguments)
  result = ""
  if (match(arguments, /(, )?\[out, retval\] .*$/)) {
    result = substr(arguments, RSTART)
    arguments = substr(arguments, 1, RSTART - 1)
    sub(/^(, )?\[out, retval\] /, "", result)
    sub(/ [A-Za-z]+$/, "", result)
    sub(/\*$/, "", result)
    result = " " result
  }
  print slot " " invoke " " member " (" arguments ")" result
}

END {
  flush_class()
  if (classes != "") printf "\n%s%s", creatable, classes
  exit missing > 0
}
