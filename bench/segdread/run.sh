#!/usr/bin/env bash
# segdread on a 300 MB file of 420 SEG-D records, against an older segdread
# that read the whole tape into memory: same output bytes, peak memory and
# time of each.
#
#   bench/segdread/run.sh [BUILD_DIR] [ROUNDS]        (defaults: build, 3)
#
# The record is the shared demo record (../shared/samples/segd, read where it
# is) when there is one, else a record of the same shape made here: 84
# channels of 2001 IEEE floats. The older segdread is $SEGDREAD_REFERENCE
# when set, else it is built from commit $SEGDREAD_REFERENCE_COMMIT
# (default e695f86, the last whole-tape reader) in a temporary folder.
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-build}
case "$build" in /*) ;; *) build="$top/$build" ;; esac
rounds=${2:-3}
ours="$build/bin/segdread"
[ -x "$ours" ] || { echo "run.sh: $ours is missing: build first" >&2; exit 1; }
. "$top/bench/timing.sh"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexmor-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT

reference=${SEGDREAD_REFERENCE:-}
if [ -z "$reference" ]; then
  commit=${SEGDREAD_REFERENCE_COMMIT:-e695f86}
  echo "building the segdread of $commit in $work/old ..."
  mkdir "$work/old"
  folders=(src/core tools/su)
  git -C "$top" cat-file -e "$commit:src/formats" 2>/dev/null && folders+=(src/formats)
  git -C "$top" archive "$commit" "${folders[@]}" | tar -x -C "$work/old"
  (
    cd "$work/old"
    # The core files the tools need; text.cpp speaks to the panels' platform.
    sources=(tools/su/segdread.cpp tools/su/su_tool.cpp tools/su/su_stream.cpp)
    for f in tools/su/sample_formats.cpp src/formats/segd.cpp src/formats/segy.cpp src/core/*.cpp; do
      [ -f "$f" ] && [ "$f" != src/core/text.cpp ] && sources+=("$f")
    done
    g++ -std=c++20 -O2 -DNDEBUG -w -Isrc -Itools/su "${sources[@]}" -o segdread
  )
  reference="$work/old/segdread"
fi

record=${VEXMOR_SHARED_SAMPLES:-$top/../shared/samples}/segd/demo-8058.segd
if [ ! -f "$record" ]; then
  record="$work/record.segd"
  python3 - "$record" <<'PY'
import math, struct, sys
channels, ns = 84, 2001
def bcd(v):
    return ((v // 10) << 4) | (v % 10)
gh = bytearray(96)
gh[0:2] = b'\x01\x00'                       # file 100
gh[2:4] = b'\x80\x58'                       # 8058
gh[10], gh[11], gh[12] = 0x07, 0x20, 0x52   # 2007, two more general headers, day 052
gh[13], gh[14], gh[15] = 0x13, 0x04, 0x15
gh[27], gh[28] = 1, 1
gh[32 + 10] = 3
csd = bytearray(96)
csd[0] = 1
struct.pack_into('>H', csd, 1, 1)
csd[3] = 0x10
struct.pack_into('>I', csd, 12, ns)
csd[20:23] = channels.to_bytes(3, 'big')
csd[23:26] = (1000).to_bytes(3, 'big')
out = bytearray(gh + csd)
for c in range(1, channels + 1):
    th = bytearray(20)
    th[2], th[3], th[4], th[5] = 1, 1, bcd(c // 100), bcd(c % 100)
    out += th
    out += struct.pack('>%df' % ns, *[1000.0 * math.sin(0.02 * i + c) * math.exp(-i / 700.0) for i in range(ns)])
open(sys.argv[1], 'wb').write(out)
PY
fi
for _ in $(seq 1 420); do cat "$record"; done > "$work/big.segd"
echo "input: $(stat -c %s "$work/big.segd") bytes, 420 records of $(basename "$record")"
cat "$work/big.segd" > /dev/null  # every run starts from the page cache

# Runs a command with its standard output in a file; prints "real cpu peak_KiB".
# The kernel's peak of a process counts what it held before its exec, so
# the command is not forked from python (10 MB) but from a shell started in
# the background, and reaped here as a subreaper.
measure() {
  local out=$1
  shift
  python3 - "$out" "$@" <<'PY'
import ctypes, os, sys, time
out, argv = sys.argv[1], sys.argv[2:]
ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER
start = time.monotonic()
shell = os.fork()
if shell == 0:
    fd = os.open(out, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
    os.dup2(fd, 1)
    null = os.open(os.devnull, os.O_WRONLY)
    os.dup2(null, 2)
    os.execv('/bin/sh', ['sh', '-c', '"$@" &', 'sh'] + argv)
os.waitpid(shell, 0)
_, status, usage = os.wait4(-1, 0)
real = time.monotonic() - start
if os.waitstatus_to_exitcode(status) != 0:
    sys.exit("%s ended with status %d" % (argv[0], os.waitstatus_to_exitcode(status)))
print("%.3f %.3f %d" % (real, usage.ru_utime + usage.ru_stime, usage.ru_maxrss))
PY
}

best_old_real=999 best_old_cpu=999 best_new_real=999 best_new_cpu=999 old_peak=0 new_peak=0
for round in $(seq 1 "$rounds"); do
  rm -f "$work/old.su" "$work/new.su"; sync
  read -r old_real old_cpu old_kib < <(measure "$work/old.su" "$reference" "tape=$work/big.segd")
  rm -f "$work/new.su"; sync
  read -r new_real new_cpu new_kib < <(measure "$work/new.su" "$ours" "tape=$work/big.segd")
  printf 'round %d: older %.3f s (cpu %.3f s, peak %d KiB), ours %.3f s (cpu %.3f s, peak %d KiB)\n' \
    "$round" "$old_real" "$old_cpu" "$old_kib" "$new_real" "$new_cpu" "$new_kib"
  best_old_real=$(min "$old_real" "$best_old_real"); best_old_cpu=$(min "$old_cpu" "$best_old_cpu")
  best_new_real=$(min "$new_real" "$best_new_real"); best_new_cpu=$(min "$new_cpu" "$best_new_cpu")
  old_peak=$(calc "($old_kib > $old_peak) ? $old_kib : $old_peak")
  new_peak=$(calc "($new_kib > $new_peak) ? $new_kib : $new_peak")
  cmp -s "$work/old.su" "$work/new.su" || { echo "run.sh: the outputs differ" >&2; exit 1; }
done
echo "output: $(stat -c %s "$work/new.su") bytes of SU, the same bytes from both"
printf 'best of %d, elapsed: older %.3f s, ours %.3f s, ratio %.2f\n' "$rounds" "$best_old_real" "$best_new_real" \
  "$(calc "$best_new_real / $best_old_real")"
printf 'best of %d, cpu:     older %.3f s, ours %.3f s, ratio %.2f\n' "$rounds" "$best_old_cpu" "$best_new_cpu" \
  "$(calc "$best_new_cpu / $best_old_cpu")"
printf 'peak memory: older %d KiB, ours %d KiB (aim: under 16384)\n' "$old_peak" "$new_peak"
[ "$new_peak" -lt 16384 ] || { echo "run.sh: peak memory over 16 MB" >&2; exit 1; }
