# The real editors and the decimal conversion are internal to libkafrts:
# their sources are compiled into the test as well, and MPFR serves as the
# oracle of the directed rounding modes (glibc's printf and strtod of the
# nearest ones).
target_sources(test_freal PRIVATE ${CMAKE_SOURCE_DIR}/format/decimal.cpp
               ${CMAKE_SOURCE_DIR}/format/freal_edit.cpp ${CMAKE_SOURCE_DIR}/format/freal_read.cpp
               ${CMAKE_CURRENT_LIST_DIR}/oracle.cpp ${CMAKE_SOURCE_DIR}/tests/format/memctx.cpp)
target_include_directories(test_freal PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(test_freal PRIVATE mpfr gmp)
