#!/usr/bin/env bash
# Builds the list-directed I/O benchmark (optimised) and its gfortran peer,
# then runs them interleaved, five times each, in both statement shapes.
# Each line gives wall-clock and processor seconds of the WRITE and the READ.
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target bench_listio >/dev/null
gfortran -O2 -o build-bench/listio_gf bench/listio_gf.f90
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
lscpu | grep 'Model name' || true
date -u
uptime
for round in 1 2 3 4 5; do
  for shape in array scalar; do
    build-bench/bench_listio "$shape" "$dir/kaf.txt"
    build-bench/listio_gf "$shape" "$dir/gf.txt"
  done
done
uptime
