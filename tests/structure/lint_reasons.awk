# .clang-tidy: each check that is switched off has a comment line "# -check: reason", and no reason outlives its check.

/^# -[a-z0-9-]+: [^ ]/ {
  name = $2
  sub(/^-/, "", name)
  sub(/:$/, "", name)
  reason[name] = FNR
}

/^ +-[a-z]/ {
  name = $1
  sub(/^-/, "", name)
  sub(/,$/, "", name)
  off[name] = FNR
}

END {
  for (name in off)
    if (!(name in reason)) { print FILENAME ":" off[name] ": " name " is switched off without a reason"; offences++ }
  for (name in reason)
    if (!(name in off)) { print FILENAME ":" reason[name] ": " name " has a reason but is not switched off"; offences++ }
  exit (offences > 0)
}
