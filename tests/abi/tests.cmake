# Sanitizer builds link their runtimes into the libraries; the shape is
# checked on the ordinary build only.
if(NOT KAF_SANITIZE)
  add_test(NAME abi.library_shape
           COMMAND ${CMAKE_CURRENT_LIST_DIR}/check_libraries.sh
                   $<TARGET_FILE:kafrts> $<TARGET_FILE:kafengine>)
endif()
