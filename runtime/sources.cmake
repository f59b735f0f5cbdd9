# The Japanese catalogue is kept as UTF-8 text (runtime/messages_ja.txt) and
# compiled at build time into a table of Shift-JIS strings, the encoding the
# reporter writes. The generator refuses any text the reporter could not
# print correctly.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
set(KAF_MESSAGES_JA_CPP ${CMAKE_BINARY_DIR}/generated/messages_ja.cpp)
add_custom_command(
  OUTPUT ${KAF_MESSAGES_JA_CPP}
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tools/gen_sjis_catalogue.py
          --header ${CMAKE_SOURCE_DIR}/runtime/messages.h
          ${CMAKE_SOURCE_DIR}/runtime/messages_ja.txt ${KAF_MESSAGES_JA_CPP}
  DEPENDS ${CMAKE_SOURCE_DIR}/runtime/messages_ja.txt
          ${CMAKE_SOURCE_DIR}/runtime/messages.h
          ${CMAKE_SOURCE_DIR}/tools/gen_sjis_catalogue.py
  COMMENT "Generating the Shift-JIS message catalogue"
  VERBATIM)
list(APPEND KAFRTS_SOURCES ${KAF_MESSAGES_JA_CPP})
# Targets of other directories (the catalogue tests) order themselves after
# the generation through this target.
add_custom_target(kaf_messages_ja DEPENDS ${KAF_MESSAGES_JA_CPP})
