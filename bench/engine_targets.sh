#!/bin/sh
# The batch engine's targets, measured as ratios in one run on this machine:
# 2 jobs against 1, the wall time against the input/output floor (reading the
# input and writing as many bytes in 1 MiB blocks, with fsync, to the same
# file system), system time against CPU time, peak memory from a file and
# from a pipe, and write calls per run.
#
#   bench/engine_targets.sh [BUILD_FOLDER] [LINES]
#
# BRINORA_BENCH_DIR  folder of the generated files (default /tmp/brinora-bench)
set -eu

BUILD=${1:-build-bench}
LINES=${2:-1000000}
DIR=${BRINORA_BENCH_DIR:-/tmp/brinora-bench}
mkdir -p "$DIR"
BRINORA="$BUILD/cli/brinora"
OPTIONS="--constants 13 --khso4 1 --ph-scale 1 --flux 1 -q"
SETTINGS="$DIR/settings.ini"
: > "$SETTINGS"
export BRINORA_SETTINGS_FILE="$SETTINGS"
INPUT="$DIR/targets-$LINES.csv"
OUTPUT="$DIR/targets-$LINES-out.csv"
[ -f "$INPUT" ] || "$BUILD/bench/brinora_make_cruise" "$LINES" "$INPUT" > /dev/null

# "wall user sys peak_kb" of a command run under GNU time.
measure() {
  /usr/bin/time -f "%e %U %S %M" -o "$DIR/time.txt" sh -c "$1" > /dev/null 2>&1 || true
  cat "$DIR/time.txt"
}

rm -f "$OUTPUT"
one=$(measure "'$BRINORA' batch '$INPUT' -o '$OUTPUT' --jobs 1 $OPTIONS")
size=$(stat -c %s "$OUTPUT")
rm -f "$OUTPUT"
two=$(measure "'$BRINORA' batch '$INPUT' -o '$OUTPUT' --jobs 2 $OPTIONS")
rm -f "$OUTPUT"
pipe=$(measure "cat '$INPUT' | '$BRINORA' batch - -o '$OUTPUT' --jobs 2 $OPTIONS")
rm -f "$OUTPUT"
blocks=$(( (size + 1048575) / 1048576 ))
floor=$(measure "cat '$INPUT' > /dev/null && dd if=/dev/zero of='$OUTPUT' bs=1M count=$blocks conv=fsync")
rm -f "$OUTPUT"
writes=-
if command -v strace > /dev/null 2>&1; then
  strace -f -c -e trace=write,pwrite64 -o "$DIR/strace.txt" "$BRINORA" batch "$INPUT" -o "$OUTPUT" --jobs 2 \
    $OPTIONS > /dev/null 2>&1 || true
  writes=$(awk '$NF == "write" { print $4 }' "$DIR/strace.txt")
  rm -f "$OUTPUT"
fi

echo "$one $two $pipe $floor" | awk -v lines="$LINES" -v writes="$writes" -v mb="$((size / 1048576))" '{
  w1 = $1; u1 = $2; s1 = $3; m1 = $4
  w2 = $5; u2 = $6; s2 = $7; m2 = $8
  wp = $9; mp = $12
  wf = $13
  printf "brinora batch, %d lines (%d MB written)\n", lines, mb
  printf "  --jobs 1              %8.2f s  %9.0f lines/s  peak %6.1f MB\n", w1, lines / w1, m1 / 1024
  printf "  --jobs 2              %8.2f s  %9.0f lines/s  peak %6.1f MB   %.2fx --jobs 1\n", w2, lines / w2, m2 / 1024, w1 / w2
  printf "  --jobs 2 from a pipe  %8.2f s  %9.0f lines/s  peak %6.1f MB\n", wp, lines / wp, mp / 1024
  printf "  input/output floor    %8.2f s  (--jobs 2 takes %.2fx the floor)\n", wf, w2 / wf
  printf "  system time           %8.1f %% of CPU time with --jobs 2 (%.1f %% with --jobs 1)\n", 100 * s2 / (u2 + s2), 100 * s1 / (u1 + s1)
  printf "  write calls           %8s with --jobs 2\n", writes
}'
