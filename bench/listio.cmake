# List-directed I/O of a million doubles through a file, against gfortran's
# runtime doing the same (bench/listio_gf.f90, built by run_listio.sh).
add_executable(bench_listio ${CMAKE_SOURCE_DIR}/bench/listio_bench.cpp)
target_compile_options(bench_listio PRIVATE ${KAF_WARNINGS} -O2)
target_link_libraries(bench_listio PRIVATE kafrts kafengine)
