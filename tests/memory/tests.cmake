# The page layer's index on a private map: its source is compiled into the
# test itself, so the test can fill the index without touching the map of
# the libraries.
add_executable(test_memory_pages ${CMAKE_CURRENT_LIST_DIR}/pages_internal.cpp
                                 ${CMAKE_SOURCE_DIR}/engine/alloc_pages.cpp)
target_compile_options(test_memory_pages PRIVATE ${KAF_WARNINGS})
target_include_directories(test_memory_pages PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(test_memory_pages PRIVATE kaftest_support kafrts kafengine GTest::gtest
                      GTest::gtest_main)
gtest_discover_tests(test_memory_pages DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
