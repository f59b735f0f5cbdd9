#!/usr/bin/env bash
# Builds the real editing benchmark (optimised build in build-bench/) and runs
# the library, gfortran and bare snprintf/strtod over the same values, the
# cases interleaved at random and repeated.
# Usage: bench/run_freal.sh [repetitions] [extra benchmark flags]
set -eu
cd "$(dirname "$0")/.."
reps=${1:-5}
shift || true
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target freal_bench >/dev/null
echo "machine: $(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
echo "date: $(date -u '+%Y-%m-%d %H:%M UTC')"
echo "load: $(uptime)"
./build-bench/bench/freal_bench --benchmark_repetitions="$reps" \
  --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
  --benchmark_min_time=0.3 "$@"
echo "load after: $(uptime)"
