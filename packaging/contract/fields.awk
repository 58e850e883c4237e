# Prints the fields of a block as rows of a table, from the comments behind them:  type name;  // offset  writer, lock: meaning
# What belongs to the workers alone is named after them and has no row.
BEGIN { print "| Offset | Field | Type | Written by | Mutex | Meaning |"; print "|---|---|---|---|---|---|" }
/^struct / { inside = $2 == wanted }
/^};/ { inside = 0 }
inside && /^    [A-Za-z0-9_]+ [A-Za-z0-9_]+(\[[A-Za-z0-9]+\])*; *\/\/ / && $2 !~ /^(workers|reserved)_/ {
  name = $2
  sub(/;$/, "", name)
  text = $0
  sub(/^.*\/\/ +/, "", text)
  offset = text
  sub(/ .*/, "", offset)
  sub(/^[0-9]+ */, "", text)
  writer = ""
  lock = ""
  if (match(text, /^(controller|workers|both), [^:]*: /)) {
    who = substr(text, 1, RLENGTH - 2)
    text = substr(text, RLENGTH + 1)
    writer = who
    sub(/,.*/, "", writer)
    lock = who
    sub(/^[a-z]+, (mutex )?/, "", lock)
  }
  print "| " offset " | `" name "` | " $1 " | " writer " | " lock " | " text " |"
}
