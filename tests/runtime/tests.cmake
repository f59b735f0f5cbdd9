# The message tables are hidden inside libkafrts, so the catalogue tests
# compile both tables into the test program itself. The generator's own
# checks are exercised through the interpreter the build uses.
target_sources(test_runtime PRIVATE ${CMAKE_SOURCE_DIR}/runtime/messages_en.cpp
               ${KAF_MESSAGES_JA_CPP})
add_dependencies(test_runtime kaf_messages_ja)
target_compile_definitions(test_runtime PRIVATE
  KAF_PYTHON3="${Python3_EXECUTABLE}"
  KAF_CATALOGUE_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
  KAF_CATALOGUE_BINARY_DIR="${CMAKE_BINARY_DIR}")
