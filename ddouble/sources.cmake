# The double-double code is built without GCC's straight-line vectoriser.
# It gathered the (hi, lo) halves of arguments into vector registers
# through two 8-byte stores and a 16-byte reload; such a reload cannot be
# forwarded from the stores and waits for them to retire, which serialised
# consecutive calls (19 million divisions a second instead of 32, with the
# same code otherwise). Results do not depend on the flag: every step stays
# one scalar binary64 operation.
file(GLOB _dd_src CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/ddouble/*.cpp)
set_property(SOURCE ${_dd_src} APPEND PROPERTY COMPILE_OPTIONS -fno-tree-slp-vectorize)
