#!/usr/bin/env bash
# Builds and runs every test. With --sanitize: the same under
# AddressSanitizer and UndefinedBehaviorSanitizer (clang, with the fuzz
# targets run for a bounded time).
set -eu
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc)
if [ "${1:-}" = "--sanitize" ]; then
  build=build-san
  CC=clang CXX=clang++ cmake -S . -B $build -DCMAKE_BUILD_TYPE=Debug -DKAF_SANITIZE=ON \
    -DKAF_FUZZ=ON -DKAF_WERROR=ON >/dev/null
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1
else
  build=build
  cmake -S . -B $build -DKAF_WERROR=ON >/dev/null
fi
cmake --build $build -j "$jobs"
cd $build && ctest --output-on-failure -j "$jobs" --timeout 900
