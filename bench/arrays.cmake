# Array intrinsics benchmark: the library against gfortran's RESHAPE, PACK,
# SPREAD, TRANSPOSE and CSHIFT in one program (bench/run_arrays.sh).
enable_language(Fortran)
find_package(benchmark REQUIRED)
add_library(arrays_gfortran STATIC ${CMAKE_SOURCE_DIR}/bench/arrays_gfortran.f90)
target_compile_options(arrays_gfortran PRIVATE -O3 -march=native)
add_executable(arrays_bench ${CMAKE_SOURCE_DIR}/bench/arrays_bench.cpp)
target_compile_options(arrays_bench PRIVATE -O2)
target_link_libraries(arrays_bench PRIVATE kafrts arrays_gfortran benchmark::benchmark gfortran)
set_target_properties(arrays_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench
                      LINKER_LANGUAGE CXX)
