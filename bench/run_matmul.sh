#!/usr/bin/env bash
# Builds the GEMM benchmark (optimised build in build-bench/) and runs it:
# the library, OpenBLAS on one thread and gfortran's MATMUL, interleaved.
# Usage: bench/run_matmul.sh [rounds] [sgemm|dgemm|cgemm|zgemm]
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target matmul_bench >/dev/null
export OPENBLAS_NUM_THREADS=1
echo "machine: $(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
echo "date: $(date -u '+%Y-%m-%d %H:%M UTC')"
echo "load: $(uptime)"
env | grep '^OPENBLAS' || true
./build-bench/bench/matmul_bench "$@"
echo "load after: $(uptime)"
