# Real editing benchmark: internal WRITE and READ of reals through the
# library against gfortran's, and bare snprintf/strtod (bench/run_freal.sh).
enable_language(Fortran)
find_package(benchmark REQUIRED)
add_library(freal_gfortran STATIC ${CMAKE_SOURCE_DIR}/bench/freal_gfortran.f90)
target_compile_options(freal_gfortran PRIVATE -O2)
add_executable(freal_bench ${CMAKE_SOURCE_DIR}/bench/freal_bench.cpp)
target_compile_options(freal_bench PRIVATE -O2)
target_include_directories(freal_bench PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(freal_bench PRIVATE kafrts freal_gfortran benchmark::benchmark gfortran)
set_target_properties(freal_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench
                      LINKER_LANGUAGE CXX)
