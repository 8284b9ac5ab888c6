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

# Rounds of cp against a panel script that converts the same bytes:
#   rounds_against_cp NAME ROUNDS "CLEAN" SCRIPT CP_ARGS...
# CLEAN (a command text, run before each timing) removes the copy and the
# output. Prints each round; leaves the best times in best_cp_real,
# best_cp_cpu, best_su_real and best_su_cpu. Needs $cli.
rounds_against_cp() {
  local name=$1 rounds=$2 clean=$3 script=$4 round cp_real cp_cpu su_real su_cpu
  shift 4
  best_cp_real=999; best_cp_cpu=999; best_su_real=999; best_su_cpu=999
  for round in $(seq 1 "$rounds"); do
    eval "$clean"; sync
    read -r cp_real cp_cpu < <(timed cp "$@")
    eval "$clean"; sync
    read -r su_real su_cpu < <(timed "$cli" run "$script")
    printf 'round %d: cp %.3f s (cpu %.3f s), %s %.3f s (cpu %.3f s)\n' \
      "$round" "$cp_real" "$cp_cpu" "$name" "$su_real" "$su_cpu"
    best_cp_real=$(min "$cp_real" "$best_cp_real"); best_cp_cpu=$(min "$cp_cpu" "$best_cp_cpu")
    best_su_real=$(min "$su_real" "$best_su_real"); best_su_cpu=$(min "$su_cpu" "$best_su_cpu")
  done
}

# The best times of rounds_against_cp and their ratios: report_best NAME ROUNDS
report_best() {
  printf 'best of %d, elapsed: cp %.3f s, %s %.3f s, ratio %.2f\n' "$2" "$best_cp_real" "$1" \
    "$best_su_real" "$(calc "$best_su_real / $best_cp_real")"
  printf 'best of %d, cpu:     cp %.3f s, %s %.3f s, ratio %.2f\n' "$2" "$best_cp_cpu" "$1" \
    "$best_su_cpu" "$(calc "$best_su_cpu / $best_cp_cpu")"
}
