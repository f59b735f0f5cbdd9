#!/usr/bin/env bash
# Runs each demonstration program and shows what it wrote and how it ended.
# A program with a NAME.env file runs with those environment settings; the
# Japanese catalogue writes Shift-JIS, shown here converted to UTF-8.
set -u
dir=${1:-build/examples}
here=$(dirname "$0")
for prog in "$dir"/*; do
  [ -x "$prog" ] || continue
  name=$(basename "$prog")
  settings=$(cat "$here/$name.env" 2>/dev/null || true)
  echo "==== $name ${settings}"
  if grep -q LANGUAGE <<<"$settings"; then
    env $settings "$prog" 2>&1 | iconv -f SHIFT_JIS -t UTF-8
    status=${PIPESTATUS[0]}
  else
    # In a pipeline the shell keeps quiet about a program that aborted.
    env $settings "$prog" 2>&1 | cat
    status=${PIPESTATUS[0]}
  fi
  echo "---- exit status $status"
done
exit 0
