#!/usr/bin/env bash
# Times the joining of SU files against cat of the same files into one:
# by default 50 files of 20 MB (1 GB in). The inputs are kept (Check1 off).
#
#   bench/addsu/run.sh [BIN_DIR] [ROUNDS] [FILES] [MB_PER_FILE]
#
# BIN_DIR holds vexmor-cli (default: build/bin). Each round joins the files
# with cat, then with a panel script; the best elapsed and cpu (user + sys)
# time of each is printed, with their ratios. Figures are only fair on an
# otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
files=${3:-50}
mb=${4:-20}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in"

# Traces of 1000 samples (4240 bytes), as many as make about mb MB.
traces=$((mb * 1000000 / 4240))
bytes=$((traces * 4240))
head -c "$bytes" /dev/urandom > "$work/in/seed.su"
names=""
for k in $(seq -w 1 "$files"); do
  # Each file its own bytes, so that no file system can share them.
  { printf '%8s' "$k"; tail -c +9 "$work/in/seed.su"; } > "$work/in/S$k.su"
  names="$names S$k.su"
done
rm "$work/in/seed.su"

cat > "$work/join.txt" <<SCRIPT
open Add_SU_files
answer dialog "$work/in$names"
click Command1
click Check1
set Text2 $work/joined.su
click Command2
SCRIPT

. "$top/bench/timing.sh"

best_cat_real=999; best_cat_cpu=999; best_su_real=999; best_su_cpu=999
for round in $(seq 1 "$rounds"); do
  rm -f "$work/cat.su" "$work/joined.su"
  sync
  read -r cat_real cat_cpu < <(timed sh -c "cat \"\$@\" > '$work/cat.su'" cat "$work"/in/S*.su)
  rm -f "$work/cat.su"
  sync
  read -r su_real su_cpu < <(timed "$cli" run "$work/join.txt")
  printf 'round %d: cat %.3f s (cpu %.3f s), Add_SU_files %.3f s (cpu %.3f s)\n' \
    "$round" "$cat_real" "$cat_cpu" "$su_real" "$su_cpu"
  best_cat_real=$(min "$cat_real" "$best_cat_real"); best_cat_cpu=$(min "$cat_cpu" "$best_cat_cpu")
  best_su_real=$(min "$su_real" "$best_su_real"); best_su_cpu=$(min "$su_cpu" "$best_su_cpu")
done
# The join is the files one behind the other, byte for byte.
cat "$work"/in/S*.su | cmp - "$work/joined.su" || { echo "the joined file differs from cat" >&2; exit 1; }

printf 'input %.1f MB in %d files\n' "$(calc "$files * $bytes / 1000000")" "$files"
printf 'best of %d, elapsed: cat %.3f s, Add_SU_files %.3f s, ratio %.2f\n' "$rounds" "$best_cat_real" \
  "$best_su_real" "$(calc "$best_su_real / $best_cat_real")"
printf 'best of %d, cpu:     cat %.3f s, Add_SU_files %.3f s, ratio %.2f\n' "$rounds" "$best_cat_cpu" \
  "$best_su_cpu" "$(calc "$best_su_cpu / $best_cat_cpu")"
