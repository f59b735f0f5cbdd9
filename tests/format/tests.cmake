# Memory-backed transfer contexts shared by the editing tests.
target_sources(test_format PRIVATE ${CMAKE_CURRENT_LIST_DIR}/memctx.cpp)

# GNU Fortran as an oracle for random formats, when it is installed.
find_program(KAF_GFORTRAN gfortran)
if(KAF_GFORTRAN)
  set(_oracle ${CMAKE_CURRENT_BINARY_DIR}/gfortran_oracle)
  add_custom_command(OUTPUT ${_oracle}
                     COMMAND ${KAF_GFORTRAN} -O1 -o ${_oracle} ${CMAKE_CURRENT_LIST_DIR}/gfortran_oracle.f90
                     DEPENDS ${CMAKE_CURRENT_LIST_DIR}/gfortran_oracle.f90)
  add_custom_target(gfortran_oracle DEPENDS ${_oracle})
  add_dependencies(test_format gfortran_oracle)
  target_compile_definitions(test_format PRIVATE KAF_GFORTRAN_ORACLE="${_oracle}")
endif()
