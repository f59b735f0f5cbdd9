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

# The public header is plain C: strict C99 and C++ compilers both take it.
add_test(NAME abi.header_is_strict_c99
         COMMAND ${CMAKE_C_COMPILER} -std=c99 -pedantic-errors -Wall -Wextra -Werror
                 -I${CMAKE_SOURCE_DIR}/include -fsyntax-only -x c ${CMAKE_SOURCE_DIR}/include/kafrts.h)
