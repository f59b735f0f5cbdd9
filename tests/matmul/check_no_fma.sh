#!/usr/bin/env bash
# The GEMM kernels round every product and every sum on its own: no fused
# multiply-add instruction may appear in the objects of the matmul folder,
# whatever the compiler's vectoriser recognised. Arguments: object files.
set -eu
found=0
for obj in "$@"; do
  case "$obj" in */matmul/*) ;; *) continue ;; esac
  if objdump -d --no-show-raw-insn "$obj" | grep -E '\svfn?m(add|sub)' >/dev/null; then
    echo "fused multiply-add in $obj:"
    objdump -dC --no-show-raw-insn "$obj" | awk '/^[0-9a-f]+ </{fn=$0} /[ \t]vfn?m(add|sub)/{print fn; print}' | head -20
    found=1
  fi
done
exit $found
