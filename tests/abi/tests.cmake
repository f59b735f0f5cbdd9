# Sanitizer builds link their runtimes into the libraries; the shape is
# checked on the ordinary build only.
if(NOT KAF_SANITIZE)
  add_test(NAME abi.library_shape
           COMMAND ${CMAKE_CURRENT_LIST_DIR}/check_libraries.sh
                   $<TARGET_FILE:kafrts> $<TARGET_FILE:kafengine>)
endif()

# A program linked against libkafrts alone resolves every symbol at load time.
if(NOT KAF_SANITIZE)
  add_test(NAME abi.program_resolves_everything
           COMMAND sh -c "out=$(ldd -r $<TARGET_FILE:example_stop_code> 2>&1); echo \"$out\"; ! echo \"$out\" | grep -q 'undefined symbol'")
endif()
