#!/bin/bash
# Shows that check.sh goes red: each case is a small tree with one offence, made here, so that the project's own tree
# holds neither offending files nor the words.
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
. "$here/assert.sh"
Header=$'// A header.\n#pragma once\n'

fresh_tree() {
  rm -rf "$scratch/tree"
  write business/errors/Base.h "$Header"
}

# write FILE TEXT
write() {
  mkdir -p "$scratch/tree/$(dirname "$1")"
  printf '%s' "$2" >"$scratch/tree/$1"
}

# red NAME FILE TEXT LINE: the file brings exactly one offence, in that line.
red() {
  local output status
  fresh_tree
  write "$2" "$3"
  output=$(bash "$here/check.sh" "$scratch/tree" 2>&1)
  status=$?
  same "$1: exit code" 1 "$status"
  same "$1: offences" 1 "$(grep -c . <<<"$output")"
  check "$1: place" contains "$output" "$2:$4: "
}

# green NAME FILE TEXT
green() {
  local output status
  fresh_tree
  write "$2" "$3"
  output=$(bash "$here/check.sh" "$scratch/tree" 2>&1)
  status=$?
  same "$1" "0 " "$status $output"
}

lines() { for ((i = 0; i < $1; i++)); do echo "// line"; done; }

# Direction: every pair of folders, both ways.
order=(errors values platform spooler model server com)
for ((from = 0; from < ${#order[@]}; from++)); do
  for ((to = 0; to < ${#order[@]}; to++)); do
    text=$'#include <string>\n#include "'${order[to]}$'/A.h"\n'
    if ((to <= from)); then
      green "${order[from]} includes ${order[to]}" "business/${order[from]}/X.cpp" "$text"
    else
      red "${order[from]} includes ${order[to]}" "business/${order[from]}/X.cpp" "$text" 2
    fi
  done
done
red "angle brackets hide nothing" business/errors/X.cpp $'#include <model/A.h>\n' 1
red "spaces hide nothing" business/errors/X.cpp $'\n  #  include   "model/A.h"\n' 2
red "the way round by .." business/errors/X.cpp $'#include "../model/A.h"\n' 1
red "a driver from the core" business/server/X.cpp $'#include "simulated/A.h"\n' 1
red "a folder without a place" business/extra/X.cpp $'#include "errors/Base.h"\n' 1
red "a folder inside a folder" business/platform/portable/X.cpp $'#include "model/A.h"\n' 1
green "a file beside this one" business/errors/X.cpp $'#include "Base.h"\n#include <sys/types.h>\n'
green "a root file" business/module.cpp $'#include "com/A.h"\n#include "server/A.h"\n'
for to in errors values platform spooler simulated; do
  green "a driver includes $to" drivers/simulated/X.cpp "#include \"$to/A.h\""$'\n'
done
for to in model server com other; do
  red "a driver includes $to" drivers/simulated/X.h "#include \"$to/A.h\""$'\n' 1
done
green "a driver's root file" drivers/simulated/module.cpp $'#include <windows.h>\n#include "com/A.h"\n#include "registration.h"\n'
red "a driver's root file reaches no further" drivers/simulated/module.cpp $'#include "server/A.h"\n' 1
red "a root file deeper down" drivers/simulated/inner/module.cpp $'#include "com/A.h"\n' 1
red "windows.h in a root file deeper down" drivers/simulated/inner/module.cpp $'#include <windows.h>\n' 1
green "tools and tests include anything" tools/orvo/X.cpp $'#include "server/A.h"\n#include "simulated/B.h"\n'
green "tests include anything" tests/unit/X.cpp $'#include "com/A.h"\n#include "support/B.h"\n'

# windows.h
for file in business/com/X.cpp business/platform/win32/X.cpp business/module.cpp tests/unit/platform/win32/X.cpp \
  tests/boundary/X.cpp; do
  green "windows.h in $file" "$file" $'#include <windows.h>\n'
done
for file in business/errors/X.cpp business/platform/portable/X.cpp business/platform/X.cpp drivers/simulated/X.cpp \
  tools/orvo/X.cpp tests/unit/X.cpp; do
  red "windows.h in $file" "$file" $'#include <windows.h>\n' 1
done
red "windows.h in capitals" business/model/X.cpp $'#include <Windows.h>\n' 1

# Length
green "500 lines" tests/unit/X.cpp "$(lines 500)"
red "501 lines" tests/unit/X.cpp "$(lines 501)" 501
red "501 lines of header" business/model/X.h "$Header$(lines 499)" 501

# Headers
green "a comment of several lines" business/model/X.h $'/* A\n   B */\n#pragma once\n'
red "no guard" business/model/X.h $'// A header.\n' 1
red "no comment" business/model/X.h $'#pragma once\n' 1
red "an empty header" business/model/X.h "" 1
green "a test's header" tests/support/X.h $'struct X {};\n'

# Words, written in two halves
for word in "TO""DO" "FIX""ME" "XX""X"; do
  red "$word" tools/orvo/X.cpp $'// fine\n// '"$word: later"$'\n' 2
  red "$word in a document" docs/x.md "$word"$'\n' 1
  green "$word inside a word" tools/orvo/X.cpp "int a${word}b = 0;"$'\n'
done
for word in "sleep_""for" "sleep_""until" "u""sleep" "nano""sleep"; do
  red "$word" tests/unit/X.cpp $'void F() {\n  '"$word(1);"$'\n}\n' 2
  red "$word in a script" tools/x.sh "$word 1"$'\n' 1
done

# Lint reasons
Off=$'Checks: >-\n  bugprone-*,\n  -bugprone-a\n'
green "a check with its reason" .clang-tidy $'# -bugprone-a: because\n'"$Off"
red "a check without a reason" .clang-tidy "$Off" 3
red "a reason without a check" .clang-tidy $'# -bugprone-a: because\n# -bugprone-b: because\n'"$Off" 2

# A tree in which there is nothing to check is not a good tree.
rm -rf "$scratch/tree"
mkdir -p "$scratch/tree"
bash "$here/check.sh" "$scratch/tree" >/dev/null 2>&1
same "nothing to check" 2 $?
finish
