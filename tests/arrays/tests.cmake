# The differential test of the array intrinsics runs gfortran's own RESHAPE,
# PACK, SPREAD, TRANSPOSE, CSHIFT and EOSHIFT through a small Fortran program
# (the oracle) and compares. The oracle is built here with gfortran.
find_program(KAF_GFORTRAN gfortran)
set(_oracle ${CMAKE_CURRENT_BINARY_DIR}/arrays_oracle)
if(KAF_GFORTRAN)
  add_custom_command(OUTPUT ${_oracle}
    COMMAND ${KAF_GFORTRAN} -O1 -o ${_oracle} ${CMAKE_CURRENT_LIST_DIR}/oracle.f90
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/oracle.f90
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMENT "Building the gfortran oracle of the array intrinsics")
  add_custom_target(arrays_oracle DEPENDS ${_oracle})
  add_dependencies(test_arrays arrays_oracle)
  target_compile_definitions(test_arrays PRIVATE KAF_ARRAYS_ORACLE="${_oracle}")
else()
  message(WARNING "gfortran not found: the arrays differential test will fail (run scripts/install-deps.sh)")
  target_compile_definitions(test_arrays PRIVATE KAF_ARRAYS_ORACLE="")
endif()
