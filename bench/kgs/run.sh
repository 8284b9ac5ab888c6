#!/usr/bin/env bash
# Times KGS integer to SU against cp on the same bytes: one KGS integer file
# of about 200 MB (47,170 records of 2000 int16 samples), converted by the
# panel Convert into an SU file of about 390 MB.
#
#   bench/kgs/run.sh [BIN_DIR] [ROUNDS] [RECORDS]
#
# BIN_DIR holds vexmor-cli (default: build/bin). Each round copies the file
# with cp, then converts it with a panel script; the best elapsed and cpu
# (user + sys) time of each is printed, with their ratios. Figures are only
# fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
records=${3:-47170}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT

ns=2000
record=$((240 + 2 * ns))
bytes=$((records * record))
# Random samples and headers; only the first record's ns is read.
head -c "$bytes" /dev/urandom > "$work/in.EVD"
printf '\xd0\x07' | dd of="$work/in.EVD" bs=1 seek=114 conv=notrunc status=none

cat > "$work/convert.txt" <<SCRIPT
open MainPanel
click Option3
use Convert
set Text1 $work/in.EVD
set Text2 $work/out.su
answer prompt 0
click Command2
SCRIPT

. "$top/bench/timing.sh"

rounds_against_cp "KGS integer to SU" "$rounds" 'rm -f "$work/copy.EVD" "$work/out.su"' "$work/convert.txt" "$work/in.EVD" "$work/copy.EVD"
"$cli" run "$work/convert.txt" > "$work/transcript.txt"
grep -q '"Conversion OK"' "$work/transcript.txt" || { cat "$work/transcript.txt" >&2; exit 1; }
# The SU file holds twice the sample bytes: cp of it, for scale.
best_out_real=999
for round in $(seq 1 "$rounds"); do
  rm -f "$work/copy.su"
  sync
  read -r out_real out_cpu < <(timed cp "$work/out.su" "$work/copy.su")
  best_out_real=$(min "$out_real" "$best_out_real")
done
rm -f "$work/copy.su"

out_bytes=$(stat -c %s "$work/out.su")
[ "$out_bytes" -eq $((records * (240 + 4 * ns))) ] || { echo "output has $out_bytes bytes" >&2; exit 1; }
printf 'input %.1f MB, output %.1f MB\n' "$(calc "$bytes / 1000000")" "$(calc "$out_bytes / 1000000")"
report_best "KGS integer to SU" "$rounds"
printf 'for scale, cp of the SU output: %.3f s elapsed\n' "$best_out_real"
