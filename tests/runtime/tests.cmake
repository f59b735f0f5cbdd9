# The text expander and both message tables are internal to libkafrts; their
# tests compile them into the test program itself (they export nothing, so
# nothing clashes with the shared library the rest of the suite uses). The
# generator's own checks are exercised through the interpreter the build uses.
target_sources(test_runtime PRIVATE
  ${CMAKE_SOURCE_DIR}/runtime/msgformat.cpp
  ${CMAKE_SOURCE_DIR}/runtime/insert_real.cpp
  ${CMAKE_SOURCE_DIR}/format/decimal.cpp
  ${CMAKE_SOURCE_DIR}/format/freal_edit.cpp
  ${CMAKE_SOURCE_DIR}/runtime/messages_en.cpp
  ${KAF_MESSAGES_JA_CPP})
add_dependencies(test_runtime kaf_messages_ja)
target_compile_definitions(test_runtime PRIVATE
  KAF_PYTHON3="${Python3_EXECUTABLE}"
  KAF_CATALOGUE_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
  KAF_CATALOGUE_BINARY_DIR="${CMAKE_BINARY_DIR}")
