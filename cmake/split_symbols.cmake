# Moves the debug symbols of a release program or DLL into a file beside it, FILE.debug. The stripped file names
# that file and its checksum, so debuggers find it in the same folder. Without the variable, both files would hold the
# time of the splitting.
function(split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
    return()
  endif()
  set_target_properties(${target} PROPERTIES
    SPLIT_SYMBOLS ON ADDITIONAL_CLEAN_FILES $<TARGET_FILE:${target}>.debug)
  set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${objcopy} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${objcopy} --strip-all --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
    VERBATIM)
endfunction()
