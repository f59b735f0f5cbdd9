# Formatted integer I/O benchmark (run by bench/run_fmtio.sh beside a
# gfortran-compiled peer).
add_executable(bench_fmtio ${CMAKE_SOURCE_DIR}/bench/fmtio_bench.c)
target_compile_options(bench_fmtio PRIVATE ${KAF_WARNINGS})
target_link_libraries(bench_fmtio PRIVATE kafrts)
set_target_properties(bench_fmtio PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
