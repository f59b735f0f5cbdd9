#!/usr/bin/env bash
# Runs each demonstration program and shows what it wrote and how it ended.
# A program with a NAME.env file runs with those environment settings; the
# Japanese catalogue writes Shift-JIS, shown here converted to UTF-8. A
# program with a NAME.stdin file reads it as standard input (otherwise none).
set -u
dir=${1:-build/examples}
here=$(dirname "$0")
for prog in "$dir"/*; do
  [ -x "$prog" ] || continue
  name=$(basename "$prog")
  settings=$(cat "$here/$name.env" 2>/dev/null || true)
  input=/dev/null
  [ -f "$here/$name.stdin" ] && input="$here/$name.stdin"
  echo "==== $name ${settings}"
  if grep -q LANGUAGE <<<"$settings"; then
    env $settings "$prog" <"$input" 2>&1 | iconv -f SHIFT_JIS -t UTF-8
    status=${PIPESTATUS[0]}
  else
    # In a pipeline the shell keeps quiet about a program that aborted.
    env $settings "$prog" <"$input" 2>&1 | cat
    status=${PIPESTATUS[0]}
  fi
  echo "---- exit status $status"
done
exit 0
