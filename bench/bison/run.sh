#!/usr/bin/env bash
# Times the Bison 5000 route against cp on the same bytes: 99 records of 48
# traces of 8000 samples (10000 16-bit words each, every fifth a gain word)
# behind a header of text fields, about 95 MB in.
#
#   bench/bison/run.sh [BIN_DIR] [ROUNDS]
#
# BIN_DIR holds vexmor-cli (default: build/bin). Each round copies the
# records with cp, then selects and converts them into one SU file with a
# panel script (the header parser runs on the probe file); the best elapsed
# and cpu (user + sys) time of each is printed, with their ratios. Figures
# are only fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap '[ -n "${KEEP_BENCH:-}" ] || rm -rf "$work"' EXIT
mkdir "$work/in" "$work/copy"

# The header: a preamble and 17 fields, each behind a CR LF at an even
# offset (field 14 = 48 channels, 16 = 8000 samples, 17 = 0.25 ms), a last
# CR LF and ETX ETX: 2 + 15 x 4 + 2 x 6 + 4 = 78 bytes.
header() {
  printf 'B5'
  for j in $(seq 1 17); do
    case $j in
      14) printf '\r\n48' ;;
      16) printf '\r\n8000' ;;
      17) printf '\r\n0.25' ;;
      *) printf '\r\naa' ;;
    esac
  done
  printf '\r\n\003\003'
}
header > "$work/header.bin"
hsize=$(stat -c %s "$work/header.bin")
bytes=$((hsize + 48 * 10000 * 2))
head -c $((48 * 10000 * 2)) /dev/urandom > "$work/traces.bin"
names=""
for k in $(seq -w 1 99); do
  cat "$work/header.bin" "$work/traces.bin" > "$work/in/R$k.DAT"
  # Each file its own words, so the page cache holds no shared pages.
  printf '%s' "$k" | dd of="$work/in/R$k.DAT" bs=1 seek=$((hsize + 2)) conv=notrunc status=none
  names="$names R$k.DAT"
done

cat > "$work/convert.txt" <<SCRIPT
open Bison
answer dialog "$work/in$names"
click Command5
set Text2 $work/out.su
click Command1
SCRIPT

. "$top/bench/timing.sh"

rounds_against_cp "Bison" "$rounds" 'rm -f "$work"/copy/* "$work/out.su"' "$work/convert.txt" "$work"/in/*.DAT "$work/copy/"
# One more run, to check that the conversion went through with the numbers
# of the header.
"$cli" run "$work/convert.txt" > "$work/transcript.txt"
grep -q '"OK, Conversion done"' "$work/transcript.txt" || { cat "$work/transcript.txt" >&2; exit 1; }

in_mb=$(calc "99 * $bytes / 1000000")
out_bytes=$(stat -c %s "$work/out.su")
[ "$out_bytes" -eq $((99 * 48 * (240 + 4 * 8000))) ] || { echo "output has $out_bytes bytes" >&2; exit 1; }
printf 'input %.1f MB in 99 files, output %.1f MB\n' "$in_mb" "$(calc "$out_bytes / 1000000")"
report_best "Bison" "$rounds"
