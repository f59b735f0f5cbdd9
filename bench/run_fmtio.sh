#!/usr/bin/env bash
# Builds the formatted integer I/O benchmark and its gfortran peer and runs
# them interleaved, three rounds each. Figures are CPU seconds (user + system)
# of each phase, since the machine is shared.
set -eu
cd "$(dirname "$0")/.."
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DKAF_BENCH=ON -DKAF_TESTS=OFF >/dev/null
cmake --build build-bench -j2 --target bench_fmtio >/dev/null
gfortran -O2 -o build-bench/bench/fmtio_peer bench/fmtio_peer.f90
dir=${TMPDIR:-/tmp}
lscpu | grep 'Model name'
date -u
uptime
for round in 1 2 3; do
  build-bench/bench/bench_fmtio "$dir/fmtio_bench_$$.txt"
  build-bench/bench/fmtio_peer "$dir/fmtio_peer_$$.txt"
done
uptime
