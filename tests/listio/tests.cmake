# Memory-backed list-directed contexts; the real editors' decimal conversion
# is the oracle-independent part, so glibc's strtod/strtof and printf serve
# as the oracles of the round trip.
target_sources(test_listio PRIVATE ${CMAKE_CURRENT_LIST_DIR}/lioctx.cpp)
target_include_directories(test_listio PRIVATE ${CMAKE_SOURCE_DIR})
target_sources(test_listio PRIVATE ${CMAKE_CURRENT_LIST_DIR}/nml_support.cpp)
