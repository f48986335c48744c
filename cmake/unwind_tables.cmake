# Debian strips from its static C++ library the symbols of sections. By them the linker would see which table tells how an
# inline function is unwound; it drops such a table without a word, and an exception that passes the function ends the
# process. In the copy that is linked the tables have the name of those that always stay.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} --target=${CMAKE_CXX_COMPILER_TARGET} -print-file-name=libstdc++.a
  OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${library})
set(copy ${CMAKE_BINARY_DIR}/library/libstdc++.a)
if(${library} IS_NEWER_THAN ${copy})
  execute_process(COMMAND llvm-readobj-19 --sections ${library} OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "Name: \\.(eh_frame|pdata)\\$[^ ]+" tables "${sections}")
  list(REMOVE_DUPLICATES tables)
  list(TRANSFORM tables REPLACE "Name: (\\.[a-z_]+)(.+)"
    "--rename-section=\\1\\2=\\1,alloc,load,readonly,data,contents\n")
  file(WRITE ${copy}.tables ${tables})
  execute_process(COMMAND ${triplet}-objcopy @${copy}.tables ${library} ${copy} COMMAND_ERROR_IS_FATAL ANY)
endif()
add_link_options(-L${CMAKE_BINARY_DIR}/library)
