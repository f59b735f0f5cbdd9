# GEMM benchmark: the library against OpenBLAS and gfortran's MATMUL, in
# one program (bench/run_matmul.sh builds and runs it).
enable_language(Fortran)
find_library(KAF_OPENBLAS NAMES openblas
             PATHS /usr/lib/x86_64-linux-gnu/openblas-pthread NO_DEFAULT_PATH)
if(NOT KAF_OPENBLAS)
  find_library(KAF_OPENBLAS NAMES openblas REQUIRED)
endif()
add_library(matmul_gfortran STATIC ${CMAKE_SOURCE_DIR}/bench/matmul_gfortran.f90)
target_compile_options(matmul_gfortran PRIVATE -O3 -march=native)
add_executable(matmul_bench ${CMAKE_SOURCE_DIR}/bench/matmul_bench.cpp)
target_compile_options(matmul_bench PRIVATE -O2)
target_link_libraries(matmul_bench PRIVATE kafrts matmul_gfortran ${KAF_OPENBLAS} gfortran)
set_target_properties(matmul_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench
                      LINKER_LANGUAGE CXX)
