#!/usr/bin/env bash
# Runs each demonstration program and shows what it wrote and how it ended.
set -u
dir=${1:-build/examples}
for prog in "$dir"/*; do
  [ -x "$prog" ] || continue
  name=$(basename "$prog")
  echo "==== $name"
  env $(cat "examples/$name.env" 2>/dev/null) "$prog"
  echo "---- exit status $?"
done
