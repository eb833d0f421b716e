#!/bin/sh
# Runs the benchmarks of a build folder configured with -DBRINORA_BUILD_BENCH=ON
# and prints a short table (make bench does both).
#
#   bench/run.sh [BUILD_FOLDER]
#
# BENCH_REPETITIONS  repetitions of each benchmark, medians shown (default 5)
# BENCH_HUGE=1       also times `brinora batch` on a 10^7-line file (1.2 GB,
#                    written to BRINORA_BENCH_DIR and deleted afterwards)
# BRINORA_BENCH_DIR  folder of the generated input files (default /tmp/brinora-bench)
# BENCH_TABLE_ONLY=1 prints the table of the results already in the folder
set -eu

BUILD=${1:-build-bench}
REPETITIONS=${BENCH_REPETITIONS:-5}
HUGE=${BENCH_HUGE:-0}
BRINORA_BENCH_DIR=${BRINORA_BENCH_DIR:-/tmp/brinora-bench}
export BRINORA_BENCH_DIR
RESULTS=$BUILD/bench-results
mkdir -p "$RESULTS" "$BRINORA_BENCH_DIR"

if [ "${BENCH_TABLE_ONLY:-0}" != 1 ]; then
for program in bench/brinora_bench_core bench/brinora_bench_batch bench/brinora_make_cruise cli/brinora; do
  if [ ! -x "$BUILD/$program" ]; then
    echo "bench/run.sh: $BUILD/$program is missing; build with -DBRINORA_BUILD_BENCH=ON first (make bench)" >&2
    exit 1
  fi
done
if [ ! -x /usr/bin/time ]; then
  echo "bench/run.sh: /usr/bin/time is missing (Debian package \"time\")" >&2
  exit 1
fi

echo "Running the calculation benchmarks ..." >&2
"$BUILD/bench/brinora_bench_core" --benchmark_repetitions="$REPETITIONS" --benchmark_report_aggregates_only=true \
  --benchmark_format=csv > "$RESULTS/core.csv" 2> "$RESULTS/core.log"
echo "Running the record benchmarks ..." >&2
"$BUILD/bench/brinora_bench_batch" --benchmark_filter=Format --benchmark_repetitions="$REPETITIONS" \
  --benchmark_report_aggregates_only=true --benchmark_format=csv > "$RESULTS/record.csv" 2> "$RESULTS/record.log"
echo "Running the batch pipeline benchmarks (files of 10^4 to 10^6 lines) ..." >&2
"$BUILD/bench/brinora_bench_batch" --benchmark_filter=BatchRun --benchmark_repetitions="$REPETITIONS" \
  --benchmark_report_aggregates_only=true --benchmark_format=csv > "$RESULTS/batch.csv" 2> "$RESULTS/batch.log"
if [ -x "$BUILD/bench/brinora_bench_graph" ]; then
  echo "Running the graph benchmarks (an output file of 10^6 records) ..." >&2
  "$BUILD/bench/brinora_bench_graph" --benchmark_repetitions="$REPETITIONS" --benchmark_report_aggregates_only=true \
    --benchmark_format=csv > "$RESULTS/graph.csv" 2> "$RESULTS/graph.log"
fi
if [ -x "$BUILD/bench/brinora_bench_uncertainty" ]; then
  echo "Running the uncertainty benchmarks ..." >&2
  "$BUILD/bench/brinora_bench_uncertainty" --benchmark_repetitions="$REPETITIONS" \
    --benchmark_report_aggregates_only=true --benchmark_format=csv > "$RESULTS/uncertainty.csv" 2> "$RESULTS/uncertainty.log"
fi

# `brinora batch` itself: wall time and peak resident memory (GNU time).
settings=$RESULTS/settings.ini
: > "$settings"
command_run() {  # lines jobs -> "seconds peak_kb"
  input=$BRINORA_BENCH_DIR/command-$1.csv
  output=$BRINORA_BENCH_DIR/command-$1-out.csv
  BRINORA_SETTINGS_FILE=$settings /usr/bin/time -v -o "$RESULTS/time-$1-$2.txt" \
    "$BUILD/cli/brinora" batch "$input" -o "$output" --force --jobs "$2" \
    --constants 13 --khso4 1 --ph-scale 1 --flux 1 > /dev/null
  rm -f "$output"
  awk -F': ' '/Elapsed \(wall clock\)/ { n = split($2, t, ":"); s = 0; for (i = 1; i <= n; i++) s = s * 60 + t[i] }
              /Maximum resident set size/ { kb = $2 } END { printf "%s %s\n", s, kb }' "$RESULTS/time-$1-$2.txt"
}
sizes=1000000
[ "$HUGE" = 1 ] && sizes="1000000 10000000"
: > "$RESULTS/command.txt"
for lines in $sizes; do
  echo "Timing brinora batch on $lines lines ..." >&2
  "$BUILD/bench/brinora_make_cruise" "$lines" "$BRINORA_BENCH_DIR/command-$lines.csv"
  for jobs in 1 2; do
    echo "$lines $jobs $(command_run "$lines" "$jobs")" >> "$RESULTS/command.txt"
  done
  if [ "$lines" = 10000000 ]; then rm -f "$BRINORA_BENCH_DIR/command-$lines.csv"; fi
done
fi

