# ALLOCATE/DEALLOCATE pairs against glibc malloc/free (bench/run_alloc.sh).
find_package(benchmark REQUIRED)
add_executable(bench_alloc ${CMAKE_SOURCE_DIR}/bench/alloc_bench.cpp)
target_link_libraries(bench_alloc PRIVATE kafrts kafengine benchmark::benchmark pthread)
set_target_properties(bench_alloc PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
