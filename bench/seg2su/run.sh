#!/usr/bin/env bash
# Times seg2su against cp on the same bytes: 200 SEG-2 records of 48
# channels of 4000 float samples (about 154 MB in).
#
#   bench/seg2su/run.sh [BIN_DIR] [ROUNDS]
#
# BIN_DIR holds seg2su (default: build/bin). Each round copies the records
# with cp, then converts them into one SU file; the best time of each is
# printed, with their ratio.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
rounds=${2:-3}
seg2su="$bin/seg2su"
[ -x "$seg2su" ] || { echo "no seg2su in $bin (build first)" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/copy"

channels=48
samples=4000
files=200

# Little-endian words as bytes.
le16() { printf "\\x$(printf %02x $(($1 & 255)))\\x$(printf %02x $(($1 >> 8 & 255)))"; }
le32() { le16 $(($1 & 65535)); le16 $(($1 >> 16 & 65535)); }
# One descriptor string: offset to the next, text, NUL, padded to 4 bytes.
str() {
  local len=$((2 + ${#1} + 1))
  local pad=$(((4 - len % 4) % 4))
  le16 $((len + pad)); printf '%s' "$1"; head -c $((1 + pad)) /dev/zero
}
trace_strings() { str "CHANNEL_NUMBER $1"; str "SAMPLE_INTERVAL 0.00025"; head -c 4 /dev/zero; }

# Every trace descriptor has the same size (channel numbers up to 99).
desc=$((32 + $(trace_strings 10 | wc -c)))
data=$((4 * samples))
first=$((32 + 4 * channels + 4))
{
  le16 $((0x3A55)); le16 1; le16 $((4 * channels)); le16 "$channels"
  printf '\x01\x00\x00\x01\x0a\x00'; head -c 18 /dev/zero
  for ch in $(seq 0 $((channels - 1))); do le32 $((first + ch * (desc + data))); done
  head -c 4 /dev/zero
  for ch in $(seq 1 "$channels"); do
    le16 $((0x4422)); le16 "$desc"; le32 "$data"; le32 "$samples"; printf '\x04'; head -c 19 /dev/zero
    trace_strings "$ch"
    # Random floats of a bounded size: exponent byte kept in range.
    head -c "$data" /dev/urandom | tr '\177-\377' '\077-\277'
  done
} > "$work/record.sg2"
for k in $(seq -w 1 "$files"); do cp "$work/record.sg2" "$work/in/S$k.sg2"; done
bytes=$(stat -c %s "$work/record.sg2")

now() { date +%s.%N; }
calc() { awk "BEGIN { print ($1) }"; }
best_cp=""
best_su=""
for round in $(seq 1 "$rounds"); do
  rm -f "$work"/copy/* "$work/out.su"
  sync
  t0=$(now); cp "$work"/in/*.sg2 "$work/copy/"; t1=$(now)
  t2=$(now); "$seg2su" -o "$work/out.su" "$work"/in/*.sg2 2> "$work/messages.txt"; t3=$(now)
  cp_s=$(calc "$t1 - $t0")
  su_s=$(calc "$t3 - $t2")
  printf 'round %d: cp %.3f s, seg2su %.3f s\n' "$round" "$cp_s" "$su_s"
  if [ -z "$best_cp" ] || [ "$(calc "$cp_s < $best_cp")" = 1 ]; then best_cp=$cp_s; fi
  if [ -z "$best_su" ] || [ "$(calc "$su_s < $best_su")" = 1 ]; then best_su=$su_s; fi
done

out_bytes=$(stat -c %s "$work/out.su")
[ "$out_bytes" -eq $((files * channels * (240 + 4 * samples))) ] || {
  echo "output has $out_bytes bytes" >&2; cat "$work/messages.txt" >&2; exit 1; }
printf 'input %.1f MB in %d files, output %.1f MB\n' "$(calc "$files * $bytes / 1000000")" "$files" \
  "$(calc "$out_bytes / 1000000")"
printf 'best of %d: cp %.3f s, seg2su %.3f s, ratio %.2f\n' "$rounds" "$best_cp" "$best_su" \
  "$(calc "$best_su / $best_cp")"
