# Memory-backed transfer contexts shared by the editing tests.
target_sources(test_format PRIVATE ${CMAKE_CURRENT_LIST_DIR}/memctx.cpp)
