#!/usr/bin/env bash
# Times the SEG-Y panel's multi-file conversion (a job script per file, its
# end marker, the join) against one segyread | segyclean over the same
# traces held in one SEG-Y file:
#
#   bench/segy_panel/run.sh [BIN_DIR] [FILES] [MEGABYTES_PER_FILE]
#
# Defaults: build/bin, 99 files of 5 MB (about 500 MB in). A light run for a
# busy machine: bench/segy_panel/run.sh build/bin 10 1. The panel's time runs
# from the press of "Convert" to its final message, read off the transcript;
# the Test before it is not counted. Best of two rounds each.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=$(cd "${1:-$top/build/bin}" && pwd)
files=${2:-99}
megabytes=${3:-5}
rounds=2
for tool in vexmor-cli vexmor-bat segyread segyclean segyhdrs segywrite; do
  [ -x "$bin/$tool" ] || { echo "no $tool in $bin (build first)" >&2; exit 2; }
done
. "$top/bench/timing.sh"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/jobs"
cd "$work"

ns=1000
per=$(( (megabytes * 1000000 - 3600) / (240 + 4 * ns) ))
python3 - "$ns" "$(( per * files ))" <<'PY'
import math, struct, sys
ns, traces = int(sys.argv[1]), int(sys.argv[2])
samples = struct.pack('<%df' % ns, *[1000.0 * math.sin(i * 0.05) * math.exp(-i / 800.0) for i in range(ns)])
with open('all.su', 'wb') as out:
    block = bytearray()
    for t in range(traces):
        header = bytearray(240)
        struct.pack_into('<iii', header, 0, t + 1, t + 1, 1)
        struct.pack_into('<HH', header, 114, ns, 250)
        block += header + samples
        if len(block) > (16 << 20):
            out.write(block)
            block = bytearray()
    out.write(block)
PY
"$bin/segyhdrs" < all.su 2>/dev/null
"$bin/segywrite" < all.su tape=all.sgy conv=1 endian=0
rm -f all.su
# One file per record: the reel header, then its share of the traces.
python3 - "$files" "$(( per * (240 + 4 * ns) ))" <<'PY'
import sys
files, chunk = int(sys.argv[1]), int(sys.argv[2])
with open('all.sgy', 'rb') as f:
    reel = f.read(3600)
    for k in range(1, files + 1):
        with open('in/R%02d.sgy' % k, 'wb') as out:
            out.write(reel)
            out.write(f.read(chunk))
PY
names=$(cd in && ls | tr '\n' ' ')
echo "$files SEG-Y files of $per traces x $ns IBM floats ($(stat -c %s in/R01.sgy) bytes each), big-endian"

cat > convert.txt <<SCRIPT
open MainPanel
click Option2
use SEGY
answer dialog "$work/in ${names% }"
click Command1
set Text9 0
set Text2 $work/out.su
click Command5
show Text11
click Command2
SCRIPT

# Prints the seconds between the "Text11" line and the final message.
panel_seconds() {
  rm -f out.su
  VEXMOR_WORKDIR="$work/jobs" VEXMOR_TERMINAL=none "$bin/vexmor-cli" run convert.txt 2>/dev/null |
    while IFS= read -r line; do printf '%s %s\n' "$(date +%s.%N)" "$line"; done |
    awk '/ Text11 = / { start = $1 } / message / { end = $1 } END { print end - start }'
}

cat all.sgy in/* > /dev/null  # both start from the page cache
best_tool=999; best_panel=999; tools=""; panels=""
for round in $(seq 1 "$rounds"); do
  rm -f out.su; sync
  read -r tool_real _ < <(timed sh -c "'$bin/segyread' tape=all.sgy 2>/dev/null | '$bin/segyclean' > out.su")
  tool_size=$(stat -c %s out.su)
  rm -f out.su; sync
  panel_real=$(panel_seconds)
  panel_size=$(stat -c %s out.su 2>/dev/null || echo 0)
  tools="$tools $tool_real"; panels="$panels $panel_real"
  best_tool=$(min "$best_tool" "$tool_real"); best_panel=$(min "$best_panel" "$panel_real")
done
echo "segyread | segyclean, one file   best $best_tool s  (rounds:$tools)  $tool_size bytes"
echo "SEGY panel, $files files           best $best_panel s  (rounds:$panels)  $panel_size bytes"
echo "ratio panel / tools: $(calc "$best_panel / $best_tool")"
[ "$tool_size" = "$panel_size" ] || { echo "the two outputs differ in size" >&2; exit 1; }
