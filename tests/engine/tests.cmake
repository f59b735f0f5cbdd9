# GNU Fortran as the oracle of formatted stream access (stream_test.cpp),
# when it is installed.
find_program(KAF_GFORTRAN gfortran)
if(KAF_GFORTRAN)
  set(_stream_oracle ${CMAKE_CURRENT_BINARY_DIR}/stream_oracle)
  add_custom_command(OUTPUT ${_stream_oracle}
                     COMMAND ${KAF_GFORTRAN} -O1 -o ${_stream_oracle} ${CMAKE_CURRENT_LIST_DIR}/stream_oracle.f90
                     DEPENDS ${CMAKE_CURRENT_LIST_DIR}/stream_oracle.f90)
  add_custom_target(stream_oracle DEPENDS ${_stream_oracle})
  add_dependencies(test_engine stream_oracle)
  target_compile_definitions(test_engine PRIVATE KAF_STREAM_ORACLE="${_stream_oracle}")
endif()
