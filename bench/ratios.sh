#!/bin/sh
# The calculation's speed against an earlier build, as ratios measured in one
# run on this machine (each pair of figures taken one after the other, the
# whole repeated; the medians are printed):
#   1. in-situ samples (no output conditions), one thread: every result on a
#      board per sample, every result and the eight main quantities through
#      computeSamples (CPU time of the thread, ns per sample);
#   2. samples with output conditions unlike the input ones (the same);
#   3. brinora.compute on 10^6 in-situ samples, one thread, every result, and
#      results= the eight main quantities;
#   4. brinora batch of LINES in-situ lines, --jobs 1, CPU time;
#   5. brinora batch with constants set 6 and set 7, --jobs 2 against --jobs 1.
#
#   bench/ratios.sh EARLIER_SOURCE EARLIER_BUILD [BUILD] [LINES] [REPEATS]
#
# EARLIER_BUILD must hold the earlier tree's static libraries, its command
# and (for 3) its Python module; BUILD is a build of this tree with
# BRINORA_BUILD_BENCH=ON. BRINORA_BENCH_DIR: folder of the generated files.
set -eu

OLD_SRC=$1
OLD=$2
NEW=${3:-build-bench}
LINES=${4:-1000000}
REPEATS=${5:-3}
DIR=${BRINORA_BENCH_DIR:-/tmp/brinora-bench}
mkdir -p "$DIR"
HERE=$(cd "$(dirname "$0")" && pwd)

# The ratios program of the earlier tree: the same source, its libraries.
OLD_RATIOS="$DIR/ratios-earlier"
g++ -std=c++20 -O2 -ffp-contract=off -I"$OLD_SRC" "$HERE/sample_ratios.cpp" -o "$OLD_RATIOS" \
  "$OLD/engine/libbrinora_engine.a" "$OLD/solvers/libbrinora_solvers.a" "$OLD/constants/libbrinora_constants.a" \
  "$OLD/engine/libbrinora_board.a" "$OLD/log/libbrinora_log.a"
NEW_RATIOS="$NEW/bench/brinora_bench_ratios"

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

# 1 and 2.
SAMPLES=200000
: > "$DIR/engine.txt"
for r in $(seq "$REPEATS"); do
  for mode in insitu-board distinct-board; do
    echo "$mode old $("$OLD_RATIOS" "$mode" $SAMPLES 3)" >> "$DIR/engine.txt"
    echo "$mode new $("$NEW_RATIOS" "$mode" $SAMPLES 3)" >> "$DIR/engine.txt"
  done
  for mode in insitu-all insitu-main; do
    echo "$mode new $("$NEW_RATIOS" "$mode" $SAMPLES 3)" >> "$DIR/engine.txt"
  done
done
ns() { awk -v m="$1" -v w="$2" '$1 == m && $2 == w { print $3 }' "$DIR/engine.txt" | median; }
old_insitu=$(ns insitu-board old)
old_distinct=$(ns distinct-board old)
echo "calculation, one thread, ns per sample (CPU time; medians of $REPEATS)"
printf "  in-situ, every result, board:     old %7.1f  new %7.1f  ratio %.2f\n" "$old_insitu" "$(ns insitu-board new)" \
  "$(echo "$(ns insitu-board new) $old_insitu" | awk '{ print $1 / $2 }')"
printf "  in-situ, every result, columns:               new %7.1f  ratio %.2f\n" "$(ns insitu-all new)" \
  "$(echo "$(ns insitu-all new) $old_insitu" | awk '{ print $1 / $2 }')"
printf "  in-situ, eight quantities:                    new %7.1f  ratio %.2f\n" "$(ns insitu-main new)" \
  "$(echo "$(ns insitu-main new) $old_insitu" | awk '{ print $1 / $2 }')"
printf "  two conditions, every result:     old %7.1f  new %7.1f  ratio %.2f\n" "$old_distinct" \
  "$(ns distinct-board new)" "$(echo "$(ns distinct-board new) $old_distinct" | awk '{ print $1 / $2 }')"

# 3. The Python module, each build in a process of its own.
PY="$DIR/python_ratio.py"
cat > "$PY" <<'EOF'
import sys, time
import numpy as np
import brinora
N = 1_000_000
rng = np.random.default_rng(1)
inputs = dict(salinity=rng.uniform(33, 37, N), temperature=rng.uniform(0, 30, N),
              pressure=rng.uniform(0, 5000, N), phosphate=rng.uniform(0, 3, N),
              silicate=rng.uniform(0, 100, N), ta=rng.uniform(2200, 2400, N),
              tco2=rng.uniform(1900, 2200, N), wind_speed=rng.uniform(2, 12, N), pco2_air=415.0)
