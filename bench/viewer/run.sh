#!/usr/bin/env bash
# The first picture of a large SEG-Y file: vexmor-view --screenshot of the
# whole file in image mode, against cat FILE > /dev/null, in one run.
#
#   bench/viewer/run.sh [BIN_DIR] [MEGABYTES] [ROUNDS]   (defaults: build/bin, 1000, 3)
#
# The file (big-endian IEEE floats, 2000 samples a trace) is made here in a
# temporary folder and removed at the end. Both start from the page cache;
# the best round of each counts.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
megabytes=${2:-1000}
rounds=${3:-3}
view="$bin/vexmor-view"
[ -x "$view" ] || { echo "no vexmor-view in $bin (build first)" >&2; exit 2; }
. "$top/bench/timing.sh"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT

python3 - "$work/big.sgy" "$megabytes" <<'PY'
import math, struct, sys
path, megabytes = sys.argv[1], int(sys.argv[2])
ns = 2000
traces = megabytes * 1000000 // (240 + 4 * ns)
head = bytearray(b'\x40' * 3200) + bytearray(400)
struct.pack_into('>hhh', head, 3216, 250, 0, ns)
struct.pack_into('>h', head, 3224, 5)
struct.pack_into('>I', head, 3296, 0x01020304)
with open(path, 'wb') as out:
    out.write(head)
    block = bytearray()
    for t in range(traces):
        header = bytearray(240)
        struct.pack_into('>iii', header, 0, t + 1, t + 1, 1 + t // 96)
        struct.pack_into('>HH', header, 114, ns, 250)
        # A dipping event and a little noise, so that the picture has a shape.
        shift = (t * 7) % ns
        samples = [math.sin((k - shift) * 0.08) * math.exp(-abs(k - shift) / 60.0) for k in range(0, ns, 1)] if t % 512 == 0 else None
        if samples is not None:
            body = struct.pack('>%df' % ns, *samples)
        block += header + body
        if len(block) > (32 << 20):
            out.write(block)
            block = bytearray()
    out.write(block)
PY
size=$(stat -c %s "$work/big.sgy")
echo "SEG-Y file: $size bytes"
cat "$work/big.sgy" > /dev/null  # both runs start from the page cache

shot() { "$view" --screenshot "$work/shot.png" --mode image "$work/big.sgy" 2>/dev/null; }
best_cat=999 best_view=999
for round in $(seq "$rounds"); do
  set -- $(timed cat "$work/big.sgy")
  best_cat=$(min "$best_cat" "$1")
  set -- $(timed shot)
  best_view=$(min "$best_view" "$1")
done
[ -s "$work/shot.png" ] || { echo "no picture written" >&2; exit 1; }
echo "cat FILE > /dev/null                         best ${best_cat} s"
echo "vexmor-view --screenshot (whole, image mode)  best ${best_view} s"
echo "ratio view / cat:                            $(calc "$best_view / $best_cat")"
