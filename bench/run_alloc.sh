#!/usr/bin/env bash
# Builds the allocator benchmark (optimised) and runs ours and glibc's
# malloc/free (and calloc/free for zero-filled large blocks) interleaved in
# one run, repeated; the load is printed before and after. Medians of the
# CPU time column are the figures compared.
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target bench_alloc
lscpu | grep 'Model name'
uptime
build-bench/bench/bench_alloc --benchmark_repetitions="${REPS:-5}" \
  --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
  --benchmark_min_time="${MIN_TIME:-0.2}" "$@"
uptime