extra = {}
if sys.argv[1] == "main":
    extra["results"] = ["ph", "fco2", "pco2", "dissolved_co2", "bicarbonate", "carbonate",
                        "omega_calcite", "omega_aragonite"]
start = time.process_time()
brinora.compute(**inputs, constants=13, threads=1, **extra)
print(time.process_time() - start)
EOF
: > "$DIR/python.txt"
for r in $(seq "$REPEATS"); do
  echo "old $(PYTHONPATH="$OLD/python" /usr/bin/python3 "$PY" all)" >> "$DIR/python.txt"
  echo "new $(PYTHONPATH="$NEW/python" /usr/bin/python3 "$PY" all)" >> "$DIR/python.txt"
  echo "main $(PYTHONPATH="$NEW/python" /usr/bin/python3 "$PY" main)" >> "$DIR/python.txt"
done
py() { awk -v w="$1" '$1 == w { print $2 }' "$DIR/python.txt" | median; }
echo "brinora.compute, 10^6 in-situ samples, one thread (CPU s; medians of $REPEATS)"
printf "  every result:          old %6.2f  new %6.2f  ratio %.2f\n" "$(py old)" "$(py new)" \
  "$(echo "$(py new) $(py old)" | awk '{ print $1 / $2 }')"
printf "  eight quantities:                 new %6.2f  ratio %.2f\n" "$(py main)" \
  "$(echo "$(py main) $(py old)" | awk '{ print $1 / $2 }')"

# 4 and 5. The batch command.
SETTINGS="$DIR/settings.ini"
: > "$SETTINGS"
export BRINORA_SETTINGS_FILE="$SETTINGS"
CRUISE="$DIR/ratios-$LINES.csv"
INSITU="$DIR/ratios-$LINES-insitu.csv"
[ -f "$CRUISE" ] || "$NEW/bench/brinora_make_cruise" "$LINES" "$CRUISE" > /dev/null
# The same lines without output conditions (fields 12 and 13 empty).
[ -f "$INSITU" ] || awk -F, 'BEGIN { OFS = "," } NR > 1 { $12 = ""; $13 = "" } { print }' "$CRUISE" > "$INSITU"
OUT="$DIR/ratios-out.csv"
run() {  # run BUILD INPUT JOBS CONSTANTS -> "wall cpu"
  rm -f "$OUT"
  /usr/bin/time -f "%e %U %S" -o "$DIR/time.txt" "$1/cli/brinora" batch "$2" -o "$OUT" --jobs "$3" \
    --constants "$4" --khso4 1 --ph-scale 1 --flux 1 -q > /dev/null 2>&1
  awk '{ print $1, $2 + $3 }' "$DIR/time.txt"
}
: > "$DIR/batch.txt"
for r in $(seq "$REPEATS"); do
  echo "old $(run "$OLD" "$INSITU" 1 13)" >> "$DIR/batch.txt"
  echo "new $(run "$NEW" "$INSITU" 1 13)" >> "$DIR/batch.txt"
  for set in 6 7; do
    echo "set$set-1 $(run "$NEW" "$CRUISE" 1 $set)" >> "$DIR/batch.txt"
    echo "set$set-2 $(run "$NEW" "$CRUISE" 2 $set)" >> "$DIR/batch.txt"
  done
done
col() { awk -v w="$1" -v c="$2" '$1 == w { print $c }' "$DIR/batch.txt" | median; }
echo "brinora batch, $LINES lines (medians of $REPEATS)"
printf "  in-situ, --jobs 1, CPU s:   old %6.2f  new %6.2f  ratio %.2f\n" "$(col old 3)" "$(col new 3)" \
  "$(echo "$(col new 3) $(col old 3)" | awk '{ print $1 / $2 }')"
for set in 6 7; do
  printf "  constants set %d, wall s:   --jobs 1 %6.2f  --jobs 2 %6.2f  speed-up %.2f\n" "$set" "$(col set$set-1 2)" \
    "$(col set$set-2 2)" "$(echo "$(col set$set-1 2) $(col set$set-2 2)" | awk '{ print $1 / $2 }')"
done
rm -f "$OUT"
