#!/usr/bin/env bash
# Runs each fuzz target for FUZZ_SECONDS seconds (default 60) over its seed
# corpus, or for FUZZ_RUNS executions when that is set, and prints the
# executions reached, the time taken and the executions per second. New
# inputs go to BUILD/corpus/<target>/, crashes, timeouts and leaks to
# BUILD/artifacts/, the fuzzer's output to BUILD/logs/<target>.log.
#   fuzz/run.sh [BUILD] [TARGET...]      (BUILD defaults to build-fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-fuzz}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(lenient_number batch_reader compute_co2 kml_writer)
seconds=${FUZZ_SECONDS:-60}
if [ -n "${FUZZ_RUNS:-}" ]; then
  limit=(-runs="$FUZZ_RUNS")
else
  limit=(-max_total_time="$seconds")
fi

mkdir -p "$build/artifacts" "$build/logs"
status=0
for target in "${targets[@]}"; do
  # A single input over a second is a hang. A sample that never converges
  # runs six solves to the fuzz build's step cap of 5000, a few milliseconds.
  timeout=1
  max_len=4096
  if [ "$target" = compute_co2 ]; then
    max_len=128
  fi
  mkdir -p "$build/corpus/$target"
  log="$build/logs/$target.log"
  started=$(date +%s)
  if "$build/fuzz/fuzz_$target" "$build/corpus/$target" "fuzz/corpus/$target" \
      "${limit[@]}" -timeout="$timeout" -max_len="$max_len" -rss_limit_mb=2048 \
      -artifact_prefix="$build/artifacts/$target-" -print_final_stats=1 >"$log" 2>&1; then
    result=ok
  else
    result=FAILED
    status=1
  fi
  elapsed=$(( $(date +%s) - started ))
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  printf '%-16s %-6s %12s executions in %5d s, %7s execs/s\n' "$target" "$result" "${executions:-?}" \
    "$elapsed" "${rate:-?}"
  if [ "$result" = FAILED ]; then
    grep -E 'ERROR|SUMMARY|fuzz check failed|Test unit written' "$log" | head -20 || true
  fi
done
exit $status
