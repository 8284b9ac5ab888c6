#!/usr/bin/env bash
# Times the column export (MainPanel's "Seismic Unix to ASCII (1 file with x
# channels)") and the one-file-per-channel export ("Seismic Unix to Ascii (1
# file/channel)") against od printing the same floats as text: an SU
# file of 48 traces of 8000 samples (about 1.5 MB), and the same 384000
# floats without the trace headers for od -An -v -tf4.
#
#   bench/su2ascii/run.sh [BIN_DIR] [ROUNDS]
#
# BIN_DIR holds vexmor-cli (default: build/bin). The best elapsed and cpu
# (user + sys) time of each is printed, with their ratios. Figures are only
# fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-5}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }
command -v python3 > /dev/null || { echo "python3 is needed to write the input" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT

# Samples of varied magnitude and sign, so that every digit is worked for.
python3 - "$work/shot.su" "$work/raw.f32" <<'PY'
import math, struct, sys
traces, ns = 48, 8000
with open(sys.argv[1], "wb") as su, open(sys.argv[2], "wb") as raw:
    for t in range(1, traces + 1):
        header = bytearray(240)
        struct.pack_into("<iii", header, 0, t, t, 1)
        struct.pack_into("<i", header, 12, t)
        struct.pack_into("<hh", header, 114, ns, 250)
        samples = struct.pack("<%df" % ns, *(
            math.sin(j * 0.013 * t) * 10 ** ((j + t) % 9 - 4) for j in range(ns)))
        su.write(header + samples)
        raw.write(samples)
PY

cat > "$work/export.txt" <<SCRIPT
open MainPanel
answer message 6
answer dialog $work/shot.su
answer prompt 1
answer prompt 48
click Option24
SCRIPT

cat > "$work/channels.txt" <<SCRIPT
open MainPanel
answer dialog $work/shot.su
answer prompt 1
answer prompt 48
click Option8
SCRIPT

. "$top/bench/timing.sh"
od_to_file() { od -An -v -tf4 "$work/raw.f32" > "$work/od.txt"; }

best_od_real=999; best_od_cpu=999; best_su_real=999; best_su_cpu=999; best_ch_real=999; best_ch_cpu=999
for round in $(seq 1 "$rounds"); do
  rm -f "$work/od.txt" "$work/shot.txt" "$work"/shot.[0-9][0-9]
  read -r od_real od_cpu < <(timed od_to_file)
  read -r su_real su_cpu < <(timed "$cli" run "$work/export.txt")
  read -r ch_real ch_cpu < <(timed "$cli" run "$work/channels.txt")
  printf 'round %d: od %.3f s (cpu %.3f s), su2Ascii %.3f s (cpu %.3f s), su2ascii2 %.3f s (cpu %.3f s)\n' \
    "$round" "$od_real" "$od_cpu" "$su_real" "$su_cpu" "$ch_real" "$ch_cpu"
  best_od_real=$(min "$od_real" "$best_od_real"); best_od_cpu=$(min "$od_cpu" "$best_od_cpu")
  best_su_real=$(min "$su_real" "$best_su_real"); best_su_cpu=$(min "$su_cpu" "$best_su_cpu")
  best_ch_real=$(min "$ch_real" "$best_ch_real"); best_ch_cpu=$(min "$ch_cpu" "$best_ch_cpu")
done

# The export must hold 8000 lines of 48 values each.
lines=$(wc -l < "$work/shot.txt")
values=$(tr -cd ',' < "$work/shot.txt" | wc -c)
[ "$lines" -eq 8000 ] && [ "$values" -eq 384000 ] || { echo "export has $lines lines, $values values" >&2; exit 1; }
# And 48 channel files of 8000 lines each.
files=$(ls "$work"/shot.[0-9][0-9] | wc -l)
lines=$(cat "$work"/shot.[0-9][0-9] | wc -l)
[ "$files" -eq 48 ] && [ "$lines" -eq 384000 ] || { echo "channel export has $files files, $lines lines" >&2; exit 1; }
printf 'floats 384000: od text %.1f MB, export text %.1f MB\n' \
  "$(calc "$(stat -c %s "$work/od.txt") / 1000000")" "$(calc "$(stat -c %s "$work/shot.txt") / 1000000")"
printf 'best of %d, elapsed: od %.3f s, su2Ascii %.3f s, ratio %.2f\n' "$rounds" "$best_od_real" \
  "$best_su_real" "$(calc "$best_su_real / $best_od_real")"
printf 'best of %d, cpu:     od %.3f s, su2Ascii %.3f s, ratio %.2f\n' "$rounds" "$best_od_cpu" \
  "$best_su_cpu" "$(calc "$best_su_cpu / $best_od_cpu")"
printf 'best of %d, elapsed: od %.3f s, su2ascii2 %.3f s, ratio %.2f\n' "$rounds" "$best_od_real" \
  "$best_ch_real" "$(calc "$best_ch_real / $best_od_real")"
printf 'best of %d, cpu:     od %.3f s, su2ascii2 %.3f s, ratio %.2f\n' "$rounds" "$best_od_cpu" \
  "$best_ch_cpu" "$(calc "$best_ch_cpu / $best_od_cpu")"
