# The double-double tests check every operation against MPFR. The sanitizer
# build runs them about 100 times slower, so there the random-operand counts
# are divided by KAF_DD_SCALE (1,000,000 operands become 10,000).
target_link_libraries(test_ddouble PRIVATE mpfr gmp)
target_include_directories(test_ddouble PRIVATE ${CMAKE_SOURCE_DIR})
if(KAF_SANITIZE)
  target_compile_definitions(test_ddouble PRIVATE KAF_DD_SCALE=100)
endif()
# The transcription of the core operations' steps must itself keep every
# step a separate binary64 operation.
set_property(SOURCE ${CMAKE_SOURCE_DIR}/tests/ddouble/dd_order_test.cpp APPEND PROPERTY
             COMPILE_OPTIONS -ffp-contract=off)
