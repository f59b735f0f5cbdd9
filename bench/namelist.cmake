# Namelist WRITE and READ through a file, against gfortran's runtime doing
# the same (bench/namelist_gf.f90, built by run_namelist.sh).
add_executable(bench_namelist ${CMAKE_SOURCE_DIR}/bench/namelist_bench.cpp)
target_compile_options(bench_namelist PRIVATE ${KAF_WARNINGS} -O2)
target_link_libraries(bench_namelist PRIVATE kafrts kafengine)
