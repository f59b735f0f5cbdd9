#!/usr/bin/env bash
# Builds everything and runs the demonstration programs in examples/.
set -eu
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build >/dev/null
cmake --build build -j "$(nproc)"
bash examples/run.sh build/examples
