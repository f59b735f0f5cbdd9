# The GEMM kernels want full unrolling of their register tiles and the
# vectoriser on the packing loops: build the folder at -O3 whatever the
# build type (sanitizer builds keep their own level).
if(NOT KAF_SANITIZE)
  file(GLOB _matmul_src CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/matmul/*.cpp)
  set_property(SOURCE ${_matmul_src} APPEND PROPERTY COMPILE_OPTIONS -O3)
endif()
