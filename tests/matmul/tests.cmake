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
if(TARGET test_matmul)
  target_link_libraries(test_matmul PRIVATE ${CMAKE_DL_LIBS})
endif()
# The program the path tests start in a fresh process, beside test_matmul.
add_executable(gemm_path_probe ${CMAKE_CURRENT_LIST_DIR}/gemm_path_probe.cpp)
target_include_directories(gemm_path_probe PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
target_compile_options(gemm_path_probe PRIVATE ${KAF_WARNINGS} -ffp-contract=off)
target_link_libraries(gemm_path_probe PRIVATE kafrts kafengine)
set_target_properties(gemm_path_probe PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
if(TARGET test_matmul)
  add_dependencies(test_matmul gemm_path_probe)
endif()
