# The table of bench/run:  awk -f table.awk figures.tsv rows.txt
# figures.tsv: name, items and figure, separated by tabs. rows.txt says what belongs together and what is aimed at.

function trim(text) {
  gsub(/^ +| +$/, "", text)
  return text
}

function short(number,   digits) {
  if (number == "") return ""
  digits = number >= 100 ? 0 : number >= 10 ? 1 : 2
  return sprintf("%." digits "f", number)
}

# A row's whole time grows no worse than n log n when it does so itself, or when it grows no faster against its plain
# loop than log n: what larger memories cost both is no growth of the work.

# The growth of the whole time from the smallest to the largest size, as an exponent of the number of items.
function growth(name, per_item,   first, last) {
  first = figure[name, 1000]
  last = figure[name, 100000]
  if (per_item) {
    first *= 1000
    last *= 100000
  }
  return log(last / first) / log(100)
}

# Whether one target is met: "yes", "MISSED", or "" when it is not for this row.
function verdict(target, items, value, ratio) {
  if (target ~ /^@/) {
    if (target !~ "^@" items "<=") return ""
    sub(/^@[0-9]+/, "", target)
  }
  if (target ~ /^x<=/) return ratio <= substr(target, 4) + 0 ? "yes" : "MISSED"
  if (target ~ /^<=/) return value <= substr(target, 3) + 0 ? "yes" : "MISSED"
  if (target ~ /^~.*x$/) return ratio <= Near * substr(target, 2) ? "yes" : "MISSED"
  if (target ~ /^~/) return value <= Near * substr(target, 2) ? "yes" : "MISSED"
  return ""
}

function words(target, unit) {
  sub(/^@[0-9]+/, "", target)
  if (target ~ /^x<=/) return "at most " substr(target, 4) "x"
  if (target ~ /^<=/) return "at most " substr(target, 3) (unit ~ /%/ ? " %" : unit == "ms" ? " ms" : "")
  if (target ~ /x$/) return "near " substr(target, 2)
  return "near " substr(target, 2)
}

function row(what, items, value, unit, plain, ratio, target, met) {
  printf "%-42s %7s  %9s %-11s %9s %8s  %-24s %s\n", what, items, value, unit, plain, ratio, target, met
}

BEGIN {
  FS = "\t"
  Near = 1.25
  # n log n over this range, as an exponent, less the 1 of n.
  LogGrowth = log(log(100000) / log(1000)) / log(100)
}

FNR == NR {
  figure[$1, $2] = $3
  sizes[$1] = sizes[$1] " " $2
  next
}

/^#/ || /^ *$/ { next }

!headed {
  headed = 1
  row("what", "items", "figure", "unit", "plain", "ratio", "target", "met")
}

{
  split($0, field, "|")
  what = trim(field[1])
  name = trim(field[2])
  plain_name = trim(field[3])
  unit = trim(field[4])
  targets = split(field[5], target, ";")
  count = split(sizes[name], size, " ")
  for (i = 1; i <= count; i++) {
    value = figure[name, size[i]]
    plain = figure[plain_name, size[i]]
    ratio = plain > 0 ? value / plain : ""
    aims = met = ""
    for (t = 1; t <= targets; t++) {
      aim = trim(target[t])
      said = verdict(aim, size[i], value, ratio)
      if (said == "") continue
      aims = aims (aims == "" ? "" : "; ") words(aim, unit)
      met = met (met == "" ? "" : ", ") said
    }
    row(what, size[i], short(value), unit, short(plain), ratio == "" ? "" : short(ratio) "x", aims, met)
  }
  for (t = 1; t <= targets && count > 1; t++) {
    if (trim(target[t]) != "n log n") continue
    own = growth(name, unit ~ /item/)
    plain = growth(plain_name, unit ~ /item/)
    row("  growth of the whole", "", sprintf("n^%.2f", own), "", sprintf("n^%.2f", plain), "", "n log n",
        own <= 1 + LogGrowth ? "yes" : own - plain <= LogGrowth ? "yes, as plain" : "MISSED")
  }
}
