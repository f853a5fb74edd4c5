#!/usr/bin/env bash
# Builds the benchmarks (release), runs them and prints one table: workload, events, time, baseline, ratio, bar, verdict.
# usage: bench.sh [--strict] [--filter REGEX] [--repetitions N]
#   --strict  exit with 1 if a bar is missed
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

strict=()
filter=.
repetitions=5
while [ $# -gt 0 ]; do
    case "$1" in
    --strict) strict=(--strict) ;;
    --filter) filter="${2:?--filter needs an expression}" && shift ;;
    --repetitions) repetitions="${2:?--repetitions needs a number}" && shift ;;
    *) fail "unknown option: $1" ;;
    esac
    shift
done

configure release
build release tessaly_bench
say "Running the benchmarks, $repetitions repetitions each"
results="$BUILD_ROOT/release/benchmarks.json"
QT_QPA_PLATFORM=offscreen "$BUILD_ROOT/release/benchmarks/tessaly_bench" --benchmark_filter="$filter" \
    --benchmark_repetitions="$repetitions" --benchmark_report_aggregates_only=true --benchmark_format=json \
    >"$results" || fail "the benchmarks could not be run"
python3 "$ROOT_DIR/scripts/bench_table.py" "${strict[@]}" "$results"
