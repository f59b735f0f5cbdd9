# Double-double arithmetic against the QD library's dd_real (libqd-dev).
find_package(benchmark REQUIRED)
add_executable(bench_ddouble ${CMAKE_SOURCE_DIR}/bench/ddouble_bench.cpp)
target_compile_options(bench_ddouble PRIVATE ${KAF_WARNINGS} -O2)
target_link_libraries(bench_ddouble PRIVATE kafrts kafengine benchmark::benchmark qd)
