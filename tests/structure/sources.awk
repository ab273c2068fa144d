# The rules for single files: folder direction, length, header form, words. Called by check.sh with paths from the root.

BEGIN {
  # A folder of business/ may include itself and the folders to its left.
  count = split("errors values platform spooler model server com", order, " ")
  for (i = 1; i <= count; i++) rank[order[i]] = i
  DriverReach = rank["spooler"]
  MaxLines = 500
  # The bracketed letters keep this file free of the words themselves.
  Marks = "(^|[^A-Za-z0-9_])(T[O]DO|F[I]XME|X[X]X)([^A-Za-z0-9_]|$)"
  Sleeps = "(^|[^A-Za-z0-9_])(u[s]leep|nano[s]leep|sleep[_](for|until))([^A-Za-z0-9_]|$)"
}

function offence(line, text) {
  print FILENAME ":" line ": " text
  offences++
}

# The folder of business/ in which the file lies; "" for its root files and for files elsewhere.
function business_folder(file,   part) {
  return split(file, part, "/") > 2 && part[1] == "business" ? part[2] : ""
}

function check_include(name,   folder, target, part, depth, own) {
  if (tolower(name) == "windows.h" && FILENAME !~ /^business\/(com|platform\/win32)\// &&
      FILENAME !~ /^business\/[^\/]*\.cpp$/ && !is_driver_root &&
      FILENAME !~ /^tests\/(.*\/)?(com|win32|boundary|scripts)\//)
    offence(FNR, "includes " name " outside of business/com, business/platform/win32, their tests and the libraries' root files")

  folder = business_folder(FILENAME)
  if (folder == "" && FILENAME !~ /^drivers\//) return
  if (name ~ /(^|\/)\.\.?(\/|$)/) {
    offence(FNR, "includes " name ": name it from the include folder, without . and ..")
    return
  }
  depth = split(name, part, "/")
  target = part[1]
  if (depth < 2) return  # the standard library, or a file beside this one
  if (folder != "") {
    if (target in rank) {
      if (!(folder in rank)) offence(FNR, "folder " folder " has no place in the order of folders")
      else if (rank[target] > rank[folder]) offence(FNR, folder " must not include " target " (" name ")")
    } else if (quoted) {
      offence(FNR, folder " must not include " name ": it is no folder of business/")
    }
    return
  }
  # The root file of a driver's library puts it together with the boundary.
  if (is_driver_root && target == "com") return
  split(FILENAME, own, "/")
  if (target in rank) {
    if (rank[target] > DriverReach) offence(FNR, "a driver must not include " target " (" name ")")
  } else if (quoted && target != own[2]) {
    offence(FNR, "a driver must not include " name ": neither its own nor of the lower folders")
  }
}

function finish_file() {
  if (current == "") return
  if (current ~ /\.(cpp|h)$/ && lines > MaxLines) {
    print current ":" lines ": has " lines " lines, more than " MaxLines
    offences++
  }
  if (is_header && !pragma) {
    print current ":1: header without #pragma once"
    offences++
  }
}

FNR == 1 {
  finish_file()
  current = FILENAME
  seen[current] = 1
  is_header = FILENAME ~ /^business\/.*\.h$/
  is_driver_root = FILENAME ~ /^drivers\/[^\/]+\/module\.cpp$/
  is_code = FILENAME ~ /\.(cpp|h|inc)$/
  pragma = 0
  if (is_header && $0 !~ /^(\/\/|\/\*)/) offence(1, "header without a leading comment")
}

{ lines = FNR }

is_header && /^#pragma once[ \t]*\r?$/ { pragma = 1 }

is_code && /^[ \t]*#[ \t]*include[ \t]*[<"]/ {
  quoted = /include[ \t]*"/
  included = $0
  sub(/^[^<"]*[<"]/, "", included)
  sub(/[>"].*$/, "", included)
  check_include(included)
}

$0 ~ Marks { offence(FNR, "a mark for unfinished work") }
FILENAME !~ /\.md$/ && $0 ~ Sleeps { offence(FNR, "waits for time to pass; use the platform's clock and timers") }

END {
  finish_file()
  # An empty file has no first line to be judged by.
  for (i = 1; i < ARGC; i++)
    if (ARGV[i] ~ /^business\/.*\.h$/ && !(ARGV[i] in seen)) {
      print ARGV[i] ":1: empty header"
      offences++
    }
  exit (offences > 0)
}