cpu=$(awk -F': ' '/model name/ { print $2; exit }' /proc/cpuinfo)
cores=$(nproc)
{
  echo "Brinora benchmarks: $cpu, $cores cores; medians of $REPETITIONS repetitions"
  echo
  awk -F, '
    function median(name) { return value[name "_median"] }
    NR > 1 { gsub(/"/, "", $1); value[$1] = $4; real[$1] = $3; rate[$1] = $11 }
    END {
      printf "ComputeCO2, per sample (one core)   surface     depth\n"
      n = split("TA-TCO2 TA-pH TA-fCO2 TA-pCO2 TCO2-pH TCO2-fCO2 TCO2-pCO2 pH-fCO2 pH-pCO2", pairs, " ")
      for (i = 1; i <= n; i++)
        printf "  %-32s %7.2f us %7.2f us\n", pairs[i], median("ComputeCO2/" pairs[i] "/surface") / 1000,
               median("ComputeCO2/" pairs[i] "/depth") / 1000
      printf "\nCO2_Constants, per call            surface     depth\n"
      for (set = 1; set <= 14; set++)
        printf "  constants set %-18d %7.0f ns %7.0f ns\n", set, median("CO2_Constants/set" set "/surface"),
               median("CO2_Constants/set" set "/depth")
      printf "  same arguments again (exact reuse) %6.0f ns\n", median("CO2_Constants/repeated")
    }' "$RESULTS/core.csv"
  echo
  awk -F, '
    NR > 1 { gsub(/"/, "", $1); value[$1] = $4; rate[$1] = $11 }
    END {
      printf "Output record                        fast   controller\n"
      printf "  one \"%%.3f\" number            %7.1f ns %7.1f ns (printf)\n", value["FormatNumber/fast_median"],
             value["FormatNumber/printf_median"]
      printf "  one record (53 columns)       %7.0f ns %7.0f ns\n", value["FormatRecord/fast_median"],
             value["FormatRecord/controller_median"]
    }' "$RESULTS/record.csv"
  echo
  awk -F, '
    NR > 1 { gsub(/"/, "", $1); value[$1] = $4; rate[$1] = $11 }
    END {
      printf "Batch run in process, lines/s     1 job     2 jobs   2 jobs/1 job\n"
      split("10000 100000 1000000", sizes, " ")
      for (i = 1; i <= 3; i++) {
        one = rate["BatchRun/jobs1/" sizes[i] "/real_time_median"]
        if (one == "") one = rate["BatchRun/jobs1/" sizes[i] "/iterations:1/real_time_median"]
        two = rate["BatchRun/jobs2/" sizes[i] "/real_time_median"]
        if (two == "") two = rate["BatchRun/jobs2/" sizes[i] "/iterations:1/real_time_median"]
        printf "  %-8d lines               %9.0f %9.0f %8.2fx\n", sizes[i], one, two, (one > 0 ? two / one : 0)
      }
      printf "  10000    lines, every log line     %6.0f\n", rate["BatchRun/every-log-line/10000/real_time_median"]
    }' "$RESULTS/batch.csv"
  if [ -s "$RESULTS/graph.csv" ]; then
    echo
    awk -F, '
      NR > 1 { gsub(/"/, "", $1); real[$1] = $3; cpu[$1] = $4 }
      function row(label, a, b) {
        printf "  %-30s %8.1f ms %8.1f ms", label, real[a "_median"], cpu[a "_median"]
        if (b != "") printf " %8.1f ms %8.1f ms", real[b "_median"], cpu[b "_median"]
        printf "\n"
      }
      END {
        printf "Graph of 10^6 records          salinity-temperature    pH-pressure, coloured\n"
        printf "  (wall and CPU time)               wall        CPU        wall        CPU\n"
        row("read the output file", "GraphLoad/1000000/real_time", "")
        split("GraphSeries GraphRender GraphPan GraphFirstPlot", kinds, " ")
        split("choose the points|draw 1000 x 470|pan: draw after a move|first plot: read, choose, draw", labels, "|")
        for (i = 1; i <= 4; i++)
          row(labels[i], kinds[i] "/salinity-temperature/1000000/real_time", kinds[i] "/pH-pressure/1000000/real_time")
      }' "$RESULTS/graph.csv"
  fi
  if [ -s "$RESULTS/uncertainty.csv" ]; then
    echo
    awk -F, '
      NR > 1 { gsub(/"/, "", $1); cpu[$1] = $4 }
      function t(kind, tail) { return cpu[kind "/" tail "_median"] / 1000 }
      END {
        printf "Per sample, CPU time (us)      record   double  +derivatives  +uncertainties  ratio to record\n"
        split("TA-TCO2/surface TA-pH/surface pH-pCO2/surface TA-TCO2/depth TA-pH/depth pH-pCO2/depth", rows, " ")
        for (i = 1; i <= 6; i++) {
          r = t("Record", rows[i])
          printf "  %-26s %7.2f %8.2f %13.2f %15.2f %12.1fx\n", rows[i], r, t("DoubleValues", rows[i]),
                 t("Sensitivities", rows[i]), t("Uncertainties", rows[i]), (r > 0 ? t("Uncertainties", rows[i]) / r : 0)
        }
      }' "$RESULTS/uncertainty.csv"
  fi
  echo
  echo "brinora batch (the command)     jobs   seconds    lines/s   peak RSS"
  while read -r lines jobs seconds kb; do
    awk -v l="$lines" -v j="$jobs" -v s="$seconds" -v kb="$kb" \
      'BEGIN { printf "  %-8d lines               %4d %9.2f %10.0f %7.1f MB\n", l, j, s, (s > 0 ? l / s : 0), kb / 1024 }'
  done < "$RESULTS/command.txt"
} | tee "$RESULTS/table.txt"
