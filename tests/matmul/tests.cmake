# The reference loop must round every product and sum on its own, as the
# kernels do: no contraction into fused multiply-adds.
if(TARGET test_matmul)
  target_compile_options(test_matmul PRIVATE -ffp-contract=off)
endif()
