#!/usr/bin/env bash
# Times the generic importer against cp on the same bytes: 99 records of 24
# traces of 8000 int32 samples behind a 2048-byte header (about 76 MB in).
#
#   bench/sisforme/run.sh [BIN_DIR] [ROUNDS]
#
# BIN_DIR holds vexmor-cli (default: build/bin). Each round copies the
# records with cp, then converts them into one SU file with a panel script;
# the best elapsed and cpu (user + sys) time of each is printed, with their
# ratios. Figures are only fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/copy"

bytes=$((2048 + 24 * 8000 * 4))
names=""
for k in $(seq -w 1 99); do
  head -c "$bytes" /dev/urandom > "$work/in/R$k.DAT"
  names="$names R$k.DAT"
done

cat > "$work/convert.txt" <<SCRIPT
open sisforme
answer dialog "$work/in$names"
click Command5
set Text3 24
set Text4 8000
set Text5 250
set Text7 2048
set Text8 0
click Option2
set Text2 $work/out.su
click Command1
SCRIPT

. "$top/bench/timing.sh"

rounds_against_cp "sisforme" "$rounds" 'rm -f "$work"/copy/* "$work/out.su"' "$work/convert.txt" "$work"/in/*.DAT "$work/copy/"
# One more run, to check that the conversion went through.
"$cli" run "$work/convert.txt" > "$work/transcript.txt"
grep -q '"OK, Conversion done"' "$work/transcript.txt" || { cat "$work/transcript.txt" >&2; exit 1; }

in_mb=$(calc "99 * $bytes / 1000000")
out_bytes=$(stat -c %s "$work/out.su")
[ "$out_bytes" -eq $((99 * 24 * (240 + 4 * 8000))) ] || { echo "output has $out_bytes bytes" >&2; exit 1; }
printf 'input %.1f MB in 99 files, output %.1f MB\n' "$in_mb" "$(calc "$out_bytes / 1000000")"
report_best "sisforme" "$rounds"
