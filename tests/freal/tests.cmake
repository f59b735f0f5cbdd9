# The real editors and the decimal conversion are internal to libkafrts:
# their sources are compiled into the test as well, and MPFR serves as the
# oracle of the directed rounding modes (glibc's printf and strtod of the
# nearest ones).
target_sources(test_freal PRIVATE ${CMAKE_SOURCE_DIR}/format/decimal.cpp
               ${CMAKE_SOURCE_DIR}/format/freal_edit.cpp ${CMAKE_SOURCE_DIR}/format/freal_read.cpp
               ${CMAKE_CURRENT_LIST_DIR}/oracle.cpp ${CMAKE_SOURCE_DIR}/tests/format/memctx.cpp)
target_include_directories(test_freal PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(test_freal PRIVATE mpfr gmp)

# GNU Fortran as an oracle of whole fields (layout as well as digits), when
# it is installed.
find_program(KAF_GFORTRAN gfortran)
if(KAF_GFORTRAN)
  set(_fields_oracle ${CMAKE_CURRENT_BINARY_DIR}/gfortran_fields)
  add_custom_command(OUTPUT ${_fields_oracle}
                     COMMAND ${KAF_GFORTRAN} -O1 -o ${_fields_oracle} ${CMAKE_CURRENT_LIST_DIR}/gfortran_fields.f90
                     DEPENDS ${CMAKE_CURRENT_LIST_DIR}/gfortran_fields.f90)
  add_custom_target(gfortran_fields DEPENDS ${_fields_oracle})
  add_dependencies(test_freal gfortran_fields)
  target_compile_definitions(test_freal PRIVATE KAF_GFORTRAN_FIELDS="${_fields_oracle}")
endif()
