# Memory-backed list-directed contexts; the real editors' decimal conversion
# is the oracle-independent part, so glibc's strtod/strtof and printf serve
# as the oracles of the round trip.
target_sources(test_listio PRIVATE ${CMAKE_CURRENT_LIST_DIR}/lioctx.cpp)
target_include_directories(test_listio PRIVATE ${CMAKE_SOURCE_DIR})
target_sources(test_listio PRIVATE ${CMAKE_CURRENT_LIST_DIR}/nml_support.cpp)

# The namelist differential test: gfortran writes namelist files that we
# read, and reads what we write (nml_oracle.f90).
find_program(KAF_GFORTRAN gfortran)
set(_nml_oracle ${CMAKE_CURRENT_BINARY_DIR}/nml_oracle)
if(KAF_GFORTRAN)
  add_custom_command(OUTPUT ${_nml_oracle}
    COMMAND ${KAF_GFORTRAN} -O1 -J ${CMAKE_CURRENT_BINARY_DIR} -o ${_nml_oracle} ${CMAKE_CURRENT_LIST_DIR}/nml_oracle.f90
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/nml_oracle.f90
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMENT "Building the gfortran oracle of namelist transfer")
  add_custom_target(listio_nml_oracle DEPENDS ${_nml_oracle})
  add_dependencies(test_listio listio_nml_oracle)
  target_compile_definitions(test_listio PRIVATE KAF_NML_ORACLE="${_nml_oracle}")
else()
  message(WARNING "gfortran not found: the namelist differential test will fail (run scripts/install-deps.sh)")
  target_compile_definitions(test_listio PRIVATE KAF_NML_ORACLE="")
endif()
