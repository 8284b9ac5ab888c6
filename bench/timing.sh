# Timing helpers that the benchmark scripts source.
calc() { awk "BEGIN { print ($1) }"; }
# Runs a command; prints "real cpu" in seconds (cpu = user + sys).
timed() {
  local TIMEFORMAT='%R %U %S' line
  line=$( { time "$@" > /dev/null; } 2>&1 )
  set -- $line
  echo "$1 $(calc "$2 + $3")"
}
min() { calc "($1 < $2) ? $1 : $2"; }
