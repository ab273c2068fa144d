# What a terminal shows after it got the text that comes in:  awk -v rows=R -v columns=C -f screen.awk
# Prints the rows of the screen, then lines that begin with "#": whether the cursor shows, how often a line was too long
# and wrapped, how many rows scrolled away, how often the screen was drawn over (movements upward), and each escape
# sequence that this terminal does not know.
function put(character) {
  if (column > columns && cut) {
    column = columns
  } else if (column > columns) {
    wrapped++
    column = 1
    down()
  }
  screen[row, column++] = character
}

function down(   r, c) {
  if (row < rows) {
    row++
    return
  }
  scrolled++
  for (r = 1; r < rows; r++)
    for (c = 1; c <= columns; c++) screen[r, c] = screen[r + 1, c]
  for (c = 1; c <= columns; c++) delete screen[rows, c]
}

function clear_row(r, from,   c) {
  for (c = from; c <= columns; c++) delete screen[r, c]
}

function obey(sequence,   number, letter, r) {
  letter = substr(sequence, length(sequence))
  number = substr(sequence, 1, length(sequence) - 1)
  if (sequence == "?25l" || sequence == "?25h") {
    hidden = letter == "l"
  } else if (sequence == "?7l" || sequence == "?7h") {
    cut = letter == "l"
  } else if (number !~ /^[0-9]*$/) {
    unknown[sequence]
  } else if (letter == "A") {
    redrawn++
    row -= number == "" ? 1 : number
    if (row < 1) {
      above++
      row = 1
    }
  } else if (letter == "J" && (number == "" || number == 0)) {
    clear_row(row, column)
    for (r = row + 1; r <= rows; r++) clear_row(r, 1)
  } else if (letter == "K" && (number == "" || number == 0)) {
    clear_row(row, column)
  } else if (letter != "m") {
    unknown[sequence]
  }
}

BEGIN {
  row = column = 1
  RS = "\n"
  ORS = "\n"
}

NR > 1 { down() }

{
  count = length($0)
  for (k = 1; k <= count; k++) {
    character = substr($0, k, 1)
    if (character == "\r") {
      column = 1
    } else if (character == "\033") {
      if (!match(substr($0, k), /^\033\[[0-9;?]*[A-Za-z]/)) {
        unknown["something"]
        continue
      }
      obey(substr($0, k + 2, RLENGTH - 2))
      k += RLENGTH - 1
    } else {
      # To an awk that counts bytes a character is as wide as it has bytes: no narrower than a terminal shows it.
      put(character)
    }
  }
}

END {
  for (last = rows; last > 0; last--) {
    text[last] = ""
    for (c = columns; c > 0; c--)
      if (text[last] != "" || ((last, c) in screen && screen[last, c] != " "))
        text[last] = ((last, c) in screen ? screen[last, c] : " ") text[last]
  }
  for (last = rows; last > 0 && text[last] == ""; last--);
  for (r = 1; r <= last; r++) print text[r]
  print "# cursor " (hidden ? "hidden" : "shown")
  print "# wrapped " wrapped + 0
  print "# scrolled " scrolled + 0
  print "# above the screen " above + 0
  print "# redrawn " redrawn + 0
  for (sequence in unknown) print "# unknown " sequence
}
