#!/usr/bin/env bash
# The libraries' outward shape: sonames, what they need at run time, and
# which names they export.
set -u
rts=$1 engine=$2
fail=0
say() { echo "FAIL: $*"; fail=1; }

readelf -d "$rts" | grep -q 'Library soname: \[libkafrts.so.1\]' || say "libkafrts soname"
readelf -d "$engine" | grep -q 'Library soname: \[libkafengine.so.1\]' || say "libkafengine soname"
for lib in "$rts" "$engine"; do
  needed=$(readelf -d "$lib" | sed -n 's/.*Shared library: \[\(.*\)\]/\1/p')
  for n in $needed; do
    case $n in
      libkafengine.so.1|libkafrts.so.1|libc.so.6|libm.so.6) ;;
      *) say "$(basename "$lib") needs $n" ;;
    esac
  done
  bad=$(nm -D --defined-only "$lib" | awk 'NF == 3 {print $3}' | grep -v '^__KAFf90_' | head -5)
  [ -n "$bad" ] && say "$(basename "$lib") exports $bad"
  # Nothing of the C++ runtime may be referenced either.
  cxx=$(nm -D --undefined-only "$lib" | grep -E '_Z|__cxa_(guard|throw|begin_catch|end_catch|pure_virtual|allocate|rethrow)|__gxx_|_Unwind' | head -5)
  [ -n "$cxx" ] && say "$(basename "$lib") refers to the C++ runtime: $cxx"
done
readelf -d "$rts" | grep -q 'Shared library: \[libkafengine.so.1\]' || say "libkafrts does not need libkafengine"
[ $fail = 0 ] && echo "libraries: sonames, dependencies and exports as required"
exit $fail
