#!/usr/bin/env bash
# Builds the array intrinsics benchmark (optimised build in build-bench/) and
# runs it against gfortran's intrinsics, the two interleaved at random and
# repeated. Usage: bench/run_arrays.sh [repetitions] [extra benchmark flags]
set -eu
cd "$(dirname "$0")/.."
reps=${1:-5}
shift || true
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target arrays_bench >/dev/null
echo "machine: $(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
echo "date: $(date -u '+%Y-%m-%d %H:%M UTC')"
echo "load: $(uptime)"
./build-bench/bench/arrays_bench --benchmark_repetitions="$reps" \
  --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
  --benchmark_min_time=0.3 "$@"
echo "load after: $(uptime)"
