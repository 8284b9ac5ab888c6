#!/usr/bin/env bash
# Reading a large IBM-float SEG-Y file through our tools, beside a plain copy
# of the same file, in one run:
#   segyread tape=F | segyclean > out.su     against     cp F copy
# bench/segyread/run.sh [BUILD_DIR] [MEGABYTES]   (defaults: build, 500)
# The file is made here (segyhdrs + segywrite), in a temporary folder.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-build}
case "$build" in /*) ;; *) build="$top/$build" ;; esac
megabytes=${2:-500}
bin="$build/bin"
for tool in segyread segyclean segyhdrs segywrite; do
  [ -x "$bin/$tool" ] || { echo "run.sh: $bin/$tool is missing: build first" >&2; exit 1; }
done
work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
cd "$work"

ns=2000
traces=$(( megabytes * 1000000 / (240 + 4 * ns) ))
python3 - "$ns" "$traces" <<'PY'
import math, struct, sys
ns, traces = int(sys.argv[1]), int(sys.argv[2])
samples = struct.pack('<%df' % ns, *[1000.0 * math.sin(i * 0.05) * math.exp(-i / 800.0) for i in range(ns)])
with open('in.su', 'wb') as out:
    block = bytearray()
    for t in range(traces):
        header = bytearray(240)
        struct.pack_into('<iii', header, 0, t + 1, t + 1, 1 + t // 48)
        struct.pack_into('<i', header, 12, t % 48 + 1)
        struct.pack_into('<HH', header, 114, ns, 250)
        block += header + samples
        if len(block) > (16 << 20):
            out.write(block)
            block = bytearray()
    out.write(block)
PY
"$bin/segyhdrs" < in.su 2>/dev/null
"$bin/segywrite" < in.su tape=big.sgy conv=1 endian=0
rm -f in.su
size=$(stat -c %s big.sgy)
echo "SEG-Y file: $size bytes, $traces traces of $ns IBM floats, big-endian"
cat big.sgy > /dev/null  # both runs start from the page cache

seconds() { local start end; start=$(date +%s.%N); "$@"; end=$(date +%s.%N); echo "$end - $start" | bc; }
# Five rounds, each tool in turn, so that both meet the same disk and cache
# state; the best round of each counts (the others are shown).
copies=() reads=()
for round in 1 2 3 4 5; do
  rm -f copy out.su; sync
  copies+=("$(seconds cp big.sgy copy)")
  rm -f copy out.su; sync
  reads+=("$(seconds sh -c "'$bin/segyread' tape=big.sgy 2>/dev/null | '$bin/segyclean' > out.su")")
done
best() { printf '%s\n' "$@" | sort -g | head -1; }
copy_s=$(best "${copies[@]}")
read_s=$(best "${reads[@]}")
echo "cp F copy                             best ${copy_s} s   (rounds: ${copies[*]})"
echo "segyread tape=F | segyclean > out.su  best ${read_s} s   (rounds: ${reads[*]})"
echo "ratio segyread / cp:                  $(echo "scale=2; $read_s / $copy_s" | bc)"
echo "output: $(stat -c %s out.su) bytes of SU"
