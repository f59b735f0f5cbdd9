#!/usr/bin/env bash
# Builds and runs the double-double benchmark: this library against QD's
# dd_real, interleaved at random and repeated, in one run.
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target bench_ddouble >/dev/null
lscpu | grep 'Model name'
date -u
uptime
./build-bench/bench_ddouble --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true --benchmark_min_time=0.2 "$@"
uptime
