#!/usr/bin/env bash
# Times `vexmor-cli convert abem` on a field day of ABEM Mark 3 records:
# one call for each record in a shell loop, against one call that takes them
# all (--output-dir, one SU file each, the same bytes), and the cost of a
# start on its own (`convert --help`).
#
#   bench/cli_convert/run.sh [BIN_DIR] [RECORDS]
#
# BIN_DIR holds vexmor-cli (default: build/bin); RECORDS defaults to 500
# records of 24 channels x 1000 samples (50 kB each, 25 MB in all). Figures
# are only fair on an otherwise idle machine.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$top/build/bin}
records=${2:-500}
bin=$(cd "$bin" && pwd)
cli="$bin/vexmor-cli"
[ -x "$cli" ] || { echo "no vexmor-cli in $bin (build first)" >&2; exit 2; }
command -v python3 > /dev/null || { echo "python3 is needed to write the records" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/loop" "$work/one"

# ABEM records: a 2048-byte text header (line 7 the interval, line 113 the
# channels), then 24 traces of 1000 int16 samples.
python3 - "$work/in" "$records" <<'PY'
import math, struct, sys
folder, count = sys.argv[1], int(sys.argv[2])
channels, ns = 24, 1000
for r in range(1, count + 1):
    lines = ["LINE 1         LINE 1  980615  14:32"] + ["" for _ in range(5)] + ["250"]
    lines += ["" for _ in range(105)] + [str(channels)]
    header = "\r\n".join(lines).encode() + b"\r\n"
    header = header.ljust(2048, b" ")
    body = bytearray()
    for c in range(channels):
        body += struct.pack("<%dh" % ns, *(int(8000 * math.sin((k - 5 * c) * 0.05 + r)) for k in range(ns)))
    with open("%s/R%04d.ABM" % (folder, r), "wb") as f:
        f.write(header + body)
PY

. "$top/bench/timing.sh"
cd "$work/in"
loop() { for f in R*.ABM; do "$cli" convert abem "$f" -o "$work/loop/${f%.ABM}.su"; done; }
one() { "$cli" convert abem --output-dir "$work/one" R*.ABM; }
starts() { for _ in $(seq 100); do "$cli" convert --help > /dev/null; done; }

set -- $(timed loop); loop_real=$1; loop_cpu=$2
set -- $(timed one); one_real=$1; one_cpu=$2
set -- $(timed starts); start_real=$(calc "$1 / 100"); start_cpu=$(calc "$2 / 100")
diff -r "$work/loop" "$work/one" > /dev/null || { echo "the two runs differ" >&2; exit 1; }

echo "records:                      $records (24 channels x 1000 samples)"
echo "one call each (shell loop):   ${loop_real} s elapsed, ${loop_cpu} s cpu, $(calc "1000 * $loop_real / $records") ms a record"
echo "one call for all:             ${one_real} s elapsed, ${one_cpu} s cpu, $(calc "1000 * $one_real / $records") ms a record"
echo "a start (convert --help):     $(calc "1000 * $start_real") ms elapsed, $(calc "1000 * $start_cpu") ms cpu"
echo "loop / one call:              $(calc "$loop_real / $one_real")"
