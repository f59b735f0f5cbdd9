#!/usr/bin/env bash
# Builds the namelist benchmark (optimised) and its gfortran peer, then
# runs them interleaved, three times each, in both group shapes.
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target bench_namelist >/dev/null
gfortran -O2 -o build-bench/namelist_gf bench/namelist_gf.f90
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
lscpu | grep 'Model name' || true
date -u
uptime
for round in 1 2 3; do
  for shape in array small; do
    build-bench/bench_namelist "$shape" "$dir/kaf.nml"
    build-bench/namelist_gf "$shape" "$dir/gf.nml"
  done
done
uptime
