#!/usr/bin/env bash
# Times the ASCII import ("ASCII to SU": selection, value count, prompts and
# conversion) against `wc -l` of the same text: a column text of 2000
# traces x 8000 samples (about 100 MB), one row a sample, values separated
# by commas, as rtoaw writes them.
#
#   bench/ascii2su/run.sh [BIN_DIR] [ROUNDS] [TRACES] [SAMPLES]
#
# BIN_DIR holds vexmor-cli (default: build/bin). The best elapsed and cpu
# (user + sys) time of each is printed, the rate in MB/s and the ratios.
# Figures are only fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
traces=${3:-2000}
samples=${4:-8000}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }
command -v python3 > /dev/null || { echo "python3 is needed to write the input" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT

# Radar-like whole numbers of varied length and sign, and a few decimals.
python3 - "$work/cols.txt" "$traces" "$samples" <<'PY'
import sys
path, traces, samples = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
with open(path, "w", newline="") as out:
    for s in range(samples):
        row = [str((s * 7919 + t * 104729) % 65536 - 32768) for t in range(traces)]
        if s % 97 == 0:
            row[0] = "%.3f" % (s / 7.0)
        out.write(",".join(row) + "\r\n")
PY

cat > "$work/import.txt" <<SCRIPT
open MainPanel
click Option23
use ASCII2SU
answer dialog $work/cols.txt
answer prompt $samples
answer prompt 4
answer message 6
click Command1
SCRIPT

. "$top/bench/timing.sh"
count_lines() { wc -l "$work/cols.txt"; }

best_wc_real=999; best_wc_cpu=999; best_in_real=999; best_in_cpu=999
for round in $(seq 1 "$rounds"); do
  read -r wc_real wc_cpu < <(timed count_lines)
  read -r in_real in_cpu < <(timed "$cli" run "$work/import.txt")
  printf 'round %d: wc -l %.3f s (cpu %.3f s), ASCII2SU %.3f s (cpu %.3f s)\n' \
    "$round" "$wc_real" "$wc_cpu" "$in_real" "$in_cpu"
  best_wc_real=$(min "$wc_real" "$best_wc_real"); best_wc_cpu=$(min "$wc_cpu" "$best_wc_cpu")
  best_in_real=$(min "$in_real" "$best_in_real"); best_in_cpu=$(min "$in_cpu" "$best_in_cpu")
done

# The SU file must hold every trace whole.
expected=$(( traces * (240 + 4 * samples) ))
size=$(stat -c %s "$work/cols.SU")
[ "$size" -eq "$expected" ] || { echo "SU file has $size bytes, not $expected" >&2; exit 1; }
mb=$(calc "$(stat -c %s "$work/cols.txt") / 1000000")
printf 'text %.1f MB, %d traces x %d samples\n' "$mb" "$traces" "$samples"
printf 'best of %d, elapsed: wc -l %.3f s, ASCII2SU %.3f s (%.0f MB/s), ratio %.2f\n' "$rounds" "$best_wc_real" \
  "$best_in_real" "$(calc "$mb / $best_in_real")" "$(calc "$best_in_real / $best_wc_real")"
printf 'best of %d, cpu:     wc -l %.3f s, ASCII2SU %.3f s, ratio %.2f\n' "$rounds" "$best_wc_cpu" \
  "$best_in_cpu" "$(calc "$best_in_cpu / $best_wc_cpu")"
