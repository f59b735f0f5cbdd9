file(GLOB _dd_src CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/ddouble/*.cpp)
set_property(SOURCE ${_dd_src} APPEND PROPERTY COMPILE_OPTIONS -fno-tree-slp-vectorize)
