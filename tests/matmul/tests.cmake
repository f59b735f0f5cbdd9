# The reference loop must round every product and sum on its own, as the
# kernels do: no contraction into fused multiply-adds.
if(TARGET test_matmul)
  target_compile_options(test_matmul PRIVATE -ffp-contract=off)
endif()
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/fuzz_gemm.cpp PROPERTIES
                            COMPILE_OPTIONS -ffp-contract=off)
add_test(NAME matmul.no_fused_multiply_add
         COMMAND ${CMAKE_CURRENT_LIST_DIR}/check_no_fma.sh $<TARGET_OBJECTS:kafrts>
         COMMAND_EXPAND_LISTS)
